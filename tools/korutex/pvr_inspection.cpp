#include "pvr_inspection.h"

#include <algorithm>
#include <bit>

#include "blocks/etc_decoder.h"
#include "blocks/payload_size.h"
#include "core/bytes.h"
#include "core/source_buffer.h"
#include "formats/gl_codes.h"
#include "formats/gl_formats.h"
#include "pvr/pvr_contents.h"
#include "pvr/pvr_header.h"
#include "pvr/pvrtc_decoder.h"

namespace koru_host {
namespace {

using koru::kRgbaBytes;
using koru::kRgbBytes;
using koru::PvrWay;

constexpr std::uint32_t kOrientationKey = 3;

using ChannelNames = std::array<std::uint8_t, 4>;
constexpr ChannelNames kBgra{'b', 'g', 'r', 'a'};
constexpr ChannelNames kBgr{'b', 'g', 'r', 0};
constexpr ChannelNames kRgbx{'r', 'g', 'b', 'x'};

/// Nothing if the image takes 4 GiB or more.
std::optional<std::uint32_t> Inspect_GetNeededBytes(const PvrFacts& facts) {
    const koru::PvrPixelWay& way = facts.way;
    switch (way.way) {
        case PvrWay::Packed:
            return koru::Payload_GetPackedBytes(facts.width, facts.height, way.componentCount);
        case PvrWay::Pvrtc:
            return koru::Pvrtc_GetPayloadBytes(way.is2Bpp, facts.width, facts.height);
        case PvrWay::Etc:
            return koru::Etc_GetPayloadBytes(way.glFormat, facts.width, facts.height);
        case PvrWay::S3tc:
            return koru::S3tc_GetPayloadBytes(way.s3tcMode, facts.width, facts.height);
        case PvrWay::None:
            break;
    }
    return 0;
}

PvrRefusal Inspect_FindPayloadRefusal(PvrFacts& facts) {
    if (facts.presentBytes < facts.payloadBytes) return PvrRefusal::DataCut;
    if (facts.width == 0 || facts.height == 0) return PvrRefusal::Size;
    if (facts.way.way == PvrWay::None) return PvrRefusal::NoDecoder;
    if (facts.way.way == PvrWay::Packed && facts.way.componentCount == 0) {
        return facts.isLegacy ? PvrRefusal::NoDecoder : PvrRefusal::NoChannels;
    }
    const auto neededBytes = Inspect_GetNeededBytes(facts);
    facts.neededBytes = neededBytes.value_or(0);
    // ETC loads without payload; the picture is blank then.
    const bool mayBeBlank = facts.way.way == PvrWay::Etc && facts.payloadBytes == 0;
    if (!mayBeBlank) {
        if (!neededBytes) return PvrRefusal::TooLarge;
        if (facts.payloadBytes < *neededBytes) return PvrRefusal::TooShort;
    }
    const bool fits = koru::Size_GetPacked(facts.width, facts.height, kRgbaBytes).has_value();
    return fits ? PvrRefusal::None : PvrRefusal::TooLarge;
}

/// Whether any of the pixels that DXT1 blocks give to the picture's 4 x 4 grid is transparent.
bool Inspect_HasTransparentDxt1(std::span<const std::uint8_t> blocks) {
    constexpr std::size_t kBlockBytes = 8;
    for (; blocks.size() >= kBlockBytes; blocks = blocks.subspan(kBlockBytes)) {
        const auto block = blocks.first<kBlockBytes>();
        const std::uint32_t colors = koru::Bytes_LoadLe32<0>(block);
        if ((colors & 0xFFFF) > colors >> 16) continue;
        const std::uint32_t indices = koru::Bytes_LoadLe32<4>(block);
        if ((indices & indices >> 1 & 0x55555555) != 0) return true;
    }
    return false;
}

/// In blocks of 3 components, decoded rows are read as if they were padded.
bool Inspect_IsSheared(const PvrFacts& facts, std::uint32_t componentCount) {
    return componentCount == kRgbBytes && facts.width % 4 != 0 && facts.height > 1;
}

void Inspect_AddBlockOddities(PvrInspection& inspection, std::span<const std::uint8_t> payload) {
    const PvrFacts& facts = *inspection.facts;
    std::uint32_t componentCount = facts.way.componentCount;
    if (facts.way.way == PvrWay::Etc) {
        componentCount = static_cast<std::uint32_t>(koru::Gl_GetComponentCount(facts.way.glFormat));
        if (facts.payloadBytes == 0) {
            inspection.oddities.push_back(PvrOddity::Empty);
            return;
        }
        if (componentCount == 0) {
            inspection.oddities.push_back(PvrOddity::NoConversion);
            return;
        }
    }
    const bool hasPowers = std::has_single_bit(facts.width) && std::has_single_bit(facts.height);
    if (facts.way.way == PvrWay::Pvrtc && !hasPowers) {
        inspection.oddities.push_back(PvrOddity::NotPowersOfTwo);
    }
    if (Inspect_IsSheared(facts, componentCount)) {
        inspection.oddities.push_back(PvrOddity::Sheared);
    }
    if (facts.way.way == PvrWay::S3tc && facts.way.s3tcMode == koru::S3tcMode::Dxt1 &&
        Inspect_HasTransparentDxt1(payload.first(facts.neededBytes))) {
        inspection.oddities.push_back(PvrOddity::NoAlpha);
    }
}

void Inspect_AddRowOddities(PvrInspection& inspection) {
    const PvrFacts& facts = *inspection.facts;
    // The picture is smaller than 4 GiB, so 64 bits hold these.
    const std::uint64_t rowBytes = std::uint64_t{facts.width} * facts.way.bitsPerPixel / 8;
    const std::uint64_t stride = (rowBytes + 3) / 4 * 4;
    if (facts.payloadBytes < stride * (facts.height - 1) + rowBytes) {
        inspection.oddities.push_back(PvrOddity::PixelsMissing);
    }
    if (stride != rowBytes && facts.height > 1 && facts.payloadBytes != stride * facts.height) {
        inspection.oddities.push_back(PvrOddity::PackedRows);
    }
}

void Inspect_AddPackedOddities(PvrInspection& inspection) {
    const PvrFacts& facts = *inspection.facts;
    if (facts.way.bitsPerPixel == 0) {
        inspection.oddities.push_back(PvrOddity::NoConversion);
        return;
    }
    Inspect_AddRowOddities(inspection);
    switch (facts.way.glFormat) {
        case koru::GL_R11F_G11F_B10F:
            inspection.oddities.push_back(PvrOddity::FloatBytes);
            return;
        case koru::GL_RGB10_A2:
            inspection.oddities.push_back(PvrOddity::WideChannels);
            break;
        default:
            break;
    }
    if (facts.channelNames == kBgra || facts.channelNames == kBgr) {
        inspection.oddities.push_back(PvrOddity::Swapped);
    }
    if (facts.channelNames == kRgbx && facts.way.glFormat == koru::GL_RGBA8) {
        inspection.oddities.push_back(PvrOddity::UnusedIsAlpha);
    }
}

void Inspect_AddOddities(PvrInspection& inspection, std::span<const std::uint8_t> payload) {
    const PvrFacts& facts = *inspection.facts;
    if (facts.way.way == PvrWay::Packed) {
        Inspect_AddPackedOddities(inspection);
    } else {
        Inspect_AddBlockOddities(inspection, payload);
    }
    const auto has = [&inspection](PvrOddity oddity) {
        return std::ranges::find(inspection.oddities, oddity) != inspection.oddities.end();
    };
    // A blank picture has no upside.
    const bool isBlank = has(PvrOddity::Empty) || has(PvrOddity::NoConversion);
    if (facts.isUpsideDown && !isBlank) inspection.oddities.push_back(PvrOddity::UpsideDown);
}

/// `source` stands where the payload begins.
void Inspect_Payload(PvrInspection& inspection, const koru::SourceBuffer& source,
                     std::uint64_t payloadBytes) {
    PvrFacts& facts = *inspection.facts;
    const std::uint32_t remaining = koru::Source_GetRemaining(source);
    facts.payloadBytes = payloadBytes;
    facts.presentBytes = std::min<std::uint64_t>(payloadBytes, remaining);
    if (inspection.refusal != PvrRefusal::None) return;
    inspection.refusal = Inspect_FindPayloadRefusal(facts);
    if (inspection.refusal == PvrRefusal::None) {
        Inspect_AddOddities(inspection, {source.data + source.offset, facts.presentBytes});
    }
}

PvrRefusal Inspect_FromFault(koru::PvrHeaderFault fault) {
    switch (fault) {
        case koru::PvrHeaderFault::DataSize:
            return PvrRefusal::NoData;
        case koru::PvrHeaderFault::Width:
        case koru::PvrHeaderFault::Height:
            return PvrRefusal::Size;
        case koru::PvrHeaderFault::Magic:  // not met: other files are not inspected
        case koru::PvrHeaderFault::None:
            break;
    }
    return PvrRefusal::None;
}

PvrInspection Inspect_Legacy(const koru::SourceBuffer& source,
                             const koru::PvrLegacyHeader& header) {
    const std::uint32_t pixelType = header.GetPixelType();
    // Nothing is decoded of a type that is in no set, whatever an earlier load has left.
    const bool isCompressed = koru::Pvr_ClassifyLegacy(pixelType).value_or(false);
    const koru::PvrContents contents = koru::Pvr_GetLegacyContents(header, isCompressed);
    PvrInspection inspection;
    inspection.refusal = Inspect_FromFault(koru::Pvr_FindFault(header));
    PvrFacts& facts = inspection.facts.emplace();
    facts.isLegacy = true;
    facts.width = header.width;
    facts.height = header.height;
    facts.surfaces = header.surfaceCount;
    facts.mipMapCount = header.mipMapCount;
    facts.flags = header.flags;
    facts.pixelType = pixelType;
    facts.isUpsideDown = contents.orientation != 0;
    facts.way = contents.way;
    Inspect_Payload(inspection, source, contents.payloadBytes);
    return inspection;
}

/// Nothing if there is none, or the file cuts it.
std::optional<PvrMetadata> Inspect_ReadMetadata(koru::SourceBuffer source,
                                                const koru::PvrV3Header& header) {
    if (header.metadataSize == 0) return std::nullopt;
    const auto entry = koru::Source_Take<8>(source);
    if (!entry) return std::nullopt;
    return PvrMetadata{.fourCC = koru::Bytes_LoadLe32<0>(*entry),
                       .key = koru::Bytes_LoadLe32<4>(*entry)};
}

PvrInspection Inspect_V3(koru::SourceBuffer& source, const koru::PvrV3Header& header) {
    PvrInspection inspection;
    PvrFacts& facts = inspection.facts.emplace();
    facts.width = header.width;
    facts.height = header.height;
    facts.depth = header.depth;
    facts.surfaces = header.surfaceCount;
    facts.faces = header.faceCount;
    facts.mipMapCount = header.mipMapCount;
    facts.flags = header.flags;
    facts.isPacked = header.IsPacked();
    facts.formatNumber = header.pixelFormat;
    facts.channelNames = header.channelNames;
    facts.channelWidths = header.channelWidths;
    facts.colorSpace = header.colorSpace;
    facts.channelType = header.channelType;
    facts.metadataSize = header.metadataSize;
    facts.metadata = Inspect_ReadMetadata(
        koru::Source_Borrow(source.data + source.offset, koru::Source_GetRemaining(source)),
        header);
    facts.way = koru::Pvr_ChooseV3Way(header);
    const auto contents = koru::Pvr_ReadV3Contents(source, header);
    if (!contents) {
        inspection.refusal = PvrRefusal::MetadataCut;
        return inspection;
    }
    // The library's word is 1 where the entry's is 0; the format means downwards by 0.
    facts.isUpsideDown =
        facts.metadata && facts.metadata->IsOrientation() && contents->orientation == 0;
    Inspect_Payload(inspection, source, contents->payloadBytes);
    return inspection;
}

}  // namespace

bool PvrMetadata::IsOrientation() const noexcept {
    return fourCC == koru::kPvrV3Magic && key == kOrientationKey;
}

PvrInspection Pvr_Inspect(std::span<const std::uint8_t> bytes) {
    koru::SourceBuffer source =
        koru::Source_Borrow(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    const auto raw = koru::Source_Take<koru::kPvrHeaderBytes>(source);
    if (!raw) return {.facts = {}, .refusal = PvrRefusal::HeaderCut, .oddities = {}};
    if (koru::Bytes_LoadLe32<0>(*raw) == koru::kPvrV3Magic) {
        return Inspect_V3(source, koru::Pvr_LoadV3Header(*raw));
    }
    return Inspect_Legacy(source, koru::Pvr_LoadLegacyHeader(*raw));
}

}  // namespace koru_host
