// PVRTC blocks, version 1, to RGBA pixels.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace koru {

/// Decodes one image of 2 or 4 bits per pixel into width * height pixels of R, G, B, A, rows
/// packed, top row first.
///
/// source         Blocks in twiddled order, 8 bytes each. A block that does not lie inside as a
///                whole reads as zeros.
/// width, height  Powers of two; other sizes decode to what the wrapping arithmetic makes of them,
///                and pixels that it never reaches become zeros. A size of 0 or less decodes
///                nothing.
/// reserved       Not read.
/// destination    width * height * 4 bytes of the caller, with any contents; all are written.
void PvrtcDecompress(std::span<const std::uint8_t> source, bool is2Bpp, std::int32_t width,
                     std::int32_t height, std::int32_t reserved,
                     std::uint8_t* destination) noexcept;

/// Decodes some rows of the image, as PvrtcDecompress does, into memory that holds them alone.
///
/// width, height       Powers of two.
/// firstRow, rowCount  Rows of the image; multiples of 4, but a last row may be any.
/// target              width * rowCount * 4 bytes of the caller.
void Pvrtc_DecodeRows(std::span<const std::uint8_t> source, bool is2Bpp, std::uint32_t width,
                      std::uint32_t height, std::uint32_t firstRow, std::uint32_t rowCount,
                      std::uint8_t* target) noexcept;

/// Bytes of the grid of blocks that an image takes, at least 2 x 2; nothing if they do not fit 32
/// bits.
[[nodiscard]] std::optional<std::uint32_t> Pvrtc_GetPayloadBytes(bool is2Bpp, std::uint32_t width,
                                                                 std::uint32_t height) noexcept;

}  // namespace koru
