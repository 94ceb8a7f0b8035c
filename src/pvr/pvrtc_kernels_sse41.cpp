#include <cstring>

#include "pvr/pvrtc_kernels.h"
#include "pvr/pvrtc_vector_kernels.h"

namespace koru {
namespace {

struct Sse41;
using Lane = OneLane<Sse41>;

/// The weights of a row of eight pixels, by their bits, in a block without mode flag and in an even
/// and an odd row of one with it.
struct RowTable {
    std::uint8_t weights[3][256][kPvrtcWeights2Bpp];
};
constexpr RowTable kRows2Bpp = [] {
    RowTable table{};
    for (unsigned bits = 0; bits < 256; ++bits) {
        for (unsigned x = 0; x < kPvrtcWeights2Bpp; ++x) {
            const std::uint8_t stored = kPvrtcWeights[bits >> (x & 6) & 3];
            table.weights[0][bits][x] = kPvrtcWeights[(bits >> x & 1) != 0 ? 3 : 0];
            table.weights[1][bits][x] = x % 2 == 0 ? stored : kPvrtcAverage;
            table.weights[2][bits][x] = x % 2 != 0 ? stored : kPvrtcAverage;
        }
    }
    return table;
}();

/// Codes of four blocks.
void ReadFourCodes(const PvrtcBlock* blocks, std::uint8_t* codes, std::size_t stride) noexcept {
    const __m128i low = Lane::Load(blocks), high = Lane::Load(blocks + 2);
    const __m128i bits =
        _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(low), _mm_castsi128_ps(high), 0x88));
    const __m128i hasMode = _mm_srai_epi32(_mm_slli_epi32(Lane::LoadColors(blocks), 31), 31);
    const __m128i modes = _mm_and_si128(hasMode, _mm_set1_epi8(1 << kPvrtcCodeBits));
    const __m128i four = _mm_set1_epi8(15);
    const __m128i left = _mm_or_si128(_mm_and_si128(bits, four), modes);
    const __m128i right = _mm_or_si128(_mm_and_si128(_mm_srli_epi16(bits, 4), four), modes);
    // From four rows of each block to a row of all blocks: two codes are a word.
    const __m128i blocks01 = _mm_unpacklo_epi8(left, right);
    const __m128i blocks23 = _mm_unpackhi_epi8(left, right);
    const __m128i blocks02 = _mm_unpacklo_epi16(blocks01, blocks23);
    const __m128i blocks13 = _mm_unpackhi_epi16(blocks01, blocks23);
    const __m128i rows01 = _mm_unpacklo_epi16(blocks02, blocks13);
    const __m128i rows23 = _mm_unpackhi_epi16(blocks02, blocks13);
    const auto store = [&](std::size_t row, __m128i value) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(codes + row * stride), value);
    };
    store(0, rows01);
    store(1, _mm_srli_si128(rows01, 8));
    store(2, rows23);
    store(3, _mm_srli_si128(rows23, 8));
}

}  // namespace

void Pvrtc_UnpackColorsSse41(const PvrtcBlock* blocks, std::size_t blockCount,
                             std::int16_t* colors) noexcept {
    Pvrtc_UnpackColors<Lane>(blocks, blockCount, colors);
}

void Pvrtc_ReadCodes4BppSse41(const PvrtcBlock* blocks, std::size_t blockCount,
                              std::uint8_t* modulation, std::size_t stride) noexcept {
    std::size_t i = 0;
    for (; blockCount - i >= 4; i += 4)
        ReadFourCodes(blocks + i, modulation + i * kPvrtcCodes4Bpp, stride);
    Pvrtc_ReadCodes4BppScalar(blocks + i, blockCount - i, modulation + i * kPvrtcCodes4Bpp, stride);
}

void Pvrtc_ReadWeights2BppSse41(const PvrtcBlock* blocks, std::size_t blockCount,
                                std::uint8_t* modulation, std::size_t stride) noexcept {
    for (std::size_t i = 0; i < blockCount; ++i) {
        const std::size_t hasMode = blocks[i].colors & 1;
        for (std::size_t y = 0; y < kPvrtcBlockHeight; ++y) {
            const auto& rows = kRows2Bpp.weights[hasMode * (1 + y % 2)];
            std::memcpy(modulation + y * stride + i * kPvrtcWeights2Bpp,
                        rows[blocks[i].modulation >> 8 * y & 255], kPvrtcWeights2Bpp);
        }
    }
}

void Pvrtc_MixColorsSse41(const std::int16_t* upper, const std::int16_t* lower, int quarters,
                          std::size_t blockCount, std::int16_t* mixed) noexcept {
    Pvrtc_MixColors<Lane>(upper, lower, quarters, 0, blockCount, mixed);
}

void Pvrtc_DrawRow4BppSse41(const std::int16_t* mixed, const std::uint8_t* codes,
                            std::size_t areaCount, std::uint8_t* target) noexcept {
    Pvrtc_DrawRow4Bpp<Lane>(mixed, codes, 0, areaCount, target);
}

void Pvrtc_DrawRow2BppSse41(const std::int16_t* mixed, const PvrtcWeightRows& weights,
                            std::size_t areaCount, std::uint8_t* target) noexcept {
    Pvrtc_DrawRow2Bpp<Lane>(mixed, weights, 0, areaCount, target);
}

}  // namespace koru
