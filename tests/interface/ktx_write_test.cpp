// KTX files as the writer makes them, byte by byte.
#include <gtest/gtest.h>
#include <korutex.h>

#include <cstdint>

#include "koru_image_ptr.h"
#include "ktx_builder.h"
#include "ktx_expectations.h"
#include "test_files.h"
#include "test_records.h"

namespace {

constexpr std::uint8_t kRgb = 0x07, kRgba = 0x08;  // GL_RGB 0x1907, GL_RGBA 0x1908

/// What stands before the pixels; `format` is the low byte of the GL format.
Bytes MakeHead(std::uint8_t format, std::uint32_t width, std::uint32_t height,
               std::uint32_t imageSize) {
    // clang-format off
    Bytes head{
        0xAB, 0x4B, 0x54, 0x58, 0x20, 0x31, 0x31, 0xBB, 0x0D, 0x0A, 0x1A, 0x0A,
        0x01, 0x02, 0x03, 0x04,                          // endianness
        0x01, 0x14, 0, 0,    1, 0, 0, 0,                 // GL_UNSIGNED_BYTE, its size
        format, 0x19, 0, 0,  format, 0x19, 0, 0,  format, 0x19, 0, 0,
        0, 0, 0, 0,          0, 0, 0, 0,                 // width, height: below
        0, 0, 0, 0,          0, 0, 0, 0,                 // no depth, no array
        1, 0, 0, 0,          1, 0, 0, 0,                 // one face, one level
        28, 0, 0, 0,         23, 0, 0, 0,                // key/value data, the one pair
        'K', 'T', 'X', 'o', 'r', 'i', 'e', 'n', 't', 'a', 't', 'i', 'o', 'n', 0,
        'S', '=', 'r', ',', 'T', '=', 'd', 0,
        0,                                               // padding of the pair
        0, 0, 0, 0};                                     // image size: below
    // clang-format on
    Test_PokeLe(head, 36, width, 4);
    Test_PokeLe(head, 40, height, 4);
    Test_PokeLe(head, 92, imageSize, 4);
    return head;
}

Bytes Join(Bytes head, const Bytes& pixels) {
    Test_Append(head, pixels);
    return head;
}

class KoruWriteKtx : public testing::Test {
  protected:
    std::int32_t Write(KORU_Image& image) {
        return KORU_Write_KTX_To_File(Test_ToKoruPath(path_).c_str(), &image);
    }
    Bytes GetFile() { return Test_ReadFile(path_); }

