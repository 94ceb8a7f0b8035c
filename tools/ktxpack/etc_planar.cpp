#include "etc_planar.h"

#include <algorithm>
#include <cmath>

namespace koru_ktxpack {
namespace {

/// One channel at the origin, at x = 4 and at y = 4; as stored.
struct ChannelPlane {
    int origin = 0;
    int horizontal = 0;
    int vertical = 0;
    std::uint32_t error = std::numeric_limits<std::uint32_t>::max();
};

std::uint32_t Plane_GetError(const BlockTexels& texels, std::size_t channel,
                             const ChannelPlane& plane, int (*widen)(int)) {
    const int origin = widen(plane.origin);
    const int alongX = widen(plane.horizontal) - origin;
    const int alongY = widen(plane.vertical) - origin;
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < texels.size(); ++i) {
        const auto x = static_cast<int>(i % 4);
        const auto y = static_cast<int>(i / 4);
        const int value = Channel_Clamp((x * alongX + y * alongY + 4 * origin + 2) >> 2);
        const int difference = value - texels[i][channel];
        sum += static_cast<std::uint32_t>(difference * difference);
    }
    return sum;
}

/// Least squares, and then the best within one step of each of the three.
ChannelPlane Plane_FitChannel(const BlockTexels& texels, std::size_t channel, int top,
                              int (*widen)(int)) {
    double sum = 0, sumX = 0, sumY = 0;
    for (std::size_t y = 0; y < 4; ++y) {
        for (std::size_t x = 0; x < 4; ++x) {
            const double value = texels[4 * y + x][channel];
            sum += value;
            sumX += (static_cast<double>(x) - 1.5) * value;
            sumY += (static_cast<double>(y) - 1.5) * value;
        }
    }
    // The squares of the 16 distances from the middle, in either direction, add up to 20.
    const double slopeX = sumX / 20;
    const double slopeY = sumY / 20;
    const double origin = sum / 16 - 1.5 * slopeX - 1.5 * slopeY;
    const auto quantise = [top](double value) {
        const double rounded = std::floor(value * top / 255 + 0.5);
        return static_cast<int>(std::clamp(rounded, 0.0, static_cast<double>(top)));
    };
    const ChannelPlane center{.origin = quantise(origin),
                              .horizontal = quantise(origin + 4 * slopeX),
                              .vertical = quantise(origin + 4 * slopeY)};
    const auto isStored = [top](int value) { return value >= 0 && value <= top; };

    ChannelPlane best;
    for (int o = center.origin - 1; o <= center.origin + 1; ++o) {
        for (int h = center.horizontal - 1; h <= center.horizontal + 1; ++h) {
            for (int v = center.vertical - 1; v <= center.vertical + 1; ++v) {
                if (!isStored(o) || !isStored(h) || !isStored(v)) continue;
                ChannelPlane plane{.origin = o, .horizontal = h, .vertical = v};
                plane.error = Plane_GetError(texels, channel, plane, widen);
                if (plane.error < best.error) best = plane;
            }
        }
    }
    return best;
}

}  // namespace

EtcBlock Etc_FitPlane(const BlockTexels& texels) {
    const ChannelPlane red = Plane_FitChannel(texels, 0, 63, Etc_Widen6);
    const ChannelPlane green = Plane_FitChannel(texels, 1, 127, Etc_Widen7);
    const ChannelPlane blue = Plane_FitChannel(texels, 2, 63, Etc_Widen6);

    EtcBlock block{.bits = 0, .error = red.error + green.error + blue.error};
    // Blue alone leaves the range: that is what says "planar".
    block.bits |= Etc_PlaceSteady(red.origin << 1 | green.origin >> 6, 56);
    block.bits |= Etc_PlaceSteady((green.origin & 63) << 1 | blue.origin >> 5, 48);
    block.bits |= Etc_PlaceOverflowing(blue.origin >> 1 & 15, 40);
    block.bits |= Etc_PlaceField(blue.origin, 1, 39);
    block.bits |= Etc_PlaceField(red.horizontal >> 1, 5, 34);
    block.bits |= Etc_PlaceField(1, 1, kEtcDifferentialBit);
    block.bits |= Etc_PlaceField(red.horizontal, 1, 32);
    block.bits |= Etc_PlaceField(green.horizontal, 7, 25);
    block.bits |= Etc_PlaceField(blue.horizontal, 6, 19);
    block.bits |= Etc_PlaceField(red.vertical, 6, 13);
    block.bits |= Etc_PlaceField(green.vertical, 7, 6);
    block.bits |= Etc_PlaceField(blue.vertical, 6, 0);
    return block;
}

}  // namespace koru_ktxpack
