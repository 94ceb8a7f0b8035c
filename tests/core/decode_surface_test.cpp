#include "core/decode_surface.h"

#include <gtest/gtest.h>

#include "core_test_helpers.h"

namespace koru {
namespace {

TEST(DecodeSurface, SetLayoutFillsSizes) {
    DecodeSurface surface;
    ASSERT_TRUE(Surface_SetLayout(surface, 3, 5, 4));
    EXPECT_EQ(surface.width, 3u);
    EXPECT_EQ(surface.height, 5u);
    EXPECT_EQ(surface.bitsPerPixel, 32u);
    EXPECT_EQ(surface.bytesPerPixel, 4u);
    EXPECT_EQ(surface.bitsPerChannel, 8u);
    EXPECT_EQ(surface.stride, 12u);
    EXPECT_EQ(surface.dataSize, 60u);
    EXPECT_EQ(surface.rowPadding, 0u);
    EXPECT_FALSE(surface.pixels);
}

TEST(DecodeSurface, SetLayoutFreesOldPixels) {
    DecodeSurface surface;
    Test_FillSurface(surface, 1, 1, 4, {1, 2, 3, 4});
    ASSERT_TRUE(Surface_SetLayout(surface, 2, 2, 3));
    EXPECT_FALSE(surface.pixels);
}

TEST(DecodeSurface, SetLayoutRefusesSizesBeyond32Bits) {
    DecodeSurface surface;
    Test_FillSurface(surface, 1, 1, 3, {1, 2, 3});
    EXPECT_FALSE(Surface_SetLayout(surface, 0x10000, 0x4000, 4));
    EXPECT_FALSE(Surface_SetLayout(surface, 0x40000000, 1, 4));
    EXPECT_EQ(surface.width, 1u);
    EXPECT_TRUE(surface.pixels);
}

TEST(DecodeSurface, ClearKeepsTheAlphaFlagAndUnusedWords) {
    DecodeSurface surface;
    Test_FillSurface(surface, 1, 1, 4, {1, 2, 3, 4});
    surface.rowPadding = 9;
    surface.reservedA = 11;
    surface.reservedB = 1;
    surface.reservedC = 13;
    surface.reservedD = 14;
    surface.reservedE = 15;
    surface.reservedF = 16;
    surface.reservedG = 17;
    surface.reservedH = 18;

    Surface_Clear(surface);

    EXPECT_FALSE(surface.pixels);
    EXPECT_EQ(surface.width, 0u);
    EXPECT_EQ(surface.height, 0u);
    EXPECT_EQ(surface.bitsPerPixel, 0u);
    EXPECT_EQ(surface.bytesPerPixel, 0u);
    EXPECT_EQ(surface.bitsPerChannel, 0u);
    EXPECT_EQ(surface.dataSize, 0u);
    EXPECT_EQ(surface.stride, 0u);
    EXPECT_EQ(surface.rowPadding, 0u);
    EXPECT_EQ(surface.reservedD, 0u);
    EXPECT_EQ(surface.reservedE, 0u);

    EXPECT_EQ(surface.reservedA, 11u);
    EXPECT_EQ(surface.reservedB, 1u);
    EXPECT_EQ(surface.reservedC, 13u);
    EXPECT_EQ(surface.reservedF, 16u);
    EXPECT_EQ(surface.reservedG, 17u);
    EXPECT_EQ(surface.reservedH, 18u);
}

TEST(DecodeSurface, BlackIsOpaqueWhereThereIsAlpha) {
    DecodeSurface surface;
    ASSERT_TRUE(Surface_SetLayout(surface, 1, 2, 4));
    ASSERT_TRUE(Surface_AllocateBlack(surface));
    EXPECT_EQ(Test_GetBytes(surface.pixels),
              std::vector<std::uint8_t>({0, 0, 0, 255, 0, 0, 0, 255}));
    ASSERT_TRUE(Surface_SetLayout(surface, 2, 1, 3));
    ASSERT_TRUE(Surface_AllocateBlack(surface));
    EXPECT_EQ(Test_GetBytes(surface.pixels), std::vector<std::uint8_t>({0, 0, 0, 0, 0, 0}));
}

TEST(DecodeSurface, FillBlackBeginsAtThePixelOfTheOffset) {
    DecodeSurface rgba;
    Test_FillSurface(rgba, 3, 1, 4, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    Surface_FillBlack(rgba, 12);
    EXPECT_EQ(rgba.pixels.Data()[11], 12);
    Surface_FillBlack(rgba, 4);
    EXPECT_EQ(Test_GetBytes(rgba.pixels),
              std::vector<std::uint8_t>({1, 2, 3, 4, 0, 0, 0, 255, 0, 0, 0, 255}));
    DecodeSurface rgb;
    Test_FillSurface(rgb, 2, 1, 3, {1, 2, 3, 4, 5, 6});
    Surface_FillBlack(rgb, 3);
    EXPECT_EQ(Test_GetBytes(rgb.pixels), std::vector<std::uint8_t>({1, 2, 3, 0, 0, 0}));
}

}  // namespace
}  // namespace koru
