// Vectors of pixels for the kernel files of AVX2, and for no others: inline code here needs the
// instructions.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

namespace koru {

/// Vectors of eight pixels.
struct Avx2Pixels {
    using Vector = __m256i;
    static constexpr std::size_t kPixels = 8;

    static Vector Load(const std::uint8_t* source) noexcept {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source));
    }
    static void Store(std::uint8_t* target, Vector value) noexcept {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), value);
    }

    static Vector Set16(int value) noexcept { return _mm256_set1_epi16(static_cast<short>(value)); }
    static Vector Set32(int value) noexcept { return _mm256_set1_epi32(value); }
    static Vector And(Vector a, Vector b) noexcept { return _mm256_and_si256(a, b); }
    static Vector IsEqual8(Vector a, Vector b) noexcept { return _mm256_cmpeq_epi8(a, b); }
    static Vector Or(Vector a, Vector b) noexcept { return _mm256_or_si256(a, b); }

    template <int Count>
    static Vector Left16(Vector value) noexcept {
        return _mm256_slli_epi16(value, Count);
    }
    template <int Count>
    static Vector Right16(Vector value) noexcept {
        return _mm256_srli_epi16(value, Count);
    }
    template <int Count>
    static Vector Left32(Vector value) noexcept {
        return _mm256_slli_epi32(value, Count);
    }
    template <int Count>
    static Vector Right32(Vector value) noexcept {
        return _mm256_srli_epi32(value, Count);
    }
    static Vector SpreadSign16(Vector value) noexcept { return _mm256_srai_epi16(value, 15); }
    static Vector MulHigh16(Vector a, Vector b) noexcept { return _mm256_mulhi_epu16(a, b); }
    static Vector Add32(Vector a, Vector b) noexcept { return _mm256_add_epi32(a, b); }
    static Vector ScaleFloats(Vector floats, float factor) noexcept {
        return _mm256_cvttps_epi32(
            _mm256_mul_ps(_mm256_castsi256_ps(floats), _mm256_set1_ps(factor)));
    }

    static Vector SwapRedBlue(Vector pixels) noexcept {
        return _mm256_shuffle_epi8(
            pixels, _mm256_broadcastsi128_si256(
                        _mm_setr_epi8(2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15)));
    }

    /// Interleaving works in either half of a vector: each gets four words of both results.
    static Vector LoadWords(const std::uint8_t* source) noexcept {
        return _mm256_permute4x64_epi64(Load(source), 0b11'01'10'00);
    }
    static Vector InterleaveLow16(Vector a, Vector b) noexcept {
        return _mm256_unpacklo_epi16(a, b);
    }
    static Vector InterleaveHigh16(Vector a, Vector b) noexcept {
        return _mm256_unpackhi_epi16(a, b);
    }

    /// Sixteen bytes in either half.
    static Vector LoadTwice(const std::uint8_t* source) noexcept {
        return _mm256_broadcastsi128_si256(
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(source)));
    }

    /// The upper half reads from further ahead, so as not to pass the vector's end.
    template <std::size_t Index>
    static Vector LoadRgb(const std::uint8_t* block) noexcept {
        const std::uint8_t* source = block + 24 * Index;
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 8));
        return _mm256_shuffle_epi8(
            _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1),
            _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                             4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1));
    }

    static void StoreRgb(std::uint8_t* target, Vector a, Vector b, Vector c, Vector d) noexcept {
        // Six words of colors from either half's three; then as with half the size.
        const Vector order =
            _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14,  //
                                                      -1, -1, -1, -1));
        const auto pack = [order](Vector pixels, Vector turn) {
            return _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(pixels, order), turn);
        };
        a = pack(a, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 3));
        b = pack(b, _mm256_setr_epi32(2, 4, 5, 6, 3, 3, 0, 1));
        c = pack(c, _mm256_setr_epi32(5, 6, 3, 3, 0, 1, 2, 4));
        d = pack(d, _mm256_setr_epi32(3, 3, 0, 1, 2, 4, 5, 6));
        Store(target, _mm256_blend_epi32(a, b, 0xC0));
        Store(target + 32, _mm256_blend_epi32(b, c, 0xF0));
        Store(target + 64, _mm256_blend_epi32(c, d, 0xFC));
    }

    template <std::size_t Index>
    static Vector LoadGrey(const std::uint8_t* block) noexcept {
        const Vector order =
            _mm256_setr_epi8(0, 0, 0, -128, 1, 1, 1, -128, 2, 2, 2, -128, 3, 3, 3, -128,  //
                             4, 4, 4, -128, 5, 5, 5, -128, 6, 6, 6, -128, 7, 7, 7, -128);
        return _mm256_shuffle_epi8(LoadTwice(block + Index / 2 * 16),
                                   _mm256_add_epi8(order, _mm256_set1_epi8(Index % 2 * 8)));
    }

    static void CopyGreyToRgb(std::uint8_t* target, const std::uint8_t* block) noexcept {
        Store(target, _mm256_shuffle_epi8(
                          LoadTwice(block),
                          _mm256_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5,  //
                                           5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10)));
        Store(target + 32, _mm256_shuffle_epi8(
                               Load(block), _mm256_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13,
                                                             14, 14, 14, 15, 15, 15, 0, 0, 0, 1, 1,
                                                             1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5)));
        Store(target + 64, _mm256_shuffle_epi8(LoadTwice(block + 16),
                                               _mm256_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9,
                                                                9, 9, 10, 10,  //
                                                                10, 11, 11, 11, 12, 12, 12, 13, 13,
                                                                13, 14, 14, 14, 15, 15, 15)));
    }
};

}  // namespace koru
