// What the KTX and the PVR writer share: rows of RGB pixels at multiples of 4 bytes, and files that
// hold what was written so far.
#include <gtest/gtest.h>
#include <korutex.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "koru_image_ptr.h"
#include "test_files.h"
#include "test_records.h"

namespace {

struct Writer {
    const char* name;
    std::int32_t (*write)(const KORU_Char*, KORU_Image*);
    std::size_t sizeOffset;  ///< Where the size of the pixels stands; they follow it.
};

void PrintTo(const Writer& writer, std::ostream* out) { *out << writer.name; }

class KoruAlignedWrite : public testing::TestWithParam<Writer> {
  protected:
    std::int32_t Write(KORU_Image& image) { return WriteTo(path_, image); }
    static std::int32_t WriteTo(const std::filesystem::path& path, KORU_Image& image) {
        return GetParam().write(Test_ToKoruPath(path).c_str(), &image);
    }
    /// The file must end with these pixels and their size.
    void ExpectPixels(const Bytes& pixels) {
        const Bytes file = Test_ReadFile(path_);
        const std::size_t pixelsAt = GetParam().sizeOffset + 4;
        ASSERT_EQ(file.size(), pixelsAt + pixels.size());
        Bytes size;
        Test_PutLe(size, pixels.size(), 4);
        EXPECT_EQ(Test_Slice(file, pixelsAt - 4, pixelsAt), size);
        EXPECT_EQ(Test_Slice(file, pixelsAt, file.size()), pixels);
    }
    /// The file must hold the pixels, and the record have become what the file is.
    void ExpectAligned(const KORU_Image& image, std::uint32_t stride, std::uint32_t rowPadding,
                       const Bytes& pixels) {
        ExpectPixels(pixels);
        EXPECT_EQ(image.bitsPerPixel, 24u);
        EXPECT_EQ(image.bytesPerPixel, 3u);
        EXPECT_EQ(image.bitsPerChannel, 8u);
        EXPECT_EQ(image.stride, stride);
        EXPECT_EQ(image.rowPadding, rowPadding);
        EXPECT_EQ(image.dataSize, pixels.size());
        EXPECT_EQ(Test_GetPixels(image), pixels);
    }

