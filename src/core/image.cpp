#include "core/image.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include "core/bytes.h"
#include "core/pixel_kernels.h"

namespace koru {
namespace {

/// A record with every size set and no pixels; null as Image_FromSurface says.
ImageHandle CreateRecord(const DecodeSurface& surface, std::uint32_t flags) noexcept {
    if (!surface.pixels || surface.width == 0 || surface.height == 0) return nullptr;
    // Quirk: a header-only record describes RGB whatever the RGBA flag says; hosts size by it.
    const bool isRgba = (flags & KORU_FLAG_RGBA) != 0 && (flags & KORU_FLAG_HEADER_ONLY) == 0;
    const std::uint32_t bytesPerPixel = isRgba ? kRgbaBytes : kRgbBytes;
    // What fits has fewer than 2^31 pixels a row and rows, so no counter of it is ever negative.
    const auto size = Size_GetPacked(surface.width, surface.height, bytesPerPixel);
    if (!size) return nullptr;
    return ImageHandle(new (std::nothrow) KORU_Image{
        .width = surface.width,
        .height = surface.height,
        .bitsPerPixel = bytesPerPixel * 8,
        .bytesPerPixel = bytesPerPixel,
        .bitsPerChannel = 8,
        .dataSize = size->dataSize,
        .stride = size->stride,
        .rowPadding = 0,
        .reservedA = 0,
        .reservedB = 0,
        // Quirk: nothing reads it; hosts find 100 here in every record.
        .reservedC = 100,
        .reservedD = 0,
        .pixels = nullptr,
    });
}

/// How the pixels of a surface become those of a record; a surface without alpha gives opaque ones.
PixelRow* ChooseCopy(const FinishedPixels& target, const SurfacePixels& source) noexcept {
    const PixelKernels& kernels = PixelKernels_Get();
    const bool toRgba = target.bytesPerPixel == kRgbaBytes;
    if (source.bytesPerPixel != kRgbaBytes) return toRgba ? kernels.rgbToRgba : kernels.rgbToRgb;
    if (!toRgba) return kernels.rgbaToRgb;
    return source.hasAlpha ? kernels.rgbaToRgba : kernels.rgbaToOpaque;
}

}  // namespace

RecordForm Image_GetForm(std::uint32_t flags) noexcept {
    if ((flags & KORU_FLAG_HEADER_ONLY) != 0) return RecordForm::HeaderOnly;
    return (flags & KORU_FLAG_RGBA) != 0 ? RecordForm::Rgba : RecordForm::Rgb;
}

void Image_FinishPixels(const FinishedPixels& target, const SurfacePixels& source,
                        std::size_t pixelCount) noexcept {
    ChooseCopy(target, source)(target.data, source.data, pixelCount);
}

void Image_Delete(KORU_Image* image) noexcept {
    if (image == nullptr) return;
    std::free(image->pixels);
    // Through volatile, or the compiler drops stores to memory that is about to be freed: a host
    // that looks at a stale record finds zeros, not a stale pointer.
    volatile KORU_Image& record = *image;
    record.pixels = nullptr;
    record.width = 0;
    record.height = 0;
    record.bitsPerPixel = 0;
    record.bytesPerPixel = 0;
    record.bitsPerChannel = 0;
    record.dataSize = 0;
    record.stride = 0;
    record.rowPadding = 0;
    record.reservedA = 0;
    record.reservedB = 0;
    record.reservedC = 0;
    record.reservedD = 0;
    delete image;
}

ImageHandle Image_FromSurface(const DecodeSurface& surface, std::uint32_t flags) noexcept {
    ImageHandle image = CreateRecord(surface, flags);
    if (image == nullptr || (flags & KORU_FLAG_HEADER_ONLY) != 0) return image;
    image->pixels = ByteBuffer::Allocate(image->dataSize).Release();
    if (image->pixels == nullptr) return nullptr;
    Image_FinishPixels({.data = image->pixels, .bytesPerPixel = image->bytesPerPixel},
                       {.data = surface.pixels.Data(),
                        .bytesPerPixel = surface.bytesPerPixel,
                        .hasAlpha = surface.bitsPerPixel == 32},
                       std::size_t{surface.width} * surface.height);
    return image;
}

ImageHandle Image_TakeSurface(DecodeSurface& surface, std::uint32_t flags) noexcept {
    const RecordForm form = Image_GetForm(flags);
    const std::uint32_t bytesPerPixel = form == RecordForm::Rgba ? kRgbaBytes : kRgbBytes;
    const bool wouldCopy =
        surface.bitsPerPixel == bytesPerPixel * 8 && surface.bytesPerPixel == bytesPerPixel;
    if (form == RecordForm::HeaderOnly || !(surface.isFinished || wouldCopy))
        return Image_FromSurface(surface, flags);
    ImageHandle image = CreateRecord(surface, flags);
    if (image != nullptr) image->pixels = surface.pixels.Release();
    return image;
}

}  // namespace koru
