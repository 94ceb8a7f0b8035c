// Rows of packed pixels in vectors, for kernel files alone; `V` as in core/pixel_rows.h.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/bytes.h"
#include "core/pixel_rows.h"
#include "formats/expand_kernels.h"

namespace koru {

// Each kind of pixels: the bytes of one, its rows, whether it has alpha, and a block of it as RGBA.
// Where there is no alpha, those bits are 0.

template <typename V>
struct GreyPixels {
    static constexpr std::size_t kBytes = 1;
    static constexpr bool kHasAlpha = false;
    static constexpr auto kRows = &ExpandKernels::grey;
    static PixelBlock<V> Load(const std::uint8_t* source) noexcept {
        return {V::template LoadGrey<0>(source), V::template LoadGrey<1>(source),
                V::template LoadGrey<2>(source), V::template LoadGrey<3>(source)};
    }
};

/// Channels of pixels in words of 16 bits: red below green, and blue below alpha.
template <typename V>
struct ChannelPairs {
    typename V::Vector redGreen, blueAlpha;
};

/// Pixels of 16 bits; `Kind` splits words of them. Halves of lanes are loaded so that unpacking,
/// which works in each lane, leaves the pixels in order.
template <typename V, typename Kind>
struct WordPixels {
    static constexpr std::size_t kBytes = 2;
    static PixelBlock<V> Load(const std::uint8_t* source) noexcept {
        const ChannelPairs<V> first = Kind::Split(V::LoadHalves(source));
        const ChannelPairs<V> second = Kind::Split(V::LoadHalves(source + 2 * kBytes * V::kPixels));
        return {V::UnpackLow16(first.redGreen, first.blueAlpha),
                V::UnpackHigh16(first.redGreen, first.blueAlpha),
                V::UnpackLow16(second.redGreen, second.blueAlpha),
                V::UnpackHigh16(second.redGreen, second.blueAlpha)};
    }
};

/// Fields of `Bits` bits to 0..255, by a truncating division: the upper half of a product. A field
/// stands `Shift` bits up in its word, or the factor would not fit.
template <unsigned Bits, unsigned Shift, unsigned Factor>
struct FieldScale {
    static constexpr int kShift = Shift;

    static constexpr bool IsExact() noexcept {
        constexpr unsigned kFull = (1u << Bits) - 1u;
        for (unsigned value = 0; value <= kFull; ++value) {
            if ((value << Shift) * Factor >> 16 != value * 255u / kFull) return false;
        }
        return Factor <= 0xFFFF && kFull << Shift <= 0xFFFF;
    }

