#include "core/level_table.h"

#include <new>
#include <utility>

namespace koru {

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
    entry.data = ByteBuffer::Allocate(byteCount);
    if (!entry.data) return 0;
    entry.byteSize = byteCount;
    return 1;
}

int LevelEntry_ReadPayload(LevelEntry& entry, SourceBuffer& source, std::uint32_t byteCount,
                           std::uint32_t width, std::uint32_t height) noexcept {
    // Asked before memory is, so that a size of no substance costs nothing.
    if (byteCount > Source_GetRemaining(source)) return 0;
    if (LevelEntry_SetSize(entry, byteCount) == 0) return 0;
    entry.levelWidth = width;
    entry.levelHeight = height;
    return Source_Read(source, entry.data.Data(), byteCount);
}

ByteBuffer LevelEntry_TakeData(LevelEntry& entry) noexcept {
    entry.byteSize = 0;
    return std::move(entry.data);
}

}  // namespace koru
