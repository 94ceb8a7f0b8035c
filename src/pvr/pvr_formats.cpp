#include "pvr/pvr_formats.h"

#include <algorithm>
#include <array>
#include <span>

#include "formats/code_table.h"
#include "formats/gl_codes.h"

namespace koru {
namespace {

constexpr GlCode kNoGlFormat{};

/// Legacy types from `first` to `last`, both included.
struct TypeRange {
    std::uint32_t first, last;
};

constexpr auto kPackedTypes = std::to_array<TypeRange>(
    {{0, 9}, {16, 23}, {26, 27}, {37, 53}, {64, 68}, {80, 127}, {144, 181}});

constexpr auto kCompressedTypes = std::to_array<TypeRange>(
    {{10, 13}, {24, 25}, {28, 29}, {32, 36}, {54, 56}, {69, 70}, {128, 137}});

bool Contains(std::span<const TypeRange> ranges, std::uint32_t type) noexcept {
    return std::ranges::any_of(
        ranges, [type](TypeRange range) { return range.first <= type && type <= range.last; });
}

// clang-format off
constexpr auto kLegacyGlFormats = std::to_array<CodeRow<PvrLegacyType, GlCode>>({
    {kPvrLegacyRgba8888,             GL_RGBA8},
    {kPvrLegacyRgb888,               GL_RGB8},
    {kPvrLegacyPvrtc2,               GL_COMPRESSED_RGBA_PVRTC_2BPPV1_IMG},
    {kPvrLegacyPvrtc4,               GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG},
    {kPvrLegacyPvrtcII4,             GL_COMPRESSED_RGBA_PVRTC_4BPPV2_IMG},
    {kPvrLegacyPvrtcII2,             GL_COMPRESSED_RGBA_PVRTC_2BPPV2_IMG},
    {kPvrLegacyDxt1,                 GL_COMPRESSED_RGBA_S3TC_DXT1_EXT},
    {kPvrLegacyDxt3,                 GL_COMPRESSED_RGBA_S3TC_DXT3_EXT},
    {kPvrLegacyDxt5,                 GL_COMPRESSED_RGBA_S3TC_DXT5_EXT},
    {kPvrLegacyEtc1,                 GL_ETC1_RGB8_OES},
    // Quirk: either kind of alpha is ETC2's, also the explicit one; such files open as ever.
    {kPvrLegacyEtcExplicitAlpha,     GL_COMPRESSED_RGBA8_ETC2_EAC},
    {kPvrLegacyEtcInterpolatedAlpha, GL_COMPRESSED_RGBA8_ETC2_EAC},
});

// Quirk: PVRTC without alpha has no row and thus no GL format; keeps the answer 0 for both numbers.
constexpr auto kV3GlFormats = std::to_array<CodeRow<PvrV3Format, GlCode>>({
    {kPvrV3Pvrtc2Rgba, GL_COMPRESSED_RGBA_PVRTC_2BPPV1_IMG},
    {kPvrV3Pvrtc4Rgba, GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG},
    {kPvrV3PvrtcII2,   GL_COMPRESSED_RGBA_PVRTC_2BPPV2_IMG},
    {kPvrV3PvrtcII4,   GL_COMPRESSED_RGBA_PVRTC_4BPPV2_IMG},
    {kPvrV3Etc1,       GL_ETC1_RGB8_OES},
    {kPvrV3Dxt1,       GL_COMPRESSED_RGBA_S3TC_DXT1_EXT},
    {kPvrV3Dxt3,       GL_COMPRESSED_RGBA_S3TC_DXT3_EXT},
    {kPvrV3Dxt5,       GL_COMPRESSED_RGBA_S3TC_DXT5_EXT},
    {kPvrV3Etc2Rgb,    GL_COMPRESSED_RGB8_ETC2},
    {kPvrV3Etc2Rgba,   GL_COMPRESSED_RGBA8_ETC2_EAC},
    {kPvrV3Etc2Rgba1,  GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2},
    {kPvrV3EacR11,     GL_COMPRESSED_R11_EAC},
    {kPvrV3EacRg11,    GL_COMPRESSED_RG11_EAC},
});

/// Of a pixel; 0 bits where only the channels are known.
struct PixelSize {
    std::uint8_t channels = 0, bits = 0;
};

// Legacy types and GL codes share this table: no number is both.
constexpr auto kPixelSizes = std::to_array<CodeRow<std::uint32_t, PixelSize>>({
    // code                                   channels, bits
    {kPvrLegacyRgba8888,                             {4, 32}},
    {kPvrLegacyRgb888,                               {3, 24}},
    {kPvrLegacyPvrtc2,                               {4, 32}},
    {kPvrLegacyPvrtc4,                               {4, 32}},
    {kPvrLegacyDxt1,                                 {4, 32}},
    {kPvrLegacyDxt3,                                 {4, 32}},
    {kPvrLegacyDxt5,                                 {4, 32}},
    {kPvrLegacyEtc1,                                 {3, 24}},
    {kPvrLegacyEtcExplicitAlpha,                     {4, 32}},
    {kPvrLegacyEtcInterpolatedAlpha,                 {4, 32}},
    {GL_RGB,                                         {3,  0}},
    {GL_RGBA,                                        {4,  0}},
    {GL_RGB5,                                        {3,  0}},
    {GL_RGB8,                                        {3, 24}},
    {GL_RGBA4,                                       {4,  0}},
    {GL_RGB5_A1,                                     {4,  0}},
    {GL_RGBA8,                                       {4, 32}},
    {GL_RGB10_A2,                                    {4,  0}},
    {GL_BGR,                                         {3,  0}},
    {GL_BGRA,                                        {4,  0}},
    {GL_COMPRESSED_RGBA_S3TC_DXT1_EXT,               {4, 32}},
    {GL_COMPRESSED_RGBA_S3TC_DXT3_EXT,               {4, 32}},
    {GL_COMPRESSED_RGBA_S3TC_DXT5_EXT,               {4, 32}},
    {GL_COMPRESSED_SRGB_PVRTC_2BPPV1_EXT,            {3, 24}},
    {GL_COMPRESSED_SRGB_PVRTC_4BPPV1_EXT,            {3, 24}},
    {GL_COMPRESSED_SRGB_ALPHA_PVRTC_2BPPV1_EXT,      {4, 32}},
    {GL_COMPRESSED_SRGB_ALPHA_PVRTC_4BPPV1_EXT,      {4, 32}},
    {GL_COMPRESSED_RGB_PVRTC_4BPPV1_IMG,             {3, 24}},
    {GL_COMPRESSED_RGB_PVRTC_2BPPV1_IMG,             {3, 24}},
    {GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG,            {4, 32}},
    {GL_COMPRESSED_RGBA_PVRTC_2BPPV1_IMG,            {4, 32}},
    {GL_R11F_G11F_B10F,                              {3,  0}},
    {GL_RGB9_E5,                                     {3,  0}},
    {GL_SRGB8,                                       {3,  0}},
    {GL_SRGB8_ALPHA8,                                {4,  0}},
    {GL_RGB565,                                      {3,  0}},
    {GL_ETC1_RGB8_OES,                               {3, 24}},
    {GL_RGBA8UI,                                     {4,  0}},
    {GL_RGB8UI,                                      {3,  0}},
    {GL_RGBA8I,                                      {4,  0}},
    {GL_RGB8I,                                       {3,  0}},
    {GL_RGB8_SNORM,                                  {3,  0}},
    {GL_RGBA8_SNORM,                                 {4,  0}},
    {GL_RGB10_A2UI,                                  {4,  0}},
    {GL_COMPRESSED_RGBA_PVRTC_2BPPV2_IMG,            {4, 32}},
    {GL_COMPRESSED_RGBA_PVRTC_4BPPV2_IMG,            {4, 32}},
    {GL_COMPRESSED_R11_EAC,                          {1, 16}},
    {GL_COMPRESSED_SIGNED_R11_EAC,                   {1, 16}},
    {GL_COMPRESSED_RG11_EAC,                         {2, 16}},
    {GL_COMPRESSED_SIGNED_RG11_EAC,                  {2, 16}},
    {GL_COMPRESSED_RGB8_ETC2,                        {3, 24}},
    {GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2,    {4, 32}},
    {GL_COMPRESSED_RGBA8_ETC2_EAC,                   {4, 32}},
    {GL_COMPRESSED_SRGB_ALPHA_PVRTC_2BPPV2_IMG,      {4, 32}},
    {GL_COMPRESSED_SRGB_ALPHA_PVRTC_4BPPV2_IMG,      {4, 32}},
});
// clang-format on

static_assert(CodeTable_IsAscending(kLegacyGlFormats));
static_assert(CodeTable_IsAscending(kV3GlFormats));
static_assert(CodeTable_IsAscending(kPixelSizes));

}  // namespace

bool PvrLegacyIsPacked(std::uint32_t type) noexcept { return Contains(kPackedTypes, type); }

bool PvrLegacyIsCompressed(std::uint32_t type) noexcept { return Contains(kCompressedTypes, type); }

std::uint32_t PvrLegacyToGlFormat(std::uint32_t type) noexcept {
    return CodeTable_Get(kLegacyGlFormats, type, kNoGlFormat);
}

std::uint32_t PvrV3ToGlFormat(std::uint32_t number) noexcept {
    return CodeTable_Get(kV3GlFormats, number, kNoGlFormat);
}

std::uint32_t PvrFormatChannelCount(std::uint32_t code) noexcept {
    return CodeTable_Get(kPixelSizes, code, PixelSize{}).channels;
}

std::uint32_t PvrFormatBitsPerPixel(std::uint32_t code) noexcept {
    return CodeTable_Get(kPixelSizes, code, PixelSize{}).bits;
}

}  // namespace koru