    /// Of words whose other bits may be anything.
    template <typename V>
    static typename V::Vector Apply(typename V::Vector words) noexcept {
        const auto fields = V::And(words, V::Set16(((1 << Bits) - 1) << Shift));
        return V::MultiplyHigh16(fields, V::Set16(Factor));
    }
};
using Scale5 = FieldScale<5, 4, 33695>;
using Scale6 = FieldScale<6, 5, 8290>;
static_assert(Scale5::IsExact() && Scale6::IsExact());

template <typename V>
struct Rgb565Pixels : WordPixels<V, Rgb565Pixels<V>> {
    static constexpr bool kHasAlpha = false;
    static constexpr auto kRows = &ExpandKernels::rgb565;
    static ChannelPairs<V> Split(typename V::Vector words) noexcept {
        static_assert(Scale6::kShift == 5);
        const auto red = Scale5::Apply<V>(V::template ShiftRight16<11 - Scale5::kShift>(words));
        const auto green = Scale6::Apply<V>(words);
        const auto blue = Scale5::Apply<V>(V::template ShiftLeft16<Scale5::kShift>(words));
        return {V::Or(red, V::template ShiftLeft16<8>(green)), blue};
    }
};

template <typename V>
struct Rgb5Pixels : WordPixels<V, Rgb5Pixels<V>> {
    static constexpr bool kHasAlpha = false;
    static constexpr auto kRows = &ExpandKernels::rgb5;
    static ChannelPairs<V> Split(typename V::Vector words) noexcept {
        const auto red = Scale5::Apply<V>(V::template ShiftRight16<10 - Scale5::kShift>(words));
        const auto green = Scale5::Apply<V>(V::template ShiftRight16<5 - Scale5::kShift>(words));
        const auto blue = Scale5::Apply<V>(V::template ShiftLeft16<Scale5::kShift>(words));
        return {V::Or(red, V::template ShiftLeft16<8>(green)), blue};
    }
};

template <typename V>
struct Rgb5A1Pixels : WordPixels<V, Rgb5A1Pixels<V>> {
    static constexpr bool kHasAlpha = true;
    static constexpr auto kRows = &ExpandKernels::rgb5A1;
    static ChannelPairs<V> Split(typename V::Vector words) noexcept {
        const ChannelPairs<V> opaque = Rgb5Pixels<V>::Split(words);
        const auto alpha = V::template ShiftLeft16<8>(V::template ShiftRightSigned16<15>(words));
        return {opaque.redGreen, V::Or(opaque.blueAlpha, alpha)};
    }
};

template <typename V>
struct Rgba4Pixels : WordPixels<V, Rgba4Pixels<V>> {
    static constexpr bool kHasAlpha = true;
    static constexpr auto kRows = &ExpandKernels::rgba4;
    static ChannelPairs<V> Split(typename V::Vector words) noexcept {
        const auto low = V::Set16(0x000F), high = V::Set16(0x0F00);
        const auto red = V::And(V::template ShiftRight16<8>(words), low);
        const auto green = V::And(V::template ShiftLeft16<4>(words), high);
        const auto blue = V::And(words, low);
        const auto alpha = V::And(V::template ShiftRight16<4>(words), high);
        return {Double(V::Or(red, green)), Double(V::Or(blue, alpha))};
    }

  private:
    /// Four bits of each byte, to both halves of it.
    static typename V::Vector Double(typename V::Vector fields) noexcept {
        return V::Or(fields, V::template ShiftLeft16<4>(fields));
    }
};

/// Pixels of 32 bits; `Kind` converts words of them.
template <typename V, typename Kind>
struct LongPixels {
    static constexpr std::size_t kBytes = 4;
    static PixelBlock<V> Load(const std::uint8_t* source) noexcept {
        const PixelBlock<V> words = Block_LoadRgba<V>(source);
        return {Kind::Convert(words.a), Kind::Convert(words.b), Kind::Convert(words.c),
                Kind::Convert(words.d)};
    }
};

// A channel of 10 bits comes out as 1 where its two lowest bits are 01, and as 0 otherwise: the
// product with 255 wraps to full scale there alone. One of 9 bits comes out as its lowest bit. No
// two channels have such bits in one byte.

template <typename V>
struct Rgb10A2Pixels : LongPixels<V, Rgb10A2Pixels<V>> {
    static constexpr bool kHasAlpha = true;
    static constexpr auto kRows = &ExpandKernels::rgb10A2;
    static typename V::Vector Convert(typename V::Vector words) noexcept {
        const auto areOne = V::Equal8(V::And(words, V::Set32(0x300C03)), V::Set32(0x100401));
        const auto colors = V::And(areOne, V::Set32(0x010101));
        // Two bits of alpha, four times.
        auto alpha = V::And(words, V::Set32(static_cast<int>(0xC0000000u)));
        alpha = V::Or(alpha, V::template ShiftRight32<2>(alpha));
        alpha = V::Or(alpha, V::template ShiftRight32<4>(alpha));
        return V::Or(colors, alpha);
    }
};

template <typename V>
struct Rgb9E5Pixels : LongPixels<V, Rgb9E5Pixels<V>> {
    static constexpr bool kHasAlpha = false;
    static constexpr auto kRows = &ExpandKernels::rgb9E5;
    static typename V::Vector Convert(typename V::Vector words) noexcept {
        const auto areOne = V::Equal8(V::And(words, V::Set32(0x060201)), V::Set32(0x020201));
        return V::SwapRedBlue(V::And(areOne, V::Set32(0x010101)));
    }
};

template <typename V>
struct R11G11B10Pixels : LongPixels<V, R11G11B10Pixels<V>> {
    static constexpr bool kHasAlpha = false;
    static constexpr auto kRows = &ExpandKernels::r11G11B10;
    static typename V::Vector Convert(typename V::Vector words) noexcept {
        const auto of11 = V::Set32(0x7FF << (kMantissaBits - 6));
        const auto of10 = V::Set32(0x3FF << (kMantissaBits - 5));
        const auto red = Scale(V::And(V::template ShiftLeft32<17>(words), of11));
        const auto green = Scale(V::And(V::template ShiftLeft32<6>(words), of11));
        const auto blue = Scale(V::And(V::template ShiftRight32<4>(words), of10));
        return V::Or(V::Or(red, V::template ShiftLeft32<8>(green)),
                     V::template ShiftLeft32<16>(blue));
    }

