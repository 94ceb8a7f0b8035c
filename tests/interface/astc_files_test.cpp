// Real ".astc" files, made by the astcenc program, against that program's own decompression.
#include <gtest/gtest.h>
#include <korutex.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "koru_image_ptr.h"
#include "png_reader.h"
#include "test_files.h"

namespace {

std::vector<std::filesystem::path> ListAstcFiles() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(KORUTEX_FIXTURES_DIR)) {
        if (entry.path().extension() == ".astc") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

class AstcFile : public testing::TestWithParam<std::filesystem::path> {
  protected:
    /// What astcenc makes of the same file.
    PngPicture expected_ = Test_ReadPng(std::filesystem::path(GetParam()).replace_extension("png"));
    KoruPath path_ = Test_ToKoruPath(GetParam());
};

TEST_P(AstcFile, RgbaPixelsEqualThoseOfAstcenc) {
    const KoruImagePtr image(KORU_Load_ASTC_From_File(path_.c_str(), KORU_FLAG_RGBA));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->width, expected_.width);
    EXPECT_EQ(image->height, expected_.height);
    EXPECT_TRUE(Test_GetPixels(*image) == expected_.rgba);
}

TEST_P(AstcFile, RgbPixelsEqualThoseOfAstcencWithoutAlpha) {
    Bytes rgb;
    for (std::size_t i = 0; i < expected_.rgba.size(); ++i) {
        if (i % 4 != 3) rgb.push_back(expected_.rgba[i]);
    }
    const KoruImagePtr image(KORU_Load_ASTC_From_File(path_.c_str(), 0));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->stride, expected_.width * 3);
    EXPECT_TRUE(Test_GetPixels(*image) == rgb);
}

TEST_P(AstcFile, MemoryGivesThePixelsOfTheFile) {
    const Bytes file = Test_ReadFile(GetParam());
    const KoruImagePtr image(KORU_Load_ASTC_From_Memory(
        file.data(), static_cast<std::uint32_t>(file.size()), KORU_FLAG_RGBA));
    ASSERT_NE(image, nullptr);
    EXPECT_TRUE(Test_GetPixels(*image) == expected_.rgba);
}

std::string GetTestName(const testing::TestParamInfo<std::filesystem::path>& info) {
    std::string name = info.param.stem().string();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Fixtures, AstcFile, testing::ValuesIn(ListAstcFiles()), GetTestName);

TEST(AstcFiles, CoverEveryFootprintOfTheStandard) {
    std::set<std::string> footprints;
    for (const auto& path : ListAstcFiles()) {
        const std::string stem = path.stem().string();
        footprints.insert(stem.substr(0, stem.find('_')));
    }
    EXPECT_EQ(footprints,
              std::set<std::string>({"4x4",   "5x4",   "5x5",   "6x5",   "6x6",   "8x5",
                                     "8x6",   "8x8",   "10x5",  "10x6",  "10x8",  "10x10",
                                     "12x10", "12x12", "3x3x3", "4x3x3", "4x4x3", "4x4x4",
                                     "5x4x4", "5x5x4", "5x5x5", "6x5x5", "6x6x5", "6x6x6"}));
}

}  // namespace
