#include "core/pixel_kernels.h"

#include <cstring>

#include "core/bytes.h"
#include "core/kernel_level.h"

namespace koru {
namespace {

/// A target with alpha gets opaque pixels.
template <std::uint32_t SourceBytes, std::uint32_t TargetBytes>
void CopyPixels(std::uint8_t* target, const std::uint8_t* source, std::size_t pixelCount) noexcept {
    for (std::size_t pixel = 0; pixel < pixelCount; ++pixel) {
        target[0] = source[0];
        target[1] = source[1];
        target[2] = source[2];
        if constexpr (TargetBytes == kRgbaBytes) target[3] = 255;
        source += SourceBytes;
        target += TargetBytes;
    }
}

}  // namespace

constinit const PixelKernels kScalarPixelKernels{
    .rgbToRgb = Pixels_CopyRgb,
    .rgbToRgba = CopyPixels<kRgbBytes, kRgbaBytes>,
    .rgbaToRgb = CopyPixels<kRgbaBytes, kRgbBytes>,
    .rgbaToRgba = Pixels_CopyRgba,
    .rgbaToOpaque = CopyPixels<kRgbaBytes, kRgbaBytes>,
};

void Pixels_CopyRgb(std::uint8_t* target, const std::uint8_t* source,
                    std::size_t pixelCount) noexcept {
    std::memcpy(target, source, pixelCount * kRgbBytes);
}

void Pixels_CopyRgba(std::uint8_t* target, const std::uint8_t* source,
                     std::size_t pixelCount) noexcept {
    std::memcpy(target, source, pixelCount * kRgbaBytes);
}

const PixelKernels& PixelKernels_Get() noexcept {
#if defined(KORU_X86_KERNELS)
    switch (KernelLevel_Get()) {
        case KernelLevel::Avx2:
            return kAvx2PixelKernels;
        case KernelLevel::Sse41:
            return kSse41PixelKernels;
        case KernelLevel::Scalar:
            break;
    }
#endif
    return kScalarPixelKernels;
}

}  // namespace koru
