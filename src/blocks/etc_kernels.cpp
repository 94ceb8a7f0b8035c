#include "blocks/etc_kernels.h"

#include "blocks/block_texels.h"
#include "blocks/eac_block.h"
#include "blocks/etc_color_block.h"
#include "blocks/etc_word.h"
#include "core/kernel_level.h"

namespace koru {
namespace {

/// RGB, or punch-through RGBA.
template <EtcBit33 Bit33>
void DecodeColorRow(const std::uint8_t* blocks, std::uint32_t blockCount, std::uint8_t* target,
                    std::size_t stride) noexcept {
    constexpr std::size_t kPixelBytes = Bit33 == EtcBit33::Opaque ? 4 : 3;
    for (std::uint32_t i = 0; i < blockCount; ++i) {
        BlockTexels texels;
        Etc_DecodeColorBlock(blocks, Bit33, texels);
        Texels_Store<kPixelBytes>(texels, target, stride);
        blocks += kEtcBlockBytes;
        target += kBlockSide * kPixelBytes;
    }
}

/// Each color block follows its alpha block.
void DecodeRgba8Row(const std::uint8_t* blocks, std::uint32_t blockCount, std::uint8_t* target,
                    std::size_t stride) noexcept {
    constexpr std::size_t kPixelBytes = 4;
    for (std::uint32_t i = 0; i < blockCount; ++i) {
        BlockTexels texels;
        Etc_DecodeColorBlock(blocks + kEtcBlockBytes, EtcBit33::Differential, texels);
        Eac_DecodeAlphaBlock(blocks, texels);
        Texels_Store<kPixelBytes>(texels, target, stride);
        blocks += 2 * kEtcBlockBytes;
        target += kBlockSide * kPixelBytes;
    }
}

/// One 11-bit block for each channel: R, or R and G.
template <std::size_t Channels, bool IsSigned>
void Decode11BitRow(const std::uint8_t* blocks, std::uint32_t blockCount, std::uint8_t* target,
                    std::size_t stride) noexcept {
    constexpr std::size_t kPixelBytes = Channels * 2;
    for (std::uint32_t i = 0; i < blockCount; ++i) {
        for (std::size_t channel = 0; channel < Channels; ++channel) {
            const EacValues values = Eac_Decode11BitBlock(blocks, IsSigned);
            for (std::size_t k = 0; k < values.size(); ++k) {
                std::uint8_t* const value =
                    target + k / kBlockSide * stride + k % kBlockSide * kPixelBytes + channel * 2;
                value[0] = static_cast<std::uint8_t>(values[k]);
                value[1] = static_cast<std::uint8_t>(values[k] >> 8);
            }
            blocks += kEtcBlockBytes;
        }
        target += kBlockSide * kPixelBytes;
    }
}

}  // namespace

constinit const EtcKernels kEtcScalarKernels{
    .rgb8 = DecodeColorRow<EtcBit33::Differential>,
    .alpha1 = DecodeColorRow<EtcBit33::Opaque>,
    .rgba8 = DecodeRgba8Row,
    .r11 = Decode11BitRow<1, false>,
    .r11Signed = Decode11BitRow<1, true>,
    .rg11 = Decode11BitRow<2, false>,
    .rg11Signed = Decode11BitRow<2, true>,
};

const EtcKernels& Etc_GetKernels() noexcept {
#if defined(KORU_X86_KERNELS)
    switch (KernelLevel_Get()) {
        case KernelLevel::Scalar:
            break;
        case KernelLevel::Sse41:
            return kEtcSse41Kernels;
        case KernelLevel::Avx2:
            return kEtcAvx2Kernels;
    }
#endif
    return kEtcScalarKernels;
}

}  // namespace koru
