// PVR files through the public functions: what of a file matters, and how.
#include <gtest/gtest.h>
#include <korutex.h>

#include <functional>
#include <utility>
#include <vector>

#include "pvr_builder.h"
#include "pvr_expectations.h"
#include "test_blocks.h"
#include "test_files.h"

namespace {

constexpr std::uint32_t kRgba8888 = 18, kRgb888 = 21, kPvrtc4 = 25, kDxt1 = 32, kDxt5 = 36;
constexpr std::uint32_t kV3Pvrtc4 = 3, kV3Etc1 = 6, kV3Dxt1 = 7, kV3Etc2Rgba = 23, kV3R11 = 25;
constexpr PvrChannelWidths kEights{8, 8, 8, 8};

constexpr auto SixPixelPicture = Test_SixPixelPicture;
Bytes SixPixels() { return SixPixelPicture().rgba; }

PvrLegacyBuilder SixPixelsLegacy() {
    return PvrLegacyBuilder().Type(kRgba8888).Size(3, 2).Data(SixPixels());
}
PvrV3Builder SixPixelsV3() {
    return PvrV3Builder().Packed("rgba", kEights).Size(3, 2).Data(SixPixels());
}

Bytes SixPixelLegacyFile() { return SixPixelsLegacy().Build(); }
Bytes SixPixelV3File() { return SixPixelsV3().Build(); }
Bytes SixPixelV3FileWithMetadata() {
    return SixPixelsV3().Metadata(kTestPvrV3Word, 3, {0, 1, 0}).Build();
}

/// What the headers have in common, with the six pixels in either.
class KoruLoadPvr : public testing::TestWithParam<std::function<Bytes()>> {
  protected:
    const Bytes file_ = GetParam()();
};

TEST_P(KoruLoadPvr, RejectsEveryWrongByteOfTheIdentifier) {
    const std::size_t first = file_[0] == 'P' ? 0 : 44;
    for (std::size_t i = first; i < first + 4; ++i) {
        for (int flip = 1; flip < 256; ++flip) {
            Bytes file = file_;
            file[i] = static_cast<std::uint8_t>(file[i] ^ flip);
            EXPECT_EQ(Test_LoadPvr(file, 2), nullptr) << i << ' ' << flip;
        }
    }
}

TEST_P(KoruLoadPvr, EveryTruncationFails) {
    for (std::size_t size = 0; size < file_.size(); ++size) {
        Test_ExpectPvrRefused({file_.begin(), file_.begin() + static_cast<std::ptrdiff_t>(size)});
    }
}

TEST_P(KoruLoadPvr, PayloadsOfEarlierLoadsDoNotShowThrough) {
    EXPECT_NE(Test_LoadPvr(file_, 2), nullptr);
    // Without a payload of their own.
    Test_ExpectPvrRefused(PvrV3Builder().Packed("rgba", kEights).Size(3, 2).Build());
    Test_ExpectPvrRefused(PvrV3Builder().Compressed(kV3Dxt1).Size(3, 2).Build());
    Test_ExpectPvrRefused(PvrV3Builder().Compressed(kV3Pvrtc4).Size(1, 1).Build());
    Test_ExpectPvr(PvrV3Builder().Compressed(kV3Etc2Rgba).Size(3, 2).Build(),
                   Test_OpaqueBlack(3, 2));
}

INSTANTIATE_TEST_SUITE_P(Headers, KoruLoadPvr,
                         testing::Values(SixPixelLegacyFile, SixPixelV3File,
                                         SixPixelV3FileWithMetadata),
                         [](const auto& header) {
                             if (header.index == 0) return "Legacy";
                             return header.index == 1 ? "V3" : "V3Metadata";
                         });

// Which header it is.

TEST(KoruLoadPvrDispatch, TheFirstWordDecides) {
    // A legacy file whose header size is the word of version 3; read as such, its height, width and
    // count of metadata are the bit count, the red mask and the surface count, and its pixel format
    // the words for the width and the mip-map count.
    const auto build = [](std::uint32_t headerSize) {
        return PvrLegacyBuilder()
            .Type(kRgba8888)
            .Size(kV3Etc1, 2)  // 6 x 2 pixels
            .Data(Bytes(48, 9))
            .Set(PvrLegacyField::HeaderSize, headerSize)
            .Set(PvrLegacyField::BitCount, 3)
            .Set(PvrLegacyField::RedMask, 5)
            .Set(PvrLegacyField::SurfaceCount, 48)
            .Build();
    };
    Test_ExpectPvr(build(0), {6, 2, Bytes(48, 9)});
    Test_ExpectPvr(build(kTestPvrV3Word), Test_OpaqueBlack(5, 3));
    // And a version-3 file that has the other word in its place.
    Test_ExpectPvr(SixPixelsV3().Set(PvrV3Field::MipMapCount, kTestPvrLegacyWord).Build(),
                   SixPixelPicture());
}

TEST(KoruLoadPvrDispatch, RejectsTheOtherByteOrder) {
    Test_ExpectPvrRefused(SixPixelsV3().Set(PvrV3Field::Version, 0x50565203).Build());
    Test_ExpectPvrRefused(SixPixelsLegacy().Set(PvrLegacyField::Magic, 0x50565221).Build());
}

TEST(KoruLoadPvrDispatch, NeedsAllOfEitherHeader) {
    const Bytes legacy = SixPixelLegacyFile(), v3 = PvrV3Builder().Compressed(kV3Etc1).Build();
    ASSERT_EQ(v3.size(), 52u);
    Test_ExpectPvr(v3, Test_OpaqueBlack(4, 4));
    for (std::size_t size = 0; size < 52; ++size) {
        const auto end = static_cast<std::ptrdiff_t>(size);
        Test_ExpectPvrRefused({v3.begin(), v3.begin() + end});
        Test_ExpectPvrRefused({legacy.begin(), legacy.begin() + end});
    }
}

// The legacy header.

TEST(KoruLoadPvrLegacy, TheHeaderSizeDoesNotMatter) {
    for (const std::uint32_t size : {0u, 1u, 44u, 51u, 53u, 1000u, 0x21525650u, 0xFFFFFFFFu}) {
        Test_ExpectPvr(SixPixelsLegacy().Set(PvrLegacyField::HeaderSize, size).Build(),
                       SixPixelPicture());
    }
}

TEST(KoruLoadPvrLegacy, CountsAndMasksDoNotMatter) {
    for (const PvrLegacyField field :
         {PvrLegacyField::MipMapCount, PvrLegacyField::BitCount, PvrLegacyField::RedMask,
          PvrLegacyField::GreenMask, PvrLegacyField::BlueMask, PvrLegacyField::AlphaMask,
          PvrLegacyField::SurfaceCount}) {
        for (const std::uint32_t value : {0u, 1u, 16u, 0xFF000000u, 0xFFFFFFFFu}) {
            Test_ExpectPvr(SixPixelsLegacy().Set(field, value).Build(), SixPixelPicture());
        }
    }
}

TEST(KoruLoadPvrLegacy, RejectsSizesOfZero) {
    Test_ExpectPvrRefused(SixPixelsLegacy().Size(0, 2).Build());
    Test_ExpectPvrRefused(SixPixelsLegacy().Size(3, 0).Build());
    Test_ExpectPvrRefused(SixPixelsLegacy().Set(PvrLegacyField::DataSize, 0).Build());
    // Not even where an image without a payload would do.
    Test_ExpectPvrRefused(PvrLegacyBuilder().Type(54).Build());
    Test_ExpectPvrRefused(PvrLegacyBuilder().Type(54).Data(Bytes(8)).Size(0, 4).Build());
    Test_ExpectPvrRefused(PvrLegacyBuilder().Type(54).Data(Bytes(8)).Size(4, 0).Build());
}

TEST(KoruLoadPvrLegacy, TheDataSizeSaysHowMuchThereIs) {
    // One byte less is too short for the picture, one more for the file.
    const auto build = [](std::uint32_t dataSize) {
        return SixPixelsLegacy().Set(PvrLegacyField::DataSize, dataSize);
    };
    Test_ExpectPvr(build(24).Build(), SixPixelPicture());
    for (const std::uint32_t size :
         {1u, 23u, 25u, 100u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFCCu, 0xFFFFFFFFu}) {
        Test_ExpectPvrRefused(build(size).Build());
    }
    // What lies behind the data is not read, even where the picture could use it.
    Test_ExpectPvrRefused(build(23).Raw(Bytes(100)).Build());
    Test_ExpectPvr(build(25).Raw(Bytes(1)).Build(), SixPixelPicture());
    Test_ExpectPvr(PvrLegacyBuilder().Type(kRgb888).Size(1, 1).Data({1, 2, 3, 4}).Build(),
                   {1, 1, {1, 2, 3, 255}});
    Test_ExpectPvrRefused(
        PvrLegacyBuilder().Type(kRgb888).Size(1, 1).Data({1, 2, 3}).Raw({4}).Build());
}

TEST(KoruLoadPvrLegacy, OrientationNeverTurnsRows) {
    const TestBlockImage blocks = Test_FindPvrBlockFormat("Dxt5").Make(8, 8);
    const PvrtcImage pvrtc = Test_MakePvrtcImage(false, 8, 8, 3);
    for (const std::uint32_t bits : {0x10000u, 0x30000u, 0xFFFFFF00u}) {
        Test_ExpectPvr(SixPixelsLegacy().Type(kRgba8888 | bits).Build(), SixPixelPicture());
        Test_ExpectPvr(PvrLegacyBuilder().Type(kDxt5 | bits).Size(8, 8).Data(blocks.blocks).Build(),
                       {8, 8, blocks.decoded});
        Test_ExpectPvr(
            PvrLegacyBuilder().Type(kPvrtc4 | bits).Size(8, 8).Data(pvrtc.blocks).Build(),
            pvrtc.picture);
    }
}

TEST(KoruLoadPvrLegacy, PackedTypesOtherThanTwoGiveNothing) {
    // 0 to 9, 16, 17, 19, 20, 22, 23, 26, 27, whether or not a file of packed pixels came before.
    const Bytes pixels(1024, 1);
    for (std::uint32_t type = 0; type < 28; ++type) {
        if ((type > 9 && type < 16) || type == 18 || type == 21 || type == 24 || type == 25) {
            continue;
        }
        Test_ExpectPvrRefused(PvrLegacyBuilder().Type(type).Size(8, 8).Data(pixels).Build());
    }
}

// The header of version 3.

TEST(KoruLoadPvrV3, CountsSpaceAndTypeDoNotMatter) {
    for (const PvrV3Field field :
         {PvrV3Field::Flags, PvrV3Field::ColorSpace, PvrV3Field::ChannelType, PvrV3Field::Depth,
          PvrV3Field::SurfaceCount, PvrV3Field::FaceCount, PvrV3Field::MipMapCount}) {
        for (const std::uint32_t value : {0u, 1u, 2u, 6u, 12u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            Test_ExpectPvr(SixPixelsV3().Set(field, value).Build(), SixPixelPicture());
        }
    }
}

TEST(KoruLoadPvrV3, AHighWordMeansPackedPixels) {
    // The same low word: format 7 and the names "\7", which no one knows.
    const Bytes block(8, 0x55);
    const auto build = [&](std::uint32_t high) {
        return PvrV3Builder().Compressed(kV3Dxt1).Set(PvrV3Field::FormatHigh, high).Data(block);
    };
    EXPECT_NE(Test_LoadPvr(build(0).Build(), 2), nullptr);
    for (const std::uint32_t high : {1u, 0x100u, 0x01000000u, 0x08080808u}) {
        Test_ExpectPvrRefused(build(high).Data(Bytes(64)).Build());
    }
    // And names without widths are a number.
    Test_ExpectPvrRefused(PvrV3Builder().Packed("rgba", {}).Data(Bytes(64)).Build());
}

TEST(KoruLoadPvrV3, SizesOfZeroGiveNothing) {
    const Bytes pixels(1024, 5);
    for (const auto& [width, height] : {std::pair{0u, 2u}, std::pair{3u, 0u}, std::pair{0u, 0u}}) {
        Test_ExpectPvrRefused(SixPixelsV3().Size(width, height).Build());
        for (std::uint32_t number = 0; number < 30; ++number) {
            Test_ExpectPvrRefused(
                PvrV3Builder().Compressed(number).Size(width, height).Data(pixels).Build());
            Test_ExpectPvrRefused(PvrV3Builder().Compressed(number).Size(width, height).Build());
        }
    }
}

// Metadata.

TEST(KoruLoadPvrV3Metadata, OrientationNeverTurnsRows) {
    for (int x = 0; x < 3; ++x) {
        for (int y = 0; y < 3; ++y) {
            for (int z = 0; z < 2; ++z) {
                const Bytes axes{static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y),
                                 static_cast<std::uint8_t>(z)};
                Test_ExpectPvr(SixPixelsV3().Metadata(kTestPvrV3Word, 3, axes).Build(),
                               SixPixelPicture());
                // As the second entry, after a border and before a name.
                Test_ExpectPvr(SixPixelsV3()
                                   .Metadata(kTestPvrV3Word, 2, Bytes(12))
                                   .Metadata(kTestPvrV3Word, 3, axes)
                                   .Metadata(0x12345678, 0, {'n', 'a', 'm', 'e', 0})
                                   .Build(),
                               SixPixelPicture());
            }
        }
    }
    const PvrtcImage pvrtc = Test_MakePvrtcImage(true, 16, 8, 3);
    Test_ExpectPvr(PvrV3Builder()
                       .Compressed(1)
                       .Size(16, 8)
                       .Metadata(kTestPvrV3Word, 3, {1, 1, 1})
                       .Data(pvrtc.blocks)
                       .Build(),
                   pvrtc.picture);
}

TEST(KoruLoadPvrV3Metadata, OtherFourCcsAndKeysAreSkipped) {
    for (const std::uint32_t fourCc : {0u, 0x03525650u, 0x04525650u, 0x50565203u, 0xFFFFFFFFu}) {
        for (const std::uint32_t key : {0u, 1u, 2u, 3u, 4u, 5u, 0x300u, 0xFFFFFFFFu}) {
            for (const std::size_t size : {0u, 1u, 3u, 16u, 1000u}) {
                Test_ExpectPvr(SixPixelsV3().Metadata(fourCc, key, Bytes(size, 1)).Build(),
                               SixPixelPicture(), {2});
            }
        }
    }
}

TEST(KoruLoadPvrV3Metadata, TheSizeOfAnEntryDoesNotMatter) {
    for (const std::uint32_t size : {0u, 1u, 2u, 4u, 100u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        for (const std::uint32_t key : {1u, 3u}) {
            Bytes entry = Test_PvrEntry(kTestPvrV3Word, key, {0, 1, 0});
            Test_PokeLe(entry, 8, size, 4);
            Test_ExpectPvr(SixPixelsV3().MetadataBytes(entry).Build(), SixPixelPicture());
        }
    }
}

TEST(KoruLoadPvrV3Metadata, ItsSizeSaysWhereThePayloadBegins) {
    // Sizes below an entry's: its fields are then those of the payload, which begins earlier.
    for (std::size_t size = 0; size <= 14; ++size) {
        SCOPED_TRACE(size);
        // What would be an orientation entry, cut.
        Bytes entry = Test_PvrEntry(kTestPvrV3Word, 3, {0, 0});
        entry.resize(size);
        Test_ExpectPvr(SixPixelsV3().MetadataBytes(entry).Build(), SixPixelPicture());
        Test_ExpectPvr(SixPixelsV3().MetadataBytes(Bytes(size, 0xFF)).Build(), SixPixelPicture());
    }
    for (const std::size_t size : {15u, 16u, 52u, 1000u, 70000u}) {
        Test_ExpectPvr(SixPixelsV3().MetadataBytes(Bytes(size, 0xFF)).Build(), SixPixelPicture());
    }
}

TEST(KoruLoadPvrV3Metadata, PastTheEndOfTheFileThereIsNoPayload) {
    const auto build = [](PvrV3Builder builder, std::uint32_t metadataSize) {
        return builder.Set(PvrV3Field::MetadataSize, metadataSize).Data(Bytes(64, 7)).Build();
    };
    for (const std::uint32_t size : {64u, 65u, 100u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFF8Cu,
                                     0xFFFFFFCCu, 0xFFFFFFCDu, 0xFFFFFFF0u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(size);
        for (const std::uint32_t number : {6u, 22u, 23u, 24u, 25u, 26u}) {
            Test_ExpectPvr(build(PvrV3Builder().Compressed(number), size), Test_OpaqueBlack(4, 4),
                           {2});
        }
        for (const std::uint32_t number : {0u, 1u, 2u, 3u, 7u, 9u, 11u}) {
            Test_ExpectPvrRefused(build(PvrV3Builder().Compressed(number).Size(1, 1), size));
        }
        Test_ExpectPvrRefused(build(PvrV3Builder().Packed("rgba", kEights).Size(1, 1), size));
        Test_ExpectPvrRefused(build(PvrV3Builder().Packed("l", {8, 0, 0, 0}).Size(1, 1), size));
    }
}

TEST(KoruLoadPvrV3Metadata, TheFirstEntryMustLieInsideTheFile) {
    // An ETC image needs nothing behind its metadata; so what fails is the entry.
    const auto build = [](std::uint32_t metadataSize, const Bytes& behind) {
        return PvrV3Builder()
            .Compressed(kV3Etc1)
            .Set(PvrV3Field::MetadataSize, metadataSize)
            .Data(behind)
            .Build();
    };
    const Bytes orientation = Test_PvrEntry(kTestPvrV3Word, 3, {0, 0, 0});
    const Bytes otherKey = Test_PvrEntry(kTestPvrV3Word, 4, {0, 0, 0});
    const Bytes otherFourCc = Test_PvrEntry(0x03525651, 3, {0, 0, 0});
    for (const std::uint32_t metadataSize : {15u, 100u, 0xFFFFFFFFu}) {
        for (std::size_t size = 0; size <= 15; ++size) {
            SCOPED_TRACE(size);
            const auto cut = [&](const Bytes& entry) {
                return build(metadataSize,
                             {entry.begin(), entry.begin() + static_cast<std::ptrdiff_t>(size)});
            };
            if (size < 15) {
                Test_ExpectPvrRefused(cut(orientation));
            } else {
                Test_ExpectPvr(cut(orientation), Test_OpaqueBlack(4, 4));
            }
            for (const Bytes& entry : {otherKey, otherFourCc}) {
                if (size < 12) {
                    Test_ExpectPvrRefused(cut(entry));
                } else {
                    Test_ExpectPvr(cut(entry), Test_OpaqueBlack(4, 4));
                }
            }
        }
    }
    // However few bytes the header counts, twelve must be there. The payload still begins where the
    // header says, and a block takes eight of them.
    for (std::uint32_t metadataSize = 1; metadataSize <= 11; ++metadataSize) {
        SCOPED_TRACE(metadataSize);
        Test_ExpectPvrRefused(build(metadataSize, Bytes(11)));
        const Bytes twelve = build(metadataSize, Bytes(12));
        if (12 - metadataSize >= 8) {
            EXPECT_NE(Test_LoadPvr(twelve, 2), nullptr);
        } else {
            Test_ExpectPvrRefused(twelve);
        }
    }
}

// What one load leaves for the next.

TEST(KoruLoadPvrSticky, AlphaOfOneImageDoesNotReachTheNext) {
    const TestBlockImage dxt1 = Test_FindPvrBlockFormat("Dxt1").Make(4, 4);
    const TestPicture opaque = Test_ExpandRows(dxt1.decoded, 64, 24, 0, 4, 4);
    const TestPicture greys{4, 1, {7, 7, 7, 255, 7, 7, 7, 255, 7, 7, 7, 255, 7, 7, 7, 255}};
    const PvrtcImage pvrtc = Test_MakePvrtcImage(false, 8, 8, 12);
    const Bytes rgb888 = PvrLegacyBuilder().Type(kRgb888).Size(4, 1).Data(Bytes(12, 7)).Build();
    const Bytes rgbV3 =
        PvrV3Builder().Packed("rgb", {8, 8, 8, 0}).Size(4, 1).Data(Bytes(12, 7)).Build();
    const Bytes dxt1Legacy = PvrLegacyBuilder().Type(kDxt1).Data(dxt1.blocks).Build();
    const Bytes dxt1V3 = PvrV3Builder().Compressed(kV3Dxt1).Data(dxt1.blocks).Build();
    const auto expectThreeChannels = [&] {
        Test_ExpectPvr(rgb888, greys);
        Test_ExpectPvr(rgbV3, greys);
        Test_ExpectPvr(dxt1Legacy, opaque);
        Test_ExpectPvr(dxt1V3, opaque);
        Test_ExpectPvr(PvrV3Builder().Compressed(kV3R11).Data(Bytes(8)).Build(),
                       Test_OpaqueBlack(4, 4));
    };
    // Whatever was loaded before, in either order.
    for (int round = 0; round < 2; ++round) {
        expectThreeChannels();
        Test_ExpectPvr(SixPixelLegacyFile(), SixPixelPicture());
        expectThreeChannels();
        Test_ExpectPvr(PvrLegacyBuilder().Type(kPvrtc4).Size(8, 8).Data(pvrtc.blocks).Build(),
                       pvrtc.picture);
    }
}

TEST(KoruLoadPvrSticky, OtherFormatsHaveTheirOwn) {
    // A PVR load between two loads of the others, and the other way round.
    const Bytes ktx = Ktx1Builder().Uncompressed(0x8051).Size(4, 1).Level(Bytes(12, 3)).Build();
    for (int round = 0; round < 2; ++round) {
        const auto before = Test_LoadKtx(ktx, 2);
        Test_ExpectPvr(SixPixelV3File(), SixPixelPicture());
        const auto after = Test_LoadKtx(ktx, 2);
        ASSERT_NE(before, nullptr);
        ASSERT_NE(after, nullptr);
        EXPECT_EQ(Test_GetPixels(*before), Test_GetPixels(*after));
    }
    // Neither takes the other's files.
    Test_ExpectPvrRefused(ktx);
    EXPECT_EQ(Test_LoadKtx(SixPixelV3File(), 2), nullptr);
    EXPECT_EQ(Test_LoadKtx(SixPixelLegacyFile(), 2), nullptr);
}

}  // namespace
