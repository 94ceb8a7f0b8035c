// KTX 1.1 files.
#pragma once

#include "pack_texture.h"

namespace koru_ktxpack {

constexpr std::uint32_t kKtx11RowAlignment = 4;

/// The whole file. The rows of the texture must be aligned as above.
Bytes Ktx11_MakeFile(const PackedTexture& texture);

}  // namespace koru_ktxpack
