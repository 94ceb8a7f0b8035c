// Files of the PVR writer, byte by byte.
#include <gtest/gtest.h>
#include <korutex.h>

#include <cstdint>

#include "koru_image_ptr.h"
#include "ktx_builder.h"
#include "test_files.h"
#include "test_records.h"

namespace {

/// A header area that is not filled in, the size of the pixels, the pixels.
Bytes MakeFile(const Bytes& pixels) {
    Bytes file(52);
    Test_PutLe(file, pixels.size(), 4);
    Test_Append(file, pixels);
    return file;
}

class KoruWritePvr : public testing::Test {
  protected:
    std::int32_t Write(KORU_Image& image) {
        return KORU_Write_PVR_To_File(Test_ToKoruPath(path_).c_str(), &image);
    }
    Bytes GetFile() { return Test_ReadFile(path_); }

    TempFolder folder_;
    std::filesystem::path path_ = folder_ / "written.pvr";
};

TEST_F(KoruWritePvr, OnePixelOfRgbTakesSixtyBytes) {
    const auto image = Test_MakeRecord(1, 1, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Write(*image), 1);
    // clang-format off
    EXPECT_EQ(GetFile(), Bytes({
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        4, 0, 0, 0,
        1, 2, 3, 0}));
    // clang-format on
}

TEST_F(KoruWritePvr, RgbRowsArePaddedAndTheRecordKeepsThem) {
    for (std::uint32_t width = 1; width <= 9; ++width) {
        SCOPED_TRACE(width);
        const auto image = Test_MakeRecord(width, 3, 0);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(Write(*image), 1);
        const Bytes rows = Test_CountUpInAlignedRows(width * 3, 3);
        EXPECT_EQ(GetFile(), MakeFile(rows));
        EXPECT_EQ(Test_GetPixels(*image), rows);
        EXPECT_EQ(image->stride, rows.size() / 3);
        EXPECT_EQ(image->rowPadding, rows.size() / 3 - width * 3);
    }
}

TEST_F(KoruWritePvr, RgbaIsWrittenUnchangedBehind56Bytes) {
    for (std::uint32_t width = 1; width <= 9; ++width) {
        SCOPED_TRACE(width);
        const auto image = Test_MakeRecord(width, 3, KORU_FLAG_RGBA);
        ASSERT_NE(image, nullptr);
        const KORU_Image before = *image;
        EXPECT_EQ(Write(*image), 1);
        const Bytes file = GetFile();
        EXPECT_EQ(file.size(), image->dataSize + 56);
        EXPECT_EQ(file, MakeFile(Test_CountUp(width * 12)));
        Test_ExpectUntouched(*image, before);
    }
}

TEST_F(KoruWritePvr, TheSizeIsLittleEndian) {
    const auto image = Test_MakeRecord(10, 10, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Write(*image), 1);
    EXPECT_EQ(Test_Slice(GetFile(), 52, 57), Bytes({0x90, 0x01, 0, 0, 1}));
}

TEST_F(KoruWritePvr, NoLoaderOpensTheFile) {
    for (const std::uint32_t flags : {0u, KORU_FLAG_RGBA}) {
        const auto image = Test_MakeRecord(8, 8, flags);
        ASSERT_NE(image, nullptr);
        ASSERT_EQ(Write(*image), 1);
        const KoruPath path = Test_ToKoruPath(path_);
        EXPECT_EQ(KORU_Load_PVR_From_File(path.c_str(), 0), nullptr);
        EXPECT_EQ(KORU_Load_KTX_From_File(path.c_str(), 0), nullptr);
        EXPECT_EQ(KORU_Load_ASTC_From_File(path.c_str(), 0), nullptr);
    }
}

}  // namespace
