// KTX 2.0 files.
#pragma once

#include "pack_texture.h"

namespace koru_ktxpack {

constexpr std::uint32_t kKtx20RowAlignment = 1;

/// The whole file. The format must have a Vulkan number, the rows must be aligned as above.
Bytes Ktx20_MakeFile(const PackedTexture& texture);

}  // namespace koru_ktxpack
