// Individual and differential blocks: two halves, each one base colour and one table of brightness.
#pragma once

#include "etc_block.h"
#include "pack_texels.h"

namespace koru_ktxpack {

/// The best block for ETC1, which knows no other modes. Alpha does not matter.
EtcBlock Etc_FitHalves(const BlockTexels& texels);

/// The best differential block of a format with punch-through alpha; with holes if any texel needs
/// one. The error counts opaque texels only.
EtcBlock Etc_FitHalvesWithHoles(const BlockTexels& texels);

}  // namespace koru_ktxpack
