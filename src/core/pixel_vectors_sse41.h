// Vectors of pixels for the kernel files of SSE4.1, and for no others.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

namespace koru {

/// Vectors of four pixels.
struct Sse41Pixels {
    using Vector = __m128i;
    static constexpr std::size_t kPixels = 4;

    static Vector Load(const std::uint8_t* source) noexcept {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
    }
    static void Store(std::uint8_t* target, Vector value) noexcept {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target), value);
    }

    static Vector Set16(int value) noexcept { return _mm_set1_epi16(static_cast<short>(value)); }
    static Vector Set32(int value) noexcept { return _mm_set1_epi32(value); }
    static Vector And(Vector a, Vector b) noexcept { return _mm_and_si128(a, b); }
    static Vector IsEqual8(Vector a, Vector b) noexcept { return _mm_cmpeq_epi8(a, b); }
    static Vector Or(Vector a, Vector b) noexcept { return _mm_or_si128(a, b); }

    template <int Count>
    static Vector Left16(Vector value) noexcept {
        return _mm_slli_epi16(value, Count);
    }
    template <int Count>
    static Vector Right16(Vector value) noexcept {
        return _mm_srli_epi16(value, Count);
    }
    template <int Count>
    static Vector Left32(Vector value) noexcept {
        return _mm_slli_epi32(value, Count);
    }
    template <int Count>
    static Vector Right32(Vector value) noexcept {
        return _mm_srli_epi32(value, Count);
    }
    static Vector SpreadSign16(Vector value) noexcept { return _mm_srai_epi16(value, 15); }
    static Vector MulHigh16(Vector a, Vector b) noexcept { return _mm_mulhi_epu16(a, b); }
    static Vector Add32(Vector a, Vector b) noexcept { return _mm_add_epi32(a, b); }
    /// Floats times a factor, truncated to integers.
    static Vector ScaleFloats(Vector floats, float factor) noexcept {
        return _mm_cvttps_epi32(_mm_mul_ps(_mm_castsi128_ps(floats), _mm_set1_ps(factor)));
    }

    static Vector SwapRedBlue(Vector pixels) noexcept {
        return _mm_shuffle_epi8(
            pixels, _mm_setr_epi8(2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15));
    }

    /// 2 * kPixels words, in an order of which InterleaveLow16 takes the first half.
    static Vector LoadWords(const std::uint8_t* source) noexcept { return Load(source); }
    static Vector InterleaveLow16(Vector a, Vector b) noexcept { return _mm_unpacklo_epi16(a, b); }
    static Vector InterleaveHigh16(Vector a, Vector b) noexcept { return _mm_unpackhi_epi16(a, b); }

    /// The vector `Index` of a block of RGB pixels, with alpha 0. The last one reads from further
    /// ahead, so as not to pass the block's end.
    template <std::size_t Index>
    static Vector LoadRgb(const std::uint8_t* block) noexcept {
        if constexpr (Index == 3) {
            const Vector order =
                _mm_setr_epi8(4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
            return _mm_shuffle_epi8(Load(block + 32), order);
        } else {
            const Vector order =
                _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
            return _mm_shuffle_epi8(Load(block + 12 * Index), order);
        }
    }

    /// Stores a block without its alpha. Each vector's twelve bytes are turned so that they lie
    /// where the stores want them.
    static void StoreRgb(std::uint8_t* target, Vector a, Vector b, Vector c, Vector d) noexcept {
        a = _mm_shuffle_epi8(a,
                             _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
        b = _mm_shuffle_epi8(b,
                             _mm_setr_epi8(5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2, 4));
        c = _mm_shuffle_epi8(c,
                             _mm_setr_epi8(10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2, 4, 5, 6, 8, 9));
        d = _mm_shuffle_epi8(d,
                             _mm_setr_epi8(-1, -1, -1, -1, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14));
        Store(target, _mm_blend_epi16(a, b, 0xC0));
        Store(target + 16, _mm_blend_epi16(b, c, 0xF0));
        Store(target + 32, _mm_blend_epi16(c, d, 0xFC));
    }

    /// The vector `Index` of a block of grey pixels, with alpha 0.
    template <std::size_t Index>
    static Vector LoadGrey(const std::uint8_t* block) noexcept {
        const Vector order =
            _mm_setr_epi8(0, 0, 0, -128, 1, 1, 1, -128, 2, 2, 2, -128, 3, 3, 3, -128);
        return _mm_shuffle_epi8(Load(block), _mm_add_epi8(order, _mm_set1_epi8(4 * Index)));
    }

    /// A block of grey pixels to RGB.
    static void CopyGreyToRgb(std::uint8_t* target, const std::uint8_t* block) noexcept {
        const Vector grey = Load(block);
        Store(target, _mm_shuffle_epi8(
                          grey, _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5)));
        Store(target + 16, _mm_shuffle_epi8(grey, _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9,
                                                                9, 9, 10, 10)));
        Store(target + 32, _mm_shuffle_epi8(grey, _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13,
                                                                13, 14, 14, 14, 15, 15, 15)));
    }
};

}  // namespace koru
