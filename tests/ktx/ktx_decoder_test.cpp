// What the decoders leave in the surface, most of which no record shows: orientation, the sticky
// alpha flag, the level table.
#include "ktx/ktx_decoder.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "ktx/ktx_reader.h"
#include "ktx_unit_helpers.h"

namespace koru {
namespace {

constexpr KORU_Char kName[] = {'n', 0};
constexpr std::uint32_t kRgb8 = 0x8051, kRgba8 = 0x8058;
constexpr std::uint32_t kEtc2Rgb = 0x9274, kEtc2Rgba = 0x9278, kR11 = 0x9270, kRg11 = 0x9272;
constexpr std::uint32_t kDxt1Rgba = 0x83F1, kDxt1Srgb = 0x8C4C, kAstc4x4 = 0x93B0;
constexpr std::uint32_t kVkRgba8 = 37, kVkEtc2Rgba = 151;

/// A KTX 1.1 file of 4 x 4 pixels.
Bytes Packed11(std::uint32_t glInternalFormat, const Bytes& level) {
    return Ktx1Builder().Uncompressed(glInternalFormat).Level(level).Build();
}
Bytes Blocks11(std::uint32_t glInternalFormat, const Bytes& level) {
    return Ktx1Builder().Compressed(glInternalFormat).Level(level).Build();
}

int Read(const Bytes& bytes) {
    SourceBuffer source = Test_Borrow(bytes);
    return Ktx_ReadContainer(source, kName);
}

Bytes GetPixels() {
    const ByteBuffer& pixels = g_ktxState.surface.pixels;
    return {pixels.Data(), pixels.Data() + pixels.Size()};
}

const Bytes kFourBytes{1, 2, 3, 4};
const Bytes kEight(8, 0);  // eight zero bytes: a valid block of most formats
const Bytes kSixteen(16, 0);

void Put(Bytes& bytes, Ktx1Field field, std::uint32_t value) {
    Test_PokeLe(bytes, static_cast<std::size_t>(field), value, 4);
}

using KtxDecoder = KtxStateTest;

TEST_F(KtxDecoder, NeedsAName) {
    const Bytes bytes(28, 0);  // a level index entry and a descriptor's size
    for (const KORU_Char* name : {kName, static_cast<const KORU_Char*>(nullptr)}) {
        SourceBuffer source = Test_Borrow(bytes);
        EXPECT_EQ(Ktx_DecodeKtx11(source, name, {}), name != nullptr ? 1 : 0);
        source = Test_Borrow(bytes);
        EXPECT_EQ(Ktx_DecodeKtx20(source, name, {}), name != nullptr ? 1 : 0);
    }
}

// The gate decides what is compressed, not the header a second time.
TEST_F(KtxDecoder, TakesFromTheFlagWhetherTheFormatIsCompressed) {
    const Bytes level{64, 0, 0, 0};
    Bytes bytes = level;
    bytes.resize(4 + 64, 7);
    const Ktx11Header header{.endianness = 0x04030201,
                             .glType = 0,
                             .glTypeSize = 1,
                             .glFormat = 0,
                             .glInternalFormat = kRgba8,
                             .glBaseInternalFormat = 0x1908,
                             .pixelWidth = 4,
                             .pixelHeight = 4,
                             .pixelDepth = 0,
                             .numberOfArrayElements = 0,
                             .numberOfFaces = 1,
                             .numberOfMipmapLevels = 1,
                             .bytesOfKeyValueData = 0};
    g_ktxCompressed = true;
    SourceBuffer source = Test_Borrow(bytes);
    EXPECT_EQ(Ktx_DecodeKtx11(source, kName, header), 1);
    EXPECT_FALSE(surface_.pixels) << "no such block format";
    g_ktxCompressed = false;
    source = Test_Borrow(bytes);
    EXPECT_EQ(Ktx_DecodeKtx11(source, kName, header), 1);
    EXPECT_EQ(GetPixels(), Bytes(64, 7));
}

// --- Orientation -----------------------------------------------------------------------------

std::uint32_t GetOrientation11(const Bytes& keyValueData) {
    EXPECT_EQ(Read(Ktx1Builder()
                       .Uncompressed(kRgba8)
                       .Size(1, 1)
                       .KeyValueBytes(keyValueData)
                       .Level(kFourBytes)
                       .Build()),
              1);
    EXPECT_EQ(GetPixels(), kFourBytes) << "orientation never changes pixels";
    return g_ktxState.surface.reservedE;
}

std::uint32_t GetOrientation20(const Bytes& keyValueData) {
    EXPECT_EQ(Read(Ktx2Builder()
                       .Format(kVkRgba8)
                       .Size(1, 1)
                       .KeyValueBytes(keyValueData)
                       .Level(kFourBytes)
                       .Build()),
              1);
    EXPECT_EQ(GetPixels(), kFourBytes) << "orientation never changes pixels";
    return g_ktxState.surface.reservedE;
}

constexpr auto Pair = Test_KeyValuePair;

Bytes Join(Bytes first, const Bytes& second) {
    Test_Append(first, second);
    return first;
}

TEST_F(KtxDecoder, OrientationWordIsOneWithoutAKey) {
    EXPECT_EQ(GetOrientation11({}), 1u);
    EXPECT_EQ(GetOrientation11(Pair("KTXwriter", "S=r,T=d")), 1u);
    EXPECT_EQ(GetOrientation20({}), 1u);
    EXPECT_EQ(GetOrientation20(Pair("KTXwriter", "rd")), 1u);
}

TEST_F(KtxDecoder, OrientationWordFollowsTheFirstPair) {
    EXPECT_EQ(GetOrientation11(Pair("KTXorientation", "S=r,T=u")), 1u);
    EXPECT_EQ(GetOrientation11(Pair("KTXorientation", "S=r,T=d")), 0u);
    EXPECT_EQ(GetOrientation11(Pair("ktxorientation", "S=r,T=d")), 0u);
    EXPECT_EQ(GetOrientation20(Pair("KTXorientation", "ru")), 1u);
    EXPECT_EQ(GetOrientation20(Pair("KTXORIENTATION", "RU")), 1u);
    for (const char* value : {"rd", "rdi", "lu", ""}) {
        EXPECT_EQ(GetOrientation20(Pair("KTXorientation", value)), 0u) << value;
    }
}

TEST_F(KtxDecoder, OrientationAsSecondKeyIsIgnored) {
    const Bytes first = Pair("KTXwriter", "x");
    EXPECT_EQ(GetOrientation11(Join(first, Pair("KTXorientation", "S=r,T=d"))), 1u);
    EXPECT_EQ(GetOrientation20(Join(first, Pair("KTXorientation", "rd"))), 1u);
}

// The two versions spell it differently, and neither takes the other's spelling for "up".
TEST_F(KtxDecoder, OrientationOfTheOtherVersionIsNotUp) {
    EXPECT_EQ(GetOrientation11(Pair("KTXorientation", "ru")), 0u);
    EXPECT_EQ(GetOrientation20(Pair("KTXorientation", "S=r,T=u")), 0u);
}

TEST_F(KtxDecoder, EveryWayRecordsTheOrientation) {
    const auto orientationOf = [](std::uint32_t code, const Bytes& payload) {
        EXPECT_EQ(Read(Ktx1Builder()
                           .Compressed(code)
                           .KeyValue("KTXorientation", "S=r,T=d")
                           .Level(payload)
                           .Build()),
                  1)
            << std::hex << code;
        EXPECT_TRUE(g_ktxState.surface.pixels) << std::hex << code;
        return g_ktxState.surface.reservedE;
    };
    for (std::uint32_t code : {kDxt1Rgba, kEtc2Rgb, kR11})
        EXPECT_EQ(orientationOf(code, kEight), 0u);
    EXPECT_EQ(orientationOf(kAstc4x4, kSixteen), 0u);
    EXPECT_EQ(orientationOf(kEtc2Rgba, {}), 0u) << "also without payload";
}

// --- The sticky alpha flag ---------------------------------------------------------------------

struct Depth {
    std::uint32_t bitsPerPixel, bytesPerPixel, stride, dataSize;
    bool operator==(const Depth&) const = default;
};
constexpr Depth kRgbDepth{24, 3, 12, 48};
constexpr Depth kRgbaDepth{32, 4, 16, 64};

Depth GetDepth() {
    const DecodeSurface& surface = g_ktxState.surface;
    EXPECT_EQ(surface.width, 4u);
    EXPECT_EQ(surface.height, 4u);
    EXPECT_EQ(surface.bitsPerChannel, 8u);
    EXPECT_EQ(surface.rowPadding, 0u);
    EXPECT_EQ(surface.reservedD, 0u);
    EXPECT_EQ(surface.pixels.Size(), surface.dataSize);
    return {surface.bitsPerPixel, surface.bytesPerPixel, surface.stride, surface.dataSize};
}

/// A 4 x 4 image of a compressed format.
void ReadCompressed(std::uint32_t code, const Bytes& payload) {
    ASSERT_EQ(Read(Blocks11(code, payload)), 1) << std::hex << code;
    ASSERT_TRUE(g_ktxState.surface.pixels) << std::hex << code;
}

TEST_F(KtxDecoder, SurfacesAre24BitUntilFourComponentsCame) {
    const Bytes pixels(64, 9);
    ReadCompressed(kDxt1Srgb, kEight);
    EXPECT_EQ(GetDepth(), kRgbDepth);
    ReadCompressed(kEtc2Rgb, kEight);
    EXPECT_EQ(GetDepth(), kRgbDepth);
    ReadCompressed(kR11, kEight);
    EXPECT_EQ(GetDepth(), kRgbDepth);
    ReadCompressed(kRg11, kSixteen);
    EXPECT_EQ(GetDepth(), kRgbDepth);
    ASSERT_EQ(Read(Packed11(kRgb8, pixels)), 1);
    EXPECT_EQ(GetDepth(), kRgbDepth);
    EXPECT_EQ(surface_.reservedB, 0u);

    ReadCompressed(kDxt1Rgba, kEight);
    EXPECT_EQ(GetDepth(), kRgbaDepth);
    EXPECT_EQ(surface_.reservedB, 1u);
    ReadCompressed(kEtc2Rgb, kEight);
    EXPECT_EQ(GetDepth(), kRgbaDepth);
    ASSERT_EQ(Read(Packed11(kRgb8, pixels)), 1);
    EXPECT_EQ(GetDepth(), kRgbaDepth);
    for (std::size_t i = 3; i < 64; i += 4) EXPECT_EQ(GetPixels()[i], 255) << i;
}

TEST_F(KtxDecoder, EveryFourComponentWaySetsTheFlag) {
    const std::vector<std::pair<std::uint32_t, Bytes>> files{
        {kDxt1Rgba, kEight}, {0x83F2, kSixteen},    {0x83F3, kSixteen},   {0x8C4D, kEight},
        {0x9276, kEight},    {kEtc2Rgba, kSixteen}, {kAstc4x4, kSixteen}, {0x93DD, kSixteen}};
    for (const auto& [code, payload] : files) {
        g_ktxState.surface.reservedB = 0;
        ReadCompressed(code, payload);
        EXPECT_EQ(surface_.reservedB, 1u) << std::hex << code;
        EXPECT_EQ(GetDepth(), kRgbaDepth);
    }
    g_ktxState.surface.reservedB = 0;
    ASSERT_EQ(Read(Packed11(kRgba8, Bytes(64, 1))), 1);
    EXPECT_EQ(surface_.reservedB, 1u);
}

TEST_F(KtxDecoder, PreparingZeroesPaddingAndTheUnusedWord) {
    g_ktxState.surface.rowPadding = 5;
    g_ktxState.surface.reservedD = 6;
    ReadCompressed(kEtc2Rgb, kEight);
    EXPECT_EQ(surface_.rowPadding, 0u);
    EXPECT_EQ(surface_.reservedD, 0u);
}

// The flag is set before the sizes are judged.
TEST_F(KtxDecoder, AFourComponentImageTooLargeForItsSurfaceSetsTheFlag) {
    EXPECT_EQ(Read(Ktx1Builder().Compressed(kEtc2Rgba).Size(0x8000, 0x8000).Level({}).Build()), 0);
    EXPECT_FALSE(surface_.pixels);
    EXPECT_EQ(surface_.reservedB, 1u);
}

// Any value but 0 counts, and clearing for the next load keeps it.
TEST_F(KtxDecoder, AnyNonZeroFlagMakesSurfaces32Bit) {
    g_ktxState.surface.reservedB = 7;
    Surface_Clear(g_ktxState.surface);
    ReadCompressed(kEtc2Rgb, kEight);
    EXPECT_EQ(GetDepth(), kRgbaDepth);
    EXPECT_EQ(surface_.reservedB, 7u);
}

TEST_F(KtxDecoder, WhatDecodesNothingLeavesTheFlagAlone) {
    const Bytes seven(7, 0), fifteen(15, 0);
    for (const auto& [code, payload] :
         std::vector<std::pair<std::uint32_t, Bytes>>{{kDxt1Rgba, seven},
                                                      {kDxt1Rgba, {}},
                                                      {0x83F3, fifteen},
                                                      {0x9276, seven},
                                                      {kEtc2Rgba, fifteen},
                                                      {0x83F0, kEight},
                                                      {0x93C0, kSixteen},
                                                      {0x8C02, Bytes(32, 0)}}) {
        EXPECT_EQ(Read(Blocks11(code, payload)), 1) << std::hex << code;
        EXPECT_FALSE(surface_.pixels);
        EXPECT_EQ(surface_.width, 0u);
        EXPECT_EQ(surface_.reservedB, 0u) << std::hex << code;
    }
    EXPECT_EQ(Read(Packed11(kRgba8, Bytes(63, 1))), 1);
    EXPECT_EQ(surface_.reservedB, 0u);
}

// An ETC image without payload is black. KTX 1.1 has its component count from the format all the
// same; KTX 2.0 has none.
TEST_F(KtxDecoder, AnEmptyEtcPayloadSetsTheFlagInKtx11Only) {
    ASSERT_EQ(Read(Ktx2Builder().Format(kVkEtc2Rgba).Build()), 1);
    EXPECT_EQ(surface_.reservedB, 0u);
    EXPECT_EQ(GetPixels(), Bytes(48, 0));
    ASSERT_EQ(Read(Blocks11(kEtc2Rgb, {})), 1);
    EXPECT_EQ(surface_.reservedB, 0u);
    EXPECT_EQ(GetPixels(), Bytes(48, 0));
    ASSERT_EQ(Read(Blocks11(kEtc2Rgba, {})), 1);
    EXPECT_EQ(surface_.reservedB, 1u);
    Bytes black(64, 0);
    for (std::size_t i = 3; i < 64; i += 4) black[i] = 255;
    EXPECT_EQ(GetPixels(), black);
    ASSERT_EQ(Read(Ktx2Builder().Format(kVkEtc2Rgba).Build()), 1);
    EXPECT_EQ(GetPixels(), black) << "32-bit by now";
}

// The codec refuses the payload; the record is black, and four components were asked for.
TEST_F(KtxDecoder, ARefusedAstcPayloadIsBlackAndSetsTheFlag) {
    for (const Bytes& payload : {Bytes{}, Bytes(15, 0)}) {
        g_ktxState.surface.reservedB = 0;
        ASSERT_EQ(Read(Blocks11(kAstc4x4, payload)), 1);
        EXPECT_EQ(surface_.reservedB, 1u);
        Bytes black(64, 0);
        for (std::size_t i = 3; i < 64; i += 4) black[i] = 255;
        EXPECT_EQ(GetPixels(), black);
    }
}

// --- Levels -------------------------------------------------------------------------------------

TEST_F(KtxDecoder, LevelCountComesFromLevelsOrElseFromFaces) {
    Bytes file = Ktx1Builder().Uncompressed(kRgba8).Size(1, 1).Level(kFourBytes).Build();
    Put(file, Ktx1Field::MipmapLevels, 0);
    EXPECT_EQ(Read(file), 1);
    EXPECT_EQ(GetPixels(), kFourBytes);
    Surface_Clear(g_ktxState.surface);
    Put(file, Ktx1Field::Faces, 0);
    EXPECT_EQ(Read(file), 1);
    EXPECT_FALSE(surface_.pixels) << "no level is read";
}

TEST_F(KtxDecoder, ALaterLevelBeyondTheEndFailsWhenTheNextIsRead) {
    Bytes file = Ktx1Builder()
                     .Uncompressed(kRgba8)
                     .Size(1, 1)
                     .Level(kFourBytes)
                     .Level(kFourBytes)
                     .Level(kFourBytes)
                     .Build();
    EXPECT_EQ(Read(file), 1);
    Test_PokeLe(file, 72, 0xFFFFFFFC, 4);  // the second level's imageSize
    Surface_Clear(g_ktxState.surface);
    EXPECT_EQ(Read(file), 0);
    EXPECT_FALSE(surface_.pixels);
    Put(file, Ktx1Field::MipmapLevels, 2);  // now that level is the last: nothing is read behind it
    EXPECT_EQ(Read(file), 1);
    EXPECT_EQ(GetPixels(), kFourBytes);
}

TEST_F(KtxDecoder, TheLevelTableHoldsThePayloadOfBlocks) {
    ReadCompressed(kEtc2Rgb, Bytes(11, 0));  // three bytes more than the block
    ASSERT_EQ(g_ktxState.levels.count, 1);
    const LevelEntry& level = g_ktxState.levels.entries[0];
    EXPECT_EQ(level.levelWidth, 4u);
    EXPECT_EQ(level.levelHeight, 4u);
    EXPECT_EQ(level.byteSize, 11u);
    ReadCompressed(kEtc2Rgb, {});
    EXPECT_EQ(g_ktxState.levels.entries[0].byteSize, 0u);
    EXPECT_EQ(g_ktxState.levels.entries[0].levelWidth, 0u);
}

// Two readers of one process must not see each other's leftovers: a failing load clears nothing by
// itself, but the next begins with a fresh table.
TEST_F(KtxDecoder, AFailedLoadLeavesNothingForTheNext) {
    ReadCompressed(kEtc2Rgba, kSixteen);
    Surface_Clear(g_ktxState.surface);
    Bytes cut = Blocks11(kEtc2Rgba, kSixteen);
    cut.pop_back();
    EXPECT_EQ(Read(cut), 0);
    EXPECT_FALSE(surface_.pixels);
    EXPECT_EQ(g_ktxState.levels.entries[0].byteSize, 0u);
}

// --- Sizes --------------------------------------------------------------------------------------

TEST_F(KtxDecoder, SizesBeyond32BitsAreRefused) {
    // 65536 * 65536 pixels: the bytes of one component wrap to 0 in 32 bits.
    for (std::uint32_t code : {kRgba8, kRgb8}) {
        EXPECT_EQ(
            Read(Ktx1Builder().Uncompressed(code).Size(0x10000, 0x10000).Level(kFourBytes).Build()),
            1);
        EXPECT_FALSE(surface_.pixels);
    }
    for (std::uint32_t code : {kDxt1Rgba, kEtc2Rgb}) {
        EXPECT_EQ(
            Read(Ktx1Builder().Compressed(code).Size(0xFFFFFFFF, 0xFFFFFFFF).Level(kEight).Build()),
            1);
        EXPECT_FALSE(surface_.pixels);
    }
    EXPECT_EQ(
        Read(Ktx1Builder().Compressed(kAstc4x4).Size(0x10000, 0x10000).Level(kSixteen).Build()), 0);
    EXPECT_EQ(Read(Ktx1Builder().Compressed(kEtc2Rgb).Size(0x10000, 0x10000).Level({}).Build()), 0)
        << "no blank of 12 GiB";
    EXPECT_FALSE(surface_.pixels);
}

}  // namespace
}  // namespace koru
