// The alpha half of ETC2 blocks with alpha: a base, a multiplier, one of sixteen tables.
#pragma once

#include <cstdint>
#include <span>

#include "pack_texels.h"

namespace koru_ktxpack {

/// 8 bytes.
void Eac_EncodeAlpha(const BlockTexels& texels, std::span<std::uint8_t> block);

}  // namespace koru_ktxpack
