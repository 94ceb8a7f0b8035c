// KTX files through the public functions: what of a file matters, and how.
#include <gtest/gtest.h>
#include <korutex.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ktx_builder.h"
#include "ktx_expectations.h"
#include "test_blocks.h"
#include "test_files.h"

namespace {

constexpr std::uint32_t kRgb8 = 0x8051;
constexpr std::uint32_t kRgba8 = 0x8058;
constexpr std::uint32_t kVkRgb8 = 23;
constexpr std::uint32_t kVkRgba8 = 37;
constexpr std::uint32_t kEtc2Rgb = 0x9274;
constexpr std::uint32_t kVkEtc2Rgb = 147;
constexpr std::uint32_t kVkDxt5 = 137;
constexpr std::uint32_t kVkAstc4x4 = 157;

constexpr auto SixPixelPicture = Test_SixPixelPicture;
Bytes SixPixels() { return SixPixelPicture().rgba; }

Ktx1Builder SixPixels1() { return Ktx1Builder().Uncompressed(kRgba8).Size(3, 2); }
Ktx2Builder SixPixels2() { return Ktx2Builder().Format(kVkRgba8, 4).Size(3, 2); }

Bytes SixPixelFile1() { return SixPixels1().Level(SixPixels()).Build(); }
Bytes SixPixelFile2() { return SixPixels2().Level(SixPixels()).Build(); }

/// What both versions have in common, with the six pixels in either.
class KoruLoadKtx : public testing::TestWithParam<std::function<Bytes()>> {
  protected:
    const Bytes file_ = GetParam()();
};

TEST_P(KoruLoadKtx, RejectsEveryWrongIdentifierByte) {
    for (std::size_t i = 0; i < 12; ++i) {
        for (const int flip : {0x01, 0x20, 0x80}) {
            Bytes file = file_;
            file[i] = static_cast<std::uint8_t>(file[i] ^ flip);
            Test_ExpectRefused(file);
        }
    }
}

TEST_P(KoruLoadKtx, RejectsTheOtherVersionsDigits) {
    // Neither header makes sense as the other's.
    Bytes file = file_;
    const bool isFirst = file[5] == '1';
    file[5] = isFirst ? '2' : '1';
    file[6] = isFirst ? '0' : '1';
    Test_ExpectRefused(file);
}

TEST_P(KoruLoadKtx, PayloadsOfEarlierLoadsDoNotShowThrough) {
    EXPECT_NE(Test_LoadKtx(file_, 2), nullptr);
    // Without a payload of their own.
    Test_ExpectRefused(SixPixels1().Level({}).Build());
    Test_ExpectRefused(SixPixels2().Build());
    Test_ExpectLoads(Ktx1Builder().Compressed(kEtc2Rgb).Size(3, 2).Level({}).Build(),
                     Test_OpaqueBlack(3, 2));
    Test_ExpectLoads(Ktx2Builder().Format(kVkEtc2Rgb).Size(3, 2).Build(), Test_OpaqueBlack(3, 2));
}

INSTANTIATE_TEST_SUITE_P(Versions, KoruLoadKtx, testing::Values(SixPixelFile1, SixPixelFile2),
                         [](const auto& version) { return version.index == 0 ? "Ktx1" : "Ktx2"; });

TEST(KoruLoadKtxSticky, AlphaOfOneImageDoesNotReachTheNext) {
    const Bytes translucent = SixPixelFile1();
    const Bytes threeComponents =
        Ktx1Builder().Uncompressed(kRgb8).Size(4, 1).Level(Bytes(12, 7)).Build();
    TestPicture opaque{4, 1, Bytes(16, 7)};
    for (std::size_t i = 3; i < 16; i += 4) opaque.rgba[i] = 255;
    // Whatever was loaded before, in either order.
    for (int round = 0; round < 2; ++round) {
        Test_ExpectLoads(threeComponents, opaque);
        Test_ExpectLoads(translucent, SixPixelPicture());
        Test_ExpectLoads(threeComponents, opaque);
        Test_ExpectLoads(Ktx1Builder().Compressed(0x9272).Level(Bytes(16)).Build(),
                         Test_OpaqueBlack(4, 4));
        Test_ExpectLoads(Ktx2Builder().Format(kVkEtc2Rgb).Build(), Test_OpaqueBlack(4, 4));
    }
}

// The header of KTX 1.1.

TEST(KoruLoadKtx1, RejectsTheOtherByteOrder) {
    Test_ExpectRefused(
        SixPixels1().Set(Ktx1Field::Endianness, 0x01020304).Level(SixPixels()).Build());
    // Every field the other way round, as such a file has them.
    Bytes file = SixPixelFile1();
    for (std::size_t at = 12; at < kKtx1HeaderBytes + 4; at += 4) {
        std::swap(file[at], file[at + 3]);
        std::swap(file[at + 1], file[at + 2]);
    }
    Test_ExpectRefused(file);
}

TEST(KoruLoadKtx1, TypeSizeIsOneTwoOrFour) {
    for (const std::uint32_t size : {1u, 2u, 4u}) {
        Test_ExpectLoads(SixPixels1().Set(Ktx1Field::GlTypeSize, size).Level(SixPixels()).Build(),
                         SixPixelPicture());
    }
    for (const std::uint32_t size : {0u, 3u, 5u, 6u, 8u, 0x101u, 0x80000001u, 0xFFFFFFFFu}) {
        Test_ExpectRefused(
            SixPixels1().Set(Ktx1Field::GlTypeSize, size).Level(SixPixels()).Build());
    }
}

TEST(KoruLoadKtx1, RejectsZeroWidthAndHeight) {
    Test_ExpectRefused(SixPixels1().Size(0, 2).Level(SixPixels()).Build());
    Test_ExpectRefused(SixPixels1().Size(3, 0).Level(SixPixels()).Build());
    // Not even where an image without a payload would do.
    Test_ExpectRefused(Ktx1Builder().Compressed(kEtc2Rgb).Size(0, 2).Level({}).Build());
    Test_ExpectRefused(Ktx1Builder().Compressed(kEtc2Rgb).Size(3, 0).Level({}).Build());
}

TEST(KoruLoadKtx1, DepthFacesAndElementsDoNotMatter) {
    for (const Ktx1Field field : {Ktx1Field::PixelDepth, Ktx1Field::ArrayElements, Ktx1Field::Faces,
                                  Ktx1Field::GlBaseInternalFormat}) {
        for (const std::uint32_t value : {0u, 1u, 2u, 6u, 0xFFFFFFFFu}) {
            Test_ExpectLoads(SixPixels1().Set(field, value).Level(SixPixels()).Build(),
                             SixPixelPicture());
        }
    }
}

TEST(KoruLoadKtx1, TypeOrFormatOfZeroMeansCompressed) {
    const TestBlock block = Test_EtcRgbBlock(0);
    const TestBlockImage image = Test_MakeBlockImage(Test_EtcRgbBlock, 3, 4, 4);
    const TestPicture picture = Test_ExpandRows(image.decoded, 48, 24, 0, 4, 4);
    const auto build = [&](std::uint32_t type, std::uint32_t format, std::uint32_t internalFormat,
                           const Bytes& payload) {
        return Ktx1Builder()
            .Set(Ktx1Field::GlType, type)
            .Set(Ktx1Field::GlFormat, format)
            .Set(Ktx1Field::GlInternalFormat, internalFormat)
            .Level(payload)
            .Build();
    };
    for (const auto& [type, format] :
         {std::pair{0u, 0u}, std::pair{0x1401u, 0u}, std::pair{0u, 0x1907u}}) {
        Test_ExpectLoads(build(type, format, kEtc2Rgb, block.bytes), picture);
        Test_ExpectRefused(build(type, format, kRgba8, Bytes(64)));
    }
    // Neither is 0: the payload is pixels, whatever the internal format calls them.
    Test_ExpectRefused(build(1, 1, kEtc2Rgb, block.bytes));
    Test_ExpectLoads(build(1, 1, kEtc2Rgb, Bytes(48)), Test_OpaqueBlack(4, 4));
    // glFormat and glType say nothing else.
    const Bytes raw(64, 200);
    Test_ExpectLoads(build(0x8034, 0x190A, kRgba8, raw), {4, 4, raw});
}

// Key/value data.

TEST(KoruLoadKtx1, OrientationNeverTurnsRows) {
    for (const char* key : {"KTXorientation", "KTXOrientation", "ktxorientation", "KTXORIENTATION",
                            "KTXorientatio"}) {
        for (const char* value : {"S=r,T=d", "S=r,T=u", "S=l,T=u", "S=l,T=d", "T=u", "S=r,T=u,R=i",
                                  "S=r", "", "S=", "T=u,S=r", "rd", "ru"}) {
            Test_ExpectLoads(SixPixels1().KeyValue(key, value).Level(SixPixels()).Build(),
                             SixPixelPicture());
        }
    }
    Test_ExpectLoads(SixPixels1()
                         .KeyValue("first", "one")
                         .KeyValue("KTXorientation", "S=r,T=u")
                         .Level(SixPixels())
                         .Build(),
                     SixPixelPicture());
}

TEST(KoruLoadKtx2, OrientationNeverTurnsRows) {
    for (const char* key : {"KTXorientation", "KTXOrientation", "ktxorientation"}) {
        for (const char* value : {"rd", "ru", "RU", "rdi", "ruo", "ld", "lu", "r", "", "S=r,T=u"}) {
            Test_ExpectLoads(SixPixels2().KeyValue(key, value).Level(SixPixels()).Build(),
                             SixPixelPicture());
        }
    }
    Test_ExpectLoads(SixPixels2()
                         .KeyValue("first", "one")
                         .KeyValue("KTXorientation", "ru")
                         .Level(SixPixels())
                         .Build(),
                     SixPixelPicture());
}

/// A pair of that many bytes without a zero among them.
Bytes EndlessKey(std::size_t byteCount) {
    Bytes pair;
    Test_PutLe(pair, byteCount, 4);
    pair.insert(pair.end(), byteCount, 'k');
    return pair;
}

TEST(KoruLoadKtx1, TakesPairsOfAnyLength) {
    for (const std::size_t byteCount :
         {0u, 1u, 2u, 14u, 15u, 254u, 255u, 256u, 257u, 258u, 300u, 511u, 512u, 5000u}) {
        SCOPED_TRACE(byteCount);
        Test_ExpectLoads(
            SixPixels1().KeyValueBytes(EndlessKey(byteCount)).Level(SixPixels()).Build(),
            SixPixelPicture());
        Test_ExpectLoads(SixPixels1()
                             .KeyValue("KTXorientation", std::string(byteCount, '='))
                             .Level(SixPixels())
                             .Build(),
                         SixPixelPicture());
        Test_ExpectLoads(
            SixPixels2().KeyValueBytes(EndlessKey(byteCount)).Level(SixPixels()).Build(),
            SixPixelPicture());
        Test_ExpectLoads(SixPixels2()
                             .KeyValue("KTXorientation", std::string(byteCount, 'r'))
                             .Level(SixPixels())
                             .Build(),
                         SixPixelPicture());
    }
}

TEST(KoruLoadKtx1, TheHeaderSaysHowLongKeyValueDataAre) {
    const Bytes pair = Test_KeyValuePair("key", "value");
    Bytes level;
    Test_PutLe(level, SixPixels().size(), 4);
    Test_Append(level, SixPixels());
    // 40 bytes of padding that no pair counts, filled with what would be an imageSize of 0.
    Bytes padded = pair;
    padded.resize(pair.size() + 40);
    Test_ExpectLoads(SixPixels1().KeyValueBytes(padded).Level(SixPixels()).Build(),
                     SixPixelPicture());
    // Pairs that run on into the level: only the header's count leads to the level.
    for (const std::uint32_t pairBytes : {8u, 12u, 20u, 32u}) {
        Bytes longer;
        Test_PutLe(longer, pairBytes, 4);
        longer.resize(8);
        Test_ExpectLoads(SixPixels1().KeyValueBytes(longer).Level(SixPixels()).Build(),
                         SixPixelPicture());
    }
    // The header counts less than the pair's own size field: the level begins inside of it.
    Bytes inside = level;
    inside.insert(inside.begin(), {0x10});  // with the imageSize's first three bytes: 0x1810
    EXPECT_EQ(inside.size(), 29u);
    Bytes file = SixPixels1()
                     .Set(Ktx1Field::BytesOfKeyValueData, 1)
                     .Set(Ktx1Field::MipmapLevels, 1)
                     .Raw(inside)
                     .Build();
    Test_ExpectRefused(file);  // a pair of 0x1810 bytes
    file.resize(kKtx1HeaderBytes + 4 + 0x1810);
    Test_ExpectLoads(file, SixPixelPicture());
}

TEST(KoruLoadKtx1, APairMustLieInsideTheFile) {
    // Behind the pair's size the file has 28 bytes, those of the level.
    for (const std::uint32_t pairBytes :
         {28u, 29u, 100u, 0x7FFFFFFFu, 0xFFFFFFFBu, 0xFFFFFFFCu, 0xFFFFFFFFu}) {
        Bytes pair;
        Test_PutLe(pair, pairBytes, 4);
        const Bytes file = SixPixels1().KeyValueBytes(pair).Level(SixPixels()).Build();
        if (pairBytes == 28) {
            Test_ExpectLoads(file, SixPixelPicture());
        } else {
            Test_ExpectRefused(file);
        }
    }
}

TEST(KoruLoadKtx1, APairsSizeMustLieInsideTheFile) {
    // Without levels an ETC image needs nothing behind its header.
    const auto build = [](std::size_t rawBytes) {
        return Ktx1Builder()
            .Compressed(kEtc2Rgb)
            .Set(Ktx1Field::Faces, 0)
            .Set(Ktx1Field::BytesOfKeyValueData, 1)
            .Raw(Bytes(rawBytes))
            .Build();
    };
    for (std::size_t rawBytes = 0; rawBytes < 4; ++rawBytes) Test_ExpectRefused(build(rawBytes));
    Test_ExpectLoads(build(4), Test_OpaqueBlack(4, 4));
}

TEST(KoruLoadKtx1, KeyValueDataPastTheEndFailOnlyWhereALevelIsRead) {
    for (const std::uint32_t byteCount :
         {200u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFBFu, 0xFFFFFFC0u, 0xFFFFFFC4u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(byteCount);
        Test_ExpectRefused(SixPixels1()
                               .KeyValue("key", "value")
                               .Set(Ktx1Field::BytesOfKeyValueData, byteCount)
                               .Level(SixPixels())
                               .Build());
        Test_ExpectLoads(Ktx1Builder()
                             .Compressed(kEtc2Rgb)
                             .Set(Ktx1Field::Faces, 0)
                             .KeyValue("key", "value")
                             .Set(Ktx1Field::BytesOfKeyValueData, byteCount)
                             .Build(),
                         Test_OpaqueBlack(4, 4));
    }
}

TEST(KoruLoadKtx1, KeyValueDataPastTheEndDoNotWrapAround) {
    // 64 + 0xFFFFFFEC is 44 in 32 bits: there lies what would do for an imageSize.
    Test_ExpectRefused(SixPixels1()
                           .KeyValue("key", "value")
                           .Set(Ktx1Field::PixelDepth, 24)
                           .Set(Ktx1Field::BytesOfKeyValueData, 0xFFFFFFEC)
                           .Level(SixPixels())
                           .Build());
}

// Levels of KTX 1.1.

TEST(KoruLoadKtx1, NoLevelsCountAsOneIfThereIsAFace) {
    Test_ExpectLoads(SixPixels1().Level(SixPixels()).Set(Ktx1Field::MipmapLevels, 0).Build(),
                     SixPixelPicture());
    for (const std::uint32_t faces : {1u, 6u, 0xFFFFFFFFu}) {
        Test_ExpectLoads(SixPixels1()
                             .Level(SixPixels())
                             .Set(Ktx1Field::MipmapLevels, 0)
                             .Set(Ktx1Field::Faces, faces)
                             .Build(),
                         SixPixelPicture());
    }
    Test_ExpectRefused(SixPixels1()
                           .Level(SixPixels())
                           .Set(Ktx1Field::MipmapLevels, 0)
                           .Set(Ktx1Field::Faces, 0)
                           .Build());
}

TEST(KoruLoadKtx1, AHeaderAloneIsAnEtcImageWithoutLevels) {
    for (const auto& [gl, loads] : {std::pair{kEtc2Rgb, true}, std::pair{0x9272u, true},
                                    std::pair{0x93B0u, true}, std::pair{0x83F3u, false}}) {
        const Bytes file = Ktx1Builder().Compressed(gl).Size(5, 3).Set(Ktx1Field::Faces, 0).Build();
        ASSERT_EQ(file.size(), kKtx1HeaderBytes);
        if (loads) {
            Test_ExpectLoads(file, Test_OpaqueBlack(5, 3));
        } else {
            Test_ExpectRefused(file);
        }
        Test_ExpectRefused({file.begin(), file.end() - 1});
        // With a level to read, its size is missing.
        Test_ExpectRefused(Ktx1Builder().Compressed(gl).Size(5, 3).Build());
    }
}

TEST(KoruLoadKtx1, NoPaddingBehindLevels) {
    // An imageSize that is no multiple of 4, twice.
    Bytes odd = SixPixels();
    odd.push_back(0xFF);
    Test_ExpectLoads(SixPixels1().Level(odd).Level({0xFF}).Level({1, 2, 3, 4}).Build(),
                     SixPixelPicture());
    // With padding the second imageSize is misread, and the third lies past the end.
    Test_ExpectRefused(
        SixPixels1().Level(odd).Raw({0xFF, 0xFF, 0xFF}).Level({4, 3, 2, 1}).Level({4}).Build());
}

TEST(KoruLoadKtx1, ALevelPastTheEndFailsUnlessItIsTheLast) {
    const auto build = [](std::uint32_t second, std::uint32_t third) {
        return SixPixels1()
            .Level(SixPixels())
            .Level({1, 2, 3, 4}, second)
            .Level({1, 2, 3, 4}, third)
            .Build();
    };
    Test_ExpectLoads(build(4, 4), SixPixelPicture());
    for (const std::uint32_t size :
         {9u, 10u, 0x1000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFF0u, 0xFFFFFFFCu, 0xFFFFFFFFu}) {
        SCOPED_TRACE(size);
        Test_ExpectRefused(build(size, 4));
        Test_ExpectLoads(build(4, size), SixPixelPicture());
    }
    // 8 bytes on: the last four bytes are the third imageSize.
    Test_ExpectLoads(build(8, 4), SixPixelPicture());
}

TEST(KoruLoadKtx1, EveryLevelsSizeMustBeThere) {
    const Bytes file = SixPixels1().Level(SixPixels()).Level({}).Level({}).Build();
    Test_ExpectLoads(file, SixPixelPicture());
    for (std::ptrdiff_t missing = 1; missing <= 9; ++missing) {
        Test_ExpectRefused({file.begin(), file.end() - missing});
    }
    for (const std::uint32_t levels : {2u, 3u, 32u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        Test_ExpectRefused(
            SixPixels1().Level(SixPixels()).Set(Ktx1Field::MipmapLevels, levels).Build());
    }
}

TEST(KoruLoadKtx1, OnlyTheFirstLevelCounts) {
    // An empty first level is not made up for by the second.
    Test_ExpectRefused(SixPixels1().Level({}).Level(SixPixels()).Build());
    Test_ExpectLoads(
        Ktx1Builder().Compressed(kEtc2Rgb).Level({}).Level(Test_EtcRgbBlock(1).bytes).Build(),
        Test_OpaqueBlack(4, 4));
}

TEST(KoruLoadKtx1, FacesOfLaterLevelsAreNotToldApart) {
    // Two levels of a cube, each face as long as its imageSize says: behind the first face the
    // second is taken for a level of 0x04030201 bytes, which is past the end.
    const Bytes face = {1, 2, 3, 4};
    const auto cube = [&](std::uint32_t levels) {
        return Ktx1Builder()
            .Uncompressed(kRgba8)
            .Size(1, 1)
            .Set(Ktx1Field::Faces, 6)
            .Set(Ktx1Field::MipmapLevels, levels)
            .Level(face)
            .Raw({1, 2, 3, 4, 1, 2, 3, 4, 1, 2, 3, 4, 1, 2, 3, 4, 1, 2, 3, 4})
            .Build();
    };
    Test_ExpectLoads(cube(1), {1, 1, face});
    Test_ExpectLoads(cube(2), {1, 1, face});
    Test_ExpectRefused(cube(3));
}

TEST(KoruLoadKtx1, FirstLevelMustLieInsideTheFile) {
    for (const std::uint32_t size :
         {25u, 28u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFBCu, 0xFFFFFFFCu, 0xFFFFFFFFu}) {
        Test_ExpectRefused(SixPixels1().Level(SixPixels(), size).Build());
    }
}

TEST(KoruLoadKtx1, RowsArePaddedToFourBytes) {
    Test_ExpectRefused(Ktx1Builder().Uncompressed(kRgb8).Size(5, 3).Level(Bytes(45)).Build());
    Test_ExpectRefused(Ktx1Builder().Uncompressed(kRgb8).Size(5, 3).Level(Bytes(47)).Build());
    Bytes rows;
    TestPicture picture{5, 3, {}};
    for (std::uint8_t y = 0; y < 3; ++y) {
        for (std::uint8_t x = 0; x < 5; ++x) {
            Test_Append(rows, {x, y, 77});
            Test_Append(picture.rgba, {x, y, 77, 255});
        }
        rows.push_back(0xEE);
    }
    Test_ExpectLoads(Ktx1Builder().Uncompressed(kRgb8).Size(5, 3).Level(rows).Build(), picture);
    Test_ExpectLoads(Ktx2Builder().Format(kVkRgb8, 3).Size(5, 3).Level(rows).Build(), picture);
}

TEST(KoruLoadKtx1, RefusesDxt1WithoutAlpha) {
    Test_ExpectRefused(Ktx1Builder().Compressed(0x83F0).Level(Bytes(8, 1)).Build());
    Test_ExpectRefused(Ktx2Builder().Format(131).Level(Bytes(8, 1)).Build());
}

TEST(KoruLoadKtx1, SizesThatDoNotFit32BitsAreRefused) {
    // Counted in 32 bits the required bytes are 4, 0, 4 and 0.
    for (const auto& [width, height] :
         {std::pair{0x40000001u, 1u}, std::pair{0x40000000u, 1u}, std::pair{1u, 0x40000001u},
          std::pair{0x10000u, 0x10000u}}) {
        Test_ExpectRefused(SixPixels1().Size(width, height).Level(Bytes(64)).Build());
        Test_ExpectRefused(SixPixels2().Size(width, height).Level(Bytes(64)).Build());
    }
    for (const std::uint32_t gl : {kEtc2Rgb, 0x9278u, 0x83F1u, 0x83F3u, 0x8C4Cu, 0x93B0u}) {
        for (const auto& [width, height] :
             {std::pair{0x40000001u, 1u}, std::pair{0xFFFFFFFFu, 0xFFFFFFFFu},
              std::pair{0x10000u, 0x10000u}, std::pair{0xFFFFFFFDu, 4u},
              std::pair{4u, 0xFFFFFFFDu}}) {
            SCOPED_TRACE(gl);
            Test_ExpectRefused(
                Ktx1Builder().Compressed(gl).Size(width, height).Level(Bytes(64)).Build());
        }
    }
    // Without a payload as well, where it would be black.
    Test_ExpectRefused(Ktx1Builder().Compressed(kEtc2Rgb).Size(0x10000, 0x10000).Level({}).Build());
    Test_ExpectRefused(Ktx1Builder().Compressed(kEtc2Rgb).Size(0x80000000, 2).Level({}).Build());
}

// The header of KTX 2.0.

TEST(KoruLoadKtx2, TypeSizeIsOneTwoOrFour) {
    for (const std::uint32_t size : {1u, 2u, 4u}) {
        Test_ExpectLoads(SixPixels2().Set(Ktx2Field::TypeSize, size).Level(SixPixels()).Build(),
                         SixPixelPicture());
    }
    for (const std::uint32_t size : {0u, 3u, 5u, 8u, 0x101u, 0x80000001u, 0xFFFFFFFFu}) {
        Test_ExpectRefused(SixPixels2().Set(Ktx2Field::TypeSize, size).Level(SixPixels()).Build());
    }
}

TEST(KoruLoadKtx2, RejectsSupercompressionAndUndefinedFormats) {
    for (const std::uint32_t scheme : {1u, 2u, 3u, 0x100u, 0x80000000u, 0xFFFFFFFFu}) {
        Test_ExpectRefused(
            SixPixels2().Set(Ktx2Field::SupercompressionScheme, scheme).Level(SixPixels()).Build());
    }
    Test_ExpectRefused(SixPixels2().Set(Ktx2Field::VkFormat, 0).Level(SixPixels()).Build());
}

TEST(KoruLoadKtx2, RejectsZeroWidthAndHeight) {
    Test_ExpectRefused(SixPixels2().Size(0, 2).Level(SixPixels()).Build());
    Test_ExpectRefused(SixPixels2().Size(3, 0).Level(SixPixels()).Build());
    Test_ExpectRefused(Ktx2Builder().Format(kVkEtc2Rgb).Size(0, 2).Build());
    Test_ExpectRefused(Ktx2Builder().Format(kVkEtc2Rgb).Size(3, 0).Build());
}

TEST(KoruLoadKtx2, FieldsThatDoNotMatter) {
    for (const Ktx2Field field :
         {Ktx2Field::PixelDepth, Ktx2Field::LayerCount, Ktx2Field::FaceCount,
          Ktx2Field::DfdByteOffset, Ktx2Field::DfdByteLength, Ktx2Field::KvdByteOffset,
          Ktx2Field::SgdByteOffset}) {
        for (const std::uint64_t value : {0ull, 1ull, 6ull, 0xFFFFFFFFull}) {
            const Bytes file = SixPixels2()
                                   .KeyValue("KTXorientation", "rd")
                                   .Sgd(Bytes(16, 3))
                                   .Set(field, value)
                                   .Level(SixPixels())
                                   .Build();
            Test_ExpectLoads(file, SixPixelPicture());
        }
    }
}

TEST(KoruLoadKtx2, LengthsThatNothingIsReadBehindDoNotMatter) {
    for (const std::uint64_t value :
         {1ull, 100ull, 0x7FFFFFFFull, 0x80000000ull, 0xFFFFFFFFull, 0x100000000ull, ~0ull}) {
        Test_ExpectLoads(
            SixPixels2().Set(Ktx2Field::SgdByteLength, value).Level(SixPixels()).Build(),
            SixPixelPicture());
        Test_ExpectLoads(SixPixels2()
                             .KeyValue("key", "value")
                             .Set(Ktx2Field::KvdByteLength, value & 0xFFFFFFFF)
                             .Sgd(Bytes(8))
                             .Level(SixPixels())
                             .Build(),
                         SixPixelPicture());
    }
}

// The level index.

TEST(KoruLoadKtx2, LevelCountBelowOneReadsOneEntry) {
    for (const std::uint32_t count : {0u, 1u, 0x80000000u, 0xFFFFFFFFu}) {
        Test_ExpectLoads(SixPixels2().Set(Ktx2Field::LevelCount, count).Level(SixPixels()).Build(),
                         SixPixelPicture());
    }
    // An entry, no more: what follows is the descriptor.
    const Bytes file = SixPixels2()
                           .Set(Ktx2Field::LevelCount, 0)
                           .Dfd({4, 0, 0, 0})
                           .KeyValue("k", "v")
                           .Level(SixPixels())
                           .Build();
    Test_ExpectLoads(file, SixPixelPicture());
}

TEST(KoruLoadKtx2, EveryIndexEntryMustBeThere) {
    for (const std::uint32_t count : {1000u, 0x7FFFFFFFu}) {
        Test_ExpectRefused(
            SixPixels2().Set(Ktx2Field::LevelCount, count).Level(SixPixels()).Build());
    }
    // A file of the header and two entries, and 4 bytes for the descriptor's size. The pixel is
    // the header's vkFormat.
    const Bytes file = Ktx2Builder()
                           .Format(kVkRgba8, 4)
                           .Size(1, 1)
                           .Level({})
                           .Level({})
                           .Entry(0, Ktx2Entry::ByteOffset, 12)
                           .Entry(0, Ktx2Entry::ByteLength, 4)
                           .Dfd({0, 0, 0, 0})
                           .Build();
    ASSERT_EQ(file.size(), 80u + 2 * 24 + 4);
    Test_ExpectLoads(file, {1, 1, {kVkRgba8, 0, 0, 0}});
    for (std::size_t size = 0; size < file.size(); ++size) {
        Test_ExpectRefused({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)});
    }
}

TEST(KoruLoadKtx2, LaterIndexEntriesDoNotMatter) {
    const auto build = [](std::uint64_t offset, std::uint64_t size) {
        return SixPixels2()
            .Level(SixPixels())
            .Level({1, 2, 3, 4})
            .Entry(1, Ktx2Entry::ByteOffset, offset)
            .Entry(1, Ktx2Entry::ByteLength, size)
            .Entry(1, Ktx2Entry::UncompressedByteLength, 12345)
            .Entry(0, Ktx2Entry::UncompressedByteLength, 0)
            .Build();
    };
    for (const std::uint64_t value : {0ull, 1ull, 0xFFFFFFFFull, ~0ull}) {
        Test_ExpectLoads(build(value, value), SixPixelPicture());
    }
}

TEST(KoruLoadKtx2, OffsetOrLengthOfZeroIsAnEmptyLevel) {
    for (const Ktx2Entry field : {Ktx2Entry::ByteOffset, Ktx2Entry::ByteLength}) {
        const auto build = [&](std::uint32_t vkFormat) {
            return Ktx2Builder().Format(vkFormat).Level(Bytes(64, 5)).Entry(0, field, 0).Build();
        };
        Test_ExpectRefused(build(kVkRgba8));
        Test_ExpectRefused(build(kVkDxt5));
        for (const std::uint32_t vkFormat : {kVkEtc2Rgb, 149u, 151u, 153u, 155u, kVkAstc4x4}) {
            Test_ExpectLoads(build(vkFormat), Test_OpaqueBlack(4, 4));
        }
    }
}

TEST(KoruLoadKtx2, OnlyTheFirstLevelCounts) {
    // An empty first level is not made up for by the second.
    Test_ExpectRefused(
        SixPixels2().Level({}).Level(SixPixels()).Entry(0, Ktx2Entry::ByteOffset, 0).Build());
    Test_ExpectLoads(
        Ktx2Builder().Format(kVkEtc2Rgb).Level({}).Level(Test_EtcRgbBlock(1).bytes).Build(),
        Test_OpaqueBlack(4, 4));
}

TEST(KoruLoadKtx2, HighWordsOfTheIndexCountForZeroAlone) {
    constexpr std::uint64_t kHigh = 0x100000000;
    Bytes file = SixPixelFile2();
    const std::uint64_t offset = file.size() - SixPixels().size();
    const auto build = [](std::uint64_t byteOffset, std::uint64_t byteLength) {
        return SixPixels2()
            .Level(SixPixels())
            .Entry(0, Ktx2Entry::ByteOffset, byteOffset)
            .Entry(0, Ktx2Entry::ByteLength, byteLength)
            .Build();
    };
    for (const std::uint64_t high : {kHigh, kHigh << 31, ~(kHigh - 1)}) {
        Test_ExpectLoads(build(high | offset, 24), SixPixelPicture());
        Test_ExpectLoads(build(offset, high | 24), SixPixelPicture());
        // Not empty, but without a byte.
        Test_ExpectRefused(build(offset, high));
    }
    // Not empty, and at the file's start: the identifier is the picture.
    file = Ktx2Builder()
               .Format(kVkEtc2Rgb)
               .Level(Bytes(8))
               .Entry(0, Ktx2Entry::ByteLength, kHigh)
               .Build();
    Test_ExpectRefused(file);
    Test_ExpectLoads(Ktx2Builder()
                         .Format(kVkRgba8, 4)
                         .Size(3, 1)
                         .Level(Bytes(12))
                         .Entry(0, Ktx2Entry::ByteOffset, kHigh)
                         .Build(),
                     {3, 1, {0xAB, 'K', 'T', 'X', ' ', '2', '0', 0xBB, '\r', '\n', 0x1A, '\n'}});
}

TEST(KoruLoadKtx2, LevelMustLieInsideTheFile) {
    const std::uint64_t fileBytes = SixPixelFile2().size();
    const auto build = [](std::uint64_t byteOffset, std::uint64_t byteLength) {
        return SixPixels2()
            .Level(SixPixels())
            .Entry(0, Ktx2Entry::ByteOffset, byteOffset)
            .Entry(0, Ktx2Entry::ByteLength, byteLength)
            .Build();
    };
    for (const std::uint64_t offset :
         {fileBytes - 24 + 1, fileBytes, fileBytes + 1, std::uint64_t{0x7FFFFFFF},
          std::uint64_t{0xFFFFFFF0}, std::uint64_t{0xFFFFFFFF}}) {
        Test_ExpectRefused(build(offset, 24));
    }
    for (const std::uint64_t size : {25ull, 0x7FFFFFFFull, 0xFFFFFFF0ull, 0xFFFFFFFFull}) {
        Test_ExpectRefused(build(fileBytes - 24, size));
    }
    // Anywhere inside will do, the start and the index included.
    for (std::uint64_t offset = 1; offset + 24 <= fileBytes; offset += 9) {
        const Bytes file = build(offset, 24);
        const auto from = file.begin() + static_cast<std::ptrdiff_t>(offset);
        Test_ExpectLoads(file, {3, 2, {from, from + 24}});
    }
}

TEST(KoruLoadKtx2, LevelsMayComeInAnyOrder) {
    const auto levels = [] {
        return SixPixels2().Level(SixPixels()).Level({9, 9, 9, 9}).Level({8, 8, 8, 8});
    };
    Test_ExpectLoads(levels().Build(), SixPixelPicture());
    Test_ExpectLoads(levels().LargestLevelFirst().Build(), SixPixelPicture());
}

// Descriptor, key/value data and the rest are found one behind the other.

TEST(KoruLoadKtx2, DescriptorIsSkippedByItsOwnSize) {
    // Behind the descriptor lies a pair that would end the load if it began a byte off: its size
    // of 0 then gets a top byte of 0xFF, and the bytes before it are 0xFF, too.
    for (const std::uint32_t size : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 8u, 44u, 100u}) {
        SCOPED_TRACE(size);
        Bytes dfd;
        Test_PutLe(dfd, size, 4);
        if (size > 4) dfd.resize(size, 0xFF);
        const auto build = [&](const Bytes& pair) {
            return SixPixels2().Dfd(dfd).KeyValueBytes(pair).Level(SixPixels()).Build();
        };
        Test_ExpectLoads(build({0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}), SixPixelPicture());
        Test_ExpectRefused(build({0xFF, 0, 0, 0xFF, 0, 0, 0, 0}));
        Test_ExpectRefused(build({0xFF, 0xFF, 0, 0, 0, 0, 0, 0}));
    }
}

TEST(KoruLoadKtx2, DescriptorPastTheEndFailsOnlyWhereKeysFollow) {
    for (const std::uint32_t size : {1000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFF94u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(size);
        Bytes dfd;
        Test_PutLe(dfd, size, 4);
        Test_ExpectLoads(SixPixels2().Dfd(dfd).Level(SixPixels()).Build(), SixPixelPicture());
        Test_ExpectRefused(
            SixPixels2().Dfd(dfd).KeyValue("key", "value").Level(SixPixels()).Build());
    }
    // 104 + 0xFFFFFFB4 is 28 in 32 bits: there lies what would do for a pair of no bytes.
    Test_ExpectRefused(SixPixels2()
                           .Dfd({0xB4, 0xFF, 0xFF, 0xFF})
                           .KeyValue("key", "value")
                           .Level(SixPixels())
                           .Build());
}

TEST(KoruLoadKtx2, KeyValueDataAreReadBehindTheDescriptorWhateverTheHeaderSays) {
    // The header's offset points to a sound pair, but behind the descriptor there is none.
    const auto build = [](std::uint32_t pairBytes) {
        Bytes behind;
        Test_PutLe(behind, pairBytes, 4);
        Test_Append(behind, Test_KeyValuePair("KTXorientation", "rd"));
        return SixPixels2()
            .KeyValueBytes(behind)
            .Set(Ktx2Field::KvdByteOffset, 80 + 24 + 44 + 4)
            .Level(SixPixels())
            .Build();
    };
    Test_ExpectLoads(build(0), SixPixelPicture());
    Test_ExpectRefused(build(0x1000));
}

TEST(KoruLoadKtx2, APairMustLieInsideTheFile) {
    // Header, index, the descriptor's size, the pair's size, and pixels as all that follows.
    for (const std::uint32_t pairBytes : {0u, 24u, 25u, 0x7FFFFFFFu, 0xFFFFFFFCu, 0xFFFFFFFFu}) {
        Bytes pair;
        Test_PutLe(pair, pairBytes, 4);
        const Bytes file =
            SixPixels2().Dfd({4, 0, 0, 0}).KeyValueBytes(pair).Level(SixPixels()).Build();
        ASSERT_EQ(file.size(), 80u + 24 + 4 + 4 + 24);
        if (pairBytes <= 24) {
            Test_ExpectLoads(file, SixPixelPicture());
        } else {
            Test_ExpectRefused(file);
        }
    }
    // The pair's size itself, at the end of the file; the level is in the header.
    const auto build = [](std::size_t rawBytes) {
        return Ktx2Builder()
            .Format(kVkRgba8, 4)
            .Size(1, 1)
            .Entry(0, Ktx2Entry::ByteOffset, 12)
            .Entry(0, Ktx2Entry::ByteLength, 4)
            .Dfd({4, 0, 0, 0})
            .Set(Ktx2Field::KvdByteLength, 4)
            .Raw(Bytes(rawBytes))
            .Build();
    };
    for (std::size_t rawBytes = 0; rawBytes < 4; ++rawBytes) Test_ExpectRefused(build(rawBytes));
    Test_ExpectLoads(build(4), {1, 1, {kVkRgba8, 0, 0, 0}});
}

TEST(KoruLoadKtx2, RowsAreTakenAsPaddedThoughTheStandardHasNoPadding) {
    // Width 4: rows of 12 bytes.
    Test_ExpectLoads(Ktx2Builder().Format(kVkRgb8, 3).Size(4, 3).Level(Bytes(36)).Build(),
                     Test_OpaqueBlack(4, 3));
    // Width 5: rows of 15 bytes, of which one row fits only with a byte behind it.
    Test_ExpectRefused(Ktx2Builder().Format(kVkRgb8, 3).Size(5, 1).Level(Bytes(15)).Build());
    Test_ExpectLoads(Ktx2Builder().Format(kVkRgb8, 3).Size(5, 1).Level(Bytes(16)).Build(),
                     Test_OpaqueBlack(5, 1));
}

}  // namespace
