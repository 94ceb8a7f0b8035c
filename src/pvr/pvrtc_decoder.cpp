#include "pvr/pvrtc_decoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#include "core/bytes.h"
#include "pvr/pvrtc_block.h"
#include "pvr/pvrtc_grid.h"
#include "pvr/pvrtc_kernels.h"

namespace koru {
namespace {

// An image decodes in rows of areas. An area is as large as a block and lies between the centers of
// 2 x 2 blocks, of which each covers a quarter. Places in an area count from the top left center.

constexpr std::uint32_t kBlockWidth2Bpp = 8;
constexpr std::uint32_t kBlockWidth4Bpp = 4;
constexpr std::uint32_t kAreaHeight = kPvrtcBlockHeight;
constexpr std::uint32_t kPixelBytes = 4;

/// So many areas side by side decode at once; what is known of their blocks is on the stack.
constexpr std::uint32_t kMostAreas = 128;
constexpr std::uint32_t kMostBlocks = kMostAreas + 1;
/// A whole image decodes in strips that are low enough for the translation of addresses to keep
/// all of their rows, and high enough to unpack few blocks twice.
constexpr std::uint32_t kStripRows = 64;

using Blocks = std::array<PvrtcBlock, kMostBlocks>;
using Colors = std::array<std::int16_t, kMostBlocks * kPvrtcLanes>;

/// What a row of blocks gives to the areas above and below.
struct BlockRow {
    static constexpr std::size_t kStride = kMostBlocks * kPvrtcWeights2Bpp;

    Colors colors;
    std::array<std::uint8_t, kPvrtcBlockHeight * kStride> modulation;
};

/// Upper and lower.
using BlockRows = std::array<BlockRow, 2>;

/// Rows of an image.
struct Strip {
    std::uint32_t width = 0, height = 0;  ///< Of the image.
    std::uint32_t firstRow = 0, rowCount = 0;
    std::uint8_t* pixels = nullptr;
};

constexpr bool IsPowerOfTwo(const Strip& strip) noexcept {
    return std::has_single_bit(strip.width) && std::has_single_bit(strip.height);
}

class StripDecoder {
  public:
    StripDecoder(std::span<const std::uint8_t> payload, bool is2Bpp, const Strip& strip) noexcept
        : payload_(payload),
          is2Bpp_(is2Bpp),
          blockWidth_(is2Bpp ? kBlockWidth2Bpp : kBlockWidth4Bpp),
          strip_(strip),
          grid_(Pvrtc_GetGrid(blockWidth_, strip.width, strip.height)),
          order_(grid_) {}

    void Decode() const noexcept {
        const bool hasTwoBlocks =
            strip_.width >= 2 * blockWidth_ && strip_.height >= 2 * kPvrtcBlockHeight;
        if (!IsPowerOfTwo(strip_) || !hasTwoBlocks) return DecodeWrapping();
        for (std::uint32_t column = 0; column < grid_.columns; column += kMostAreas)
            DecodeRun(column, std::min(grid_.columns - column, kMostAreas));
    }

  private:
    /// Areas that lie side by side, of every row of them that touches the strip.
    void DecodeRun(std::uint32_t firstColumn, std::uint32_t areaCount) const noexcept {
        std::array<std::uint64_t, kMostBlocks> columnParts;
        for (std::uint32_t i = 0; i <= areaCount; ++i)
            columnParts[i] = order_.GetColumnPart((firstColumn + i) & (grid_.columns - 1));
        BlockRows rows;
        const auto load = [&](std::uint32_t row, BlockRow& target) {
            const std::uint64_t rowPart = order_.GetRowPart(row & (grid_.rows - 1));
            Blocks blocks;
            for (std::uint32_t i = 0; i <= areaCount; ++i)
                blocks[i] = Pvrtc_LoadBlock(payload_, columnParts[i] + rowPart);
            Unpack(blocks, areaCount + 1, target);
        };
        // The area above the strip's first block reaches down into it.
        const std::uint32_t firstBlock = strip_.firstRow / kPvrtcBlockHeight;
        load(firstBlock - 1, rows[0]);
        for (std::uint32_t i = 0; i <= strip_.rowCount / kPvrtcBlockHeight; ++i) {
            const BlockRow& upper = rows[i % 2];
            BlockRow& lower = rows[(i + 1) % 2];
            load(firstBlock + i, lower);
            for (std::uint32_t areaY = 0; areaY < kAreaHeight; ++areaY) {
                // Wraps by definition above the strip.
                const std::uint32_t stripY = i * kAreaHeight + areaY - kAreaHeight / 2;
                if (stripY < strip_.rowCount)
                    DrawRun(upper, lower, areaY, firstColumn, areaCount, GetRow(stripY));
            }
        }
    }

