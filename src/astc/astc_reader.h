// The ".astc" container: a 16-byte header and the blocks of one image.
#pragma once

#include <cstdint>
#include <optional>

#include "astc/astc_codec.h"
#include "core/load_sequence.h"

namespace koru {

inline constexpr std::uint32_t kAstcMagic = 0x5CA1AB13;
inline constexpr std::uint32_t kAstcHeaderBytes = 16;

/// Layout (little-endian): magic 4, block width 1, height 1, depth 1, image width 3, height 3,
/// depth 3, as the Arm ASTC Encoder documents it.
struct AstcHeader {
    AstcFootprint footprint;  ///< A 0 in the file is 1 here.
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t depth = 0;
};

extern FormatState g_astcState;

/// Takes the header off the source: nothing on a short source, another magic, a width or height of
/// 0, or a depth other than 1. The footprint is the codec's to judge.
[[nodiscard]] std::optional<AstcHeader> Astc_ReadHeader(SourceBuffer& source) noexcept;

/// Bytes of all blocks of the image; nothing if they do not fit 32 bits.
[[nodiscard]] std::optional<std::uint32_t> Astc_GetPayloadBytes(const AstcHeader& header) noexcept;

/// Reads the header and decodes the payload into the ASTC surface; 1 or 0. Bytes behind the
/// payload are ignored.
[[nodiscard]] int Astc_ReadContainer(SourceBuffer& source, const KORU_Char* name);

inline constexpr ContainerFormat kAstcFormat{
    .state = g_astcState, .memoryName = "memory.astc", .parse = Astc_ReadContainer};

}  // namespace koru
