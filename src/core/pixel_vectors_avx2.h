// Vectors of pixels for the kernel files of AVX2, and for no others: inline code here needs the
// instructions.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/vectors_avx2.h"

namespace koru {

/// Vectors of eight pixels.
struct Avx2Pixels : Avx2Vectors {
    static constexpr std::size_t kPixels = 4 * kLanes;

    static Vector ScaleFloats(Vector floats, float factor) noexcept {
        return _mm256_cvttps_epi32(
            _mm256_mul_ps(_mm256_castsi256_ps(floats), _mm256_set1_ps(factor)));
    }

    static Vector SwapRedBlue(Vector pixels) noexcept {
        return Shuffle(pixels, _mm256_broadcastsi128_si256(_mm_setr_epi8(
                                   2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15)));
    }

    /// The upper half reads from further ahead, so as not to pass the vector's end.
    template <std::size_t Index>
    static Vector LoadRgb(const std::uint8_t* block) noexcept {
        const std::uint8_t* source = block + 24 * Index;
        return Shuffle(JoinLanes(Lane::Load(source), Lane::Load(source + 8)),
                       _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                                        4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1));
    }

    static void StoreRgb(std::uint8_t* target, Vector a, Vector b, Vector c, Vector d) noexcept {
        // Six words of colors from either half's three; then as with half the size.
        const Vector order =
            _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14,  //
                                                      -1, -1, -1, -1));
        const auto pack = [order](Vector pixels, Vector turn) {
            return _mm256_permutevar8x32_epi32(Shuffle(pixels, order), turn);
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
        return Shuffle(LoadEach(block + Index / 2 * 16), Add8(order, Set8(Index % 2 * 8)));
    }

    static void CopyGreyToRgb(std::uint8_t* target, const std::uint8_t* block) noexcept {
        Store(target, Shuffle(LoadEach(block),
                              _mm256_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5,  //
                                               5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10)));
        Store(target + 32,
              Shuffle(Load(block),
                      _mm256_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15,
                                       15, 0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5)));
        Store(target + 64,
              Shuffle(LoadEach(block + 16),
                      _mm256_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10,  //
                                       10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15,
                                       15)));
    }
};

}  // namespace koru
