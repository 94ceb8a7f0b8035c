#include "pack_formats.h"

#include <algorithm>
#include <array>
#include <utility>

#include "bc_alpha_encoder.h"
#include "bc_color_encoder.h"
#include "eac_alpha_encoder.h"
#include "etc_color_encoder.h"
#include "pixel_encoder.h"

namespace koru_ktxpack {
namespace {

enum GlCode : std::uint32_t {
    GL_UNSIGNED_BYTE = 0x1401,
    GL_RGB = 0x1907,
    GL_RGBA = 0x1908,
    GL_RGB8 = 0x8051,
    GL_RGBA8 = 0x8058,
    GL_RGB10_A2 = 0x8059,
    GL_UNSIGNED_INT_2_10_10_10_REV = 0x8368,
    GL_COMPRESSED_RGBA_S3TC_DXT1_EXT = 0x83F1,
    GL_COMPRESSED_RGBA_S3TC_DXT3_EXT = 0x83F2,
    GL_COMPRESSED_RGBA_S3TC_DXT5_EXT = 0x83F3,
    GL_R11F_G11F_B10F = 0x8C3A,
    GL_UNSIGNED_INT_10F_11F_11F_REV = 0x8C3B,
    GL_SRGB8_ALPHA8 = 0x8C43,
    GL_COMPRESSED_SRGB_S3TC_DXT1_EXT = 0x8C4C,
    GL_ETC1_RGB8_OES = 0x8D64,
    GL_COMPRESSED_RGB8_ETC2 = 0x9274,
    GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2 = 0x9276,
    GL_COMPRESSED_RGBA8_ETC2_EAC = 0x9278,
    GL_COMPRESSED_RGBA_ASTC_4x4_KHR = 0x93B0,
};

enum VkFormat : std::uint32_t {
    VK_FORMAT_UNDEFINED = 0,
    VK_FORMAT_R8G8B8_UNORM = 23,
    VK_FORMAT_R8G8B8A8_UNORM = 37,
    VK_FORMAT_R8G8B8A8_SRGB = 43,
    VK_FORMAT_A2B10G10R10_UNORM_PACK32 = 64,
    VK_FORMAT_B10G11R11_UFLOAT_PACK32 = 122,
    VK_FORMAT_BC1_RGB_SRGB_BLOCK = 132,
    VK_FORMAT_BC1_RGBA_UNORM_BLOCK = 133,
    VK_FORMAT_BC2_UNORM_BLOCK = 135,
    VK_FORMAT_BC3_UNORM_BLOCK = 137,
    VK_FORMAT_ETC2_R8G8B8_UNORM_BLOCK = 147,
    VK_FORMAT_ETC2_R8G8B8A1_UNORM_BLOCK = 149,
    VK_FORMAT_ETC2_R8G8B8A8_UNORM_BLOCK = 151,
    VK_FORMAT_ASTC_4x4_UNORM_BLOCK = 157,
};

enum ColorModel : std::uint32_t {
    KHR_DF_MODEL_UNSPECIFIED = 0,
    KHR_DF_MODEL_RGBSDA = 1,
    KHR_DF_MODEL_BC1A = 128,
    KHR_DF_MODEL_BC2 = 129,
    KHR_DF_MODEL_BC3 = 130,
    KHR_DF_MODEL_ETC2 = 161,
    KHR_DF_MODEL_ASTC = 162,
};

// Channels of samples. Alpha has the same number everywhere; in sRGB formats it is marked linear.
constexpr std::uint32_t kRed = 0;
constexpr std::uint32_t kGreen = 1;
constexpr std::uint32_t kBlue = 2;
constexpr std::uint32_t kAlpha = 15;
constexpr std::uint32_t kBcColor = 0;
constexpr std::uint32_t kBc1ColorWithHoles = 1;
constexpr std::uint32_t kEtc2Color = 2;
constexpr std::uint32_t kAstcData = 0;
constexpr std::uint32_t kLinear = 0x10;
constexpr std::uint32_t kFloat = 0x80;

constexpr std::uint32_t kBlockTop = 0xFFFFFFFF;
constexpr std::uint32_t kFloatOne = 0x3F800000;

using Sample = SampleDescription;
constexpr std::array kRgb8Samples{Sample{0, 8, kRed, 255}, Sample{8, 8, kGreen, 255},
                                  Sample{16, 8, kBlue, 255}};
constexpr std::array kRgba8Samples{Sample{0, 8, kRed, 255}, Sample{8, 8, kGreen, 255},
                                   Sample{16, 8, kBlue, 255}, Sample{24, 8, kAlpha, 255}};
constexpr std::array kSrgb8Alpha8Samples{Sample{0, 8, kRed, 255}, Sample{8, 8, kGreen, 255},
                                         Sample{16, 8, kBlue, 255},
                                         Sample{24, 8, kAlpha | kLinear, 255}};
constexpr std::array kRgb10A2Samples{Sample{0, 10, kRed, 1023}, Sample{10, 10, kGreen, 1023},
                                     Sample{20, 10, kBlue, 1023}, Sample{30, 2, kAlpha, 3}};
constexpr std::array kR11G11B10FSamples{Sample{0, 11, kRed | kFloat, kFloatOne},
                                        Sample{11, 11, kGreen | kFloat, kFloatOne},
                                        Sample{22, 10, kBlue | kFloat, kFloatOne}};
constexpr std::array kBc1Samples{Sample{0, 64, kBcColor, kBlockTop}};
constexpr std::array kBc1WithHolesSamples{Sample{0, 64, kBc1ColorWithHoles, kBlockTop}};
constexpr std::array kBcAlphaSamples{Sample{0, 64, kAlpha, kBlockTop},
                                     Sample{64, 64, kBcColor, kBlockTop}};
constexpr std::array kEtc2Samples{Sample{0, 64, kEtc2Color, kBlockTop}};
// Holes are part of the colour block, so both samples are the same bits.
constexpr std::array kEtc2WithHolesSamples{Sample{0, 64, kEtc2Color, kBlockTop},
                                           Sample{0, 64, kAlpha, kBlockTop}};
constexpr std::array kEtc2AlphaSamples{Sample{0, 64, kAlpha, kBlockTop},
                                       Sample{64, 64, kEtc2Color, kBlockTop}};
constexpr std::array kAstcSamples{Sample{0, 128, kAstcData, kBlockTop}};

void Bc2_Encode(const BlockTexels& texels, std::span<std::uint8_t> block) {
    Bc_EncodeExplicitAlpha(texels, block.first(8));
    Bc_EncodeOpaqueColor(texels, block.subspan(8));
}

void Bc3_Encode(const BlockTexels& texels, std::span<std::uint8_t> block) {
    Bc_EncodeInterpolatedAlpha(texels, block.first(8));
    Bc_EncodeOpaqueColor(texels, block.subspan(8));
}

void Etc2_EncodeWithAlpha(const BlockTexels& texels, std::span<std::uint8_t> block) {
    Eac_EncodeAlpha(texels, block.first(8));
    Etc_EncodeEtc2(texels, block.subspan(8));
}

constexpr GlDescription Gl_OfBlocks(GlCode internalFormat, GlCode baseInternalFormat) {
    return {.internalFormat = internalFormat, .baseInternalFormat = baseInternalFormat};
}

constexpr GlDescription Gl_OfPixels(GlCode type, std::uint32_t typeSize, GlCode format,
                                    GlCode internalFormat) {
    return {type, typeSize, format, internalFormat, format};
}

// clang-format off
constexpr std::array kFormats{
    PackFormat{"rgba8", 1, 1, 4,
        Gl_OfPixels(GL_UNSIGNED_BYTE, 1, GL_RGBA, GL_RGBA8),
        {VK_FORMAT_R8G8B8A8_UNORM, KHR_DF_MODEL_RGBSDA, false, kRgba8Samples},
        Pixel_EncodeRgba8},
    PackFormat{"rgb8", 1, 1, 3,
        Gl_OfPixels(GL_UNSIGNED_BYTE, 1, GL_RGB, GL_RGB8),
        {VK_FORMAT_R8G8B8_UNORM, KHR_DF_MODEL_RGBSDA, false, kRgb8Samples},
        Pixel_EncodeRgb8},
    PackFormat{"srgb8-alpha8", 1, 1, 4,
        Gl_OfPixels(GL_UNSIGNED_BYTE, 1, GL_RGBA, GL_SRGB8_ALPHA8),
        {VK_FORMAT_R8G8B8A8_SRGB, KHR_DF_MODEL_RGBSDA, true, kSrgb8Alpha8Samples},
        Pixel_EncodeRgba8},
    PackFormat{"rgb10a2", 1, 1, 4,
        Gl_OfPixels(GL_UNSIGNED_INT_2_10_10_10_REV, 4, GL_RGBA, GL_RGB10_A2),
        {VK_FORMAT_A2B10G10R10_UNORM_PACK32, KHR_DF_MODEL_RGBSDA, false, kRgb10A2Samples},
        Pixel_EncodeRgb10A2},
    PackFormat{"r11g11b10f", 1, 1, 4,
        Gl_OfPixels(GL_UNSIGNED_INT_10F_11F_11F_REV, 4, GL_RGB, GL_R11F_G11F_B10F),
        {VK_FORMAT_B10G11R11_UFLOAT_PACK32, KHR_DF_MODEL_RGBSDA, false, kR11G11B10FSamples},
        Pixel_EncodeR11G11B10F},
    PackFormat{"bc1", 4, 4, 8,
        Gl_OfBlocks(GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, GL_RGBA),
        {VK_FORMAT_BC1_RGBA_UNORM_BLOCK, KHR_DF_MODEL_BC1A, false, kBc1WithHolesSamples},
        Bc_EncodeColorWithHoles},
    PackFormat{"bc1-srgb", 4, 4, 8,
        Gl_OfBlocks(GL_COMPRESSED_SRGB_S3TC_DXT1_EXT, GL_RGB),
        {VK_FORMAT_BC1_RGB_SRGB_BLOCK, KHR_DF_MODEL_BC1A, true, kBc1Samples},
        Bc_EncodeOpaqueColor},
    PackFormat{"bc2", 4, 4, 16,
        Gl_OfBlocks(GL_COMPRESSED_RGBA_S3TC_DXT3_EXT, GL_RGBA),
        {VK_FORMAT_BC2_UNORM_BLOCK, KHR_DF_MODEL_BC2, false, kBcAlphaSamples},
        Bc2_Encode},
    PackFormat{"bc3", 4, 4, 16,
        Gl_OfBlocks(GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, GL_RGBA),
        {VK_FORMAT_BC3_UNORM_BLOCK, KHR_DF_MODEL_BC3, false, kBcAlphaSamples},
        Bc3_Encode},
    PackFormat{"etc1", 4, 4, 8,
        Gl_OfBlocks(GL_ETC1_RGB8_OES, GL_RGB),
        {VK_FORMAT_UNDEFINED, KHR_DF_MODEL_UNSPECIFIED, false, {}},
        Etc_EncodeEtc1},
    PackFormat{"etc2-rgb", 4, 4, 8,
        Gl_OfBlocks(GL_COMPRESSED_RGB8_ETC2, GL_RGB),
        {VK_FORMAT_ETC2_R8G8B8_UNORM_BLOCK, KHR_DF_MODEL_ETC2, false, kEtc2Samples},
        Etc_EncodeEtc2},
    PackFormat{"etc2-rgb-a1", 4, 4, 8,
        Gl_OfBlocks(GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2, GL_RGBA),
        {VK_FORMAT_ETC2_R8G8B8A1_UNORM_BLOCK, KHR_DF_MODEL_ETC2, false, kEtc2WithHolesSamples},
        Etc_EncodeEtc2WithHoles},
    PackFormat{"etc2-rgba", 4, 4, 16,
        Gl_OfBlocks(GL_COMPRESSED_RGBA8_ETC2_EAC, GL_RGBA),
        {VK_FORMAT_ETC2_R8G8B8A8_UNORM_BLOCK, KHR_DF_MODEL_ETC2, false, kEtc2AlphaSamples},
        Etc2_EncodeWithAlpha},
};
// clang-format on

/// Both registries number the footprints in this order; Vulkan has an sRGB twin after each.
constexpr std::array<std::pair<std::uint32_t, std::uint32_t>, 14> kAstcFootprints{{
    {4, 4},
    {5, 4},
    {5, 5},
    {6, 5},
    {6, 6},
    {8, 5},
    {8, 6},
    {8, 8},
    {10, 5},
    {10, 6},
    {10, 8},
    {10, 10},
    {12, 10},
    {12, 12},
}};

constexpr auto kAstcFormats = [] {
    std::array<PackFormat, kAstcFootprints.size()> formats{};
    for (std::size_t i = 0; i < formats.size(); ++i) {
        const auto step = static_cast<std::uint32_t>(i);
        formats[i] = {
            "astc",
            kAstcFootprints[i].first,
            kAstcFootprints[i].second,
            16,
            {.internalFormat = GL_COMPRESSED_RGBA_ASTC_4x4_KHR + step,
             .baseInternalFormat = GL_RGBA},
            {VK_FORMAT_ASTC_4x4_UNORM_BLOCK + 2 * step, KHR_DF_MODEL_ASTC, false, kAstcSamples},
            nullptr};
    }
    return formats;
}();

}  // namespace

std::span<const PackFormat> Formats_GetAll() { return kFormats; }

const PackFormat* Formats_Find(std::string_view name) {
    const auto* found = std::ranges::find(kFormats, name, &PackFormat::name);
    return found == kFormats.end() ? nullptr : found;
}

const PackFormat* Formats_FindAstc(std::uint32_t blockWidth, std::uint32_t blockHeight) {
    const auto* found = std::ranges::find_if(kAstcFormats, [=](const PackFormat& format) {
        return format.blockWidth == blockWidth && format.blockHeight == blockHeight;
    });
    return found == kAstcFormats.end() ? nullptr : found;
}

}  // namespace koru_ktxpack
