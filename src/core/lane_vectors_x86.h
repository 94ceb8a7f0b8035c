// Vectors of one lane of 16 bytes on x86, for the headers of instruction sets alone.
#pragma once

#include <immintrin.h>

#include <cstddef>

namespace koru {

/// Operations on vectors, named alike in all sets of them. What they do, they do in each lane.
/// Numbers are unsigned where a name does not say otherwise.
///
/// `Set` is a type of the instruction set that this is compiled for: code for one set must never be
/// shared with another.
template <typename Set>
struct LaneVectors {
    using Vector = __m128i;
    using Lane = LaneVectors;
    static constexpr std::size_t kLanes = 1;

    static Vector Load(const void* source) noexcept {
        return _mm_loadu_si128(static_cast<const __m128i*>(source));
    }
    static void Store(void* target, Vector a) noexcept {
        _mm_storeu_si128(static_cast<__m128i*>(target), a);
    }
    /// The same 16 bytes for each lane.
    static Vector LoadEach(const void* source) noexcept { return Load(source); }
    /// Of two lanes, the first gets halves 0 and 2, the second 1 and 3.
    static Vector LoadHalves(const void* source) noexcept { return Load(source); }
    /// Stores the lanes, from the first on, `distance` bytes apart.
    static void StoreLanes(void* target, std::size_t /*distance*/, Vector a) noexcept {
        Store(target, a);
    }
    static __m128i GetFirstLane(Vector a) noexcept { return a; }

    // Of a single lane only.
    static Vector LoadLow64(const void* source) noexcept {
        return _mm_loadl_epi64(static_cast<const __m128i*>(source));
    }
    static void StoreLow64(void* target, Vector a) noexcept {
        _mm_storel_epi64(static_cast<__m128i*>(target), a);
    }
    static void StoreHigh64(void* target, Vector a) noexcept {
        StoreLow64(target, UnpackHigh64(a, a));
    }

    static Vector Set8(int value) noexcept { return _mm_set1_epi8(static_cast<char>(value)); }
    static Vector Set16(int value) noexcept { return _mm_set1_epi16(static_cast<short>(value)); }
    static Vector Set32(int value) noexcept { return _mm_set1_epi32(value); }

    static Vector And(Vector a, Vector b) noexcept { return _mm_and_si128(a, b); }
    /// `a` without the bits of the mask.
    static Vector AndNot(Vector mask, Vector a) noexcept { return _mm_andnot_si128(mask, a); }
    static Vector Or(Vector a, Vector b) noexcept { return _mm_or_si128(a, b); }
    /// Bytes, by the highest bit of the mask's.
    static Vector Select(Vector mask, Vector yes, Vector no) noexcept {
        return _mm_blendv_epi8(no, yes, mask);
    }
    static Vector Equal8(Vector a, Vector b) noexcept { return _mm_cmpeq_epi8(a, b); }
    static Vector Equal16(Vector a, Vector b) noexcept { return _mm_cmpeq_epi16(a, b); }
    static Vector GreaterSigned16(Vector a, Vector b) noexcept { return _mm_cmpgt_epi16(a, b); }

