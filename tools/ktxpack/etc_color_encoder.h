// Colour blocks of the ETC family: the best of the modes that a format has.
#pragma once

#include <cstdint>
#include <span>

#include "pack_texels.h"

namespace koru_ktxpack {

/// 8 bytes each.
void Etc_EncodeEtc1(const BlockTexels& texels, std::span<std::uint8_t> block);
void Etc_EncodeEtc2(const BlockTexels& texels, std::span<std::uint8_t> block);

/// 8 bytes; punch-through alpha.
void Etc_EncodeEtc2WithHoles(const BlockTexels& texels, std::span<std::uint8_t> block);

}  // namespace koru_ktxpack
