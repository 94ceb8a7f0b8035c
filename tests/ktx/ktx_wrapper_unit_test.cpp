// The wrapper inside: what its step gives, what it leaves, and the bytes that it joins.
#include <gtest/gtest.h>

#include <algorithm>

#include "ktx/ktx_reader.h"
#include "ktx/ktx_wrapper.h"
#include "ktx_unit_helpers.h"
#include "test_records.h"
#include "wrapper_builder.h"

namespace koru {
namespace {

constexpr KORU_Char kName[] = {'n', 0};

const Bytes kFile11 = Ktx1Builder().Uncompressed(0x8058).Size(1, 1).Level({1, 2, 3, 4}).Build();
const Bytes kFile20 = Ktx2Builder().Format(37).Size(1, 1).Level({5, 6, 7, 8}).Build();

WrapperChunk MakeChunk(std::uint32_t compressedBytes, std::uint32_t decompressedBytes) {
    WrapperChunk chunk;
    chunk.compressedBytes = compressedBytes;
    chunk.decompressedBytes = decompressedBytes;
    return chunk;
}

class KtxWrapper : public KtxStateTest {
  protected:
    int Read(const Bytes& bytes, std::uint32_t offset = 0) {
        SourceBuffer source = Test_Borrow(bytes);
        source.offset = offset;
        return Ktx_ReadContainer(source, kName);
    }
};

Bytes Join(const Bytes& bytes) {
    SourceBuffer source = Test_Borrow(bytes);
    const ByteBuffer joined = Ktx_JoinChunks(source);
    return {joined.Data(), joined.Data() + joined.Size()};
}

TEST_F(KtxWrapper, ReadsTheFileInside) {
    EXPECT_EQ(Read(WrapperBuilder().Store(kFile11).Build()), 1);
    EXPECT_EQ(g_ktxVersion, KtxVersion::Ktx11);
    ASSERT_TRUE(surface_.pixels);
    EXPECT_EQ(surface_.pixels.Data()[0], 1);
    EXPECT_EQ(Read(WrapperBuilder().Store(kFile20).Build()), 1);
    EXPECT_EQ(g_ktxVersion, KtxVersion::Ktx20);
    ASSERT_TRUE(surface_.pixels);
    EXPECT_EQ(surface_.pixels.Data()[0], 5);
}

TEST_F(KtxWrapper, GivesOneForAnyBytesInside) {
    const Bytes cut = Test_Slice(kFile11, 0, kFile11.size() - 1);
    Bytes bigEndian = kFile11;
    std::reverse(bigEndian.begin() + 12, bigEndian.begin() + 16);
    const Bytes insides[] = {
        {0}, Bytes(500, 'x'), cut, bigEndian, Test_Slice(kFile20, 0, 79), {'Q', 'O', 'Z', 'M'}};
    for (const Bytes& inside : insides) {
        EXPECT_EQ(Read(WrapperBuilder().Store(inside).Build()), 1) << inside.size();
        EXPECT_FALSE(surface_.pixels);
        // Also where nothing could be decompressed.
        EXPECT_EQ(Read(WrapperBuilder().Block({0xFF}, 20).Build()), 1);
    }
}

TEST_F(KtxWrapper, GivesOneForWrappersOfAnyDepth) {
    for (int depth = 1; depth <= 12; ++depth) {
        Surface_Clear(g_ktxState.surface);
        EXPECT_EQ(Read(Test_WrapDeep(kFile11, depth)), 1) << depth;
        EXPECT_EQ(static_cast<bool>(surface_.pixels), depth <= 8) << depth;
    }
    EXPECT_EQ(kKtxMaxWrappers, 8);
}

TEST_F(KtxWrapper, GivesOneAroundAWrapperWithNothingInIt) {
    EXPECT_EQ(Read(WrapperBuilder().Store(WrapperBuilder().Build()).Build()), 1);
    EXPECT_EQ(Read(WrapperBuilder().Build()), 0);
}

TEST_F(KtxWrapper, GivesZeroIfNothingWasJoined) {
    const Bytes file = WrapperBuilder().Store(kFile11).Build();
    for (std::size_t size = 4; size < 24 + 32; ++size) {
        EXPECT_EQ(Read(Test_Slice(file, 0, size)), 0) << size;
    }
    for (std::size_t size = 24 + 32; size <= file.size(); ++size) {
        EXPECT_EQ(Read(Test_Slice(file, 0, size)), 1) << "a cut chunk counts by its size, " << size;
    }
    EXPECT_EQ(Read(WrapperBuilder().ToldCount(0).Store(kFile11).Build()), 0);
    EXPECT_EQ(Read(WrapperBuilder().ToldCount(1).Store(kFile11).Build()), 0);
    EXPECT_EQ(Read(WrapperBuilder().Block({0x10, 7}, 0).Build()), 0);
    EXPECT_EQ(Read(WrapperBuilder().Store(kFile11).Chunk(MakeChunk(0, 0xFFFFFFFF)).Build()), 0);
    EXPECT_EQ(Read(WrapperBuilder().Chunk(MakeChunk(0, 20)).Build()), 1) << "twenty zeros";
}

TEST_F(KtxWrapper, NeedsAName) {
    const Bytes file = WrapperBuilder().Store(kFile11).Build();
    SourceBuffer source = Test_Borrow(file);
    EXPECT_EQ(Ktx_ReadContainer(source, nullptr), 0);
    EXPECT_EQ(source.data, file.data());
}

TEST_F(KtxWrapper, LeavesTheSourceWithoutData) {
    for (const Bytes& inside : {kFile11, kFile20, Bytes{9}, Test_WrapDeep(kFile11, 9)}) {
        const Bytes file = WrapperBuilder().Store(inside).Build();
        SourceBuffer source = Test_Borrow(file);
        ASSERT_EQ(Ktx_ReadContainer(source, kName), 1);
        EXPECT_EQ(source.data, nullptr);
        EXPECT_EQ(source.offset, 0u);
        EXPECT_EQ(source.size, 0u);
    }
}

TEST_F(KtxWrapper, LeavesOwnedBytesToTheirOwner) {
    const Bytes file = WrapperBuilder().Store(kFile11).Build();
    SourceBuffer source;
    source.owned = ByteBuffer::Allocate(static_cast<std::uint32_t>(file.size()));
    ASSERT_TRUE(source.owned);
    std::copy(file.begin(), file.end(), source.owned.Data());
    const std::uint8_t* bytes = source.owned.Data();
    source.data = bytes;
    source.size = source.owned.Size();
    ASSERT_EQ(Ktx_ReadContainer(source, kName), 1);
    EXPECT_EQ(source.data, nullptr);
    EXPECT_EQ(source.owned.Data(), bytes);
    EXPECT_TRUE(std::equal(file.begin(), file.end(), bytes)) << "and does not change them";
}

TEST_F(KtxWrapper, IsReadFromTheStartOfTheBuffer) {
    Bytes both = WrapperBuilder().Store(kFile11).Build();
    const auto second = static_cast<std::uint32_t>(both.size());
    Test_Append(both, WrapperBuilder().Store(kFile20).Build());
    EXPECT_EQ(Read(both, second), 1);
    EXPECT_EQ(surface_.pixels.Data()[0], 1) << "the first wrapper, though the second was found";

    Bytes shifted(7, 0xEE);
    Test_Append(shifted, WrapperBuilder().Store(kFile11).Build());
    EXPECT_EQ(Read(shifted, 7), 0) << "found, but not at the start";
}

// Where the offset stands, a KTX 1.1 file is no wrapper, whatever the buffer starts with.
TEST_F(KtxWrapper, IsLookedForAtTheOffset) {
    Bytes both = WrapperBuilder().Store(kFile20).Build();
    const auto second = static_cast<std::uint32_t>(both.size());
    Test_Append(both, kFile11);
    EXPECT_EQ(Read(both, second), 1);
    EXPECT_EQ(surface_.pixels.Data()[0], 1);
}

TEST_F(KtxWrapper, LeavesTheGlobalsToTheFileInside) {
    g_ktxVersion = KtxVersion::Ktx20;
    g_ktxCompressed = true;
    EXPECT_EQ(Read(WrapperBuilder().Store(Bytes(100, 'x')).Build()), 1);
    EXPECT_EQ(g_ktxVersion, KtxVersion::Ktx20);
    EXPECT_TRUE(g_ktxCompressed);
}

// --- The joined bytes ---

TEST_F(KtxWrapper, JoinsChunksInOrder) {
    EXPECT_EQ(Join(WrapperBuilder().Store({1, 2, 3}).Store({4}).Store({5, 6}).Build()),
              Bytes({1, 2, 3, 4, 5, 6}));
}

TEST_F(KtxWrapper, RoomOfChunksWithoutBytesIsAtTheEnd) {
    EXPECT_EQ(Join(WrapperBuilder()
                       .Store({1, 2})
                       .Chunk(MakeChunk(0, 3))
                       .Store({4, 5})
                       .Chunk(MakeChunk(0, 1))
                       .Build()),
              Bytes({1, 2, 4, 5, 0, 0, 0, 0}));
}

TEST_F(KtxWrapper, RoomOfACutChunkIsZeros) {
    EXPECT_EQ(Join(WrapperBuilder().Store({1, 2}).Chunk(MakeChunk(4, 3)).Build()),
              Bytes({1, 2, 0, 0, 0}));
    // Nothing behind it is read.
    EXPECT_EQ(Join(WrapperBuilder().Store({1, 2}).Chunk(MakeChunk(1000, 3)).Store({4}).Build()),
              Bytes({1, 2, 0, 0, 0}));
}

TEST_F(KtxWrapper, RoomOfABlockThatGivesLessIsZeros) {
    EXPECT_EQ(Join(WrapperBuilder()
                       .Block(Test_StoreInLz4({1, 2}), 4)
                       .Block(Test_StoreInLz4({3}), 2)
                       .Store({4})
                       .Build()),
              Bytes({1, 2, 0, 0, 3, 0, 4}));
}

TEST_F(KtxWrapper, ChunksFromAWrongTagOnDoNotCount) {
    WrapperChunk wrong = MakeChunk(0, 9);
    wrong.tag1 ^= 0x01000000;
    EXPECT_EQ(Join(WrapperBuilder().Store({1, 2}).Chunk(wrong).Store({3}).Build()), Bytes({1, 2}));
    wrong = MakeChunk(0, 9);
    wrong.tag2 ^= 0x01000000;
    EXPECT_EQ(Join(WrapperBuilder().Store({1, 2}).Chunk(wrong).Store({3}).Build()), Bytes({1, 2}));
    EXPECT_EQ(Join(WrapperBuilder().Chunk(wrong).Store({3}).Build()), Bytes());
}

TEST_F(KtxWrapper, AHeaderThatTheFileCutsDoesNotCount) {
    const Bytes file = WrapperBuilder().Store({1, 2}).Chunk(MakeChunk(0, 5)).Build();
    EXPECT_EQ(Join(file), Bytes({1, 2, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Join(Test_Slice(file, 0, file.size() - 1)), Bytes({1, 2}));
}

}  // namespace
}  // namespace koru
