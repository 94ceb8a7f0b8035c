#include "core/decode_surface.h"

#include <cstring>

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

bool Surface_AllocateBlack(DecodeSurface& surface) noexcept {
    if (surface.bytesPerPixel == 4) {
        surface.pixels = ByteBuffer::Allocate(surface.dataSize);
        if (surface.pixels) Surface_FillBlack(surface, 0);
    } else {
        surface.pixels = ByteBuffer::AllocateZeroed(surface.dataSize);
    }
    return static_cast<bool>(surface.pixels);
}

void Surface_FillBlack(DecodeSurface& surface, std::uint64_t offset) noexcept {
    std::uint8_t* const end = surface.pixels.Data() + surface.dataSize;
    std::uint8_t* pixel = surface.pixels.Data() + offset;
    if (surface.bytesPerPixel == 4) {
        constexpr std::uint8_t kOpaqueBlack[4] = {0, 0, 0, 255};
        for (; pixel < end; pixel += sizeof kOpaqueBlack) {
            std::memcpy(pixel, kOpaqueBlack, sizeof kOpaqueBlack);
        }
    } else {
        std::memset(pixel, 0, static_cast<std::size_t>(end - pixel));
    }
}

}  // namespace koru
