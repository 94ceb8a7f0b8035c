// Vectors for the kernel files of AVX2, and for no others: inline code here needs the instructions.
#pragma once

#include <immintrin.h>

#include <cstddef>

#include "core/lane_vectors_x86.h"

namespace koru {

/// As LaneVectors, with two lanes. Each room's own operations are added by what it derives from
/// this.
struct Avx2Vectors {
    using Vector = __m256i;
    using Lane = LaneVectors<Avx2Vectors>;
    static constexpr std::size_t kLanes = 2;

    static Vector Load(const void* source) noexcept {
        return _mm256_loadu_si256(static_cast<const __m256i*>(source));
    }
    static void Store(void* target, Vector a) noexcept {
        _mm256_storeu_si256(static_cast<__m256i*>(target), a);
    }
    static Vector LoadEach(const void* source) noexcept {
        return _mm256_broadcastsi128_si256(Lane::Load(source));
    }
    static Vector LoadHalves(const void* source) noexcept { return SwapInnerHalves(Load(source)); }
    static void StoreLanes(void* target, std::size_t distance, Vector a) noexcept {
        Lane::Store(target, GetFirstLane(a));
        Lane::Store(static_cast<std::byte*>(target) + distance, GetSecondLane(a));
    }

    static Vector JoinLanes(__m128i first, __m128i second) noexcept {
        return _mm256_inserti128_si256(_mm256_castsi128_si256(first), second, 1);
    }
    static __m128i GetFirstLane(Vector a) noexcept { return _mm256_castsi256_si128(a); }
    static __m128i GetSecondLane(Vector a) noexcept { return _mm256_extracti128_si256(a, 1); }
    /// Swaps the high half of the first lane and the low half of the second.
    static Vector SwapInnerHalves(Vector a) noexcept {
        return _mm256_permute4x64_epi64(a, 0b11'01'10'00);
    }

    static Vector Set8(int value) noexcept { return _mm256_set1_epi8(static_cast<char>(value)); }
    static Vector Set16(int value) noexcept { return _mm256_set1_epi16(static_cast<short>(value)); }
    static Vector Set32(int value) noexcept { return _mm256_set1_epi32(value); }

    static Vector And(Vector a, Vector b) noexcept { return _mm256_and_si256(a, b); }
    static Vector AndNot(Vector mask, Vector a) noexcept { return _mm256_andnot_si256(mask, a); }
    static Vector Or(Vector a, Vector b) noexcept { return _mm256_or_si256(a, b); }
    static Vector Select(Vector mask, Vector yes, Vector no) noexcept {
        return _mm256_blendv_epi8(no, yes, mask);
    }
    static Vector Equal8(Vector a, Vector b) noexcept { return _mm256_cmpeq_epi8(a, b); }
    static Vector Equal16(Vector a, Vector b) noexcept { return _mm256_cmpeq_epi16(a, b); }
    static Vector GreaterSigned16(Vector a, Vector b) noexcept { return _mm256_cmpgt_epi16(a, b); }

    static Vector Add8(Vector a, Vector b) noexcept { return _mm256_add_epi8(a, b); }
    static Vector Add16(Vector a, Vector b) noexcept { return _mm256_add_epi16(a, b); }
    static Vector Add32(Vector a, Vector b) noexcept { return _mm256_add_epi32(a, b); }
    static Vector AddSaturated8(Vector a, Vector b) noexcept { return _mm256_adds_epu8(a, b); }
    static Vector Subtract8(Vector a, Vector b) noexcept { return _mm256_sub_epi8(a, b); }
    static Vector Subtract16(Vector a, Vector b) noexcept { return _mm256_sub_epi16(a, b); }
    static Vector SubtractSaturated8(Vector a, Vector b) noexcept { return _mm256_subs_epu8(a, b); }
    static Vector Average8(Vector a, Vector b) noexcept { return _mm256_avg_epu8(a, b); }
    static Vector Max16(Vector a, Vector b) noexcept { return _mm256_max_epu16(a, b); }
    static Vector MaxSigned16(Vector a, Vector b) noexcept { return _mm256_max_epi16(a, b); }
    static Vector MinSigned16(Vector a, Vector b) noexcept { return _mm256_min_epi16(a, b); }
    static Vector Multiply16(Vector a, Vector b) noexcept { return _mm256_mullo_epi16(a, b); }
    static Vector MultiplyHigh16(Vector a, Vector b) noexcept { return _mm256_mulhi_epu16(a, b); }
    static Vector SumProducts8(Vector a, Vector b) noexcept { return _mm256_maddubs_epi16(a, b); }
    static Vector Absolute16(Vector a) noexcept { return _mm256_abs_epi16(a); }
    static Vector CopySign16(Vector a, Vector sign) noexcept { return _mm256_sign_epi16(a, sign); }

    template <int Bits>
    static Vector ShiftLeft16(Vector a) noexcept {
        return _mm256_slli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector ShiftRight16(Vector a) noexcept {
        return _mm256_srli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector ShiftRightSigned16(Vector a) noexcept {
        return _mm256_srai_epi16(a, Bits);
    }
    template <int Bits>
    static Vector ShiftLeft32(Vector a) noexcept {
        return _mm256_slli_epi32(a, Bits);
    }
    template <int Bits>
    static Vector ShiftRight32(Vector a) noexcept {
        return _mm256_srli_epi32(a, Bits);
    }
    template <int Bits>
    static Vector ShiftRightSigned32(Vector a) noexcept {
        return _mm256_srai_epi32(a, Bits);
    }

    static Vector Shuffle(Vector a, Vector places) noexcept {
        return _mm256_shuffle_epi8(a, places);
    }
    static Vector SwapHalves(Vector a) noexcept { return _mm256_shuffle_epi32(a, 0x4E); }
    static Vector UnpackLow8(Vector a, Vector b) noexcept { return _mm256_unpacklo_epi8(a, b); }
    static Vector UnpackHigh8(Vector a, Vector b) noexcept { return _mm256_unpackhi_epi8(a, b); }
    static Vector UnpackLow16(Vector a, Vector b) noexcept { return _mm256_unpacklo_epi16(a, b); }
    static Vector UnpackHigh16(Vector a, Vector b) noexcept { return _mm256_unpackhi_epi16(a, b); }
    static Vector UnpackLow32(Vector a, Vector b) noexcept { return _mm256_unpacklo_epi32(a, b); }
    static Vector UnpackHigh32(Vector a, Vector b) noexcept { return _mm256_unpackhi_epi32(a, b); }
    static Vector UnpackLow64(Vector a, Vector b) noexcept { return _mm256_unpacklo_epi64(a, b); }
    static Vector UnpackHigh64(Vector a, Vector b) noexcept { return _mm256_unpackhi_epi64(a, b); }
    static Vector Widen8(__m128i bytes) noexcept { return _mm256_cvtepu8_epi16(bytes); }
    static Vector PackSaturated16(Vector a, Vector b) noexcept { return _mm256_packus_epi16(a, b); }
    static Vector Even32(Vector a, Vector b) noexcept {
        return _mm256_castps_si256(
            _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0x88));
    }
    static Vector Odd32(Vector a, Vector b) noexcept {
        return _mm256_castps_si256(
            _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0xDD));
    }
    template <int Mask>
    static Vector Blend32(Vector a, Vector b) noexcept {
        return _mm256_blend_epi32(a, b, Mask * 0x11);
    }
};

}  // namespace koru
