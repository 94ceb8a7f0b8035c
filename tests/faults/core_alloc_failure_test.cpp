// What the rooms inside leave behind when an allocation fails.
#include <gtest/gtest.h>

#include "core/byte_buffer.h"
#include "core/level_table.h"
#include "heap_faults.h"

namespace koru {
namespace {

/// Runs `body` with its first allocation refused.
template <typename Body>
auto FailFirst(Body&& body) {
    HeapFaults_Arm(1);
    auto result = body();
    HeapFaults_Disarm();
    return result;
}

TEST(CoreAllocationFailure, AByteBufferIsEmpty) {
    for (auto allocate : {ByteBuffer::Allocate, ByteBuffer::AllocateZeroed}) {
        const ByteBuffer buffer = FailFirst([&] { return allocate(100); });
        EXPECT_FALSE(buffer);
        EXPECT_EQ(buffer.Size(), 0u);
    }
}

TEST(CoreAllocationFailure, ALevelEntryIsLeftEmpty) {
    LevelEntry entry;
    ASSERT_EQ(LevelEntry_SetSize(entry, 10), 1);
    EXPECT_EQ(FailFirst([&] { return LevelEntry_SetSize(entry, 20); }), 0);
    EXPECT_EQ(entry.byteSize, 0u);
    EXPECT_FALSE(entry.data);
}

TEST(CoreAllocationFailure, ALevelTableStaysEmpty) {
    LevelTable table;
    ASSERT_EQ(LevelTable_CreateSingleLevel(table), 1);
    EXPECT_EQ(FailFirst([&] { return LevelTable_CreateSingleLevel(table); }), 0);
    EXPECT_EQ(table.count, 0);
    EXPECT_EQ(table.entries, nullptr);
}

}  // namespace
}  // namespace koru
