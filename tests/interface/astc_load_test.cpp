// ".astc" files through the public functions.
#include <gtest/gtest.h>
#include <korutex.h>

#include <filesystem>
#include <tuple>
#include <utility>

#include "astc_builder.h"
#include "koru_image_ptr.h"
#include "load_expectations.h"
#include "test_files.h"

namespace {

constexpr std::uint32_t kRgb = 0;

KoruImagePtr LoadFile(const std::filesystem::path& path, std::uint32_t flags) {
    return KoruImagePtr(KORU_Load_ASTC_From_File(Test_ToKoruPath(path).c_str(), flags));
}

Bytes Repeat(const TestColor& color, std::size_t channels, std::size_t pixelCount) {
    Bytes pixels;
    for (std::size_t i = 0; i < pixelCount; ++i) {
        pixels.insert(pixels.end(), color.begin(),
                      color.begin() + static_cast<std::ptrdiff_t>(channels));
    }
    return pixels;
}

/// 5 x 5 pixels in 4 x 4 blocks: 64 bytes of payload.
AstcBuilder FiveByFive() { return AstcBuilder().Size(5, 5).Solid({10, 20, 30, 40}, 4); }

TEST(KoruLoadAstc, PutsBlocksInRowsFromTheTopLeft) {
    const auto file = AstcBuilder()
                          .Size(5, 5)
                          .Solid({1, 0, 0, 255})
                          .Solid({2, 0, 0, 255})
                          .Solid({3, 0, 0, 255})
                          .Solid({4, 0, 0, 255})
                          .Build();
    const auto image = Test_LoadAstc(file, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    for (std::uint32_t y = 0; y < 5; ++y) {
        for (std::uint32_t x = 0; x < 5; ++x) {
            const unsigned block = (y / 4) * 2 + x / 4 + 1;
            EXPECT_EQ(image->pixels[y * image->stride + x * 4], block) << x << ',' << y;
        }
    }
}

TEST(KoruLoadAstc, OneByOneImageTakesOneBlock) {
    const auto image =
        Test_LoadAstc(AstcBuilder().Solid({200, 100, 50, 25}).Build(), KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Test_GetPixels(*image), Bytes({200, 100, 50, 25}));
}

TEST(KoruLoadAstc, NeedsEveryByteOfThePayload) {
    Bytes file = FiveByFive().Build();
    ASSERT_EQ(file.size(), 16u + 64u);
    EXPECT_NE(Test_LoadAstc(file, kRgb), nullptr);
    file.pop_back();
    EXPECT_EQ(Test_LoadAstc(file, kRgb), nullptr);
}

TEST(KoruLoadAstc, IgnoresBytesBehindThePayload) {
    const auto image = Test_LoadAstc(FiveByFive().Raw(1, 0xAA).Build(), kRgb);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Test_GetPixels(*image), Repeat({10, 20, 30, 40}, 3, 25));
}

TEST(KoruLoadAstc, EveryTruncationFailsWithEveryFlag) {
    TempFolder folder;
    const Bytes whole = FiveByFive().Build();
    for (std::size_t size = 1; size < whole.size(); ++size) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        Test_WriteFile(folder / "cut.astc", cut);
        for (std::uint32_t flags : {0u, 1u, 2u, 3u}) {
            EXPECT_EQ(Test_LoadAstc(cut, flags), nullptr) << size;
            EXPECT_EQ(LoadFile(folder / "cut.astc", flags), nullptr) << size;
        }
    }
    EXPECT_NE(Test_LoadAstc(whole, 3), nullptr);
}

TEST(KoruLoadAstc, BlockDimensionsOfZeroCountAsOne) {
    // One block for each of the 3 x 2 pixels; no such footprint exists, so the pixels stay empty.
    for (const auto& [x, y, z] :
         {std::tuple{0, 0, 0}, std::tuple{0, 1, 1}, std::tuple{1, 0, 1}, std::tuple{1, 1, 0}}) {
        const auto build = [&](std::size_t payloadBytes) {
            return AstcBuilder()
                .Blocks(static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y),
                        static_cast<std::uint8_t>(z))
                .Size(3, 2)
                .Raw(payloadBytes)
                .Build();
        };
        EXPECT_NE(Test_LoadAstc(build(6 * 16), kRgb), nullptr);
        EXPECT_EQ(Test_LoadAstc(build(6 * 16 - 1), kRgb), nullptr);
    }
    // A depth of 0 is a depth of 1: these are 4 x 4 x 1 blocks.
    const auto image = Test_LoadAstc(AstcBuilder().Blocks(4, 4, 0).Solid({7, 6, 5, 4}).Build(), 2);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Test_GetPixels(*image), Bytes({7, 6, 5, 4}));
}

