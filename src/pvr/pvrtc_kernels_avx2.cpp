#include "pvr/pvrtc_kernels.h"
#include "pvr/pvrtc_vector_kernels.h"

namespace koru {
namespace {

struct Avx2;
using Lane = OneLane<Avx2>;

struct TwoLanes {
    using Vector = __m256i;
    static constexpr std::size_t kLanes = 2;

    static Vector Load(const void* source) noexcept {
        return _mm256_loadu_si256(static_cast<const __m256i*>(source));
    }
    static Vector LoadEach(const void* source) noexcept {
        return _mm256_broadcastsi128_si256(Lane::Load(source));
    }
    static void Store(void* target, Vector value) noexcept {
        _mm256_storeu_si256(static_cast<__m256i*>(target), value);
    }
    static Vector Set32(std::uint32_t value) noexcept {
        return _mm256_set1_epi32(static_cast<int>(value));
    }
    static Vector Set16(int value) noexcept { return _mm256_set1_epi16(static_cast<short>(value)); }
    static Vector Add16(Vector a, Vector b) noexcept { return _mm256_add_epi16(a, b); }
    static Vector Subtract16(Vector a, Vector b) noexcept { return _mm256_sub_epi16(a, b); }
    static Vector Multiply16(Vector a, Vector b) noexcept { return _mm256_mullo_epi16(a, b); }
    static Vector MultiplyHigh16(Vector a, Vector b) noexcept { return _mm256_mulhi_epu16(a, b); }
    static Vector MultiplyPairs8(Vector a, Vector b) noexcept { return _mm256_maddubs_epi16(a, b); }
    static Vector Pack16(Vector low, Vector high) noexcept {
        return _mm256_packus_epi16(low, high);
    }
    static Vector Shuffle8(Vector a, Vector places) noexcept {
        return _mm256_shuffle_epi8(a, places);
    }
    static Vector And(Vector a, Vector b) noexcept { return _mm256_and_si256(a, b); }
    static Vector AndNot(Vector no, Vector b) noexcept { return _mm256_andnot_si256(no, b); }
    static Vector Or(Vector a, Vector b) noexcept { return _mm256_or_si256(a, b); }
    static Vector Select(Vector mask, Vector yes, Vector no) noexcept {
        return _mm256_blendv_epi8(no, yes, mask);
    }
    template <int Count>
    static Vector Left16(Vector a) noexcept {
        return _mm256_slli_epi16(a, Count);
    }
    template <int Count>
    static Vector Right16(Vector a) noexcept {
        return _mm256_srli_epi16(a, Count);
    }
    template <int Count>
    static Vector Right32(Vector a) noexcept {
        return _mm256_srli_epi32(a, Count);
    }
    static Vector GetSigns16(Vector a) noexcept { return _mm256_srai_epi16(a, 15); }
    static Vector Low32(Vector a, Vector b) noexcept { return _mm256_unpacklo_epi32(a, b); }
    static Vector High32(Vector a, Vector b) noexcept { return _mm256_unpackhi_epi32(a, b); }
    static Vector Low64(Vector a, Vector b) noexcept { return _mm256_unpacklo_epi64(a, b); }
    static Vector High64(Vector a, Vector b) noexcept { return _mm256_unpackhi_epi64(a, b); }

    static Vector LoadColors(const PvrtcBlock* blocks) noexcept {
        return _mm256_set_m128i(Lane::LoadColors(blocks + 4), Lane::LoadColors(blocks));
    }
    static void StoreEachFourth(std::int16_t* target, Vector value) noexcept {
        Lane::Store(target, _mm256_castsi256_si128(value));
        Lane::Store(target + 4 * kPvrtcLanes, _mm256_extracti128_si256(value, 1));
    }
    static Vector LoadPairs(const std::uint8_t (*table)[16], const std::uint8_t* codes) noexcept {
        return _mm256_set_m128i(Lane::Load(table[codes[kPvrtcCodes4Bpp]]),
                                Lane::Load(table[codes[0]]));
    }
    static __m128i LoadWeights(const std::uint8_t* weights) noexcept { return Lane::Load(weights); }
    static Vector Widen8(__m128i weights) noexcept { return _mm256_cvtepu8_epi16(weights); }
    static void StoreHalves(std::uint8_t* target, Vector left, Vector right) noexcept {
        Store(target, _mm256_permute2x128_si256(left, right, 0x20));
        Store(target + 32, _mm256_permute2x128_si256(left, right, 0x31));
    }
};

}  // namespace

void Pvrtc_UnpackColorsAvx2(const PvrtcBlock* blocks, std::size_t blockCount,
                            std::int16_t* colors) noexcept {
    Pvrtc_UnpackColors<TwoLanes>(blocks, blockCount, colors);
}

void Pvrtc_MixColorsAvx2(const std::int16_t* upper, const std::int16_t* lower, int quarters,
                         std::size_t blockCount, std::int16_t* mixed) noexcept {
    const std::size_t done =
        Pvrtc_MixColors<TwoLanes>(upper, lower, quarters, 0, blockCount, mixed);
    Pvrtc_MixColors<Lane>(upper, lower, quarters, done, blockCount, mixed);
}

void Pvrtc_DrawRow4BppAvx2(const std::int16_t* mixed, const std::uint8_t* codes,
                           std::size_t areaCount, std::uint8_t* target) noexcept {
    const std::size_t done = Pvrtc_DrawRow4Bpp<TwoLanes>(mixed, codes, 0, areaCount, target);
    Pvrtc_DrawRow4Bpp<Lane>(mixed, codes, done, areaCount, target);
}

void Pvrtc_DrawRow2BppAvx2(const std::int16_t* mixed, const PvrtcWeightRows& weights,
                           std::size_t areaCount, std::uint8_t* target) noexcept {
    const std::size_t done = Pvrtc_DrawRow2Bpp<TwoLanes>(mixed, weights, 0, areaCount, target);
    Pvrtc_DrawRow2Bpp<Lane>(mixed, weights, done, areaCount, target);
}

}  // namespace koru
