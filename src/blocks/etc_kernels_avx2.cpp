// ETC and EAC rows with AVX2: two blocks at a time.
#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "blocks/etc_color_rows_x86.h"
#include "blocks/etc_kernels.h"

namespace koru {
namespace {

/// As the SSE4.1 set, with two lanes.
struct Avx2 {
    using Vector = __m256i;
    static constexpr std::size_t kLanes = 2;

    static __m128i LoadLane(const void* from) noexcept {
        return _mm_loadu_si128(static_cast<const __m128i*>(from));
    }
    static __m128i LoadLane8(const void* from) noexcept {
        return _mm_loadl_epi64(static_cast<const __m128i*>(from));
    }
    static Vector Load(const void* from) noexcept {
        return _mm256_loadu_si256(static_cast<const __m256i*>(from));
    }
    static void Store(void* to, Vector a) noexcept {
        _mm256_storeu_si256(static_cast<__m256i*>(to), a);
    }

    template <typename GetPlace>
    static Vector LoadLanes(const GetPlace& getPlace) noexcept {
        return _mm256_set_m128i(LoadLane(getPlace(1)), LoadLane(getPlace(0)));
    }
    template <typename GetPlace>
    static Vector LoadLanes8(const GetPlace& getPlace) noexcept {
        return _mm256_set_m128i(LoadLane8(getPlace(1)), LoadLane8(getPlace(0)));
    }

    template <std::size_t BlockBytes>
    static Vector LoadBlocks(const void* from) noexcept {
        if constexpr (BlockBytes == 8) return _mm256_broadcastsi128_si256(LoadLane(from));
        return Load(from);
    }

    template <std::size_t BlockBytes>
    static Vector LoadColors(const std::uint8_t* blocks) noexcept {
        if constexpr (BlockBytes == 8) return Load(blocks);
        return _mm256_permute4x64_epi64(_mm256_unpackhi_epi64(Load(blocks), Load(blocks + 32)),
                                        0xD8);
    }

    static std::uint32_t GetBlockMask(Vector a) noexcept {
        return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_permute4x64_epi64(a, 0xD8)));
    }

    static __m128i GetFirstLane(Vector a) noexcept { return _mm256_castsi256_si128(a); }
    static __m128i GetSecondLane(Vector a) noexcept { return _mm256_extracti128_si256(a, 1); }

    static void StoreLane(std::uint8_t* to, __m128i a) noexcept {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), a);
    }
    static void StoreRgb(std::uint8_t* to, Vector a) noexcept {
        StoreLane(to, GetFirstLane(a));
        StoreTwelve(to + 12, GetSecondLane(a));
    }
    static void StoreRgbAndMore(std::uint8_t* to, Vector a) noexcept {
        StoreLane(to, GetFirstLane(a));
        StoreLane(to + 12, GetSecondLane(a));
    }

    static void StoreHalfRows(std::uint8_t* to, std::size_t stride, Vector a) noexcept {
        const Vector rows = _mm256_permute4x64_epi64(a, 0xD8);
        StoreLane(to, GetFirstLane(rows));
        StoreLane(to + stride, GetSecondLane(rows));
    }

    static Vector Set8(char value) noexcept { return _mm256_set1_epi8(value); }
    static Vector Set16(short value) noexcept { return _mm256_set1_epi16(value); }
    static Vector Set32(int value) noexcept { return _mm256_set1_epi32(value); }

    static Vector And(Vector a, Vector b) noexcept { return _mm256_and_si256(a, b); }
    static Vector AndNot(Vector mask, Vector a) noexcept { return _mm256_andnot_si256(mask, a); }
    static Vector Or(Vector a, Vector b) noexcept { return _mm256_or_si256(a, b); }
    static Vector Xor(Vector a, Vector b) noexcept { return _mm256_xor_si256(a, b); }
    static Vector Shuffle(Vector a, Vector shuffle) noexcept {
        return _mm256_shuffle_epi8(a, shuffle);
    }
    static Vector Equal8(Vector a, Vector b) noexcept { return _mm256_cmpeq_epi8(a, b); }
    static Vector Add8(Vector a, Vector b) noexcept { return _mm256_add_epi8(a, b); }
    static Vector Subtract8(Vector a, Vector b) noexcept { return _mm256_sub_epi8(a, b); }
    static Vector AddSaturated8(Vector a, Vector b) noexcept { return _mm256_adds_epu8(a, b); }
    static Vector SubtractSaturated8(Vector a, Vector b) noexcept { return _mm256_subs_epu8(a, b); }
    static Vector Add16(Vector a, Vector b) noexcept { return _mm256_add_epi16(a, b); }
    static Vector Subtract16(Vector a, Vector b) noexcept { return _mm256_sub_epi16(a, b); }
    static Vector Multiply16(Vector a, Vector b) noexcept { return _mm256_mullo_epi16(a, b); }
    static Vector MultiplyHigh16(Vector a, Vector b) noexcept { return _mm256_mulhi_epu16(a, b); }
    static Vector Min16(Vector a, Vector b) noexcept { return _mm256_min_epi16(a, b); }
    static Vector Max16(Vector a, Vector b) noexcept { return _mm256_max_epi16(a, b); }
    static Vector CopySign16(Vector a, Vector sign) noexcept { return _mm256_sign_epi16(a, sign); }
    static Vector PackUnsigned16(Vector a, Vector b) noexcept { return _mm256_packus_epi16(a, b); }
    static Vector UnpackLow8(Vector a, Vector b) noexcept { return _mm256_unpacklo_epi8(a, b); }
    static Vector UnpackHigh8(Vector a, Vector b) noexcept { return _mm256_unpackhi_epi8(a, b); }
    static Vector UnpackLow16(Vector a, Vector b) noexcept { return _mm256_unpacklo_epi16(a, b); }
    static Vector UnpackHigh16(Vector a, Vector b) noexcept { return _mm256_unpackhi_epi16(a, b); }
    static Vector UnpackLow32(Vector a, Vector b) noexcept { return _mm256_unpacklo_epi32(a, b); }
    static Vector UnpackHigh32(Vector a, Vector b) noexcept { return _mm256_unpackhi_epi32(a, b); }
    static Vector UnpackLow64(Vector a, Vector b) noexcept { return _mm256_unpacklo_epi64(a, b); }
    static Vector UnpackHigh64(Vector a, Vector b) noexcept { return _mm256_unpackhi_epi64(a, b); }
    static Vector Absolute16(Vector a) noexcept { return _mm256_abs_epi16(a); }

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

    static Vector Choose(Vector a, Vector b, Vector isB) noexcept {
        return _mm256_blendv_epi8(a, b, isB);
    }
    template <int Index>
    static Vector BlendDword(Vector a, Vector b) noexcept {
        return _mm256_blend_epi32(a, b, 17 << Index);
    }
    static Vector SwapHalves(Vector a) noexcept { return _mm256_shuffle_epi32(a, 0x4E); }
    static Vector EvenDwords(Vector a, Vector b) noexcept {
        return _mm256_castps_si256(
            _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0x88));
    }
    static Vector OddDwords(Vector a, Vector b) noexcept {
        return _mm256_castps_si256(
            _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0xDD));
    }
};

}  // namespace

constinit const EtcKernels kEtcAvx2Kernels = kRowKernels<Avx2>;

}  // namespace koru
