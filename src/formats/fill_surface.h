// Filling a surface with decoded pixels in one pass: what expansion and finishing would do to the
// whole image one after the other is done piece by piece, while a piece is in the cache.
#pragma once

#include <cstdint>

#include "core/channel_layout.h"
#include "core/decode_surface.h"
#include "formats/expand.h"

namespace koru {

/// Decodes an image of packed rows, as many at a time as it is asked for.
class RowDecoder {
  public:
    std::uint32_t rowBytes = 0;  ///< Of one decoded row.
    std::uint32_t rowCount = 0;
    std::uint32_t rowStep = 1;  ///< Pieces begin and end at multiples of it, or at the image's end.

    /// Whether decoding has what it needs besides memory for rows. A load that wants no pixels asks
    /// this instead of decoding.
    virtual bool CanDecode() noexcept { return true; }

    /// Decodes so many rows to `target`, packed; false if the image cannot be decoded after all.
    virtual bool DecodeRows(std::uint32_t firstRow, std::uint32_t count,
                            std::uint8_t* target) noexcept = 0;

  protected:
    RowDecoder() = default;
    ~RowDecoder() = default;
    RowDecoder(const RowDecoder&) = default;
    RowDecoder& operator=(const RowDecoder&) = default;
};

/// Fills a surface that has its layout but no pixels: what decoding all rows and Expand_TakePixels
/// do. The pixels are of the form that the surface wants; where that is what the decoder gives, it
/// decodes into them. For a record without pixels nothing is decoded. 1; 0 without memory, or if
/// decoding fails.
[[nodiscard]] int Surface_FillFromRows(DecodeSurface& surface, RowDecoder& decoder,
                                       std::uint32_t sourceSize, std::uint32_t bitsPerPixel,
                                       const ChannelLayout& layout, ExpandMember member) noexcept;

/// The same from pixels in memory.
[[nodiscard]] int Surface_FillFromMemory(DecodeSurface& surface, const PackedPixels& source,
                                         const ChannelLayout& layout, ExpandMember member) noexcept;

/// Whether the surface's pixels, in the form that it wants, are an unchanged copy of the source's
/// start, which the source holds.
[[nodiscard]] bool Surface_WantsCopy(const DecodeSurface& surface, const PackedPixels& source,
                                     const ChannelLayout& layout, ExpandMember member) noexcept;

}  // namespace koru
