#include "pvr_diagnosis.h"

#include "pvr_names.h"

namespace koru_host {
namespace {

std::string Pvr_DescribeFormat(const PvrFacts& facts) {
    return (facts.isLegacy ? "legacy pixel type " : "compressed format ") +
           Pvr_GetFormatName(facts);
}

std::string Pvr_ExplainShortPayload(const PvrFacts& facts) {
    const bool isPacked = facts.way.way == koru::PvrWay::Packed;
    return "its data has " + std::to_string(facts.payloadBytes) + " bytes" +
           (isPacked ? ", the size test asks for " : " of blocks, needs ") +
           std::to_string(facts.neededBytes);
}

}  // namespace

std::string Pvr_ExplainFailure(const PvrInspection& inspection) {
    if (inspection.refusal == PvrRefusal::HeaderCut) return "its header is cut off";
    if (!inspection.facts) return {};
    const PvrFacts& facts = *inspection.facts;
    switch (inspection.refusal) {
        case PvrRefusal::NoData:
            return "its data size is 0";
        case PvrRefusal::Size:
            return "its size is " + std::to_string(facts.width) + " x " +
                   std::to_string(facts.height);
        case PvrRefusal::MetadataCut:
            return "the file ends within its first metadata entry";
        case PvrRefusal::DataCut:
            return "its data has " + std::to_string(facts.payloadBytes) +
                   " bytes, the file holds " + std::to_string(facts.presentBytes) + " of them";
        case PvrRefusal::NoDecoder:
            return Pvr_DescribeFormat(facts) + " is not decoded";
        case PvrRefusal::NoChannels:
            return "channel names '" + Pvr_GetChannelNames(facts) + "' have no channel count";
        case PvrRefusal::TooShort:
            return Pvr_ExplainShortPayload(facts);
        case PvrRefusal::TooLarge:
            return "its image takes 4 GiB or more";
        case PvrRefusal::HeaderCut:
        case PvrRefusal::None:
            break;
    }
    return {};
}

std::string Pvr_DescribeOddity(PvrOddity oddity, const PvrFacts& facts) {
    const std::string format = Pvr_GetFormatName(facts);
    switch (oddity) {
        case PvrOddity::Empty:
            return "it has no data; the picture is black";
        case PvrOddity::NoConversion:
            return format + " has no conversion to RGB; the picture is black";
        case PvrOddity::PixelsMissing:
            return "its data has " + std::to_string(facts.payloadBytes) +
                   " bytes, too few for all pixels; the rest is black";
        case PvrOddity::NotPowersOfTwo:
            return "PVRTC is for sizes that are powers of two; the picture is wrong";
        case PvrOddity::Sheared:
            return "pictures of " + format + " are sheared unless their width is a multiple of 4";
        case PvrOddity::PackedRows:
            return "its rows are read as if they were padded to 4 bytes; if they are not, the "
                   "picture is sheared";
        case PvrOddity::NoAlpha:
            return "DXT1 is decoded without alpha; its transparent pixels are white";
        case PvrOddity::FloatBytes:
            return "the bytes of " + format +
                   " floats are shown as they are; the picture means nothing";
        case PvrOddity::WideChannels:
            return "the channels of " + format + " are not scaled to 8 bits; the colors are wrong";
        case PvrOddity::Swapped:
            return "its pixels are stored as B, G, R; red and blue are swapped";
        case PvrOddity::UnusedIsAlpha:
            return "its unused channel x is taken for alpha";
        case PvrOddity::UpsideDown:
            return "its rows run upwards; the picture is upside down";
    }
    return {};
}

}  // namespace koru_host
