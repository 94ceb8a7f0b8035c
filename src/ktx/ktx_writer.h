// Records as KTX 1.1 files.
#pragma once

#include <cstdio>

#include "korutex.h"

namespace koru {

/// Writes header, orientation and pixels as one level of GL_RGB or GL_RGBA bytes: 1, or 0 on a
/// short write or without pixel bytes. The rows of a 24-bit record are aligned in place, and stay
/// so.
int Ktx_WriteImage(std::FILE* file, KORU_Image& image) noexcept;

}  // namespace koru
