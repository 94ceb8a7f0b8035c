#include "core/level_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

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

/// A source that owns so many bytes, at an offset.
SourceBuffer MakeOwned(std::uint32_t size, std::uint32_t offset) {
    SourceBuffer source = Source_Own(ByteBuffer::Allocate(size));
    for (std::uint32_t i = 0; i < size; ++i)
        source.owned.Data()[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    source.offset = offset;
    return source;
}

// A payload that is most of its file is not copied out of it; the file goes over as a whole.
TEST(LevelEntry, TakesALargeFileOver) {
    constexpr std::uint32_t kPayload = 64 << 10;
    for (const std::uint32_t offset : {0u, 5u}) {
        SourceBuffer source = MakeOwned(2 * kPayload + 1, offset);
        const std::uint8_t* const file = source.data;
        const std::vector<std::uint8_t> expected(file + offset, file + offset + kPayload);
        LevelEntry entry;
        ASSERT_EQ(LevelEntry_ReadPayload(entry, source, kPayload, 3, 4), 1);
        EXPECT_EQ(entry.data.Data(), file);
        EXPECT_EQ(entry.byteSize, kPayload);
        EXPECT_EQ(entry.levelWidth, 3u);
        EXPECT_EQ(entry.levelHeight, 4u);
        EXPECT_EQ(source.data, nullptr);
        EXPECT_EQ(source.size, 0u);
        EXPECT_TRUE(std::ranges::equal(LevelEntry_GetBytes(entry), expected));
        const ByteBuffer taken = LevelEntry_TakeData(entry);
        EXPECT_EQ(taken.Size(), kPayload);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), taken.Data()));
    }
}

// What stays until the next load is at most twice the payload.
TEST(LevelEntry, CopiesASmallPayloadAndASmallPartOfAFile) {
    constexpr std::uint32_t kLarge = 64 << 10;
    for (const auto& [fileBytes, payloadBytes] :
         {std::pair{kLarge, kLarge - 1}, std::pair{2 * kLarge + 2, kLarge}}) {
        SourceBuffer source = MakeOwned(fileBytes, 1);
        const std::uint8_t* const file = source.data;
        LevelEntry entry;
        ASSERT_EQ(LevelEntry_ReadPayload(entry, source, payloadBytes, 3, 4), 1);
        EXPECT_NE(entry.data.Data(), file);
        EXPECT_EQ(entry.data.Size(), payloadBytes);
        EXPECT_TRUE(source.owned);
        EXPECT_TRUE(
            std::ranges::equal(LevelEntry_GetBytes(entry), std::span(file + 1, payloadBytes)));
    }
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
