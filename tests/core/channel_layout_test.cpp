#include "core/channel_layout.h"

#include <gtest/gtest.h>

namespace koru {
namespace {

using Masks = std::array<std::uint32_t, 4>;
using Counts = std::array<std::uint8_t, 4>;

TEST(ChannelLayout, DerivesRgb565) {
    constexpr ChannelLayout kLayout = Layout_FromMasks({0xF800, 0x07E0, 0x001F, 0}, 7);
    EXPECT_EQ(kLayout.shifts, (Counts{11, 5, 0, 0}));
    EXPECT_EQ(kLayout.bitCounts, (Counts{5, 6, 5, 0}));
    EXPECT_EQ(kLayout.maxValues, (Masks{0xF8, 0xFC, 0xF8, 0}));
    EXPECT_EQ(kLayout.masks, (Masks{0xF800, 0x07E0, 0x001F, 0}));
    EXPECT_EQ(kLayout.glFormat, 7u);
}

TEST(ChannelLayout, DerivesBytesInMemoryOrder) {
    constexpr ChannelLayout kLayout = Layout_FromMasks(kRgbaByteMasks, 0);
    EXPECT_EQ(kLayout.shifts, (Counts{0, 8, 16, 24}));
    EXPECT_EQ(kLayout.bitCounts, (Counts{8, 8, 8, 8}));
    EXPECT_EQ(kLayout.maxValues, (Masks{255, 255, 255, 255}));
}

TEST(ChannelLayout, WideChannelsShiftByTheCountModulo32) {
    // 16 bits: (8 - 16) mod 32 = 24. 10 bits: 30. 9 bits: 31. 32 bits: 8.
    constexpr ChannelLayout kLayout = Layout_FromMasks({0xFFFF0000, 0x3FF, 0x1FF, 0xFFFFFFFF}, 0);
    EXPECT_EQ(kLayout.shifts, (Counts{16, 0, 0, 0}));
    EXPECT_EQ(kLayout.bitCounts, (Counts{16, 10, 9, 32}));
    EXPECT_EQ(kLayout.maxValues, (Masks{0xFF000000, 0xC0000000, 0x80000000, 0xFFFFFF00}));
}

TEST(ChannelLayout, CountsEverySetBitOfAMaskWithGaps) {
    // 0b1010'0100: lowest bit 2, three bits set; (0xA4 >> 2) << (8 - 3).
    constexpr ChannelLayout kLayout = Layout_FromMasks({0xA4, 0x80000000, 0, 1}, 0);
    EXPECT_EQ(kLayout.shifts, (Counts{2, 31, 0, 0}));
    EXPECT_EQ(kLayout.bitCounts, (Counts{3, 1, 0, 1}));
    EXPECT_EQ(kLayout.maxValues, (Masks{0x29u << 5, 0x80, 0, 0x80}));
}

}  // namespace
}  // namespace koru
