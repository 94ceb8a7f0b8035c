#include "pvr/pvrtc_decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "test_files.h"

namespace koru {
namespace {

struct Block {
    std::uint32_t modulation = 0;
    std::uint32_t colors = 0;
};

constexpr std::uint32_t kAllBits = 0xFFFFFFFF;

/// 5 bits each.
constexpr std::uint32_t Opaque(std::uint32_t r, std::uint32_t g, std::uint32_t b) {
    return 0x8000 | r << 10 | g << 5 | b;
}

/// 3 bits of alpha, 4 of each other channel.
constexpr std::uint32_t Translucent(std::uint32_t a, std::uint32_t r, std::uint32_t g,
                                    std::uint32_t b) {
    return a << 12 | r << 8 | g << 4 | b;
}

constexpr std::uint32_t Colors(std::uint32_t a, std::uint32_t b, std::uint32_t flag = 0) {
    return b << 16 | (a & 0xFFFE) | flag;
}

// From color A, black, to color B, white: a weight of n eighths is 255 * n / 8.
constexpr std::uint32_t kBlackToWhite = Colors(Opaque(0, 0, 0), Opaque(31, 31, 31));
constexpr std::uint32_t kBlackToWhiteFlagged = kBlackToWhite | 1;

Bytes MakePayload(const std::vector<Block>& blocks) {
    Bytes payload;
    for (const Block& block : blocks) {
        for (const std::uint32_t word : {block.modulation, block.colors}) {
            for (unsigned shift = 0; shift < 32; shift += 8)
                payload.push_back(static_cast<std::uint8_t>(word >> shift));
        }
    }
    return payload;
}

/// Decodes exact copies, into a destination with contents.
Bytes Decode(bool is2Bpp, const Bytes& payload, std::int32_t width, std::int32_t height,
             std::int32_t reserved = 0) {
    const Bytes source(payload.begin(), payload.end());
    Bytes destination(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4, 0xA7);
    PvrtcDecompress(source, is2Bpp, width, height, reserved, destination.data());
    return destination;
}

Bytes Decode4(const std::vector<Block>& blocks, std::int32_t width, std::int32_t height) {
    return Decode(false, MakePayload(blocks), width, height);
}

Bytes Decode2(const std::vector<Block>& blocks, std::int32_t width, std::int32_t height) {
    return Decode(true, MakePayload(blocks), width, height);
}

Bytes GetPixel(const Bytes& image, std::size_t width, std::size_t x, std::size_t y) {
    const auto begin = image.begin() + static_cast<std::ptrdiff_t>((y * width + x) * 4);
    return {begin, begin + 4};
}

/// One channel of one row.
Bytes GetRow(const Bytes& image, std::size_t width, std::size_t y, std::size_t channel = 0) {
    Bytes values;
    for (std::size_t x = 0; x < width; ++x) values.push_back(image[(y * width + x) * 4 + channel]);
    return values;
}

/// The pixel that all of an image is, or none.
Bytes GetOnlyPixel(const Bytes& image) {
    Bytes first = GetPixel(image, 1, 0, 0);
    for (std::size_t i = 4; i < image.size(); ++i) {
        if (image[i] != first[i % 4]) return {};
    }
    return first;
}

// Colors. Four equal blocks make an image of one color: A where no bit of the modulation is set, B
// where all are. 5 bits become 8 as 8 * n + n / 4, 4 bits of alpha as 16 * n + n.

Bytes GetColorA(std::uint32_t colors) {
    const std::vector<Block> blocks(4, Block{.modulation = 0, .colors = colors});
    Bytes pixel = GetOnlyPixel(Decode4(blocks, 8, 8));
    EXPECT_EQ(GetOnlyPixel(Decode2(blocks, 16, 8)), pixel);
    return pixel;
}

Bytes GetColorB(std::uint32_t colors) {
    const std::vector<Block> blocks(4, Block{.modulation = kAllBits, .colors = colors});
    Bytes pixel = GetOnlyPixel(Decode4(blocks, 8, 8));
    EXPECT_EQ(GetOnlyPixel(Decode2(blocks, 16, 8)), pixel);
    return pixel;
}

TEST(PvrtcColor, UnpacksOpaqueColors) {
    // 21 -> 168 + 5, 10 -> 80 + 2, 17 -> 136 + 4.
    EXPECT_EQ(GetColorA(Colors(Opaque(21, 10, 17), 0x8000)), (Bytes{173, 82, 140, 255}));
    EXPECT_EQ(GetColorB(Colors(0x8000, Opaque(21, 10, 17))), (Bytes{173, 82, 140, 255}));
    EXPECT_EQ(GetColorA(Colors(Opaque(31, 31, 31), 0x8000)), (Bytes{255, 255, 255, 255}));
    EXPECT_EQ(GetColorA(Colors(Opaque(0, 0, 0), 0xFFFF)), (Bytes{0, 0, 0, 255}));
}

TEST(PvrtcColor, ClearsTheFlagInColorA) {
    // Blue 15 without its low bit is 14 -> 112 + 3, with the flag as without.
    for (const std::uint32_t flag : {0u, 1u}) {
        EXPECT_EQ(GetColorA(Colors(Opaque(0, 0, 15), 0x8000, flag)), (Bytes{0, 0, 115, 255}));
        EXPECT_EQ(GetColorB(Colors(0x8000, Opaque(0, 0, 15), flag)), (Bytes{0, 0, 123, 255}));
    }
}

TEST(PvrtcColor, RepeatsTheTopOfOpaqueBlueInAOnly) {
    // Blue 16: 17 -> 140 in A, 16 -> 132 in B.
    const std::uint32_t colors = Colors(Opaque(0, 0, 16), Opaque(0, 0, 16));
    EXPECT_EQ(GetColorA(colors), (Bytes{0, 0, 140, 255}));
    EXPECT_EQ(GetColorB(colors), (Bytes{0, 0, 132, 255}));
    // One bit lower, there is nothing to repeat: 8 -> 66.
    EXPECT_EQ(GetColorA(Colors(Opaque(0, 0, 8), 0x8000)), (Bytes{0, 0, 66, 255}));
}

TEST(PvrtcColor, UnpacksTranslucentA) {
    // Red 9: 18 | 1 = 19 -> 156. Green 6: 12 -> 99. Blue 9, low bit cleared, 8: 16 | 2 = 18 -> 148.
    // Alpha 5: 10 -> 170.
    EXPECT_EQ(GetColorA(Colors(Translucent(5, 9, 6, 9), 0x8000)), (Bytes{156, 99, 148, 170}));
    // Red 6: 99. Green 9: 156. Blue 6: 12 | 1 = 13 -> 107. Alpha 2: 4 -> 68.
    EXPECT_EQ(GetColorA(Colors(Translucent(2, 6, 9, 6), 0x8000)), (Bytes{99, 156, 107, 68}));
    // The most: blue 14: 28 | 3 = 31. Alpha 7: 14 -> 238.
    EXPECT_EQ(GetColorA(Colors(Translucent(7, 15, 15, 15), 0x8000)), (Bytes{255, 255, 255, 238}));
    EXPECT_EQ(GetColorA(Colors(Translucent(0, 0, 0, 1), 0x8000)), (Bytes{0, 0, 0, 0}));
}

TEST(PvrtcColor, UnpacksTranslucentBWithoutRepeatingBlue) {
    // Blue 9: 18 -> 148, where 18 | 1 = 19 would give 156.
    EXPECT_EQ(GetColorB(Colors(0x8000, Translucent(5, 9, 6, 9))), (Bytes{156, 99, 148, 170}));
    // Blue 15: 30 -> 247.
    EXPECT_EQ(GetColorB(Colors(0x8000, Translucent(7, 15, 15, 15))), (Bytes{255, 255, 247, 238}));
    EXPECT_EQ(GetColorB(Colors(0x8000, Translucent(2, 6, 9, 6))), (Bytes{99, 156, 99, 68}));
}

TEST(PvrtcColor, TranslucentBChangesTheBlueOfA) {
    // A's blue 8: 16 | 2 = 18 -> 148; a translucent B makes it 18 | 1 = 19 -> 156.
    EXPECT_EQ(GetColorA(Colors(Translucent(5, 9, 6, 8), Opaque(1, 2, 3)))[2], 148);
    EXPECT_EQ(GetColorA(Colors(Translucent(5, 9, 6, 8), Translucent(1, 2, 3, 4)))[2], 156);
    EXPECT_EQ(GetColorA(Colors(Translucent(5, 9, 6, 8), Translucent(0, 0, 0, 0))),
              (Bytes{156, 99, 156, 170}));
    // A's blue 4: 8 | 1 = 9 -> 74 has no top bit to repeat.
    EXPECT_EQ(GetColorA(Colors(Translucent(5, 9, 6, 4), Translucent(1, 2, 3, 4)))[2], 74);
    // An opaque A has repeated its top bit already.
    EXPECT_EQ(GetColorA(Colors(Opaque(0, 0, 16), Translucent(1, 2, 3, 4)))[2], 140);
    EXPECT_EQ(GetColorA(Colors(Opaque(0, 0, 10), Translucent(1, 2, 3, 4)))[2], 82);
}

// Modulation. Weights of 0, 1, 2, 3, 4, 5, 8 eighths are 0, 31, 63, 95, 127, 159, 255.

TEST(PvrtcModulation4Bpp, HasFourWeights) {
    // Values 0, 1, 2, 3 in each row.
    const Bytes image = Decode4(std::vector<Block>(4, {0xE4E4E4E4, kBlackToWhite}), 8, 8);
    for (std::size_t y = 0; y < 8; ++y) {
        EXPECT_EQ(GetRow(image, 8, y), (Bytes{0, 95, 159, 255, 0, 95, 159, 255}));
        EXPECT_EQ(GetRow(image, 8, y, 3), Bytes(8, 255));
    }
}

TEST(PvrtcModulation4Bpp, FlaggedBlockPunchesThroughAtValue2) {
    const Bytes image = Decode4(std::vector<Block>(4, {0xE4E4E4E4, kBlackToWhiteFlagged}), 8, 8);
    for (std::size_t y = 0; y < 8; ++y) {
        for (std::size_t channel = 0; channel < 3; ++channel)
            EXPECT_EQ(GetRow(image, 8, y, channel), (Bytes{0, 127, 127, 255, 0, 127, 127, 255}));
        EXPECT_EQ(GetRow(image, 8, y, 3), (Bytes{255, 255, 0, 255, 255, 255, 0, 255}));
    }
}

TEST(PvrtcModulation4Bpp, FlagCountsForItsBlockAlone) {
    const Block plain{0xAAAAAAAA, kBlackToWhite}, flagged{0xAAAAAAAA, kBlackToWhiteFlagged};
    // The second block of the payload lies below the first.
    const Bytes image = Decode4({plain, flagged, plain, plain}, 8, 8);
    for (std::size_t y = 0; y < 8; ++y) {
        const Bytes left = y < 4 ? Bytes(4, 159) : Bytes(4, 127);
        const Bytes row = GetRow(image, 8, y);
        EXPECT_EQ(Bytes(row.begin(), row.begin() + 4), left) << y;
        EXPECT_EQ(Bytes(row.begin() + 4, row.end()), Bytes(4, 159)) << y;
        EXPECT_EQ(GetRow(image, 8, y, 3)[1], y < 4 ? 255 : 0) << y;
    }
}

TEST(PvrtcModulation4Bpp, BlendsDownwardsToo) {
    // White to black: (2040 - 255 * 3) / 8 = 159, (2040 - 255 * 5) / 8 = 95.
    const std::uint32_t colors = Colors(Opaque(31, 31, 31), Opaque(0, 0, 0));
    const Bytes image = Decode4(std::vector<Block>(4, {0xE4E4E4E4, colors}), 8, 8);
    EXPECT_EQ(GetRow(image, 8, 3), (Bytes{255, 159, 95, 0, 255, 159, 95, 0}));
}

TEST(PvrtcModulation4Bpp, BlendsAlpha) {
    // 170 to 0: (1360 - 170 * 3) / 8 = 106.25, (1360 - 170 * 5) / 8 = 63.75.
    const std::uint32_t colors = Colors(Translucent(5, 0, 0, 0), Translucent(0, 0, 0, 0));
    const Bytes image = Decode4(std::vector<Block>(4, {0xE4E4E4E4, colors}), 8, 8);
    EXPECT_EQ(GetRow(image, 8, 0, 3), (Bytes{170, 106, 63, 0, 170, 106, 63, 0}));
}

/// Where the blocks of a grid of 2 x 2 lie, in the order of the payload.
constexpr std::array<std::array<std::size_t, 2>, 4> kColumnRow{{{0, 0}, {0, 1}, {1, 0}, {1, 1}}};

TEST(PvrtcModulation4Bpp, StoresPixelsRowByRowFromTheLowestBits) {
    for (std::size_t block = 0; block < 4; ++block) {
        for (std::size_t i = 0; i < 16; ++i) {
            std::vector<Block> blocks(4, {0, kBlackToWhite});
            blocks[block].modulation = 3u << 2 * i;
            Bytes expected(64, 0);
            expected[(kColumnRow[block][1] * 4 + i / 4) * 8 + kColumnRow[block][0] * 4 + i % 4] =
                255;
            const Bytes image = Decode4(blocks, 8, 8);
            EXPECT_EQ(GetRow(image, 64, 0), expected) << block << ", " << i;
        }
    }
}

TEST(PvrtcModulation2Bpp, StoresPixelsRowByRowFromTheLowestBits) {
    for (std::size_t block = 0; block < 4; ++block) {
        for (std::size_t i = 0; i < 32; ++i) {
            std::vector<Block> blocks(4, {0, kBlackToWhite});
            blocks[block].modulation = 1u << i;
            Bytes expected(128, 0);
            expected[(kColumnRow[block][1] * 4 + i / 8) * 16 + kColumnRow[block][0] * 8 + i % 8] =
                255;
            const Bytes image = Decode2(blocks, 16, 8);
            EXPECT_EQ(GetRow(image, 128, 0), expected) << block << ", " << i;
        }
    }
}

TEST(PvrtcModulation2Bpp, FlaggedBlockAveragesFourNeighborsAtOddPlaces) {
    std::vector<Block> blocks(4, {0, kBlackToWhiteFlagged});
    // Values 0, 1, 2, 3 at x = 0, 2, 4, 6 of row 0: weights 0, 3, 5, 8. All other values are 0.
    blocks[0].modulation = 0xE4;
    const Bytes image = Decode2(blocks, 16, 8);
    // (3 + 2) / 4 = 1, (3 + 5 + 2) / 4 = 2, (5 + 8 + 2) / 4 = 3, (8 + 2) / 4 = 2.
    EXPECT_EQ(GetRow(image, 16, 0),
              (Bytes{0, 31, 95, 63, 159, 95, 255, 63, 0, 0, 0, 0, 0, 0, 0, 0}));
    // Below, and above by way of the other edge: (3 + 2) / 4, (5 + 2) / 4, (8 + 2) / 4.
    const Bytes beside{0, 0, 31, 0, 31, 0, 63, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(GetRow(image, 16, 1), beside);
    EXPECT_EQ(GetRow(image, 16, 7), beside);
    for (std::size_t y = 2; y < 7; ++y) EXPECT_EQ(GetRow(image, 16, y), Bytes(16, 0)) << y;
    EXPECT_EQ(GetRow(image, 128, 0, 3), Bytes(128, 255));
}

TEST(PvrtcModulation2Bpp, AverageRoundsHalvesUp) {
    std::vector<Block> blocks(4, {0, kBlackToWhiteFlagged});
    // Value 2, weight 5, at x = 0 and 2 of row 0. (5 + 5 + 2) / 4 = 3, (5 + 2) / 4 = 1.
    blocks[0].modulation = 0x0A;
    EXPECT_EQ(GetRow(Decode2(blocks, 16, 8), 16, 0),
              (Bytes{159, 95, 159, 31, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 31}));
}

TEST(PvrtcModulation2Bpp, AverageReachesAcrossTheSideEdges) {
    std::vector<Block> blocks(4, {0, kBlackToWhiteFlagged});
    // The right block of the upper row has its weight 8 at x = 15, y = 1, the last even place of
    // row 1.
    blocks[2].modulation = 3u << 14;
    const Bytes image = Decode2(blocks, 16, 8);
    EXPECT_EQ(GetRow(image, 16, 0), (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 63}));
    EXPECT_EQ(GetRow(image, 16, 1), (Bytes{63, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 63, 255}));
    EXPECT_EQ(GetRow(image, 16, 2), (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 63}));
    for (std::size_t y = 3; y < 8; ++y) EXPECT_EQ(GetRow(image, 16, y), Bytes(16, 0)) << y;
}

TEST(PvrtcModulation2Bpp, RowsOfAFlaggedBlockTakeAByteEach) {
    std::vector<Block> blocks(4, {0, kBlackToWhiteFlagged});
    // Row 3 stores x = 1, 3, 5, 7; value 3 at x = 3 of the lower left block, y = 7.
    blocks[1].modulation = 0x0Cu << 24;
    const Bytes image = Decode2(blocks, 16, 8);
    EXPECT_EQ(GetRow(image, 16, 7), (Bytes{0, 0, 63, 255, 63, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(GetRow(image, 16, 6), (Bytes{0, 0, 0, 63, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(GetRow(image, 16, 0), (Bytes{0, 0, 0, 63, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(PvrtcModulation2Bpp, FlaggedBlockAveragesWithPlainNeighbors) {
    std::vector<Block> blocks(4, {0, kBlackToWhite});
    // The plain block at the right has x = 8, y = 0 set: its weight 8 counts for x = 7, y = 0. Its
    // own odd places are stored, too: x = 9, y = 0.
    blocks[0].colors = kBlackToWhiteFlagged;
    blocks[2].modulation = 3;
    const Bytes image = Decode2(blocks, 16, 8);
    EXPECT_EQ(GetRow(image, 16, 0), (Bytes{0, 0, 0, 0, 0, 0, 0, 63, 255, 255, 0, 0, 0, 0, 0, 0}));
    for (std::size_t y = 1; y < 8; ++y) EXPECT_EQ(GetRow(image, 16, y), Bytes(16, 0)) << y;
}

TEST(PvrtcModulation2Bpp, NoStoredBitChoosesTwoNeighborsOnly) {
    const auto decode = [](std::uint32_t modulation) {
        return Decode2(std::vector<Block>(4, {modulation, kBlackToWhiteFlagged}), 16, 8);
    };
    EXPECT_EQ(GetRow(decode(kAllBits), 128, 0), Bytes(128, 255));
    // The low bits of the values at (0, 0) and (4, 2) are clear: 2, a weight of 5, and no more. The
    // four places around each have (5 + 8 + 8 + 8 + 2) / 4 = 7, which is 223.
    const Bytes image = decode(0xFFEFFFFE);
    for (std::size_t y = 0; y < 8; y += 4) {
        EXPECT_EQ(GetRow(image, 16, y), (Bytes{159, 223, 255, 255, 255, 255, 255, 223,  //
                                               159, 223, 255, 255, 255, 255, 255, 223}));
        EXPECT_EQ(GetRow(image, 16, y + 1), (Bytes{223, 255, 255, 255, 223, 255, 255, 255,  //
                                                   223, 255, 255, 255, 223, 255, 255, 255}));
        EXPECT_EQ(GetRow(image, 16, y + 2), (Bytes{255, 255, 255, 223, 159, 223, 255, 255,  //
                                                   255, 255, 255, 223, 159, 223, 255, 255}));
        EXPECT_EQ(GetRow(image, 16, y + 3), (Bytes{223, 255, 255, 255, 223, 255, 255, 255,  //
                                                   223, 255, 255, 255, 223, 255, 255, 255}));
    }
}

// Interpolation and edges. The centers of blocks are at pixel 2 of 4, or 4 of 8, and 2 of 4 down.

/// Four blocks of which the last, at the bottom right, alone has this color; the others have the
/// one that `others` names.
std::vector<Block> LightLastBlock(std::uint32_t last, std::uint32_t others) {
    std::vector<Block> blocks(4, {0, Colors(others, others)});
    blocks[3].colors = Colors(last, last);
    return blocks;
}

TEST(PvrtcInterpolation, FourBppColorsWrapAroundTheEdges) {
    const Bytes image = Decode4(LightLastBlock(Opaque(31, 0, 0), Opaque(0, 0, 0)), 8, 8);
    // Parts of 4 across: 2 1 0 1 2 3 4 3, likewise down. 31 * parts / 2, and its top bits: 16 ->
    // 248
    // + 7, 12 -> 186 + 5, 9 -> 139 + 4, 8 -> 124 + 3, 6 -> 93 + 2, 4 -> 62 + 1, 3 -> 46 + 1, 2 ->
    // 31, 1 -> 15.
    const Bytes four{127, 63, 0, 63, 127, 191, 255, 191};
    const Bytes three{95, 47, 0, 47, 95, 143, 191, 143};
    const Bytes two{63, 31, 0, 31, 63, 95, 127, 95};
    const Bytes one{31, 15, 0, 15, 31, 47, 63, 47};
    const std::array rows{two, one, Bytes(8, 0), one, two, three, four, three};
    for (std::size_t y = 0; y < rows.size(); ++y) {
        EXPECT_EQ(GetRow(image, 8, y, 0), rows[y]) << y;
        EXPECT_EQ(GetRow(image, 8, y, 3), Bytes(8, 255)) << y;
    }
}

TEST(PvrtcInterpolation, FourBppAlphaWrapsAroundTheEdges) {
    const Bytes image = Decode4(LightLastBlock(Translucent(7, 0, 0, 0), 0), 8, 8);
    // 14 * parts, and its top bits: 16 -> 224 + 14, 12 -> 168 + 10, 9 -> 126 + 7, 8 -> 112 + 7, 6
    // -> 84 + 5, 4 -> 56 + 3, 3 -> 42 + 2, 2 -> 28 + 1, 1 -> 14.
    const Bytes four{119, 59, 0, 59, 119, 178, 238, 178};
    const Bytes three{89, 44, 0, 44, 89, 133, 178, 133};
    const Bytes two{59, 29, 0, 29, 59, 89, 119, 89};
    const Bytes one{29, 14, 0, 14, 29, 44, 59, 44};
    const std::array rows{two, one, Bytes(8, 0), one, two, three, four, three};
    for (std::size_t y = 0; y < rows.size(); ++y) EXPECT_EQ(GetRow(image, 8, y, 3), rows[y]) << y;
}

TEST(PvrtcInterpolation, TwoBppColorsHaveEightStepsAcross) {
    const Bytes image = Decode2(LightLastBlock(Opaque(31, 0, 0), Opaque(0, 0, 0)), 16, 8);
    // Parts of 8 across: 4 3 2 1 0 1 2 3 4 5 6 7 8 7 6 5. Row 6 has 4 of 4 down: 31 * parts, and
    // its top bits. Row 1 has 1 of 4: 31 * parts / 4.
    EXPECT_EQ(GetRow(image, 16, 6),
              (Bytes{127, 95, 63, 31, 0, 31, 63, 95, 127, 159, 191, 223, 255, 223, 191, 159}));
    EXPECT_EQ(GetRow(image, 16, 1),
              (Bytes{31, 23, 15, 7, 0, 7, 15, 23, 31, 39, 47, 55, 63, 55, 47, 39}));
    EXPECT_EQ(GetRow(image, 16, 2), Bytes(16, 0));
}

TEST(PvrtcInterpolation, TwoBppAlphaHasEightStepsAcross) {
    const Bytes image = Decode2(LightLastBlock(Translucent(7, 0, 0, 0), 0), 16, 8);
    // Row 6: 28 * parts, and its top bits. Row 1: 7 * parts.
    EXPECT_EQ(GetRow(image, 16, 6, 3),
              (Bytes{119, 89, 59, 29, 0, 29, 59, 89, 119, 148, 178, 208, 238, 208, 178, 148}));
    EXPECT_EQ(GetRow(image, 16, 1, 3),
              (Bytes{29, 22, 14, 7, 0, 7, 14, 22, 29, 37, 44, 52, 59, 52, 44, 37}));
}

TEST(PvrtcSmallImage, FourByFourReadsFourBlocks) {
    // Each block has a channel of its own; opaque blue 30 | 1 is 31.
    const std::uint32_t black = Opaque(0, 0, 0);
    const std::vector<Block> blocks{{0, Colors(black, black)},
                                    {0, Colors(Opaque(0, 31, 0), black)},
                                    {0, Colors(Opaque(0, 0, 31), black)},
                                    {0, Colors(Opaque(31, 0, 0), black)}};
    const Bytes image = Decode4(blocks, 4, 4);
    // All pixels are between the center of the last block, at (2, 2), and those to the right of it
    // and below, which are the first column and row. Its parts of 4 are 2 1 4 3, theirs 2 3 0 1.
    EXPECT_EQ(GetRow(image, 4, 2, 0), (Bytes{127, 63, 255, 191}));
    EXPECT_EQ(GetRow(image, 4, 3, 0), (Bytes{95, 47, 191, 143}));
    EXPECT_EQ(GetRow(image, 4, 0, 0), (Bytes{63, 31, 127, 95}));
    EXPECT_EQ(GetRow(image, 4, 1, 0), (Bytes{31, 15, 63, 47}));
    EXPECT_EQ(GetRow(image, 4, 2, 1), (Bytes{127, 191, 0, 63}));
    EXPECT_EQ(GetRow(image, 4, 1, 1), (Bytes{31, 47, 0, 15}));
    EXPECT_EQ(GetRow(image, 4, 2, 2), Bytes(4, 0));
    EXPECT_EQ(GetRow(image, 4, 1, 2), (Bytes{95, 47, 191, 143}));
    EXPECT_EQ(GetRow(image, 4, 0, 3), Bytes(4, 255));
}

TEST(PvrtcSmallImage, FourByFourTakesAQuarterOfEachBlock) {
    for (std::size_t block = 0; block < 4; ++block) {
        std::vector<Block> blocks(4, {0, kBlackToWhite});
        blocks[block].modulation = kAllBits;
        const Bytes image = Decode4(blocks, 4, 4);
        for (std::size_t y = 0; y < 4; ++y) {
            for (std::size_t x = 0; x < 4; ++x) {
                const bool isInside =
                    x / 2 == kColumnRow[block][0] && y / 2 == kColumnRow[block][1];
                EXPECT_EQ(image[(y * 4 + x) * 4], isInside ? 255 : 0) << block << x << y;
            }
        }
    }
}

TEST(PvrtcSmallImage, EightByEightAt2BppTakesHalfOfEachBlock) {
    for (std::size_t block = 0; block < 4; ++block) {
        std::vector<Block> blocks(4, {0, kBlackToWhite});
        blocks[block].modulation = kAllBits;
        const Bytes image = Decode2(blocks, 8, 8);
        for (std::size_t y = 0; y < 8; ++y) {
            for (std::size_t x = 0; x < 8; ++x) {
                const bool isInside =
                    x / 4 == kColumnRow[block][0] && y / 4 == kColumnRow[block][1];
                EXPECT_EQ(image[(y * 8 + x) * 4], isInside ? 255 : 0) << block << x << y;
            }
        }
    }
}

TEST(PvrtcSmallImage, EightByEightAt2BppWrapsInside) {
    const Bytes image = Decode2(LightLastBlock(Opaque(31, 0, 0), Opaque(0, 0, 0)), 8, 8);
    // The last column of blocks has its center at x = 4, and the first one follows at 12: parts of
    // 8 are 4 3 2 1 8 7 6 5. Row 6 has 4 of 4, row 1 has 1 of 4, and row 2 is the first row's.
    EXPECT_EQ(GetRow(image, 8, 6), (Bytes{127, 95, 63, 31, 255, 223, 191, 159}));
    EXPECT_EQ(GetRow(image, 8, 1), (Bytes{31, 23, 15, 7, 63, 55, 47, 39}));
    EXPECT_EQ(GetRow(image, 8, 2), Bytes(8, 0));
}

TEST(PvrtcSmallImage, OnePixelIsTheMiddleOfFourBlocks) {
    // A quarter of red 31: 124 / 2 = 62 + 1, or 248 / 4 = 62 + 1. The first block modulates.
    std::vector<Block> blocks = LightLastBlock(Opaque(31, 0, 0), Opaque(0, 0, 0));
    EXPECT_EQ(Decode4(blocks, 1, 1), (Bytes{63, 0, 0, 255}));
    EXPECT_EQ(Decode2(blocks, 1, 1), (Bytes{63, 0, 0, 255}));
    for (Block& block : blocks) block.colors = kBlackToWhite;
    blocks[0].modulation = 1;
    EXPECT_EQ(Decode4(blocks, 1, 1), (Bytes{95, 95, 95, 255}));
    EXPECT_EQ(Decode2(blocks, 1, 1), (Bytes{255, 255, 255, 255}));
}

// The order of blocks. At the center of a block its color is alone: red n is 8 * n + n / 4.

/// The number of the payload's block that is seen at each center, row by row.
std::vector<int> GetOrder(bool is2Bpp, std::int32_t columns, std::int32_t rows) {
    std::vector<Block> blocks;
    for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(columns * rows); ++i)
        blocks.push_back({0, Colors(Opaque(i, 0, 0), Opaque(i, 0, 0))});
    const std::int32_t blockWidth = is2Bpp ? 8 : 4;
    const std::int32_t width = columns * blockWidth;
    const Bytes image = Decode(is2Bpp, MakePayload(blocks), width, rows * 4);
    std::vector<int> order;
    for (std::int32_t row = 0; row < rows; ++row) {
        for (std::int32_t column = 0; column < columns; ++column) {
            const std::int32_t x = column * blockWidth + blockWidth / 2, y = row * 4 + 2;
            order.push_back(image[static_cast<std::size_t>(y * width + x) * 4] / 8);
        }
    }
    return order;
}

TEST(PvrtcOrder, TwiddlesSquareGridsDownFirst) {
    const std::vector<int> two{0, 2, 1, 3};
    const std::vector<int> four{0, 2, 8, 10, 1, 3, 9, 11, 4, 6, 12, 14, 5, 7, 13, 15};
    for (const bool is2Bpp : {false, true}) {
        EXPECT_EQ(GetOrder(is2Bpp, 2, 2), two);
        EXPECT_EQ(GetOrder(is2Bpp, 4, 4), four);
    }
}

TEST(PvrtcOrder, PutsTheRestOfWideGridsAbove) {
    for (const bool is2Bpp : {false, true}) {
        EXPECT_EQ(GetOrder(is2Bpp, 4, 2), (std::vector<int>{0, 2, 4, 6, 1, 3, 5, 7}));
        EXPECT_EQ(GetOrder(is2Bpp, 8, 2), (std::vector<int>{0, 2, 4, 6, 8, 10, 12, 14,  //
                                                            1, 3, 5, 7, 9, 11, 13, 15}));
        EXPECT_EQ(GetOrder(is2Bpp, 8, 4), (std::vector<int>{0, 2, 8,  10, 16, 18, 24, 26,  //
                                                            1, 3, 9,  11, 17, 19, 25, 27,  //
                                                            4, 6, 12, 14, 20, 22, 28, 30,  //
                                                            5, 7, 13, 15, 21, 23, 29, 31}));
    }
}

TEST(PvrtcOrder, PutsTheRestOfTallGridsAbove) {
    for (const bool is2Bpp : {false, true}) {
        EXPECT_EQ(GetOrder(is2Bpp, 2, 4), (std::vector<int>{0, 2, 1, 3, 4, 6, 5, 7}));
        EXPECT_EQ(GetOrder(is2Bpp, 2, 8), (std::vector<int>{0, 2, 1, 3, 4, 6, 5, 7,  //
                                                            8, 10, 9, 11, 12, 14, 13, 15}));
        EXPECT_EQ(
            GetOrder(is2Bpp, 4, 8),
            (std::vector<int>{0,  2,  8,  10, 1,  3,  9,  11, 4,  6,  12, 14, 5,  7,  13, 15,
                              16, 18, 24, 26, 17, 19, 25, 27, 20, 22, 28, 30, 21, 23, 29, 31}));
    }
}

// Unusual arguments.

TEST(PvrtcDecompress, ReadsBlocksOutsideOfThePayloadAsZeros) {
    const std::vector<Block> blocks(4, {kAllBits, Colors(0xFFFE, 0xFFFF)});
    Bytes payload = MakePayload(blocks);
    payload.pop_back();  // the last block goes with its last byte
    const Bytes image = Decode(false, payload, 8, 8);
    EXPECT_EQ(GetPixel(image, 8, 2, 2), Bytes(4, 255));
    EXPECT_EQ(GetPixel(image, 8, 6, 2), Bytes(4, 255));
    EXPECT_EQ(GetPixel(image, 8, 6, 6), Bytes(4, 0));
    EXPECT_EQ(GetOnlyPixel(Decode(false, {}, 8, 8)), Bytes(4, 0));
    EXPECT_EQ(GetOnlyPixel(Decode(true, {}, 16, 16)), Bytes(4, 0));
}

TEST(PvrtcDecompress, SizesWithoutPowersOfTwoWrapOddly) {
    // 3 x 3 blocks lie at places 0 2 8, 1 3 9, 4 6 12 of the payload, of which 9 and 12 are
    // outside.
    std::vector<Block> blocks(9, {0, Colors(Opaque(0, 0, 0), Opaque(0, 0, 0))});
    blocks[0].colors = Colors(Opaque(31, 0, 0), Opaque(0, 0, 0));
    blocks[1].colors = Colors(Opaque(31, 0, 0), Opaque(0, 31, 0));
    blocks[3] = {kAllBits, Colors(Opaque(0, 0, 30), Opaque(31, 31, 31))};
    const Bytes image = Decode4(blocks, 12, 12);
    // The area at (0, 0) has the first block all around.
    EXPECT_EQ(GetPixel(image, 12, 0, 0), (Bytes{255, 0, 0, 255}));
    EXPECT_EQ(GetPixel(image, 12, 1, 1), (Bytes{255, 0, 0, 255}));
    // The area at (1, 1) lies over that at (0, 0): pixel 6 & 11 is 2. Its modulation is block (1,
    // 1)'s, its color that of (0, 1), the wrapped neighbor of column 0: 1 & 2 is 0.
    EXPECT_EQ(GetPixel(image, 12, 2, 2), (Bytes{0, 255, 0, 255}));
    // The neighbor of column 1 is 2 & 2, block (2, 1), which is missing.
    EXPECT_EQ(GetPixel(image, 12, 10, 2), Bytes(4, 0));
    // 11 has no bit 2, so pixels 4 to 7 are never reached.
    for (std::size_t i = 4; i < 8; ++i) {
        EXPECT_EQ(GetPixel(image, 12, i, 0), Bytes(4, 0)) << i;
        EXPECT_EQ(GetPixel(image, 12, 0, i), Bytes(4, 0)) << i;
    }
}

TEST(PvrtcDecompress, ClearsPixelsThatAreNeverReached) {
    const Bytes white = MakePayload(std::vector<Block>(64, {kAllBits, Colors(0xFFFE, 0xFFFF)}));
    // 5 - 1 has bit 2 alone: columns 0 and 4 are reached.
    const Bytes narrow = Decode(false, white, 5, 8);
    const Bytes flat = Decode(false, white, 8, 5);
    for (std::size_t y = 0; y < 8; ++y)
        EXPECT_EQ(GetRow(narrow, 5, y), (Bytes{255, 0, 0, 0, 255})) << y;
    for (std::size_t y = 0; y < 5; ++y)
        EXPECT_EQ(GetRow(flat, 8, y), Bytes(8, y % 4 == 0 ? 255 : 0)) << y;
}

TEST(PvrtcDecompress, WritesNothingWithoutPixels) {
    const Bytes payload = MakePayload(std::vector<Block>(4, {kAllBits, kBlackToWhite}));
    for (const bool is2Bpp : {false, true}) {
        for (const std::array<std::int32_t, 2> size :
             {std::array{0, 8}, {8, 0}, {-8, 8}, {8, -8}, {-8, -8}, {0, 0}}) {
            Bytes destination(256, 0xA7);
            PvrtcDecompress(payload, is2Bpp, size[0], size[1], 0, destination.data());
            EXPECT_EQ(destination, Bytes(256, 0xA7)) << size[0] << " x " << size[1];
        }
    }
}

TEST(PvrtcDecompress, IgnoresTheReservedArgument) {
    const Bytes payload = MakePayload(std::vector<Block>(4, {0x12345678, kBlackToWhiteFlagged}));
    EXPECT_EQ(Decode(false, payload, 8, 8, 1), Decode(false, payload, 8, 8, 0));
    EXPECT_EQ(Decode(true, payload, 8, 8, -1), Decode(true, payload, 8, 8, 0));
}

TEST(PvrtcGetPayloadBytes, CountsWholeBlocksAndAtLeastTwoEachWay) {
    EXPECT_EQ(Pvrtc_GetPayloadBytes(false, 16, 16), 128u);
    EXPECT_EQ(Pvrtc_GetPayloadBytes(true, 16, 16), 64u);
    EXPECT_EQ(Pvrtc_GetPayloadBytes(true, 32, 16), 128u);
    EXPECT_EQ(Pvrtc_GetPayloadBytes(false, 32, 8), 128u);
    EXPECT_EQ(Pvrtc_GetPayloadBytes(false, 8, 32), 128u);
    for (const bool is2Bpp : {false, true}) {
        for (const std::uint32_t side : {0u, 1u, 4u, 8u})
            EXPECT_EQ(Pvrtc_GetPayloadBytes(is2Bpp, side, side), 32u) << side;
    }
    // Blocks that begin do not count.
    EXPECT_EQ(Pvrtc_GetPayloadBytes(false, 15, 12), 72u);
    EXPECT_EQ(Pvrtc_GetPayloadBytes(true, 31, 15), 72u);
    EXPECT_EQ(Pvrtc_GetPayloadBytes(false, 4, 64), 256u);
    EXPECT_EQ(Pvrtc_GetPayloadBytes(true, 64, 4), 128u);
}

TEST(PvrtcGetPayloadBytes, FailsAbove32Bits) {
    EXPECT_EQ(Pvrtc_GetPayloadBytes(false, 0x20000, 0xFFFF), 0xFFFC0000u);
    EXPECT_EQ(Pvrtc_GetPayloadBytes(false, 0x20000, 0x10000), std::nullopt);
    EXPECT_EQ(Pvrtc_GetPayloadBytes(true, 0x20000, 0x10000), 0x80000000u);
    EXPECT_EQ(Pvrtc_GetPayloadBytes(true, 0x40000, 0x10000), std::nullopt);
    // 0x10000 * 0x10000 blocks are 0 in 32 bits.
    EXPECT_EQ(Pvrtc_GetPayloadBytes(false, 0x40000, 0x40000), std::nullopt);
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
    EXPECT_EQ(Pvrtc_GetPayloadBytes(false, kMost, kMost), std::nullopt);
    EXPECT_EQ(Pvrtc_GetPayloadBytes(true, kMost, kMost), std::nullopt);
}

// The same once more, in the plainest way: every pixel by itself, nothing kept but the grid of
// modulation values and what a row's positions hand on.

class PlainDecoder {
  public:
    PlainDecoder(bool is2Bpp, const Bytes& payload, int width, int height)
        : is2Bpp_(is2Bpp),
          payload_(payload),
          width_(width),
          height_(height),
          blockWidth_(is2Bpp ? 8 : 4),
          columns_(std::max(width / blockWidth_, 2)),
          rows_(std::max(height / 4, 2)) {
        // Values that no block ever stored must not show.
        for (auto& row : values_) row.fill(2);
    }

    Bytes Decode() {
        Bytes image(Index(width_ * height_ * 4), 0);
        for (int row = 0; row < rows_; ++row) {
            for (int column = 0; column < columns_; ++column) {
                const int nextRow = (row + 1) & (rows_ - 1);
                const int nextColumn = (column + 1) & (columns_ - 1);
                ReadModulation(GetBlock(column, row), 0, 0);
                ReadModulation(GetBlock(column, nextRow), 0, 4);
                ReadModulation(GetBlock(nextColumn, row), blockWidth_, 0);
                ReadModulation(GetBlock(nextColumn, nextRow), blockWidth_, 4);
                // The colors at the left are those that were at the right one position before: of
                // column ((column - 1) + 1) & (columns - 1).
                const int leftColumn = column == 0 ? 0 : column & (columns_ - 1);
                const std::array<Block, 4> corners{
                    GetBlock(leftColumn, row), GetBlock(nextColumn, row),
                    GetBlock(leftColumn, nextRow), GetBlock(nextColumn, nextRow)};
                for (int j = 0; j < 4; ++j) {
                    for (int i = 0; i < blockWidth_; ++i) {
                        const int x = (column * blockWidth_ + blockWidth_ / 2 + i) & (width_ - 1);
                        const int y = (row * 4 + 2 + j) & (height_ - 1);
                        for (int channel = 0; channel < 4; ++channel) {
                            image[Index((y * width_ + x) * 4 + channel)] =
                                static_cast<std::uint8_t>(GetChannel(corners, x, y, channel));
                        }
                    }
                }
            }
        }
        return image;
    }

  private:
    static std::size_t Index(int value) { return static_cast<std::size_t>(value); }

    [[nodiscard]] Block GetBlock(int column, int row) const {
        const int smaller = std::min(columns_, rows_);
        std::size_t place = 0;
        int bit = 0;
        for (; (1 << bit) < smaller; ++bit) {
            place |= static_cast<std::size_t>(row >> bit & 1) << 2 * bit;
            place |= static_cast<std::size_t>(column >> bit & 1) << (2 * bit + 1);
        }
        place |= static_cast<std::size_t>((rows_ < columns_ ? column : row) >> bit) << 2 * bit;
        Block block;
        if (place * 8 + 8 > payload_.size()) return block;
        for (unsigned i = 0; i < 4; ++i) {
            block.modulation |= std::uint32_t{payload_[place * 8 + i]} << 8 * i;
            block.colors |= std::uint32_t{payload_[place * 8 + 4 + i]} << 8 * i;
        }
        return block;
    }

    void ReadModulation(const Block& block, int firstColumn, int firstRow) {
        std::uint32_t bits = block.modulation;
        const int flag = static_cast<int>(block.colors & 1);
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < blockWidth_; ++x) {
                const auto row = Index(firstRow + y);
                const auto column = Index(firstColumn + x);
                modes_[row][column] = flag;
                if (is2Bpp_ && flag == 0) {
                    values_[row][column] = (bits & 1) != 0 ? 3 : 0;
                    bits >>= 1;
                } else if (!is2Bpp_ || (x ^ y) % 2 == 0) {
                    values_[row][column] = bits & 3;
                    bits >>= 2;
                }
            }
        }
    }

    /// A channel of color A, or B, before interpolation.
    static int UnpackChannel(const Block& block, bool isB, int channel) {
        const std::uint32_t a = block.colors & 0xFFFE, b = block.colors >> 16;
        const std::uint32_t c = isB ? b : a;
        const bool isOpaque = c >= 0x8000;
        std::uint32_t value = 0;
        switch (channel) {
            case 0:
                value = isOpaque ? c >> 10 & 31 : c >> 7 & 30;
                if (!isOpaque) value |= value >> 4;
                break;
            case 1:
                value = isOpaque ? c >> 5 & 31 : c >> 3 & 30;
                if (!isOpaque) value |= value >> 4;
                break;
            case 2:
                value = isOpaque ? c & 31 : (c & 15) * 2;
                if (!isB) {
                    value |= isOpaque ? value >> 4 : value >> 3;
                    if (b < 0x8000) value |= value >> 4;
                }
                break;
            default:
                value = isOpaque ? 15 : c >> 11 & 14;
        }
        return static_cast<int>(value);
    }

    [[nodiscard]] int Interpolate(const std::array<Block, 4>& corners, bool isB, int x, int y,
                                  int channel) const {
        const int p = UnpackChannel(corners[0], isB, channel);
        const int q = UnpackChannel(corners[1], isB, channel);
        const int r = UnpackChannel(corners[2], isB, channel);
        const int s = UnpackChannel(corners[3], isB, channel);
        const int top = (q - p) * GetAcross(x) + p * blockWidth_;
        const int bottom = (s - r) * GetAcross(x) + r * blockWidth_;
        int value = (bottom - top) * GetDown(y) + top * 4;
        if (channel == 3) {
            if (is2Bpp_) value >>= 1;
            return value + (value >> 4);
        }
        value >>= is2Bpp_ ? 2 : 1;
        return value + (value >> 5);
    }

    [[nodiscard]] int GetWeight(int column, int row) const {
        constexpr std::array kWeights{0, 3, 5, 8};
        return kWeights[values_[Index(row)][Index(column)]];
    }

    [[nodiscard]] int GetChannel(const std::array<Block, 4>& corners, int x, int y,
                                 int channel) const {
        const int row = GetDown(y) + 2, column = GetAcross(x) + blockWidth_ / 2;
        const auto value = values_[Index(row)][Index(column)];
        const auto mode = modes_[Index(row)][Index(column)];
        int weight = 0;
        bool isPunchedThrough = false;
        if (mode == 0 || (is2Bpp_ && (column ^ row) % 2 == 0)) {
            weight = GetWeight(column, row);
        } else if (!is2Bpp_) {
            constexpr std::array kFlaggedWeights{0, 4, 4, 8};
            weight = kFlaggedWeights[value];
            isPunchedThrough = value == 2;
        } else {
            weight = (GetWeight(column, row - 1) + GetWeight(column, row + 1) +
                      GetWeight(column - 1, row) + GetWeight(column + 1, row) + 2) /
                     4;
        }
        if (isPunchedThrough && channel == 3) return 0;
        const int a = Interpolate(corners, false, x, y, channel);
        const int b = Interpolate(corners, true, x, y, channel);
        return (a * 8 + (b - a) * weight) >> 3;
    }

    [[nodiscard]] int GetAcross(int x) const { return (x + blockWidth_ / 2) % blockWidth_; }
    static int GetDown(int y) { return (y + 2) % 4; }

    bool is2Bpp_;
    const Bytes& payload_;
    int width_, height_, blockWidth_, columns_, rows_;
    std::array<std::array<std::uint32_t, 16>, 8> values_{};
    std::array<std::array<int, 16>, 8> modes_{};
};

/// Random blocks, a whole grid of them or, in one of four images, fewer bytes.
void CompareWithPlainDecoder(int width, int height, std::mt19937& random) {
    for (const bool is2Bpp : {false, true}) {
        Bytes payload(*Pvrtc_GetPayloadBytes(is2Bpp, static_cast<std::uint32_t>(width),
                                             static_cast<std::uint32_t>(height)));
        for (auto& value : payload) value = static_cast<std::uint8_t>(random());
        if (random() % 4 == 0) payload.resize(random() % payload.size());
        EXPECT_TRUE(Decode(is2Bpp, payload, width, height) ==
                    PlainDecoder(is2Bpp, payload, width, height).Decode())
            << width << " x " << height << (is2Bpp ? " at 2" : " at 4") << " bits, "
            << payload.size() << " bytes";
    }
}

TEST(PvrtcDecompress, EqualsThePlainDecoderForPowersOfTwo) {
    std::mt19937 random(44);
    for (int width = 1; width <= 64; width *= 2) {
        for (int height = 1; height <= 64; height *= 2) {
            for (int repeat = 0; repeat < 4; ++repeat)
                CompareWithPlainDecoder(width, height, random);
        }
    }
    CompareWithPlainDecoder(1024, 1, random);
    CompareWithPlainDecoder(1, 1024, random);
    CompareWithPlainDecoder(512, 16, random);
    CompareWithPlainDecoder(16, 512, random);
}

TEST(PvrtcDecompress, EqualsThePlainDecoderForOtherSizes) {
    std::mt19937 random(45);
    for (int width = 1; width <= 20; ++width) {
        for (int height = 1; height <= 20; ++height) CompareWithPlainDecoder(width, height, random);
    }
    for (const int side : {24, 36, 40, 48, 56, 65, 72}) {
        CompareWithPlainDecoder(side, side, random);
        CompareWithPlainDecoder(side, 8, random);
        CompareWithPlainDecoder(8, side, random);
    }
}

}  // namespace
}  // namespace koru
