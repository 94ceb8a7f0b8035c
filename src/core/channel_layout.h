// How the channels of a packed source pixel lie in its bits.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace koru {

/// Built by a decoder for one expansion; channels in the order R, G, B, A.
struct ChannelLayout {
    std::array<std::uint32_t, 4> masks{};      ///< Bits of the channel; 0: absent.
    std::array<std::uint8_t, 4> shifts{};      ///< Lowest set bit of the mask; 0 for no mask.
    std::array<std::uint8_t, 4> bitCounts{};   ///< Set bits of the mask.
    std::array<std::uint32_t, 4> maxValues{};  ///< Full scale, moved to the top of 8 bits.
    std::uint32_t glFormat = 0;                ///< Selects the conversion; 0: none.
};

/// How far a channel of `bitCount` bits moves left to end at bit 7. The count is taken modulo 32:
/// Quirk: a channel of more than 8 bits moves to the top of the word; its pixels stay as they were.
constexpr unsigned Layout_GetScaleShift(unsigned bitCount) noexcept {
    return (8u - bitCount) % 32u;  // wraps by definition
}

/// Fills shifts, bitCounts and maxValues from the masks.
constexpr void Layout_Derive(ChannelLayout& layout) noexcept {
    for (std::size_t channel = 0; channel < layout.masks.size(); ++channel) {
        const std::uint32_t mask = layout.masks[channel];
        const int shift = mask != 0 ? std::countr_zero(mask) : 0;
        const int bitCount = std::popcount(mask);
        layout.shifts[channel] = static_cast<std::uint8_t>(shift);
        layout.bitCounts[channel] = static_cast<std::uint8_t>(bitCount);
        layout.maxValues[channel] = (mask >> shift)
                                    << Layout_GetScaleShift(static_cast<unsigned>(bitCount));
    }
}

/// The layout of a GL format code with the given masks.
constexpr ChannelLayout Layout_FromMasks(const std::array<std::uint32_t, 4>& masks,
                                         std::uint32_t glFormat) noexcept {
    ChannelLayout layout{.masks = masks, .glFormat = glFormat};
    Layout_Derive(layout);
    return layout;
}

/// Masks of bytes R, G, B, A in memory order, read as a little-endian word.
inline constexpr std::array<std::uint32_t, 4> kRgbaByteMasks{0x000000FFu, 0x0000FF00u, 0x00FF0000u,
                                                             0xFF000000u};

}  // namespace koru
