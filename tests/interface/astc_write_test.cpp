// The ".astc" header stub through the public function.
#include <gtest/gtest.h>
#include <korutex.h>

#include <filesystem>
#include <fstream>

#include "koru_image_ptr.h"
#include "test_files.h"
#include "test_records.h"

namespace {

std::int32_t Write(const std::filesystem::path& path, KORU_Image& image) {
    return KORU_Write_ASTC_To_File(Test_ToKoruPath(path).c_str(), &image);
}

class KoruWriteAstc : public testing::Test {
  protected:
    TempFolder folder_;
};

TEST_F(KoruWriteAstc, WritesATwentyByteStubAndReportsFailure) {
    const auto image = Test_MakeRecord(2, 3, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Write(folder_ / "stub.astc", *image), 0);
    EXPECT_EQ(Test_ReadFile(folder_ / "stub.astc"),
              Bytes({0x13, 0xAB, 0xA1, 0x5C, 0, 0, 1, 2, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(KoruWriteAstc, ConvertsTheCallersRecordToRgba) {
    const auto image = Test_MakeRecord(2, 3, 0);
    ASSERT_NE(image, nullptr);
    image->bitsPerChannel = 5;
    image->reservedB = 7;
    Write(folder_ / "stub.astc", *image);
    EXPECT_EQ(image->width, 2u);
    EXPECT_EQ(image->height, 3u);
    EXPECT_EQ(image->bitsPerPixel, 32u);
    EXPECT_EQ(image->bytesPerPixel, 4u);
    EXPECT_EQ(image->bitsPerChannel, 8u);
    EXPECT_EQ(image->stride, 8u);
    EXPECT_EQ(image->dataSize, 24u);
    EXPECT_EQ(image->rowPadding, 0u);
    EXPECT_EQ(image->reservedB, 0u);
    EXPECT_EQ(image->reservedC, 100u);
    EXPECT_EQ(Test_GetPixels(*image), Bytes({1,  2,  3,  255, 4,  5,  6,  255, 7,  8,  9,  255,
                                             10, 11, 12, 255, 13, 14, 15, 255, 16, 17, 18, 255}));
}

TEST_F(KoruWriteAstc, LeavesAnRgbaRecordAlone) {
    const auto image = Test_MakeRecord(2, 2, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    const Bytes pixels = Test_GetPixels(*image);
    const std::uint8_t* before = image->pixels;
    EXPECT_EQ(Write(folder_ / "stub.astc", *image), 0);
    EXPECT_EQ(image->pixels, before);
    EXPECT_EQ(Test_GetPixels(*image), pixels);
    EXPECT_EQ(Test_ReadFile(folder_ / "stub.astc").size(), 20u);
}

TEST_F(KoruWriteAstc, SkipsRowPadding) {
    const auto image = Test_MakeRecord(2, 3, 0);
    ASSERT_NE(image, nullptr);
    // The same 18 bytes told as 1 x 3 with 3 bytes of padding a row.
    image->width = 1;
    image->stride = 6;
    image->rowPadding = 3;
    Write(folder_ / "stub.astc", *image);
    EXPECT_EQ(Test_GetPixels(*image), Bytes({1, 2, 3, 255, 7, 8, 9, 255, 13, 14, 15, 255}));
    EXPECT_EQ(image->rowPadding, 0u);
    EXPECT_EQ(image->stride, 4u);
}

TEST_F(KoruWriteAstc, RowPaddingNeverLeadsBack) {
    const auto image = Test_MakeRecord(1, 2, 0);
    ASSERT_NE(image, nullptr);
    image->rowPadding = 0xFFFFFFFF;  // 3 + 2^32 - 1 is 2 in 32 bits
    Write(folder_ / "stub.astc", *image);
    EXPECT_EQ(Test_GetPixels(*image), Bytes({1, 2, 3, 255, 0, 0, 0, 0}));
}

TEST_F(KoruWriteAstc, BitsPerPixelDecideWhatIsConverted) {
    const auto rgba = Test_MakeRecord(1, 1, KORU_FLAG_RGBA);
    ASSERT_NE(rgba, nullptr);
    rgba->bytesPerPixel = 3;
    Write(folder_ / "stub.astc", *rgba);
    EXPECT_EQ(Test_GetPixels(*rgba), Bytes({1, 2, 3, 4}));
    rgba->bytesPerPixel = 4;
    rgba->bitsPerPixel = 24;
    Write(folder_ / "stub.astc", *rgba);
    EXPECT_EQ(Test_GetPixels(*rgba), Bytes({1, 2, 3, 255}));
}

TEST_F(KoruWriteAstc, LeavesPixelsBehindDataSizeEmpty) {
    const auto image = Test_MakeRecord(2, 2, 0);
    ASSERT_NE(image, nullptr);
    image->dataSize = 7;  // cuts the third pixel
    Write(folder_ / "stub.astc", *image);
    EXPECT_EQ(image->dataSize, 16u);
    EXPECT_EQ(Test_GetPixels(*image), Bytes({1, 2, 3, 255, 4, 5, 6, 255, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(KoruWriteAstc, WithoutDataSizeWritesTheStubAndLeavesTheRecord) {
    const auto image = Test_MakeRecord(2, 3, 0);
    ASSERT_NE(image, nullptr);
    image->dataSize = 0;
    EXPECT_EQ(Write(folder_ / "stub.astc", *image), 0);
    EXPECT_EQ(image->bitsPerPixel, 24u);
    EXPECT_EQ(Test_ReadFile(folder_ / "stub.astc").size(), 20u);
}

TEST_F(KoruWriteAstc, KeepsTheLowThreeBytesOfTheSize) {
    const auto image = Test_MakeRecord(1, 1, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    image->width = 0xAB0D0A1A;  // bytes that a text stream would change
    image->height = 0xCD060504;
    EXPECT_EQ(Write(folder_ / "stub.astc", *image), 0);
    EXPECT_EQ(
        Test_ReadFile(folder_ / "stub.astc"),
        Bytes({0x13, 0xAB, 0xA1, 0x5C, 0, 0, 1, 0x1A, 0x0A, 0x0D, 4, 5, 6, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(KoruWriteAstc, ASizeThatCannotBeConvertedStaysAsItIs) {
    const auto image = Test_MakeRecord(1, 1, 0);
    ASSERT_NE(image, nullptr);
    image->width = 0x10000;
    image->height = 0x10000;
    EXPECT_EQ(Write(folder_ / "stub.astc", *image), 0);
    EXPECT_EQ(image->bitsPerPixel, 24u);
    EXPECT_EQ(Test_ReadFile(folder_ / "stub.astc").size(), 20u);
}

TEST_F(KoruWriteAstc, ReplacesAnOlderFile) {
    Test_WriteFile(folder_ / "stub.astc", Bytes(1000, 1));
    const auto image = Test_MakeRecord(1, 1, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Write(folder_ / "stub.astc", *image), 0);
    EXPECT_EQ(Test_ReadFile(folder_ / "stub.astc").size(), 20u);
}

TEST_F(KoruWriteAstc, TheStubIsNoTexture) {
    const auto image = Test_MakeRecord(2, 3, 0);
    ASSERT_NE(image, nullptr);
    Write(folder_ / "stub.astc", *image);
    EXPECT_EQ(KORU_Load_ASTC_From_File(Test_ToKoruPath(folder_ / "stub.astc").c_str(), 0), nullptr);
}

TEST_F(KoruWriteAstc, WritesToPathsOutsideAscii) {
    const auto image = Test_MakeRecord(1, 1, 0);
    ASSERT_NE(image, nullptr);
    const auto path = folder_ / std::filesystem::path(u"\u00FC\u56F3\U0001F4BE.astc");
    Write(path, *image);
    EXPECT_EQ(Test_ReadFile(path).size(), 20u);
}

TEST_F(KoruWriteAstc, RefusedByTheFileSystemLeavesTheRecordUnconverted) {
    const auto image = Test_MakeRecord(1, 1, 0);
    ASSERT_NE(image, nullptr);
    std::filesystem::create_directory(folder_ / "folder");
    EXPECT_EQ(Write(folder_ / "folder", *image), 0);
    EXPECT_EQ(image->bitsPerPixel, 24u);
}

TEST_F(KoruWriteAstc, KeepsAReadOnlyFile) {
    const auto path = folder_ / "kept.astc";
    Test_WriteFile(path, Bytes(100, 1));
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    if (std::ofstream(path, std::ios::in).is_open()) {
        GTEST_SKIP() << "this user may write to read-only files";
    }
    const auto image = Test_MakeRecord(1, 1, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Write(path, *image), 0);
    EXPECT_EQ(image->bitsPerPixel, 24u);
    EXPECT_EQ(Test_ReadFile(path), Bytes(100, 1));
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

#if defined(__linux__)
TEST_F(KoruWriteAstc, SurvivesAFullDisk) {
    const auto image = Test_MakeRecord(2, 3, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Write("/dev/full", *image), 0);
    EXPECT_EQ(image->bitsPerPixel, 32u);
}
#endif

}  // namespace