TEST(KoruLoadAstc, IllegalFootprintGivesTransparentBlack) {
    for (const auto& [x, y, z] :
         {std::tuple{3, 3, 1}, std::tuple{7, 4, 1}, std::tuple{255, 255, 1}, std::tuple{4, 4, 2},
          std::tuple{1, 1, 1}, std::tuple{12, 11, 1}}) {
        const auto file = AstcBuilder()
                              .Blocks(static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y),
                                      static_cast<std::uint8_t>(z))
                              .Size(3, 2)
                              .Solid({9, 9, 9, 9}, 6)
                              .Build();
        const auto rgba = Test_LoadAstc(file, KORU_FLAG_RGBA);
        ASSERT_NE(rgba, nullptr);
        EXPECT_EQ(Test_GetPixels(*rgba), Bytes(24, 0));
        const auto rgb = Test_LoadAstc(file, kRgb);
        ASSERT_NE(rgb, nullptr);
        EXPECT_EQ(Test_GetPixels(*rgb), Bytes(18, 0));
    }
}

TEST(KoruLoadAstc, RejectsImageDepthOtherThanOne) {
    for (std::uint32_t depth : {0u, 2u, 256u, 0xFFFFFFu}) {
        EXPECT_EQ(Test_LoadAstc(AstcBuilder().Size(4, 4, depth).Solid({}, 64).Build(), kRgb),
                  nullptr)
            << depth;
    }
}

TEST(KoruLoadAstc, TakesVolumeBlocksForAnImageOfDepthOne) {
    const auto image =
        Test_LoadAstc(AstcBuilder().Blocks(3, 3, 3).Size(4, 2).Solid({5, 6, 7, 8}, 2).Build(), 2);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Test_GetPixels(*image), Repeat({5, 6, 7, 8}, 4, 8));
}

TEST(KoruLoadAstc, RejectsZeroWidthAndHeight) {
    EXPECT_EQ(Test_LoadAstc(AstcBuilder().Size(0, 4).Solid({}, 4).Build(), kRgb), nullptr);
    EXPECT_EQ(Test_LoadAstc(AstcBuilder().Size(4, 0).Solid({}, 4).Build(), kRgb), nullptr);
}

TEST(KoruLoadAstc, RejectsEveryWrongMagicByte) {
    for (std::size_t byte = 0; byte < 4; ++byte) {
        Bytes file = FiveByFive().Build();
        file[byte] ^= 1;
        EXPECT_EQ(Test_LoadAstc(file, kRgb), nullptr) << byte;
    }
}

TEST(KoruLoadAstc, SizesThatDoNotFit32BitsAreRefused) {
    // 2^24 - 1 squared: block bytes and pixel bytes wrap if counted in 32 bits.
    constexpr std::uint32_t kMost = 0xFFFFFF;
    for (const std::uint8_t block : Bytes{1, 4, 12, 255}) {
        EXPECT_EQ(Test_LoadAstc(
                      AstcBuilder().Blocks(block, block).Size(kMost, kMost).Raw(4096).Build(), 2),
                  nullptr);
    }
    // 2^16 * 2^16 blocks of 16 bytes are 0 in 32 bits.
    EXPECT_EQ(Test_LoadAstc(AstcBuilder().Blocks(1, 1).Size(0x10000, 0x10000).Build(), 2), nullptr);
    // The payload is there, but 4 bytes for each of 65536 * 16385 pixels are 2^32 + 2^18: counted
    // in 32 bits, room for one row of many.
    EXPECT_EQ(
        Test_LoadAstc(
            AstcBuilder().Blocks(12, 12).Size(65536, 16385).Raw(5462ull * 1366 * 16).Build(), 2),
        nullptr);
    // The same with 65536 * 16384 pixels: 2^32 exactly.
    EXPECT_EQ(
        Test_LoadAstc(
            AstcBuilder().Blocks(255, 255).Size(65536, 16384).Raw(257ull * 65 * 16).Build(), 2),
        nullptr);
}

TEST(KoruLoadAstc, ErrorBlocksAreMagenta) {
    // All zeros is a reserved encoding; LDR decoders show the standard's error color.
    const auto image = Test_LoadAstc(AstcBuilder().Raw(16).Build(), KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Test_GetPixels(*image), Bytes({255, 0, 255, 255}));
}

TEST(KoruLoadAstc, OpensPathsOfThreeByteCharactersOnly) {
    TempFolder folder;
    const std::u16string part(80, u'\u56F3');
    std::filesystem::create_directory(folder / part);
    Test_WriteFile(folder / part / part, FiveByFive().Build());
    EXPECT_NE(LoadFile(folder / part / part, 2), nullptr);
}

#if !defined(_WIN32)
TEST(KoruLoadAstc, RefusesPathsWithLoneSurrogates) {
    TempFolder folder;
    // What the halves would be as bytes exists, so only the refusal keeps them from opening.
    for (const auto& [units, bytes] :
         {std::pair{u"\xD800", "\xED\xA0\x80"}, std::pair{u"\xDBFF", "\xED\xAF\xBF"},
          std::pair{u"\xDC00", "\xED\xB0\x80"},
          std::pair{u"\xDC00\xD800", "\xED\xB0\x80\xED\xA0\x80"}}) {
        Test_WriteFile(folder / bytes, FiveByFive().Build());
        const KoruPath path = Test_ToKoruPath(folder / "") + units;
        EXPECT_EQ(KORU_Load_ASTC_From_File(path.c_str(), 2), nullptr);
    }
}
#endif

}  // namespace