    static Vector Add8(Vector a, Vector b) noexcept { return _mm_add_epi8(a, b); }
    static Vector Add16(Vector a, Vector b) noexcept { return _mm_add_epi16(a, b); }
    static Vector Add32(Vector a, Vector b) noexcept { return _mm_add_epi32(a, b); }
    static Vector AddSaturated8(Vector a, Vector b) noexcept { return _mm_adds_epu8(a, b); }
    static Vector Subtract8(Vector a, Vector b) noexcept { return _mm_sub_epi8(a, b); }
    static Vector Subtract16(Vector a, Vector b) noexcept { return _mm_sub_epi16(a, b); }
    static Vector SubtractSaturated8(Vector a, Vector b) noexcept { return _mm_subs_epu8(a, b); }
    static Vector Average8(Vector a, Vector b) noexcept { return _mm_avg_epu8(a, b); }
    static Vector Max16(Vector a, Vector b) noexcept { return _mm_max_epu16(a, b); }
    static Vector MaxSigned16(Vector a, Vector b) noexcept { return _mm_max_epi16(a, b); }
    static Vector MinSigned16(Vector a, Vector b) noexcept { return _mm_min_epi16(a, b); }
    static Vector Multiply16(Vector a, Vector b) noexcept { return _mm_mullo_epi16(a, b); }
    static Vector MultiplyHigh16(Vector a, Vector b) noexcept { return _mm_mulhi_epu16(a, b); }
    /// Of pairs of bytes, those of `b` signed.
    static Vector SumProducts8(Vector a, Vector b) noexcept { return _mm_maddubs_epi16(a, b); }
    static Vector Absolute16(Vector a) noexcept { return _mm_abs_epi16(a); }
    static Vector CopySign16(Vector a, Vector sign) noexcept { return _mm_sign_epi16(a, sign); }

    template <int Bits>
    static Vector ShiftLeft16(Vector a) noexcept {
        return _mm_slli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector ShiftRight16(Vector a) noexcept {
        return _mm_srli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector ShiftRightSigned16(Vector a) noexcept {
        return _mm_srai_epi16(a, Bits);
    }
    template <int Bits>
    static Vector ShiftLeft32(Vector a) noexcept {
        return _mm_slli_epi32(a, Bits);
    }
    template <int Bits>
    static Vector ShiftRight32(Vector a) noexcept {
        return _mm_srli_epi32(a, Bits);
    }
    template <int Bits>
    static Vector ShiftRightSigned32(Vector a) noexcept {
        return _mm_srai_epi32(a, Bits);
    }

    static Vector Shuffle(Vector a, Vector places) noexcept { return _mm_shuffle_epi8(a, places); }
    static Vector SwapHalves(Vector a) noexcept { return _mm_shuffle_epi32(a, 0x4E); }
    static Vector UnpackLow8(Vector a, Vector b) noexcept { return _mm_unpacklo_epi8(a, b); }
    static Vector UnpackHigh8(Vector a, Vector b) noexcept { return _mm_unpackhi_epi8(a, b); }
    static Vector UnpackLow16(Vector a, Vector b) noexcept { return _mm_unpacklo_epi16(a, b); }
    static Vector UnpackHigh16(Vector a, Vector b) noexcept { return _mm_unpackhi_epi16(a, b); }
    static Vector UnpackLow32(Vector a, Vector b) noexcept { return _mm_unpacklo_epi32(a, b); }
    static Vector UnpackHigh32(Vector a, Vector b) noexcept { return _mm_unpackhi_epi32(a, b); }
    static Vector UnpackLow64(Vector a, Vector b) noexcept { return _mm_unpacklo_epi64(a, b); }
    static Vector UnpackHigh64(Vector a, Vector b) noexcept { return _mm_unpackhi_epi64(a, b); }
    /// The first bytes of a lane, one for each number of 16 bits.
    static Vector Widen8(__m128i bytes) noexcept { return _mm_cvtepu8_epi16(bytes); }
    /// Signed numbers, limited to 0..255, as bytes.
    static Vector PackSaturated16(Vector a, Vector b) noexcept { return _mm_packus_epi16(a, b); }
    /// The numbers 0 and 2 of `a`, then of `b`.
    static Vector Even32(Vector a, Vector b) noexcept {
        return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), 0x88));
    }
    /// The numbers 1 and 3 of `a`, then of `b`.
    static Vector Odd32(Vector a, Vector b) noexcept {
        return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), 0xDD));
    }
    /// Numbers of `b` where the mask, of four, has bits.
    template <int Mask>
    static Vector Blend32(Vector a, Vector b) noexcept {
        return _mm_castps_si128(_mm_blend_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), Mask));
    }
};

}  // namespace koru
