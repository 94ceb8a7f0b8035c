// Formats without blocks: the first texel as the bytes of one pixel.
#pragma once

#include <cstdint>
#include <span>

#include "pack_texels.h"

namespace koru_ktxpack {

void Pixel_EncodeRgba8(const BlockTexels& texels, std::span<std::uint8_t> pixel);
void Pixel_EncodeRgb8(const BlockTexels& texels, std::span<std::uint8_t> pixel);
/// Ten bits each, red lowest, and two of alpha.
void Pixel_EncodeRgb10A2(const BlockTexels& texels, std::span<std::uint8_t> pixel);
/// Unsigned floats from 0 to 1 of 11, 11 and 10 bits, red lowest.
void Pixel_EncodeR11G11B10F(const BlockTexels& texels, std::span<std::uint8_t> pixel);

}  // namespace koru_ktxpack
