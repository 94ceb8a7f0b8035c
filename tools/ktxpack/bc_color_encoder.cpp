#include "bc_color_encoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "principal_axis.h"

namespace koru_ktxpack {
namespace {

/// What makes the palette: in sixths, how much of the second endpoint is in the colour of an index.
using Shares = std::span<const int>;
constexpr std::array<int, 4> kFourColors{0, 6, 2, 4};
constexpr std::array<int, 3> kThreeColors{0, 6, 3};

constexpr std::uint8_t kHoleIndex = 3;
constexpr Color kTops{31, 63, 31};

/// Two colours of 5, 6 and 5 bits.
using Endpoints = std::array<Color, 2>;

struct ColorFit {
    Endpoints ends{};
    std::array<std::uint8_t, 16> indices{};
    std::uint32_t error = std::numeric_limits<std::uint32_t>::max();
};

constexpr Color Color565_Widen(const Color& color) {
    return {color[0] << 3 | color[0] >> 2, color[1] << 2 | color[1] >> 4,
            color[2] << 3 | color[2] >> 2};
}

constexpr std::uint16_t Color565_Pack(const Color& color) {
    return static_cast<std::uint16_t>(color[0] << 11 | color[1] << 5 | color[2]);
}

Color Color565_FromReal(const ColorVector& color) {
    Color quantised{};
    for (std::size_t i = 0; i < 3; ++i) {
        const double value = std::floor(color[i] * kTops[i] / 255 + 0.5);
        quantised[i] = static_cast<int>(std::clamp(value, 0.0, static_cast<double>(kTops[i])));
    }
    return quantised;
}

/// Finds the endpoints of one block for one kind of palette.
class ColorSearch {
  public:
    ColorSearch(const BlockTexels& texels, std::vector<std::size_t> numbers, Shares shares)
        : texels_(texels), numbers_(std::move(numbers)), shares_(shares) {}

    ColorFit Run() {
        TryPrincipalAxis();
        RefineByLeastSquares();
        RefineBySteps();
        return best_;
    }

  private:
    bool Try(const Endpoints& ends) {
        const Color first = Color565_Widen(ends[0]);
        const Color second = Color565_Widen(ends[1]);
        std::array<Color, 4> palette{};
        for (std::size_t k = 0; k < shares_.size(); ++k) {
            for (std::size_t i = 0; i < 3; ++i) {
                palette[k][i] = (first[i] * (6 - shares_[k]) + second[i] * shares_[k]) / 6;
            }
        }
        ColorFit fit{.ends = ends, .error = 0};
        for (const std::size_t number : numbers_) {
            std::uint32_t least = std::numeric_limits<std::uint32_t>::max();
            for (std::size_t k = 0; k < shares_.size(); ++k) {
                const std::uint32_t error = Color_GetError(palette[k], texels_[number]);
                if (error >= least) continue;
                least = error;
                fit.indices[number] = static_cast<std::uint8_t>(k);
            }
            fit.error += least;
            if (fit.error >= best_.error) return false;
        }
        best_ = fit;
        return true;
    }

    void TryPrincipalAxis() {
        const PrincipalAxis axis = Axis_Find(texels_, numbers_);
        double low = 0;
        double high = 0;
        for (const std::size_t number : numbers_) {
            const double along = Axis_Project(axis, texels_[number]);
            low = std::min(low, along);
            high = std::max(high, along);
        }
        // The outermost colours themselves, and a little inside of them.
        for (const double reach : {1.0, 0.9, 0.8}) {
            ColorVector first{};
            ColorVector second{};
            for (std::size_t i = 0; i < 3; ++i) {
                first[i] = axis.mean[i] + high * reach * axis.direction[i];
                second[i] = axis.mean[i] + low * reach * axis.direction[i];
            }
            Try({Color565_FromReal(first), Color565_FromReal(second)});
        }
    }

