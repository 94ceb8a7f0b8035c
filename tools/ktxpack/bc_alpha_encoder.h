// The alpha halves of BC2 and BC3 blocks.
#pragma once

#include <cstdint>
#include <span>

#include "pack_texels.h"

namespace koru_ktxpack {

/// 8 bytes: four bits per texel, as BC2 has them.
void Bc_EncodeExplicitAlpha(const BlockTexels& texels, std::span<std::uint8_t> block);

/// 8 bytes: two ends and six values between them, as BC3 has them.
void Bc_EncodeInterpolatedAlpha(const BlockTexels& texels, std::span<std::uint8_t> block);

}  // namespace koru_ktxpack
