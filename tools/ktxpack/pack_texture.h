// A texture ready to be written: the bytes of every image, and what they mean.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "pack_formats.h"
#include "pack_picture.h"

namespace koru_ktxpack {

using Bytes = std::vector<std::uint8_t>;

struct TextureShape {
    bool hasMipmaps = false;
    std::uint32_t faceCount = 1;   ///< 1 or 6
    std::uint32_t layerCount = 0;  ///< 0: not an array
};

struct PackedTexture {
    const PackFormat* format = nullptr;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    TextureShape shape;
    bool runsRight = true;  ///< which way the first row of a file runs, as the metadata say
    bool runsDown = true;   ///< where the next rows of a file go, as the metadata say
    /// By level, largest first; in it by layer and face.
    std::vector<std::vector<Bytes>> levels;
};

/// The texture of one picture. Layers and faces after the first hold its negative, so that a reader
/// that takes another one shows it. Rows of bytes begin at multiples of `rowAlignment`.
PackedTexture Texture_Pack(const Picture& picture, const PackFormat& format,
                           const TextureShape& shape, std::uint32_t rowAlignment);

}  // namespace koru_ktxpack
