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

}  // namespace
}  // namespace koru
