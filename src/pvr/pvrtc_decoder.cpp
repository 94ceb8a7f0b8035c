#include "pvr/pvrtc_decoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#include "core/bytes.h"
#include "pvr/pvrtc_block.h"
#include "pvr/pvrtc_grid.h"

namespace koru {
namespace {

// An image decodes area by area. An area is as large as a block and lies between the centers of 2 x
// 2 blocks, of which each covers a quarter. Places in an area count from the top left center.
//
// Rows are flat, pixel by pixel and in them channel by channel: loops over all bytes of a row are
// what compilers turn into vector code.

constexpr std::uint32_t kBlockWidth2Bpp = 8;
constexpr std::uint32_t kBlockWidth4Bpp = 4;
constexpr std::uint32_t kAreaHeight = kPvrtcBlockHeight;
constexpr std::uint32_t kPixelBytes = 4;
constexpr std::uint32_t kAlpha = 3;

template <std::uint32_t Width>
using Row = std::array<std::uint8_t, std::size_t{Width} * kPixelBytes>;
template <std::uint32_t Width>
using Area = std::array<Row<Width>, kAreaHeight>;

/// What is known of the blocks around an area, by [row][column].
template <typename Item>
using Around = std::array<std::array<Item, 2>, 2>;

// Colors: from the centers of the blocks to each place.

/// Sums of weighted channels stay below 1024. Saying so at each step gives vectors twice the lanes.
using Sum = std::int16_t;
constexpr Sum ToSum(std::int32_t value) noexcept { return static_cast<Sum>(value); }

/// A row of color A, then one of color B, from this place on. All steps treat both alike, and rows
/// of one alone are so short that compilers unroll them into scalar code.
template <std::uint32_t Width>
constexpr std::uint32_t kFirstOfB{Width * kPixelBytes};
template <typename Item, std::uint32_t Width>
using ColorRows = std::array<Item, std::size_t{2} * kFirstOfB<Width>>;

/// From one center to the next, in steps. Alpha counts twice: its 4 bits then weigh like 5.
template <std::uint32_t Width>
ColorRows<Sum, Width> InterpolateAcross(const PvrtcColors& left,
                                        const PvrtcColors& right) noexcept {
    ColorRows<Sum, Width> sums;
    const auto addRow = [&sums](std::uint32_t first, const PvrtcColor& from, const PvrtcColor& to) {
        for (std::uint32_t x = 0; x < Width; ++x) {
            const auto toWeight = static_cast<std::int32_t>(x);
            const auto fromWeight = static_cast<std::int32_t>(Width - x);
            for (std::uint32_t i = 0; i < kPixelBytes; ++i) {
                const std::int32_t sum = from[i] * fromWeight + to[i] * toWeight;
                sums[first + x * kPixelBytes + i] = ToSum(i == kAlpha ? sum * 2 : sum);
            }
        }
    };
    addRow(0, left.a, right.a);
    addRow(kFirstOfB<Width>, left.b, right.b);
    return sums;
}

template <std::uint32_t Width>
using ColorArea = std::array<ColorRows<std::uint8_t, Width>, kAreaHeight>;

/// The colors of an area, from 5 bits, and 4 of alpha, to 8.
template <std::uint32_t Width>
ColorArea<Width> InterpolateColors(const Around<PvrtcColors>& centers) noexcept {
    constexpr int kShift = Width == kBlockWidth2Bpp ? 2 : 1;
    const auto top = InterpolateAcross<Width>(centers[0][0], centers[0][1]);
    const auto bottom = InterpolateAcross<Width>(centers[1][0], centers[1][1]);
    ColorArea<Width> colors;
    for (std::uint32_t y = 0; y < kAreaHeight; ++y) {
        const auto lower = static_cast<std::int32_t>(y);
        for (std::uint32_t i = 0; i < top.size(); ++i) {
            const Sum sum = ToSum((bottom[i] - top[i]) * lower + top[i] * 4);
            const Sum value = ToSum(sum >> kShift);
            // Of alpha, one bit more: it has 4 to begin with.
            const Sum doubled = ToSum(i % kPixelBytes == kAlpha ? value * 2 : value);
            colors[y][i] = static_cast<std::uint8_t>(value + (doubled >> 5));
        }
    }
    return colors;
}

// Modulation: how far each place is from color A to color B.

struct Modulation {
    std::uint32_t weight = 0;  ///< Eighths of color B.
    bool clearsAlpha = false;
};

constexpr std::array<std::uint32_t, 4> kWeights{0, 3, 5, 8};
constexpr std::array<std::uint32_t, 4> kPunchThroughWeights{0, 4, 4, 8};
constexpr std::uint32_t kPunchThrough = 2;

constexpr Modulation GetModulation4Bpp(const Around<PvrtcBlock>& blocks, std::uint32_t column,
                                       std::uint32_t row) noexcept {
    const PvrtcBlock& block = blocks[row / kPvrtcBlockHeight][column / kBlockWidth4Bpp];
    const std::uint32_t x = column % kBlockWidth4Bpp, y = row % kPvrtcBlockHeight;
    const std::uint32_t value = block.modulation >> (8 * y + 2 * x) & 3;
    if (!block.HasMode()) return {.weight = kWeights[value]};
    return {.weight = kPunchThroughWeights[value], .clearsAlpha = value == kPunchThrough};
}

constexpr bool IsEven(std::uint32_t column, std::uint32_t row) noexcept {
    return ((column ^ row) & 1) == 0;
}

/// A block without mode flag stores a bit for each place; one with it two bits for each even
/// place, and nothing for odd ones.
constexpr std::uint32_t GetStoredWeight(const Around<PvrtcBlock>& blocks, std::uint32_t column,
                                        std::uint32_t row) noexcept {
    const PvrtcBlock& block = blocks[row / kPvrtcBlockHeight][column / kBlockWidth2Bpp];
    const std::uint32_t x = column % kBlockWidth2Bpp, y = row % kPvrtcBlockHeight;
    const std::uint32_t rowBits = block.modulation >> 8 * y;
    if (!block.HasMode()) return (rowBits >> x & 1) != 0 ? kWeights[3] : kWeights[0];
    return kWeights[rowBits >> (x & 6) & 3];
}

/// An odd place of a block with mode flag takes the average of its neighbors, which are even and
/// hence stored, in blocks of either kind.
/// Quirk: of all four neighbors, always, and no stored bit chooses two of them; keeps 2-bit images.
constexpr Modulation GetModulation2Bpp(const Around<PvrtcBlock>& blocks, std::uint32_t column,
                                       std::uint32_t row) noexcept {
    const PvrtcBlock& block = blocks[row / kPvrtcBlockHeight][column / kBlockWidth2Bpp];
    if (!block.HasMode() || IsEven(column, row))
        return {.weight = GetStoredWeight(blocks, column, row)};
    const std::uint32_t sum =
        GetStoredWeight(blocks, column, row - 1) + GetStoredWeight(blocks, column, row + 1) +
        GetStoredWeight(blocks, column - 1, row) + GetStoredWeight(blocks, column + 1, row);
    return {.weight = (sum + 2) / 4};
}

/// For each byte of a pixel alike, as blending takes them.
template <std::uint32_t Width>
struct ModulationArea {
    Area<Width> weights;
    Area<Width> kept;  ///< Masks: 0 for an alpha that is cleared, else 255.
};

template <std::uint32_t Width>
ModulationArea<Width> ReadModulation(const Around<PvrtcBlock>& blocks) noexcept {
    ModulationArea<Width> modulation;
    for (std::uint32_t y = 0; y < kAreaHeight; ++y) {
        for (std::uint32_t x = 0; x < Width; ++x) {
            const std::uint32_t column = x + Width / 2, row = y + kAreaHeight / 2;
            const Modulation place = Width == kBlockWidth2Bpp
                                         ? GetModulation2Bpp(blocks, column, row)
                                         : GetModulation4Bpp(blocks, column, row);
            const std::size_t first = std::size_t{x} * kPixelBytes;
            std::fill_n(&modulation.weights[y][first], kPixelBytes,
                        static_cast<std::uint8_t>(place.weight));
            std::fill_n(&modulation.kept[y][first], kPixelBytes, std::uint8_t{255});
            if (place.clearsAlpha) modulation.kept[y][first + kAlpha] = 0;
        }
    }
    return modulation;
}

// Pixels.

template <std::uint32_t Width>
Area<Width> Blend(const ColorArea<Width>& colors,
                  const ModulationArea<Width>& modulation) noexcept {
    Area<Width> pixels;
    for (std::uint32_t y = 0; y < kAreaHeight; ++y) {
        for (std::uint32_t i = 0; i < pixels[y].size(); ++i) {
            const std::int32_t a = colors[y][i], b = colors[y][kFirstOfB<Width> + i];
            const std::int32_t value = (a * 8 + (b - a) * modulation.weights[y][i]) >> 3;
            pixels[y][i] = static_cast<std::uint8_t>(value & modulation.kept[y][i]);
        }
    }
    return pixels;
}

// Images.

struct Image {
    std::uint32_t width = 0, height = 0;
    std::uint8_t* pixels = nullptr;
};

/// Stores a row of an area, so many pixels at once as lie side by side in the image, too. What
/// passes the image's edge wraps.
template <std::uint32_t Width, std::uint32_t Run>
void StoreRow(const Row<Width>& row, std::uint32_t left, std::uint32_t imageWidth,
              std::uint8_t* imageRow) noexcept {
    for (std::uint32_t i = 0; i < Width; i += Run) {
        const std::uint32_t x = (left + i) & (imageWidth - 1);
        const std::uint32_t areaX = (x + Width / 2) % Width;
        std::memcpy(imageRow + std::size_t{x} * kPixelBytes, &row[std::size_t{areaX} * kPixelBytes],
                    std::size_t{Run} * kPixelBytes);
    }
}

/// Stores the area that belongs to a position of the grid.
template <std::uint32_t Width>
void StoreArea(const Area<Width>& area, std::uint32_t column, std::uint32_t row,
               const Image& image) noexcept {
    const std::uint32_t left = column * Width + Width / 2;
    const std::uint32_t top = row * kAreaHeight + kAreaHeight / 2;
    // Halves of areas begin at multiples of their width, which the edge then does not cut, either.
    const bool hasWholeHalves = image.width % (Width / 2) == 0;
    for (std::uint32_t i = 0; i < kAreaHeight; ++i) {
        const std::uint32_t y = (top + i) & (image.height - 1);
        const Row<Width>& areaRow = area[(y + kAreaHeight / 2) % kAreaHeight];
        std::uint8_t* const imageRow = image.pixels + std::size_t{y} * image.width * kPixelBytes;
        if (hasWholeHalves) {
            StoreRow<Width, Width / 2>(areaRow, left, image.width, imageRow);
        } else {
            StoreRow<Width, 1>(areaRow, left, image.width, imageRow);
        }
    }
}

template <std::uint32_t Width>
void DecodeImage(std::span<const std::uint8_t> payload, const Image& image) noexcept {
    const PvrtcGrid grid = Pvrtc_GetGrid(Width, image.width, image.height);
    const PvrtcOrder order(grid);
    for (std::uint32_t row = 0; row < grid.rows; ++row) {
        const std::array rowParts{order.GetRowPart(row),
                                  order.GetRowPart((row + 1) & (grid.rows - 1))};
        Around<PvrtcBlock> blocks;
        Around<PvrtcColors> centers;
        const auto load = [&](std::size_t side, std::uint32_t column) {
            const std::uint64_t columnPart = order.GetColumnPart(column);
            for (std::size_t i = 0; i < rowParts.size(); ++i)
                blocks[i][side] = Pvrtc_LoadBlock(payload, columnPart + rowParts[i]);
        };
        const auto unpack = [&](std::size_t side) {
            for (std::size_t i = 0; i < rowParts.size(); ++i)
                centers[i][side] = Pvrtc_UnpackColors(blocks[i][side]);
        };
        load(0, 0);
        unpack(0);
        for (std::uint32_t column = 0; column < grid.columns; ++column) {
            load(0, column);
            load(1, (column + 1) & (grid.columns - 1));
            unpack(1);
            const auto pixels =
                Blend<Width>(InterpolateColors<Width>(centers), ReadModulation<Width>(blocks));
            StoreArea<Width>(pixels, column, row, image);
            // Quirk: where the number of columns is no power of two, the wrapped neighbor is not
            // always the next column, yet its colors stay; keeps what such images look like.
            for (auto& sides : centers) sides[0] = sides[1];
        }
    }
}

}  // namespace

void PvrtcDecompress(std::span<const std::uint8_t> source, bool is2Bpp, std::int32_t width,
                     std::int32_t height, std::int32_t /*reserved*/,
                     std::uint8_t* destination) noexcept {
    if (width <= 0 || height <= 0) return;
    const Image image{.width = static_cast<std::uint32_t>(width),
                      .height = static_cast<std::uint32_t>(height),
                      .pixels = destination};
    // Wrapping then skips pixels.
    if (!std::has_single_bit(image.width) || !std::has_single_bit(image.height)) {
        std::fill_n(destination, std::size_t{image.width} * image.height * kPixelBytes,
                    std::uint8_t{0});
    }
    if (is2Bpp) {
        DecodeImage<kBlockWidth2Bpp>(source, image);
    } else {
        DecodeImage<kBlockWidth4Bpp>(source, image);
    }
}

std::optional<std::uint32_t> Pvrtc_GetPayloadBytes(bool is2Bpp, std::uint32_t width,
                                                   std::uint32_t height) noexcept {
    const PvrtcGrid grid = Pvrtc_GetGrid(is2Bpp ? kBlockWidth2Bpp : kBlockWidth4Bpp, width, height);
    const auto blockCount = Size_Mul32(grid.columns, grid.rows);
    return blockCount ? Size_Mul32(*blockCount, kPvrtcBlockBytes) : std::nullopt;
}

}  // namespace koru
