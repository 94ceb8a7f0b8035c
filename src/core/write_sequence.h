// What every writer does around its own bytes.
#pragma once

#include <cstdio>

#include "korutex.h"

namespace koru {

/// Writes the image to the open file; 1 for success. May change the record in place.
using WriteImage = int (*)(std::FILE* file, KORU_Image& image);

/// Checks the arguments, opens the file, writes and closes: the writer's result. 0, and no file is
/// created, without a path, an image or pixels, with a width or height of 0, or without a writer.
[[nodiscard]] int Write_ToFile(const KORU_Char* path, KORU_Image* image, WriteImage write);

}  // namespace koru
