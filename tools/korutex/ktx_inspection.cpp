#include "ktx_inspection.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "blocks/etc_decoder.h"
#include "blocks/payload_size.h"
#include "core/bytes.h"
#include "core/source_buffer.h"
#include "formats/format_names.h"
#include "formats/gl_codes.h"
#include "formats/gl_formats.h"
#include "formats/vk_formats.h"
#include "ktx/ktx_contents.h"
#include "ktx/ktx_key_value.h"
#include "ktx/ktx_levels.h"

namespace koru_host {
namespace {

using koru::kRgbaBytes;
using koru::kRgbBytes;
using koru::KtxHeaderFault;
using koru::KtxWay;

constexpr std::uint32_t kSwappedEndianness = 0x01020304;
constexpr std::uint64_t kAstcBlockBytes = 16;

/// The file from its start.
koru::SourceBuffer Inspect_Open(std::span<const std::uint8_t> bytes) {
    return koru::Source_Borrow(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

KtxRefusal Inspect_FromFault(KtxHeaderFault fault) {
    switch (fault) {
        case KtxHeaderFault::Endianness:
            return KtxRefusal::Endianness;
        case KtxHeaderFault::TypeSize:
            return KtxRefusal::TypeSize;
        case KtxHeaderFault::Width:
        case KtxHeaderFault::Height:
            return KtxRefusal::Size;
        case KtxHeaderFault::VkFormat:
            return KtxRefusal::VkFormat;
        case KtxHeaderFault::Supercompression:
            return KtxRefusal::Supercompression;
        case KtxHeaderFault::None:
            break;
    }
    return KtxRefusal::None;
}

/// Where the library runs into the end of a file whose contents it cannot read; `source` stands
/// behind the header.
KtxRefusal Inspect_FindCut(koru::SourceBuffer& source, const koru::Ktx11Header& header) {
    if (header.bytesOfKeyValueData != 0 && !koru::Ktx_ReadPair(source)) {
        return KtxRefusal::KeyValueCut;
    }
    return KtxRefusal::LevelSizesCut;
}

KtxRefusal Inspect_FindCut(koru::SourceBuffer& source, const koru::Ktx20Header& header) {
    if (!koru::Ktx_FindLevel20(source, header)) return KtxRefusal::LevelIndexCut;
    return koru::Source_GetRemaining(source) < 4 ? KtxRefusal::DescriptorCut
                                                 : KtxRefusal::KeyValueCut;
}

/// 64 bits hold the product for every size whose pixels fit 32 bits; others are refused anyway.
std::uint64_t Inspect_CountAstcBytes(const KtxFacts& facts) {
    const auto countBlocks = [](std::uint64_t texels, std::uint64_t blockTexels) {
        return (texels + blockTexels - 1) / blockTexels;
    };
    return countBlocks(facts.width, facts.blockWidth) *
           countBlocks(facts.height, facts.blockHeight) * kAstcBlockBytes;
}

bool Inspect_ArePixelsTooLarge(const KtxFacts& facts) {
    return !koru::Size_GetPacked(facts.width, facts.height, kRgbaBytes);
}

/// Nothing if the image takes 4 GiB or more.
std::optional<std::uint64_t> Inspect_GetNeededBytes(const KtxFacts& facts) {
    const std::uint32_t width = facts.width;
    const std::uint32_t height = facts.height;
    switch (facts.way.way) {
        case KtxWay::S3tc:
            return koru::S3tc_GetPayloadBytes(facts.way.s3tcMode, width, height);
        case KtxWay::Etc:
            return koru::Etc_GetPayloadBytes(facts.glInternalFormat, width, height);
        case KtxWay::Astc:
            return Inspect_CountAstcBytes(facts);
        case KtxWay::Packed:
            return koru::Payload_GetPackedBytes(width, height, facts.way.componentCount);
        case KtxWay::None:
            break;
    }
    return 0;
}

KtxRefusal Inspect_FindFormatRefusal(const KtxFacts& facts) {
    if (facts.way.way == KtxWay::Packed) {
        return facts.way.componentCount == 0 ? KtxRefusal::NoDecoder : KtxRefusal::None;
    }
    if (facts.way.way != KtxWay::None) return KtxRefusal::None;
    const koru::GlFormatSize size = koru::Gl_GetFormatSize(facts.glInternalFormat);
    const bool isUncompressed =
        size.blockSizeInBits != 0 && (size.flags & koru::kGlCompressed) == 0;
    return isUncompressed ? KtxRefusal::NotCompressed : KtxRefusal::NoDecoder;
}

KtxRefusal Inspect_FindPayloadRefusal(KtxFacts& facts, const koru::KtxLevelRange& level) {
    if (level.isPresent && level.byteSize == 0) return KtxRefusal::LevelTooLong;
    if (facts.presentBytes < facts.levelBytes) return KtxRefusal::LevelCut;
    if (const KtxRefusal refusal = Inspect_FindFormatRefusal(facts); refusal != KtxRefusal::None) {
        return refusal;
    }
    const auto neededBytes = Inspect_GetNeededBytes(facts);
    if (!neededBytes) return KtxRefusal::TooLarge;
    facts.neededBytes = *neededBytes;
    // These two load with too few blocks; the picture is blank then.
    const bool mayBeBlank =
        facts.way.way == KtxWay::Astc || (facts.way.way == KtxWay::Etc && !level.isPresent);
    if (!mayBeBlank && facts.levelBytes < *neededBytes) return KtxRefusal::TooShort;
    return Inspect_ArePixelsTooLarge(facts) ? KtxRefusal::TooLarge : KtxRefusal::None;
}

bool Inspect_IsSheared(const KtxFacts& facts, std::uint32_t componentCount) {
    return componentCount == kRgbBytes && facts.width % 4 != 0 && facts.height > 1;
}

std::optional<KtxOddity> Inspect_FindEtcOddity(const KtxFacts& facts) {
    if (facts.levelBytes == 0) return KtxOddity::Empty;
    switch (facts.glInternalFormat) {
        case koru::GL_COMPRESSED_R11_EAC:
        case koru::GL_COMPRESSED_SIGNED_R11_EAC:
            return KtxOddity::RawSamples;
        case koru::GL_COMPRESSED_RG11_EAC:
        case koru::GL_COMPRESSED_SIGNED_RG11_EAC:
            return KtxOddity::TwoChannels;
        default:
            break;
    }
    const auto componentCount =
        static_cast<std::uint32_t>(koru::Gl_GetComponentCount(facts.glInternalFormat));
    if (Inspect_IsSheared(facts, componentCount)) return KtxOddity::Sheared;
    return std::nullopt;
}

constexpr bool Inspect_IsBgr(std::uint32_t glFormat) {
    return glFormat == koru::GL_BGR || glFormat == koru::GL_BGRA ||
           glFormat == koru::GL_BGR_INTEGER || glFormat == koru::GL_BGRA_INTEGER;
}

std::optional<KtxOddity> Inspect_FindPackedOddity(const KtxFacts& facts) {
    const koru::GlFormatSize size = koru::Gl_GetFormatSize(facts.glInternalFormat);
    if ((size.flags & koru::kGlCompressed) != 0) return KtxOddity::BlocksAsPixels;
    switch (facts.glInternalFormat) {
        case koru::GL_LUMINANCE_ALPHA:
            return KtxOddity::NoConversion;
        case koru::GL_RGB10_A2:
        case koru::GL_RGB10_A2UI:
        case koru::GL_RGB9_E5:
            return KtxOddity::WideChannels;
        default:
            break;
    }
    const bool hasWholeBytes =
        facts.way.componentCount >= kRgbBytes &&
        koru::Gl_GetBitsPerPixel(facts.glInternalFormat) == 8 * facts.way.componentCount;
    if (hasWholeBytes && (Inspect_IsBgr(facts.glFormat) || Inspect_IsBgr(facts.glInternalFormat))) {
        return KtxOddity::Swapped;
    }
    return std::nullopt;
}

std::optional<KtxOddity> Inspect_FindPixelOddity(const KtxFacts& facts) {
    switch (facts.way.way) {
        case KtxWay::S3tc:
            if (Inspect_IsSheared(facts, facts.way.componentCount)) return KtxOddity::Sheared;
            break;
        case KtxWay::Etc:
            return Inspect_FindEtcOddity(facts);
        case KtxWay::Astc:
            if (facts.levelBytes < facts.neededBytes) return KtxOddity::ShortBlocks;
            break;
        case KtxWay::Packed:
            return Inspect_FindPackedOddity(facts);
        case KtxWay::None:
            break;
    }
    return std::nullopt;
}

constexpr bool Inspect_IsBlank(KtxOddity oddity) {
    return oddity == KtxOddity::Empty || oddity == KtxOddity::ShortBlocks ||
           oddity == KtxOddity::TwoChannels || oddity == KtxOddity::NoConversion;
}

std::vector<KtxOddity> Inspect_FindOddities(const KtxFacts& facts, bool isUpsideDown) {
    std::vector<KtxOddity> oddities;
    if (const auto oddity = Inspect_FindPixelOddity(facts)) oddities.push_back(*oddity);
    // A blank picture has no upside.
    const bool isBlank = !oddities.empty() && Inspect_IsBlank(oddities.front());
    if (isUpsideDown && !isBlank) oddities.push_back(KtxOddity::UpsideDown);
    return oddities;
}

/// What the two versions have in common; `source` stands behind the header.
template <typename Header>
void Inspect_Contents(KtxInspection& inspection, koru::SourceBuffer& source, const Header& header,
                      const std::optional<koru::KtxContents>& contents,
                      std::span<const std::uint8_t> bytes) {
    KtxFacts& facts = *inspection.facts;
    if (!contents) {
        if (inspection.refusal == KtxRefusal::None) {
            inspection.refusal = Inspect_FindCut(source, header);
        }
        return;
    }
    const koru::KtxLevelRange& level = contents->level;
    facts.levelBytes = level.isPresent ? level.byteSize : 0;
    const std::uint64_t behindOffset =
        level.byteOffset < bytes.size() ? bytes.size() - level.byteOffset : 0;
    facts.presentBytes = std::min(facts.levelBytes, behindOffset);

    bool isUpsideDown = false;
    if (contents->pair) {
        const auto orientation = facts.version == koru::KtxVersion::Ktx11
                                     ? koru::Ktx_GetOrientation11(*contents->pair)
                                     : koru::Ktx_GetOrientation20(*contents->pair);
        if (orientation) facts.orientation = contents->pair->value;
        isUpsideDown = orientation == 1u;
    }
    if (inspection.refusal != KtxRefusal::None) return;
    inspection.refusal = Inspect_FindPayloadRefusal(facts, level);
    if (inspection.refusal == KtxRefusal::None) {
        inspection.oddities = Inspect_FindOddities(facts, isUpsideDown);
    }
}

KtxInspection Inspect_File11(std::span<const std::uint8_t> bytes, const koru::Ktx11Header& header) {
    KtxInspection inspection;
    inspection.refusal = Inspect_FromFault(koru::Ktx_FindFault(header));
    if (inspection.refusal == KtxRefusal::Endianness) {
        // Nothing else in the header can be trusted.
        if (header.endianness == kSwappedEndianness) inspection.refusal = KtxRefusal::BigEndian;
        return inspection;
    }
    const bool isCompressed = koru::Ktx_IsCompressed(header);
    const koru::GlFormatSize size = koru::Gl_GetFormatSize(header.glInternalFormat);
    inspection.facts = KtxFacts{.version = koru::KtxVersion::Ktx11,
                                .width = header.pixelWidth,
                                .height = header.pixelHeight,
                                .depth = header.pixelDepth,
                                .layers = header.numberOfArrayElements,
                                .faces = header.numberOfFaces,
                                .levels = header.numberOfMipmapLevels,
                                .typeSize = header.glTypeSize,
                                .glType = header.glType,
                                .glFormat = header.glFormat,
                                .glInternalFormat = header.glInternalFormat,
                                .way = koru::Ktx_ChooseWay(header.glInternalFormat, isCompressed),
                                .blockWidth = size.blockWidth,
                                .blockHeight = size.blockHeight,
                                .orientation = {}};
    koru::SourceBuffer source = Inspect_Open(bytes);
    koru::Source_Seek(source, koru::kKtx11HeaderBytes);
    const auto contents = koru::Ktx_ReadContents11(source, header, isCompressed);
    koru::Source_Seek(source, koru::kKtx11HeaderBytes);
    Inspect_Contents(inspection, source, header, contents, bytes);
    return inspection;
}

KtxInspection Inspect_File20(std::span<const std::uint8_t> bytes, const koru::Ktx20Header& header) {
    const koru::GlFormatSize size = koru::Vk_GetFormatSize(header.vkFormat);
    const bool isCompressed = (size.flags & koru::kGlCompressed) != 0;
    const std::uint32_t glInternalFormat = koru::Vk_ToGlInternalFormat(header.vkFormat);
    KtxInspection inspection;
    inspection.refusal = Inspect_FromFault(koru::Ktx_FindFault(header));
    inspection.facts = KtxFacts{.version = koru::KtxVersion::Ktx20,
                                .width = header.pixelWidth,
                                .height = header.pixelHeight,
                                .depth = header.pixelDepth,
                                .layers = header.layerCount,
                                .faces = header.faceCount,
                                .levels = header.levelCount,
                                .typeSize = header.typeSize,
                                .vkFormat = header.vkFormat,
                                .supercompression = header.supercompressionScheme,
                                .glInternalFormat = glInternalFormat,
                                .isVkFormatKnown = size.blockSizeInBits != 0,
                                .way = koru::Ktx_ChooseWay(glInternalFormat, isCompressed),
                                .blockWidth = size.blockWidth,
                                .blockHeight = size.blockHeight,
                                .orientation = {}};
    koru::SourceBuffer source = Inspect_Open(bytes);
    koru::Source_Seek(source, koru::kKtx20HeaderBytes);
    const auto contents = koru::Ktx_ReadContents20(source, header);
    koru::Source_Seek(source, koru::kKtx20HeaderBytes);
    Inspect_Contents(inspection, source, header, contents, bytes);
    return inspection;
}

std::string Inspect_FormatHex(std::uint32_t number) {
    std::array<char, 16> text{};
    (void)std::snprintf(text.data(), text.size(), "0x%04X", static_cast<unsigned>(number));
    return text.data();
}

}  // namespace

KtxInspection Ktx_Inspect(std::span<const std::uint8_t> bytes) {
    koru::SourceBuffer source = Inspect_Open(bytes);
    const auto raw = koru::Source_Take<koru::kKtx11HeaderBytes>(source);
    if (!raw) return {.facts = {}, .refusal = KtxRefusal::HeaderCut, .oddities = {}};
    switch (koru::Ktx_IdentifyVersion(*raw)) {
        case koru::KtxVersion::Ktx11:
            return Inspect_File11(bytes, koru::Ktx_LoadHeader11(*raw));
        case koru::KtxVersion::Ktx20: {
            koru::Source_Seek(source, 0);
            const auto raw20 = koru::Source_Take<koru::kKtx20HeaderBytes>(source);
            if (!raw20) return {.facts = {}, .refusal = KtxRefusal::HeaderCut, .oddities = {}};
            return Inspect_File20(bytes, koru::Ktx_LoadHeader20(*raw20));
        }
        case koru::KtxVersion::None:
            break;
    }
    return {};
}

bool Ktx_IsVersion20(const KtxFacts& facts) { return facts.version == koru::KtxVersion::Ktx20; }

bool Ktx_HasGlFormat(const KtxFacts& facts) {
    return !Ktx_IsVersion20(facts) || facts.glInternalFormat != koru::GL_INVALID_VALUE;
}

std::string Ktx_GetGlName(std::uint32_t glCode) {
    const std::string_view name = koru::Gl_GetName(glCode);
    return name.empty() ? Inspect_FormatHex(glCode) : std::string(name);
}

std::string Ktx_GetFormatName(const KtxFacts& facts) {
    if (facts.version == koru::KtxVersion::Ktx11) return Ktx_GetGlName(facts.glInternalFormat);
    const std::string_view name = koru::Vk_GetName(facts.vkFormat);
    return name.empty() ? std::to_string(facts.vkFormat) : std::string(name);
}

std::string Ktx_GetSchemeName(std::uint32_t supercompression) {
    static constexpr std::array<const char*, 4> kNames{"none", "BasisLZ", "Zstandard", "ZLIB"};
    return supercompression < kNames.size() ? kNames.at(supercompression)
                                            : std::to_string(supercompression);
}

std::string Ktx_GetWayName(const KtxFacts& facts) {
    switch (facts.way.way) {
        case KtxWay::S3tc:
            return "S3TC blocks";
        case KtxWay::Etc:
            return "ETC blocks";
        case KtxWay::Astc:
            return "ASTC " + std::to_string(facts.blockWidth) + 'x' +
                   std::to_string(facts.blockHeight) + " blocks";
        case KtxWay::Packed:
            if (facts.way.componentCount != 0) return "packed pixels";
            break;
        case KtxWay::None:
            break;
    }
    return {};
}

}  // namespace koru_host
