#include "ktx/ktx_levels.h"

#include "core/bytes.h"

namespace koru {
namespace {

constexpr std::size_t kSizeBytes = 4;
constexpr std::size_t kIndexEntryBytes = 24;

/// Whether the source may hold so many levels. Told ones that it cannot are not walked to its end,
/// which a wrapper may have put gigabytes away.
bool HasRoomFor(const SourceBuffer& source, std::uint32_t levelCount,
                std::size_t leastBytes) noexcept {
    return levelCount <= Source_GetRemaining(source) / leastBytes;
}

constexpr std::uint32_t CountLevels11(const Ktx11Header& header) noexcept {
    if (header.numberOfMipmapLevels != 0) return header.numberOfMipmapLevels;
    return header.numberOfFaces != 0 ? 1 : 0;
}

/// Quirk: the count is a signed number, so one of 2^31 and more reads a single entry.
constexpr std::uint32_t CountLevels20(const Ktx20Header& header) noexcept {
    return static_cast<std::int32_t>(header.levelCount) < 1 ? 1 : header.levelCount;
}

}  // namespace

std::optional<KtxLevelRange> Ktx_FindLevel11(SourceBuffer& source,
                                             const Ktx11Header& header) noexcept {
    KtxLevelRange first;
    const std::uint32_t levelCount = CountLevels11(header);
    if (!HasRoomFor(source, levelCount, kSizeBytes)) return std::nullopt;
    for (std::uint32_t level = 0; level < levelCount; ++level) {
        const auto imageSize = Source_Take<kSizeBytes>(source);
        if (!imageSize) return std::nullopt;
        const std::uint32_t byteSize = Bytes_LoadLe32<0>(*imageSize);
        if (level == 0) {
            first = {.isPresent = byteSize != 0, .byteOffset = source.offset, .byteSize = byteSize};
        }
        // Quirk: levels lie behind each other without padding, and one's imageSize counts all its
        // faces and layers; the first image is what its start holds.
        Source_Seek(source, std::uint64_t{source.offset} + byteSize);
    }
    return first;
}

std::optional<KtxLevelRange> Ktx_FindLevel20(SourceBuffer& source,
                                             const Ktx20Header& header) noexcept {
    const std::uint32_t levelCount = CountLevels20(header);
    if (!HasRoomFor(source, levelCount, kIndexEntryBytes)) return std::nullopt;
    const auto entry = Source_Take<kIndexEntryBytes>(source);
    if (!entry) return std::nullopt;
    const std::uint64_t byteOffset = Bytes_LoadLe64<0>(*entry);
    const std::uint64_t byteLength = Bytes_LoadLe64<8>(*entry);
    // Of the other entries nothing is read.
    Source_Seek(source, source.offset + std::uint64_t{levelCount - 1} * kIndexEntryBytes);
    // Quirk: only the low words count once both are not 0; files stay below 4 GiB.
    return KtxLevelRange{.isPresent = byteOffset != 0 && byteLength != 0,
                         .byteOffset = static_cast<std::uint32_t>(byteOffset),
                         .byteSize = static_cast<std::uint32_t>(byteLength)};
}

}  // namespace koru
