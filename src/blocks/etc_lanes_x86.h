// What the x86 kernels for ETC and EAC blocks share: 16-byte lanes, each of which holds one block.
// Everything here has internal linkage, so that each kernel file has a copy for its instruction
// set. V is that set: Vector, its kLanes lanes and operations on them.
#pragma once

#include <smmintrin.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "blocks/block_texels.h"
#include "blocks/etc_word.h"

namespace koru {
namespace {  // NOLINT(cert-dcl59-cpp): a copy for each instruction set

/// A constant of both lanes; sets with one lane load the first half.
using LaneBytes = std::array<std::uint8_t, 32>;

/// The half of its lane in which a block of 8 bytes lies.
enum class BlockHalf {
    Low,
    High,
    Own,  ///< Both lanes hold both blocks: low in the first lane, high in the second.
};

/// A shuffle that makes byte i of each lane byte getSource(i) of the block, or 0 for kZero.
inline constexpr std::size_t kZero = 0x80;
template <typename GetSource>
constexpr LaneBytes MakeShuffle(BlockHalf half, GetSource getSource) {
    LaneBytes shuffle{};
    for (std::size_t i = 0; i < shuffle.size(); ++i) {
        const bool isHigh = half == BlockHalf::High || (half == BlockHalf::Own && i >= 16);
        const std::size_t source = getSource(i % 16);
        const std::size_t offset = isHigh && source != kZero ? kEtcBlockBytes : 0;
        shuffle[i] = static_cast<std::uint8_t>(source + offset);
    }
    return shuffle;
}

/// Bytes that depend on their place in the lane alone.
template <typename GetValue>
constexpr LaneBytes MakeBytes(GetValue getValue) {
    LaneBytes bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(getValue(i % 16));
    return bytes;
}

/// The same for 16-bit numbers.
template <typename GetValue>
constexpr LaneBytes MakeWords(GetValue getValue) {
    return MakeBytes([&](std::size_t i) { return getValue(i / 2) >> (i % 2 * 8) & 0xFF; });
}

/// The number of the pixel that comes i-th when rows follow each other.
constexpr std::size_t GetPixelNumber(std::size_t i) { return i % 4 * 4 + i / 4; }

/// Stores three quarters of a lane.
inline void StoreTwelve(std::uint8_t* target, __m128i a) noexcept {
    const int last = _mm_extract_epi32(a, 2);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(target), a);
    std::memcpy(target + 8, &last, sizeof last);
}

/// Decodes a row with a kernel that takes multiples of Kernel::kGroup blocks. What remains is
/// decoded aside, so that nothing behind the blocks is read and nothing behind the pixels written.
template <typename Kernel>
void DecodeRow(const std::uint8_t* blocks, std::uint32_t blockCount, std::uint8_t* target,
               std::size_t stride) noexcept {
    constexpr std::size_t kGroup = Kernel::kGroup, kBlockBytes = Kernel::kBlockBytes;
    constexpr std::size_t kBlockStride = kBlockSide * Kernel::kPixelBytes;
    const std::size_t rest = blockCount % kGroup, whole = blockCount - rest;
    Kernel::Decode(blocks, whole, target, stride);
    if (rest == 0) return;

    std::array<std::uint8_t, kGroup * kBlockBytes> restBlocks{};
    std::array<std::uint8_t, kBlockSide * kGroup * kBlockStride> tile;
    std::memcpy(restBlocks.data(), blocks + whole * kBlockBytes, rest * kBlockBytes);
    Kernel::Decode(restBlocks.data(), kGroup, tile.data(), kGroup * kBlockStride);
    for (std::size_t y = 0; y < kBlockSide; ++y) {
        std::memcpy(target + y * stride + whole * kBlockStride,
                    tile.data() + y * kGroup * kBlockStride, rest * kBlockStride);
    }
}

}  // namespace
}  // namespace koru
