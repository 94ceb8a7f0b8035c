// The definition of packed-pixel expansion: what each kind of pixel becomes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/bytes.h"
#include "core/channel_layout.h"
#include "formats/gl_codes.h"

namespace koru {

struct Channels {
    std::uint8_t r = 0, g = 0, b = 0, a = 255;
};

constexpr std::uint8_t Low8(std::uint32_t value) noexcept {
    return static_cast<std::uint8_t>(value);
}

/// A field of `Bits` bits at `Shift`, scaled to 0..255 by a truncating division.
template <unsigned Shift, unsigned Bits>
constexpr std::uint8_t ScaleField(std::uint32_t pixel) noexcept {
    constexpr std::uint32_t kFull = (1u << Bits) - 1u;
    return Low8((pixel >> Shift & kFull) * 255u / kFull);
}

/// An unsigned float of 5 exponent and `MantissaBits` mantissa bits, times 255, truncated; the low
/// 8 bits of that. Infinity and NaN count as 0, and so does every denormal (below 1/255).
/// Layout: GL_EXT_packed_float.
template <unsigned MantissaBits>
constexpr std::uint8_t ScaleSmallFloat(std::uint32_t bits) noexcept {
    const std::uint32_t exponent = bits >> MantissaBits;
    if (exponent == 0 || exponent >= 31) return 0;
    const std::uint32_t one = 1u << MantissaBits;
    const std::uint32_t scaled = (one + (bits & (one - 1u))) * 255u;
    // value = scaled * 2^(exponent - 15 - MantissaBits)
    constexpr std::uint32_t kUnitExponent = 15 + MantissaBits;
    // Quirk: no clamping, so 2.0 stores 254; pictures of such files look as they always did.
    return exponent >= kUnitExponent ? Low8(scaled << (exponent - kUnitExponent))
                                     : Low8(scaled >> (kUnitExponent - exponent));
}

/// A channel by its mask. Quirk: in 32 bits that wrap, so a channel of more than 8 bits keeps its
/// lowest bits only; pictures of such files look as they always did.
constexpr std::uint8_t ScaleMasked(std::uint32_t pixel, const ChannelLayout& layout,
                                   std::size_t channel) noexcept {
    const std::uint32_t full = layout.maxValues[channel];
    if (full == 0) return 0;
    const std::uint32_t value =
        (pixel >> layout.shifts[channel]) << Layout_GetScaleShift(layout.bitCounts[channel]) & full;
    return Low8(value * 255u / full);  // the product wraps by definition
}

// Converters: bytes a pixel has, whether it brings alpha, and its channels. `Convert` reads
// kBytes bytes.

struct ConvertGrey {
    static constexpr unsigned kBytes = 1;
    static constexpr bool kHasAlpha = false;
    constexpr Channels operator()(const std::uint8_t* p) const noexcept {
        return {p[0], p[0], p[0], 255};
    }
};

struct ConvertRgb565 {
    static constexpr unsigned kBytes = 2;
    static constexpr bool kHasAlpha = true;
    constexpr Channels operator()(const std::uint8_t* p) const noexcept {
        const std::uint32_t v = Bytes_LoadLeAt<2>(p);
        return {ScaleField<11, 5>(v), ScaleField<5, 6>(v), ScaleField<0, 5>(v), 255};
    }
};

template <bool WithAlphaBit>
struct ConvertRgb5 {
    static constexpr unsigned kBytes = 2;
    static constexpr bool kHasAlpha = true;
    constexpr Channels operator()(const std::uint8_t* p) const noexcept {
        const std::uint32_t v = Bytes_LoadLeAt<2>(p);
        return {ScaleField<10, 5>(v), ScaleField<5, 5>(v), ScaleField<0, 5>(v),
                WithAlphaBit ? ScaleField<15, 1>(v) : std::uint8_t{255}};
    }
};

/// Quirk: red in bits 8..11 and alpha on top, as in 0xARGB; hosts know the colors this gives.
struct ConvertRgba4 {
    static constexpr unsigned kBytes = 2;
    static constexpr bool kHasAlpha = true;
    constexpr Channels operator()(const std::uint8_t* p) const noexcept {
        const std::uint32_t v = Bytes_LoadLeAt<2>(p);
        return {ScaleField<8, 4>(v), ScaleField<4, 4>(v), ScaleField<0, 4>(v),
                ScaleField<12, 4>(v)};
    }
};

/// 16-bit pixels of a format that has no conversion. Quirk: they repeat the channels of the pixel
/// before, and before any pixel those are opaque black; blank instead of refused.
struct ConvertNone16 {
    static constexpr unsigned kBytes = 2;
    static constexpr bool kHasAlpha = true;
    constexpr Channels operator()(const std::uint8_t*) const noexcept { return {}; }
};

struct ConvertRgb8 {
    static constexpr unsigned kBytes = 3;
    static constexpr bool kHasAlpha = false;
    constexpr Channels operator()(const std::uint8_t* p) const noexcept {
        return {p[0], p[1], p[2], 255};
    }
};

struct ConvertRgba8 {
    static constexpr unsigned kBytes = 4;
    static constexpr bool kHasAlpha = true;
    constexpr Channels operator()(const std::uint8_t* p) const noexcept {
        return {p[0], p[1], p[2], p[3]};
    }
};

struct ConvertMasked {
    static constexpr unsigned kBytes = 4;
    static constexpr bool kHasAlpha = true;
    const ChannelLayout& layout;
    bool alphaByMask;
    constexpr Channels operator()(const std::uint8_t* p) const noexcept {
        const std::uint32_t v = Bytes_LoadLeAt<4>(p);
        return {ScaleMasked(v, layout, 0), ScaleMasked(v, layout, 1), ScaleMasked(v, layout, 2),
                alphaByMask ? ScaleMasked(v, layout, 3) : std::uint8_t{255}};
    }
};

struct ConvertSmallFloats {
    static constexpr unsigned kBytes = 4;
    static constexpr bool kHasAlpha = true;
    const ChannelLayout& layout;
    constexpr Channels operator()(const std::uint8_t* p) const noexcept {
        const std::uint32_t v = Bytes_LoadLeAt<4>(p);
        const auto field = [&](std::size_t channel) {
            return (v & layout.masks[channel]) >> layout.shifts[channel];
        };
        return {ScaleSmallFloat<6>(field(0)), ScaleSmallFloat<6>(field(1)),
                ScaleSmallFloat<5>(field(2)), 255};
    }
};

// The layouts that the GL tables give; kernels know these.

inline constexpr ChannelLayout kRgb10A2Layout =
    Layout_FromMasks({0x000003FFu, 0x000FFC00u, 0x3FF00000u, 0xC0000000u}, GL_RGB10_A2);
inline constexpr ChannelLayout kRgb9E5Layout =
    Layout_FromMasks({0x07FE0000u, 0x0003FE00u, 0x000001FFu, 0u}, GL_RGB9_E5);
inline constexpr ChannelLayout kR11G11B10Layout =
    Layout_FromMasks({0x000007FFu, 0x003FF800u, 0xFFC00000u, 0u}, GL_R11F_G11F_B10F);

inline constexpr ConvertMasked kConvertRgb10A2{.layout = kRgb10A2Layout, .alphaByMask = true};
inline constexpr ConvertMasked kConvertRgb9E5{.layout = kRgb9E5Layout, .alphaByMask = false};
inline constexpr ConvertSmallFloats kConvertR11G11B10{.layout = kR11G11B10Layout};

template <unsigned TargetBytes, bool WithAlpha>
constexpr void StorePixel(std::uint8_t* target, const Channels& color) noexcept {
    target[0] = color.r;
    target[1] = color.g;
    target[2] = color.b;
    if constexpr (TargetBytes == 4 && WithAlpha) target[3] = color.a;
}

/// The reference that kernels equal.
template <unsigned TargetBytes, bool WithAlpha, typename Convert>
void ConvertRun(std::uint8_t* target, const std::uint8_t* source, std::size_t pixelCount,
                const Convert& convert) noexcept {
    for (std::size_t i = 0; i < pixelCount; ++i) {
        StorePixel<TargetBytes, WithAlpha>(target, convert(source));
        source += Convert::kBytes;
        target += TargetBytes;
    }
}

}  // namespace koru
