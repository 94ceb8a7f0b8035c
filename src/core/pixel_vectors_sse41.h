// Vectors of pixels for the kernel files of SSE4.1, and for no others.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/vectors_sse41.h"

namespace koru {

/// Vectors of four pixels.
struct Sse41Pixels : Sse41Vectors {
    static constexpr std::size_t kPixels = 4 * kLanes;

    /// Floats times a factor, truncated to integers.
    static Vector ScaleFloats(Vector floats, float factor) noexcept {
        return _mm_cvttps_epi32(_mm_mul_ps(_mm_castsi128_ps(floats), _mm_set1_ps(factor)));
    }

    static Vector SwapRedBlue(Vector pixels) noexcept {
        return Shuffle(pixels, _mm_setr_epi8(2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15));
    }

    /// The vector `Index` of a block of RGB pixels, with alpha 0. The last one reads from further
    /// ahead, so as not to pass the block's end.
    template <std::size_t Index>
    static Vector LoadRgb(const std::uint8_t* block) noexcept {
        if constexpr (Index == 3) {
            const Vector order =
                _mm_setr_epi8(4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
            return Shuffle(Load(block + 32), order);
        } else {
            const Vector order =
                _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
            return Shuffle(Load(block + 12 * Index), order);
        }
    }

    /// Stores a block without its alpha. Each vector's twelve bytes are turned so that they lie
    /// where the stores want them.
    static void StoreRgb(std::uint8_t* target, Vector a, Vector b, Vector c, Vector d) noexcept {
        a = Shuffle(a, _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
        b = Shuffle(b, _mm_setr_epi8(5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2, 4));
        c = Shuffle(c, _mm_setr_epi8(10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2, 4, 5, 6, 8, 9));
        d = Shuffle(d, _mm_setr_epi8(-1, -1, -1, -1, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14));
        Store(target, _mm_blend_epi16(a, b, 0xC0));
        Store(target + 16, _mm_blend_epi16(b, c, 0xF0));
        Store(target + 32, _mm_blend_epi16(c, d, 0xFC));
    }

    /// The vector `Index` of a block of grey pixels, with alpha 0.
    template <std::size_t Index>
    static Vector LoadGrey(const std::uint8_t* block) noexcept {
        const Vector order =
            _mm_setr_epi8(0, 0, 0, -128, 1, 1, 1, -128, 2, 2, 2, -128, 3, 3, 3, -128);
        return Shuffle(Load(block), Add8(order, Set8(4 * Index)));
    }

    /// A block of grey pixels to RGB.
    static void CopyGreyToRgb(std::uint8_t* target, const std::uint8_t* block) noexcept {
        const Vector grey = Load(block);
        Store(target, Shuffle(grey, _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5)));
        Store(target + 16,
              Shuffle(grey, _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10)));
        Store(target + 32, Shuffle(grey, _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14,
                                                       14, 14, 15, 15, 15)));
    }
};

}  // namespace koru