    void DrawRun(const BlockRow& upper, const BlockRow& lower, std::uint32_t areaY,
                 std::uint32_t firstColumn, std::uint32_t areaCount,
                 std::uint8_t* imageRow) const noexcept {
        const std::size_t halfBytes = std::size_t{blockWidth_} / 2 * kPixelBytes;
        std::uint8_t* const target = imageRow + (std::size_t{firstColumn} * 2 + 1) * halfBytes;
        const bool reachesEdge = firstColumn + areaCount == grid_.columns;
        const std::uint32_t wholeCount = areaCount - (reachesEdge ? 1 : 0);
        Colors mixed;
        Mix(upper, lower, areaY, areaCount + 1, mixed);
        Draw(upper, lower, areaY, mixed, 0, wholeCount, target);
        if (!reachesEdge) return;
        std::array<std::uint8_t, std::size_t{kBlockWidth2Bpp} * kPixelBytes> pixels;
        Draw(upper, lower, areaY, mixed, wholeCount, 1, pixels.data());
        std::memcpy(target + std::size_t{wholeCount} * 2 * halfBytes, pixels.data(), halfBytes);
        std::memcpy(imageRow, pixels.data() + halfBytes, halfBytes);
    }

    /// Images whose areas do not fill whole rows, or meet each other. Where they meet, the last one
    /// counts, so the row of areas above the strip comes last: it is the last one of the grid
    /// where it meets another.
    void DecodeWrapping() const noexcept {
        const std::uint32_t firstBlock = strip_.firstRow / kPvrtcBlockHeight;
        const std::uint32_t blockCount = strip_.rowCount / kPvrtcBlockHeight +
                                         (strip_.rowCount % kPvrtcBlockHeight != 0 ? 1 : 0);
        const std::uint32_t rowCount = std::min(blockCount, grid_.rows);
        for (std::uint32_t i = 0; i < rowCount; ++i) DecodeWrappingRow(firstBlock + i);
        if (rowCount < grid_.rows) DecodeWrappingRow((firstBlock - 1) & (grid_.rows - 1));
    }

    void DecodeWrappingRow(std::uint32_t row) const noexcept {
        for (std::uint32_t column = 0; column < grid_.columns; column += kMostAreas / 2)
            DecodeWrappingAreas(column, std::min(grid_.columns - column, kMostAreas / 2), row);
    }

    /// Every area has two columns of blocks of its own. What lies between one's right and the
    /// next one's left column is drawn and not stored.
    void DecodeWrappingAreas(std::uint32_t firstColumn, std::uint32_t areaCount,
                             std::uint32_t row) const noexcept {
        BlockRows rows;
        for (std::uint32_t i = 0; i < rows.size(); ++i) {
            const std::uint32_t wrappedRow = i == 0 ? row : (row + 1) & (grid_.rows - 1);
            Blocks blocks;
            for (std::uint32_t area = 0; area < areaCount; ++area) {
                const std::uint32_t column = firstColumn + area;
                blocks[std::size_t{area} * 2] = LoadLeftBlock(column, wrappedRow);
                blocks[std::size_t{area} * 2 + 1] =
                    LoadBlock((column + 1) & (grid_.columns - 1), wrappedRow);
            }
            Unpack(blocks, areaCount * 2, rows[i]);
        }
        for (std::uint32_t i = 0; i < kAreaHeight; ++i) {
            const std::uint32_t y = (row * kAreaHeight + kAreaHeight / 2 + i) & (strip_.height - 1);
            const std::uint32_t stripY = y - strip_.firstRow;  // wraps by definition
            if (stripY >= strip_.rowCount) continue;
            const std::uint32_t areaY = (y + kAreaHeight / 2) % kAreaHeight;
            Colors mixed;
            Mix(rows[0], rows[1], areaY, areaCount * 2, mixed);
            std::array<std::uint8_t, std::size_t{kMostAreas} * kBlockWidth2Bpp * kPixelBytes>
                pixels;
            Draw(rows[0], rows[1], areaY, mixed, 0, areaCount * 2 - 1, pixels.data());
            StoreWrapping(pixels, firstColumn, areaCount, GetRow(stripY));
        }
    }

    /// Stores every second area of a row. What passes the image's edge wraps.
    void StoreWrapping(std::span<const std::uint8_t> pixels, std::uint32_t firstColumn,
                       std::uint32_t areaCount, std::uint8_t* imageRow) const noexcept {
        for (std::uint32_t area = 0; area < areaCount; ++area) {
            const std::uint32_t left = (firstColumn + area) * blockWidth_ + blockWidth_ / 2;
            for (std::uint32_t i = 0; i < blockWidth_; ++i) {
                const std::uint32_t x = (left + i) & (strip_.width - 1);
                const std::uint32_t areaX = (x + blockWidth_ / 2) % blockWidth_;
                const std::size_t place = std::size_t{area} * 2 * blockWidth_ + areaX;
                std::memcpy(imageRow + std::size_t{x} * kPixelBytes, &pixels[place * kPixelBytes],
                            kPixelBytes);
            }
        }
    }

    [[nodiscard]] PvrtcBlock LoadBlock(std::uint32_t column, std::uint32_t row) const noexcept {
        return Pvrtc_LoadBlock(payload_, order_.GetColumnPart(column) + order_.GetRowPart(row));
    }

