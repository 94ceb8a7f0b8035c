// Planar blocks: three colours that span a plane, for smooth gradients.
#pragma once

#include "etc_block.h"
#include "pack_texels.h"

namespace koru_ktxpack {

/// The best planar block of ETC2. Alpha does not matter: planar blocks are opaque.
EtcBlock Etc_FitPlane(const BlockTexels& texels);

}  // namespace koru_ktxpack
