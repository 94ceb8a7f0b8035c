// Rows of RGB records at multiples of 4 bytes, as KTX and PVR files have them.
#pragma once

#include "korutex.h"

namespace koru {

/// Repacks a 24-bit record in place so that its rows take a multiple of 4 bytes each: 1. `pixels`
/// is then another buffer, and padding is 0. Another record, no pixels, no memory, or a size that
/// does not fit 32 bits: 0, unchanged. Pixels behind `dataSize`, and one that it cuts, become 0.
int AlignRgbRows(KORU_Image& image) noexcept;

}  // namespace koru
