// From one level's payload to the pixels of a prepared surface: the steps that the readers of KTX
// and PVR share.
#pragma once

#include <cstdint>

#include "astc/astc_codec.h"
#include "blocks/s3tc_decoder.h"
#include "core/byte_buffer.h"
#include "core/channel_layout.h"
#include "core/decode_surface.h"
#include "core/level_table.h"
#include "formats/expand.h"
#include "formats/fill_surface.h"

namespace koru {

/// Where a reader wants its image, and what its header says of it.
struct PayloadTarget {
    DecodeSurface& surface;
    std::uint32_t width = 0;   ///< Pixels per row; not 0.
    std::uint32_t height = 0;  ///< Rows; not 0.
    std::uint32_t orientation = 0;
    ExpandMember member = ExpandMember::Ktx;
};

/// Which output code of the ETC decoder tells a reader the component count.
enum class EtcComponents { OfFormat, OfInternalFormat };

// Each of the following gives the surface its layout and its pixels: 1. Without memory, or where
// sizes do not fit 32 bits: 0. A payload that is too short: 1, and the surface stays as it was.
// A surface is 32-bit for four components, and once it was for every later image.

/// Components of 8 bits each, as a decoder gives them. Of `decodedSize` bytes that count, those
/// behind the decoder's last row read as 0.
[[nodiscard]] int Payload_TakeRows(const PayloadTarget& target, RowDecoder& decoder,
                                   std::uint32_t decodedSize,
                                   std::uint32_t componentCount) noexcept;

/// Opaque black.
[[nodiscard]] int Payload_MakeBlank(const PayloadTarget& target,
                                    std::uint32_t componentCount) noexcept;

/// Packed pixels; the payload may become the surface's pixels.
[[nodiscard]] int Payload_ExpandPacked(const PayloadTarget& target, LevelEntry& level,
                                       std::uint32_t componentCount, std::uint32_t bitsPerPixel,
                                       const ChannelLayout& layout) noexcept;

/// S3TC blocks, decoded to 3 or 4 components.
[[nodiscard]] int Payload_DecodeS3tc(const PayloadTarget& target, const LevelEntry& level,
                                     S3tcMode mode, std::uint32_t componentCount) noexcept;

/// ETC and EAC blocks of the level's own size. An entry without payload gives opaque black.
[[nodiscard]] int Payload_DecodeEtc(const PayloadTarget& target, const LevelEntry& level,
                                    std::uint32_t glInternalFormat,
                                    EtcComponents components) noexcept;

/// ASTC blocks. A payload that the codec refuses, also a short or empty one, gives opaque black.
[[nodiscard]] int Payload_DecodeAstc(const PayloadTarget& target, const LevelEntry& level,
                                     const AstcFootprint& footprint) noexcept;

}  // namespace koru
