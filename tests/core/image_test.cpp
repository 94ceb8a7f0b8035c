// Finishing: the definition, and the hand-over that must equal it.
#include "core/image.h"

#include <gtest/gtest.h>

#include <functional>

#include "core_test_helpers.h"

namespace koru {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes GetPixels(const KORU_Image& image) { return {image.pixels, image.pixels + image.dataSize}; }

/// Runs every test on both ways of finishing.
class Finish : public testing::TestWithParam<const char*> {
  protected:
    ImageHandle Run(std::uint32_t flags) {
        return GetParam() == std::string("copy") ? Image_FromSurface(surface_, flags)
                                                 : Image_TakeSurface(surface_, flags);
    }
    DecodeSurface surface_;
};

INSTANTIATE_TEST_SUITE_P(Ways, Finish, testing::Values("copy", "take"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(Finish, CopiesThreeOrFourChannelsOfA32BitPixel) {
    Test_FillSurface(surface_, 1, 1, 4, {10, 20, 30, 40});
    const auto rgb = Run(0);
    ASSERT_NE(rgb, nullptr);
    EXPECT_EQ(GetPixels(*rgb), Bytes({10, 20, 30}));

    Test_FillSurface(surface_, 1, 1, 4, {10, 20, 30, 40});
    const auto rgba = Run(KORU_FLAG_RGBA);
    ASSERT_NE(rgba, nullptr);
    EXPECT_EQ(GetPixels(*rgba), Bytes({10, 20, 30, 40}));
}

TEST_P(Finish, A24BitSurfaceGetsAlpha255) {
    Test_FillSurface(surface_, 2, 2, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    const auto rgba = Run(KORU_FLAG_RGBA);
    ASSERT_NE(rgba, nullptr);
    EXPECT_EQ(GetPixels(*rgba), Bytes({1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9, 255, 10, 11, 12, 255}));
}

TEST_P(Finish, A24BitSurfaceGivesRgbUnchanged) {
    Test_FillSurface(surface_, 2, 1, 3, {1, 2, 3, 4, 5, 6});
    const auto rgb = Run(0);
    ASSERT_NE(rgb, nullptr);
    EXPECT_EQ(GetPixels(*rgb), Bytes({1, 2, 3, 4, 5, 6}));
}

TEST_P(Finish, AlphaComesFromBitsPerPixelNotFromBytes) {
    Test_FillSurface(surface_, 1, 1, 4, {10, 20, 30, 40});
    surface_.bitsPerPixel = 24;
    const auto rgba = Run(KORU_FLAG_RGBA);
    ASSERT_NE(rgba, nullptr);
    EXPECT_EQ(GetPixels(*rgba), Bytes({10, 20, 30, 255}));
    const auto rgb = Run(0);
    ASSERT_NE(rgb, nullptr);
    EXPECT_EQ(GetPixels(*rgb), Bytes({10, 20, 30}));
}

TEST_P(Finish, RowsAreNotAligned) {
    Test_FillSurface(surface_, 3, 2, 4, Bytes(24, 5));
    const auto rgb = Run(0);
    ASSERT_NE(rgb, nullptr);
    EXPECT_EQ(rgb->stride, 9u);
    EXPECT_EQ(rgb->dataSize, 18u);
    EXPECT_EQ(rgb->rowPadding, 0u);
    EXPECT_EQ(GetPixels(*rgb), Bytes(18, 5));
}

TEST_P(Finish, HeaderOnlyDescribesRgbWithoutPixels) {
    Test_FillSurface(surface_, 3, 2, 4, Bytes(24, 5));
    for (std::uint32_t flags : {1u, 3u}) {
        const auto image = Run(flags);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->pixels, nullptr);
        EXPECT_EQ(image->bitsPerPixel, 24u);
        EXPECT_EQ(image->bytesPerPixel, 3u);
        EXPECT_EQ(image->stride, 9u);
        EXPECT_EQ(image->dataSize, 18u);
        EXPECT_TRUE(surface_.pixels) << "a header-only record takes no pixels";
    }
}

TEST_P(Finish, NeedsPixelsEvenForTheHeader) {
    ASSERT_TRUE(Surface_SetLayout(surface_, 3, 2, 4));
    for (std::uint32_t flags : {0u, 1u, 2u, 3u}) EXPECT_EQ(Run(flags), nullptr);
}

TEST_P(Finish, NeedsBothDimensions) {
    for (auto breakIt : {std::function<void()>([this] { surface_.width = 0; }),
                         std::function<void()>([this] { surface_.height = 0; })}) {
        Test_FillSurface(surface_, 3, 2, 4, Bytes(24, 5));
        breakIt();
        for (std::uint32_t flags : {0u, 1u, 2u, 3u}) EXPECT_EQ(Run(flags), nullptr);
    }
}

TEST_P(Finish, RefusesARecordThatDoesNotFit32Bits) {
    Test_FillSurface(surface_, 1, 1, 3, {1, 2, 3});
    surface_.width = 0x50000000;  // a row of 3 bytes a pixel fits, one of 4 does not
    EXPECT_EQ(Run(KORU_FLAG_RGBA), nullptr);
    surface_.width = 0x10000;  // every row fits; all of them do so with 3 bytes a pixel only
    surface_.height = 0x5000;
    EXPECT_EQ(Run(KORU_FLAG_RGBA), nullptr);
    surface_.height = 0x10000;
    for (std::uint32_t flags : {0u, 1u, 2u, 3u}) EXPECT_EQ(Run(flags), nullptr);
    surface_.width = 0xFFFFFFFF;  // negative as a signed counter
    for (std::uint32_t flags : {0u, 1u, 2u, 3u}) EXPECT_EQ(Run(flags), nullptr);
}

TEST(FinishTake, HandsTheBufferOverWhereItWouldCopyIt) {
    DecodeSurface surface;
    Test_FillSurface(surface, 1, 1, 4, {10, 20, 30, 40});
    const std::uint8_t* bytes = surface.pixels.Data();
    const auto rgba = Image_TakeSurface(surface, KORU_FLAG_RGBA);
    ASSERT_NE(rgba, nullptr);
    EXPECT_EQ(rgba->pixels, bytes);
    EXPECT_FALSE(surface.pixels);

    Test_FillSurface(surface, 1, 1, 3, {10, 20, 30});
    bytes = surface.pixels.Data();
    const auto rgb = Image_TakeSurface(surface, 0);
    ASSERT_NE(rgb, nullptr);
    EXPECT_EQ(rgb->pixels, bytes);
}

TEST(FinishCopy, LeavesTheSurfaceAlone) {
    DecodeSurface surface;
    Test_FillSurface(surface, 1, 1, 4, {10, 20, 30, 40});
    const auto image = Image_FromSurface(surface, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    EXPECT_NE(image->pixels, surface.pixels.Data());
    EXPECT_EQ(Test_GetBytes(surface.pixels), Bytes({10, 20, 30, 40}));
    EXPECT_EQ(surface.width, 1u);
}

}  // namespace
}  // namespace koru
