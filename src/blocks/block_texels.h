// The 4 x 4 texels of one block as 8-bit R, G, B, A.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace koru {

/// Side of every block, in pixels.
inline constexpr std::uint32_t kBlockSide = 4;
inline constexpr std::uint32_t kBlockTexels = kBlockSide * kBlockSide;

struct Rgba8 {
    std::uint8_t r = 255, g = 255, b = 255, a = 255;
};
static_assert(sizeof(Rgba8) == 4, "texels are copied as bytes");

/// Row by row, top row first. What no part of a block sets stays 255.
using BlockTexels = std::array<Rgba8, kBlockTexels>;

/// Stores the texels as four rows of pixels, `stride` bytes apart; a pixel is the first PixelBytes
/// bytes of R, G, B, A.
template <std::size_t PixelBytes>
void Texels_Store(const BlockTexels& texels, std::uint8_t* target, std::size_t stride) noexcept {
    static_assert(PixelBytes >= 1 && PixelBytes <= sizeof(Rgba8));
    for (std::size_t y = 0; y < kBlockSide; ++y) {
        for (std::size_t x = 0; x < kBlockSide; ++x) {
            std::memcpy(target + y * stride + x * PixelBytes, &texels[y * kBlockSide + x],
                        PixelBytes);
        }
    }
}

}  // namespace koru
