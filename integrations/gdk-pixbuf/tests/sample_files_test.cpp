// Every sample through every door of GdkPixbuf, against what the program korutex makes of it.
#include <gtest/gtest.h>

#include "loader_story.h"

namespace fs = std::filesystem;

namespace {

std::string Sample_FormatSize(const Picture& picture) {
    return std::to_string(picture.width) + " x " + std::to_string(picture.height);
}

std::string Sample_GetTestName(const testing::TestParamInfo<fs::path>& sample) {
    std::string name = sample.param.filename().string();
    for (char& letter : name) {
        if (!g_ascii_isalnum(letter)) letter = '_';
    }
    return name;
}

class PixbufSample : public testing::TestWithParam<fs::path> {
  protected:
    const fs::path& path_ = GetParam();
    const Bytes file_ = Test_ReadFile(path_);
    const Picture expected_ = Test_ConvertTexture(path_).value_or(Picture{});
};

TEST_P(PixbufSample, LoadsInPiecesOfAnySize) {
    const std::string size = Sample_FormatSize(expected_);
    const std::vector<std::string> events{"size " + size, "prepared " + size,
                                          "updated 0, 0, " + size, "closed"};
    for (const std::size_t pieceBytes : {std::size_t{1}, std::size_t{47}, std::size_t{997},
                                         std::size_t{65536}, std::size_t{SIZE_MAX}}) {
        SCOPED_TRACE(pieceBytes);
        const LoaderStory story = Test_LoadPieces(file_, {.pieceBytes = pieceBytes});
        ASSERT_EQ(story.error, nullptr) << story.error->message;
        EXPECT_EQ(story.events, events);
        EXPECT_EQ(Test_GetPicture(*story.pixbuf), expected_);
    }
}

TEST_P(PixbufSample, OpensFromAFile) { EXPECT_EQ(Test_OpenPicture(path_), expected_); }

TEST_P(PixbufSample, OpensFromAStream) {
    GInputStream* const stream = g_memory_input_stream_new_from_data(
        file_.data(), static_cast<gssize>(file_.size()), nullptr);
    const PixbufPtr pixbuf(gdk_pixbuf_new_from_stream(stream, nullptr, nullptr));
    g_object_unref(stream);
    ASSERT_NE(pixbuf, nullptr);
    EXPECT_EQ(Test_GetPicture(*pixbuf), expected_);
}

TEST_P(PixbufSample, IsAlwaysRgbaWithoutPadding) {
    const PixbufPtr pixbuf(gdk_pixbuf_new_from_file(path_.c_str(), nullptr));
    ASSERT_NE(pixbuf, nullptr);
    EXPECT_EQ(gdk_pixbuf_get_n_channels(pixbuf.get()), 4);
    EXPECT_TRUE(gdk_pixbuf_get_has_alpha(pixbuf.get()));
    EXPECT_EQ(gdk_pixbuf_get_bits_per_sample(pixbuf.get()), 8);
    EXPECT_EQ(gdk_pixbuf_get_colorspace(pixbuf.get()), GDK_COLORSPACE_RGB);
    EXPECT_EQ(gdk_pixbuf_get_rowstride(pixbuf.get()), 4 * expected_.width);
}

// GdkPixbuf scales; a PNG of the same pixels gives the same.
TEST_P(PixbufSample, ScalesAsAPngDoes) {
    const TempFolder folder;
    const fs::path png = folder / "same.png";
    ASSERT_TRUE(Test_ConvertToPng(path_, png));
    for (const int edge : {48, 600}) {
        const PixbufPtr scaled(
            gdk_pixbuf_new_from_file_at_scale(path_.c_str(), edge, edge, TRUE, nullptr));
        const PixbufPtr expected(
            gdk_pixbuf_new_from_file_at_scale(png.c_str(), edge, edge, TRUE, nullptr));
        ASSERT_NE(scaled, nullptr);
        ASSERT_NE(expected, nullptr);
        EXPECT_EQ(gdk_pixbuf_get_width(scaled.get()), edge);
        EXPECT_EQ(Test_GetPicture(*scaled), Test_GetPicture(*expected));
    }
}

TEST_P(PixbufSample, TellsItsFormatAndSize) {
    int width = 0;
    int height = 0;
    GdkPixbufFormat* const format = gdk_pixbuf_get_file_info(path_.c_str(), &width, &height);
    EXPECT_EQ(Test_GetFormatName(format), "korutex");
    EXPECT_EQ(width, expected_.width);
    EXPECT_EQ(height, expected_.height);
}

INSTANTIATE_TEST_SUITE_P(Samples, PixbufSample, testing::ValuesIn(Test_ListSamples()),
                         Sample_GetTestName);

}  // namespace
