#include "formats/expand_kernels.h"

#include "core/kernel_level.h"
#include "formats/expand_converters.h"

namespace koru {
namespace {

constexpr ConvertGrey kConvertGrey;
constexpr ConvertRgb565 kConvertRgb565;
constexpr ConvertRgb5<false> kConvertRgb5;
constexpr ConvertRgb5<true> kConvertRgb5A1;
constexpr ConvertRgba4 kConvertRgba4;

template <unsigned TargetBytes, const auto& kConvert>
void ConvertRow(std::uint8_t* target, const std::uint8_t* source, std::size_t pixelCount) noexcept {
    ConvertRun<TargetBytes, TargetBytes == 4>(target, source, pixelCount, kConvert);
}

template <const auto& kConvert>
constexpr ExpandRows kRows{.toRgb = ConvertRow<3, kConvert>, .toRgba = ConvertRow<4, kConvert>};

}  // namespace

constinit const ExpandKernels kScalarExpandKernels{
    .grey = kRows<kConvertGrey>,
    .rgb565 = kRows<kConvertRgb565>,
    .rgb5 = kRows<kConvertRgb5>,
    .rgb5A1 = kRows<kConvertRgb5A1>,
    .rgba4 = kRows<kConvertRgba4>,
    .rgb10A2 = kRows<kConvertRgb10A2>,
    .rgb9E5 = kRows<kConvertRgb9E5>,
    .r11G11B10 = kRows<kConvertR11G11B10>,
};

const ExpandKernels& ExpandKernels_Get() noexcept {
#if defined(KORU_X86_KERNELS)
    switch (KernelLevel_Get()) {
        case KernelLevel::Avx2:
            return kAvx2ExpandKernels;
        case KernelLevel::Sse41:
            return kSse41ExpandKernels;
        case KernelLevel::Scalar:
            break;
    }
#endif
    return kScalarExpandKernels;
}

}  // namespace koru
