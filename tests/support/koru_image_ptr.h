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

/// A copy of the record's pixels; empty for a header-only one.
inline std::vector<std::uint8_t> Test_GetPixels(const KORU_Image& image) {
    if (image.pixels == nullptr) return {};
    return {image.pixels, image.pixels + image.dataSize};
}