    /// Quirk: where the number of columns is no power of two, the wrapped neighbor is not always
    /// the next column, yet its colors stay, and only the modulation is the next column's; keeps
    /// what such images look like.
    [[nodiscard]] PvrtcBlock LoadLeftBlock(std::uint32_t column, std::uint32_t row) const noexcept {
        const PvrtcBlock block = LoadBlock(column, row);
        const PvrtcBlock before = LoadBlock(column & (grid_.columns - 1), row);
        return {.modulation = block.modulation,
                .colors = (before.colors & ~1u) | (block.colors & 1)};
    }

    void Unpack(const Blocks& blocks, std::uint32_t blockCount, BlockRow& row) const noexcept {
        kernels_.unpackColors(blocks.data(), blockCount, row.colors.data());
        const auto readModulation = is2Bpp_ ? kernels_.readWeights2Bpp : kernels_.readCodes4Bpp;
        readModulation(blocks.data(), blockCount, row.modulation.data(), BlockRow::kStride);
    }

    void Mix(const BlockRow& upper, const BlockRow& lower, std::uint32_t areaY,
             std::uint32_t blockCount, Colors& mixed) const noexcept {
        kernels_.mixColors(upper.colors.data(), lower.colors.data(), static_cast<int>(areaY),
                           blockCount, mixed.data());
    }

    void Draw(const BlockRow& upper, const BlockRow& lower, std::uint32_t areaY,
              const Colors& mixed, std::uint32_t firstArea, std::uint32_t areaCount,
              std::uint8_t* target) const noexcept {
        const std::int16_t* const colors = mixed.data() + firstArea * kPvrtcLanes;
        const std::size_t blockBytes = is2Bpp_ ? kPvrtcWeights2Bpp : kPvrtcCodes4Bpp;
        // Of the eight rows of pixels that the blocks have.
        const auto getModulation = [&](std::uint32_t blocksY) {
            const BlockRow& row = blocksY < kPvrtcBlockHeight ? upper : lower;
            return row.modulation.data() + blocksY % kPvrtcBlockHeight * BlockRow::kStride +
                   firstArea * blockBytes;
        };
        const std::uint32_t blocksY = areaY + kAreaHeight / 2;
        if (is2Bpp_) {
            kernels_.drawRow2Bpp(colors,
                                 {.above = getModulation(blocksY - 1),
                                  .here = getModulation(blocksY),
                                  .below = getModulation(blocksY + 1)},
                                 areaCount, target);
        } else {
            kernels_.drawRow4Bpp(colors, getModulation(blocksY), areaCount, target);
        }
    }

    [[nodiscard]] std::uint8_t* GetRow(std::uint32_t stripY) const noexcept {
        return strip_.pixels + std::size_t{stripY} * strip_.width * kPixelBytes;
    }

    const PvrtcKernels& kernels_ = PvrtcKernels_Get();
    std::span<const std::uint8_t> payload_;
    bool is2Bpp_;
    std::uint32_t blockWidth_;
    Strip strip_;
    PvrtcGrid grid_;
    PvrtcOrder order_;
};

}  // namespace

void PvrtcDecompress(std::span<const std::uint8_t> source, bool is2Bpp, std::int32_t width,
                     std::int32_t height, std::int32_t /*reserved*/,
                     std::uint8_t* destination) noexcept {
    if (width <= 0 || height <= 0) return;
    const Strip image{.width = static_cast<std::uint32_t>(width),
                      .height = static_cast<std::uint32_t>(height),
                      .rowCount = static_cast<std::uint32_t>(height),
                      .pixels = destination};
    const std::size_t rowBytes = std::size_t{image.width} * kPixelBytes;
    if (!IsPowerOfTwo(image)) {
        // Wrapping then skips pixels, and crosses strips.
        std::fill_n(destination, rowBytes * image.height, std::uint8_t{0});
        return StripDecoder(source, is2Bpp, image).Decode();
    }
    for (std::uint32_t y = 0; y < image.height; y += kStripRows) {
        Pvrtc_DecodeRows(source, is2Bpp, image.width, image.height, y,
                         std::min(image.height - y, kStripRows), destination + y * rowBytes);
    }
}

void Pvrtc_DecodeRows(std::span<const std::uint8_t> source, bool is2Bpp, std::uint32_t width,
                      std::uint32_t height, std::uint32_t firstRow, std::uint32_t rowCount,
                      std::uint8_t* target) noexcept {
    const Strip strip{.width = width,
                      .height = height,
                      .firstRow = firstRow,
                      .rowCount = rowCount,
                      .pixels = target};
    StripDecoder(source, is2Bpp, strip).Decode();
}

std::optional<std::uint32_t> Pvrtc_GetPayloadBytes(bool is2Bpp, std::uint32_t width,
                                                   std::uint32_t height) noexcept {
    const PvrtcGrid grid = Pvrtc_GetGrid(is2Bpp ? kBlockWidth2Bpp : kBlockWidth4Bpp, width, height);
    const auto blockCount = Size_Mul32(grid.columns, grid.rows);
    return blockCount ? Size_Mul32(*blockCount, kPvrtcBlockBytes) : std::nullopt;
}

}  // namespace koru
