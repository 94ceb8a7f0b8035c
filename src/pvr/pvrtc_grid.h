// Where the blocks of a PVRTC image lie: the grid, and its twiddled order in the payload.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "core/bytes.h"
#include "pvr/pvrtc_block.h"

namespace koru {

inline constexpr std::size_t kPvrtcBlockBytes = 8;

/// Blocks across and down. An image smaller than two blocks has two all the same.
struct PvrtcGrid {
    std::uint32_t columns = 0, rows = 0;
};

[[nodiscard]] constexpr PvrtcGrid Pvrtc_GetGrid(std::uint32_t blockWidth, std::uint32_t width,
                                                std::uint32_t height) noexcept {
    return {.columns = std::max(width / blockWidth, 2u),
            .rows = std::max(height / kPvrtcBlockHeight, 2u)};
}

/// Bit i moves to bit 2 * i.
[[nodiscard]] constexpr std::uint64_t Pvrtc_SpreadBits(std::uint32_t value) noexcept {
    std::uint64_t bits = value;
    bits = (bits | bits << 16) & 0x0000FFFF0000FFFF;
    bits = (bits | bits << 8) & 0x00FF00FF00FF00FF;
    bits = (bits | bits << 4) & 0x0F0F0F0F0F0F0F0F;
    bits = (bits | bits << 2) & 0x3333333333333333;
    return (bits | bits << 1) & 0x5555555555555555;
}

/// The place of a block in the payload is GetColumnPart(its column) + GetRowPart(its row).
///
/// The bits that the smaller dimension needs alternate, the row's bit below the column's; what is
/// left of the larger dimension lies above.
class PvrtcOrder {
  public:
    explicit constexpr PvrtcOrder(const PvrtcGrid& grid) noexcept
        : mixedBits_(static_cast<unsigned>(std::bit_width(std::min(grid.columns, grid.rows) - 1))),
          isWide_(grid.rows < grid.columns) {}

    [[nodiscard]] constexpr std::uint64_t GetColumnPart(std::uint32_t column) const noexcept {
        return Pvrtc_SpreadBits(GetMixed(column)) << 1 | (isWide_ ? GetAbove(column) : 0);
    }
    [[nodiscard]] constexpr std::uint64_t GetRowPart(std::uint32_t row) const noexcept {
        return Pvrtc_SpreadBits(GetMixed(row)) | (isWide_ ? 0 : GetAbove(row));
    }

  private:
    [[nodiscard]] constexpr std::uint32_t GetMixed(std::uint32_t coordinate) const noexcept {
        return coordinate & ((1u << mixedBits_) - 1);
    }
    [[nodiscard]] constexpr std::uint64_t GetAbove(std::uint32_t coordinate) const noexcept {
        return std::uint64_t{coordinate >> mixedBits_} << 2 * mixedBits_;
    }

    unsigned mixedBits_;
    bool isWide_;
};

/// The block at a place of the payload; zeros if it does not lie inside as a whole.
[[nodiscard]] inline PvrtcBlock Pvrtc_LoadBlock(std::span<const std::uint8_t> payload,
                                                std::uint64_t place) noexcept {
    if (place >= payload.size() / kPvrtcBlockBytes) return {};
    const auto bytes = payload.subspan(static_cast<std::size_t>(place) * kPvrtcBlockBytes)
                           .first<kPvrtcBlockBytes>();
    return {.modulation = Bytes_LoadLe32<0>(bytes), .colors = Bytes_LoadLe32<4>(bytes)};
}

}  // namespace koru
