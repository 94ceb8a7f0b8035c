// ".astc" files through the public functions.
#include <gtest/gtest.h>
#include <korutex.h>

#include <cstring>
#include <filesystem>
#include <tuple>
#include <utility>

#include "astc_builder.h"
#include "koru_image_ptr.h"
#include "test_files.h"

namespace {

constexpr std::uint32_t kRgb = 0;

/// Loads from a heap copy of exactly this size, so that a sanitizer sees the first byte too many.
KoruImagePtr LoadMemory(const Bytes& file, std::uint32_t flags) {
    const auto exact = std::make_unique<std::uint8_t[]>(file.size());
    std::memcpy(exact.get(), file.data(), file.size());
    return KoruImagePtr(
        KORU_Load_ASTC_From_Memory(exact.get(), static_cast<std::uint32_t>(file.size()), flags));
}

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

TEST(KoruLoadAstc, FillsEveryFieldOfAnRgbRecord) {
    const auto image = LoadMemory(AstcBuilder().Size(3, 2).Solid({1, 2, 3, 4}).Build(), kRgb);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->width, 3u);
    EXPECT_EQ(image->height, 2u);
    EXPECT_EQ(image->bitsPerPixel, 24u);
    EXPECT_EQ(image->bytesPerPixel, 3u);
    EXPECT_EQ(image->bitsPerChannel, 8u);
    EXPECT_EQ(image->stride, 9u);
    EXPECT_EQ(image->dataSize, 18u);
    EXPECT_EQ(image->rowPadding, 0u);
    EXPECT_EQ(image->reservedA, 0u);
    EXPECT_EQ(image->reservedB, 0u);
    EXPECT_EQ(image->reservedC, 100u);
    EXPECT_EQ(image->reservedD, 0u);
    EXPECT_EQ(Test_GetPixels(*image), Repeat({1, 2, 3, 4}, 3, 6));
}

TEST(KoruLoadAstc, FillsEveryFieldOfAnRgbaRecord) {
    const auto image =
        LoadMemory(AstcBuilder().Size(3, 2).Solid({1, 2, 3, 4}).Build(), KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->width, 3u);
    EXPECT_EQ(image->height, 2u);
    EXPECT_EQ(image->bitsPerPixel, 32u);
    EXPECT_EQ(image->bytesPerPixel, 4u);
    EXPECT_EQ(image->bitsPerChannel, 8u);
    EXPECT_EQ(image->stride, 12u);
    EXPECT_EQ(image->dataSize, 24u);
    EXPECT_EQ(image->rowPadding, 0u);
    EXPECT_EQ(image->reservedA, 0u);
    EXPECT_EQ(image->reservedB, 0u);
    EXPECT_EQ(image->reservedC, 100u);
    EXPECT_EQ(image->reservedD, 0u);
    EXPECT_EQ(Test_GetPixels(*image), Repeat({1, 2, 3, 4}, 4, 6));
}

TEST(KoruLoadAstc, HeaderOnlyGivesSizesOfRgbWithoutPixels) {
    for (std::uint32_t flags : {KORU_FLAG_HEADER_ONLY, KORU_FLAG_HEADER_ONLY | KORU_FLAG_RGBA}) {
        const auto image = LoadMemory(FiveByFive().Build(), flags);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->pixels, nullptr);
        EXPECT_EQ(image->width, 5u);
        EXPECT_EQ(image->height, 5u);
        EXPECT_EQ(image->bitsPerPixel, 24u);
        EXPECT_EQ(image->bytesPerPixel, 3u);
        EXPECT_EQ(image->stride, 15u);
        EXPECT_EQ(image->dataSize, 75u);
        EXPECT_EQ(image->reservedC, 100u);
    }
}

TEST(KoruLoadAstc, IgnoresOtherFlagBits) {
    const auto image = LoadMemory(FiveByFive().Build(), ~(KORU_FLAG_HEADER_ONLY | KORU_FLAG_RGBA));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->bitsPerPixel, 24u);
    EXPECT_EQ(Test_GetPixels(*image), Repeat({10, 20, 30, 40}, 3, 25));
}

