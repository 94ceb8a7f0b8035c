// Planar color blocks, for x86 instruction sets: four in each lane are read at once, then one in
// each lane is painted.
#pragma once

#include <cstddef>

#include "blocks/etc_lanes_x86.h"

namespace koru {
namespace {  // NOLINT(cert-dcl59-cpp): a copy for each instruction set

/// R, G, B, A of four blocks in each lane as 16-bit numbers: R and G, B and A side by side.
template <typename V>
struct Channels {
    typename V::Vector redGreen, blueAlpha;
};

/// What planar blocks begin with and what they add from pixel to pixel, all times four.
template <typename V>
struct Planes {
    Channels<V> origin, stepX, stepY;
};

/// Widens channels of 6 bits and, for G, of 7 bits, which lie at the top of a byte.
template <typename V>
Channels<V> Widen676(typename V::Vector redGreen, typename V::Vector blue) noexcept {
    const auto repeat6 = V::Set32(1 << 10), repeat67 = V::Set32(1 << 25 | 1 << 10);
    return {V::Or(redGreen, V::MultiplyHigh16(redGreen, repeat67)),
            V::Or(blue, V::MultiplyHigh16(blue, repeat6))};
}

/// The bits of `mask` after words were moved right, or left.
template <typename V, int Right>
typename V::Vector TakeRight(typename V::Vector words, int mask) noexcept {
    return V::And(V::template ShiftRight32<Right>(words), V::Set32(mask));
}
template <typename V, int Left>
typename V::Vector TakeLeft(typename V::Vector words, int mask) noexcept {
    return V::And(V::template ShiftLeft32<Left>(words), V::Set32(mask));
}

inline constexpr LaneBytes kReversedDwords = MakeBytes([](std::size_t i) { return i ^ 3; });

/// From the first and the second words of blocks, as they lie in memory.
template <typename V>
Planes<V> ReadPlanes(typename V::Vector first, typename V::Vector second, int alpha) noexcept {
    const auto reverse = V::Load(kReversedDwords.data());
    const auto high = V::Shuffle(first, reverse), low = V::Shuffle(second, reverse);
    // Red ends up in bits 7 to 2, green in 23 to 17; blue in bits 7 to 2 of its own.
    const Channels<V> origin =
        Widen676<V>(V::Or(TakeRight<V, 23>(high, 0xFC),
                          V::Or(TakeRight<V, 1>(high, 0x800000), V::And(high, V::Set32(0x7E0000)))),
                    V::Or(TakeRight<V, 9>(high, 0x80),
                          V::Or(TakeRight<V, 6>(high, 0x60), TakeRight<V, 5>(high, 0x1C))));
    const Channels<V> atX4 =
        Widen676<V>(V::Or(V::Or(TakeLeft<V, 1>(high, 0xF8), TakeLeft<V, 2>(high, 4)),
                          TakeRight<V, 8>(low, 0xFE0000)),
                    TakeRight<V, 17>(low, 0xFC));
    const Channels<V> atY4 =
        Widen676<V>(V::Or(TakeRight<V, 11>(low, 0xFC), TakeLeft<V, 11>(low, 0xFE0000)),
                    TakeLeft<V, 2>(low, 0xFC));

    const auto getStep = [&](const Channels<V>& corner) noexcept {
        return Channels<V>{V::Subtract16(corner.redGreen, origin.redGreen),
                           V::Subtract16(corner.blueAlpha, origin.blueAlpha)};
    };
    const auto getStart = [](typename V::Vector channels) noexcept {
        return V::Add16(V::template ShiftLeft16<2>(channels), V::Set16(2));
    };
    return {.origin = {getStart(origin.redGreen),
                       getStart(V::Or(origin.blueAlpha, V::Set32(alpha << 16)))},
            .stepX = getStep(atX4),
            .stepY = getStep(atY4)};
}

/// R, G, B, A of one block in each lane, twice: of the Index-th among its lane's four.
template <typename V, std::size_t Index>
typename V::Vector SpreadChannels(const Channels<V>& channels) noexcept {
    const auto pair = Index < 2 ? V::UnpackLow32(channels.redGreen, channels.blueAlpha)
                                : V::UnpackHigh32(channels.redGreen, channels.blueAlpha);
    return Index % 2 == 0 ? V::UnpackLow64(pair, pair) : V::UnpackHigh64(pair, pair);
}

inline constexpr LaneBytes kOddPixels = MakeBytes([](std::size_t i) { return i < 8 ? 0 : 255; });

/// Calls storeRow(y, R, G, B, A of four pixels) for the Index-th block of each lane.
template <typename V, std::size_t Index, typename StoreRow>
void PaintPlanes(const Planes<V>& planes, const StoreRow& storeRow) noexcept {
    const auto stepX = SpreadChannels<V, Index>(planes.stepX);
    const auto stepY = SpreadChannels<V, Index>(planes.stepY);
    // Pixels 0 and 1, 2 and 3.
    auto left = V::Add16(SpreadChannels<V, Index>(planes.origin),
                         V::And(stepX, V::Load(kOddPixels.data())));
    auto right = V::Add16(left, V::Add16(stepX, stepX));
    for (std::size_t y = 0; y < kBlockSide; ++y) {
        storeRow(y, V::PackSaturated16(V::template ShiftRightSigned16<2>(left),
                                       V::template ShiftRightSigned16<2>(right)));
        left = V::Add16(left, stepY);
        right = V::Add16(right, stepY);
    }
}

}  // namespace
}  // namespace koru
