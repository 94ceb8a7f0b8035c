#include "blocks/etc_decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "block_test_helpers.h"
#include "formats/gl_codes.h"

namespace koru {
namespace {

// In the color blocks below every pixel of row y has index y; in the EAC blocks pixel number k,
// counted down the columns, has index k mod 8. The colors are worked out from the definition.
using Pixel = std::vector<int>;

Bytes Concat(const std::vector<Bytes>& parts) {
    Bytes bytes;
    for (const Bytes& part : parts) bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

Bytes ColorBlock(const std::array<std::uint8_t, 4>& colors) {
    return {colors[0], colors[1], colors[2], colors[3], 0xCC, 0xCC, 0xAA, 0xAA};
}

Bytes EacBlock(std::uint8_t base, std::uint8_t multiplierAndTable) {
    return {base, multiplierAndTable, 0x05, 0x39, 0x77, 0x05, 0x39, 0x77};
}

/// Four rows, each with one pixel in its left half and one in its right.
Bytes Halves(const std::array<Pixel, 4>& left, const std::array<Pixel, 4>& right) {
    Bytes pixels;
    for (std::size_t y = 0; y < 4; ++y) {
        for (std::size_t x = 0; x < 4; ++x) {
            for (const int value : x < 2 ? left[y] : right[y])
                pixels.push_back(static_cast<std::uint8_t>(value));
        }
    }
    return pixels;
}

Bytes Rows(const std::array<Pixel, 4>& rows) { return Halves(rows, rows); }

/// The values of a 4 x 4 EAC image whose pixel k has index k mod 8.
template <typename Value>
std::vector<Value> EacPixels(const std::array<Value, 8>& values) {
    std::vector<Value> pixels;
    for (std::size_t y = 0; y < 4; ++y) {
        for (std::size_t x = 0; x < 4; ++x) pixels.push_back(values[(4 * x + y) % 8]);
    }
    return pixels;
}

/// Every `step`th 16-bit number from `first` on.
std::vector<int> Get16(const Bytes& bytes, std::size_t first = 0, std::size_t step = 1) {
    std::vector<int> values;
    for (std::size_t i = 2 * first; i + 1 < bytes.size(); i += 2 * step)
        values.push_back(bytes[i] + 256 * bytes[i + 1]);
    return values;
}

std::vector<int> GetSigned16(const Bytes& bytes) {
    std::vector<int> values = Get16(bytes);
    for (int& value : values) value = static_cast<std::int16_t>(value);
    return values;
}

const Bytes kIndividual = ColorBlock({0x4E, 0xB3, 0x98, 0x80});
const Bytes kDifferential = ColorBlock({0xEC, 0xD5, 0x43, 0x4E});
const Bytes kT = ColorBlock({0xF9, 0x18, 0x4C, 0xDB});
const Bytes kH = ColorBlock({0x68, 0x1C, 0x26, 0x6E});
const Bytes kPlanar{0x19, 0x01, 0xFB, 0x66, 0x0B, 0x2D, 0x1C, 0x2D};

/// The block with bit 33, the differential or opaque flag, cleared.
Bytes ClearFlag(Bytes block) {
    block[3] = static_cast<std::uint8_t>(block[3] & ~2u);
    return block;
}

constexpr std::uint32_t kPunchthrough = GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2;

Bytes DecodeBlock(std::uint32_t code, const Bytes& block) {
    return Test_DecodeEtc(code, block, 4, 4).pixels;
}

// Color blocks.

TEST(EtcColor, DecodesIndividualBlocks) {
    EXPECT_EQ(DecodeBlock(GL_COMPRESSED_RGB8_ETC2, kIndividual),
              Halves({{{86, 205, 171}, {128, 247, 213}, {50, 169, 135}, {8, 127, 93}}},
                     {{{240, 53, 138}, {246, 59, 144}, {236, 49, 134}, {230, 43, 128}}}));
}

TEST(EtcColor, DecodesDifferentialBlocks) {
    EXPECT_EQ(DecodeBlock(GL_COMPRESSED_RGB8_ETC2, kDifferential),
              Halves({{{248, 223, 75}, {255, 243, 95}, {230, 205, 57}, {210, 185, 37}}},
                     {{{219, 202, 103}, {248, 231, 132}, {193, 176, 77}, {164, 147, 48}}}));
}

TEST(EtcColor, FlipBitPutsTheHalvesAboveEachOther) {
    Bytes block = kIndividual;
    block[3] |= 1;
    EXPECT_EQ(DecodeBlock(GL_COMPRESSED_RGB8_ETC2, block),
              Rows({{{86, 205, 171}, {128, 247, 213}, {236, 49, 134}, {230, 43, 128}}}));
}

TEST(EtcColor, DecodesTBlocks) {
    EXPECT_EQ(DecodeBlock(GL_COMPRESSED_RGB8_ETC2, kT),
              Rows({{{221, 17, 136}, {100, 236, 253}, {68, 204, 221}, {36, 172, 189}}}));
}

TEST(EtcColor, DecodesHBlocks) {
    EXPECT_EQ(DecodeBlock(GL_COMPRESSED_RGB8_ETC2, kH),
              Rows({{{253, 49, 168}, {189, 0, 104}, {100, 236, 253}, {36, 172, 189}}}));
}

TEST(EtcColor, DecodesPlanarBlocks) {
    const Bytes pixels = DecodeBlock(GL_COMPRESSED_RGB8_ETC2, kPlanar);
    ASSERT_EQ(pixels.size(), 48u);
    EXPECT_EQ(Bytes(pixels.begin(), pixels.begin() + 12),
              (Bytes{48, 129, 251, 87, 99, 226, 126, 70, 201, 164, 40, 175}));
    EXPECT_EQ(Bytes(pixels.begin() + 36, pixels.end()),
              (Bytes{134, 201, 199, 172, 171, 174, 211, 142, 149, 250, 112, 124}));
}

TEST(EtcColor, KeepsReadingOverflowingEtc1BlocksAsEtc2) {
    for (const Bytes& block : {kT, kH, kPlanar}) {
        EXPECT_EQ(DecodeBlock(GL_ETC1_RGB8_OES, block),
                  DecodeBlock(GL_COMPRESSED_RGB8_ETC2, block));
    }
    EXPECT_EQ(DecodeBlock(GL_ETC1_RGB8_OES, kT),
              Rows({{{221, 17, 136}, {100, 236, 253}, {68, 204, 221}, {36, 172, 189}}}));
}

// Punch-through alpha.

TEST(EtcPunchthrough, OpaqueBlocksAreRgbBlocksWithAlpha) {
    for (const Bytes& block : {kDifferential, kT, kH, kPlanar}) {
        const Bytes pixels = DecodeBlock(kPunchthrough, block);
        EXPECT_EQ(Test_DropAlpha(pixels), DecodeBlock(GL_COMPRESSED_RGB8_ETC2, block));
        for (std::size_t i = 3; i < pixels.size(); i += 4) EXPECT_EQ(pixels[i], 255);
    }
}

TEST(EtcPunchthrough, DifferentialBlocksLoseTheirSmallModifier) {
    EXPECT_EQ(
        DecodeBlock(kPunchthrough, ClearFlag(kDifferential)),
        Halves({{{239, 214, 66, 255}, {255, 243, 95, 255}, {0, 0, 0, 0}, {210, 185, 37, 255}}},
               {{{206, 189, 90, 255}, {248, 231, 132, 255}, {0, 0, 0, 0}, {164, 147, 48, 255}}}));
}

TEST(EtcPunchthrough, TBlocksAreTransparentAtIndex2Alone) {
    EXPECT_EQ(
        DecodeBlock(kPunchthrough, ClearFlag(kT)),
        Rows({{{221, 17, 136, 255}, {100, 236, 253, 255}, {0, 0, 0, 0}, {36, 172, 189, 255}}}));
}

TEST(EtcPunchthrough, HBlocksAreTransparentAtIndex2Alone) {
    EXPECT_EQ(DecodeBlock(kPunchthrough, ClearFlag(kH)),
              Rows({{{253, 49, 168, 255}, {189, 0, 104, 255}, {0, 0, 0, 0}, {36, 172, 189, 255}}}));
}

TEST(EtcPunchthrough, PlanarBlocksAreOpaqueWhateverTheFlag) {
    EXPECT_EQ(DecodeBlock(kPunchthrough, ClearFlag(kPlanar)), DecodeBlock(kPunchthrough, kPlanar));
    EXPECT_EQ(DecodeBlock(kPunchthrough, ClearFlag(kPlanar))[3], 255);
}

TEST(EtcPunchthrough, HasNoIndividualMode) {
    // Bytes 0 to 2 without overflow: 4E is 9 - 2, B3 is 22 + 3, 98 is 19 + 0. Index 0 of a block
    // with the flag clear is the base color itself: 9, 22, 19 and 7, 25, 19, widened.
    const Bytes pixels = DecodeBlock(kPunchthrough, kIndividual);
    EXPECT_EQ(Bytes(pixels.begin(), pixels.begin() + 4), (Bytes{74, 181, 156, 255}));
    EXPECT_EQ(Bytes(pixels.begin() + 8, pixels.begin() + 12), (Bytes{57, 206, 156, 255}));
}

// EAC blocks.

TEST(EacAlpha, AddsModifierTimesMultiplier) {
    const Bytes pixels =
        DecodeBlock(GL_COMPRESSED_RGBA8_ETC2_EAC, Concat({EacBlock(0x67, 0x2D), kIndividual}));
    const auto expected =
        EacPixels(std::array<std::uint8_t, 8>{101, 99, 97, 83, 103, 105, 107, 121});
    ASSERT_EQ(pixels.size(), 64u);
    for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(pixels[4 * i + 3], expected[i]) << i;
    EXPECT_EQ(Test_DropAlpha(pixels), DecodeBlock(GL_COMPRESSED_RGB8_ETC2, kIndividual));
}

TEST(EacAlpha, MultiplierZeroGivesTheBase) {
    const Bytes pixels =
        DecodeBlock(GL_COMPRESSED_RGBA8_ETC2_EAC, Concat({EacBlock(0x67, 0x0D), kT}));
    ASSERT_EQ(pixels.size(), 64u);
    for (std::size_t i = 3; i < 64; i += 4) EXPECT_EQ(pixels[i], 0x67);
}

TEST(EacAlpha, IsLimitedTo8Bits) {
    // Table 0 adds -15 * 15 at index 3 and 14 * 15 at index 7, in row 3.
    const Bytes low =
        DecodeBlock(GL_COMPRESSED_RGBA8_ETC2_EAC, Concat({EacBlock(200, 0xF0), kIndividual}));
    EXPECT_EQ(low[12 * 4 + 3], 0);
    EXPECT_EQ(low[13 * 4 + 3], 255);
}

TEST(EacR11, DecodesUnsignedBlocks) {
    EXPECT_EQ(
        Get16(DecodeBlock(GL_COMPRESSED_R11_EAC, EacBlock(0x67, 0x2D))),
        EacPixels(std::array<int, 8>{25996, 25484, 24972, 21386, 26508, 27021, 27533, 31119}));
}

TEST(EacR11, MultiplierZeroCountsEighths) {
    EXPECT_EQ(
        Get16(DecodeBlock(GL_COMPRESSED_R11_EAC, EacBlock(0x67, 0x0D))),
        EacPixels(std::array<int, 8>{26476, 26444, 26412, 26188, 26508, 26540, 26572, 26797}));
}

TEST(EacR11, DecodesSignedBlocks) {
    EXPECT_EQ(
        GetSigned16(DecodeBlock(GL_COMPRESSED_SIGNED_R11_EAC, EacBlock(0x3C, 0x2D))),
        EacPixels(std::array<int, 8>{14862, 14350, 13837, 10250, 15375, 15887, 16400, 19987}));
    EXPECT_EQ(
        GetSigned16(DecodeBlock(GL_COMPRESSED_SIGNED_R11_EAC, EacBlock(0x3C, 0x0D))),
        EacPixels(std::array<int, 8>{15342, 15310, 15278, 15054, 15375, 15407, 15439, 15663}));
}

TEST(EacR11, SignedBase0x80CountsAsMinus127) {
    const Bytes pixels = DecodeBlock(GL_COMPRESSED_SIGNED_R11_EAC, EacBlock(0x80, 0x0D));
    EXPECT_EQ(GetSigned16(pixels), EacPixels(std::array<int, 8>{-32575, -32607, -32639, -32767,
                                                                -32543, -32511, -32479, -32255}));
    EXPECT_EQ(pixels, DecodeBlock(GL_COMPRESSED_SIGNED_R11_EAC, EacBlock(0x81, 0x0D)));
}

TEST(EacR11, EndsOfTheUnsignedRange) {
    // Table 0 times 15: indices 0 to 3 take at least 360 away, 4 to 7 add at least 240.
    const auto high = Get16(DecodeBlock(GL_COMPRESSED_R11_EAC, EacBlock(0xFF, 0xF0)));
    const auto low = Get16(DecodeBlock(GL_COMPRESSED_R11_EAC, EacBlock(0x00, 0xF0)));
    for (std::size_t y = 0; y < 4; ++y) {
        EXPECT_EQ(high[4 * y + 1], 0xFFFF);
        EXPECT_EQ(low[4 * y], 0x0000);
    }
    EXPECT_EQ(low[1], 244 * 32 + 3) << "244 = 4 + 2 * 15 * 8; 244 / 64 = 3";
}

TEST(EacR11, EndsOfTheSignedRange) {
    const auto high = Get16(DecodeBlock(GL_COMPRESSED_SIGNED_R11_EAC, EacBlock(0x7F, 0xF0)));
    const auto low = Get16(DecodeBlock(GL_COMPRESSED_SIGNED_R11_EAC, EacBlock(0x81, 0xF0)));
    for (std::size_t y = 0; y < 4; ++y) {
        EXPECT_EQ(high[4 * y + 1], 0x7FFF);
        EXPECT_EQ(low[4 * y], 0x8001);
    }
}

TEST(EacRg11, RedBlockComesFirst) {
    const Bytes pixels =
        DecodeBlock(GL_COMPRESSED_RG11_EAC, Concat({EacBlock(0x67, 0x2D), EacBlock(0x67, 0x0D)}));
    ASSERT_EQ(pixels.size(), 64u);
    EXPECT_EQ(Get16(pixels, 0, 2), EacPixels(std::array<int, 8>{25996, 25484, 24972, 21386, 26508,
                                                                27021, 27533, 31119}));
    EXPECT_EQ(Get16(pixels, 1, 2), EacPixels(std::array<int, 8>{26476, 26444, 26412, 26188, 26508,
                                                                26540, 26572, 26797}));
}

// Formats and images.

struct FormatCase {
    std::uint32_t code;
    std::uint32_t format, internalFormat, type;
    std::uint32_t blockBytes, pixelBytes;
    bool isSrgb;
    std::uint32_t eacSigned;  ///< kUntouched, or what g_eacSigned becomes.
    const char* name;
};
constexpr std::uint32_t kUntouched = 7;

// As numbers, so that a wrong enumerant shows, too.
constexpr std::array<FormatCase, 11> kFormats{{
    {0x8D64, 0x1907, 0x8051, 0x1401, 8, 3, false, kUntouched, "Etc1"},
    {0x9270, 0x1903, 0x822A, 0x1403, 8, 2, false, 0, "R11"},
    {0x9271, 0x1903, 0x8F98, 0x1402, 8, 2, false, 1, "SignedR11"},
    {0x9272, 0x8227, 0x822C, 0x1403, 16, 4, false, 0, "Rg11"},
    {0x9273, 0x8227, 0x8F99, 0x1402, 16, 4, false, 1, "SignedRg11"},
    {0x9274, 0x1907, 0x8051, 0x1401, 8, 3, false, kUntouched, "Rgb8"},
    {0x9275, 0x1907, 0x8C41, 0x1401, 8, 3, true, kUntouched, "Srgb8"},
    {0x9276, 0x1908, 0x8058, 0x1401, 8, 4, false, kUntouched, "Punchthrough"},
    {0x9277, 0x1908, 0x8C43, 0x1401, 8, 4, true, kUntouched, "SrgbPunchthrough"},
    {0x9278, 0x1908, 0x8058, 0x1401, 16, 4, false, kUntouched, "Rgba8"},
    {0x9279, 0x1908, 0x8C43, 0x1401, 16, 4, true, kUntouched, "Srgb8Alpha8"},
}};

/// The arguments of a decode, with marks where nothing must be written.
struct Outputs {
    ByteBuffer destination = ByteBuffer::Allocate(5);
    std::uint32_t format = 111, internalFormat = 222, type = 333;

    Outputs() { g_eacSigned = kUntouched; }

    std::uint32_t Decode(const std::uint8_t* source, std::uint32_t code, std::uint32_t width,
                         std::uint32_t height, std::uint8_t srgbSupported = 1) {
        return Etc_DecodeImage(source, code, width, height, destination, format, internalFormat,
                               type, 0, srgbSupported);
    }

    void ExpectUntouched() const {
        EXPECT_EQ(destination.Size(), 5u);
        EXPECT_EQ(format, 111u);
        EXPECT_EQ(internalFormat, 222u);
        EXPECT_EQ(type, 333u);
        EXPECT_EQ(g_eacSigned, kUntouched);
    }

    void ExpectCodes(const FormatCase& expected) const {
        EXPECT_EQ(format, expected.format);
        EXPECT_EQ(internalFormat, expected.internalFormat);
        EXPECT_EQ(type, expected.type);
        EXPECT_EQ(g_eacSigned, expected.eacSigned);
    }
};

class EtcFormats : public testing::TestWithParam<FormatCase> {};

INSTANTIATE_TEST_SUITE_P(All, EtcFormats, testing::ValuesIn(kFormats),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(EtcFormats, ReportsCodesAndFlag) {
    Outputs outputs;
    const Bytes blocks = Test_RandomBytes(GetParam().blockBytes, 1);
    EXPECT_EQ(outputs.Decode(blocks.data(), GetParam().code, 4, 4), kEtcSuccess);
    outputs.ExpectCodes(GetParam());
    EXPECT_EQ(outputs.destination.Size(), 16 * GetParam().pixelBytes);
}

TEST_P(EtcFormats, SrgbNeedsSupport) {
    Outputs outputs;
    const Bytes blocks = Test_RandomBytes(GetParam().blockBytes, 2);
    const std::uint32_t result = outputs.Decode(blocks.data(), GetParam().code, 4, 4, 0);
    if (GetParam().isSrgb) {
        EXPECT_EQ(result, kEtcUnsupportedFormat);
        outputs.ExpectUntouched();
    } else {
        EXPECT_EQ(result, kEtcSuccess);
        outputs.ExpectCodes(GetParam());
    }
}

TEST_P(EtcFormats, AnyNonZeroByteSupportsSrgb) {
    const Bytes blocks = Test_RandomBytes(GetParam().blockBytes, 3);
    for (const auto supported : std::to_array<std::uint8_t>({1, 2, 128, 255})) {
        Outputs outputs;
        EXPECT_EQ(outputs.Decode(blocks.data(), GetParam().code, 4, 4, supported), kEtcSuccess)
            << int{supported};
    }
}

TEST_P(EtcFormats, EmptyImagesReportTheirFormat) {
    for (const auto& [width, height] : {std::pair{0u, 0u}, {0u, 9u}, {9u, 0u}, {0u, 0xFFFFFFFFu}}) {
        Outputs outputs;
        EXPECT_EQ(outputs.Decode(nullptr, GetParam().code, width, height), kEtcSuccess);
        outputs.ExpectCodes(GetParam());
        EXPECT_FALSE(outputs.destination);
        EXPECT_EQ(outputs.destination.Size(), 0u);
    }
}

TEST_P(EtcFormats, SizesThatDoNotFitAreOutOfMemoryAfterTheCodes) {
    for (const auto& [width, height] : {std::pair{0xFFFFFFFFu, 0xFFFFFFFFu},
                                        {0xFFFFFFFFu, 1u},
                                        {1u, 0xFFFFFFFFu},
                                        {0x10000u, 0x10000u}}) {
        Outputs outputs;
        EXPECT_EQ(outputs.Decode(nullptr, GetParam().code, width, height), kEtcOutOfMemory);
        outputs.ExpectCodes(GetParam());
        EXPECT_FALSE(outputs.destination) << "also what it held before";
    }
}

TEST_P(EtcFormats, AnySizeIsTheCornerOfWholeBlocks) {
    const auto& [code, format, internalFormat, type, blockBytes, pixelBytes, isSrgb, eacSigned,
                 name] = GetParam();
    for (std::uint32_t height = 1; height <= 17; ++height) {
        for (std::uint32_t width = 1; width <= 17; ++width) {
            const Bytes blocks = Test_RandomBytes(Test_GetBlockCount(width, height) * blockBytes,
                                                  100 * height + width);
            const std::uint32_t paddedWidth = (width + 3) & ~3u, paddedHeight = (height + 3) & ~3u;
            const EtcImage padded = Test_DecodeEtc(code, blocks, paddedWidth, paddedHeight);
            ASSERT_EQ(padded.result, kEtcSuccess);
            const EtcImage image = Test_DecodeEtc(code, blocks, width, height);
            ASSERT_EQ(image.result, kEtcSuccess);
            ASSERT_EQ(image.pixels,
                      Test_Crop(padded.pixels, paddedWidth, width, height, pixelBytes))
                << width << " x " << height;
        }
    }
}

TEST_P(EtcFormats, PayloadIsWholeBlocks) {
    const auto& test = GetParam();
    EXPECT_EQ(Etc_GetPayloadBytes(test.code, 4, 4), test.blockBytes);
    EXPECT_EQ(Etc_GetPayloadBytes(test.code, 5, 3), 2 * test.blockBytes);
    EXPECT_EQ(Etc_GetPayloadBytes(test.code, 9, 8), 6 * test.blockBytes);
    EXPECT_EQ(Etc_GetPayloadBytes(test.code, 0, 8), 0u);
    EXPECT_EQ(Etc_GetPayloadBytes(test.code, 0xFFFFFFFF, 0xFFFFFFFF), std::nullopt);
    EXPECT_EQ(Etc_GetPayloadBytes(test.code, 0x20000, 0x20000), std::nullopt);
    // 2^16 columns of blocks: the most rows that fit 32 bits, and one more.
    const std::uint32_t rows = 0x10000 / test.blockBytes - 1;
    EXPECT_EQ(Etc_GetPayloadBytes(test.code, 0x40000, 4 * rows), 0x10000 * test.blockBytes * rows);
    EXPECT_EQ(Etc_GetPayloadBytes(test.code, 0x40000, 4 * rows + 1), std::nullopt);
}

TEST(EtcImage, UnsupportedFormatsWriteNothing) {
    // Neighbors of the table's codes, and formats of other families.
    for (const std::uint32_t code :
         {0u, 0x8D63u, 0x8D65u, 0x926Fu, 0x927Au, 0x83F3u, 0x8058u, 0xFFFFFFFFu}) {
        Outputs outputs;
        EXPECT_EQ(outputs.Decode(nullptr, code, 4, 4), kEtcUnsupportedFormat) << code;
        outputs.ExpectUntouched();
        EXPECT_EQ(Etc_GetPayloadBytes(code, 4, 4), 0u);
        EXPECT_EQ(Etc_GetPayloadBytes(code, 0xFFFFFFFF, 0xFFFFFFFF), 0u);
    }
}

TEST(EtcImage, PaddedSizeMustFitEvenIfThePixelsDo) {
    // One column of 89478487 blocks: 48 bytes for each are 80 more than 32 bits hold.
    Outputs outputs;
    EXPECT_EQ(outputs.Decode(nullptr, GL_COMPRESSED_RGB8_ETC2, 1, 357913945), kEtcOutOfMemory);
    EXPECT_FALSE(outputs.destination);
}

TEST(EtcImage, WholeBlocksAreNotPadded) {
    const Bytes one = Test_RandomBytes(8, 3), four = Test_RandomBytes(32, 4);
    EXPECT_EQ(Test_DecodeEtc(GL_COMPRESSED_RGB8_ETC2, one, 4, 4).pixels.size(), 48u);
    EXPECT_EQ(Test_DecodeEtc(GL_COMPRESSED_RGB8_ETC2, four, 8, 8).pixels.size(), 192u);
}

TEST(EtcImage, Size5x3Takes2BlocksAndGives45Bytes) {
    const EtcImage image = Test_DecodeEtc(GL_COMPRESSED_RGB8_ETC2, Concat({kT, kIndividual}), 5, 3);
    EXPECT_EQ(image.result, kEtcSuccess);
    // Rows 0 to 2 of the T block, then the first column of the other one.
    EXPECT_EQ(image.pixels,
              (Bytes{221, 17,  136, 221, 17,  136, 221, 17,  136, 221, 17,  136, 86,  205, 171,
                     100, 236, 253, 100, 236, 253, 100, 236, 253, 100, 236, 253, 128, 247, 213,
                     68,  204, 221, 68,  204, 221, 68,  204, 221, 68,  204, 221, 50,  169, 135}));
}

TEST(EtcImage, SrgbAndEtc1DecodeLikeTheirTwins) {
    for (const auto& [code, twin] :
         {std::pair{GL_ETC1_RGB8_OES, GL_COMPRESSED_RGB8_ETC2},
          {GL_COMPRESSED_SRGB8_ETC2, GL_COMPRESSED_RGB8_ETC2},
          {GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2,
           GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2},
          {GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC, GL_COMPRESSED_RGBA8_ETC2_EAC}}) {
        const std::uint32_t blockBytes = *Etc_GetPayloadBytes(code, 1, 1);
        const Bytes blocks = Test_RandomBytes(std::size_t{blockBytes} * 20 * 25, 5);
        const Bytes pixels = Test_DecodeEtc(code, blocks, 80, 100).pixels;
        EXPECT_FALSE(pixels.empty());
        EXPECT_EQ(pixels, Test_DecodeEtc(twin, blocks, 80, 100).pixels);
    }
}

TEST(EtcImage, SignFlagStaysBetweenImagesAndConcerns11BitsAlone) {
    const Bytes rg = Concat({EacBlock(0x80, 0x2D), EacBlock(0x80, 0x2D)});
    const Bytes rgba = Concat({EacBlock(0x80, 0x2D), kIndividual});

    DecodeBlock(GL_COMPRESSED_RG11_EAC, rg);
    EXPECT_EQ(g_eacSigned, 0u);
    const Bytes before = DecodeBlock(GL_COMPRESSED_RGBA8_ETC2_EAC, rgba);
    EXPECT_EQ(g_eacSigned, 0u);

    DecodeBlock(GL_COMPRESSED_SIGNED_RG11_EAC, rg);
    EXPECT_EQ(g_eacSigned, 1u);
    EXPECT_EQ(DecodeBlock(GL_COMPRESSED_RGBA8_ETC2_EAC, rgba), before);
    EXPECT_EQ(g_eacSigned, 1u);

    DecodeBlock(GL_COMPRESSED_R11_EAC, EacBlock(0x80, 0x2D));
    EXPECT_EQ(g_eacSigned, 0u);
}

}  // namespace
}  // namespace koru
