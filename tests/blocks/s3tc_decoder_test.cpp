#include "blocks/s3tc_decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "block_test_helpers.h"

namespace koru {
namespace {

Bytes Concat(const std::vector<Bytes>& parts) {
    Bytes bytes;
    for (const Bytes& part : parts) bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

/// A color block whose pixel x has index x in every row.
Bytes ColorBlock(std::uint32_t color0, std::uint32_t color1) {
    const auto low = [](std::uint32_t value) { return static_cast<std::uint8_t>(value); };
    return {low(color0), low(color0 >> 8), low(color1), low(color1 >> 8), 0xE4, 0xE4, 0xE4, 0xE4};
}

/// A channel block whose pixels, row by row, have indices 0, 1, ... 7, 0, 1, ... 7.
Bytes ChannelBlock(std::uint8_t end0, std::uint8_t end1) {
    return {end0, end1, 0x88, 0xC6, 0xFA, 0x88, 0xC6, 0xFA};
}

const Bytes kOpaque{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

Bytes Repeat(const Bytes& row, std::size_t count) { return Concat(std::vector<Bytes>(count, row)); }

Bytes DecodeBlock(S3tcMode mode, const Bytes& block) {
    return Test_DecodeS3tc(mode, block, 4, 4, 4);
}

/// One channel of R, G, B, A pixels.
Bytes GetChannel(const Bytes& rgba, std::size_t channel) {
    Bytes values;
    for (std::size_t i = channel; i < rgba.size(); i += 4) values.push_back(rgba[i]);
    return values;
}

// Color blocks.

TEST(S3tcColor, MixesThirdsOfRedAndBlue) {
    EXPECT_EQ(DecodeBlock(S3tcMode::Dxt1, ColorBlock(0xF800, 0x001F)),
              Repeat({255, 0, 0, 255, 0, 0, 255, 255, 170, 0, 85, 255, 85, 0, 170, 255}, 4));
}

TEST(S3tcColor, WidensEndsByRepetitionAndDropsRemainders) {
    // 0xFFFF is 255, 0x0841 is 8 in all channels. (2 * 255 + 8) / 3 = 172.67, (255 + 16) / 3
    // = 90.3.
    EXPECT_EQ(DecodeBlock(S3tcMode::Dxt1, ColorBlock(0xFFFF, 0x0841)),
              Repeat({255, 255, 255, 255, 8, 8, 8, 255, 172, 172, 172, 255, 90, 90, 90, 255}, 4));
    // 0x0000 is black. Green 32 of 63 is 130, red 16 and blue 16 of 31 are 132.
    EXPECT_EQ(GetChannel(DecodeBlock(S3tcMode::Dxt1, ColorBlock(0x8410, 0x0000)), 0),
              Repeat({132, 0, 88, 44}, 4));
    EXPECT_EQ(GetChannel(DecodeBlock(S3tcMode::Dxt1, ColorBlock(0x8410, 0x0000)), 1),
              Repeat({130, 0, 86, 43}, 4));
    EXPECT_EQ(GetChannel(DecodeBlock(S3tcMode::Dxt1, ColorBlock(0x8410, 0x0000)), 2),
              Repeat({132, 0, 88, 44}, 4));
}

TEST(S3tcColor, ReadsIndicesRowByRowFromTheLowestBits) {
    Bytes block = ColorBlock(0xF800, 0x001F);
    block[4] = 0x01;  // pixel 0 of row 0
    block[5] = 0x0C;  // pixel 1 of row 1 has index 3
    block[6] = 0x20;  // pixel 2 of row 2 has index 2
    block[7] = 0x40;  // pixel 3 of row 3 has index 1
    EXPECT_EQ(GetChannel(DecodeBlock(S3tcMode::Dxt1, block), 2),
              (Bytes{255, 0, 0, 0, 0, 170, 0, 0, 0, 0, 85, 0, 0, 0, 0, 255}));
}

TEST(S3tcColor, KeepsWhiteFourthColorWithAlpha0) {
    // color0 below color1: the average of 0 and 255 rounds up.
    EXPECT_EQ(DecodeBlock(S3tcMode::Dxt1, ColorBlock(0x0000, 0xFFFF)),
              Repeat({0, 0, 0, 255, 255, 255, 255, 255, 128, 128, 128, 255, 255, 255, 255, 0}, 4));
}

TEST(S3tcColor, EqualEndsMakeThreeColors) {
    EXPECT_EQ(DecodeBlock(S3tcMode::Dxt1, ColorBlock(0x0841, 0x0841)),
              Repeat({8, 8, 8, 255, 8, 8, 8, 255, 8, 8, 8, 255, 255, 255, 255, 0}, 4));
}

TEST(S3tcColor, ComparesEndsAsUnsignedWords) {
    // 0x8000 is above 0x7FFF: (2 * 132 + 123) / 3 = 129.
    EXPECT_EQ(GetChannel(DecodeBlock(S3tcMode::Dxt1, ColorBlock(0x8000, 0x7FFF)), 0),
              Repeat({132, 123, 129, 126}, 4));
}

TEST(S3tcColor, Bc2KeepsTheThreeColorPalette) {
    const Bytes color = ColorBlock(0x0000, 0xFFFF);
    EXPECT_EQ(
        DecodeBlock(S3tcMode::Dxt3, Concat({kOpaque, color})),
        Repeat({0, 0, 0, 255, 255, 255, 255, 255, 128, 128, 128, 255, 255, 255, 255, 255}, 4));
    EXPECT_EQ(DecodeBlock(S3tcMode::Dxt3, Concat({kOpaque, ColorBlock(0x0841, 0x0841)})),
              Repeat({8, 8, 8, 255, 8, 8, 8, 255, 8, 8, 8, 255, 255, 255, 255, 255}, 4));
}

TEST(S3tcColor, Bc3AlwaysHasFourColors) {
    const Bytes alpha{255, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(DecodeBlock(S3tcMode::Dxt5, Concat({alpha, ColorBlock(0x0000, 0xFFFF)})),
              Repeat({0, 0, 0, 255, 255, 255, 255, 255, 85, 85, 85, 255, 170, 170, 170, 255}, 4));
    EXPECT_EQ(DecodeBlock(S3tcMode::Dxt5, Concat({alpha, ColorBlock(0x0841, 0x0841)})),
              Repeat({8, 8, 8, 255, 8, 8, 8, 255, 8, 8, 8, 255, 8, 8, 8, 255}, 4));
}

// Explicit alpha.

TEST(S3tcExplicitAlpha, WidensNibblesFromTheLowestBits) {
    const Bytes alpha{0x10, 0xF2, 0x43, 0x65, 0x87, 0xA9, 0xCB, 0xED};
    EXPECT_EQ(GetChannel(DecodeBlock(S3tcMode::Dxt3, Concat({alpha, ColorBlock(0xFFFF, 0)})), 3),
              (Bytes{0, 17, 34, 255, 51, 68, 85, 102, 119, 136, 153, 170, 187, 204, 221, 238}));
}

TEST(S3tcExplicitAlpha, StaysWhereColorIsTheWhiteFourth) {
    const Bytes alpha{0x21, 0x43, 0x21, 0x43, 0x21, 0x43, 0x21, 0x43};
    EXPECT_EQ(GetChannel(DecodeBlock(S3tcMode::Dxt3, Concat({alpha, ColorBlock(0, 0xFFFF)})), 3),
              Repeat({17, 34, 51, 68}, 4));
}

// Channel blocks.

TEST(S3tcChannel, EightValuesDropRemainders) {
    const Bytes color = ColorBlock(0xFFFF, 0);
    EXPECT_EQ(GetChannel(DecodeBlock(S3tcMode::Dxt5, Concat({ChannelBlock(255, 0), color})), 3),
              Repeat({255, 0, 218, 182, 145, 109, 72, 36}, 2));
}

TEST(S3tcChannel, SixValuesAndTheEnds) {
    const Bytes color = ColorBlock(0xFFFF, 0);
    EXPECT_EQ(GetChannel(DecodeBlock(S3tcMode::Dxt5, Concat({ChannelBlock(0, 255), color})), 3),
              Repeat({0, 255, 51, 102, 153, 204, 0, 255}, 2));
    // (4 * 10 + 13) / 5 = 10.6, then 11.2, 11.8, 12.4.
    EXPECT_EQ(GetChannel(DecodeBlock(S3tcMode::Dxt5, Concat({ChannelBlock(10, 13), color})), 3),
              Repeat({10, 13, 10, 11, 11, 12, 0, 255}, 2));
}

TEST(S3tcChannel, EqualEndsMakeSixValues) {
    EXPECT_EQ(GetChannel(DecodeBlock(S3tcMode::Bc4, ChannelBlock(70, 70)), 0),
              Repeat({70, 70, 70, 70, 70, 70, 0, 255}, 2));
}

TEST(S3tcChannel, ComparesEndsUnsigned) {
    // 200 is above 100: (6 * 200 + 100) / 7 = 185.7.
    EXPECT_EQ(GetChannel(DecodeBlock(S3tcMode::Bc4, ChannelBlock(200, 100)), 0),
              Repeat({200, 100, 185, 171, 157, 142, 128, 114}, 2));
}

TEST(S3tcChannel, Bc4IsRedAndKeepsTheOthersFull) {
    const Bytes values = Repeat({252, 0, 216, 180, 144, 108, 72, 36}, 2);
    const Bytes rgba = DecodeBlock(S3tcMode::Bc4, ChannelBlock(252, 0));
    EXPECT_EQ(GetChannel(rgba, 0), values);
    for (const std::size_t channel : {1u, 2u, 3u})
        EXPECT_EQ(GetChannel(rgba, channel), Bytes(16, 255));
    EXPECT_EQ(Test_DecodeS3tc(S3tcMode::Bc4, ChannelBlock(252, 0), 4, 4, 3), Test_DropAlpha(rgba));
}

TEST(S3tcChannel, Bc5KeepsFirstInGreenAndSecondInRed) {
    const Bytes rgba =
        DecodeBlock(S3tcMode::Bc5, Concat({ChannelBlock(252, 0), ChannelBlock(0, 255)}));
    EXPECT_EQ(GetChannel(rgba, 0), Repeat({0, 255, 51, 102, 153, 204, 0, 255}, 2));
    EXPECT_EQ(GetChannel(rgba, 1), Repeat({252, 0, 216, 180, 144, 108, 72, 36}, 2));
    EXPECT_EQ(GetChannel(rgba, 2), Bytes(16, 255));
    EXPECT_EQ(GetChannel(rgba, 3), Bytes(16, 255));
}

TEST(S3tcChannel, NarrowImagesKeepTheirWiderStepBetweenRows) {
    // The values of indices 0 to 7 are 252, 0, 216, 180, 144, 108, 72, 36; index number n of the
    // block is n mod 8. Rows begin at bits 0, 21, 42, 63 (width 1); 0, 18, 36, 54; 0, 15, 30, 45.
    const Bytes block = ChannelBlock(252, 0);
    EXPECT_EQ(GetChannel(Test_DecodeS3tc(S3tcMode::Bc4, block, 1, 4, 4), 0),
              (Bytes{252, 36, 72, 252}));
    EXPECT_EQ(GetChannel(Test_DecodeS3tc(S3tcMode::Bc4, block, 2, 4, 4), 0),
              (Bytes{252, 0, 72, 36, 144, 108, 252, 252}));
    EXPECT_EQ(GetChannel(Test_DecodeS3tc(S3tcMode::Bc4, block, 3, 4, 4), 0),
              (Bytes{252, 0, 216, 108, 72, 36, 216, 180, 144, 36, 252, 252}));
    EXPECT_EQ(GetChannel(Test_DecodeS3tc(S3tcMode::Bc4, block, 4, 4, 4), 0),
              Repeat({252, 0, 216, 180, 144, 108, 72, 36}, 2));
}

TEST(S3tcChannel, NarrowStepIsInAlphaAndBothChannelsButNotInColor) {
    const Bytes step{252, 0, 72, 36, 144, 108, 252, 252};
    const Bytes bc3 = Test_DecodeS3tc(
        S3tcMode::Dxt5, Concat({ChannelBlock(252, 0), ColorBlock(0xF800, 0x001F)}), 2, 4, 4);
    EXPECT_EQ(GetChannel(bc3, 3), step);
    EXPECT_EQ(GetChannel(bc3, 0), Repeat({255, 0}, 4));
    const Bytes bc5 = Test_DecodeS3tc(
        S3tcMode::Bc5, Concat({ChannelBlock(252, 0), ChannelBlock(252, 0)}), 2, 4, 4);
    EXPECT_EQ(GetChannel(bc5, 0), step);
    EXPECT_EQ(GetChannel(bc5, 1), step);
    const Bytes bc2 = Test_DecodeS3tc(
        S3tcMode::Dxt3,
        Concat({{0x10, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE}, ColorBlock(0xF800, 0x001F)}), 2,
        4, 4);
    EXPECT_EQ(GetChannel(bc2, 3), (Bytes{0, 17, 68, 85, 136, 153, 204, 221}));
}

TEST(S3tcChannel, LastColumnOfAWideImageIsReadNormally) {
    const Bytes rgba = Test_DecodeS3tc(S3tcMode::Bc4, Repeat(ChannelBlock(252, 0), 2), 6, 4, 4);
    EXPECT_EQ(GetChannel(rgba, 0),
              Repeat({252, 0, 216, 180, 252, 0, 144, 108, 72, 36, 144, 108}, 2));
}

// Images.

TEST(S3tcImage, Size6x6Takes4BlocksAndWrites36Pixels) {
    const Bytes blocks = Concat({ColorBlock(0xF800, 0x001F), ColorBlock(0xFFFF, 0x0841),
                                 ColorBlock(0x001F, 0xF800), ColorBlock(0x0841, 0x0841)});
    EXPECT_EQ(S3tc_GetPayloadBytes(S3tcMode::Dxt1, 6, 6), 32u);
    EXPECT_EQ(GetChannel(Test_DecodeS3tc(S3tcMode::Dxt1, blocks, 6, 6, 4), 0),
              Concat({Repeat({255, 0, 170, 85, 255, 8}, 4), Repeat({0, 255, 128, 255, 8, 8}, 2)}));
}

TEST(S3tcImage, ModesWithoutFormatKeepGivingOpaqueWhite) {
    for (const std::uint32_t mode : {0u, 4u, 7u, 0x103u, 0xFFFFFFFFu}) {
        for (const std::uint32_t bytesPerPixel : {1u, 2u, 3u, 4u}) {
            Bytes target(std::size_t{9} * 7 * bytesPerPixel + 1, 3);
            EXPECT_EQ(S3tc_DecodeImage(target.data(), nullptr, S3tcMode{mode}, 0, 9, 7,
                                       static_cast<std::int32_t>(bytesPerPixel)),
                      1u);
            Bytes expected(target.size() - 1, 255);
            expected.push_back(3);
            EXPECT_EQ(target, expected) << mode;
        }
        EXPECT_EQ(S3tc_GetPayloadBytes(S3tcMode{mode}, 9, 7), 0u);
        EXPECT_EQ(S3tc_GetPayloadBytes(S3tcMode{mode}, 0xFFFFFFFF, 0xFFFFFFFF), 0u);
    }
}

constexpr std::array kModes{S3tcMode::Dxt1, S3tcMode::Dxt3, S3tcMode::Dxt5, S3tcMode::Bc4,
                            S3tcMode::Bc5};

TEST(S3tcImage, OtherPixelSizesWriteNothing) {
    const std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
    const std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    for (const std::uint32_t mode : {1u, 2u, 3u, 4u, 5u, 6u}) {
        for (const std::int32_t bytesPerPixel : {0, -1, -3, -4, 5, 8, kLeast, kMost}) {
            std::uint8_t target = 3;
            EXPECT_EQ(S3tc_DecodeImage(&target, nullptr, S3tcMode{mode}, 0, 4, 4, bytesPerPixel),
                      1u);
            EXPECT_EQ(target, 3);
        }
    }
}

TEST(S3tcImage, EmptyImagesTouchNothing) {
    for (const std::uint32_t mode : {1u, 2u, 3u, 4u, 5u, 6u}) {
        for (const auto& [width, height] :
             {std::pair{0u, 0u}, {0u, 5u}, {5u, 0u}, {0xFFFFFFFFu, 0u}, {0u, 0xFFFFFu}}) {
            EXPECT_EQ(S3tc_DecodeImage(nullptr, nullptr, S3tcMode{mode}, 0, width, height, 4), 1u);
        }
    }
}

TEST(S3tcImage, SmallerPixelsAreTheFirstBytesOfRgba) {
    for (const S3tcMode mode : kModes) {
        const Bytes blocks = Test_RandomBytes(*S3tc_GetPayloadBytes(mode, 9, 6), 6);
        const Bytes rgba = Test_DecodeS3tc(mode, blocks, 9, 6, 4);
        for (const std::uint32_t bytesPerPixel : {1u, 2u, 3u}) {
            Bytes expected;
            for (std::size_t i = 0; i < rgba.size(); ++i) {
                if (i % 4 < bytesPerPixel) expected.push_back(rgba[i]);
            }
            EXPECT_EQ(Test_DecodeS3tc(mode, blocks, 9, 6, bytesPerPixel), expected);
        }
    }
}

TEST(S3tcImage, PayloadIsWholeBlocks) {
    for (const auto& [mode, blockBytes] : {std::pair{S3tcMode::Dxt1, 8u},
                                           {S3tcMode::Dxt3, 16u},
                                           {S3tcMode::Dxt5, 16u},
                                           {S3tcMode::Bc4, 8u},
                                           {S3tcMode::Bc5, 16u}}) {
        EXPECT_EQ(S3tc_GetPayloadBytes(mode, 1, 1), blockBytes);
        EXPECT_EQ(S3tc_GetPayloadBytes(mode, 4, 4), blockBytes);
        EXPECT_EQ(S3tc_GetPayloadBytes(mode, 5, 9), 6 * blockBytes);
        EXPECT_EQ(S3tc_GetPayloadBytes(mode, 0, 9), 0u);
        EXPECT_EQ(S3tc_GetPayloadBytes(mode, 0xFFFFFFFF, 0), 0u);
        EXPECT_EQ(S3tc_GetPayloadBytes(mode, 0xFFFFFFFF, 0xFFFFFFFF), std::nullopt);
        // 2^16 columns of blocks: the most rows that fit 32 bits, and one more.
        const std::uint32_t rows = 0x10000 / blockBytes - 1;
        EXPECT_EQ(S3tc_GetPayloadBytes(mode, 0x40000, 4 * rows), 0x10000 * blockBytes * rows);
        EXPECT_EQ(S3tc_GetPayloadBytes(mode, 0x40000, 4 * rows + 1), std::nullopt);
    }
}

/// The channel block of a narrow image as the ordinary block with the same indices.
void StraightenChannel(std::uint8_t* block, std::uint32_t width) {
    const auto getBit = [&](std::size_t bit) {
        return bit < 48 ? block[2 + bit / 8] >> bit % 8 & 1 : 0;
    };
    std::array<std::uint8_t, 6> straight{};
    for (std::size_t bit = 0; bit < 48; ++bit) {
        const std::size_t row = bit / 12, from = row * (12 + (4 - width) * 3) + bit % 12;
        straight[bit / 8] = static_cast<std::uint8_t>(straight[bit / 8] | getBit(from) << bit % 8);
    }
    std::copy(straight.begin(), straight.end(), block + 2);
}

Bytes StraightenBlocks(S3tcMode mode, Bytes blocks, std::uint32_t width) {
    const std::size_t step = mode == S3tcMode::Dxt5 ? 16 : 8;
    if (width >= 4 || mode == S3tcMode::Dxt1 || mode == S3tcMode::Dxt3) return blocks;
    for (std::size_t at = 0; at < blocks.size(); at += step) StraightenChannel(&blocks[at], width);
    return blocks;
}

class S3tcSizes : public testing::TestWithParam<std::tuple<S3tcMode, std::uint32_t>> {};

TEST_P(S3tcSizes, AnySizeIsTheCornerOfWholeBlocks) {
    const auto& [mode, bytesPerPixel] = GetParam();
    for (std::uint32_t height = 1; height <= 17; ++height) {
        for (std::uint32_t width = 1; width <= 17; ++width) {
            const auto payload = S3tc_GetPayloadBytes(mode, width, height);
            ASSERT_EQ(payload, Test_GetBlockCount(width, height) *
                                   (mode == S3tcMode::Dxt1 || mode == S3tcMode::Bc4 ? 8 : 16));
            const Bytes blocks = Test_RandomBytes(*payload, 100 * height + width);
            const std::uint32_t paddedWidth = (width + 3) & ~3u, paddedHeight = (height + 3) & ~3u;
            const Bytes padded = Test_DecodeS3tc(mode, StraightenBlocks(mode, blocks, width),
                                                 paddedWidth, paddedHeight, bytesPerPixel);
            ASSERT_EQ(Test_DecodeS3tc(mode, blocks, width, height, bytesPerPixel),
                      Test_Crop(padded, paddedWidth, width, height, bytesPerPixel))
                << width << " x " << height;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, S3tcSizes,
                         testing::Combine(testing::ValuesIn(kModes), testing::Values(3u, 4u)),
                         [](const auto& test) {
                             return "Mode" +
                                    std::to_string(static_cast<int>(std::get<0>(test.param))) +
                                    "_" + std::to_string(8 * std::get<1>(test.param));
                         });

}  // namespace
}  // namespace koru
