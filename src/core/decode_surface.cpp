#include "core/decode_surface.h"

#include "core/bytes.h"

namespace koru {

void Surface_Clear(DecodeSurface& surface) noexcept {
    surface.pixels.Reset();
    surface.width = 0;
    surface.height = 0;
    surface.bitsPerPixel = 0;
    surface.bytesPerPixel = 0;
    surface.bitsPerChannel = 0;
    surface.dataSize = 0;
    surface.stride = 0;
    surface.rowPadding = 0;
    surface.reservedD = 0;
    surface.reservedE = 0;
}

bool Surface_SetLayout(DecodeSurface& surface, std::uint32_t width, std::uint32_t height,
                       std::uint32_t bytesPerPixel) noexcept {
    const auto size = Size_GetPacked(width, height, bytesPerPixel);
    if (!size) return false;
    surface.pixels.Reset();
    surface.width = width;
    surface.height = height;
    surface.bitsPerPixel = bytesPerPixel * 8;
    surface.bytesPerPixel = bytesPerPixel;
    surface.bitsPerChannel = 8;
    surface.dataSize = size->dataSize;
    surface.stride = size->stride;
    surface.rowPadding = 0;
    return true;
}

}  // namespace koru
