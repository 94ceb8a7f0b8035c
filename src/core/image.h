// Life of a public image record, and finishing: from a decode surface to a record.
#pragma once

#include <cstddef>
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

/// What the flags of a load ask for.
[[nodiscard]] RecordForm Image_GetForm(std::uint32_t flags) noexcept;

/// Pixels of a surface, rows packed.
struct SurfacePixels {
    const std::uint8_t* data = nullptr;
    std::uint32_t bytesPerPixel = 0;  ///< 3 or 4.
    bool hasAlpha = false;            ///< Whether a fourth byte is alpha.
};

/// Pixels of a record, rows packed.
struct FinishedPixels {
    std::uint8_t* data = nullptr;
    std::uint32_t bytesPerPixel = 0;  ///< 3 or 4.
};

/// Copies pixels from a surface's layout to a record's; a source without alpha gives opaque ones.
void Image_FinishPixels(const FinishedPixels& target, const SurfacePixels& source,
                        std::size_t pixelCount) noexcept;

/// A new record with a copy of the surface's pixels in the layout that the flags ask for. Null if
/// the surface has no pixels, if a dimension is 0, if the sizes do not fit 32 bits, or without
/// memory. This is the definition of finishing.
[[nodiscard]] ImageHandle Image_FromSurface(const DecodeSurface& surface,
                                            std::uint32_t flags) noexcept;

/// The same record; where the surface's pixels are finished for these flags, or an unchanged copy
/// would be, it takes the surface's buffer instead, and the surface is left without pixels.
[[nodiscard]] ImageHandle Image_TakeSurface(DecodeSurface& surface, std::uint32_t flags) noexcept;

}  // namespace koru
