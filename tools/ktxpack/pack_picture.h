// Pictures, and smaller copies of them.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "pack_texels.h"

namespace koru_ktxpack {

struct Picture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<Texel> texels;  ///< row by row

    const Texel& Get(std::uint32_t x, std::uint32_t y) const {
        return texels[std::size_t{y} * width + x];
    }
};

constexpr std::uint32_t kMaxPictureSide = 16384;

/// Decodes a PNG file. Throws std::runtime_error.
Picture Picture_DecodePng(std::span<const std::uint8_t> file);

/// The same picture in negative; alpha stays.
Picture Picture_Invert(const Picture& picture);

/// Half as large in both directions, rounded down, but never nothing. Each texel is the average of
/// the area that it covers, where transparent colours count for less.
Picture Picture_Halve(const Picture& picture);

}  // namespace koru_ktxpack
