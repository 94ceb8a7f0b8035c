// Small texture files whose pixels are known.
#pragma once

#include "astc_builder.h"
#include "ktx_builder.h"
#include "pvr_builder.h"

constexpr std::uint32_t kTestGlRgba8 = 0x8058;
constexpr std::uint32_t kTestGlEtc1 = 0x8D64;

/// A KTX file of these pixels: R, G, B, A.
inline Bytes Test_KtxOfPixels(std::uint32_t width, std::uint32_t height, const Bytes& pixels) {
    return Ktx1Builder().Uncompressed(kTestGlRgba8).Size(width, height).Level(pixels).Build();
}

/// Pixels that are all different from each other.
inline Bytes Test_MakePixels(std::uint32_t width, std::uint32_t height, std::uint8_t seed = 0) {
    Bytes pixels;
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            for (const std::uint32_t value : {x, y, x + y + seed, 255 - x - seed}) {
                pixels.push_back(static_cast<std::uint8_t>(value));
            }
        }
    }
    return pixels;
}

/// A file of 68 bytes without data that tells a large picture.
inline Bytes Test_KtxWithoutData(std::uint32_t width, std::uint32_t height) {
    return Ktx1Builder().Compressed(kTestGlEtc1).Size(width, height).Level({}).Build();
}

/// Pixels of one channel that bring a fourth one: its bytes are no alpha.
inline Bytes Test_PvrWithStrayAlpha() {
    return PvrV3Builder().Packed("r", {8, 8, 8, 8}).Size(1, 1).Data({1, 2, 3, 0x80}).Build();
}

inline Bytes Test_PvrWithAlpha() {
    return PvrV3Builder().Packed("rgba", {8, 8, 8, 8}).Size(1, 1).Data({1, 2, 3, 0x80}).Build();
}

inline Bytes Test_PvrLegacyWithAlpha() {
    return PvrLegacyBuilder().Type(0x12).Size(1, 1).Data({1, 2, 3, 0x80}).Build();
}

inline Bytes Test_AstcOfColor() {
    return AstcBuilder().Size(8, 8).Solid({10, 20, 30, 40}, 4).Build();
}
