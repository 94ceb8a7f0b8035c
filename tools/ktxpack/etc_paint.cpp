#include "etc_paint.h"

#include <array>
#include <cmath>
#include <utility>

#include "principal_axis.h"

namespace koru_ktxpack {
namespace {

constexpr std::array<int, 8> kDistances{3, 6, 11, 16, 23, 32, 41, 64};

enum class PaintMode { T, H };

struct PaintFit {
    PaintMode mode = PaintMode::T;
    std::array<Color, 2> bases{};  ///< four bits per channel
    std::size_t distance = 0;      ///< index
    std::uint64_t indices = 0;
    std::uint32_t error = std::numeric_limits<std::uint32_t>::max();
};

constexpr int Color_Pack444(const Color& color) { return color[0] << 8 | color[1] << 4 | color[2]; }

Color Color_Shift(const Color& base, int shift) {
    return {Channel_Clamp(Etc_Widen4(base[0]) + shift), Channel_Clamp(Etc_Widen4(base[1]) + shift),
            Channel_Clamp(Etc_Widen4(base[2]) + shift)};
}

std::array<Color, 4> Paint_GetColors(const PaintFit& fit) {
    const int d = kDistances[fit.distance];
    const auto& [first, second] = fit.bases;
    if (fit.mode == PaintMode::T) {
        return {Color_Shift(first, 0), Color_Shift(second, d), Color_Shift(second, 0),
                Color_Shift(second, -d)};
    }
    return {Color_Shift(first, d), Color_Shift(first, -d), Color_Shift(second, d),
            Color_Shift(second, -d)};
}

/// H blocks have no room for the lowest bit of the distance: the order of the bases says it.
/// False if the bases are equal and say the wrong thing.
bool Paint_OrderBases(PaintFit& fit) {
    if (fit.mode == PaintMode::T) return true;
    const bool wantsDescending = (fit.distance & 1) != 0;
    const int first = Color_Pack444(fit.bases[0]);
    const int second = Color_Pack444(fit.bases[1]);
    if (first == second) return wantsDescending;
    if ((first > second) != wantsDescending) std::swap(fit.bases[0], fit.bases[1]);
    return true;
}

/// Replaces `best` if this choice is better.
bool Paint_Try(const BlockTexels& texels, PaintMode mode, const std::array<Color, 2>& bases,
               std::size_t distance, PaintFit& best) {
    PaintFit fit{.mode = mode, .bases = bases, .distance = distance, .error = 0};
    if (!Paint_OrderBases(fit)) return false;
    const std::array<Color, 4> colors = Paint_GetColors(fit);
    for (std::size_t i = 0; i < texels.size(); ++i) {
        std::uint32_t least = std::numeric_limits<std::uint32_t>::max();
        std::uint64_t index = 0;
        for (std::size_t k = 0; k < colors.size(); ++k) {
            const std::uint32_t error = Color_GetError(colors[k], texels[i]);
            if (error >= least) continue;
            least = error;
            index = k;
        }
        fit.indices |= Etc_PlaceIndex(Etc_GetTexelNumber(i % 4, i / 4), index);
        fit.error += least;
        if (fit.error >= best.error) return false;
    }
    best = fit;
    return true;
}

/// The mean colours of the two sides of the principal axis, in four bits per channel.
std::array<Color, 2> Texels_SplitInTwo(const BlockTexels& texels) {
    std::array<std::size_t, 16> all{};
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
    const PrincipalAxis axis = Axis_Find(texels, all);
    std::array<ColorVector, 2> sums{};
    std::array<double, 2> counts{};
    for (const Texel& texel : texels) {
        const std::size_t side = Axis_Project(axis, texel) > 0 ? 1 : 0;
        for (std::size_t i = 0; i < 3; ++i) sums[side][i] += texel[i];
        ++counts[side];
    }
    std::array<Color, 2> means{};
    for (std::size_t side = 0; side < 2; ++side) {
        for (std::size_t i = 0; i < 3; ++i) {
            const double mean = counts[side] > 0 ? sums[side][i] / counts[side] : axis.mean[i];
            means[side][i] = static_cast<int>(std::floor(mean * 15 / 255 + 0.5));
        }
    }
    return means;
}

/// Single steps of single channels and of the distance, as long as one of them helps.
void Paint_Refine(const BlockTexels& texels, PaintFit& best) {
    for (bool hasImproved = true; hasImproved;) {
        hasImproved = false;
        for (const int step : {-1, 1}) {
            for (std::size_t base = 0; base < 2; ++base) {
                for (std::size_t i = 0; i < 3; ++i) {
                    std::array<Color, 2> bases = best.bases;
                    bases[base][i] += step;
                    if (bases[base][i] < 0 || bases[base][i] > 15) continue;
                    for (std::size_t distance = 0; distance < kDistances.size(); ++distance) {
                        if (Paint_Try(texels, best.mode, bases, distance, best)) hasImproved = true;
                    }
                }
            }
        }
    }
}

std::uint64_t Paint_PlaceT(const PaintFit& fit) {
    const auto& [first, second] = fit.bases;
    const auto distance = static_cast<int>(fit.distance);
    return Etc_PlaceOverflowing(first[0], 56) | Etc_PlaceField(first[1], 4, 52) |
           Etc_PlaceField(first[2], 4, 48) | Etc_PlaceField(second[0], 4, 44) |
           Etc_PlaceField(second[1], 4, 40) | Etc_PlaceField(second[2], 4, 36) |
           Etc_PlaceField(distance >> 1, 2, 34) | Etc_PlaceField(distance, 1, 32);
}

std::uint64_t Paint_PlaceH(const PaintFit& fit) {
    const auto& [first, second] = fit.bases;
    const auto distance = static_cast<int>(fit.distance);
    // Red stays in range and green leaves it: that is what says "H".
    const int greenAndBlue = (first[1] & 1) << 3 | first[2] >> 1;
    return Etc_PlaceSteady(first[0] << 3 | first[1] >> 1, 56) |
           Etc_PlaceOverflowing(greenAndBlue, 48) | Etc_PlaceField(first[2], 1, 47) |
           Etc_PlaceField(second[0], 4, 43) | Etc_PlaceField(second[1], 4, 39) |
           Etc_PlaceField(second[2], 4, 35) | Etc_PlaceField(distance >> 2, 1, 34) |
           Etc_PlaceField(distance >> 1, 1, 32);
}

}  // namespace

EtcBlock Etc_FitPaint(const BlockTexels& texels) {
    const std::array<Color, 2> bases = Texels_SplitInTwo(texels);
    PaintFit best;
    for (const PaintMode mode : {PaintMode::T, PaintMode::H}) {
        PaintFit fit;
        for (std::size_t distance = 0; distance < kDistances.size(); ++distance) {
            Paint_Try(texels, mode, bases, distance, fit);
            Paint_Try(texels, mode, {bases[1], bases[0]}, distance, fit);
        }
        Paint_Refine(texels, fit);
        if (fit.error < best.error) best = fit;
    }
    const std::uint64_t bits = best.mode == PaintMode::T ? Paint_PlaceT(best) : Paint_PlaceH(best);
    return {bits | best.indices | Etc_PlaceField(1, 1, kEtcDifferentialBit), best.error};
}

}  // namespace koru_ktxpack