    TempFolder folder_;
    std::filesystem::path path_ = folder_ / "written";
};

TEST_P(KoruAlignedWrite, ChangesTheLayoutOfTheRecordAndNothingElse) {
    const auto image = Test_MakeRecord(2, 3, 0);
    ASSERT_NE(image, nullptr);
    image->bytesPerPixel = 9;
    image->bitsPerChannel = 5;
    image->stride = 77;
    image->reservedA = 11;
    image->reservedB = 12;
    image->reservedC = 13;
    image->reservedD = 14;
    EXPECT_EQ(Write(*image), 1);
    ExpectAligned(*image, 8, 2, {1,  2,  3, 4, 5,  6,  0,  0,  7,  8,  9, 10,
                                 11, 12, 0, 0, 13, 14, 15, 16, 17, 18, 0, 0});
    EXPECT_EQ(image->width, 2u);
    EXPECT_EQ(image->height, 3u);
    EXPECT_EQ(image->reservedA, 11u);
    EXPECT_EQ(image->reservedB, 12u);
    EXPECT_EQ(image->reservedC, 13u);
    EXPECT_EQ(image->reservedD, 14u);
}

TEST_P(KoruAlignedWrite, WritingTwiceGivesTheSameFile) {
    for (std::uint32_t width = 1; width <= 5; ++width) {
        SCOPED_TRACE(width);
        const auto image = Test_MakeRecord(width, 3, 0);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(Write(*image), 1);
        const KORU_Image before = *image;
        const Bytes file = Test_ReadFile(path_), pixels = Test_GetPixels(*image);
        EXPECT_EQ(Write(*image), 1);
        EXPECT_EQ(Test_ReadFile(path_), file);
        Test_ExpectSameFields(*image, before);
        EXPECT_EQ(Test_GetPixels(*image), pixels);
    }
}

TEST_P(KoruAlignedWrite, SkipsRowPaddingOfTheHost) {
    const auto image = Test_MakeRecord(2, 3, 0);
    ASSERT_NE(image, nullptr);
    // The same 18 bytes told as 1 x 3 with 3 bytes of padding a row.
    image->width = 1;
    image->stride = 6;
    image->rowPadding = 3;
    EXPECT_EQ(Write(*image), 1);
    ExpectAligned(*image, 4, 1, {1, 2, 3, 0, 7, 8, 9, 0, 13, 14, 15, 0});
}

// Rows at multiples of 5 and of 8 bytes become rows at multiples of 4.
TEST_P(KoruAlignedWrite, RowPaddingMayGrowAndShrink) {
    const auto grows = Test_MakeRecord(5, 1, 0);
    ASSERT_NE(grows, nullptr);
    grows->width = 1;
    grows->height = 3;
    grows->rowPadding = 2;
    EXPECT_EQ(Write(*grows), 1);
    ExpectAligned(*grows, 4, 1, {1, 2, 3, 0, 6, 7, 8, 0, 11, 12, 13, 0});
    const auto whole = Test_MakeRecord(8, 1, 0);
    ASSERT_NE(whole, nullptr);
    whole->width = 1;
    whole->height = 3;
    whole->rowPadding = 5;
    EXPECT_EQ(Write(*whole), 1);
    ExpectAligned(*whole, 4, 1, {1, 2, 3, 0, 9, 10, 11, 0, 17, 18, 19, 0});
}

TEST_P(KoruAlignedWrite, RowPaddingNeverLeadsBack) {
    const auto image = Test_MakeRecord(1, 2, 0);
    ASSERT_NE(image, nullptr);
    image->rowPadding = 0xFFFFFFFF;  // 3 + 2^32 - 1 is 2 in 32 bits
    EXPECT_EQ(Write(*image), 1);
    ExpectAligned(*image, 4, 1, {1, 2, 3, 0, 0, 0, 0, 0});
}

TEST_P(KoruAlignedWrite, RowPaddingOfRgbaIsWrittenAlong) {
    const auto image = Test_MakeRecord(3, 2, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    image->width = 2;
    image->rowPadding = 4;
    const KORU_Image before = *image;
    EXPECT_EQ(Write(*image), 1);
    ExpectPixels(Test_CountUp(24));
    Test_ExpectUntouched(*image, before);
}

TEST_P(KoruAlignedWrite, PixelsBehindDataSizeAreZeros) {
    const auto image = Test_MakeRecord(2, 2, 0);
    ASSERT_NE(image, nullptr);
    image->dataSize = 9;
    EXPECT_EQ(Write(*image), 1);
    ExpectAligned(*image, 8, 2, {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 0, 0, 0, 0, 0});
}

TEST_P(KoruAlignedWrite, APixelThatDataSizeCutsIsZeros) {
    for (const std::uint32_t size : {6u, 7u, 8u}) {
        SCOPED_TRACE(size);
        const auto image = Test_MakeRecord(3, 1, 0);
        ASSERT_NE(image, nullptr);
        image->dataSize = size;
        EXPECT_EQ(Write(*image), 1);
        ExpectAligned(*image, 12, 3, {1, 2, 3, 4, 5, 6, 0, 0, 0, 0, 0, 0});
    }
}

TEST_P(KoruAlignedWrite, BytesBehindTheRowsAreDropped) {
    const auto image = Test_MakeRecord(2, 3, 0);
    ASSERT_NE(image, nullptr);
    image->height = 2;
    EXPECT_EQ(Write(*image), 1);
    ExpectAligned(*image, 8, 2, {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0});
}

TEST_P(KoruAlignedWrite, RgbWithoutDataSizeIsAFileOfZeros) {
    const auto image = Test_MakeRecord(2, 2, 0);
    ASSERT_NE(image, nullptr);
    image->dataSize = 0;
    EXPECT_EQ(Write(*image), 1) << "the alignment gave the record pixels and a size";
    ExpectAligned(*image, 8, 2, Bytes(16));
}

// No bytes are no item that could be written.
TEST_P(KoruAlignedWrite, RgbaWithoutDataSizeFailsBehindTheSize) {
    const auto image = Test_MakeRecord(2, 2, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    image->dataSize = 0;
    const KORU_Image before = *image;
    EXPECT_EQ(Write(*image), 0);
    ExpectPixels({});
    Test_ExpectUntouched(*image, before);
}

TEST_P(KoruAlignedWrite, DataSizeOfRgbaIsWhatIsWritten) {
    const auto image = Test_MakeRecord(3, 3, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    image->width = 1;
    image->height = 1;
    EXPECT_EQ(Write(*image), 1);
    ExpectPixels(Test_CountUp(36));
    image->dataSize = 1;
    EXPECT_EQ(Write(*image), 1);
    ExpectPixels({1});
}

TEST_P(KoruAlignedWrite, SizesThatCannotBeAlignedAreWrittenAsTheyAre) {
    struct Size {
        std::uint32_t width, height;
    };
    // Rows of 2^32 bytes and more, or rows that are so together.
    for (const auto& [width, height] :
         {Size{0xFFFFFFFF, 1}, Size{0x55555555, 1}, Size{0x55555556, 1}, Size{0x10000, 0x10000},
          Size{1, 0x40000000}}) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        const auto image = Test_MakeRecord(2, 1, 0);
        ASSERT_NE(image, nullptr);
        image->width = width;
        image->height = height;
        const KORU_Image before = *image;
        EXPECT_EQ(Write(*image), 1);
        ExpectPixels(Test_CountUp(6));
        Test_ExpectUntouched(*image, before);
    }
}

TEST_P(KoruAlignedWrite, TheRecordStaysTheCallersToDelete) {
    auto image = Test_MakeRecord(3, 3, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Write(*image), 1);
    image->pixels[image->dataSize - 1] = 9;
    image.reset();
}

TEST_P(KoruAlignedWrite, OneRecordGoesThroughEveryWriter) {
    const auto image = Test_MakeRecord(3, 2, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Write(*image), 1);
    EXPECT_EQ(KORU_Write_ASTC_To_File(Test_ToKoruPath(folder_ / "astc").c_str(), image.get()), 0);
    // Padding is gone again, and what was an RGB image has alpha.
    EXPECT_EQ(image->rowPadding, 0u);
    EXPECT_EQ(Write(*image), 1);
    ExpectPixels({1,  2,  3,  255, 4,  5,  6,  255, 7,  8,  9,  255,
                  10, 11, 12, 255, 13, 14, 15, 255, 16, 17, 18, 255});
}

TEST_P(KoruAlignedWrite, ReplacesAnOlderFile) {
    Test_WriteFile(path_, Bytes(1000, 1));
    const auto image = Test_MakeRecord(1, 1, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Write(*image), 1);
    ExpectPixels({1, 2, 3, 4});
}

TEST_P(KoruAlignedWrite, WritesToPathsOutsideAscii) {
    path_ = folder_ / std::filesystem::path(u"\u00FC\u56F3\U0001F4BE");
    const auto image = Test_MakeRecord(1, 1, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Write(*image), 1);
    ExpectPixels({1, 2, 3, 0});
}

TEST_P(KoruAlignedWrite, AFolderIsNoTarget) {
    const auto image = Test_MakeRecord(1, 1, 0);
    ASSERT_NE(image, nullptr);
    const KORU_Image before = *image;
    std::filesystem::create_directory(path_);
    EXPECT_EQ(Write(*image), 0);
    Test_ExpectUntouched(*image, before);
}

TEST_P(KoruAlignedWrite, KeepsAReadOnlyFile) {
    Test_WriteFile(path_, Bytes(100, 1));
    std::filesystem::permissions(path_, std::filesystem::perms::owner_read);
    if (std::ofstream(path_, std::ios::in).is_open()) {
        GTEST_SKIP() << "this user may write to read-only files";
    }
    const auto image = Test_MakeRecord(1, 1, 0);
    ASSERT_NE(image, nullptr);
    const KORU_Image before = *image;
    EXPECT_EQ(Write(*image), 0);
    Test_ExpectUntouched(*image, before);
    EXPECT_EQ(Test_ReadFile(path_), Bytes(100, 1));
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
}

#if defined(__linux__)
// Rows are aligned between the header and the size, and the header was not written.
TEST_P(KoruAlignedWrite, AFullDiskLeavesTheRecordAlone) {
    const auto image = Test_MakeRecord(1, 1, 0);
    ASSERT_NE(image, nullptr);
    const KORU_Image before = *image;
    EXPECT_EQ(WriteTo("/dev/full", *image), 0);
    Test_ExpectUntouched(*image, before);
}
#endif

INSTANTIATE_TEST_SUITE_P(Writers, KoruAlignedWrite,
                         testing::Values(Writer{"Ktx", KORU_Write_KTX_To_File, 92},
                                         Writer{"Pvr", KORU_Write_PVR_To_File, 52}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
