// Rows of pixels in vectors, for kernel files alone.
//
// `V` is the vectors of one instruction set, Sse41Pixels or Avx2Pixels, so what is made of these
// templates is never shared with code for another one.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/bytes.h"
#include "core/pixel_kernels.h"

namespace koru {

/// Kernels work on blocks: four vectors of RGBA pixels, which are three of RGB.
template <typename V>
inline constexpr std::size_t kBlockPixels = 4 * V::kPixels;

template <typename V>
struct PixelBlock {
    typename V::Vector a, b, c, d;
};

template <typename V>
PixelBlock<V> Block_MakeOpaque(const PixelBlock<V>& block) noexcept {
    const auto alpha = V::Set32(static_cast<int>(0xFF000000u));
    return {V::Or(block.a, alpha), V::Or(block.b, alpha), V::Or(block.c, alpha),
            V::Or(block.d, alpha)};
}

template <typename V>
PixelBlock<V> Block_LoadRgba(const std::uint8_t* source) noexcept {
    constexpr std::size_t kBytes = V::kPixels * kRgbaBytes;
    return {V::Load(source), V::Load(source + kBytes), V::Load(source + 2 * kBytes),
            V::Load(source + 3 * kBytes)};
}

/// Alpha is 0.
template <typename V>
PixelBlock<V> Block_LoadRgb(const std::uint8_t* source) noexcept {
    return {V::template LoadRgb<0>(source), V::template LoadRgb<1>(source),
            V::template LoadRgb<2>(source), V::template LoadRgb<3>(source)};
}

template <typename V>
void Block_StoreRgba(std::uint8_t* target, const PixelBlock<V>& block) noexcept {
    constexpr std::size_t kBytes = V::kPixels * kRgbaBytes;
    V::Store(target, block.a);
    V::Store(target + kBytes, block.b);
    V::Store(target + 2 * kBytes, block.c);
    V::Store(target + 3 * kBytes, block.d);
}

template <typename V>
void Block_StoreRgb(std::uint8_t* target, const PixelBlock<V>& block) noexcept {
    V::StoreRgb(target, block.a, block.b, block.c, block.d);
}

/// Converts a row with `convertBlock`; one shorter than a block with `lower`. The last block ends
/// with the row, so it may do pixels again that the one before has done.
template <typename V, std::size_t SourceBytes, std::size_t TargetBytes, typename ConvertBlock>
void ConvertRowInBlocks(std::uint8_t* target, const std::uint8_t* source, std::size_t pixelCount,
                        PixelRow* lower, ConvertBlock convertBlock) noexcept {
    if (pixelCount < kBlockPixels<V>) return lower(target, source, pixelCount);
    const std::size_t last = pixelCount - kBlockPixels<V>;
    for (std::size_t pixel = 0; pixel < last; pixel += kBlockPixels<V>) {
        convertBlock(target + pixel * TargetBytes, source + pixel * SourceBytes);
    }
    convertBlock(target + last * TargetBytes, source + last * SourceBytes);
}

/// The rows of PixelKernels; `kLower` is the table of the level below.
template <typename V, const PixelKernels& kLower>
struct PixelRows {
    static void RgbToRgba(std::uint8_t* target, const std::uint8_t* source,
                          std::size_t pixelCount) noexcept {
        ConvertRowInBlocks<V, kRgbBytes, kRgbaBytes>(
            target, source, pixelCount, kLower.rgbToRgba,
            [](std::uint8_t* to, const std::uint8_t* from) {
                Block_StoreRgba<V>(to, Block_MakeOpaque<V>(Block_LoadRgb<V>(from)));
            });
    }

    static void RgbaToRgb(std::uint8_t* target, const std::uint8_t* source,
                          std::size_t pixelCount) noexcept {
        ConvertRowInBlocks<V, kRgbaBytes, kRgbBytes>(
            target, source, pixelCount, kLower.rgbaToRgb,
            [](std::uint8_t* to, const std::uint8_t* from) {
                Block_StoreRgb<V>(to, Block_LoadRgba<V>(from));
            });
    }

    static void RgbaToOpaque(std::uint8_t* target, const std::uint8_t* source,
                             std::size_t pixelCount) noexcept {
        ConvertRowInBlocks<V, kRgbaBytes, kRgbaBytes>(
            target, source, pixelCount, kLower.rgbaToOpaque,
            [](std::uint8_t* to, const std::uint8_t* from) {
                Block_StoreRgba<V>(to, Block_MakeOpaque<V>(Block_LoadRgba<V>(from)));
            });
    }

    static constexpr PixelKernels kTable{
        .rgbToRgb = Pixels_CopyRgb,
        .rgbToRgba = RgbToRgba,
        .rgbaToRgb = RgbaToRgb,
        .rgbaToRgba = Pixels_CopyRgba,
        .rgbaToOpaque = RgbaToOpaque,
    };
};

}  // namespace koru
