#include "formats/gl_formats.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <vector>

#include "formats/gl_codes.h"

namespace koru {
namespace {

// Codes and answers are numbers here: a wrong value behind a name would show.
using Codes = std::vector<std::uint32_t>;
using Masks = std::array<std::uint32_t, 4>;
using Counts = std::array<std::uint8_t, 4>;

constexpr std::uint32_t kCodeEnd = 0x10000;

// Far from any code, and codes with more bits above theirs.
constexpr std::array<std::uint32_t, 8> kLargeCodes{0x10000,    0x18051,    0x18D62,    0x80008058,
                                                   0x7FFFFFFF, 0x80000000, 0xFFFF8050, 0xFFFFFFFF};

struct SizeGroup {
    GlFormatSize size;
    Codes codes;
};

// flags, palette bits, bits, block width, height, depth, minimum blocks in x, y.
const std::vector<SizeGroup> kSizeGroups{
    // Blocks.
    {{2, 0, 64, 4, 4, 1, 1, 1},
     {0x83F0, 0x83F1, 0x8C4C, 0x8C4D, 0x8C70, 0x8C71, 0x8C92, 0x8DBB, 0x8DBC, 0x8D64, 0x9270,
      0x9271, 0x9274, 0x9275, 0x9276, 0x9277, 0x9138, 0x93F1}},
    {{2, 0, 64, 8, 4, 1, 1, 1}, {0x9137, 0x93F0}},
    {{2, 0, 64, 4, 4, 1, 2, 2}, {0x8C00, 0x8C02, 0x8A55, 0x8A57}},
    {{2, 0, 64, 8, 4, 1, 2, 2}, {0x8C01, 0x8C03, 0x8A54, 0x8A56}},
    {{2, 0, 128, 4, 4, 1, 1, 1},
     {0x83F2, 0x83F3, 0x8C4E, 0x8C4F, 0x8C72, 0x8C73, 0x8C93, 0x87EE, 0x8DBD, 0x8DBE, 0x8E8C,
      0x8E8D, 0x8E8E, 0x8E8F, 0x9272, 0x9273, 0x9278, 0x9279}},
    {{2, 0, 128, 4, 4, 1, 1, 1}, {0x93B0, 0x93D0}},
    {{2, 0, 128, 5, 4, 1, 1, 1}, {0x93B1, 0x93D1}},
    {{2, 0, 128, 5, 5, 1, 1, 1}, {0x93B2, 0x93D2}},
    {{2, 0, 128, 6, 5, 1, 1, 1}, {0x93B3, 0x93D3}},
    {{2, 0, 128, 6, 6, 1, 1, 1}, {0x93B4, 0x93D4}},
    {{2, 0, 128, 8, 5, 1, 1, 1}, {0x93B5, 0x93D5}},
    {{2, 0, 128, 8, 6, 1, 1, 1}, {0x93B6, 0x93D6}},
    {{2, 0, 128, 8, 8, 1, 1, 1}, {0x93B7, 0x93D7}},
    {{2, 0, 128, 10, 5, 1, 1, 1}, {0x93B8, 0x93D8}},
    {{2, 0, 128, 10, 6, 1, 1, 1}, {0x93B9, 0x93D9}},
    {{2, 0, 128, 10, 8, 1, 1, 1}, {0x93BA, 0x93DA}},
    {{2, 0, 128, 10, 10, 1, 1, 1}, {0x93BB, 0x93DB}},
    {{2, 0, 128, 12, 10, 1, 1, 1}, {0x93BC, 0x93DC}},
    {{2, 0, 128, 12, 12, 1, 1, 1}, {0x93BD, 0x93DD}},
    {{2, 0, 128, 3, 3, 3, 1, 1}, {0x93C0, 0x93E0}},
    {{2, 0, 128, 4, 3, 3, 1, 1}, {0x93C1, 0x93E1}},
    {{2, 0, 128, 4, 4, 3, 1, 1}, {0x93C2, 0x93E2}},
    {{2, 0, 128, 4, 4, 4, 1, 1}, {0x93C3, 0x93E3}},
    {{2, 0, 128, 5, 4, 4, 1, 1}, {0x93C4, 0x93E4}},
    {{2, 0, 128, 5, 5, 4, 1, 1}, {0x93C5, 0x93E5}},
    {{2, 0, 128, 5, 5, 5, 1, 1}, {0x93C6, 0x93E6}},
    {{2, 0, 128, 6, 5, 5, 1, 1}, {0x93C7, 0x93E7}},
    {{2, 0, 128, 6, 6, 5, 1, 1}, {0x93C8, 0x93E8}},
    {{2, 0, 128, 6, 6, 6, 1, 1}, {0x93C9, 0x93E9}},
    // Palettes.
    {{4, 384, 4, 1, 1, 1, 1, 1}, {0x8B90}},
    {{4, 512, 4, 1, 1, 1, 1, 1}, {0x8B91}},
    {{4, 256, 4, 1, 1, 1, 1, 1}, {0x8B92, 0x8B93, 0x8B94}},
    {{4, 6144, 8, 1, 1, 1, 1, 1}, {0x8B95}},
    {{4, 8192, 8, 1, 1, 1, 1, 1}, {0x8B96}},
    {{4, 4096, 8, 1, 1, 1, 1, 1}, {0x8B97, 0x8B98, 0x8B99}},
    // Packed pixels.
    {{1, 0, 8, 1, 1, 1, 1, 1}, {0x2A10, 0x8055}},
    {{1, 0, 12, 1, 1, 1, 1, 1}, {0x804F}},
    {{1, 0, 16, 1, 1, 1, 1, 1}, {0x8050, 0x8056, 0x8D62}},
    {{1, 0, 32, 1, 1, 1, 1, 1}, {0x8052, 0x8057, 0x8059, 0x906F, 0x8C3A, 0x8C3D}},
    {{1, 0, 36, 1, 1, 1, 1, 1}, {0x8053}},
    {{1, 0, 48, 1, 1, 1, 1, 1}, {0x805A}},
    // Depth and stencil.
    {{0x08, 0, 16, 1, 1, 1, 1, 1}, {0x81A5}},
    {{0x08, 0, 32, 1, 1, 1, 1, 1}, {0x81A6, 0x81A7, 0x8CAC, 0x8DAB}},
    {{0x18, 0, 32, 1, 1, 1, 1, 1}, {0x88F0}},
    {{0x18, 0, 64, 1, 1, 1, 1, 1}, {0x8CAD, 0x8DAC}},
    {{0x10, 0, 1, 1, 1, 1, 1, 1}, {0x8D46}},
    {{0x10, 0, 4, 1, 1, 1, 1, 1}, {0x8D47}},
    {{0x10, 0, 8, 1, 1, 1, 1, 1}, {0x8D48}},
    {{0x10, 0, 16, 1, 1, 1, 1, 1}, {0x8D49}},
    // Channels of 8, 16 and 32 bits.
    {{0, 0, 8, 1, 1, 1, 1, 1}, {0x8229, 0x8231, 0x8232, 0x8F94, 0x8FBD}},
    {{0, 0, 16, 1, 1, 1, 1, 1},
     {0x822A, 0x822B, 0x822D, 0x8233, 0x8234, 0x8237, 0x8238, 0x8F95, 0x8F98, 0x8FBE}},
    {{0, 0, 24, 1, 1, 1, 1, 1}, {0x8051, 0x8C41, 0x8D7D, 0x8D8F, 0x8F96}},
    {{0, 0, 32, 1, 1, 1, 1, 1},
     {0x8058, 0x8C43, 0x822C, 0x822E, 0x822F, 0x8235, 0x8236, 0x8239, 0x823A, 0x8D7C, 0x8D8E,
      0x8F97, 0x8F99}},
    {{0, 0, 48, 1, 1, 1, 1, 1}, {0x8054, 0x881B, 0x8D77, 0x8D89, 0x8F9A}},
    {{0, 0, 64, 1, 1, 1, 1, 1}, {0x805B, 0x8230, 0x823B, 0x823C, 0x881A, 0x8D76, 0x8D88, 0x8F9B}},
    {{0, 0, 96, 1, 1, 1, 1, 1}, {0x8815, 0x8D71, 0x8D83}},
    {{0, 0, 128, 1, 1, 1, 1, 1}, {0x8814, 0x8D70, 0x8D82}},
};

struct CountGroup {
    std::int32_t count;
    Codes codes;
};

const std::vector<CountGroup> kCountGroups{
    {1, {0x1902, 0x1903, 0x1904, 0x1905, 0x1906, 0x1909, 0x8040}},
    {2, {0x190A}},
    {3, {0x1907, 0x80E0, 0x8050, 0x8051, 0x8D62, 0x8C3A, 0x8C3D, 0x8C40, 0x8C41, 0x8C48,
         0x8C4C, 0x8D64, 0x8D7D, 0x8D8F, 0x8D98, 0x8D9A, 0x8F96, 0x83F0, 0x9274, 0x9275}},
    {4, {0x1908, 0x80E1, 0x8056, 0x8057, 0x8058, 0x8059, 0x906F, 0x8C42, 0x8C43, 0x8C49, 0x8C4D,
         0x8C4E, 0x8C4F, 0x8D7C, 0x8D8E, 0x8D99, 0x8D9B, 0x8F97, 0x83F1, 0x83F2, 0x83F3, 0x9276,
         0x9277, 0x9278, 0x9279, 0x93B0, 0x93B1, 0x93B2, 0x93B3, 0x93B4, 0x93B5, 0x93B6, 0x93B7,
         0x93B8, 0x93B9, 0x93BA, 0x93BB, 0x93BC, 0x93BD, 0x93D0, 0x93D1, 0x93D2, 0x93D3, 0x93D4,
         0x93D5, 0x93D6, 0x93D7, 0x93D8, 0x93D9, 0x93DA, 0x93DB, 0x93DC, 0x93DD}},
};

const std::map<std::uint32_t, std::uint32_t> kPackedBits{
    {0x8050, 16}, {0x8056, 16}, {0x8057, 16}, {0x8D62, 16},
    {0x8059, 32}, {0x8C3A, 32}, {0x8C3D, 32}, {0x906F, 32},
};

const std::map<std::uint32_t, Masks> kMasks{
    {0x8050, {0x7C00, 0x03E0, 0x001F, 0}},
    {0x8056, {0x0F00, 0x00F0, 0x000F, 0xF000}},
    {0x8057, {0x7C00, 0x03E0, 0x001F, 0x8000}},
    {0x8D62, {0xF800, 0x07E0, 0x001F, 0}},
    {0x8059, {0x000003FF, 0x000FFC00, 0x3FF00000, 0xC0000000}},
    {0x906F, {0x000003FF, 0x000FFC00, 0x3FF00000, 0xC0000000}},
    {0x8C3A, {0x000007FF, 0x003FF800, 0xFFC00000, 0}},
    {0x8C3D, {0x07FE0000, 0x0003FE00, 0x000001FF, 0}},
};

constexpr Masks kByteMasks{0x000000FF, 0x0000FF00, 0x00FF0000, 0xFF000000};
constexpr GlFormatSize kNoSize{0, 0, 0, 1, 1, 1, 1, 1};

template <typename Map>
typename Map::mapped_type GetOr(const Map& map, std::uint32_t key,
                                const typename Map::mapped_type& otherwise) {
    const auto found = map.find(key);
    return found != map.end() ? found->second : otherwise;
}

std::map<std::uint32_t, GlFormatSize> GetExpectedSizes() {
    std::map<std::uint32_t, GlFormatSize> sizes;
    for (const SizeGroup& group : kSizeGroups) {
        for (const std::uint32_t code : group.codes) {
            EXPECT_TRUE(sizes.emplace(code, group.size).second) << std::hex << code << " twice";
        }
    }
    return sizes;
}

std::map<std::uint32_t, std::int32_t> GetExpectedCounts() {
    std::map<std::uint32_t, std::int32_t> counts;
    for (const CountGroup& group : kCountGroups) {
        for (const std::uint32_t code : group.codes) {
            EXPECT_TRUE(counts.emplace(code, group.count).second) << std::hex << code << " twice";
        }
    }
    return counts;
}

ChannelLayout GetMasksOf(std::uint32_t code) {
    ChannelLayout layout;
    Gl_SetChannelMasks(layout, code);
    return layout;
}

TEST(GlFormats, EveryCodeHasItsSizeOrNone) {
    const auto sizes = GetExpectedSizes();
    ASSERT_EQ(sizes.size(), 182u);
    for (std::uint32_t code = 0; code < kCodeEnd; ++code) {
        EXPECT_EQ(Gl_GetFormatSize(code), GetOr(sizes, code, kNoSize)) << std::hex << code;
    }
}

TEST(GlFormats, EveryCodeHasItsComponentCountOrNone) {
    const auto counts = GetExpectedCounts();
    ASSERT_EQ(counts.size(), 81u);
    for (std::uint32_t code = 0; code < kCodeEnd; ++code) {
        EXPECT_EQ(Gl_GetComponentCount(code), GetOr(counts, code, 0)) << std::hex << code;
    }
}

TEST(GlFormats, BitsPerPixelAreThePackedOnesOrEightForEachComponent) {
    const auto counts = GetExpectedCounts();
    for (std::uint32_t code = 0; code < kCodeEnd; ++code) {
        const auto bytes = static_cast<std::uint32_t>(GetOr(counts, code, 0));
        EXPECT_EQ(Gl_GetBitsPerPixel(code), GetOr(kPackedBits, code, bytes * 8))
            << std::hex << code;
    }
}

TEST(GlFormats, EveryCodeHasItsMasksOrThoseOfBytes) {
    for (std::uint32_t code = 0; code < kCodeEnd; ++code) {
        const ChannelLayout layout = GetMasksOf(code);
        EXPECT_EQ(layout.masks, GetOr(kMasks, code, kByteMasks)) << std::hex << code;
        EXPECT_EQ(layout.glFormat, code);
    }
}

TEST(GlFormats, LargeCodesAreUnknown) {
    for (const std::uint32_t code : kLargeCodes) {
        EXPECT_EQ(Gl_GetFormatSize(code), kNoSize) << std::hex << code;
        EXPECT_EQ(Gl_GetComponentCount(code), 0) << std::hex << code;
        EXPECT_EQ(Gl_GetBitsPerPixel(code), 0u) << std::hex << code;
        EXPECT_EQ(GetMasksOf(code).masks, kByteMasks) << std::hex << code;
        EXPECT_EQ(GetMasksOf(code).glFormat, code);
    }
}

TEST(GlFormats, UnknownCodeHasNoSizeNoComponentsAndByteMasks) {
    constexpr std::uint32_t kUnknown = 0x1234;
    const GlFormatSize size = Gl_GetFormatSize(kUnknown);
    EXPECT_EQ(size.flags, 0u);
    EXPECT_EQ(size.paletteSizeInBits, 0u);
    EXPECT_EQ(size.blockSizeInBits, 0u);
    EXPECT_EQ(size.blockWidth, 1u);
    EXPECT_EQ(size.blockHeight, 1u);
    EXPECT_EQ(size.blockDepth, 1u);
    EXPECT_EQ(size.minBlocksX, 1u);
    EXPECT_EQ(size.minBlocksY, 1u);
    EXPECT_EQ(Gl_GetComponentCount(kUnknown), 0);
    EXPECT_EQ(Gl_GetBitsPerPixel(kUnknown), 0u);
    EXPECT_EQ(GetMasksOf(kUnknown).masks, kByteMasks);
}

TEST(GlFormats, Rgb5A1Has32BitsBySizeButSixteenPerPixel) {
    EXPECT_EQ(Gl_GetFormatSize(0x8057).blockSizeInBits, 32u);
    EXPECT_EQ(Gl_GetBitsPerPixel(0x8057), 16u);
}

TEST(GlFormats, ThreeDimensionalAstcHasASizeButNoComponents) {
    for (const std::uint32_t first : {0x93C0u, 0x93E0u}) {
        for (std::uint32_t code = first; code < first + 10; ++code) {
            EXPECT_EQ(Gl_GetFormatSize(code).blockSizeInBits, 128u) << std::hex << code;
            EXPECT_GE(Gl_GetFormatSize(code).blockDepth, 3u) << std::hex << code;
            EXPECT_EQ(Gl_GetComponentCount(code), 0) << std::hex << code;
            EXPECT_EQ(Gl_GetBitsPerPixel(code), 0u) << std::hex << code;
        }
    }
}

TEST(GlFormats, BaseFormatsHaveComponentsButNoSize) {
    const std::map<std::uint32_t, std::int32_t> baseFormats{
        {0x1903, 1}, {0x1906, 1}, {0x1907, 3}, {0x1908, 4}, {0x1909, 1}, {0x190A, 2}, {0x80E0, 3},
        {0x80E1, 4}, {0x8C40, 3}, {0x8C42, 4}, {0x8C48, 3}, {0x8C49, 4}, {0x8D98, 3}, {0x8D9B, 4}};
    for (const auto& [code, count] : baseFormats) {
        EXPECT_EQ(Gl_GetComponentCount(code), count) << std::hex << code;
        EXPECT_EQ(Gl_GetBitsPerPixel(code), static_cast<std::uint32_t>(count) * 8);
        EXPECT_EQ(Gl_GetFormatSize(code).blockSizeInBits, 0u) << std::hex << code;
    }
}

TEST(GlFormats, RedAndWideChannelsHaveASizeButNoComponents) {
    for (const std::uint32_t code : {0x8229u, 0x822Bu, 0x822Au, 0x8054u, 0x805Bu, 0x8814u}) {
        EXPECT_NE(Gl_GetFormatSize(code).blockSizeInBits, 0u) << std::hex << code;
        EXPECT_EQ(Gl_GetComponentCount(code), 0) << std::hex << code;
        EXPECT_EQ(Gl_GetBitsPerPixel(code), 0u) << std::hex << code;
    }
}

TEST(GlFormats, PvrtcAsksForTwoBlocksInVersion1Only) {
    for (const std::uint32_t code : {0x8C00u, 0x8C03u, 0x8A54u, 0x8A57u}) {
        EXPECT_EQ(Gl_GetFormatSize(code).minBlocksX, 2u) << std::hex << code;
        EXPECT_EQ(Gl_GetFormatSize(code).minBlocksY, 2u) << std::hex << code;
    }
    for (const std::uint32_t code : {0x9137u, 0x9138u, 0x93F0u, 0x93F1u}) {
        EXPECT_EQ(Gl_GetFormatSize(code).minBlocksX, 1u) << std::hex << code;
        EXPECT_EQ(Gl_GetFormatSize(code).minBlocksY, 1u) << std::hex << code;
    }
}

TEST(GlFormats, Rgba4AndRgb5A1HaveAlphaOnTop) {
    EXPECT_EQ(GetMasksOf(0x8056).masks, (Masks{0x0F00, 0x00F0, 0x000F, 0xF000}));
    EXPECT_EQ(GetMasksOf(0x8057).masks, (Masks{0x7C00, 0x03E0, 0x001F, 0x8000}));
}

TEST(GlFormats, Rgb9E5HasTenBitsOfRedOnTop) {
    EXPECT_EQ(GetMasksOf(0x8C3D).masks, (Masks{0x07FE0000, 0x0003FE00, 0x000001FF, 0}));
}

TEST(GlFormats, SettingMasksLeavesWhatDerivesFromThem) {
    for (const std::uint32_t code : {0x8D62u, 0x8058u}) {
        ChannelLayout layout{.masks = {1, 2, 3, 4},
                             .shifts = {5, 6, 7, 8},
                             .bitCounts = {9, 10, 11, 12},
                             .maxValues = {13, 14, 15, 16},
                             .glFormat = 17};
        Gl_SetChannelMasks(layout, code);
        EXPECT_EQ(layout.shifts, (Counts{5, 6, 7, 8}));
        EXPECT_EQ(layout.bitCounts, (Counts{9, 10, 11, 12}));
        EXPECT_EQ(layout.maxValues, (Masks{13, 14, 15, 16}));
        EXPECT_EQ(layout.masks, GetOr(kMasks, code, kByteMasks));
        EXPECT_EQ(layout.glFormat, code);
    }
}

TEST(GlFormats, MasksOfRgb565Derive) {
    ChannelLayout layout = GetMasksOf(0x8D62);
    Layout_Derive(layout);
    EXPECT_EQ(layout.shifts, (Counts{11, 5, 0, 0}));
    EXPECT_EQ(layout.bitCounts, (Counts{5, 6, 5, 0}));
    EXPECT_EQ(layout.maxValues, (Masks{0xF8, 0xFC, 0xF8, 0}));
    EXPECT_EQ(layout.glFormat, 0x8D62u);
}

TEST(GlFormats, MasksOfRgb10A2Derive) {
    ChannelLayout layout = GetMasksOf(0x8059);
    Layout_Derive(layout);
    EXPECT_EQ(layout.shifts, (Counts{0, 10, 20, 30}));
    EXPECT_EQ(layout.bitCounts, (Counts{10, 10, 10, 2}));
    // Ten bits: 0x3FF moves left by (8 - 10) mod 32 = 30. Two bits: 3 by 6.
    EXPECT_EQ(layout.maxValues, (Masks{0xC0000000, 0xC0000000, 0xC0000000, 0xC0}));
    EXPECT_EQ(layout.glFormat, 0x8059u);
}

// The registry's values behind the names other rooms use.
static_assert(GL_INVALID_VALUE == 0x0501 && GL_UNSIGNED_BYTE == 0x1401 && GL_SHORT == 0x1402 &&
              GL_UNSIGNED_SHORT == 0x1403);
static_assert(GL_RED == 0x1903 && GL_RGB == 0x1907 && GL_RGBA == 0x1908 && GL_RG == 0x8227 &&
              GL_LUMINANCE == 0x1909 && GL_LUMINANCE_ALPHA == 0x190A);
static_assert(GL_RGB5 == 0x8050 && GL_RGB8 == 0x8051 && GL_RGBA4 == 0x8056 &&
              GL_RGB5_A1 == 0x8057 && GL_RGBA8 == 0x8058 && GL_RGB10_A2 == 0x8059);
static_assert(GL_R16 == 0x822A && GL_RG16 == 0x822C && GL_R16_SNORM == 0x8F98 &&
              GL_RG16_SNORM == 0x8F99 && GL_SRGB8 == 0x8C41 && GL_SRGB8_ALPHA8 == 0x8C43);
static_assert(GL_RGB565 == 0x8D62 && GL_RGB10_A2UI == 0x906F && GL_R11F_G11F_B10F == 0x8C3A &&
              GL_RGB9_E5 == 0x8C3D);
static_assert(GL_COMPRESSED_RGB_S3TC_DXT1_EXT == 0x83F0 &&
              GL_COMPRESSED_RGBA_S3TC_DXT5_EXT == 0x83F3 &&
              GL_COMPRESSED_SRGB_S3TC_DXT1_EXT == 0x8C4C &&
              GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT5_EXT == 0x8C4F);
static_assert(GL_ETC1_RGB8_OES == 0x8D64 && GL_COMPRESSED_R11_EAC == 0x9270 &&
              GL_COMPRESSED_RGB8_ETC2 == 0x9274 && GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC == 0x9279);
static_assert(GL_COMPRESSED_RGBA_ASTC_4x4_KHR == 0x93B0 &&
              GL_COMPRESSED_RGBA_ASTC_12x12_KHR == 0x93BD &&
              GL_COMPRESSED_RGBA_ASTC_6x6x6_OES == 0x93C9 &&
              GL_COMPRESSED_SRGB8_ALPHA8_ASTC_12x12_KHR == 0x93DD);
static_assert(GL_COMPRESSED_RGBA_PVRTC_2BPPV1_IMG == 0x8C03 &&
              GL_COMPRESSED_RGBA_PVRTC_4BPPV2_IMG == 0x9138);

}  // namespace
}  // namespace koru