TEST(KoruLoadAstc, PutsBlocksInRowsFromTheTopLeft) {
    const auto file = AstcBuilder()
                          .Size(5, 5)
                          .Solid({1, 0, 0, 255})
                          .Solid({2, 0, 0, 255})
                          .Solid({3, 0, 0, 255})
                          .Solid({4, 0, 0, 255})
                          .Build();
    const auto image = LoadMemory(file, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    for (std::uint32_t y = 0; y < 5; ++y) {
        for (std::uint32_t x = 0; x < 5; ++x) {
            const unsigned block = (y / 4) * 2 + x / 4 + 1;
            EXPECT_EQ(image->pixels[y * image->stride + x * 4], block) << x << ',' << y;
        }
    }
}

TEST(KoruLoadAstc, OneByOneImageTakesOneBlock) {
    const auto image = LoadMemory(AstcBuilder().Solid({200, 100, 50, 25}).Build(), KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Test_GetPixels(*image), Bytes({200, 100, 50, 25}));
}

TEST(KoruLoadAstc, NeedsEveryByteOfThePayload) {
    Bytes file = FiveByFive().Build();
    ASSERT_EQ(file.size(), 16u + 64u);
    EXPECT_NE(LoadMemory(file, kRgb), nullptr);
    file.pop_back();
    EXPECT_EQ(LoadMemory(file, kRgb), nullptr);
}

TEST(KoruLoadAstc, IgnoresBytesBehindThePayload) {
    const auto image = LoadMemory(FiveByFive().Raw(1, 0xAA).Build(), kRgb);
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
            EXPECT_EQ(LoadMemory(cut, flags), nullptr) << size;
            EXPECT_EQ(LoadFile(folder / "cut.astc", flags), nullptr) << size;
        }
    }
    EXPECT_NE(LoadMemory(whole, 3), nullptr);
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
        EXPECT_NE(LoadMemory(build(6 * 16), kRgb), nullptr);
        EXPECT_EQ(LoadMemory(build(6 * 16 - 1), kRgb), nullptr);
    }
    // A depth of 0 is a depth of 1: these are 4 x 4 x 1 blocks.
    const auto image = LoadMemory(AstcBuilder().Blocks(4, 4, 0).Solid({7, 6, 5, 4}).Build(), 2);
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
        const auto rgba = LoadMemory(file, KORU_FLAG_RGBA);
        ASSERT_NE(rgba, nullptr);
        EXPECT_EQ(Test_GetPixels(*rgba), Bytes(24, 0));
        const auto rgb = LoadMemory(file, kRgb);
        ASSERT_NE(rgb, nullptr);
        EXPECT_EQ(Test_GetPixels(*rgb), Bytes(18, 0));
    }
}

TEST(KoruLoadAstc, RejectsImageDepthOtherThanOne) {
    for (std::uint32_t depth : {0u, 2u, 256u, 0xFFFFFFu}) {
        EXPECT_EQ(LoadMemory(AstcBuilder().Size(4, 4, depth).Solid({}, 64).Build(), kRgb), nullptr)
            << depth;
    }
}

TEST(KoruLoadAstc, TakesVolumeBlocksForAnImageOfDepthOne) {
    const auto image =
        LoadMemory(AstcBuilder().Blocks(3, 3, 3).Size(4, 2).Solid({5, 6, 7, 8}, 2).Build(), 2);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Test_GetPixels(*image), Repeat({5, 6, 7, 8}, 4, 8));
}

TEST(KoruLoadAstc, RejectsZeroWidthAndHeight) {
    EXPECT_EQ(LoadMemory(AstcBuilder().Size(0, 4).Solid({}, 4).Build(), kRgb), nullptr);
    EXPECT_EQ(LoadMemory(AstcBuilder().Size(4, 0).Solid({}, 4).Build(), kRgb), nullptr);
}

TEST(KoruLoadAstc, RejectsEveryWrongMagicByte) {
    for (std::size_t byte = 0; byte < 4; ++byte) {
        Bytes file = FiveByFive().Build();
        file[byte] ^= 1;
        EXPECT_EQ(LoadMemory(file, kRgb), nullptr) << byte;
    }
}

