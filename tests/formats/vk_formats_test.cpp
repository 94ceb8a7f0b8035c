#include "formats/vk_formats.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <vector>

#include "formats/vk_codes.h"

namespace koru {
namespace {

// Numbers and answers are numbers here: a wrong value behind a name would show.
constexpr std::uint32_t kWalkEnd = 0x401;
constexpr std::uint32_t kPvrtc = 1000054000;
constexpr std::uint32_t kNoGlFormat = 0x0501;
constexpr GlFormatSize kNoSize{0, 0, 0, 1, 1, 1, 1, 1};

// Next to the known ones, other extensions' numbers, and known ones with more bits above.
constexpr std::array<std::uint32_t, 13> kOtherNumbers{
    1000053999, 1000054008, 1000066000, 1000066013, 1000156000, 1000330000, 1000340000,
    0x10025,    0x7FFFFFFF, 0x80000000, 0x80000025, 0xFFFFFF25, 0xFFFFFFFF};

struct SizeRange {
    std::uint32_t first;
    std::uint32_t last;
    GlFormatSize size;
};

// flags, palette bits, bits, block width, height, depth, minimum blocks in x, y.
const std::vector<SizeRange> kSizeRanges{
    {1, 1, {1, 0, 8, 1, 1, 1, 1, 1}},
    {2, 8, {1, 0, 16, 1, 1, 1, 1, 1}},
    {9, 15, {0, 0, 8, 1, 1, 1, 1, 1}},
    {16, 22, {0, 0, 16, 1, 1, 1, 1, 1}},
    {23, 36, {0, 0, 24, 1, 1, 1, 1, 1}},
    {37, 50, {0, 0, 32, 1, 1, 1, 1, 1}},
    {51, 69, {1, 0, 32, 1, 1, 1, 1, 1}},
    {70, 76, {0, 0, 16, 1, 1, 1, 1, 1}},
    {77, 83, {0, 0, 32, 1, 1, 1, 1, 1}},
    {84, 90, {0, 0, 48, 1, 1, 1, 1, 1}},
    {91, 97, {0, 0, 64, 1, 1, 1, 1, 1}},
    {98, 100, {0, 0, 32, 1, 1, 1, 1, 1}},
    {101, 103, {0, 0, 64, 1, 1, 1, 1, 1}},
    {104, 106, {0, 0, 96, 1, 1, 1, 1, 1}},
    {107, 109, {0, 0, 128, 1, 1, 1, 1, 1}},
    {110, 112, {0, 0, 64, 1, 1, 1, 1, 1}},
    {113, 115, {0, 0, 128, 1, 1, 1, 1, 1}},
    {116, 118, {0, 0, 192, 1, 1, 1, 1, 1}},
    {119, 121, {0, 0, 256, 1, 1, 1, 1, 1}},
    {122, 123, {1, 0, 32, 1, 1, 1, 1, 1}},
    {124, 124, {0x08, 0, 16, 1, 1, 1, 1, 1}},
    {125, 125, {0x09, 0, 32, 1, 1, 1, 1, 1}},
    {126, 126, {0x08, 0, 32, 1, 1, 1, 1, 1}},
    {127, 127, {0x10, 0, 8, 1, 1, 1, 1, 1}},
    {128, 128, {0x18, 0, 24, 1, 1, 1, 1, 1}},
    {129, 129, {0x18, 0, 32, 1, 1, 1, 1, 1}},
    {130, 130, {0x18, 0, 64, 1, 1, 1, 1, 1}},
    {131, 134, {2, 0, 64, 4, 4, 1, 1, 1}},
    {135, 138, {2, 0, 128, 4, 4, 1, 1, 1}},
    {139, 140, {2, 0, 64, 4, 4, 1, 1, 1}},
    {141, 146, {2, 0, 128, 4, 4, 1, 1, 1}},
    {147, 150, {2, 0, 64, 4, 4, 1, 1, 1}},
    {151, 158, {2, 0, 128, 4, 4, 1, 1, 1}},
    {159, 160, {2, 0, 128, 5, 4, 1, 1, 1}},
    {161, 162, {2, 0, 128, 5, 5, 1, 1, 1}},
    {163, 164, {2, 0, 128, 6, 5, 1, 1, 1}},
    {165, 166, {2, 0, 128, 6, 6, 1, 1, 1}},
    {167, 168, {2, 0, 128, 8, 5, 1, 1, 1}},
    {169, 170, {2, 0, 128, 8, 6, 1, 1, 1}},
    {171, 172, {2, 0, 128, 8, 8, 1, 1, 1}},
    {173, 174, {2, 0, 128, 10, 5, 1, 1, 1}},
    {175, 176, {2, 0, 128, 10, 6, 1, 1, 1}},
    {177, 178, {2, 0, 128, 10, 8, 1, 1, 1}},
    {179, 180, {2, 0, 128, 10, 10, 1, 1, 1}},
    {181, 182, {2, 0, 128, 12, 10, 1, 1, 1}},
    {183, 184, {2, 0, 128, 12, 12, 1, 1, 1}},
    {kPvrtc + 0, kPvrtc + 0, {2, 0, 64, 8, 4, 1, 2, 2}},
    {kPvrtc + 1, kPvrtc + 1, {2, 0, 64, 4, 4, 1, 2, 2}},
    {kPvrtc + 2, kPvrtc + 2, {2, 0, 64, 8, 4, 1, 1, 1}},
    {kPvrtc + 3, kPvrtc + 3, {2, 0, 64, 4, 4, 1, 1, 1}},
    {kPvrtc + 4, kPvrtc + 4, {2, 0, 64, 8, 4, 1, 2, 2}},
    {kPvrtc + 5, kPvrtc + 5, {2, 0, 64, 4, 4, 1, 2, 2}},
    {kPvrtc + 6, kPvrtc + 6, {2, 0, 64, 8, 4, 1, 1, 1}},
    {kPvrtc + 7, kPvrtc + 7, {2, 0, 64, 4, 4, 1, 1, 1}},
};

const std::map<std::uint32_t, std::uint32_t> kGlFormats{
    // Packed pixels.
    {2, 0x8056},
    {4, 0x8D62},
    {6, 0x8050},
    {8, 0x8057},
    {58, 0x8059},
    {62, 0x906F},
    {122, 0x8C3A},
    {123, 0x8C3D},
    // 8 bits: unorm, snorm, uint, sint, srgb of R, RG, RGB, RGBA.
    {9, 0x8229},
    {10, 0x8F94},
    {13, 0x8232},
    {14, 0x8231},
    {15, 0x8FBD},
    {16, 0x822B},
    {17, 0x8F95},
    {20, 0x8238},
    {21, 0x8237},
    {22, 0x8FBE},
    {23, 0x8051},
    {24, 0x8F96},
    {27, 0x8D7D},
    {28, 0x8D8F},
    {29, 0x8C41},
    {37, 0x8058},
    {38, 0x8F97},
    {41, 0x8D7C},
    {42, 0x8D8E},
    {43, 0x8C43},
    // 16 bits: unorm, snorm, uint, sint, sfloat.
    {70, 0x822A},
    {71, 0x8F98},
    {74, 0x8234},
    {75, 0x8233},
    {76, 0x822D},
    {77, 0x822C},
    {78, 0x8F99},
    {81, 0x823A},
    {82, 0x8239},
    {83, 0x822F},
    {84, 0x8054},
    {85, 0x8F9A},
    {88, 0x8D77},
    {89, 0x8D89},
    {90, 0x881B},
    {91, 0x805B},
    {92, 0x8F9B},
    {95, 0x8D76},
    {96, 0x8D88},
    {97, 0x881A},
    // 32 bits: uint, sint, sfloat.
    {98, 0x8236},
    {99, 0x8235},
    {100, 0x822E},
    {101, 0x823C},
    {102, 0x823B},
    {103, 0x8230},
    {104, 0x8D71},
    {105, 0x8D83},
    {106, 0x8815},
    {107, 0x8D70},
    {108, 0x8D82},
    {109, 0x8814},
    // Depth and stencil; none for 128.
    {124, 0x81A5},
    {125, 0x81A6},
    {126, 0x8CAC},
    {127, 0x8D48},
    {129, 0x88F0},
    {130, 0x8CAD},
    // BC1 to BC7.
    {131, 0x83F0},
    {132, 0x8C4C},
    {133, 0x83F1},
    {134, 0x8C4D},
    {135, 0x83F2},
    {136, 0x8C4E},
    {137, 0x83F3},
    {138, 0x8C4F},
    {139, 0x8DBB},
    {140, 0x8DBC},
    {141, 0x8DBD},
    {142, 0x8DBE},
    {143, 0x8E8F},
    {144, 0x8E8E},
    {145, 0x8E8C},
    {146, 0x8E8D},
    // ETC2, then EAC.
    {147, 0x9274},
    {148, 0x9275},
    {149, 0x9276},
    {150, 0x9277},
    {151, 0x9278},
    {152, 0x9279},
    {153, 0x9270},
    {154, 0x9271},
    {155, 0x9272},
    {156, 0x9273},
    // PVRTC.
    {kPvrtc + 0, 0x8C03},
    {kPvrtc + 1, 0x8C02},
    {kPvrtc + 2, 0x9137},
    {kPvrtc + 3, 0x9138},
    {kPvrtc + 4, 0x8A56},
    {kPvrtc + 5, 0x8A57},
    {kPvrtc + 6, 0x93F0},
    {kPvrtc + 7, 0x93F1},
};

GlFormatSize GetExpectedSize(std::uint32_t vkFormat) {
    for (const SizeRange& range : kSizeRanges) {
        if (vkFormat >= range.first && vkFormat <= range.last) return range.size;
    }
    return kNoSize;
}

std::uint32_t GetExpectedGlFormat(std::uint32_t vkFormat) {
    // The ASTC pairs: unorm numbers are odd, srgb numbers even.
    if (vkFormat >= 157 && vkFormat <= 184) {
        return (vkFormat % 2 != 0 ? 0x93B0u : 0x93D0u) + (vkFormat - 157) / 2;
    }
    const auto found = kGlFormats.find(vkFormat);
    return found != kGlFormats.end() ? found->second : kNoGlFormat;
}

std::vector<std::uint32_t> GetWalk() {
    std::vector<std::uint32_t> walk(kOtherNumbers.begin(), kOtherNumbers.end());
    for (std::uint32_t number = 0; number < kWalkEnd; ++number) walk.push_back(number);
    for (std::uint32_t i = 0; i < 8; ++i) walk.push_back(kPvrtc + i);
    return walk;
}

TEST(VkFormats, EveryNumberHasItsSizeOrNone) {
    for (const std::uint32_t vkFormat : GetWalk()) {
        EXPECT_EQ(Vk_GetFormatSize(vkFormat), GetExpectedSize(vkFormat)) << vkFormat;
    }
}

TEST(VkFormats, EveryNumberHasItsGlFormatOrInvalidValue) {
    ASSERT_EQ(kGlFormats.size(), 100u);
    for (const std::uint32_t vkFormat : GetWalk()) {
        EXPECT_EQ(Vk_ToGlInternalFormat(vkFormat), GetExpectedGlFormat(vkFormat)) << vkFormat;
    }
}

TEST(VkFormats, UnknownNumbersHaveNoSizeAndInvalidValue) {
    for (const std::uint32_t vkFormat : {0u, 185u, 1000053999u, 1000054008u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Vk_GetFormatSize(vkFormat), kNoSize) << vkFormat;
        EXPECT_EQ(Vk_ToGlInternalFormat(vkFormat), 0x0501u) << vkFormat;
    }
}

TEST(VkFormats, CompressedAreBlocksAndNothingElse) {
    for (const std::uint32_t vkFormat : GetWalk()) {
        const bool isBlocks = (vkFormat >= 131 && vkFormat <= 184) ||
                              (vkFormat >= 1000054000 && vkFormat <= 1000054007);
        EXPECT_EQ((Vk_GetFormatSize(vkFormat).flags & 0x2) != 0, isBlocks) << vkFormat;
    }
}

TEST(VkFormats, EacR11BlocksHave128Bits) {
    EXPECT_EQ(Vk_GetFormatSize(153).blockSizeInBits, 128u);
    EXPECT_EQ(Vk_GetFormatSize(154).blockSizeInBits, 128u);
    // As GL formats they keep their 64.
    EXPECT_EQ(Gl_GetFormatSize(Vk_ToGlInternalFormat(153)).blockSizeInBits, 64u);
    EXPECT_EQ(Gl_GetFormatSize(Vk_ToGlInternalFormat(154)).blockSizeInBits, 64u);
}

TEST(VkFormats, R5G5B5A1GoesToRgb5AndA1R5G5B5ToRgb5A1) {
    EXPECT_EQ(Vk_ToGlInternalFormat(VK_FORMAT_R5G5B5A1_UNORM_PACK16), 0x8050u);
    EXPECT_EQ(Vk_ToGlInternalFormat(VK_FORMAT_A1R5G5B5_UNORM_PACK16), 0x8057u);
}

TEST(VkFormats, TenBitsWithRedOnTopGoToRgb10A2) {
    EXPECT_EQ(Vk_ToGlInternalFormat(VK_FORMAT_A2R10G10B10_UNORM_PACK32), 0x8059u);
    EXPECT_EQ(Vk_ToGlInternalFormat(VK_FORMAT_A2R10G10B10_UINT_PACK32), 0x906Fu);
    EXPECT_EQ(Vk_ToGlInternalFormat(VK_FORMAT_A2B10G10R10_UNORM_PACK32), 0x0501u);
    EXPECT_EQ(Vk_ToGlInternalFormat(VK_FORMAT_A2B10G10R10_UINT_PACK32), 0x0501u);
}

TEST(VkFormats, X8D24IsPackedDepth) {
    EXPECT_EQ(Vk_GetFormatSize(125).flags, 0x9u);
    EXPECT_EQ(Vk_GetFormatSize(125).blockSizeInBits, 32u);
}

TEST(VkFormats, D16S8HasASizeButNoGlFormat) {
    EXPECT_EQ(Vk_GetFormatSize(128), (GlFormatSize{0x18, 0, 24, 1, 1, 1, 1, 1}));
    EXPECT_EQ(Vk_ToGlInternalFormat(128), 0x0501u);
}

TEST(VkFormats, BgraAndSixtyFourBitChannelsHaveNoGlFormat) {
    for (const std::uint32_t vkFormat : {30u, 36u, 44u, 50u, 110u, 121u}) {
        EXPECT_NE(Vk_GetFormatSize(vkFormat).blockSizeInBits, 0u) << vkFormat;
        EXPECT_EQ(Vk_ToGlInternalFormat(vkFormat), 0x0501u) << vkFormat;
    }
}

TEST(VkFormats, BlocksOfTheTwoRegistriesAgree) {
    for (const std::uint32_t vkFormat : GetWalk()) {
        const GlFormatSize vkSize = Vk_GetFormatSize(vkFormat);
        if ((vkSize.flags & 0x2) == 0 || vkFormat == 153 || vkFormat == 154) continue;
        EXPECT_EQ(Gl_GetFormatSize(Vk_ToGlInternalFormat(vkFormat)), vkSize) << vkFormat;
    }
}

// The registry's values behind the names; they run on without gaps between these.
static_assert(VK_FORMAT_UNDEFINED == 0 && VK_FORMAT_R4G4_UNORM_PACK8 == 1 &&
              VK_FORMAT_R8_UNORM == 9 && VK_FORMAT_R8G8B8_UNORM == 23 &&
              VK_FORMAT_R8G8B8A8_UNORM == 37 && VK_FORMAT_A8B8G8R8_UNORM_PACK32 == 51);
static_assert(VK_FORMAT_R16_UNORM == 70 && VK_FORMAT_R32_UINT == 98 && VK_FORMAT_R64_UINT == 110 &&
              VK_FORMAT_B10G11R11_UFLOAT_PACK32 == 122 && VK_FORMAT_D16_UNORM == 124);
static_assert(VK_FORMAT_BC1_RGB_UNORM_BLOCK == 131 && VK_FORMAT_BC7_SRGB_BLOCK == 146 &&
              VK_FORMAT_ETC2_R8G8B8_UNORM_BLOCK == 147 && VK_FORMAT_EAC_R11_UNORM_BLOCK == 153 &&
              VK_FORMAT_ASTC_4x4_UNORM_BLOCK == 157 && VK_FORMAT_ASTC_12x12_SRGB_BLOCK == 184);
static_assert(VK_FORMAT_PVRTC1_2BPP_UNORM_BLOCK_IMG == 1000054000 &&
              VK_FORMAT_PVRTC2_4BPP_SRGB_BLOCK_IMG == 1000054007);

}  // namespace
}  // namespace koru
