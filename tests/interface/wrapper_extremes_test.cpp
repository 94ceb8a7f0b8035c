// The sizes that a wrapper tells, at their extremes. Chunks of 2^31 - 1 bytes and more that are
// told to load take as much room; they have a process of their own elsewhere.
#include <gtest/gtest.h>
#include <korutex.h>

#include <cstdint>
#include <string>
#include <vector>

#include "ktx_builder.h"
#include "ktx_expectations.h"
#include "test_files.h"
#include "test_records.h"
#include "told_outcome.h"
#include "wrapper_builder.h"

namespace {

/// 2 x 2 pixels 1, 2, 3, ... The second row begins at 76.
const Bytes kFile = Ktx1Builder().Uncompressed(0x8058).Size(2, 2).Level(Test_CountUp(16)).Build();
const Bytes kHead = Test_Slice(kFile, 0, 76);
const Bytes kTail = Test_Slice(kFile, 76, 84);

const TestPicture kWhole{2, 2, Test_CountUp(16)};
const TestPicture kFirstRow{2, 2, {1, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 0, 0, 0, 0, 0}};

constexpr std::size_t kFirstChunk = kWrapperHeadBytes + 3 * kWrapperEntryBytes;  // of two
const std::size_t kSecondChunk =
    kFirstChunk + kWrapperChunkHeadBytes + Test_StoreInLz4(kHead).size();

Bytes MakeFile() { return WrapperBuilder().Store(kHead).Store(kTail).Build(); }

/// Offsets inside a chunk's header.
constexpr std::size_t kTag1 = 0, kTag2 = 4, kCompressed = 8, kDecompressed = 12, kUnread = 16;

Bytes Poke(std::size_t offset, std::uint32_t value) {
    Bytes file = MakeFile();
    Test_PokeLe(file, offset, value, 4);
    return file;
}

TEST(WrapperExtremes, TheFileItself) {
    Test_ExpectLoads(MakeFile(), kWhole);
    ASSERT_EQ(Told_Load32(MakeFile(), kSecondChunk), 0x41646170u);
}

// Less than two entries are no chunk; many are no harm where they are there.
TEST(WrapperExtremes, EveryTableCount) {
    for (const std::uint32_t count : kTestExtremes) {
        SCOPED_TRACE(count);
        Test_ExpectRefused(Poke(4, count));
        if (count < 2 || count > 0x10000) continue;
        Bytes file = Poke(4, count);
        file.insert(file.begin() + kWrapperHeadBytes, (count - 3) * std::size_t{kWrapperEntryBytes},
                    0xEE);
        Test_ExpectLoads(file, kWhole);
    }
    Test_ExpectRefused(Poke(4, 0x20000003));  // 8 times that is 24 in 32 bits
}

// No extreme is a tag: neither the chunk nor what follows it is read.
TEST(WrapperExtremes, EveryTag) {
    for (const std::uint32_t value : kTestExtremes) {
        for (const std::size_t chunk : {kFirstChunk, kSecondChunk}) {
            Test_ExpectRefused(Poke(chunk + kTag1, value));
            Test_ExpectRefused(Poke(chunk + kTag2, value));
        }
    }
}

TEST(WrapperExtremes, EveryWordThatIsNotRead) {
    for (const std::uint32_t value : kTestExtremes) {
        for (std::size_t at = kWrapperHeadBytes; at < kFirstChunk; at += 4) {
            Test_ExpectLoads(Poke(at, value), kWhole, {2});
        }
        for (const std::size_t chunk : {kFirstChunk, kSecondChunk}) {
            for (std::size_t at = kUnread; at < kWrapperChunkHeadBytes; at += 4) {
                Test_ExpectLoads(Poke(chunk + at, value), kWhole, {2});
            }
        }
    }
}

// Of the last chunk: none, one byte that is no block, and more than there are all leave its room
// empty. Of the first chunk: nothing stands at the start then.
TEST(WrapperExtremes, EveryCompressedSize) {
    for (const std::uint32_t value : kTestExtremes) {
        SCOPED_TRACE(value);
        Test_ExpectLoads(Poke(kSecondChunk + kCompressed, value), kFirstRow);
        Test_ExpectRefused(Poke(kFirstChunk + kCompressed, value));
    }
}

/// Whether the room would be of 2^31 - 1 bytes and more, and the sum fits 32 bits all the same.
bool IsHugeRoom(std::uint32_t value) { return value == 0x7FFFFFFF || value == 0x80000000; }

TEST(WrapperExtremes, EveryDecompressedSize) {
    for (const std::uint32_t value : kTestExtremes) {
        SCOPED_TRACE(value);
        if (IsHugeRoom(value)) continue;
        // With less than 8 bytes the payload is cut, and with 2^32 in all nothing is joined.
        const bool hasRoom = value == 0xFFFF || value == 0x10000;
        const Bytes last = Poke(kSecondChunk + kDecompressed, value);
        const Bytes first = Poke(kFirstChunk + kDecompressed, value);
        if (hasRoom) {
            Test_ExpectLoads(last, kWhole);
            // The second chunk follows the room of the first.
            Test_ExpectLoads(first, kFirstRow);
        } else {
            Test_ExpectRefused(last);
            Test_ExpectRefused(first);
        }
    }
}

TEST(WrapperExtremes, EveryCompressedWithEveryDecompressedSize) {
    for (const std::uint32_t compressed : kTestExtremes) {
        for (const std::uint32_t decompressed : kTestExtremes) {
            SCOPED_TRACE(std::to_string(compressed) + ", " + std::to_string(decompressed));
            if (IsHugeRoom(decompressed)) continue;
            Bytes file = Poke(kSecondChunk + kCompressed, compressed);
            Test_PokeLe(file, kSecondChunk + kDecompressed, decompressed, 4);
            if (decompressed == 0xFFFF || decompressed == 0x10000) {
                Test_ExpectLoads(file, kFirstRow);
            } else {
                Test_ExpectRefused(file);
            }
        }
    }
}

// Chunks of any sizes whose sum is 2^32 and more, also where its low 32 bits are not.
TEST(WrapperExtremes, SumsOfMoreThan32BitsAreRefused) {
    std::vector<std::uint32_t> sizes = kTestExtremes;
    const std::uint32_t rest = 0u - static_cast<std::uint32_t>(kFile.size());
    for (const std::uint32_t size : {rest - 1, rest, rest + 1}) sizes.push_back(size);
    int refused = 0;
    for (const std::uint32_t one : sizes) {
        for (const std::uint32_t other : sizes) {
            if (std::uint64_t{one} + other + kFile.size() < std::uint64_t{1} << 32) continue;
            ++refused;
            for (const bool isEmpty : {false, true}) {
                WrapperChunk first, second;
                first.decompressedBytes = one;
                second.decompressedBytes = other;
                if (!isEmpty) {
                    first.data = second.data = Test_StoreInLz4({1});
                    first.compressedBytes = second.compressedBytes = 2;
                }
                Test_ExpectRefused(
                    WrapperBuilder().Store(kFile).Chunk(first).Chunk(second).Build());
                Test_ExpectRefused(
                    WrapperBuilder().Chunk(first).Store(kFile).Chunk(second).Build());
            }
        }
    }
    EXPECT_GT(refused, 50);
}

// What is inside lies as it would outside.
TEST(WrapperExtremes, EveryExtentOfTheImageInside) {
    const Bytes files[] = {
        Ktx1Builder().Compressed(0x83F1).Level(Bytes(0x20000)).Build(),
        Ktx1Builder().Compressed(0x9274).Level({}).Build(),
        Ktx2Builder().Format(37).Size(1, 1).Level(Bytes(0x40000)).Build(),
    };
    for (const Bytes& file : files) {
        const bool isKtx1 = &file != &files[2];
        const std::size_t at = isKtx1 ? 36 : 20;
        for (const std::uint32_t width : kTestExtremes) {
            for (const std::uint32_t height : kTestExtremes) {
                SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
                Bytes inner = file;
                Test_PokeLe(inner, at, width, 4);
                Test_PokeLe(inner, at + 4, height, 4);
                const ToldOutcome outcome = isKtx1 ? Told_FromKtx1(inner) : Told_FromKtx2(inner);
                ASSERT_FALSE(outcome.IsHuge());
                Told_Expect(Test_LoadKtx(WrapperBuilder().Store(inner).Build(), 2).get(), outcome,
                            2);
                if (HasFailure()) return;
            }
        }
    }
}

// Every wrapper tells the room of a whole nest of them, and holds one.
TEST(WrapperExtremes, NestsOfMuchRoom) {
    for (const int depth : {8, 9}) {
        Bytes file = kFile;
        for (int i = 0; i < depth; ++i) {
            file = WrapperBuilder().Block(Test_StoreInLz4(file), 1 << 20).Build();
        }
        if (depth == 8) {
            Test_ExpectLoads(file, kWhole);
        } else {
            Test_ExpectRefused(file);
        }
    }
}

}  // namespace
