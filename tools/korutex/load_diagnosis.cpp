#include "load_diagnosis.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <utility>

#include "ktx/ktx_wrapper.h"
#include "pvr_diagnosis.h"
#include "utf_text.h"

namespace koru_host {
namespace {

constexpr const char* kHeaderIsCut = "its header is cut off";

constexpr std::uint64_t kAstcBlockBytes = 16;
constexpr std::uint64_t kMaxPixelBytes = 0xFFFFFFFF;

using Footprint = std::array<std::uint32_t, 3>;
constexpr auto kAstcFootprints = std::to_array<Footprint>(
    {{4, 4, 1},   {5, 4, 1},   {5, 5, 1},  {6, 5, 1},  {6, 6, 1},  {8, 5, 1},
     {8, 6, 1},   {8, 8, 1},   {10, 5, 1}, {10, 6, 1}, {10, 8, 1}, {10, 10, 1},
     {12, 10, 1}, {12, 12, 1}, {3, 3, 3},  {4, 3, 3},  {4, 4, 3},  {4, 4, 4},
     {5, 4, 4},   {5, 5, 4},   {5, 5, 5},  {6, 5, 5},  {6, 6, 5},  {6, 6, 6}});

/// Of one layer of blocks, which is all that an image of depth 1 has. The axes of an image have
/// 24 bits, so 64 bits hold the product.
std::uint64_t Astc_CountBlockBytes(const AstcSizes& sizes) {
    const auto countBlocks = [](std::uint64_t texels, std::uint64_t blockTexels) {
        return (texels + blockTexels - 1) / blockTexels;
    };
    return countBlocks(sizes.width, sizes.blockWidth) *
           countBlocks(sizes.height, sizes.blockHeight) * kAstcBlockBytes;
}

std::string Diagnosis_DescribeSize(std::uint32_t width, std::uint32_t height) {
    return "its size is " + std::to_string(width) + " x " + std::to_string(height);
}

/// Empty when the header gives no reason.
std::string Astc_ExplainFailure(const TextureFile& file) {
    const auto sizes = Container_ReadAstcSizes(file.head);
    if (!sizes) return kHeaderIsCut;
    if (sizes->width == 0 || sizes->height == 0) {
        return Diagnosis_DescribeSize(sizes->width, sizes->height);
    }
    if (sizes->depth != 1) {
        return "its depth is " + std::to_string(sizes->depth) + ", only images of depth 1 are read";
    }
    const std::uint64_t heldBytes = file.fileBytes - kAstcHeaderBytes;
    const std::uint64_t neededBytes = Astc_CountBlockBytes(*sizes);
    if (heldBytes < neededBytes) {
        return "holds " + std::to_string(heldBytes) + " bytes of blocks, needs " +
               std::to_string(neededBytes);
    }
    if (std::uint64_t{sizes->width} * sizes->height * 4 > kMaxPixelBytes) {
        return "its pixels take 4 GiB or more";
    }
    return {};
}

std::optional<std::string> Astc_FindWarning(const TextureFile& file) {
    if (file.container != Container::Astc) return std::nullopt;
    const auto sizes = Container_ReadAstcSizes(file.head);
    if (!sizes) return std::nullopt;
    const Footprint footprint{sizes->blockWidth, sizes->blockHeight, sizes->blockDepth};
    if (std::ranges::find(kAstcFootprints, footprint) != kAstcFootprints.end()) return std::nullopt;
    // The library gives transparent black for such a file instead of a failure.
    return "ASTC has no " + Container_GetFootprint(*sizes) + " blocks; the picture is empty";
}

std::string Ktx_NameTypeSize(const KtxFacts& facts) {
    return facts.version == koru::KtxVersion::Ktx11 ? "glTypeSize" : "typeSize";
}

/// How the header declares the payload of a format that is not decoded.
std::string Ktx_DescribeFormat(const KtxFacts& facts) {
    if (facts.version == koru::KtxVersion::Ktx20 && !facts.isVkFormatKnown) {
        return "format " + Ktx_GetFormatName(facts);
    }
    const bool isPacked = facts.way.way == koru::KtxWay::Packed;
    return (isPacked ? "uncompressed format " : "compressed format ") + Ktx_GetFormatName(facts);
}

std::string Ktx_ExplainShortLevel(const KtxFacts& facts) {
    const bool isPacked = facts.way.way == koru::KtxWay::Packed;
    return "level 0 holds " + std::to_string(facts.levelBytes) + " bytes" +
           (isPacked ? ", the size test asks for " : " of blocks, needs ") +
           std::to_string(facts.neededBytes);
}

/// For a refusal that leaves facts. Empty without a refusal.
std::string Ktx_ExplainFailure(KtxRefusal refusal, const KtxFacts& facts) {
    switch (refusal) {
        case KtxRefusal::VkFormat:
            return "its format is VK_FORMAT_UNDEFINED";
        case KtxRefusal::TypeSize:
            return Ktx_NameTypeSize(facts) + " is " + std::to_string(facts.typeSize) +
                   ", must be 1, 2 or 4";
        case KtxRefusal::Size:
            return Diagnosis_DescribeSize(facts.width, facts.height);
        case KtxRefusal::Supercompression:
            return "it is supercompressed (" + Ktx_GetSchemeName(facts.supercompression) + ')';
        case KtxRefusal::KeyValueCut:
            return "the file ends within its first key/value pair";
        case KtxRefusal::LevelSizesCut:
            return "the file ends within its levels";
        case KtxRefusal::LevelIndexCut:
            return "the file ends within its level index";
        case KtxRefusal::DescriptorCut:
            return "the file ends before its data format descriptor";
        case KtxRefusal::LevelTooLong:
            return "level 0 has 4 GiB or more";
        case KtxRefusal::LevelCut:
            return "level 0 has " + std::to_string(facts.levelBytes) + " bytes, the file holds " +
                   std::to_string(facts.presentBytes) + " of them";
        case KtxRefusal::NoDecoder:
            return Ktx_DescribeFormat(facts) + " is not decoded";
        case KtxRefusal::NotCompressed:
            return std::string(facts.glType == 0 ? "glType" : "glFormat") +
                   " 0 means compressed, but " + Ktx_GetFormatName(facts) + " is not";
        case KtxRefusal::TooShort:
            return Ktx_ExplainShortLevel(facts);
        case KtxRefusal::TooLarge:
            return "its image takes 4 GiB or more";
        case KtxRefusal::HeaderCut:
        case KtxRefusal::BigEndian:
        case KtxRefusal::Endianness:
        case KtxRefusal::None:
            break;
    }
    return {};
}

std::string Ktx_ExplainFailure(const KtxInspection& ktx) {
    switch (ktx.refusal) {
        case KtxRefusal::HeaderCut:
            return kHeaderIsCut;
        case KtxRefusal::BigEndian:
            return "it is big-endian";
        case KtxRefusal::Endianness:
            return "its endianness field names no byte order";
        default:
            break;
    }
    return ktx.facts ? Ktx_ExplainFailure(ktx.refusal, *ktx.facts) : "";
}

std::string Wrapper_ExplainFailure(const WrapperInspection& wrapper) {
    switch (wrapper.refusal) {
        case WrapperRefusal::HeaderCut:
            return kHeaderIsCut;
        case WrapperRefusal::NoChunks:
            return "it has no chunks";
        case WrapperRefusal::TableCut:
            return "the file ends within its table of chunks";
        case WrapperRefusal::NothingJoined:
            return "its chunks hold no bytes, or 4 GiB or more";
        case WrapperRefusal::TooDeep:
            return "it is wrapped more than " + std::to_string(koru::kKtxMaxWrappers) + " times";
        case WrapperRefusal::NotKtx:
            return "what it wraps is not a KTX file";
        case WrapperRefusal::None:
            break;
    }
    const std::string reason = Ktx_ExplainFailure(wrapper.ktx);
    return reason.empty() ? reason : "the KTX file inside: " + reason;
}

std::string Ktx_DescribeOddity(KtxOddity oddity, const KtxFacts& facts) {
    const std::string format = Ktx_GetFormatName(facts);
    switch (oddity) {
        case KtxOddity::Empty:
            return "level 0 is empty; the picture is black";
        case KtxOddity::ShortBlocks:
            return Ktx_ExplainShortLevel(facts) + "; the picture is black";
        case KtxOddity::TwoChannels:
        case KtxOddity::NoConversion:
            return format + " has no conversion to RGB; the picture is black";
        case KtxOddity::RawSamples:
            return "the bytes of " + format +
                   "'s 16-bit samples are shown as they are; "
                   "the picture means nothing";
        case KtxOddity::Sheared:
            return "pictures of " + format + " are sheared unless their width is a multiple of 4";
        case KtxOddity::BlocksAsPixels:
            return "glType and glFormat are not 0, so the blocks of " + format +
                   " are shown as pixels; the picture means nothing";
        case KtxOddity::WideChannels:
            return "the channels of " + format + " are not scaled to 8 bits; the colors are wrong";
        case KtxOddity::Swapped:
            return "its pixels are stored as B, G, R; red and blue are swapped";
        case KtxOddity::UpsideDown:
            return "its rows run upwards (" + Text_MakePrintable(facts.orientation) +
                   "); the picture is upside down";
    }
    return {};
}

std::string Diagnosis_FindReason(const TextureFile& file) {
    switch (file.container) {
        case Container::Astc:
            return Astc_ExplainFailure(file);
        case Container::Ktx1:
        case Container::Ktx2:
            return file.ktx ? Ktx_ExplainFailure(*file.ktx) : "";
        case Container::WrappedKtx:
            return file.wrapper ? Wrapper_ExplainFailure(*file.wrapper) : "";
        case Container::Pvr3:
        case Container::PvrLegacy:
            return file.pvr ? Pvr_ExplainFailure(*file.pvr) : "";
        case Container::Png:
        case Container::Unknown:
            break;
    }
    return {};
}

}  // namespace

std::string Diagnosis_ExplainFailure(const TextureFile& file) {
    const std::string reason = Diagnosis_FindReason(file);
    return reason.empty() ? "cannot be decoded" : "cannot be decoded: " + reason;
}

std::vector<std::string> Diagnosis_FindWarnings(const TextureFile& file) {
    std::vector<std::string> warnings;
    if (auto warning = Astc_FindWarning(file)) warnings.push_back(*std::move(warning));
    if (const KtxInspection* ktx = file.GetKtx(); ktx != nullptr && ktx->facts) {
        for (const KtxOddity oddity : ktx->oddities) {
            warnings.push_back(Ktx_DescribeOddity(oddity, *ktx->facts));
        }
    }
    if (file.pvr && file.pvr->facts) {
        for (const PvrOddity oddity : file.pvr->oddities) {
            warnings.push_back(Pvr_DescribeOddity(oddity, *file.pvr->facts));
        }
    }
    if (file.png && file.png->bitsPerChannel > 8) {
        warnings.push_back("its 16-bit channels are cut to 8 bits");
    }
    return warnings;
}

}  // namespace koru_host
