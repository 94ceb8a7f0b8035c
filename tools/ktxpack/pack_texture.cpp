#include "pack_texture.h"

#include <algorithm>

namespace koru_ktxpack {
namespace {

/// Texels outside of the picture repeat its edge.
BlockTexels Picture_CutBlock(const Picture& picture, std::uint32_t left, std::uint32_t top) {
    BlockTexels texels{};
    for (std::uint32_t y = 0; y < 4; ++y) {
        for (std::uint32_t x = 0; x < 4; ++x) {
            texels[4 * y + x] = picture.Get(std::min(left + x, picture.width - 1),
                                            std::min(top + y, picture.height - 1));
        }
    }
    return texels;
}

Bytes Picture_Encode(const Picture& picture, const PackFormat& format, std::uint32_t rowAlignment) {
    Bytes bytes;
    for (std::uint32_t y = 0; y < picture.height; y += format.blockHeight) {
        for (std::uint32_t x = 0; x < picture.width; x += format.blockWidth) {
            const std::size_t begin = bytes.size();
            bytes.resize(begin + format.blockBytes);
            format.encode(Picture_CutBlock(picture, x, y), std::span(bytes).subspan(begin));
        }
        while (bytes.size() % rowAlignment != 0) bytes.push_back(0);
    }
    return bytes;
}

}  // namespace

PackedTexture Texture_Pack(const Picture& picture, const PackFormat& format,
                           const TextureShape& shape, std::uint32_t rowAlignment) {
    PackedTexture texture{.format = &format,
                          .width = picture.width,
                          .height = picture.height,
                          .shape = shape,
                          .levels = {}};
    const std::size_t imageCount = std::size_t{std::max(shape.layerCount, 1u)} * shape.faceCount;
    for (Picture level = picture;; level = Picture_Halve(level)) {
        std::vector<Bytes> images{Picture_Encode(level, format, rowAlignment)};
        if (imageCount > 1) {
            images.resize(imageCount, Picture_Encode(Picture_Invert(level), format, rowAlignment));
        }
        texture.levels.push_back(std::move(images));
        if (!shape.hasMipmaps || (level.width == 1 && level.height == 1)) return texture;
    }
}

}  // namespace koru_ktxpack
