#include "pvr/pvr_contents.h"

#include "core/bytes.h"

namespace koru {
namespace {

constexpr std::size_t kEntryHeaderBytes = 12;  // FourCC, key, size of the data
constexpr std::size_t kOrientationBytes = 3;   // one for each axis
constexpr std::uint32_t kOrientationKey = 3;

/// Reads the first metadata entry at the source's offset and steps over all metadata. The
/// orientation word, or nothing if the source ends within the entry.
std::optional<std::uint32_t> ReadMetadata(SourceBuffer& source,
                                          std::uint32_t metadataSize) noexcept {
    if (metadataSize == 0) return 0;
    const std::uint64_t start = source.offset;
    const auto entry = Source_Take<kEntryHeaderBytes>(source);
    if (!entry) return std::nullopt;
    std::uint32_t orientation = 0;
    if (Bytes_LoadLe32<0>(*entry) == kPvrV3Magic && Bytes_LoadLe32<4>(*entry) == kOrientationKey) {
        const auto axes = Source_Take<kOrientationBytes>(source);
        if (!axes) return std::nullopt;
        orientation = (*axes)[1] == 0 ? 1 : 0;
    }
    Source_Seek(source, start + metadataSize);
    return orientation;
}

}  // namespace

PvrContents Pvr_GetLegacyContents(const PvrLegacyHeader& header, bool isCompressed) noexcept {
    return {.width = header.width,
            .height = header.height,
            .orientation = header.GetFlip(),
            .way = Pvr_ChooseLegacyWay(header.GetPixelType(), isCompressed),
            .payloadBytes = header.dataSize};
}

std::optional<PvrContents> Pvr_ReadV3Contents(SourceBuffer& source,
                                              const PvrV3Header& header) noexcept {
    const auto orientation = ReadMetadata(source, header.metadataSize);
    if (!orientation) return std::nullopt;
    return PvrContents{.width = header.width,
                       .height = header.height,
                       .orientation = *orientation,
                       .way = Pvr_ChooseV3Way(header),
                       .payloadBytes = Source_GetRemaining(source)};
}

}  // namespace koru
