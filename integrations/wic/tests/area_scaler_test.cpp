// Scaling for thumbnails, against averages worked out by hand.
#include "area_scaler.h"

#include <gtest/gtest.h>

#include <vector>

namespace koru_wic {

static void PrintTo(const PictureSize& size, std::ostream* stream) {
    *stream << size.width << " x " << size.height;
}
static bool operator==(const PictureSize& a, const PictureSize& b) {
    return a.width == b.width && a.height == b.height;
}

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Shrunk {
    Bytes bytes;
    bool isOpaque = false;
};

Shrunk Shrink(const Bytes& source, PictureSize sourceSize, PictureSize targetSize) {
    Shrunk shrunk{Bytes(std::size_t{targetSize.width} * targetSize.height * 4)};
    shrunk.isOpaque = Scaler_Shrink(source, sourceSize, shrunk.bytes, targetSize);
    return shrunk;
}

TEST(AreaScaler, FitsTheSquareAndKeepsTheShape) {
    const struct {
        PictureSize picture;
        std::uint32_t side;
        PictureSize expected;
    } cases[] = {
        {{320, 240}, 160, {160, 120}},   {{240, 320}, 160, {120, 160}},
        {{320, 240}, 256, {256, 192}},   {{320, 240}, 320, {320, 240}},
        {{320, 240}, 1000, {320, 240}},  {{1, 1}, 256, {1, 1}},
        {{1, 5000}, 256, {1, 256}},      {{5000, 3}, 100, {100, 1}},
        {{320, 240}, 1, {1, 1}},         {{3, 2}, 2, {2, 1}},
        {{8192, 8192}, 256, {256, 256}}, {{0x7FFFFFFF, 1}, 0x7FFFFFFE, {0x7FFFFFFE, 1}},
    };
    for (const auto& [picture, side, expected] : cases) {
        EXPECT_EQ(Scaler_Fit(picture, side), expected) << side;
    }
}

TEST(AreaScaler, AtFullSizeOrdersChannelsAndPremultiplies) {
    const Shrunk shrunk =
        Shrink({10, 20, 30, 255, 255, 100, 50, 128, 9, 9, 9, 0, 255, 255, 255, 1}, {4, 1}, {4, 1});
    // 100 * 128 / 255 = 50.2, 50 * 128 / 255 = 25.1
    EXPECT_EQ(shrunk.bytes, (Bytes{30, 20, 10, 255, 25, 50, 128, 128, 0, 0, 0, 0, 1, 1, 1, 1}));
    EXPECT_FALSE(shrunk.isOpaque);
}

TEST(AreaScaler, AveragesTheArea) {
    // 2 x 2 to one: (0 + 10 + 20 + 31) / 4 = 15.25
    const Shrunk shrunk = Shrink({0, 100, 200, 255, 10, 100, 200, 255,  //
                                  20, 100, 200, 255, 31, 102, 200, 255},
                                 {2, 2}, {1, 1});
    EXPECT_EQ(shrunk.bytes, (Bytes{200, 101, 15, 255}));
    EXPECT_TRUE(shrunk.isOpaque);
}

TEST(AreaScaler, SharesPixelsAtTheEdges) {
    // 3 to 2: each takes one pixel and half of the middle one. (2 * 0 + 90) / 3, (90 + 2 * 240) / 3
    const Bytes row{0, 0, 0, 255, 90, 0, 0, 255, 240, 0, 0, 255};
    EXPECT_EQ(Shrink(row, {3, 1}, {2, 1}).bytes, (Bytes{0, 0, 30, 255, 0, 0, 190, 255}));
    EXPECT_EQ(Shrink(row, {1, 3}, {1, 2}).bytes, (Bytes{0, 0, 30, 255, 0, 0, 190, 255}));
}

TEST(AreaScaler, TransparentPixelsGiveNoColor) {
    // Half of a full red, half of an invisible green.
    const Shrunk shrunk = Shrink({255, 0, 0, 255, 0, 255, 0, 0}, {2, 1}, {1, 1});
    EXPECT_EQ(shrunk.bytes, (Bytes{0, 0, 128, 128}));
    EXPECT_FALSE(shrunk.isOpaque);
}

TEST(AreaScaler, KeepsAPlainColorAtEverySize) {
    for (std::uint32_t side = 1; side <= 37; ++side) {
        const Bytes source = [] {
            Bytes bytes;
            for (int i = 0; i < 37 * 41; ++i) bytes.insert(bytes.end(), {255, 128, 1, 255});
            return bytes;
        }();
        const Shrunk shrunk = Shrink(source, {37, 41}, {side, side});
        EXPECT_TRUE(shrunk.isOpaque);
        for (std::size_t i = 0; i < shrunk.bytes.size(); i += 4) {
            ASSERT_EQ(Bytes(shrunk.bytes.begin() + static_cast<std::ptrdiff_t>(i),
                            shrunk.bytes.begin() + static_cast<std::ptrdiff_t>(i) + 4),
                      (Bytes{1, 128, 255, 255}));
        }
    }
}

TEST(AreaScaler, LargePicturesDoNotOverflow) {
    constexpr PictureSize kSize{4096, 4096};
    const Bytes white(std::size_t{kSize.width} * kSize.height * 4, 255);
    const Shrunk shrunk = Shrink(white, kSize, {1, 1});
    EXPECT_EQ(shrunk.bytes, (Bytes{255, 255, 255, 255}));
    EXPECT_TRUE(shrunk.isOpaque);
}

}  // namespace
}  // namespace koru_wic
