// PNG pictures as records of the library.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>

#include "image_handle.h"

namespace koru_host {

struct PngFacts {
    std::uint32_t width = 0, height = 0;
    std::uint32_t bitsPerChannel = 8;  ///< 16 are cut to 8; palettes and fewer bits count as 8.
};

/// A picture that cannot be read; the reason in words.
class PngError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Of a file that begins as PNG files do, below 4 GiB. Throws PngError.
PngFacts Png_ReadFacts(std::span<const std::uint8_t> file);

/// RGBA if the picture has alpha, a transparent color included, otherwise RGB; grey as RGB. The
/// record is a loader's own, so that writers may replace its pixels. Throws PngError and
/// std::bad_alloc.
ImageHandle Png_Load(std::span<const std::uint8_t> file);

}  // namespace koru_host
