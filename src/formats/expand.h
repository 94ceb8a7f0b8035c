// Packed source pixels to the 8-bit channels of a decode surface.
#pragma once

#include <cstdint>

#include "core/byte_buffer.h"
#include "core/channel_layout.h"
#include "core/decode_surface.h"

namespace koru {

/// Packed pixels in memory, little-endian, rows padded to a multiple of 4 bytes.
struct PackedPixels {
    const std::uint8_t* data = nullptr;
    std::uint32_t size = 0;      ///< Bytes that count as pixels; the ends of rows look at this.
    std::uint32_t readable = 0;  ///< Bytes that may be read. Bytes behind them read as 0.
    std::uint32_t bitsPerPixel = 0;
};

/// `size` bytes that count, of which a buffer holds the first; its slack may be read.
[[nodiscard]] PackedPixels Packed_FromBuffer(const ByteBuffer& buffer, std::uint32_t size,
                                             std::uint32_t bitsPerPixel) noexcept;

/// The three members of the family. They differ in which conversions of 32-bit pixels they know,
/// and in what they make of bitsPerPixel.
enum class ExpandMember {
    Ktx,   ///< 8, 16, 24 and 32 bits; all formats.
    Pvr,   ///< As Ktx, but GL_R11F_G11F_B10F is copied as four bytes.
    Astc,  ///< 32 bits whatever bitsPerPixel says, rows unpadded; no GL_R11F_G11F_B10F.
};

/// Converts every pixel of the surface that the source reaches; the others keep what they hold.
/// `layout.glFormat` selects the conversion of 16- and 32-bit pixels. 1 on completion, 0 without
/// surface pixels, source, size or bits per pixel.
///
/// Per-pixel rules:
///   8 bits   grey
///   16 bits  GL_RGB565, GL_RGB5, GL_RGB5_A1, GL_RGBA4; others give opaque black
///   24 bits  R, G, B as they are
///   32 bits  GL_RGB10_A2(UI), GL_RGB9_E5, GL_R11F_G11F_B10F; others R, G, B, A as they are
/// Alpha is written for 16- and 32-bit sources only, and only to 32-bit surfaces.
int ExpandPackedPixels(DecodeSurface& surface, const PackedPixels& source,
                       const ChannelLayout& layout) noexcept;
int ExpandPackedPixelsPvr(DecodeSurface& surface, const PackedPixels& source,
                          const ChannelLayout& layout) noexcept;
int ExpandPackedPixelsAstc(DecodeSurface& surface, const PackedPixels& source,
                           const ChannelLayout& layout) noexcept;

/// Whether expansion would fill the whole surface with an unchanged copy of the source's start.
[[nodiscard]] bool Expand_IsCopy(const DecodeSurface& surface, const PackedPixels& source,
                                 const ChannelLayout& layout, ExpandMember member) noexcept;

/// Fills a surface that has its layout but no pixels: what giving it opaque black pixels and
/// expanding `sourceSize` bytes into them does, a refused expansion included, in the form that the
/// surface wants. Where that would be a copy, `source` itself becomes the pixels. `source` may hold
/// fewer bytes; the others read as 0. 1, or 0 without memory.
[[nodiscard]] int Expand_TakePixels(DecodeSurface& surface, ByteBuffer source,
                                    std::uint32_t sourceSize, std::uint32_t bitsPerPixel,
                                    const ChannelLayout& layout, ExpandMember member) noexcept;

}  // namespace koru
