#include "core/vectors_avx2.h"
#include "pvr/pvrtc_kernels.h"
#include "pvr/pvrtc_vector_kernels.h"

namespace koru {
namespace {

struct PvrtcLane : OneLane<Avx2Vectors::Lane> {};

struct TwoLanes : Avx2Vectors {
    static Vector LoadColors(const PvrtcBlock* blocks) noexcept {
        return JoinLanes(PvrtcLane::LoadColors(blocks), PvrtcLane::LoadColors(blocks + 4));
    }
    static Vector LoadPairs(const std::uint8_t (*table)[16], const std::uint8_t* codes) noexcept {
        return JoinLanes(Lane::Load(table[codes[0]]), Lane::Load(table[codes[kPvrtcCodes4Bpp]]));
    }
    static __m128i LoadWeights(const std::uint8_t* weights) noexcept { return Lane::Load(weights); }
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
    Pvrtc_MixColors<PvrtcLane>(upper, lower, quarters, done, blockCount, mixed);
}

void Pvrtc_DrawRow4BppAvx2(const std::int16_t* mixed, const std::uint8_t* codes,
                           std::size_t areaCount, std::uint8_t* target) noexcept {
    const std::size_t done = Pvrtc_DrawRow4Bpp<TwoLanes>(mixed, codes, 0, areaCount, target);
    Pvrtc_DrawRow4Bpp<PvrtcLane>(mixed, codes, done, areaCount, target);
}

void Pvrtc_DrawRow2BppAvx2(const std::int16_t* mixed, const PvrtcWeightRows& weights,
                           std::size_t areaCount, std::uint8_t* target) noexcept {
    const std::size_t done = Pvrtc_DrawRow2Bpp<TwoLanes>(mixed, weights, 0, areaCount, target);
    Pvrtc_DrawRow2Bpp<PvrtcLane>(mixed, weights, done, areaCount, target);
}

}  // namespace koru
