#include "pvr/pvr_formats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <vector>

namespace koru {
namespace {

// Codes and answers are numbers here: a wrong value behind a name would show.
using Codes = std::set<std::uint32_t>;
using Answers = std::map<std::uint32_t, std::uint32_t>;

/// All legacy types, all version-3 numbers, all GL codes, and codes with more bits above theirs.
std::vector<std::uint32_t> GetCodes() {
    std::vector<std::uint32_t> codes;
    for (std::uint32_t code = 0; code <= 0xFFFF; ++code) codes.push_back(code);
    for (std::uint32_t low : {0x00u, 0x01u, 0x12u, 0x18u, 0x36u, 0x8058u, 0x9270u}) {
        for (std::uint32_t high : {0x10000u, 0x1000000u, 0x80000000u, 0xFFFF0000u}) {
            codes.push_back(high | low);
        }
    }
    codes.push_back(0xFFFFFFFF);
    return codes;
}

std::uint32_t GetAnswer(const Answers& answers, std::uint32_t code) {
    const auto found = answers.find(code);
    return found == answers.end() ? 0 : found->second;
}

void Add(Answers& answers, std::uint32_t answer, const Codes& codes) {
    for (const std::uint32_t code : codes) {
        EXPECT_TRUE(answers.emplace(code, answer).second) << code << " is listed twice";
    }
}

const Codes kPacked{
    0,   1,   2,   3,   4,   5,   6,   7,   8,   9,                                 // to 9
    16,  17,  18,  19,  20,  21,  22,  23,  26,  27,                                // to 27
    37,  38,  39,  40,  41,  42,  43,  44,  45,  46,  47,  48,  49,  50,  51,  52,  // to 52
    53,  64,  65,  66,  67,  68,                                                    // to 68
    80,  81,  82,  83,  84,  85,  86,  87,  88,  89,  90,  91,  92,  93,  94,  95,  // to 95
    96,  97,  98,  99,  100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 112, 113, 114,
    115, 116, 117, 118, 119, 120, 121, 122, 123, 124, 125, 126, 127,  // to 127
    144, 145, 146, 147, 148, 149, 150, 151, 152, 153, 154, 155, 156, 157, 158, 159, 160, 161, 162,
    163, 164, 165, 166, 167, 168, 169, 170, 171, 172, 173, 174, 175, 176, 177, 178, 179, 180, 181};

const Codes kCompressed{10, 11, 12, 13, 24,  25,  28,  29,  32,  33,  34,  35,  36,  54,
                        55, 56, 69, 70, 128, 129, 130, 131, 132, 133, 134, 135, 136, 137};

const Answers kLegacyGl{{18, 0x8058}, {21, 0x8051}, {24, 0x8C03}, {25, 0x8C02},
                        {28, 0x9138}, {29, 0x9137}, {32, 0x83F1}, {34, 0x83F2},
                        {36, 0x83F3}, {54, 0x8D64}, {55, 0x9278}, {56, 0x9278}};

const Answers kV3Gl{{1, 0x8C03},  {3, 0x8C02},  {4, 0x9137},  {5, 0x9138},  {6, 0x8D64},
                    {7, 0x83F1},  {9, 0x83F2},  {11, 0x83F3}, {22, 0x9274}, {23, 0x9278},
                    {24, 0x9276}, {25, 0x9270}, {26, 0x9272}};

Answers GetChannelCounts() {
    Answers answers;
    Add(answers, 4, {18, 24, 25, 32, 34, 36, 55, 56});
    Add(answers, 4, {0x1908, 0x8056, 0x8057, 0x8058, 0x8059, 0x80E1, 0x83F1, 0x83F2,
                     0x83F3, 0x8A56, 0x8A57, 0x8C02, 0x8C03, 0x8C43, 0x8D7C, 0x8D8E,
                     0x8F97, 0x906F, 0x9137, 0x9138, 0x9276, 0x9278, 0x93F0, 0x93F1});
    Add(answers, 3, {21, 54});
    Add(answers, 3,
        {0x1907, 0x8050, 0x8051, 0x80E0, 0x8A54, 0x8A55, 0x8C00, 0x8C01, 0x8C3A, 0x8C3D, 0x8C41,
         0x8D62, 0x8D64, 0x8D7D, 0x8D8F, 0x8F96, 0x9274});
    Add(answers, 2, {0x9272, 0x9273});
    Add(answers, 1, {0x9270, 0x9271});
    return answers;
}

Answers GetBitCounts() {
    Answers answers;
    Add(answers, 32, {18, 24, 25, 32, 34, 36, 55, 56});
    Add(answers, 32,
        {0x8058, 0x83F1, 0x83F2, 0x83F3, 0x8A56, 0x8A57, 0x8C02, 0x8C03, 0x9137, 0x9138, 0x9276,
         0x9278, 0x93F0, 0x93F1});
    Add(answers, 24, {21, 54, 0x8051, 0x8A54, 0x8A55, 0x8C00, 0x8C01, 0x8D64, 0x9274});
    Add(answers, 16, {0x9270, 0x9271, 0x9272, 0x9273});
    return answers;
}

TEST(PvrLegacyIsPacked, KnowsItsTypesAndNoOthers) {
    for (const std::uint32_t type : GetCodes())
        EXPECT_EQ(PvrLegacyIsPacked(type), kPacked.contains(type)) << type;
}

TEST(PvrLegacyIsCompressed, KnowsItsTypesAndNoOthers) {
    for (const std::uint32_t type : GetCodes())
        EXPECT_EQ(PvrLegacyIsCompressed(type), kCompressed.contains(type)) << type;
}

TEST(PvrLegacyIsCompressed, LeavesSomeTypesInNeitherSet) {
    const auto isNeither = [](std::uint32_t type) {
        return !PvrLegacyIsPacked(type) && !PvrLegacyIsCompressed(type);
    };
    EXPECT_TRUE(isNeither(14));
    Codes neither;
    for (std::uint32_t type = 0; type < 256; ++type) {
        if (isNeither(type)) neither.insert(type);
    }
    Codes expected{14, 15, 30, 31};
    for (std::uint32_t type = 57; type <= 63; ++type) expected.insert(type);
    for (std::uint32_t type = 71; type <= 79; ++type) expected.insert(type);
    for (std::uint32_t type = 138; type <= 143; ++type) expected.insert(type);
    for (std::uint32_t type = 182; type <= 255; ++type) expected.insert(type);
    EXPECT_EQ(neither, expected);
}

TEST(PvrLegacyToGlFormat, KnowsItsTypesAndNoOthers) {
    for (const std::uint32_t type : GetCodes())
        EXPECT_EQ(PvrLegacyToGlFormat(type), GetAnswer(kLegacyGl, type)) << type;
}

TEST(PvrLegacyToGlFormat, TakesBothKindsOfEtcAlphaForEtc2) {
    EXPECT_EQ(PvrLegacyToGlFormat(55), 0x9278u);
    EXPECT_EQ(PvrLegacyToGlFormat(56), 0x9278u);
}

TEST(PvrV3ToGlFormat, KnowsItsNumbersAndNoOthers) {
    for (const std::uint32_t number : GetCodes())
        EXPECT_EQ(PvrV3ToGlFormat(number), GetAnswer(kV3Gl, number)) << number;
}

TEST(PvrV3ToGlFormat, HasNoneForPvrtcWithoutAlpha) {
    EXPECT_EQ(PvrV3ToGlFormat(0), 0u);
    EXPECT_EQ(PvrV3ToGlFormat(2), 0u);
}

TEST(PvrFormatChannelCount, KnowsItsCodesAndNoOthers) {
    const Answers answers = GetChannelCounts();
    for (const std::uint32_t code : GetCodes())
        EXPECT_EQ(PvrFormatChannelCount(code), GetAnswer(answers, code)) << std::hex << code;
}

TEST(PvrFormatBitsPerPixel, KnowsItsCodesAndNoOthers) {
    const Answers answers = GetBitCounts();
    for (const std::uint32_t code : GetCodes())
        EXPECT_EQ(PvrFormatBitsPerPixel(code), GetAnswer(answers, code)) << std::hex << code;
}

TEST(PvrFormatBitsPerPixel, DisagreesWithTheChannelCount) {
    for (const std::uint32_t code : {0x1908u, 0x8056u, 0x8D62u}) {
        EXPECT_NE(PvrFormatChannelCount(code), 0u) << std::hex << code;
        EXPECT_EQ(PvrFormatBitsPerPixel(code), 0u) << std::hex << code;
    }
    EXPECT_EQ(PvrFormatChannelCount(0x9270), 1u);
    EXPECT_EQ(PvrFormatBitsPerPixel(0x9270), 16u);
    EXPECT_EQ(PvrFormatChannelCount(0x9272), 2u);
    EXPECT_EQ(PvrFormatBitsPerPixel(0x9272), 16u);
}

TEST(PvrFormatChannelCount, KnowsTwoOfThePackedLegacyTypes) {
    for (const std::uint32_t type : kPacked) {
        const bool isKnown = type == 18 || type == 21;
        EXPECT_EQ(PvrFormatChannelCount(type) != 0, isKnown) << type;
        EXPECT_EQ(PvrFormatBitsPerPixel(type) != 0, isKnown) << type;
    }
}

TEST(PvrLegacyType, NamesStandForTheNumbersOfTheFiles) {
    EXPECT_EQ(kPvrLegacyRgba8888, 18u);
    EXPECT_EQ(kPvrLegacyRgb888, 21u);
    EXPECT_EQ(kPvrLegacyPvrtc2, 24u);
    EXPECT_EQ(kPvrLegacyPvrtc4, 25u);
    EXPECT_EQ(kPvrLegacyPvrtcII4, 28u);
    EXPECT_EQ(kPvrLegacyPvrtcII2, 29u);
    EXPECT_EQ(kPvrLegacyDxt1, 32u);
    EXPECT_EQ(kPvrLegacyDxt3, 34u);
    EXPECT_EQ(kPvrLegacyDxt5, 36u);
    EXPECT_EQ(kPvrLegacyEtc1, 54u);
    EXPECT_EQ(kPvrLegacyEtcExplicitAlpha, 55u);
    EXPECT_EQ(kPvrLegacyEtcInterpolatedAlpha, 56u);
}

TEST(PvrV3Format, NamesStandForTheNumbersOfTheFiles) {
    EXPECT_EQ(kPvrV3Pvrtc2Rgb, 0u);
    EXPECT_EQ(kPvrV3Pvrtc2Rgba, 1u);
    EXPECT_EQ(kPvrV3Pvrtc4Rgb, 2u);
    EXPECT_EQ(kPvrV3Pvrtc4Rgba, 3u);
    EXPECT_EQ(kPvrV3PvrtcII2, 4u);
    EXPECT_EQ(kPvrV3PvrtcII4, 5u);
    EXPECT_EQ(kPvrV3Etc1, 6u);
    EXPECT_EQ(kPvrV3Dxt1, 7u);
    EXPECT_EQ(kPvrV3Dxt3, 9u);
    EXPECT_EQ(kPvrV3Dxt5, 11u);
    EXPECT_EQ(kPvrV3Etc2Rgb, 22u);
    EXPECT_EQ(kPvrV3Etc2Rgba, 23u);
    EXPECT_EQ(kPvrV3Etc2Rgba1, 24u);
    EXPECT_EQ(kPvrV3EacR11, 25u);
    EXPECT_EQ(kPvrV3EacRg11, 26u);
}

}  // namespace
}  // namespace koru
