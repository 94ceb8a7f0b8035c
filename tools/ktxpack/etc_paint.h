// T and H blocks: two base colours and a distance make four paint colours for the whole block.
#pragma once

#include "etc_block.h"
#include "pack_texels.h"

namespace koru_ktxpack {

/// The best T or H block of ETC2. Alpha does not matter: the block is an opaque one.
EtcBlock Etc_FitPaint(const BlockTexels& texels);

}  // namespace koru_ktxpack
