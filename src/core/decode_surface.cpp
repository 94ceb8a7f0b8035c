#include "core/decode_surface.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "core/bytes.h"

namespace koru {
namespace {

template <typename Allocate>
bool TakePixels(DecodeSurface& surface, Allocate allocate) noexcept {
    const auto size =
        Size_GetPacked(surface.width, surface.height, Surface_GetTargetBytes(surface));
    surface.pixels = size ? allocate(size->dataSize) : ByteBuffer();
    surface.isFinished = surface.wantedForm != RecordForm::Unknown;
    return static_cast<bool>(surface.pixels);
}

}  // namespace

void Surface_Clear(DecodeSurface& surface) noexcept {
    surface.pixels.Reset();
    surface.isFinished = false;
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
    surface.isFinished = false;
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

std::uint32_t Surface_GetTargetBytes(const DecodeSurface& surface) noexcept {
    switch (surface.wantedForm) {
        case RecordForm::Rgb:
        case RecordForm::HeaderOnly:
            return kRgbBytes;
        case RecordForm::Rgba:
            return kRgbaBytes;
        case RecordForm::Unknown:
            break;
    }
    return surface.bytesPerPixel;
}

bool Surface_AllocatePixels(DecodeSurface& surface) noexcept {
    return TakePixels(surface, ByteBuffer::Allocate);
}

bool Surface_AllocateBlack(DecodeSurface& surface) noexcept {
    // Black that is all zeros costs no memory until it is read.
    if (Surface_GetTargetBytes(surface) == kRgbBytes) return Surface_AllocateZeroed(surface);
    if (!Surface_AllocatePixels(surface)) return false;
    Surface_FillBlack(surface, 0);
    return true;
}

void Surface_FillBlack(DecodeSurface& surface, std::uint32_t offset) noexcept {
    const std::span<std::uint8_t> pixels{surface.pixels.Data(), surface.pixels.Size()};
    Pixels_FillBlack(pixels.subspan(offset), Surface_GetTargetBytes(surface));
}

bool Surface_AllocateZeroed(DecodeSurface& surface) noexcept {
    return TakePixels(surface, ByteBuffer::AllocateZeroed);
}

void Pixels_FillBlack(std::span<std::uint8_t> pixels, std::uint32_t bytesPerPixel) noexcept {
    if (bytesPerPixel == kRgbBytes) {
        std::ranges::fill(pixels, std::uint8_t{0});
        return;
    }
    constexpr std::uint8_t kOpaqueBlack[kRgbaBytes] = {0, 0, 0, 255};
    for (std::size_t i = 0; i + kRgbaBytes <= pixels.size(); i += kRgbaBytes)
        std::memcpy(&pixels[i], kOpaqueBlack, sizeof kOpaqueBlack);
}

}  // namespace koru
