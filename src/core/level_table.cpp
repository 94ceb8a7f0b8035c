#include "core/level_table.h"

#include <cstring>
#include <new>
#include <utility>

namespace koru {
namespace {

/// Whether a file is kept for its payload. A small payload is copied, which costs less; so is one
/// that is the smaller part of its file, since all of it would stay until the next load.
constexpr bool IsWorthKeeping(std::uint32_t fileBytes, std::uint32_t payloadBytes) noexcept {
    constexpr std::uint32_t kLarge = 64u << 10;
    return payloadBytes >= kLarge && payloadBytes >= fileBytes / 2;
}

}  // namespace

int LevelTable_CreateSingleLevel(LevelTable& table) noexcept {
    LevelTable_Release(table);
    table.entries.reset(new (std::nothrow) LevelEntry[1]);
    if (table.entries == nullptr) return 0;
    table.count = 1;
    return 1;
}

void LevelTable_Release(LevelTable& table) noexcept {
    table.entries.reset();
    table.count = 0;
}

int LevelEntry_SetSize(LevelEntry& entry, std::uint32_t byteCount) noexcept {
    if (byteCount == 0) return 0;
    // The old payload goes first, so that the two never need memory at the same time.
    entry.data.Reset();
    entry.byteSize = 0;
    entry.dataOffset = 0;
    entry.data = ByteBuffer::Allocate(byteCount);
    if (!entry.data) return 0;
    entry.byteSize = byteCount;
    return 1;
}

int LevelEntry_SkipPayload(LevelEntry& entry, const SourceBuffer& source, std::uint32_t byteCount,
                           std::uint32_t width, std::uint32_t height) noexcept {
    // Asked before memory is, so that a size of no substance costs nothing.
    if (byteCount > Source_GetRemaining(source)) return 0;
    if (LevelEntry_SetSize(entry, byteCount) == 0) return 0;
    entry.levelWidth = width;
    entry.levelHeight = height;
    return 1;
}

int LevelEntry_ReadPayload(LevelEntry& entry, SourceBuffer& source, std::uint32_t byteCount,
                           std::uint32_t width, std::uint32_t height) noexcept {
    if (byteCount > Source_GetRemaining(source)) return 0;
    if (source.owned && IsWorthKeeping(source.owned.Size(), byteCount)) {
        entry.dataOffset = source.offset;
        entry.data = std::move(source.owned);
        entry.byteSize = byteCount;
        entry.levelWidth = width;
        entry.levelHeight = height;
        Source_Release(source);
        return 1;
    }
    if (LevelEntry_SkipPayload(entry, source, byteCount, width, height) == 0) return 0;
    return Source_Read(source, entry.data.Data(), byteCount);
}

std::span<const std::uint8_t> LevelEntry_GetBytes(const LevelEntry& entry) noexcept {
    if (!entry.data) return {};
    return {entry.data.Data() + entry.dataOffset, entry.byteSize};
}

ByteBuffer LevelEntry_TakeData(LevelEntry& entry) noexcept {
    ByteBuffer data = std::move(entry.data);
    if (entry.dataOffset != 0)
        std::memmove(data.Data(), data.Data() + entry.dataOffset, entry.byteSize);
    data.Shrink(entry.byteSize);
    entry.byteSize = 0;
    entry.dataOffset = 0;
    return data;
}

}  // namespace koru
