#include "pvr/pvr_way.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace koru {
namespace {

constexpr PvrPixelWay Pvrtc(bool is2Bpp) {
    return {.way = PvrWay::Pvrtc, .componentCount = 4, .is2Bpp = is2Bpp};
}
constexpr PvrPixelWay Etc(std::uint32_t glFormat) {
    return {.way = PvrWay::Etc, .glFormat = glFormat};
}
constexpr PvrPixelWay S3tc(S3tcMode mode, std::uint32_t componentCount) {
    return {.way = PvrWay::S3tc, .componentCount = componentCount, .s3tcMode = mode};
}

void ExpectSame(const PvrPixelWay& actual, const PvrPixelWay& expected) {
    EXPECT_EQ(actual.way, expected.way);
    EXPECT_EQ(actual.componentCount, expected.componentCount);
    EXPECT_EQ(actual.bitsPerPixel, expected.bitsPerPixel);
    EXPECT_EQ(actual.glFormat, expected.glFormat);
    EXPECT_EQ(actual.is2Bpp, expected.is2Bpp);
    EXPECT_EQ(actual.s3tcMode, expected.s3tcMode);
}

// --- Legacy pixel types ------------------------------------------------------------------------

TEST(PvrChooseLegacyWay, KnowsEightKindsOfBlocksAndNoOther) {
    const std::map<std::uint32_t, PvrPixelWay> ways{
        {24, Pvrtc(true)},
        {25, Pvrtc(false)},
        {32, S3tc(S3tcMode::Dxt1, 3)},
        {34, S3tc(S3tcMode::Dxt3, 4)},
        {36, S3tc(S3tcMode::Dxt5, 4)},
        {54, Etc(0x8D64)},
        {55, Etc(0x9278)},
        {56, Etc(0x9278)},
    };
    for (std::uint32_t type = 0; type < 256; ++type) {
        SCOPED_TRACE(type);
        const auto way = ways.find(type);
        ExpectSame(Pvr_ChooseLegacyWay(type, true),
                   way != ways.end() ? way->second : PvrPixelWay{});
    }
}

TEST(PvrChooseLegacyWay, KnowsTwoKindsOfPackedPixels) {
    for (std::uint32_t type = 0; type < 256; ++type) {
        if (Pvr_ClassifyLegacy(type) == true) continue;  // never taken for packed ones
        SCOPED_TRACE(type);
        const PvrPixelWay way = Pvr_ChooseLegacyWay(type, false);
        EXPECT_EQ(way.way, PvrWay::Packed);
        EXPECT_EQ(way.componentCount, type == 18 ? 4u : type == 21 ? 3u : 0u);
        EXPECT_EQ(way.bitsPerPixel, type == 18 ? 32u : type == 21 ? 24u : 0u);
    }
}

TEST(PvrClassifyLegacy, PackedBlocksOrNeither) {
    struct Range {
        std::uint32_t first, last;
        std::optional<bool> isCompressed;
    };
    // Without a gap.
    const std::vector<Range> ranges{
        {0, 9, false},    {10, 13, true},   {14, 15, {}},    {16, 23, false},   {24, 25, true},
        {26, 27, false},  {28, 29, true},   {30, 31, {}},    {32, 36, true},    {37, 53, false},
        {54, 56, true},   {57, 63, {}},     {64, 68, false}, {69, 70, true},    {71, 79, {}},
        {80, 127, false}, {128, 137, true}, {138, 143, {}},  {144, 181, false}, {182, 255, {}},
    };
    std::uint32_t next = 0;
    for (const auto& [first, last, isCompressed] : ranges) {
        ASSERT_EQ(first, next);
        for (; next <= last; ++next) EXPECT_EQ(Pvr_ClassifyLegacy(next), isCompressed) << next;
    }
    EXPECT_EQ(next, 256u);
}

// --- Version 3 ---------------------------------------------------------------------------------

PvrPixelWay ChooseNumber(std::uint32_t number) {
    PvrV3Header header{.pixelFormat = number};
    for (std::size_t i = 0; i < 4; ++i) {
        header.channelNames.at(i) = static_cast<std::uint8_t>(number >> (8 * i));
    }
    return Pvr_ChooseV3Way(header);
}

TEST(PvrChooseV3Way, KnowsTheNumbersOfBlocksAndNoOther) {
    const std::map<std::uint32_t, PvrPixelWay> ways{
        {0, Pvrtc(true)},
        {1, Pvrtc(true)},
        {2, Pvrtc(false)},
        {3, Pvrtc(false)},
        {6, Etc(0x8D64)},
        {7, S3tc(S3tcMode::Dxt1, 3)},
        {9, S3tc(S3tcMode::Dxt3, 4)},
        {11, S3tc(S3tcMode::Dxt5, 4)},
        {22, Etc(0x9274)},
        {23, Etc(0x9278)},
        {24, Etc(0x9276)},
        {25, Etc(0x9270)},
        {26, Etc(0x9272)},
    };
    for (std::uint32_t number = 0; number < 70000; ++number) {
        SCOPED_TRACE(number);
        const auto way = ways.find(number);
        ExpectSame(ChooseNumber(number), way != ways.end() ? way->second : PvrPixelWay{});
        if (HasFailure()) return;
    }
    for (const std::uint32_t number : {0x7FFFFFFFu, 0x80000000u, 0x80000001u, 0xFFFFFFFFu}) {
        ExpectSame(ChooseNumber(number), {});
    }
    // The names of four channels without widths.
    ExpectSame(ChooseNumber(0x61626772), {});
}

using FourBytes = std::array<std::uint8_t, 4>;

PvrPixelWay ChoosePacked(std::string_view names, const FourBytes& widths) {
    PvrV3Header header{.channelWidths = widths};
    for (std::size_t i = 0; i < names.size(); ++i) {
        header.channelNames.at(i) = static_cast<std::uint8_t>(names[i]);
        header.pixelFormat |= std::uint32_t{header.channelNames.at(i)} << (8 * i);
    }
    return Pvr_ChooseV3Way(header);
}

TEST(PvrChooseV3Way, NamesGiveTheCountAndWidthsTheRest) {
    const std::map<std::string, std::uint32_t> counts{
        {"rgba", 4}, {"bgra", 4}, {"rgbx", 4}, {"rgb", 3}, {"bgr", 3},  {"r", 1},  {"g", 1},
        {"b", 1},    {"a", 1},    {"l", 1},    {"", 0},    {"rg", 0},   {"la", 0}, {"argb", 0},
        {"abgr", 0}, {"x", 0},    {"RGBA", 0}, {"i", 0},   {"bgrx", 0},
    };
    struct Row {
        FourBytes widths;
        std::uint32_t bits, glFormat;
    };
    const std::vector<Row> rows{
        {{8, 8, 8, 8}, 32, 0x8058},    {{8, 8, 8, 0}, 24, 0x8051}, {{10, 10, 10, 2}, 32, 0x8059},
        {{11, 11, 10, 0}, 32, 0x8C3A}, {{4, 4, 4, 4}, 16, 0x8056}, {{5, 6, 5, 0}, 16, 0x8D62},
        {{5, 5, 5, 0}, 16, 0x8050},    {{5, 5, 5, 1}, 16, 0x8057}, {{16, 16, 16, 16}, 0, 0},
        {{32, 32, 32, 32}, 0, 0},      {{8, 0, 0, 0}, 0, 0},       {{16, 0, 0, 0}, 0, 0},
        {{8, 8, 0, 0}, 0, 0},          {{2, 10, 10, 10}, 0, 0},    {{9, 9, 9, 5}, 0, 0},
        {{0, 0, 0, 8}, 0, 0},          {{0, 0, 0, 1}, 0, 0},       {{1, 0, 0, 0}, 0, 0},
    };
    for (const auto& [names, count] : counts) {
        for (const auto& [widths, bits, glFormat] : rows) {
            SCOPED_TRACE(names + ' ' + std::to_string(widths[0]));
            ExpectSame(ChoosePacked(names, widths), {.way = PvrWay::Packed,
                                                     .componentCount = count,
                                                     .bitsPerPixel = bits,
                                                     .glFormat = glFormat});
        }
    }
    // What is behind the names must be zero.
    for (const std::string_view names :
         {std::string_view("r\0\0a", 4), std::string_view("\0\0\0r", 4),
          std::string_view("rgb\1", 4), std::string_view("l\0l", 3)}) {
        EXPECT_EQ(ChoosePacked(names, {8, 8, 8, 8}).componentCount, 0u);
    }
}

}  // namespace
}  // namespace koru
