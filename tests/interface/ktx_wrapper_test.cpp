// KTX files in the private chunked container, through the public functions.
#include <gtest/gtest.h>
#include <korutex.h>
#include <lz4.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "koru_image_ptr.h"
#include "ktx_builder.h"
#include "ktx_expectations.h"
#include "test_blocks.h"
#include "test_files.h"
#include "test_records.h"
#include "wrapper_builder.h"

namespace {

constexpr std::size_t kFirstChunk = kWrapperHeadBytes + 2 * kWrapperEntryBytes;  // of a lone chunk

Bytes Compress(const Bytes& bytes) {
    const int byteCount = static_cast<int>(bytes.size());
    Bytes block(static_cast<std::size_t>(LZ4_compressBound(byteCount)));
    const int blockBytes = LZ4_compress_default(reinterpret_cast<const char*>(bytes.data()),
                                                reinterpret_cast<char*>(block.data()), byteCount,
                                                static_cast<int>(block.size()));
    EXPECT_GT(blockBytes, 0);
    block.resize(static_cast<std::size_t>(blockBytes));
    return block;
}

/// A chunk for each part of the file between the cuts, which ascend.
Bytes Wrap(const Bytes& file, const std::vector<std::size_t>& cuts, bool compress) {
    WrapperBuilder wrapper;
    std::size_t begin = 0;
    const auto put = [&](std::size_t end) {
        const Bytes part = Test_Slice(file, begin, end);
        compress ? wrapper.Block(Compress(part), static_cast<std::uint32_t>(part.size()))
                 : wrapper.Store(part);
        begin = end;
    };
    for (const std::size_t cut : cuts) put(cut);
    put(file.size());
    return wrapper.Build();
}

/// 2 x 2 pixels 1, 2, 3, ... The pixels begin at 68.
const Bytes kFile = Ktx1Builder().Uncompressed(0x8058).Size(2, 2).Level(Test_CountUp(16)).Build();
constexpr std::size_t kPixelsAt = 68;
const auto kFileBytes = static_cast<std::uint32_t>(kFile.size());
/// The same picture as KTX 2.0.
const Bytes kFile2 = Ktx2Builder().Format(37).Size(2, 2).Level(Test_CountUp(16)).Build();
/// Another one of one pixel.
const Bytes kOnePixel =
    Ktx1Builder().Uncompressed(0x8058).Size(1, 1).Level({201, 202, 203, 204}).Build();

void ExpectPixels(const Bytes& file, const Bytes& pixels) {
    const auto image = Test_LoadKtx(file, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Test_GetPixels(*image), pixels);
}

void ExpectWholePicture(const Bytes& file) { ExpectPixels(file, Test_CountUp(16)); }

/// The second row is zeros.
Bytes HalfPicture() {
    Bytes pixels = Test_CountUp(8);
    pixels.resize(16);
    return pixels;
}

void ExpectSameRecord(const KoruImagePtr& image, const KORU_Image& expected) {
    ASSERT_NE(image, nullptr);
    Test_ExpectSameFields(*image, expected);
    EXPECT_EQ(Test_GetPixels(*image), Test_GetPixels(expected));
}

/// A chunk with a file's bytes that tells what it likes.
WrapperChunk StoreChunk(const Bytes& bytes) {
    WrapperChunk chunk;
    chunk.data = Test_StoreInLz4(bytes);
    chunk.compressedBytes = static_cast<std::uint32_t>(chunk.data.size());
    chunk.decompressedBytes = static_cast<std::uint32_t>(bytes.size());
    return chunk;
}

/// A chunk without compressed bytes.
WrapperChunk EmptyChunk(std::uint32_t decompressedBytes) {
    WrapperChunk chunk;
    chunk.decompressedBytes = decompressedBytes;
    return chunk;
}

// --- What loads ---

TEST(KoruLoadWrapped, GivesTheRecordOfTheFileInside) {
    const Bytes noise = Test_CountUp(5 * 4 * 4, 77);
    const Bytes dxt5 = Test_MakeBlockImage(Test_Bc3Block, 4, 9, 6).blocks;
    const Bytes etc = Test_MakeBlockImage(Test_EtcRgbBlock, 3, 9, 6).blocks;
    const Bytes files[] = {
        Ktx1Builder().Uncompressed(0x8058).Size(5, 4).Level(noise).Build(),
        Ktx1Builder().Uncompressed(0x8051).Size(5, 4).Level(noise).Level(noise).Build(),
        Ktx1Builder().Compressed(0x83F3).Size(9, 6).KeyValue("a", "b").Level(dxt5).Build(),
        Ktx1Builder().Compressed(0x9274).Size(9, 6).Level(etc).Build(),
        Ktx2Builder().Format(37).Size(5, 4).Level(noise).Build(),
        Ktx2Builder().Format(137).Size(9, 6).KeyValue("a", "b").Level(dxt5).Build(),
        Ktx2Builder().Format(147).Size(9, 6).Level(etc).Level(Bytes(8)).Build(),
    };
    TempFolder folder;
    const auto path = folder / "wrapped";
    int number = 0;
    for (const Bytes& file : files) {
        SCOPED_TRACE("file " + std::to_string(number++));
        for (const std::vector<std::size_t>& cuts :
             {std::vector<std::size_t>{}, {1}, {64}, {2, 70, 71, 90}, {file.size() - 1}}) {
            for (std::uint32_t flags = 0; flags < 4; ++flags) {
                const auto plain = Test_LoadKtx(file, flags);
                ASSERT_NE(plain, nullptr);
                const Bytes wrapped = Wrap(file, cuts, flags % 3 == 0);
                ExpectSameRecord(Test_LoadKtx(wrapped, flags), *plain);
                Test_WriteFile(path, wrapped);
                ExpectSameRecord(
                    KoruImagePtr(KORU_Load_KTX_From_File(Test_ToKoruPath(path).c_str(), flags)),
                    *plain);
            }
        }
    }
}

TEST(KoruLoadWrapped, AChunkMayEndAnywhere) {
    for (std::size_t cut = 1; cut < kFile.size(); ++cut) {
        SCOPED_TRACE(cut);
        ExpectWholePicture(Wrap(kFile, {cut}, false));
    }
}

TEST(KoruLoadWrapped, AChunkMayBeOfOneByte) {
    std::vector<std::size_t> cuts;
    for (std::size_t cut = 1; cut < kFile.size(); ++cut) cuts.push_back(cut);
    ExpectWholePicture(Wrap(kFile, cuts, false));
}

TEST(KoruLoadWrapped, LargeFilesInUnevenChunks) {
    constexpr std::uint32_t kSize = 256;
    TestPicture picture{kSize, kSize, Bytes(kSize * kSize * 4)};
    for (std::size_t i = 0; i < picture.rgba.size(); ++i) {
        // Runs, and places where nothing repeats.
        picture.rgba[i] = static_cast<std::uint8_t>(i % 9000 < 6000 ? i / 1000 : i * i * 31 >> 7);
    }
    const Bytes file =
        Ktx1Builder().Uncompressed(0x8058).Size(kSize, kSize).Level(picture.rgba).Build();
    const Bytes wrapped = Wrap(file, {3, 65536, 65539, 131077, 200000}, true);
    EXPECT_LT(wrapped.size(), file.size() * 3 / 4) << "chunks without matches show nothing";
    Test_ExpectLoads(wrapped, picture);
}

// 17 literals, a run of one byte, a pattern of three, and lengths of several bytes.
TEST(KoruLoadWrapped, BlocksByHand) {
    const Bytes head = Test_Slice(
        Ktx1Builder().Uncompressed(0x8058).Size(16, 32).Level(Bytes(2048)).Build(), 0, kPixelsAt);
    Bytes literals = head;
    Test_Append(literals, {5});
    const Bytes block = Lz4Builder()
                            .Sequence(literals, 1, 4)           // 5, and 4 more
                            .Sequence({}, 1, 18)                // 23 in all
                            .Sequence({7, 8, 9}, 3, 19)         // up to 45
                            .Sequence(Test_CountUp(15), 15, 5)  // up to 65
                            .Sequence(Bytes(300, 3), 20, 1000)  // up to 1365
                            .Finish(Bytes(2048 - 1365, 6));
    Bytes pixels(23, 5);
    for (std::size_t i = 0; i < 22; ++i) pixels.push_back(static_cast<std::uint8_t>(7 + i % 3));
    Test_Append(pixels, Test_CountUp(15));
    Test_Append(pixels, Test_CountUp(5));
    Test_Append(pixels, Bytes(1300, 3));
    Test_Append(pixels, Bytes(2048 - 1365, 6));
    ASSERT_EQ(pixels.size(), 2048u);
    ExpectPixels(WrapperBuilder()
                     .Block(block, static_cast<std::uint32_t>(head.size() + pixels.size()))
                     .Build(),
                 pixels);
}

// Also where they look like what they are not.
TEST(KoruLoadWrapped, TableEntriesAndSkippedWordsDoNotMatter) {
    for (const std::uint8_t value : Bytes{0x00, 0x01, 0x41, 0x80, 0xFF}) {
        SCOPED_TRACE(+value);
        WrapperChunk first = StoreChunk(Test_Slice(kFile, 0, 70));
        WrapperChunk second = StoreChunk(Test_Slice(kFile, 70, kFileBytes));
        first.unread = value;
        second.unread = static_cast<std::uint8_t>(~value);
        ExpectWholePicture(WrapperBuilder().TableByte(value).Chunk(first).Chunk(second).Build());
    }
    Bytes tagged = WrapperBuilder().Store(kFile).Build();
    for (std::size_t at = 8; at < kFirstChunk; at += 8) {
        std::copy_n(tagged.begin() + kFirstChunk, 8,
                    tagged.begin() + static_cast<std::ptrdiff_t>(at));
    }
    ExpectWholePicture(tagged);
}

TEST(KoruLoadWrapped, BytesBehindTheLastChunkAreNotRead) {
    Bytes file = WrapperBuilder().Store(kFile).Build();
    Test_Append(file, Test_Slice(WrapperBuilder().Store(kOnePixel).Build(), kFirstChunk, 60));
    ExpectWholePicture(file);
}

TEST(KoruLoadWrapped, TheFileMayEndBeforeTheToldChunks) {
    // Three chunks told, with room for a table of four; one follows.
    Bytes file = WrapperBuilder().ToldCount(4).Store(kFile).Build();
    file.insert(file.begin() + kFirstChunk, 2 * kWrapperEntryBytes, 0);
    ExpectWholePicture(file);
}

TEST(KoruLoadWrapped, OnlyToldChunksAreRead) {
    // Two table entries tell one chunk. The third belongs to nothing, so it is left out.
    Bytes file = WrapperBuilder().ToldCount(2).Store(kFile).Chunk(EmptyChunk(0xFFFFFFFF)).Build();
    file.erase(file.begin() + kFirstChunk, file.begin() + kFirstChunk + kWrapperEntryBytes);
    ExpectWholePicture(file);
}

TEST(KoruLoadWrapped, LeavesTheCallersBytesAlone) {
    const Bytes file = WrapperBuilder().Store(kFile).Build();
    const Bytes copy = file;
    const KoruImagePtr image(
        KORU_Load_KTX_From_Memory(file.data(), static_cast<std::uint32_t>(file.size()), 2));
    EXPECT_NE(image, nullptr);
    EXPECT_EQ(file, copy);
}

TEST(KoruLoadWrapped, OpensPathsOutsideAscii) {
    TempFolder folder;
    const auto path = folder / std::filesystem::path(u"\u00FC\u56F3\U0001F4BE.ktx");
    Test_WriteFile(path, WrapperBuilder().Store(kFile2).Build());
    EXPECT_NE(KoruImagePtr(KORU_Load_KTX_From_File(Test_ToKoruPath(path).c_str(), 0)), nullptr);
}

TEST(KoruLoadWrapped, OtherLoadersRefuseIt) {
    const Bytes file = WrapperBuilder().Store(kFile).Build();
    const auto size = static_cast<std::uint32_t>(file.size());
    EXPECT_EQ(KORU_Load_ASTC_From_Memory(file.data(), size, 0), nullptr);
    EXPECT_EQ(KORU_Load_PVR_From_Memory(file.data(), size, 0), nullptr);
}

// --- Wrappers within wrappers ---

TEST(KoruLoadWrapped, OneToEightDeep) {
    for (int depth = 1; depth <= 8; ++depth) {
        SCOPED_TRACE(depth);
        ExpectWholePicture(Test_WrapDeep(kFile, depth));
        ExpectWholePicture(Test_WrapDeep(kFile2, depth));
    }
}

TEST(KoruLoadWrapped, NineDeepIsRefused) {
    TempFolder folder;
    for (const int depth : {9, 10, 40}) {
        SCOPED_TRACE(depth);
        Test_ExpectRefused(Test_WrapDeep(kFile, depth));
        Test_WriteFile(folder / "deep", Test_WrapDeep(kFile, depth));
        EXPECT_EQ(KORU_Load_KTX_From_File(Test_ToKoruPath(folder / "deep").c_str(), 2), nullptr);
    }
    // It leaves the depth of the next load alone.
    ExpectWholePicture(Test_WrapDeep(kFile, 8));
}

TEST(KoruLoadWrapped, WrappersMayBeCutIntoChunksThemselves) {
    const Bytes inner = WrapperBuilder()
                            .Store(Test_Slice(kFile, 0, 10))
                            .Store(Test_Slice(kFile, 10, kFileBytes))
                            .Build();
    for (std::size_t cut = 1; cut < inner.size(); ++cut) {
        SCOPED_TRACE(cut);
        ExpectWholePicture(Wrap(inner, {cut}, cut % 2 == 0));
    }
}

TEST(KoruLoadWrapped, ABrokenInnerWrapperIsRefused) {
    TempFolder folder;
    for (const Bytes& inner : {WrapperBuilder().Build(), WrapperBuilder().Store({}).Build(),
                               Bytes{'Q', 'O', 'Z', 'M'}}) {
        const Bytes file = WrapperBuilder().Store(inner).Build();
        Test_ExpectRefused(file);
        Test_WriteFile(folder / "broken", file);
        EXPECT_EQ(KORU_Load_KTX_From_File(Test_ToKoruPath(folder / "broken").c_str(), 2), nullptr);
    }
}

// --- What does not ---

TEST(KoruLoadWrapped, FilesInsideThatAreNoKtxAreRefused) {
    TempFolder folder;
    const Bytes astc = AstcBuilder().Solid({1, 2, 3, 4}).Build();
    for (const Bytes& inner : {Bytes(100, 'x'), Bytes{1}, Test_Slice(kFile, 0, 83), astc}) {
        const Bytes file = WrapperBuilder().Store(inner).Build();
        Test_ExpectRefused(file);
        Test_WriteFile(folder / "foreign", file);
        EXPECT_EQ(KORU_Load_KTX_From_File(Test_ToKoruPath(folder / "foreign").c_str(), 2), nullptr);
    }
}

TEST(KoruLoadWrapped, NeedsEveryByteOfTheMagic) {
    for (std::size_t i = 0; i < 4; ++i) {
        Bytes file = WrapperBuilder().Store(kFile).Build();
        file[i] ^= 0x20;
        Test_ExpectRefused(file);
    }
}

TEST(KoruLoadWrapped, StandsAtTheStartAlone) {
    Bytes file(4, 0);
    Test_Append(file, WrapperBuilder().Store(kFile).Build());
    Test_ExpectRefused(file);
}

TEST(KoruLoadWrapped, NoEntryOrOneEntryIsNoChunk) {
    for (const std::uint32_t count : {0u, 1u}) {
        Test_ExpectRefused(WrapperBuilder().ToldCount(count).Build());
        Test_ExpectRefused(WrapperBuilder().ToldCount(count).Store(kFile).Build());
        // The chunk where the table says that it is.
        Bytes file = WrapperBuilder().ToldCount(count).Store(kFile).Build();
        file.erase(file.begin() + 8, file.begin() + static_cast<int>(8 * (3 - count)));
        Test_ExpectRefused(file);
    }
}

TEST(KoruLoadWrapped, ATablePastTheEndIsRefused) {
    const Bytes file = WrapperBuilder().Store(kFile).Build();
    const auto entries = static_cast<std::uint32_t>((file.size() - 8) / kWrapperEntryBytes);
    // The last two would be tables of two entries if their bytes were counted in 32 bits.
    for (const std::uint32_t count : {entries, entries + 1, 0x10000u, 0x7FFFFFFFu, 0x80000000u,
                                      0xFFFFFFFFu, 0x20000002u, 0x80000002u}) {
        SCOPED_TRACE(count);
        Bytes changed = file;
        Test_PokeLe(changed, 4, count, 4);
        Test_ExpectRefused(changed);
    }
}

TEST(KoruLoadWrapped, WrongTagsInTheFirstChunkLeaveNothing) {
    const Bytes file = WrapperBuilder().Store(kFile).Store(kFile).Build();
    for (std::size_t i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        Bytes changed = file;
        changed[kFirstChunk + kWrapperEntryBytes + i] ^= 1;
        Test_ExpectRefused(changed);
    }
}

TEST(KoruLoadWrapped, WrongTagsInTheSecondChunkLeaveTheFirst) {
    const Bytes file = WrapperBuilder().Store(kFile).Store(kOnePixel).Build();
    const std::size_t second = file.size() - Test_StoreInLz4(kOnePixel).size() - 32;
    for (std::size_t i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        Bytes changed = file;
        changed[second + i] ^= 0x80;
        ExpectWholePicture(changed);
    }
}

// With the room of the second chunk zeros would be pixels; with the third one, the file would be
// whole.
TEST(KoruLoadWrapped, ChunksFromAWrongTagOnDoNotCount) {
    const Bytes head = Test_Slice(kFile, 0, 76), tail = Test_Slice(kFile, 76, 84);
    for (const bool first : {false, true}) {
        WrapperChunk wrong = StoreChunk(tail);
        (first ? wrong.tag1 : wrong.tag2) += 1;
        Test_ExpectRefused(WrapperBuilder().Store(head).Chunk(wrong).Build());
        Test_ExpectRefused(WrapperBuilder().Store(head).Chunk(wrong).Store(tail).Build());
    }
    ExpectWholePicture(WrapperBuilder().Store(head).Store(tail).Store(tail).Build());
}

// A chunk that the file cuts counts by its size, and its bytes are zeros.
TEST(KoruLoadWrapped, EveryTruncation) {
    const Bytes file =
        WrapperBuilder().Store(Test_Slice(kFile, 0, 76)).Store(Test_Slice(kFile, 76, 84)).Build();
    const std::size_t secondData = file.size() - 9;  // a token and 8 literals
    TempFolder folder;
    for (std::size_t size = 0; size < file.size(); ++size) {
        SCOPED_TRACE(size);
        const Bytes cut = Test_Slice(file, 0, size);
        if (size < secondData) {
            Test_ExpectRefused(cut);
        } else {
            ExpectPixels(cut, HalfPicture());
        }
        Test_WriteFile(folder / "cut", cut);
        const KoruImagePtr image(
            KORU_Load_KTX_From_File(Test_ToKoruPath(folder / "cut").c_str(), KORU_FLAG_RGBA));
        ASSERT_EQ(image != nullptr, size >= secondData);
        if (image != nullptr) {
            EXPECT_EQ(Test_GetPixels(*image), HalfPicture());
        }
    }
    ExpectWholePicture(file);
}

TEST(KoruLoadWrapped, ACompressedSizePastTheEndEndsTheReading) {
    for (const std::uint32_t size : {10u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFE0u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(size);
        WrapperChunk cut = StoreChunk(Test_Slice(kFile, 76, 84));
        cut.compressedBytes = size;
        ExpectPixels(WrapperBuilder().Store(Test_Slice(kFile, 0, 76)).Chunk(cut).Build(),
                     HalfPicture());
        // What stands behind its header is no chunk, though it looks like one.
        cut.data.clear();
        cut.decompressedBytes = 0;
        if (size > 200) Test_ExpectRefused(WrapperBuilder().Chunk(cut).Store(kFile).Build());
    }
}

// --- Sizes that lie ---

// The file is followed by 50 zeros, which nobody reads, and not preceded by them.
TEST(KoruLoadWrapped, AChunkWithoutCompressedBytesTakesNoRoom) {
    ExpectWholePicture(WrapperBuilder().Chunk(EmptyChunk(50)).Store(kFile).Build());
    ExpectWholePicture(WrapperBuilder()
                           .Store(Test_Slice(kFile, 0, 70))
                           .Chunk(EmptyChunk(50))
                           .Store(Test_Slice(kFile, 70, 84))
                           .Build());
    ExpectWholePicture(WrapperBuilder().Store(kFile).Chunk(EmptyChunk(0)).Build());
}

// It counts in the total: what it leaves at the end are the pixels that are missing.
TEST(KoruLoadWrapped, AChunkWithoutCompressedBytesCountsInTheTotal) {
    const Bytes head = Test_Slice(kFile, 0, 76);
    ExpectPixels(WrapperBuilder().Store(head).Chunk(EmptyChunk(8)).Build(), HalfPicture());
    ExpectPixels(WrapperBuilder().Chunk(EmptyChunk(8)).Store(head).Build(), HalfPicture());
    Test_ExpectRefused(WrapperBuilder().Store(head).Chunk(EmptyChunk(7)).Build());
}

TEST(KoruLoadWrapped, AChunkWithoutDecompressedBytesGivesNone) {
    WrapperChunk none = StoreChunk(kOnePixel);
    none.decompressedBytes = 0;
    ExpectWholePicture(WrapperBuilder().Chunk(none).Store(kFile).Build());
    ExpectWholePicture(WrapperBuilder()
                           .Store(Test_Slice(kFile, 0, 70))
                           .Chunk(none)
                           .Store(Test_Slice(kFile, 70, 84))
                           .Build());
}

TEST(KoruLoadWrapped, NothingToJoinIsRefused) {
    WrapperChunk none = StoreChunk(kFile);
    none.decompressedBytes = 0;
    Test_ExpectRefused(WrapperBuilder().Chunk(none).Build());
    Test_ExpectRefused(WrapperBuilder().Chunk(none).Chunk(EmptyChunk(0)).Build());
    Test_ExpectRefused(WrapperBuilder().Chunk(EmptyChunk(0)).Build());
    Test_ExpectRefused(WrapperBuilder().Chunk(EmptyChunk(84)).Build());
}

// The next chunk begins where the told size ends.
TEST(KoruLoadWrapped, ABlockThatGivesLessIsFollowedByZeros) {
    WrapperChunk less = StoreChunk(Test_Slice(kFile, 0, 72));
    less.decompressedBytes = 78;
    Bytes pixels = Test_CountUp(16);
    std::fill(pixels.begin() + 4, pixels.begin() + 10, std::uint8_t{0});
    ExpectPixels(WrapperBuilder().Chunk(less).Store(Test_Slice(kFile, 78, 84)).Build(), pixels);
    less = StoreChunk(kFile);
    less.decompressedBytes = 4000;
    ExpectWholePicture(WrapperBuilder().Chunk(less).Build());
}

Bytes MakeFileOf64Pixels() {
    return Ktx1Builder().Uncompressed(0x8058).Size(8, 8).Level(Test_CountUp(256)).Build();
}

/// A block with the file in its first sequences, for more bytes than it will be given room for.
Bytes MakeLongBlock() {
    return Lz4Builder().Sequence(kFile, 1, 4).Sequence(Bytes(40, 9), 1, 100).Finish(Bytes(60, 9));
}

TEST(KoruLoadWrapped, ABlockThatGivesMoreStaysWithinItsRoom) {
    constexpr std::uint32_t kLongBytes = 84 + 4 + 40 + 100 + 60;
    ExpectWholePicture(WrapperBuilder().Block(MakeLongBlock(), kLongBytes).Build());
    for (const std::uint32_t room : {kLongBytes - 1, kLongBytes - 60, kFileBytes + 44}) {
        SCOPED_TRACE(room);
        ExpectWholePicture(WrapperBuilder().Block(MakeLongBlock(), room).Build());
    }
}

TEST(KoruLoadWrapped, TheNextChunkGoesWhereTheToldRoomEnds) {
    const Bytes file = MakeFileOf64Pixels();
    const std::size_t good = kPixelsAt + 100;
    // 40 more bytes, of which 32 have room.
    const Bytes block = Lz4Builder().Sequence(Test_Slice(file, 0, good), 1, 40).Finish(Bytes(60));
    const auto image = Test_LoadKtx(WrapperBuilder()
                                        .Block(block, static_cast<std::uint32_t>(good + 32))
                                        .Store(Test_Slice(file, good + 32, file.size()))
                                        .Build(),
                                    2);
    ASSERT_NE(image, nullptr);
    const Bytes pixels = Test_GetPixels(*image), expected = Test_CountUp(256);
    EXPECT_EQ(Test_Slice(pixels, 0, 100), Test_Slice(expected, 0, 100));
    EXPECT_EQ(Test_Slice(pixels, 132, 256), Test_Slice(expected, 132, 256));
}

// Matches and literals are copied in strides; nothing of them shows behind the end of the block.
TEST(KoruLoadWrapped, ABlockShorterThanItsRoomIsFollowedByZeros) {
    const Bytes file = MakeFileOf64Pixels();
    for (std::size_t matchBytes = 6; matchBytes <= 40; ++matchBytes) {
        SCOPED_TRACE(matchBytes);
        const std::size_t literals = kPixelsAt + 8;
        const Bytes block = Lz4Builder()
                                .Sequence(Test_Slice(file, 0, literals), 8, matchBytes)
                                .Finish(Bytes(5, 0xAA));
        const auto image = Test_LoadKtx(
            WrapperBuilder().Block(block, static_cast<std::uint32_t>(file.size())).Build(), 2);
        ASSERT_NE(image, nullptr);
        Bytes expected = Test_CountUp(8);
        for (std::size_t i = 0; i < matchBytes; ++i) expected.push_back(expected[i]);
        expected.insert(expected.end(), 5, 0xAA);
        expected.resize(256);
        EXPECT_EQ(Test_GetPixels(*image), expected);
    }
}

// Literals, then a match that leads to before the block.
TEST(KoruLoadWrapped, AMalformedBlockIsKeptAsFarAsItGoes) {
    const Bytes file = MakeFileOf64Pixels();
    const std::size_t good = kPixelsAt + 100;
    const Bytes block = Lz4Builder()
                            .Sequence(Test_Slice(file, 0, good), 0xFFFF, 4)
                            .Finish(Test_Slice(file, good + 4, file.size()));
    const auto image = Test_LoadKtx(
        WrapperBuilder().Block(block, static_cast<std::uint32_t>(file.size())).Build(), 2);
    ASSERT_NE(image, nullptr);
    const Bytes pixels = Test_GetPixels(*image);
    EXPECT_EQ(Test_Slice(pixels, 0, 100), Test_CountUp(100));
    // LZ4 may have copied a few literals more than there were.
    EXPECT_EQ(Test_Slice(pixels, 132, 256), Bytes(124));
}

TEST(KoruLoadWrapped, AMalformedBlockLeavesTheOthersAlone) {
    const Bytes file = MakeFileOf64Pixels();
    const Bytes bad(40, 0xFF);  // a count of literals that never ends
    Bytes pixels = Test_CountUp(256);
    std::fill_n(pixels.begin() + 10, 20, std::uint8_t{0});
    ExpectPixels(WrapperBuilder()
                     .Store(Test_Slice(file, 0, kPixelsAt + 10))
                     .Block(bad, 20)
                     .Store(Test_Slice(file, kPixelsAt + 30, file.size()))
                     .Build(),
                 pixels);
}

TEST(KoruLoadWrapped, EveryTruncationOfABlock) {
    const Bytes block = MakeLongBlock();
    const std::size_t literalsEnd = 2 + kFile.size();  // token and one more byte of their count
    for (std::size_t size = 1; size < block.size(); ++size) {
        SCOPED_TRACE(size);
        const auto image =
            Test_LoadKtx(WrapperBuilder().Block(Test_Slice(block, 0, size), 288).Build(), 2);
        // The first sequence must be whole; less than its literals are nothing.
        if (size < literalsEnd) {
            EXPECT_EQ(image, nullptr);
        } else if (size > literalsEnd + 8) {
            ASSERT_NE(image, nullptr);
            EXPECT_EQ(Test_GetPixels(*image), Test_CountUp(16));
        }
    }
}

TEST(KoruLoadWrapped, ATotalOf2To32BytesIsRefused) {
    ExpectWholePicture(WrapperBuilder().Store(kFile).Chunk(EmptyChunk(0x1000)).Build());
    Test_ExpectRefused(WrapperBuilder().Store(kFile).Chunk(EmptyChunk(0xFFFFFFFF)).Build());
    // The low 32 bits of these are 0, the file's size, and more than the file's size.
    Test_ExpectRefused(WrapperBuilder().Store(kFile).Chunk(EmptyChunk(0u - kFileBytes)).Build());
    Test_ExpectRefused(WrapperBuilder()
                           .Store(kFile)
                           .Chunk(EmptyChunk(0x80000000))
                           .Chunk(EmptyChunk(0x80000000))
                           .Build());
    Test_ExpectRefused(WrapperBuilder()
                           .Store(kFile)
                           .Chunk(EmptyChunk(0xFFFFFFFF))
                           .Chunk(EmptyChunk(0x1001))
                           .Build());
}

// Except where a size would become too large for a test.
TEST(KoruLoadWrapped, EveryByteChanged) {
    const Bytes file = WrapperBuilder()
                           .Block(Compress(Test_Slice(kFile, 0, 70)), 70)
                           .Store(Test_Slice(kFile, 70, 84))
                           .Build();
    const std::size_t firstChunk = kFirstChunk + kWrapperEntryBytes;
    const std::size_t secondChunk = file.size() - 15 - kWrapperChunkHeadBytes;
    ExpectWholePicture(file);
    for (std::size_t at = 0; at < file.size(); ++at) {
        const bool isHigh = (at - firstChunk) / 2 == 7 || (at - secondChunk) / 2 == 7;
        if (isHigh) continue;
        for (const int flip : {0x01, 0x10, 0x80, 0xFF}) {
            Bytes changed = file;
            changed[at] = static_cast<std::uint8_t>(file[at] ^ flip);
            const auto image = Test_LoadKtx(changed, at % 4);
            if (image != nullptr) Test_ExpectSoundRecord(*image, at % 4);
        }
    }
}

TEST(KoruLoadWrapped, RandomBlocks) {
    std::mt19937 random(4711);
    for (int round = 0; round < 500; ++round) {
        WrapperBuilder wrapper;
        wrapper.Store(Test_Slice(kFile, 0, kPixelsAt));
        Bytes block(random() % 64 + 1);
        for (std::uint8_t& value : block) value = static_cast<std::uint8_t>(random());
        const auto image = Test_LoadKtx(wrapper.Block(block, 16 + random() % 64).Build(), 2);
        ASSERT_NE(image, nullptr) << "the pixels have their room whatever the block is";
        Test_ExpectSoundRecord(*image, 2);
    }
}

}  // namespace