TEST(KoruLoadAstc, SizesThatDoNotFit32BitsAreRefused) {
    // 2^24 - 1 squared: block bytes and pixel bytes wrap if counted in 32 bits.
    constexpr std::uint32_t kMost = 0xFFFFFF;
    for (const std::uint8_t block : Bytes{1, 4, 12, 255}) {
        EXPECT_EQ(
            LoadMemory(AstcBuilder().Blocks(block, block).Size(kMost, kMost).Raw(4096).Build(), 2),
            nullptr);
    }
    // 2^16 * 2^16 blocks of 16 bytes are 0 in 32 bits.
    EXPECT_EQ(LoadMemory(AstcBuilder().Blocks(1, 1).Size(0x10000, 0x10000).Build(), 2), nullptr);
    // The payload is there, but 4 bytes for each of 65536 * 16385 pixels are 2^32 + 2^18: counted
    // in 32 bits, room for one row of many.
    EXPECT_EQ(
        LoadMemory(AstcBuilder().Blocks(12, 12).Size(65536, 16385).Raw(5462ull * 1366 * 16).Build(),
                   2),
        nullptr);
    // The same with 65536 * 16384 pixels: 2^32 exactly.
    EXPECT_EQ(
        LoadMemory(AstcBuilder().Blocks(255, 255).Size(65536, 16384).Raw(257ull * 65 * 16).Build(),
                   2),
        nullptr);
}

TEST(KoruLoadAstc, ErrorBlocksAreMagenta) {
    // All zeros is a reserved encoding; LDR decoders show the standard's error color.
    const auto image = LoadMemory(AstcBuilder().Raw(16).Build(), KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Test_GetPixels(*image), Bytes({255, 0, 255, 255}));
}

TEST(KoruLoadAstc, AFailedLoadLeavesTheNextOneAlone) {
    Bytes broken = FiveByFive().Build();
    broken.pop_back();
    EXPECT_EQ(LoadMemory(broken, 2), nullptr);
    const auto image = LoadMemory(FiveByFive().Build(), 2);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Test_GetPixels(*image), Repeat({10, 20, 30, 40}, 4, 25));
}

TEST(KoruLoadAstc, RecordsOutliveLaterLoads) {
    const auto first = LoadMemory(AstcBuilder().Solid({1, 1, 1, 1}).Build(), 2);
    const auto second = LoadMemory(AstcBuilder().Solid({2, 2, 2, 2}).Build(), 2);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(Test_GetPixels(*first), Bytes({1, 1, 1, 1}));
    EXPECT_EQ(Test_GetPixels(*second), Bytes({2, 2, 2, 2}));
}

TEST(KoruLoadAstc, LeavesTheCallersBytesAlone) {
    const Bytes file = FiveByFive().Build();
    Bytes lent = file;
    const KoruImagePtr image(
        KORU_Load_ASTC_From_Memory(lent.data(), static_cast<std::uint32_t>(lent.size()), 2));
    EXPECT_NE(image, nullptr);
    EXPECT_EQ(lent, file);
}

TEST(KoruLoadAstc, FileAndMemoryAgree) {
    TempFolder folder;
    const Bytes file = FiveByFive().Build();
    Test_WriteFile(folder / "five.astc", file);
    for (std::uint32_t flags : {0u, 2u}) {
        const auto fromFile = LoadFile(folder / "five.astc", flags);
        const auto fromMemory = LoadMemory(file, flags);
        ASSERT_NE(fromFile, nullptr);
        ASSERT_NE(fromMemory, nullptr);
        EXPECT_EQ(Test_GetPixels(*fromFile), Test_GetPixels(*fromMemory));
    }
}

TEST(KoruLoadAstc, OpensPathsOutsideAscii) {
    TempFolder folder;
    // Two-, three- and four-byte UTF-8; the last is a surrogate pair in UTF-16.
    const auto directory = folder / std::filesystem::path(u"Gr\u00FC\u00DFe \u56F3");
    std::filesystem::create_directory(directory);
    const auto path = directory / std::filesystem::path(u"\U0001F4BE texture.astc");
    Test_WriteFile(path, FiveByFive().Build());
    EXPECT_NE(LoadFile(path, 2), nullptr);
}

TEST(KoruLoadAstc, OpensPathsBeyond260Units) {
    TempFolder folder;
    std::filesystem::path path = folder / "";
#if defined(_WIN32)
    path = std::filesystem::path(LR"(\\?\)" + path.make_preferred().wstring());
#endif
    const std::string part(100, 'p');
    for (int depth = 0; depth < 4; ++depth) path /= part;
    std::filesystem::create_directories(path);
    path /= "deep.astc";
    ASSERT_GT(Test_ToKoruPath(path).size(), 400u);
    Test_WriteFile(path, FiveByFive().Build());
    EXPECT_NE(LoadFile(path, 2), nullptr);
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
