// What the decoders leave in the surface, most of which no record shows: orientation, the sticky
// alpha flag, the level table. And the records of a process that has seen no alpha yet.
#include "pvr/pvr_decoder.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "pvr/pvr_reader.h"
#include "pvr_expectations.h"
#include "pvr_unit_helpers.h"

namespace koru {
namespace {

constexpr KORU_Char kName[] = {'n', 0};
constexpr PvrChannelWidths kEights{8, 8, 8, 8};

int Read(const Bytes& bytes) {
    SourceBuffer source = Test_BorrowPvr(bytes);
    return PvrDecodeSource(source, kName);
}

Bytes GetPixels() {
    const ByteBuffer& pixels = g_pvrState.surface.pixels;
    return {pixels.Data(), pixels.Data() + pixels.Size()};
}

using PvrDecoder = PvrStateTest;

/// A payload with what must be known of it, for 4 x 4 pixels unless it is PVRTC: that has 8 x 8.
struct Sample {
    const char* name;
    std::uint32_t legacyType;  ///< 0: none.
    std::uint32_t formatLow;
    std::uint32_t formatHigh;
    std::size_t payloadBytes;
    bool hasFourChannels;

    [[nodiscard]] std::uint32_t GetExtent() const {
        return formatHigh == 0 && formatLow < 4 ? 8 : 4;
    }
    [[nodiscard]] PvrV3Builder StartV3() const {
        return PvrV3Builder()
            .Set(PvrV3Field::FormatLow, formatLow)
            .Set(PvrV3Field::FormatHigh, formatHigh)
            .Size(GetExtent(), GetExtent())
            .Data(Bytes(payloadBytes, 0x21));
    }
    [[nodiscard]] PvrLegacyBuilder StartLegacy(std::uint32_t flags = 0) const {
        return PvrLegacyBuilder()
            .Type(legacyType | flags)
            .Size(GetExtent(), GetExtent())
            .Data(Bytes(payloadBytes, 0x21));
    }
    [[nodiscard]] std::vector<Bytes> MakeFiles() const {
        std::vector<Bytes> files{StartV3().Build()};
        if (legacyType != 0) files.push_back(StartLegacy().Build());
        return files;
    }
};

const std::vector<Sample>& GetSamples() {
    static const auto word = [](std::string_view names) { return Test_ToPvrWord(names); };
    static const std::vector<Sample> samples{
        {"pvrtc 2 rgb", 24, 0, 0, 32, true},
        {"pvrtc 2 rgba", 24, 1, 0, 32, true},
        {"pvrtc 4 rgb", 25, 2, 0, 32, true},
        {"pvrtc 4 rgba", 25, 3, 0, 32, true},
        {"etc1", 54, 6, 0, 8, false},
        {"etc2 rgb", 0, 22, 0, 8, false},
        {"etc2 rgba", 55, 23, 0, 16, true},
        {"etc2 rgba", 56, 23, 0, 16, true},
        {"etc2 punch-through", 0, 24, 0, 8, true},
        {"eac r11", 0, 25, 0, 8, false},
        {"eac rg11", 0, 26, 0, 16, false},
        {"dxt1", 32, 7, 0, 8, false},
        {"dxt3", 34, 9, 0, 16, true},
        {"dxt5", 36, 11, 0, 16, true},
        {"rgba 8888", 18, word("rgba"), 0x08080808, 64, true},
        {"rgbx 8888", 0, word("rgbx"), 0x08080808, 64, true},
        {"bgra 5551", 0, word("bgra"), 0x01050505, 64, true},
        {"rgba 16161616", 0, word("rgba"), 0x10101010, 64, true},
        {"rgb 888", 21, word("rgb"), 0x00080808, 48, false},
        {"rgb 8888", 0, word("rgb"), 0x08080808, 64, false},
        {"bgr 565", 0, word("bgr"), 0x00050605, 48, false},
        {"l 8", 0, word("l"), 0x00000008, 16, false},
        {"r 8888", 0, word("r"), 0x08080808, 64, false},
    };
    return samples;
}

// --- The surface -------------------------------------------------------------------------------

void ExpectLayout(std::uint32_t extent, std::uint32_t bytesPerPixel) {
    const DecodeSurface& surface = g_pvrState.surface;
    EXPECT_EQ(surface.width, extent);
    EXPECT_EQ(surface.height, extent);
    EXPECT_EQ(surface.bitsPerPixel, bytesPerPixel * 8);
    EXPECT_EQ(surface.bytesPerPixel, bytesPerPixel);
    EXPECT_EQ(surface.bitsPerChannel, 8u);
    EXPECT_EQ(surface.stride, extent * bytesPerPixel);
    EXPECT_EQ(surface.dataSize, extent * extent * bytesPerPixel);
    EXPECT_EQ(surface.rowPadding, 0u);
    EXPECT_EQ(surface.reservedD, 0u);
    EXPECT_EQ(surface.pixels.Size(), surface.dataSize);
}

TEST_F(PvrDecoder, FourChannelsMakeA32BitSurfaceAndOthersDoNot) {
    for (const Sample& sample : GetSamples()) {
        SCOPED_TRACE(sample.name);
        for (const Bytes& file : sample.MakeFiles()) {
            Test_ResetPvrState();
            EXPECT_EQ(Read(file), 1);
            ExpectLayout(sample.GetExtent(), sample.hasFourChannels ? 4 : 3);
            EXPECT_EQ(surface_.reservedB, sample.hasFourChannels ? 1u : 0u);
        }
    }
}

TEST_F(PvrDecoder, OnceThereWasAlphaEverySurfaceHas32Bits) {
    for (const Sample& sample : GetSamples()) {
        SCOPED_TRACE(sample.name);
        for (const Bytes& file : sample.MakeFiles()) {
            // As any number that is not 0 would.
            for (const std::uint32_t flag : {1u, 2u, 0x80000000u}) {
                Test_ResetPvrState();
                g_pvrState.surface.reservedB = flag;
                EXPECT_EQ(Read(file), 1);
                ExpectLayout(sample.GetExtent(), 4);
                EXPECT_EQ(surface_.reservedB, sample.hasFourChannels ? 1 : flag);
            }
        }
    }
}

TEST_F(PvrDecoder, TheAlphaFlagOutlivesLoads) {
    const auto load = [](const Bytes& file) {
        static_cast<void>(Test_LoadPvr(file, 2));
        return g_pvrState.surface.reservedB;
    };
    const Bytes three = PvrLegacyBuilder().Type(21).Data(Bytes(48)).Build();
    const Bytes four = PvrLegacyBuilder().Type(18).Data(Bytes(64)).Build();
    EXPECT_EQ(load(three), 0u);
    EXPECT_EQ(load(four), 1u);
    EXPECT_EQ(load(three), 1u);
    EXPECT_EQ(load(Bytes(100)), 1u);
    EXPECT_EQ(load(PvrV3Builder().Compressed(6).Build()), 1u);
}

TEST_F(PvrDecoder, ImagesThatAreNotDecodedLeaveTheAlphaFlagAlone) {
    for (const Bytes& file : {
             PvrLegacyBuilder().Type(36).Data(Bytes(15)).Build(),
             PvrLegacyBuilder().Type(18).Data(Bytes(63)).Build(),
             PvrLegacyBuilder().Type(18).Data(Bytes(64)).Set(PvrLegacyField::DataSize, 65).Build(),
             PvrLegacyBuilder().Type(24).Data(Bytes(31)).Build(),
             PvrLegacyBuilder().Type(55).Data(Bytes(15)).Build(),
             PvrV3Builder().Compressed(3).Build(),
             PvrV3Builder().Compressed(11).Build(),
             PvrV3Builder().Compressed(23).Size(0, 4).Data(Bytes(16)).Build(),
             PvrV3Builder().Packed("rgba", kEights).Build(),
             PvrV3Builder().Packed("rgba", kEights).Size(4, 0).Data(Bytes(64)).Build(),
             // Black, but without a decoder that tells of alpha.
             PvrV3Builder().Compressed(23).Build(),
             PvrV3Builder().Compressed(24).Build(),
         }) {
        static_cast<void>(Read(file));
        EXPECT_EQ(surface_.reservedB, 0u) << +file[8] << ' ' << +file[16];
    }
    EXPECT_EQ(surface_.bytesPerPixel, 3u) << "of the last one, which is black";
}

TEST_F(PvrDecoder, WordsWithoutMeaningStayAsTheyAre) {
    DecodeSurface& surface = g_pvrState.surface;
    for (const Sample& sample : GetSamples()) {
        for (const Bytes& file : sample.MakeFiles()) {
            surface.reservedA = 11;
            surface.reservedC = 13;
            surface.reservedD = 14;
            surface.reservedF = 16;
            surface.reservedG = 17;
            surface.reservedH = 18;
            EXPECT_EQ(Read(file), 1);
            EXPECT_EQ(surface.reservedA, 11u);
            EXPECT_EQ(surface.reservedC, 13u);
            EXPECT_EQ(surface.reservedD, 0u) << "but this one is cleared";
            EXPECT_EQ(surface.reservedF, 16u);
            EXPECT_EQ(surface.reservedG, 17u);
            EXPECT_EQ(surface.reservedH, 18u);
        }
    }
    surface.reservedA = surface.reservedC = surface.reservedF = 0;
    surface.reservedG = surface.reservedH = 0;
}

TEST_F(PvrDecoder, LoadsClearTheSurfaceButNotItsAlphaFlag) {
    DecodeSurface& surface = g_pvrState.surface;
    const Bytes flipped = PvrLegacyBuilder().Type(21 | 0x10000).Size(2, 1).Data(Bytes(8)).Build();
    for (const Bytes& file : {flipped, Bytes(60), Bytes(1)}) {
        EXPECT_EQ(Read(flipped), 1);
        surface.reservedA = 11;
        surface.reservedB = 12;
        surface.reservedC = 13;
        surface.reservedD = 14;
        EXPECT_EQ(Test_LoadPvr(file, 2) != nullptr, file == flipped);
        EXPECT_TRUE(Test_IsEmpty(surface)) << "not even what another load left is shown";
        for (const std::uint32_t word :
             {surface.bitsPerPixel, surface.bytesPerPixel, surface.bitsPerChannel, surface.dataSize,
              surface.stride, surface.rowPadding, surface.reservedD, surface.reservedE}) {
            EXPECT_EQ(word, 0u);
        }
        EXPECT_EQ(surface.reservedA, 11u);
        EXPECT_EQ(surface.reservedB, 12u);
        EXPECT_EQ(surface.reservedC, 13u);
    }
    surface.reservedA = surface.reservedC = 0;
}

TEST_F(PvrDecoder, ASurfaceIsLaidOutAnewForEachImage) {
    EXPECT_EQ(Read(PvrLegacyBuilder().Type(21).Size(8, 8).Data(Bytes(192, 7)).Build()), 1);
    EXPECT_EQ(Read(PvrLegacyBuilder().Type(21).Size(4, 4).Data(Bytes(48, 9)).Build()), 1);
    ExpectLayout(4, 3);
    EXPECT_EQ(GetPixels(), Bytes(48, 9));
    // Nothing of the old one shows where nothing is decoded.
    EXPECT_EQ(Read(PvrV3Builder().Compressed(25).Data(Bytes(8, 7)).Build()), 1);
    EXPECT_EQ(GetPixels(), Bytes(48));
}

// --- Orientation -------------------------------------------------------------------------------

TEST_F(PvrDecoder, EveryWayRecordsTheOrientation) {
    for (const Sample& sample : GetSamples()) {
        SCOPED_TRACE(sample.name);
        EXPECT_EQ(Read(sample.StartV3().Build()), 1);
        EXPECT_EQ(surface_.reservedE, 0u);
        const Bytes upright = GetPixels();
        EXPECT_EQ(Read(sample.StartV3().Metadata(kTestPvrV3Word, 3, {1, 0, 1}).Build()), 1);
        EXPECT_EQ(surface_.reservedE, 1u);
        EXPECT_EQ(GetPixels(), upright) << "orientation never changes pixels";
        EXPECT_EQ(Read(sample.StartV3().Metadata(kTestPvrV3Word, 3, {0, 1, 0}).Build()), 1);
        EXPECT_EQ(surface_.reservedE, 0u);
        if (sample.legacyType == 0) continue;
        EXPECT_EQ(Read(sample.StartLegacy(0x10000).Build()), 1);
        EXPECT_EQ(surface_.reservedE, 1u);
        EXPECT_EQ(GetPixels(), upright);
        EXPECT_EQ(Read(sample.StartLegacy(0).Build()), 1);
        EXPECT_EQ(surface_.reservedE, 0u);
    }
}

TEST_F(PvrDecoder, OnlyBit16OfTheLegacyFlagsIsTheOrientation) {
    for (unsigned bit = 8; bit < 32; ++bit) {
        g_pvrState.surface.reservedE = 7;
        EXPECT_EQ(Read(PvrLegacyBuilder().Type(18 | 1u << bit).Size(1, 1).Data(Bytes(4)).Build()),
                  1);
        EXPECT_EQ(surface_.reservedE, bit == 16 ? 1u : 0u) << bit;
    }
    EXPECT_EQ(Read(PvrLegacyBuilder().Type(18 | 0xFFFFFF00).Size(1, 1).Data(Bytes(4)).Build()), 1);
    EXPECT_EQ(surface_.reservedE, 1u);
}

std::uint32_t GetOrientation(const Bytes& metadata) {
    g_pvrState.surface.reservedE = 7;
    EXPECT_EQ(Read(PvrV3Builder()
                       .Packed("rgba", kEights)
                       .Size(1, 1)
                       .MetadataBytes(metadata)
                       .Data({1, 2, 3, 4})
                       .Build()),
              1);
    EXPECT_EQ(GetPixels(), Bytes({1, 2, 3, 4}));
    return g_pvrState.surface.reservedE;
}

TEST_F(PvrDecoder, TheSecondAxisIsTheOrientation) {
    EXPECT_EQ(GetOrientation({}), 0u);
    for (const int x : {0, 1, 255}) {
        for (const int z : {0, 1, 255}) {
            for (int y = 0; y < 256; ++y) {
                const Bytes axes{static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y),
                                 static_cast<std::uint8_t>(z)};
                EXPECT_EQ(GetOrientation(Test_PvrEntry(kTestPvrV3Word, 3, axes)), y == 0 ? 1u : 0u);
            }
        }
    }
}

TEST_F(PvrDecoder, OnlyTheFirstEntryTellsTheOrientation) {
    const Bytes orientation = Test_PvrEntry(kTestPvrV3Word, 3, {0, 0, 0});
    EXPECT_EQ(GetOrientation(orientation), 1u);
    for (const std::uint32_t key : {0u, 1u, 2u, 4u, 0x103u, 0x03000000u}) {
        EXPECT_EQ(GetOrientation(Test_PvrEntry(kTestPvrV3Word, key, {0, 0, 0})), 0u) << key;
    }
    for (const std::uint32_t fourCc : {0u, 0x03525651u, 0x02525650u, kTestPvrLegacyWord}) {
        EXPECT_EQ(GetOrientation(Test_PvrEntry(fourCc, 3, {0, 0, 0})), 0u) << fourCc;
    }
    Bytes second = Test_PvrEntry(kTestPvrV3Word, 2, Bytes(4));
    Test_Append(second, orientation);
    EXPECT_EQ(GetOrientation(second), 0u);
    Bytes twice = orientation;
    Test_Append(twice, Test_PvrEntry(kTestPvrV3Word, 3, {1, 1, 1}));
    EXPECT_EQ(GetOrientation(twice), 1u);
}

TEST_F(PvrDecoder, TheEntrysOwnSizeDoesNotMatter) {
    for (const std::uint32_t size : {0u, 1u, 2u, 100u, 0x80000000u, 0xFFFFFFFFu}) {
        Bytes entry = Test_PvrEntry(kTestPvrV3Word, 3, {0, 0, 0});
        Test_PokeLe(entry, 8, size, 4);
        EXPECT_EQ(GetOrientation(entry), 1u) << size;
    }
}

TEST_F(PvrDecoder, AnEntryMayRunIntoThePayload) {
    // The header counts twelve bytes; the axes are the payload's first three.
    const Bytes head = Test_PvrEntry(kTestPvrV3Word, 3, {});
    EXPECT_EQ(GetOrientation(head), 0u) << "byte 2 of the payload is 2";
    EXPECT_EQ(Read(PvrV3Builder()
                       .Packed("rgba", kEights)
                       .Size(1, 1)
                       .MetadataBytes(head)
                       .Data({1, 0, 3, 4})
                       .Build()),
              1);
    EXPECT_EQ(surface_.reservedE, 1u);
    EXPECT_EQ(GetPixels(), Bytes({1, 0, 3, 4}));
}

TEST_F(PvrDecoder, WithoutPayloadTheOrientationIsRecordedToo) {
    EXPECT_EQ(Read(PvrV3Builder().Compressed(23).Metadata(kTestPvrV3Word, 3, {0, 0, 0}).Build()),
              1);
    EXPECT_EQ(surface_.reservedE, 1u);
    EXPECT_EQ(GetPixels(), Bytes(48));
}

// --- The level table ---------------------------------------------------------------------------

TEST_F(PvrDecoder, TheLevelTableHoldsTheWholePayload) {
    const auto expectLevel = [](std::uint32_t width, std::uint32_t height, const Bytes& payload) {
        const LevelTable& levels = g_pvrState.levels;
        ASSERT_EQ(levels.count, 1);
        const LevelEntry& level = levels.entries[0];
        EXPECT_EQ(level.levelWidth, width);
        EXPECT_EQ(level.levelHeight, height);
        ASSERT_EQ(level.byteSize, payload.size());
        EXPECT_EQ(Bytes(level.data.Data(), level.data.Data() + level.byteSize), payload);
    };
    const Bytes payload = Test_MakeNoise(93, 4);
    for (const std::uint32_t type : {24u, 32u, 54u, 14u, 12u}) {
        EXPECT_EQ(
            Read(PvrLegacyBuilder().Type(type).Size(5, 6).Data(payload).Raw({1, 2, 3}).Build()), 1);
        expectLevel(5, 6, payload);
    }
    for (const std::uint32_t number : {2u, 7u, 23u, 5u, 1000u}) {
        EXPECT_EQ(Read(PvrV3Builder()
                           .Compressed(number)
                           .Size(6, 5)
                           .MetadataBytes(Bytes(17))
                           .Data(payload)
                           .Build()),
                  1);
        expectLevel(6, 5, payload);
        EXPECT_EQ(Read(PvrV3Builder().Compressed(number).Size(6, 5).Build()), 1);
        expectLevel(0, 0, {});
    }
    EXPECT_EQ(Read(PvrV3Builder().Compressed(23).Size(0, 5).Data(payload).Build()), 1);
    expectLevel(0, 5, payload);
}

TEST_F(PvrDecoder, ADataSizeBeyondTheFileTakesNoMemory) {
    for (const std::uint32_t size : {65u, 1u << 20, 0xFFFFFFFFu}) {
        EXPECT_EQ(
            Read(PvrLegacyBuilder().Data(Bytes(64)).Set(PvrLegacyField::DataSize, size).Build()),
            0);
        ASSERT_EQ(g_pvrState.levels.count, 1);
        EXPECT_FALSE(g_pvrState.levels.entries[0].data) << size;
    }
}

TEST_F(PvrDecoder, ReadsNoFurtherThanThePayload) {
    const Bytes legacy = PvrLegacyBuilder().Type(18).Data(Bytes(64)).Raw(Bytes(9)).Build();
    SourceBuffer source = Test_BorrowPvr(legacy);
    EXPECT_EQ(PvrDecodeSource(source, kName), 1);
    EXPECT_EQ(source.offset, 52u + 64);
    const Bytes v3 = PvrV3Builder().Compressed(6).MetadataBytes(Bytes(20)).Data(Bytes(9)).Build();
    source = Test_BorrowPvr(v3);
    EXPECT_EQ(PvrDecodeSource(source, kName), 1);
    EXPECT_EQ(source.offset, v3.size());
}

// --- Records without and with room for alpha ---------------------------------------------------

/// The picture must come out before any alpha was seen, and after.
void ExpectInEitherState(const Bytes& file, const TestPicture& picture,
                         const TestPicture& afterAlpha) {
    for (const std::uint32_t flags : {0u, 1u, 2u, 3u}) {
        for (const bool isAfter : {false, true}) {
            Test_ResetPvrState();
            g_pvrState.surface.reservedB = isAfter ? 1 : 0;
            SCOPED_TRACE(isAfter ? "32-bit surface" : "surface as the image wants it");
            Test_ExpectShows(Test_LoadPvr(file, flags).get(), isAfter ? afterAlpha : picture,
                             flags);
            ASSERT_FALSE(testing::Test::HasFatalFailure());
        }
    }
}

TEST_F(PvrDecoder, BlocksComeOutTheSameInEitherState) {
    for (const PvrBlockFormat& format : Test_ListPvrBlockFormats()) {
        for (std::uint32_t height = 1; height <= 9; ++height) {
            for (std::uint32_t width = 1; width <= 9; ++width) {
                SCOPED_TRACE(std::string(format.name) + ' ' + std::to_string(width) + " x " +
                             std::to_string(height));
                const TestBlockImage image = format.Make(width, height);
                const TestPicture picture = format.Show(image.decoded, width, height);
                for (const Bytes& file : format.MakeFiles(width, height, image.blocks)) {
                    ExpectInEitherState(file, picture, picture);
                }
                if (HasFailure()) return;
            }
        }
        const TestPicture black = Test_OpaqueBlack(5, 3);
        if (format.isS3tc) continue;
        ExpectInEitherState(PvrV3Builder().Compressed(format.v3Number).Size(5, 3).Build(), black,
                            black);
    }
}

TEST_F(PvrDecoder, PvrtcComesOutTheSameInEitherState) {
    for (const PvrtcFormat& format : Test_ListPvrtcFormats()) {
        for (std::uint32_t height = 1; height <= 16; height *= 2) {
            for (std::uint32_t width = 1; width <= 16; width *= 2) {
                const PvrtcImage image = Test_MakePvrtcImage(format.is2Bpp, width, height, 6);
                for (const Bytes& file : format.MakeFiles(width, height, image.blocks)) {
                    ExpectInEitherState(file, image.picture, image.picture);
                }
            }
        }
    }
}

TEST_F(PvrDecoder, LegacyPixelsComeOutTheSameInEitherState) {
    for (std::uint32_t height = 1; height <= 5; ++height) {
        for (std::uint32_t width = 1; width <= 9; ++width) {
            for (const unsigned channels : {3u, 4u}) {
                const Bytes payload = Test_MakeNoise(
                    Test_GetPvrRequiredBytes(channels, width, height) + width % 3, width);
                const TestPicture picture =
                    Test_ExpandRows(payload, payload.size(), channels * 8, 0, width, height);
                ExpectInEitherState(PvrLegacyBuilder()
                                        .Type(channels == 4 ? 18 : 21)
                                        .Size(width, height)
                                        .Data(payload)
                                        .Build(),
                                    picture, picture);
            }
        }
    }
}

TEST_F(PvrDecoder, AlphaInPixelsOfFewerChannelsShowsOnlyAfterAlpha) {
    // Three or one by their names, but 32 or 16 bits with alpha, or with a fourth byte.
    for (const PvrChannelNames& names : Test_ListPvrChannelNames()) {
        for (const PvrPixelBits& pixelBits : Test_ListPvrPixelBits()) {
            for (const auto& [width, height] :
                 {std::pair{1u, 1u}, std::pair{3u, 2u}, std::pair{5u, 3u}, std::pair{8u, 5u}}) {
                SCOPED_TRACE(std::string(names.names) + ' ' +
                             std::to_string(Test_ToPvrWord(pixelBits.widths)));
                for (const std::size_t size : {Test_GetPvrRequiredBytes(names.count, width, height),
                                               std::size_t{width} * height * 4}) {
                    const Bytes payload = Test_MakeNoise(size, width);
                    ExpectInEitherState(
                        PvrV3Builder()
                            .Packed(names.names, pixelBits.widths)
                            .Size(width, height)
                            .Data(payload)
                            .Build(),
                        Test_ShowPvrPixels(payload, pixelBits, width, height, names.count == 4),
                        Test_ShowPvrPixels(payload, pixelBits, width, height, true));
                }
                if (HasFailure()) return;
            }
        }
    }
    const Bytes oneRgb =
        PvrV3Builder().Packed("rgb", kEights).Size(1, 1).Data({1, 2, 3, 4}).Build();
    ExpectInEitherState(oneRgb, {1, 1, {1, 2, 3, 255}}, {1, 1, {1, 2, 3, 4}});
    const Bytes oneFloat =
        PvrV3Builder().Packed("rgb", {11, 11, 10, 0}).Size(1, 1).Data({1, 2, 3, 4}).Build();
    ExpectInEitherState(oneFloat, {1, 1, {1, 2, 3, 255}}, {1, 1, {1, 2, 3, 4}});
}

TEST_F(PvrDecoder, BlackIsOpaqueInEitherState) {
    const TestPicture black = Test_OpaqueBlack(4, 4);
    for (const char* names : {"rgba", "rgb", "l"}) {
        for (const PvrChannelWidths& widths :
             {PvrChannelWidths{16, 16, 16, 16}, PvrChannelWidths{8, 0, 0, 0}}) {
            ExpectInEitherState(PvrV3Builder().Packed(names, widths).Data(Bytes(64, 0x77)).Build(),
                                black, black);
        }
    }
}

TEST_F(PvrDecoder, AfterAFourChannelFileThreeChannelsHaveOpaqueAlpha) {
    const Bytes rgb888 = PvrLegacyBuilder().Type(21).Size(2, 1).Data(Bytes(8, 9)).Build();
    const Bytes dxt1 = PvrLegacyBuilder().Type(32).Size(1, 1).Data(Bytes(8, 0xFF)).Build();
    for (const Bytes& before : {PvrLegacyBuilder().Type(18).Size(1, 1).Data(Bytes(4)).Build(),
                                PvrLegacyBuilder().Type(25).Size(4, 4).Data(Bytes(32)).Build()}) {
        Test_ResetPvrState();
        ASSERT_NE(Test_LoadPvr(before, 0), nullptr);
        EXPECT_EQ(Read(rgb888), 1);
        EXPECT_EQ(GetPixels(), Bytes({9, 9, 9, 255, 9, 9, 9, 255}));
        // Index 3 of equal colors: white and transparent, of which the decoder is asked for three.
        EXPECT_EQ(Read(dxt1), 1);
        EXPECT_EQ(GetPixels(), Bytes({255, 255, 255, 255}));
    }
}

}  // namespace
}  // namespace koru
