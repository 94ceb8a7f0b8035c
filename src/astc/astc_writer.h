// The ".astc" header stub.
#pragma once

#include <cstdio>

#include "korutex.h"

namespace koru {

/// Replaces 24-bit RGB pixels (rows may be padded) by packed 32-bit RGBA with alpha 255, in place:
/// 1. A 32-bit record is left alone: 1. No pixels, a size of 0 or no memory: 0, unchanged.
/// Pixels behind `dataSize`, and one that it cuts, are not converted; the rest of the new buffer
/// is zero.
int Image_ConvertToRgba(KORU_Image& image) noexcept;

/// Converts the image and writes a 20-byte header without blocks. Always 0.
int Astc_WriteHeaderStub(std::FILE* file, KORU_Image& image) noexcept;

}  // namespace koru
