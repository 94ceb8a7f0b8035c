// What the bytes of a KTX file say of it: facts for people, the rule by which the library refuses
// it, and what its picture does not show. The parsing is the library's own.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ktx/ktx_header.h"
#include "ktx/ktx_way.h"

namespace koru_host {

/// The first rule that a file breaks, in the order in which the library meets them.
enum class KtxRefusal {
    None,  ///< Or none that is known here.
    HeaderCut,
    BigEndian,
    Endianness,  ///< Neither byte order.
    VkFormat,
    TypeSize,
    Size,
    Supercompression,
    KeyValueCut,
    LevelSizesCut,
    LevelIndexCut,
    DescriptorCut,
    LevelTooLong,  ///< 4 GiB or more.
    LevelCut,
    NoDecoder,
    NotCompressed,  ///< Declared compressed, with a format that is not.
    TooShort,
    TooLarge,
};

/// What is odd about the picture of a file that loads.
enum class KtxOddity {
    Empty,           ///< ETC without payload.
    ShortBlocks,     ///< ASTC with too few blocks.
    TwoChannels,     ///< EAC RG11.
    RawSamples,      ///< EAC R11.
    Sheared,         ///< Decoded rows of 3 bytes a pixel that are read as if they were padded.
    BlocksAsPixels,  ///< A compressed format that is not declared so.
    NoConversion,    ///< 16-bit pixels that become black.
    WideChannels,    ///< Channels of more than 8 bits, cut instead of scaled.
    Swapped,         ///< B, G, R taken for R, G, B.
    UpsideDown,
};

struct KtxFacts {
    koru::KtxVersion version = koru::KtxVersion::None;

    // The header's own numbers.
    std::uint32_t width = 0, height = 0, depth = 0;
    std::uint32_t layers = 0, faces = 0, levels = 0;
    std::uint32_t typeSize = 0;
    std::uint32_t glType = 0, glFormat = 0;  ///< KTX 1.1
    std::uint32_t vkFormat = 0;              ///< KTX 2.0
    std::uint32_t supercompression = 0;      ///< KTX 2.0

    /// What the payload is decoded as. KTX 2.0: GL_INVALID_VALUE if the VkFormat has no such code.
    std::uint32_t glInternalFormat = 0;
    bool isVkFormatKnown = false;  ///< KTX 2.0; otherwise nothing but the number is known.
    koru::KtxPixelWay way;
    std::uint32_t blockWidth = 1, blockHeight = 1;
    std::string orientation;  ///< As the file has it; empty if its first pair is another one.

    // Of the first level.
    std::uint64_t levelBytes = 0;
    std::uint64_t presentBytes = 0;  ///< As far as the file goes.
    std::uint64_t neededBytes = 0;   ///< 0 if unknown.
};

struct KtxInspection {
    std::optional<KtxFacts> facts;  ///< Nothing if the header cannot be read.
    KtxRefusal refusal = KtxRefusal::None;
    std::vector<KtxOddity> oddities;  ///< For a file that is not refused.
};

/// `bytes` are the whole file, below 4 GiB.
KtxInspection Ktx_Inspect(std::span<const std::uint8_t> bytes);

[[nodiscard]] bool Ktx_IsVersion20(const KtxFacts& facts);

/// False for a VkFormat that is decoded as none.
[[nodiscard]] bool Ktx_HasGlFormat(const KtxFacts& facts);

/// "GL_RGB8", or the number in hexadecimal.
std::string Ktx_GetGlName(std::uint32_t glCode);

/// The format by the name that the file's version uses; VkFormats without a name are decimal.
std::string Ktx_GetFormatName(const KtxFacts& facts);

/// "BasisLZ", "none", or the number.
std::string Ktx_GetSchemeName(std::uint32_t supercompression);

/// "ASTC 6x6 blocks", "packed pixels", ...; empty for a format that is not decoded.
std::string Ktx_GetWayName(const KtxFacts& facts);

}  // namespace koru_host
