// Colour blocks of BC1, BC2 and BC3: two 5:6:5 endpoints and an index of two bits per texel.
#pragma once

#include <cstdint>
#include <span>

#include "pack_texels.h"

namespace koru_ktxpack {

/// 8 bytes. Always a block of four colours, whatever alpha is; valid in BC1, BC2 and BC3.
void Bc_EncodeOpaqueColor(const BlockTexels& texels, std::span<std::uint8_t> block);

/// 8 bytes. A block of three colours and transparency if any texel needs it; valid in BC1.
void Bc_EncodeColorWithHoles(const BlockTexels& texels, std::span<std::uint8_t> block);

}  // namespace koru_ktxpack