    /// The endpoints that suit the chosen indices best, until that changes nothing.
    void RefineByLeastSquares() {
        constexpr int kRounds = 6;
        for (int round = 0; round < kRounds; ++round) {
            double aa = 0, ab = 0, bb = 0;
            ColorVector ac{}, bc{};
            for (const std::size_t number : numbers_) {
                const double b = shares_[best_.indices[number]] / 6.0;
                const double a = 1 - b;
                aa += a * a;
                ab += a * b;
                bb += b * b;
                for (std::size_t i = 0; i < 3; ++i) {
                    ac[i] += a * texels_[number][i];
                    bc[i] += b * texels_[number][i];
                }
            }
            const double determinant = aa * bb - ab * ab;
            if (std::abs(determinant) < 1e-9) return;
            ColorVector first{};
            ColorVector second{};
            for (std::size_t i = 0; i < 3; ++i) {
                first[i] = (ac[i] * bb - bc[i] * ab) / determinant;
                second[i] = (bc[i] * aa - ac[i] * ab) / determinant;
            }
            if (!Try({Color565_FromReal(first), Color565_FromReal(second)})) return;
        }
    }

    /// Single steps of single channels, as long as one of them helps.
    void RefineBySteps() {
        for (bool hasImproved = true; hasImproved;) {
            hasImproved = false;
            for (std::size_t end = 0; end < 2; ++end) {
                for (std::size_t i = 0; i < 3; ++i) {
                    for (const int step : {-1, 1}) {
                        Endpoints ends = best_.ends;
                        ends[end][i] += step;
                        if (ends[end][i] < 0 || ends[end][i] > kTops[i]) continue;
                        hasImproved = Try(ends) || hasImproved;
                    }
                }
            }
        }
    }

    const BlockTexels& texels_;
    std::vector<std::size_t> numbers_;
    Shares shares_;
    ColorFit best_;
};

/// color0 LE16 | color1 LE16 | 16 x 2-bit index, texel 0 in the lowest bits.
void ColorBlock_Write(const ColorFit& fit, std::span<std::uint8_t> block) {
    std::uint32_t indices = 0;
    for (std::size_t i = 0; i < 16; ++i) indices |= std::uint32_t{fit.indices[i]} << (2 * i);
    const std::uint64_t bits = std::uint64_t{Color565_Pack(fit.ends[0])} |
                               std::uint64_t{Color565_Pack(fit.ends[1])} << 16 |
                               std::uint64_t{indices} << 32;
    for (std::size_t i = 0; i < 8; ++i) block[i] = static_cast<std::uint8_t>(bits >> (8 * i));
}

void ColorFit_SwapEnds(ColorFit& fit, std::uint8_t swappedIndices) {
    std::swap(fit.ends[0], fit.ends[1]);
    for (std::uint8_t& index : fit.indices) {
        if (index < swappedIndices) index ^= 1;
    }
}

}  // namespace

void Bc_EncodeOpaqueColor(const BlockTexels& texels, std::span<std::uint8_t> block) {
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < texels.size(); ++i) numbers.push_back(i);
    ColorFit fit = ColorSearch(texels, std::move(numbers), kFourColors).Run();
    const std::uint16_t first = Color565_Pack(fit.ends[0]);
    const std::uint16_t second = Color565_Pack(fit.ends[1]);
    // Only color0 > color1 means four colours to every decoder.
    if (first < second) ColorFit_SwapEnds(fit, 4);
    if (first == second) fit.indices.fill(0);
    ColorBlock_Write(fit, block);
}

void Bc_EncodeColorWithHoles(const BlockTexels& texels, std::span<std::uint8_t> block) {
    std::vector<std::size_t> opaque;
    for (std::size_t i = 0; i < texels.size(); ++i) {
        if (Texel_IsOpaque(texels[i])) opaque.push_back(i);
    }
    if (opaque.size() == texels.size()) {
        Bc_EncodeOpaqueColor(texels, block);
        return;
    }
    ColorFit fit;
    if (!opaque.empty()) fit = ColorSearch(texels, std::move(opaque), kThreeColors).Run();
    // color0 <= color1 means three colours.
    if (Color565_Pack(fit.ends[0]) > Color565_Pack(fit.ends[1])) ColorFit_SwapEnds(fit, 2);
    for (std::size_t i = 0; i < texels.size(); ++i) {
        if (!Texel_IsOpaque(texels[i])) fit.indices[i] = kHoleIndex;
    }
    ColorBlock_Write(fit, block);
}

}  // namespace koru_ktxpack
