// A plain PVRTC encoder: good enough that every kind of block comes up where pictures have it.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "pack_texels.h"
#include "pvr/pvrtc_block.h"

namespace koru_bench {

/// The blocks of a square picture row by row, not twiddled. The picture wraps, so blocks may be
/// repeated in both directions. `blockWidth` is 4 (4 bits per pixel) or 8 (2 bits).
std::vector<koru::PvrtcBlock> Pvrtc_Encode(std::span<const koru_ktxpack::Texel> texels,
                                           std::uint32_t side, std::uint32_t blockWidth);

}  // namespace koru_bench
