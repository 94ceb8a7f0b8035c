// The owner of one of the library's records.
#pragma once

#include <korutex.h>

#include <memory>

namespace koru_host {

struct ImageDeleter {
    void operator()(KORU_Image* image) const noexcept { KORU_Delete_Image(image); }
};
using ImageHandle = std::unique_ptr<KORU_Image, ImageDeleter>;

}  // namespace koru_host
