#include "core/byte_buffer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <utility>

namespace koru {
namespace {

TEST(ByteBuffer, StartsEmpty) {
    const ByteBuffer buffer;
    EXPECT_FALSE(buffer);
    EXPECT_EQ(buffer.Data(), nullptr);
    EXPECT_EQ(buffer.Size(), 0u);
}

TEST(ByteBuffer, ASizeOfZeroIsEmpty) {
    EXPECT_FALSE(ByteBuffer::Allocate(0));
    EXPECT_FALSE(ByteBuffer::AllocateZeroed(0));
}

TEST(ByteBuffer, SlackBehindTheBytesIsZero) {
    for (const ByteBuffer& buffer : {ByteBuffer::Allocate(5), ByteBuffer::AllocateZeroed(5)}) {
        ASSERT_TRUE(buffer);
        EXPECT_EQ(buffer.Size(), 5u);
        for (std::uint32_t i = 0; i < ByteBuffer::kSlackBytes; ++i) {
            EXPECT_EQ(buffer.Data()[5 + i], 0) << i;
        }
    }
}

TEST(ByteBuffer, MovingHandsOver) {
    ByteBuffer first = ByteBuffer::Allocate(8);
    const std::uint8_t* bytes = first.Data();
    ByteBuffer second = std::move(first);
    EXPECT_EQ(second.Data(), bytes);
    EXPECT_EQ(second.Size(), 8u);
    first = std::move(second);
    EXPECT_EQ(first.Data(), bytes);
    EXPECT_FALSE(second);  // NOLINT(bugprone-use-after-move): the state after a move is defined
    EXPECT_EQ(second.Size(), 0u);
}

TEST(ByteBuffer, ReleaseGivesHeapBytesAway) {
    ByteBuffer buffer = ByteBuffer::Allocate(8);
    std::uint8_t* bytes = buffer.Release();
    EXPECT_FALSE(buffer);
    EXPECT_EQ(buffer.Size(), 0u);
    std::free(bytes);
}

TEST(ByteBuffer, ShrinkingKeepsTheBytesAndMakesNewSlack) {
    for (std::uint32_t size : {100u, 70u << 20}) {
        ByteBuffer buffer = ByteBuffer::Allocate(size);
        ASSERT_TRUE(buffer);
        for (std::uint32_t i = 0; i < 32; ++i) buffer.Data()[i] = static_cast<std::uint8_t>(i + 1);
        buffer.Shrink(9);
        EXPECT_EQ(buffer.Size(), 9u);
        for (std::uint32_t i = 0; i < 9; ++i) EXPECT_EQ(buffer.Data()[i], i + 1);
        for (std::uint32_t i = 0; i < ByteBuffer::kSlackBytes; ++i) {
            EXPECT_EQ(buffer.Data()[9 + i], 0);
        }
    }
}

TEST(ByteBuffer, ShrinkingNeverGrowsOrEmpties) {
    ByteBuffer buffer = ByteBuffer::Allocate(8);
    for (std::uint32_t size : {0u, 8u, 9u, 0xFFFFFFFFu}) {
        buffer.Shrink(size);
        EXPECT_EQ(buffer.Size(), 8u) << size;
        EXPECT_TRUE(buffer);
    }
    ByteBuffer empty;
    empty.Shrink(0);
    empty.Shrink(1);
    EXPECT_FALSE(empty);
}

}  // namespace
}  // namespace koru
