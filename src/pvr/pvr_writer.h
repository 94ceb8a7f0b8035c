// Records as files of the PVR writer.
#pragma once

#include <cstdio>

#include "korutex.h"

namespace koru {

/// Writes 52 zero bytes, the size of the pixels and the pixels: 1, or 0 on a short write or without
/// pixel bytes. The rows of a 24-bit record are aligned in place, and stay so.
/// Quirk: the header is not filled in, so no PVR reader opens the file; hosts that read it by
/// themselves find the pixels where they expect them.
int Pvr_WriteImage(std::FILE* file, KORU_Image& image) noexcept;

}  // namespace koru
