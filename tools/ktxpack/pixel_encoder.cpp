#include "pixel_encoder.h"

#include <algorithm>

namespace koru_ktxpack {
namespace {

void Pixel_Store32(std::span<std::uint8_t> pixel, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) pixel[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

constexpr std::uint32_t Channel_Scale(std::uint32_t value, std::uint32_t top) {
    return (value * top * 2 + 255) / (2 * 255);
}

/// value / 255 as a float with five bits of exponent and no sign, rounded up or down to the
/// nearest.
constexpr std::uint32_t Channel_ToSmallFloat(std::uint32_t value, std::uint32_t mantissaBits) {
    constexpr std::uint32_t kBias = 15;
    if (value == 0) return 0;
    // value / 255 == significand * 2^(exponent - kBias), with the significand from 1 to below 2.
    std::uint32_t exponent = kBias;
    std::uint32_t numerator = value;
    while (numerator < 255) {
        numerator *= 2;
        --exponent;
    }
    const std::uint32_t mantissa = (((numerator - 255) << (mantissaBits + 1)) + 255) / (2 * 255);
    // A mantissa that rounds up to its top carries into the exponent, as it should.
    return (exponent << mantissaBits) + mantissa;
}

static_assert(Channel_ToSmallFloat(255, 6) == 15U << 6, "1.0");
static_assert(Channel_ToSmallFloat(51, 5) == (12U << 5 | 19), "0.2 is about 1.6 * 2^-3");

}  // namespace

void Pixel_EncodeRgba8(const BlockTexels& texels, std::span<std::uint8_t> pixel) {
    std::ranges::copy(texels[0], pixel.begin());
}

void Pixel_EncodeRgb8(const BlockTexels& texels, std::span<std::uint8_t> pixel) {
    std::ranges::copy_n(texels[0].begin(), 3, pixel.begin());
}

void Pixel_EncodeRgb10A2(const BlockTexels& texels, std::span<std::uint8_t> pixel) {
    const Texel& texel = texels[0];
    Pixel_Store32(pixel, Channel_Scale(texel[0], 1023) | Channel_Scale(texel[1], 1023) << 10 |
                             Channel_Scale(texel[2], 1023) << 20 |
                             Channel_Scale(texel[3], 3) << 30);
}

void Pixel_EncodeR11G11B10F(const BlockTexels& texels, std::span<std::uint8_t> pixel) {
    const Texel& texel = texels[0];
    Pixel_Store32(pixel, Channel_ToSmallFloat(texel[0], 6) |
                             Channel_ToSmallFloat(texel[1], 6) << 11 |
                             Channel_ToSmallFloat(texel[2], 5) << 22);
}

}  // namespace koru_ktxpack
