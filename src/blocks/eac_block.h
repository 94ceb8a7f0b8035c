// One 8-byte EAC block: 8-bit alpha or an 11-bit channel (OpenGL ES 3.0, appendix C).
#pragma once

#include <array>
#include <cstdint>

#include "blocks/block_texels.h"

namespace koru {

/// Sets the alpha of all texels from the 8 bytes at `block`.
void Eac_DecodeAlphaBlock(const std::uint8_t* block, BlockTexels& texels) noexcept;

/// 16-bit values, row by row, top row first.
using EacValues = std::array<std::uint16_t, kBlockTexels>;

/// The 11-bit channel at `block`, widened to 16 bits: 0 to 65535, or for signed blocks the two's
/// complement of -32767 to 32767.
[[nodiscard]] EacValues Eac_Decode11BitBlock(const std::uint8_t* block, bool isSigned) noexcept;

}  // namespace koru
