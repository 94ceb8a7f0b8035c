#include "core/source_buffer.h"

#include <gtest/gtest.h>

#include <array>

namespace koru {
namespace {

constexpr std::array<std::uint8_t, 4> kBytes{1, 2, 3, 4};

SourceBuffer Borrow() { return Source_Borrow(kBytes.data(), kBytes.size()); }

TEST(SourceBuffer, ReadsExactlyWhatRemainsAndNotAByteMore) {
    SourceBuffer source = Borrow();
    std::array<std::uint8_t, 4> target{};
    EXPECT_EQ(Source_Read(source, target.data(), 4), 1);
    EXPECT_EQ(target, kBytes);
    EXPECT_EQ(source.offset, source.size);
    EXPECT_EQ(Source_Read(source, target.data(), 1), 0);
    EXPECT_EQ(source.offset, 4u);
}

TEST(SourceBuffer, AFailedReadMovesNothing) {
    SourceBuffer source = Borrow();
    std::array<std::uint8_t, 8> target{};
    EXPECT_EQ(Source_Read(source, target.data(), 5), 0);
    EXPECT_EQ(source.offset, 0u);
    EXPECT_EQ(target, (std::array<std::uint8_t, 8>{}));
}

TEST(SourceBuffer, ReadsForward) {
    SourceBuffer source = Borrow();
    std::uint8_t byte = 0;
    for (std::uint8_t expected : kBytes) {
        ASSERT_EQ(Source_Read(source, &byte, 1), 1);
        EXPECT_EQ(byte, expected);
    }
}

TEST(SourceBuffer, ReadNeedsDataAndTarget) {
    SourceBuffer empty;
    std::uint8_t byte = 0;
    EXPECT_EQ(Source_Read(empty, &byte, 0), 0);
    SourceBuffer source = Borrow();
    EXPECT_EQ(Source_Read(source, nullptr, 1), 0);
}

TEST(SourceBuffer, ASumThatWraps32BitsFails) {
    SourceBuffer source = Borrow();
    std::uint8_t byte = 0;
    source.offset = 2;
    EXPECT_EQ(Source_Read(source, &byte, 0xFFFFFFFF), 0);  // 2 + 2^32 - 1 is 1 in 32 bits
    EXPECT_EQ(source.offset, 2u);
}

TEST(SourceBuffer, AnOffsetBehindTheEndReadsNothing) {
    SourceBuffer source = Borrow();
    source.offset = 9;
    std::uint8_t byte = 0;
    EXPECT_EQ(Source_GetRemaining(source), 0u);
    EXPECT_EQ(Source_Read(source, &byte, 1), 0);
    EXPECT_FALSE(Source_Take<1>(source));
}

TEST(SourceBuffer, TakeGivesTheBytesInPlace) {
    SourceBuffer source = Borrow();
    const auto bytes = Source_Take<3>(source);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(bytes->data(), kBytes.data());
    EXPECT_EQ(source.offset, 3u);
    EXPECT_FALSE(Source_Take<2>(source));
    EXPECT_EQ(source.offset, 3u);
}

TEST(SourceBuffer, ReleaseEmptiesIt) {
    SourceBuffer source = Borrow();
    source.owned = ByteBuffer::Allocate(1);
    source.offset = 1;
    Source_Release(source);
    EXPECT_EQ(source.data, nullptr);
    EXPECT_EQ(source.offset, 0u);
    EXPECT_EQ(source.size, 0u);
    EXPECT_FALSE(source.owned);
}

TEST(SourceBuffer, SeekingPastTheEndIsTheEnd) {
    SourceBuffer source = Borrow();
    Source_Seek(source, 3);
    EXPECT_EQ(source.offset, 3u);
    Source_Seek(source, 0);
    EXPECT_EQ(source.offset, 0u);
    for (std::uint64_t offset : {std::uint64_t{4}, std::uint64_t{5}, std::uint64_t{0x100000001}}) {
        Source_Seek(source, offset);
        EXPECT_EQ(source.offset, 4u) << offset;
        EXPECT_EQ(Source_GetRemaining(source), 0u);
    }
}

}  // namespace
}  // namespace koru
