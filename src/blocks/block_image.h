// The walk over an image of 4 x 4 blocks, shared by the block decoders: the only place that clips.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "blocks/block_texels.h"
#include "core/bytes.h"

namespace koru {

/// An image stored as blocks, row by row, left to right; it is padded to whole blocks at the right
/// and at the bottom.
struct BlockImage {
    std::uint32_t width = 0;  ///< Pixels, as `height`.
    std::uint32_t height = 0;
    std::uint32_t blockBytes = 0;  ///< Of one compressed block.
    std::uint32_t pixelBytes = 0;  ///< Of one decoded pixel, at most kMaxPixelBytes.
};

inline constexpr std::size_t kMaxPixelBytes = 4;

/// Whole blocks that cover so many pixels of a row or a column.
[[nodiscard]] constexpr std::uint32_t Blocks_GetCount(std::uint32_t pixels) noexcept {
    return pixels / kBlockSide + (pixels % kBlockSide != 0 ? 1 : 0);
}

/// Bytes of an image that takes `bytesPerBlock` for each of its blocks, or nothing if they do not
/// fit 32 bits.
[[nodiscard]] constexpr std::optional<std::uint32_t> Blocks_GetBytes(
    std::uint32_t width, std::uint32_t height, std::uint32_t bytesPerBlock) noexcept {
    if (bytesPerBlock == 0) return 0;
    const auto blockCount = Size_Mul32(Blocks_GetCount(width), Blocks_GetCount(height));
    return blockCount ? Size_Mul32(*blockCount, bytesPerBlock) : std::nullopt;
}

/// Decodes an image into width * height packed pixels at `target`; touches no byte outside.
///
/// decodeRow(blocks, blockCount, target, stride) decodes so many blocks, which follow each other,
/// into four rows of blockCount * 4 pixels, `stride` bytes apart. It is called on the target itself
/// for whole blocks, and on a tile for those that the image's edges cut.
template <typename DecodeRow>
void Blocks_DecodeImage(const BlockImage& image, const std::uint8_t* blocks, std::uint8_t* target,
                        const DecodeRow& decodeRow) noexcept {
    constexpr std::uint32_t kTileBlocks = 32;
    const std::uint32_t columns = Blocks_GetCount(image.width);
    const std::uint32_t rows = Blocks_GetCount(image.height);
    const std::size_t stride = std::size_t{image.width} * image.pixelBytes;
    const std::size_t tileStride = std::size_t{kTileBlocks} * kBlockSide * image.pixelBytes;
    std::array<std::uint8_t, kTileBlocks * kBlockTexels * kMaxPixelBytes> tile;

    for (std::uint32_t row = 0; row < rows; ++row) {
        const std::uint32_t usedRows = std::min(kBlockSide, image.height - row * kBlockSide);
        std::uint8_t* const rowTarget = target + std::size_t{row} * kBlockSide * stride;

        const std::uint32_t wholeBlocks = usedRows == kBlockSide ? image.width / kBlockSide : 0;
        decodeRow(blocks, wholeBlocks, rowTarget, stride);
        blocks += std::size_t{wholeBlocks} * image.blockBytes;

        for (std::uint32_t column = wholeBlocks; column < columns;) {
            const std::uint32_t count = std::min(kTileBlocks, columns - column);
            decodeRow(blocks, count, tile.data(), tileStride);
            blocks += std::size_t{count} * image.blockBytes;
            const std::size_t firstByte = std::size_t{column} * kBlockSide * image.pixelBytes;
            const std::size_t usedBytes =
                std::min(std::size_t{count} * kBlockSide * image.pixelBytes, stride - firstByte);
            for (std::uint32_t y = 0; y < usedRows; ++y)
                std::memcpy(rowTarget + y * stride + firstByte, &tile[y * tileStride], usedBytes);
            column += count;
        }
    }
}

}  // namespace koru
