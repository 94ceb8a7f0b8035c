// Rows of packed source pixels to rows of 8-bit channels: what every member of the expansion family
// and every way of filling a surface is made of.
#pragma once

#include <cstdint>

#include "core/channel_layout.h"
#include "core/decode_surface.h"
#include "formats/expand.h"

namespace koru {

/// Where pixels go: a surface, or rows of one. Rows are packed.
struct ExpandTarget {
    std::uint8_t* pixels = nullptr;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t bitsPerPixel = 0;
    std::uint32_t bytesPerPixel = 0;
    std::uint32_t dataSize = 0;
};

[[nodiscard]] ExpandTarget Expand_GetTarget(DecodeSurface& surface) noexcept;

/// What the fourth byte of a 32-bit target gets from a source without alpha.
enum class MissingAlpha {
    Kept,    ///< Nothing: it keeps its value.
    Opaque,  ///< 255, for pixels that had no value yet.
};

/// Bytes of a source pixel as the member counts them.
[[nodiscard]] constexpr std::uint64_t Expand_GetPixelBytes(std::uint32_t bitsPerPixel,
                                                           ExpandMember member) noexcept {
    return member == ExpandMember::Astc ? 4u : bitsPerPixel / 8u;
}

/// Bytes from the end of a row's pixels to the next multiple of 4. Decoders of 24-bit rows hand
/// them over unpadded all the same; such images come out sheared, as they always did.
[[nodiscard]] constexpr std::uint64_t Expand_GetRowPadding(std::uint32_t width,
                                                           std::uint64_t pixelBytes) noexcept {
    const std::uint64_t rowBytes = width * pixelBytes;
    return (rowBytes + 3u) / 4u * 4u - rowBytes;
}

/// Whether a member expands nothing of so many bytes that count.
[[nodiscard]] constexpr bool Expand_IsRefused(std::uint32_t size, std::uint32_t bitsPerPixel,
                                              ExpandMember member) noexcept {
    return size == 0 || (member != ExpandMember::Astc && bitsPerPixel == 0);
}

/// Converts what the source reaches; gives the bytes of the target that were reached, from its
/// start.
std::uint64_t Expand_ConvertRows(const ExpandTarget& target, const PackedPixels& source,
                                 const ChannelLayout& layout, ExpandMember member,
                                 MissingAlpha missingAlpha) noexcept;

}  // namespace koru
