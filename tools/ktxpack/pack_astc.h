// Textures out of .astc files, as they are.
#pragma once

#include <cstdint>
#include <span>

#include "pack_texture.h"

namespace koru_ktxpack {

/// True if the file begins like an .astc file.
bool Astc_IsFile(std::span<const std::uint8_t> file);

/// Throws std::runtime_error.
PackedTexture Astc_ReadFile(std::span<const std::uint8_t> file);

}  // namespace koru_ktxpack
