// What OpenGL format codes mean: sizes, component counts, channel masks.
#pragma once

#include <cstdint>

#include "core/channel_layout.h"

namespace koru {

/// Bits of GlFormatSize::flags; none for an ordinary uncompressed format.
enum GlFormatFlags : std::uint32_t {
    kGlPacked = 0x1,
    kGlCompressed = 0x2,
    kGlPalettized = 0x4,
    kGlDepth = 0x8,
    kGlStencil = 0x10,
    kGlDepthStencil = kGlDepth | kGlStencil,
};

/// How a format's pixels are stored.
struct GlFormatSize {
    std::uint32_t flags = 0;              ///< GlFormatFlags, or-ed together.
    std::uint32_t paletteSizeInBits = 0;  ///< Of a palettized format, else 0.
    std::uint32_t blockSizeInBits = 0;    ///< Of a pixel if uncompressed; 0: unknown format.
    std::uint32_t blockWidth = 1;         ///< Pixels; 1 x 1 x 1 if uncompressed or palettized.
    std::uint32_t blockHeight = 1;
    std::uint32_t blockDepth = 1;
    std::uint32_t minBlocksX = 1;  ///< Fewest blocks of an image; 2 in PVRTC version 1.
    std::uint32_t minBlocksY = 1;

    bool operator==(const GlFormatSize&) const = default;
};

/// The answer for a code without a size here.
inline constexpr GlFormatSize kGlUnknownSize{};

/// The size of a sized internal format; kGlUnknownSize for every other code.
[[nodiscard]] GlFormatSize Gl_GetFormatSize(std::uint32_t glInternalFormat) noexcept;

/// Color components of a base or internal format, 1 to 4; 0 for every other code, among them 3-D
/// ASTC, PVRTC, EAC R11 and RG11, and channels of 16 or 32 bits.
[[nodiscard]] std::int32_t Gl_GetComponentCount(std::uint32_t glFormat) noexcept;

/// Bits of a packed pixel; 8 for each component where the format is not packed, 0 if unknown.
[[nodiscard]] std::uint32_t Gl_GetBitsPerPixel(std::uint32_t glInternalFormat) noexcept;

/// Sets the layout's masks and its GL format code; what derives from the masks stays as it is.
/// A format without masks of its own gets those of the bytes R, G, B, A.
void Gl_SetChannelMasks(ChannelLayout& layout, std::uint32_t glInternalFormat) noexcept;

/// The layout with these masks, and what derives from them.
[[nodiscard]] ChannelLayout Gl_GetChannelLayout(std::uint32_t glInternalFormat) noexcept;

}  // namespace koru
