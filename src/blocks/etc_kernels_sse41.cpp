// ETC and EAC rows with SSE4.1: one block at a time.
#include <smmintrin.h>

#include <cstddef>
#include <cstdint>

#include "blocks/etc_color_rows_x86.h"
#include "blocks/etc_kernels.h"

namespace koru {
namespace {

struct Sse41 {
    using Vector = __m128i;
    static constexpr std::size_t kLanes = 1;

    static Vector Load(const void* from) noexcept {
        return _mm_loadu_si128(static_cast<const __m128i*>(from));
    }
    static Vector Load8(const void* from) noexcept {
        return _mm_loadl_epi64(static_cast<const __m128i*>(from));
    }
    static void Store(void* to, Vector a) noexcept {
        _mm_storeu_si128(static_cast<__m128i*>(to), a);
    }

    /// 16 bytes for each lane from where getPlace(lane) points, or 8 into its low half.
    template <typename GetPlace>
    static Vector LoadLanes(const GetPlace& getPlace) noexcept {
        return Load(getPlace(0));
    }
    template <typename GetPlace>
    static Vector LoadLanes8(const GetPlace& getPlace) noexcept {
        return Load8(getPlace(0));
    }

    /// As many blocks as there are lanes; those of 8 bytes as BlockHalf::Own says.
    template <std::size_t BlockBytes>
    static Vector LoadBlocks(const void* from) noexcept {
        return BlockBytes == 8 ? Load8(from) : Load(from);
    }

    /// The last 8 bytes of twice as many blocks.
    template <std::size_t BlockBytes>
    static Vector LoadColors(const std::uint8_t* blocks) noexcept {
        if constexpr (BlockBytes == 8) return Load(blocks);
        return _mm_unpackhi_epi64(Load(blocks), Load(blocks + 16));
    }

    /// A bit for each byte of dwords that UnpackLow32 and then UnpackHigh32 bring in order.
    static std::uint32_t GetBlockMask(Vector a) noexcept {
        return static_cast<std::uint32_t>(_mm_movemask_epi8(a));
    }

    static __m128i GetFirstLane(Vector a) noexcept { return a; }

    /// The first 12 bytes of each lane, behind each other; those of the last may spill.
    static void StoreRgb(std::uint8_t* to, Vector a) noexcept { StoreTwelve(to, a); }
    static void StoreRgbAndMore(std::uint8_t* to, Vector a) noexcept { Store(to, a); }

    /// Two rows, each half of every lane.
    static void StoreHalfRows(std::uint8_t* to, std::size_t stride, Vector a) noexcept {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to), a);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to + stride), _mm_unpackhi_epi64(a, a));
    }

    static Vector Set8(char value) noexcept { return _mm_set1_epi8(value); }
    static Vector Set16(short value) noexcept { return _mm_set1_epi16(value); }
    static Vector Set32(int value) noexcept { return _mm_set1_epi32(value); }

    static Vector And(Vector a, Vector b) noexcept { return _mm_and_si128(a, b); }
    static Vector AndNot(Vector mask, Vector a) noexcept { return _mm_andnot_si128(mask, a); }
    static Vector Or(Vector a, Vector b) noexcept { return _mm_or_si128(a, b); }
    static Vector Xor(Vector a, Vector b) noexcept { return _mm_xor_si128(a, b); }
    static Vector Shuffle(Vector a, Vector shuffle) noexcept {
        return _mm_shuffle_epi8(a, shuffle);
    }
    static Vector Equal8(Vector a, Vector b) noexcept { return _mm_cmpeq_epi8(a, b); }
    static Vector Add8(Vector a, Vector b) noexcept { return _mm_add_epi8(a, b); }
    static Vector Subtract8(Vector a, Vector b) noexcept { return _mm_sub_epi8(a, b); }
    static Vector AddSaturated8(Vector a, Vector b) noexcept { return _mm_adds_epu8(a, b); }
    static Vector SubtractSaturated8(Vector a, Vector b) noexcept { return _mm_subs_epu8(a, b); }
    static Vector Add16(Vector a, Vector b) noexcept { return _mm_add_epi16(a, b); }
    static Vector Subtract16(Vector a, Vector b) noexcept { return _mm_sub_epi16(a, b); }
    static Vector Multiply16(Vector a, Vector b) noexcept { return _mm_mullo_epi16(a, b); }
    static Vector MultiplyHigh16(Vector a, Vector b) noexcept { return _mm_mulhi_epu16(a, b); }
    static Vector Min16(Vector a, Vector b) noexcept { return _mm_min_epi16(a, b); }
    static Vector Max16(Vector a, Vector b) noexcept { return _mm_max_epi16(a, b); }
    static Vector CopySign16(Vector a, Vector sign) noexcept { return _mm_sign_epi16(a, sign); }
    static Vector PackUnsigned16(Vector a, Vector b) noexcept { return _mm_packus_epi16(a, b); }
    static Vector UnpackLow8(Vector a, Vector b) noexcept { return _mm_unpacklo_epi8(a, b); }
    static Vector UnpackHigh8(Vector a, Vector b) noexcept { return _mm_unpackhi_epi8(a, b); }
    static Vector UnpackLow16(Vector a, Vector b) noexcept { return _mm_unpacklo_epi16(a, b); }
    static Vector UnpackHigh16(Vector a, Vector b) noexcept { return _mm_unpackhi_epi16(a, b); }
    static Vector UnpackLow32(Vector a, Vector b) noexcept { return _mm_unpacklo_epi32(a, b); }
    static Vector UnpackHigh32(Vector a, Vector b) noexcept { return _mm_unpackhi_epi32(a, b); }
    static Vector UnpackLow64(Vector a, Vector b) noexcept { return _mm_unpacklo_epi64(a, b); }
    static Vector UnpackHigh64(Vector a, Vector b) noexcept { return _mm_unpackhi_epi64(a, b); }
    static Vector Absolute16(Vector a) noexcept { return _mm_abs_epi16(a); }

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

    static Vector Choose(Vector a, Vector b, Vector isB) noexcept {
        return _mm_blendv_epi8(a, b, isB);
    }
    template <int Index>
    static Vector BlendDword(Vector a, Vector b) noexcept {
        return _mm_blend_epi16(a, b, 3 << 2 * Index);
    }
    static Vector SwapHalves(Vector a) noexcept { return _mm_shuffle_epi32(a, 0x4E); }
    static Vector EvenDwords(Vector a, Vector b) noexcept {
        return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), 0x88));
    }
    static Vector OddDwords(Vector a, Vector b) noexcept {
        return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), 0xDD));
    }
};

}  // namespace

constinit const EtcKernels kEtcSse41Kernels = kRowKernels<Sse41>;

}  // namespace koru