    TempFolder folder_;
    std::filesystem::path path_ = folder_ / "written.ktx";
};

TEST_F(KoruWriteKtx, OnePixelOfRgbTakesAHundredBytes) {
    const auto image = Test_MakeRecord(1, 1, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Write(*image), 1);
    // clang-format off
    EXPECT_EQ(GetFile(), Bytes({
        0xAB, 0x4B, 0x54, 0x58, 0x20, 0x31, 0x31, 0xBB, 0x0D, 0x0A, 0x1A, 0x0A, 1, 2, 3, 4,
        0x01, 0x14, 0, 0, 1, 0, 0, 0, 0x07, 0x19, 0, 0, 0x07, 0x19, 0, 0,
        0x07, 0x19, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 28, 0, 0, 0,
        23, 0, 0, 0, 0x4B, 0x54, 0x58, 0x6F, 0x72, 0x69, 0x65, 0x6E, 0x74, 0x61, 0x74, 0x69,
        0x6F, 0x6E, 0, 0x53, 0x3D, 0x72, 0x2C, 0x54, 0x3D, 0x64, 0, 0, 4, 0, 0, 0,
        1, 2, 3, 0}));
    // clang-format on
    EXPECT_EQ(image->stride, 4u);
    EXPECT_EQ(image->rowPadding, 1u);
    EXPECT_EQ(image->dataSize, 4u);
}

TEST_F(KoruWriteKtx, TwoByTwoOfRgbaLeavesTheRecordAlone) {
    const auto image = Test_MakeRecord(2, 2, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    const KORU_Image before = *image;
    EXPECT_EQ(Write(*image), 1);
    EXPECT_EQ(GetFile(), Join(MakeHead(kRgba, 2, 2, 16), Test_CountUp(16)));
    Test_ExpectUntouched(*image, before);
    EXPECT_EQ(Test_GetPixels(*image), Test_CountUp(16));
}

TEST_F(KoruWriteKtx, FourByOneOfRgbNeedsNoPadding) {
    const auto image = Test_MakeRecord(4, 1, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Write(*image), 1);
    EXPECT_EQ(GetFile(), Join(MakeHead(kRgb, 4, 1, 12), Test_CountUp(12)));
    EXPECT_EQ(image->rowPadding, 0u);
}

TEST_F(KoruWriteKtx, EveryWidthOfRgb) {
    for (std::uint32_t width = 1; width <= 9; ++width) {
        SCOPED_TRACE(width);
        const auto image = Test_MakeRecord(width, 3, 0);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(Write(*image), 1);
        const Bytes rows = Test_CountUpInAlignedRows(width * 3, 3);
        const auto size = static_cast<std::uint32_t>(rows.size());
        EXPECT_EQ(GetFile(), Join(MakeHead(kRgb, width, 3, size), rows));
    }
}

TEST_F(KoruWriteKtx, EveryWidthOfRgba) {
    for (std::uint32_t width = 1; width <= 9; ++width) {
        SCOPED_TRACE(width);
        const auto image = Test_MakeRecord(width, 3, KORU_FLAG_RGBA);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(Write(*image), 1);
        EXPECT_EQ(GetFile(), Join(MakeHead(kRgba, width, 3, width * 12), Test_CountUp(width * 12)));
    }
}

TEST_F(KoruWriteKtx, SizesAreLittleEndian) {
    const auto image = Test_MakeRecord(10, 10, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    image->width = 0xAB0D0A1A;  // bytes that a text stream would change
    image->height = 0xCD060504;
    EXPECT_EQ(Write(*image), 1);
    EXPECT_EQ(GetFile(), Join(MakeHead(kRgba, 0xAB0D0A1A, 0xCD060504, 400), Test_CountUp(400)));
}

// Every depth but 32 bits is told as RGB; the pixels are written as they are.
TEST_F(KoruWriteKtx, OtherDepthsAreToldAsRgbAndWrittenAsTheyAre) {
    for (const std::uint32_t bits : {0u, 8u, 16u, 23u, 25u, 31u, 33u, 48u, 0x18000018u}) {
        SCOPED_TRACE(bits);
        const auto image = Test_MakeRecord(3, 1, KORU_FLAG_RGBA);
        ASSERT_NE(image, nullptr);
        image->bitsPerPixel = bits;
        const KORU_Image before = *image;
        EXPECT_EQ(Write(*image), 1);
        EXPECT_EQ(GetFile(), Join(MakeHead(kRgb, 3, 1, 12), Test_CountUp(12)));
        Test_ExpectUntouched(*image, before);
    }
}

TEST_F(KoruWriteKtx, BitsPerPixelAloneTellTheFormat) {
    const auto rgba = Test_MakeRecord(1, 1, KORU_FLAG_RGBA);
    ASSERT_NE(rgba, nullptr);
    rgba->bytesPerPixel = 3;
    EXPECT_EQ(Write(*rgba), 1);
    EXPECT_EQ(GetFile(), Join(MakeHead(kRgba, 1, 1, 4), {1, 2, 3, 4}));
    const auto rgb = Test_MakeRecord(1, 1, 0);
    ASSERT_NE(rgb, nullptr);
    rgb->bytesPerPixel = 4;
    EXPECT_EQ(Write(*rgb), 1);
    EXPECT_EQ(GetFile(), Join(MakeHead(kRgb, 1, 1, 4), {1, 2, 3, 0}));
}

// Alpha 255 where the record had none; padding is gone after the load.
TEST_F(KoruWriteKtx, WhatItWritesLoadsAgain) {
    for (std::uint32_t width = 1; width <= 17; ++width) {
        for (const std::uint32_t height : {1u, 2u, 5u}) {
            for (const std::uint32_t channels : {3u, 4u}) {
                SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + " x " +
                             std::to_string(channels));
                const auto image =
                    Test_MakeRecord(width, height, channels == 4 ? KORU_FLAG_RGBA : 0);
                ASSERT_NE(image, nullptr);
                ASSERT_EQ(Write(*image), 1);
                TestPicture picture = Test_OpaqueBlack(width, height);
                for (std::size_t i = 0; i < std::size_t{width} * height * channels; ++i) {
                    picture.rgba[i / channels * 4 + i % channels] =
                        static_cast<std::uint8_t>(i + 1);
                }
                Test_ExpectLoads(GetFile(), picture);
                const KoruImagePtr fromFile(
                    KORU_Load_KTX_From_File(Test_ToKoruPath(path_).c_str(), KORU_FLAG_RGBA));
                ASSERT_NE(fromFile, nullptr);
                EXPECT_EQ(Test_GetPixels(*fromFile), picture.rgba);
            }
        }
    }
}

TEST_F(KoruWriteKtx, ALoadedRecordMayBeWrittenAgain) {
    const auto image = Test_MakeRecord(5, 4, 0);
    ASSERT_NE(image, nullptr);
    ASSERT_EQ(Write(*image), 1);
    const Bytes file = GetFile();
    const auto loaded = Test_LoadKtx(file, 0);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(Write(*loaded), 1);
    EXPECT_EQ(GetFile(), file);
}

TEST_F(KoruWriteKtx, OtherLoadersRefuseTheFile) {
    const auto image = Test_MakeRecord(4, 4, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    ASSERT_EQ(Write(*image), 1);
    EXPECT_EQ(KORU_Load_ASTC_From_File(Test_ToKoruPath(path_).c_str(), 0), nullptr);
    EXPECT_EQ(KORU_Load_PVR_From_File(Test_ToKoruPath(path_).c_str(), 0), nullptr);
}

}  // namespace
