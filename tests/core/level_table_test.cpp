#include "core/level_table.h"

#include <gtest/gtest.h>

namespace koru {
namespace {

TEST(LevelTable, CreatesOneEmptyEntry) {
    LevelTable table;
    ASSERT_EQ(LevelTable_CreateSingleLevel(table), 1);
    EXPECT_EQ(table.count, 1);
    EXPECT_EQ(table.entries[0].levelWidth, 0u);
    EXPECT_EQ(table.entries[0].levelHeight, 0u);
    EXPECT_EQ(table.entries[0].byteSize, 0u);
    EXPECT_EQ(table.entries[0].data.Data(), nullptr);
}

TEST(LevelTable, CreatingTwiceFreesTheFirstPayload) {
    LevelTable table;
    ASSERT_EQ(LevelTable_CreateSingleLevel(table), 1);
    ASSERT_EQ(LevelEntry_SetSize(table.entries[0], 100), 1);
    ASSERT_EQ(LevelTable_CreateSingleLevel(table), 1);  // a leak here is the sanitizer's to see
    EXPECT_EQ(table.count, 1);
    EXPECT_EQ(table.entries[0].byteSize, 0u);
    EXPECT_FALSE(table.entries[0].data);
}

TEST(LevelTable, ReleaseEmptiesIt) {
    LevelTable table;
    LevelTable_Release(table);
    EXPECT_EQ(table.count, 0);
    ASSERT_EQ(LevelTable_CreateSingleLevel(table), 1);
    ASSERT_EQ(LevelEntry_SetSize(table.entries[0], 100), 1);
    LevelTable_Release(table);
    EXPECT_EQ(table.count, 0);
    EXPECT_EQ(table.entries, nullptr);
}

TEST(LevelEntry, SetSizeReplacesThePayload) {
    LevelEntry entry;
    ASSERT_EQ(LevelEntry_SetSize(entry, 3), 1);
    EXPECT_EQ(entry.byteSize, 3u);
    ASSERT_EQ(LevelEntry_SetSize(entry, 5), 1);
    EXPECT_EQ(entry.byteSize, 5u);
    EXPECT_EQ(entry.data.Size(), 5u);
}

TEST(LevelEntry, SetSizeZeroFailsAndKeepsThePayload) {
    LevelEntry entry;
    ASSERT_EQ(LevelEntry_SetSize(entry, 3), 1);
    entry.data.Data()[0] = 42;
    EXPECT_EQ(LevelEntry_SetSize(entry, 0), 0);
    EXPECT_EQ(entry.byteSize, 3u);
    ASSERT_TRUE(entry.data);
    EXPECT_EQ(entry.data.Data()[0], 42);
}

TEST(LevelEntry, TakeDataLeavesAnEntryWithoutPayload) {
    LevelEntry entry;
    ASSERT_EQ(LevelEntry_SetSize(entry, 3), 1);
    entry.levelWidth = 7;
    const ByteBuffer data = LevelEntry_TakeData(entry);
    EXPECT_EQ(data.Size(), 3u);
    EXPECT_EQ(entry.byteSize, 0u);
    EXPECT_FALSE(entry.data);
    EXPECT_EQ(entry.levelWidth, 7u);
}

}  // namespace
}  // namespace koru
