// A record with an owner.
#pragma once

#include <korutex.h>

#include <cstdint>
#include <memory>
#include <vector>

struct KoruImageDeleter {
    void operator()(KORU_Image* image) const { KORU_Delete_Image(image); }
};
using KoruImagePtr = std::unique_ptr<KORU_Image, KoruImageDeleter>;

/// A 32-bit record of the host's own around pixels that it keeps. Not for KORU_Delete_Image.
inline KORU_Image Test_BorrowRgba(std::uint32_t width, std::uint32_t height,
                                  std::vector<std::uint8_t>& pixels) {
    KORU_Image image{};
    image.width = width;
    image.height = height;
    image.bitsPerPixel = 32;
    image.bytesPerPixel = 4;
    image.bitsPerChannel = 8;
    image.stride = width * 4;
    image.dataSize = image.stride * height;
    pixels.resize(image.dataSize);
    image.pixels = pixels.data();
    return image;
}

/// A copy of the record's pixels; empty for a header-only one.
inline std::vector<std::uint8_t> Test_GetPixels(const KORU_Image& image) {
    if (image.pixels == nullptr) return {};
    return {image.pixels, image.pixels + image.dataSize};
}
