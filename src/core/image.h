// Life of a public image record, and finishing: from a decode surface to a record.
#pragma once

#include <cstdint>
#include <memory>

#include "core/decode_surface.h"
#include "korutex.h"

namespace koru {

/// Frees a record and its pixels; null does nothing. The fields are zeroed first.
void Image_Delete(KORU_Image* image) noexcept;

struct ImageDeleter {
    void operator()(KORU_Image* image) const noexcept { Image_Delete(image); }
};
using ImageHandle = std::unique_ptr<KORU_Image, ImageDeleter>;

/// A new record with a copy of the surface's pixels in the layout that the flags ask for. Null if
/// the surface has no pixels, if a dimension is 0, if the sizes do not fit 32 bits, or without
/// memory. This is the definition of finishing.
[[nodiscard]] ImageHandle Image_FromSurface(const DecodeSurface& surface,
                                            std::uint32_t flags) noexcept;

/// The same record; where its pixels would be an unchanged copy of the surface's, it takes the
/// surface's buffer instead, and the surface is left without pixels.
[[nodiscard]] ImageHandle Image_TakeSurface(DecodeSurface& surface, std::uint32_t flags) noexcept;

}  // namespace koru