  private:
    static constexpr int kMantissaBits = 23;

    /// Small floats, times 255. They stand where a float has its own exponent; moving the bias
    /// makes an ordinary float of any: zero and denormals end below 1/255, infinity and NaN as
    /// multiples of 256. Products are exact and fit an integer.
    static typename V::Vector Scale(typename V::Vector fields) noexcept {
        const auto floats = V::Add32(fields, V::Set32((127 - 15) << kMantissaBits));
        return V::And(V::ScaleFloats(floats, 255.0f), V::Set32(0xFF));
    }
};

/// The rows of ExpandKernels; `kLower` is the table of the level below.
template <typename V, const ExpandKernels& kLower>
struct VectorExpandRows {
    template <typename Pixels>
    static void ToRgb(std::uint8_t* target, const std::uint8_t* source,
                      std::size_t pixelCount) noexcept {
        ConvertRowInBlocks<V, Pixels::kBytes, kRgbBytes>(
            target, source, pixelCount, (kLower.*Pixels::kRows).toRgb,
            [](std::uint8_t* to, const std::uint8_t* from) {
                Block_StoreRgb<V>(to, Pixels::Load(from));
            });
    }

    template <typename Pixels>
    static void ToRgba(std::uint8_t* target, const std::uint8_t* source,
                       std::size_t pixelCount) noexcept {
        ConvertRowInBlocks<V, Pixels::kBytes, kRgbaBytes>(
            target, source, pixelCount, (kLower.*Pixels::kRows).toRgba,
            [](std::uint8_t* to, const std::uint8_t* from) {
                PixelBlock<V> block = Pixels::Load(from);
                if constexpr (!Pixels::kHasAlpha) block = Block_MakeOpaque<V>(block);
                Block_StoreRgba<V>(to, block);
            });
    }

    static void GreyToRgb(std::uint8_t* target, const std::uint8_t* source,
                          std::size_t pixelCount) noexcept {
        ConvertRowInBlocks<V, 1, kRgbBytes>(target, source, pixelCount, kLower.grey.toRgb,
                                            V::CopyGreyToRgb);
    }

    template <typename Pixels>
    static constexpr ExpandRows kBoth{.toRgb = ToRgb<Pixels>, .toRgba = ToRgba<Pixels>};

    static constexpr ExpandKernels kTable{
        .grey = {.toRgb = GreyToRgb, .toRgba = ToRgba<GreyPixels<V>>},
        .rgb565 = kBoth<Rgb565Pixels<V>>,
        .rgb5 = kBoth<Rgb5Pixels<V>>,
        .rgb5A1 = kBoth<Rgb5A1Pixels<V>>,
        .rgba4 = kBoth<Rgba4Pixels<V>>,
        .rgb10A2 = kBoth<Rgb10A2Pixels<V>>,
        .rgb9E5 = kBoth<Rgb9E5Pixels<V>>,
        .r11G11B10 = kBoth<R11G11B10Pixels<V>>,
    };
};

}  // namespace koru
