#include <cstring>

#include "core/vectors_sse41.h"
#include "pvr/pvrtc_kernels.h"
#include "pvr/pvrtc_vector_kernels.h"

namespace koru {
namespace {

struct PvrtcLane : OneLane<Sse41Vectors> {};

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
    using V = PvrtcLane;
    using Vector = V::Vector;
    const Vector bits = V::Even32(V::Load(blocks), V::Load(blocks + 2));
    const Vector hasMode = V::ShiftRightSigned32<31>(V::ShiftLeft32<31>(V::LoadColors(blocks)));
    const Vector modes = V::And(hasMode, V::Set8(1 << kPvrtcCodeBits));
    const Vector four = V::Set8(15);
    const Vector left = V::Or(V::And(bits, four), modes);
    const Vector right = V::Or(V::And(V::ShiftRight16<4>(bits), four), modes);
    // From four rows of each block to a row of all blocks: two codes are a word.
    const Vector blocks01 = V::UnpackLow8(left, right), blocks23 = V::UnpackHigh8(left, right);
    const Vector blocks02 = V::UnpackLow16(blocks01, blocks23);
    const Vector blocks13 = V::UnpackHigh16(blocks01, blocks23);
    const Vector rows01 = V::UnpackLow16(blocks02, blocks13);
    const Vector rows23 = V::UnpackHigh16(blocks02, blocks13);
    V::StoreLow64(codes, rows01);
    V::StoreHigh64(codes + stride, rows01);
    V::StoreLow64(codes + 2 * stride, rows23);
    V::StoreHigh64(codes + 3 * stride, rows23);
}

}  // namespace

void Pvrtc_UnpackColorsSse41(const PvrtcBlock* blocks, std::size_t blockCount,
                             std::int16_t* colors) noexcept {
    Pvrtc_UnpackColors<PvrtcLane>(blocks, blockCount, colors);
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
    Pvrtc_MixColors<PvrtcLane>(upper, lower, quarters, 0, blockCount, mixed);
}

void Pvrtc_DrawRow4BppSse41(const std::int16_t* mixed, const std::uint8_t* codes,
                            std::size_t areaCount, std::uint8_t* target) noexcept {
    Pvrtc_DrawRow4Bpp<PvrtcLane>(mixed, codes, 0, areaCount, target);
}

void Pvrtc_DrawRow2BppSse41(const std::int16_t* mixed, const PvrtcWeightRows& weights,
                            std::size_t areaCount, std::uint8_t* target) noexcept {
    Pvrtc_DrawRow2Bpp<PvrtcLane>(mixed, weights, 0, areaCount, target);
}

}  // namespace koru
