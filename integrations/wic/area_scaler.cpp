#include "area_scaler.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace koru_wic {
namespace {

constexpr std::size_t kPixelBytes = 4;
constexpr std::uint64_t kOpaque = 255;

/// The source pixels of one target pixel along an axis. In units of which a target pixel has
/// `source` and a source pixel `target`, all edges are whole numbers.
struct AxisSpan {
    std::uint64_t begin, end;  // edges in units
    std::uint64_t unit;        // of a source pixel

    AxisSpan(std::uint64_t index, std::uint64_t source, std::uint64_t target) noexcept
        : begin(index * source), end(begin + source), unit(target) {}

    [[nodiscard]] std::uint64_t GetFirst() const noexcept { return begin / unit; }
    [[nodiscard]] std::uint64_t GetLast() const noexcept { return (end - 1) / unit; }
    /// How much of a source pixel is covered.
    [[nodiscard]] std::uint64_t GetWeight(std::uint64_t pixel) const noexcept {
        return std::min(end, (pixel + 1) * unit) - std::max(begin, pixel * unit);
    }
};

/// Sums of B, G, R and A, premultiplied, times 255 times the weights.
using PixelSum = std::array<std::uint64_t, kPixelBytes>;

void Sum_Add(PixelSum& sum, const std::uint8_t* rgba, std::uint64_t weight) noexcept {
    const std::uint64_t alpha = rgba[3] * weight;
    sum[0] += rgba[2] * alpha;
    sum[1] += rgba[1] * alpha;
    sum[2] += rgba[0] * alpha;
    sum[3] += kOpaque * alpha;
}

void Sum_AddRow(std::span<PixelSum> sums, const std::uint8_t* row, std::uint32_t width,
                std::uint64_t rowWeight) noexcept {
    for (std::size_t x = 0; x < sums.size(); ++x) {
        const AxisSpan columns(x, width, sums.size());
        for (std::uint64_t sx = columns.GetFirst(); sx <= columns.GetLast(); ++sx) {
            Sum_Add(sums[x], row + sx * kPixelBytes, rowWeight * columns.GetWeight(sx));
        }
    }
}

}  // namespace

PictureSize Scaler_Fit(PictureSize picture, std::uint32_t side) noexcept {
    const std::uint32_t longer = std::max(picture.width, picture.height);
    if (longer <= side) return picture;
    const auto shrink = [longer, side](std::uint32_t length) {
        const std::uint64_t rounded = (std::uint64_t{length} * side + longer / 2) / longer;
        return static_cast<std::uint32_t>(std::max<std::uint64_t>(rounded, 1));
    };
    return {shrink(picture.width), shrink(picture.height)};
}

bool Scaler_Shrink(std::span<const std::uint8_t> source, PictureSize sourceSize,
                   std::span<std::uint8_t> target, PictureSize targetSize) {
    // A pixel's weights add up to the area of the source: 2^28 pixels times 255 squared fit.
    const std::uint64_t divisor =
        kOpaque * std::uint64_t{sourceSize.width} * std::uint64_t{sourceSize.height};
    std::vector<PixelSum> sums(targetSize.width);
    std::size_t written = 0;
    bool isOpaque = true;
    for (std::uint32_t y = 0; y < targetSize.height; ++y) {
        std::ranges::fill(sums, PixelSum{});
        const AxisSpan rows(y, sourceSize.height, targetSize.height);
        for (std::uint64_t sy = rows.GetFirst(); sy <= rows.GetLast(); ++sy) {
            Sum_AddRow(sums, source.data() + sy * sourceSize.width * kPixelBytes, sourceSize.width,
                       rows.GetWeight(sy));
        }
        for (const PixelSum& sum : sums) {
            for (const std::uint64_t channel : sum) {
                target[written++] = static_cast<std::uint8_t>((channel + divisor / 2) / divisor);
            }
            isOpaque = isOpaque && target[written - 1] == kOpaque;
        }
    }
    return isOpaque;
}

}  // namespace koru_wic
