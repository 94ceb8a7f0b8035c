// One 8-byte ETC1 or ETC2 color block to texels (OpenGL ES 3.0, appendix C).
#pragma once

#include <cstdint>

#include "blocks/block_texels.h"

namespace koru {

/// What bit 33 of a color block says.
enum class EtcBit33 {
    Differential,  ///< RGB: whether the base colors are differential; if not, they are individual.
    Opaque,        ///< Punch-through alpha: whether all texels are opaque. No block is individual.
};

/// Sets all texels from the 8 bytes at `block`, alpha 255 included. Transparent texels, in
/// punch-through blocks only, are 0 in all four channels.
void Etc_DecodeColorBlock(const std::uint8_t* block, EtcBit33 bit33, BlockTexels& texels) noexcept;

}  // namespace koru
