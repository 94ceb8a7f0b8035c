#include "ktx/ktx_wrapper.h"

#include <lz4.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <span>

#include "core/bytes.h"

namespace koru {
namespace {

constexpr std::size_t kChunkHeaderBytes = 32;
constexpr std::uint32_t kTableEntryBytes = 8;
constexpr std::uint32_t kTag1 = 0x41646170;  // "padA"
constexpr std::uint32_t kTag2 = 0x4C7A3420;  // " 4zL"
constexpr std::uint32_t kMaxBlockBytes = std::numeric_limits<int>::max();

/// Steps over magic and table; how many chunks follow.
std::optional<std::uint32_t> ReadTable(SourceBuffer& source) noexcept {
    Source_Seek(source, 0);
    const auto head = Source_Take<8>(source);
    if (!head || Bytes_LoadLe32<0>(*head) != kKtxWrapperMagic) return std::nullopt;
    const std::uint32_t entryCount = Bytes_LoadLe32<4>(*head);
    const std::uint64_t tableBytes = std::uint64_t{entryCount} * kTableEntryBytes;
    if (entryCount < 2 || tableBytes > Source_GetRemaining(source)) return std::nullopt;
    Source_Seek(source, source.offset + tableBytes);
    return entryCount - 1;
}

struct Chunk {
    std::uint32_t compressedBytes = 0;
    std::uint32_t decompressedBytes = 0;
    std::span<const std::uint8_t> data;  ///< Empty if the file cuts the chunk.

    /// Whether other chunks may follow it.
    [[nodiscard]] bool IsWhole() const noexcept { return data.size() == compressedBytes; }
};

/// Nothing for another tag, or at the end of the file.
std::optional<Chunk> ReadChunk(SourceBuffer& source) noexcept {
    const auto head = Source_Take<kChunkHeaderBytes>(source);
    if (!head || Bytes_LoadLe32<0>(*head) != kTag1 || Bytes_LoadLe32<4>(*head) != kTag2) {
        return std::nullopt;
    }
    Chunk chunk{.compressedBytes = Bytes_LoadLe32<8>(*head),
                .decompressedBytes = Bytes_LoadLe32<12>(*head),
                .data = {}};
    if (chunk.compressedBytes <= Source_GetRemaining(source)) {
        chunk.data = {source.data + source.offset, chunk.compressedBytes};
        Source_Seek(source, std::uint64_t{source.offset} + chunk.compressedBytes);
    }
    return chunk;
}

/// Calls visit(chunk) for each chunk, up to and with one that the file cuts.
template <typename Visit>
void VisitChunks(SourceBuffer& source, std::uint32_t chunkCount, Visit&& visit) noexcept {
    for (std::uint32_t i = 0; i < chunkCount; ++i) {
        const auto chunk = ReadChunk(source);
        if (!chunk) return;
        visit(*chunk);
        if (!chunk->IsWhole()) return;
    }
}

/// Decompresses to zeroed bytes. What a malformed block leaves is LZ4's to say.
void Decompress(const Chunk& chunk, std::uint8_t* target) noexcept {
    if (chunk.data.empty() || chunk.data.size() > kMaxBlockBytes) return;
    // No block holds more than LZ4's int can count.
    const std::uint32_t capacity = std::min(chunk.decompressedBytes, kMaxBlockBytes);
    if (capacity == 0) return;
    const int decoded = LZ4_decompress_safe(
        reinterpret_cast<const char*>(chunk.data.data()), reinterpret_cast<char*>(target),
        static_cast<int>(chunk.data.size()), static_cast<int>(capacity));
    if (decoded < 0) return;
    // LZ4 copies in strides and may have written behind the end of a block that gives less.
    constexpr std::uint32_t kStrideBytes = 64;
    const std::uint32_t rest = capacity - static_cast<std::uint32_t>(decoded);
    std::memset(target + decoded, 0, std::min(rest, kStrideBytes));
}

}  // namespace

ByteBuffer Ktx_JoinChunks(SourceBuffer& source) noexcept {
    const auto chunkCount = ReadTable(source);
    if (!chunkCount) return {};
    const std::uint32_t firstChunk = source.offset;
    // At most 2^29 chunks of 32 bits each: the sum cannot wrap.
    std::uint64_t totalBytes = 0;
    VisitChunks(source, *chunkCount,
                [&](const Chunk& chunk) { totalBytes += chunk.decompressedBytes; });
    if (totalBytes > std::numeric_limits<std::uint32_t>::max()) return {};

    ByteBuffer joined = ByteBuffer::AllocateZeroed(static_cast<std::uint32_t>(totalBytes));
    if (!joined) return {};
    Source_Seek(source, firstChunk);
    std::uint32_t offset = 0;
    VisitChunks(source, *chunkCount, [&](const Chunk& chunk) {
        // Quirk: a chunk without compressed bytes counts in the total and takes no room, so the
        // joined bytes end with zeros; files stay the length that hosts know.
        if (chunk.compressedBytes == 0) return;
        // A host may have let its bytes change since they were counted.
        if (chunk.decompressedBytes > joined.Size() - offset) return;
        Decompress(chunk, joined.Data() + offset);
        offset += chunk.decompressedBytes;
    });
    return joined;
}

}  // namespace koru
