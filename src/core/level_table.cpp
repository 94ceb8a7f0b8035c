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

ByteBuffer LevelEntry_TakeData(LevelEntry& entry) noexcept {
    entry.byteSize = 0;
    return std::move(entry.data);
}

}  // namespace koru
