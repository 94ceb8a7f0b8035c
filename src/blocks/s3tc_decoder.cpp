#include "blocks/s3tc_decoder.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "blocks/block_image.h"
#include "blocks/block_texels.h"
#include "blocks/s3tc_kernels.h"
#include "core/bytes.h"

namespace koru {
namespace {

// Layouts, byte 0 first. BC2 and BC3: alpha, then color. BC5: two channel blocks.
//
//   color           color0 LE16 | color1 LE16 | 16 x 2-bit index, row by row from the lowest bits
//   explicit alpha  16 x 4-bit alpha, row by row from the lowest bits
//   channel         end0 | end1 | 16 x 3-bit index, row by row from the lowest bits
constexpr std::size_t kAlphaBytes = 8;
constexpr std::size_t kChannelBytes = 8;

/// 0 for a mode without a format.
constexpr std::uint32_t GetBlockBytes(S3tcMode mode) noexcept {
    switch (mode) {
        case S3tcMode::Dxt1:
        case S3tcMode::Bc4:
            return 8;
        case S3tcMode::Dxt3:
        case S3tcMode::Dxt5:
        case S3tcMode::Bc5:
            return 16;
    }
    return 0;
}

constexpr std::uint8_t Low8(unsigned value) noexcept { return static_cast<std::uint8_t>(value); }

// Color: 5:6:5 end colors, a palette of four.

struct ColorBlock {
    std::uint16_t color0 = 0, color1 = 0;  ///< R in the top 5 bits, G, B in the low 5.
    std::uint32_t indices = 0;
};

ColorBlock ReadColorBlock(const std::uint8_t* bytes) noexcept {
    return {.color0 = static_cast<std::uint16_t>(Bytes_LoadLeAt<2>(bytes)),
            .color1 = static_cast<std::uint16_t>(Bytes_LoadLeAt<2>(bytes + 2)),
            .indices = Bytes_LoadLeAt<4>(bytes + 4)};
}

constexpr Rgba8 ExpandRgb565(unsigned color) noexcept {
    const unsigned r = color >> 11, g = color >> 5 & 63, b = color & 31;
    return {Low8(r << 3 | r >> 2), Low8(g << 2 | g >> 4), Low8(b << 3 | b >> 2), 255};
}

/// A third of the way from a to b, truncated: the definition leaves the rounding open.
constexpr Rgba8 MixThird(const Rgba8& a, const Rgba8& b) noexcept {
    return {Low8((2u * a.r + b.r) / 3), Low8((2u * a.g + b.g) / 3), Low8((2u * a.b + b.b) / 3),
            255};
}

/// Half of the way, rounded up.
constexpr Rgba8 MixHalf(const Rgba8& a, const Rgba8& b) noexcept {
    return {Low8((a.r + b.r + 1u) >> 1), Low8((a.g + b.g + 1u) >> 1), Low8((a.b + b.b + 1u) >> 1),
            255};
}

constexpr std::array<Rgba8, 4> BuildColors(const ColorBlock& block, S3tcMode mode) noexcept {
    const Rgba8 end0 = ExpandRgb565(block.color0), end1 = ExpandRgb565(block.color1);
    // Quirk: BC2 knows three-color blocks, too; its pictures look as they always did.
    if (block.color0 > block.color1 || mode == S3tcMode::Dxt5)
        return {end0, end1, MixThird(end0, end1), MixThird(end1, end0)};
    // Quirk: the fourth color is white, not black; transparent texels look as they always did.
    return {end0, end1, MixHalf(end0, end1), Rgba8{255, 255, 255, 0}};
}

void WriteColors(const std::uint8_t* bytes, S3tcMode mode, BlockTexels& texels) noexcept {
    const ColorBlock block = ReadColorBlock(bytes);
    const auto palette = BuildColors(block, mode);
    for (std::size_t i = 0; i < texels.size(); ++i) {
        const std::uint8_t alpha = texels[i].a;
        texels[i] = palette[block.indices >> 2 * i & 3];
        if (mode != S3tcMode::Dxt1) texels[i].a = alpha;  // the alpha block set it
    }
}

// Explicit alpha.

void WriteExplicitAlpha(const std::uint8_t* bytes, BlockTexels& texels) noexcept {
    const std::uint64_t alphas = Bytes_LoadLeAt<8>(bytes);
    for (std::size_t i = 0; i < texels.size(); ++i)
        texels[i].a = Low8((alphas >> 4 * i & 15) * 17u);
}

// Channel: two end values, a palette of eight.

struct ChannelBlock {
    std::uint8_t end0 = 0, end1 = 0;
    std::uint64_t indices = 0;  ///< 48 bits; 0 above them.
};

ChannelBlock ReadChannelBlock(const std::uint8_t* bytes) noexcept {
    return {.end0 = bytes[0], .end1 = bytes[1], .indices = Bytes_LoadLeAt<6>(bytes + 2)};
}

/// Value number i of the straight line from `end0` (1) to `end1` (steps + 1), truncated.
constexpr std::uint8_t MixChannel(const ChannelBlock& block, unsigned steps, unsigned i) noexcept {
    return Low8(((steps + 1 - i) * block.end0 + (i - 1) * block.end1) / steps);
}

constexpr std::array<std::uint8_t, 8> BuildValues(const ChannelBlock& block) noexcept {
    std::array<std::uint8_t, 8> values{block.end0, block.end1, 0, 0, 0, 0, 0, 255};
    const bool eightValues = block.end0 > block.end1;
    if (eightValues) {
        for (unsigned i = 2; i < 8; ++i) values[i] = MixChannel(block, 7, i);
    } else {
        for (unsigned i = 2; i < 6; ++i) values[i] = MixChannel(block, 5, i);
    }
    return values;
}

/// Index bits from one row of a channel block to the next.
/// Quirk: in images narrower than a block the indices of the missing columns count twice, so that
/// lower rows begin late and the last ones may lie outside (index 0); keeps the pixels of such
/// images. The last column of a wider image is not concerned, nor are color and explicit alpha.
constexpr unsigned GetIndexRowBits(std::uint32_t imageWidth) noexcept {
    const unsigned missing = kBlockSide - std::min(kBlockSide, imageWidth);
    return (kBlockSide + missing) * 3;
}

void WriteChannel(const std::uint8_t* bytes, unsigned indexRowBits, std::uint8_t Rgba8::*channel,
                  BlockTexels& texels) noexcept {
    const ChannelBlock block = ReadChannelBlock(bytes);
    const auto values = BuildValues(block);
    for (std::size_t y = 0; y < kBlockSide; ++y) {
        const std::uint64_t rowIndices = block.indices >> y * indexRowBits;  // by 63 at most
        for (std::size_t x = 0; x < kBlockSide; ++x)
            texels[y * kBlockSide + x].*channel = values[rowIndices >> 3 * x & 7];
    }
}

// Blocks and images.

/// What texels depend on besides the bytes of their block.
struct ImageRules {
    S3tcMode mode{};
    unsigned indexRowBits = 0;
};

BlockTexels DecodeBlock(const std::uint8_t* bytes, const ImageRules& rules) noexcept {
    BlockTexels texels{};
    switch (rules.mode) {
        case S3tcMode::Dxt1:
            WriteColors(bytes, S3tcMode::Dxt1, texels);
            break;
        case S3tcMode::Dxt3:
            WriteExplicitAlpha(bytes, texels);
            WriteColors(bytes + kAlphaBytes, S3tcMode::Dxt3, texels);
            break;
        case S3tcMode::Dxt5:
            WriteChannel(bytes, rules.indexRowBits, &Rgba8::a, texels);
            WriteColors(bytes + kAlphaBytes, S3tcMode::Dxt5, texels);
            break;
        // Quirk: the channels that a block does not have are 255, not 0; keeps BC4 and BC5 pixels.
        case S3tcMode::Bc4:
            WriteChannel(bytes, rules.indexRowBits, &Rgba8::r, texels);
            break;
        // Quirk: the first channel is green, the second red; keeps BC5 pixels.
        case S3tcMode::Bc5:
            WriteChannel(bytes, rules.indexRowBits, &Rgba8::g, texels);
            WriteChannel(bytes + kChannelBytes, rules.indexRowBits, &Rgba8::r, texels);
            break;
    }
    return texels;
}

/// Decodes blocks that follow each other into four rows of pixels.
template <std::size_t PixelBytes>
void DecodeBlockRow(const ImageRules& rules, const std::uint8_t* blocks, std::uint32_t blockCount,
                    std::uint8_t* target, std::size_t stride) noexcept {
    const std::size_t blockBytes = GetBlockBytes(rules.mode);
    for (std::uint32_t i = 0; i < blockCount; ++i) {
        Texels_Store<PixelBytes>(DecodeBlock(blocks, rules), target, stride);
        blocks += blockBytes;
        target += kBlockSide * PixelBytes;
    }
}

/// S3tcDecodeRow of the reference.
template <S3tcMode Mode, std::size_t PixelBytes>
void DecodeWideRow(const std::uint8_t* blocks, std::uint32_t blockCount, std::uint8_t* target,
                   std::size_t stride) noexcept {
    constexpr ImageRules kRules{.mode = Mode, .indexRowBits = GetIndexRowBits(kBlockSide)};
    DecodeBlockRow<PixelBytes>(kRules, blocks, blockCount, target, stride);
}

/// Null without a kernel.
S3tcDecodeRow* GetKernel(S3tcMode mode, std::uint32_t pixelBytes) noexcept {
    const S3tcKernels& kernels = S3tcKernels_Get(KernelLevel_Get());
    if (mode == S3tcMode::Dxt1 && pixelBytes == kRgbBytes) return kernels.dxt1Rgb;
    if (pixelBytes != kRgbaBytes) return nullptr;
    switch (mode) {
        case S3tcMode::Dxt1:
            return kernels.dxt1Rgba;
        case S3tcMode::Dxt3:
            return kernels.dxt3Rgba;
        case S3tcMode::Dxt5:
            return kernels.dxt5Rgba;
        case S3tcMode::Bc4:
            return kernels.bc4Rgba;
        case S3tcMode::Bc5:
            return kernels.bc5Rgba;
    }
    return nullptr;
}

template <std::size_t PixelBytes>
void DecodePixels(std::uint8_t* destination, const std::uint8_t* source, S3tcMode mode,
                  std::uint32_t width, std::uint32_t height) noexcept {
    const BlockImage image{.width = width,
                           .height = height,
                           .blockBytes = GetBlockBytes(mode),
                           .pixelBytes = PixelBytes};
    if (image.blockBytes == 0) {
        // Quirk: a mode without a format gives opaque white; readers get an image for any number.
        std::fill_n(destination, std::size_t{width} * height * PixelBytes, std::uint8_t{255});
        return;
    }
    S3tcDecodeRow* const kernel = width >= kBlockSide ? GetKernel(mode, PixelBytes) : nullptr;
    if (kernel != nullptr) {
        Blocks_DecodeImage(image, source, destination, kernel);
        return;
    }
    const ImageRules rules{.mode = mode, .indexRowBits = GetIndexRowBits(width)};
    Blocks_DecodeImage(image, source, destination, [&rules](auto... row) noexcept {
        DecodeBlockRow<PixelBytes>(rules, row...);
    });
}

}  // namespace

constinit const S3tcKernels kS3tcScalarKernels{
    .dxt1Rgba = DecodeWideRow<S3tcMode::Dxt1, kRgbaBytes>,
    .dxt1Rgb = DecodeWideRow<S3tcMode::Dxt1, kRgbBytes>,
    .dxt3Rgba = DecodeWideRow<S3tcMode::Dxt3, kRgbaBytes>,
    .dxt5Rgba = DecodeWideRow<S3tcMode::Dxt5, kRgbaBytes>,
    .bc4Rgba = DecodeWideRow<S3tcMode::Bc4, kRgbaBytes>,
    .bc5Rgba = DecodeWideRow<S3tcMode::Bc5, kRgbaBytes>,
};

std::uint32_t S3tc_DecodeImage(std::uint8_t* destination, const std::uint8_t* source, S3tcMode mode,
                               std::uint64_t /*reserved*/, std::uint32_t width,
                               std::uint32_t height, std::int32_t bytesPerPixel) noexcept {
    switch (bytesPerPixel) {
        case 1:
            DecodePixels<1>(destination, source, mode, width, height);
            break;
        case 2:
            DecodePixels<2>(destination, source, mode, width, height);
            break;
        case 3:
            DecodePixels<3>(destination, source, mode, width, height);
            break;
        case 4:
            DecodePixels<4>(destination, source, mode, width, height);
            break;
        default:
            break;
    }
    return 1;
}

std::optional<std::uint32_t> S3tc_GetPayloadBytes(S3tcMode mode, std::uint32_t width,
                                                  std::uint32_t height) noexcept {
    return Blocks_GetBytes(width, height, GetBlockBytes(mode));
}

}  // namespace koru
