// The unit that every encoder takes, and the measure that all of them share.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace koru_ktxpack {

/// R, G, B, A.
using Texel = std::array<std::uint8_t, 4>;

/// A square of 4 x 4, row by row. Formats without blocks look at the first texel only.
using BlockTexels = std::array<Texel, 16>;

/// R, G, B in whatever range the place says.
using Color = std::array<int, 3>;

/// Fills `block`, whose size is that of the format's blocks.
using BlockEncoder = void (*)(const BlockTexels& texels, std::span<std::uint8_t> block);

constexpr std::uint8_t kOpaqueFrom = 128;  ///< where one bit of alpha has to do

constexpr bool Texel_IsOpaque(const Texel& texel) { return texel[3] >= kOpaqueFrom; }

constexpr int Channel_Clamp(int value) { return value < 0 ? 0 : value > 255 ? 255 : value; }

/// Sum of the squared differences of R, G and B.
constexpr std::uint32_t Color_GetError(const Color& color, const Texel& texel) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        const int difference = color[i] - texel[i];
        sum += static_cast<std::uint32_t>(difference * difference);
    }
    return sum;
}

}  // namespace koru_ktxpack
