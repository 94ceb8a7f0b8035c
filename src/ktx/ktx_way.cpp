#include "ktx/ktx_way.h"

#include <algorithm>
#include <array>

#include "formats/gl_codes.h"
#include "formats/gl_formats.h"

namespace koru {
namespace {

struct S3tcRow {
    GlCode glInternalFormat;
    S3tcMode mode;
    std::uint32_t componentCount;
};

// clang-format off
constexpr std::array kS3tcRows{
    //      code                                     mode            components
    S3tcRow{GL_COMPRESSED_RGBA_S3TC_DXT1_EXT,        S3tcMode::Dxt1, 4},
    S3tcRow{GL_COMPRESSED_RGBA_S3TC_DXT3_EXT,        S3tcMode::Dxt3, 4},
    S3tcRow{GL_COMPRESSED_RGBA_S3TC_DXT5_EXT,        S3tcMode::Dxt5, 4},
    S3tcRow{GL_COMPRESSED_SRGB_S3TC_DXT1_EXT,        S3tcMode::Dxt1, 3},
    S3tcRow{GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT1_EXT,  S3tcMode::Dxt1, 4},
    S3tcRow{GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT3_EXT,  S3tcMode::Dxt3, 4},
    S3tcRow{GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT5_EXT,  S3tcMode::Dxt5, 4},
};
// clang-format on

constexpr bool IsInRange(std::uint32_t code, GlCode first, GlCode last) noexcept {
    return code >= first && code <= last;
}

constexpr bool IsEtc(std::uint32_t code) noexcept {
    return code == GL_ETC1_RGB8_OES ||
           IsInRange(code, GL_COMPRESSED_R11_EAC, GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC);
}

constexpr bool IsFlatAstc(std::uint32_t code) noexcept {
    return IsInRange(code, GL_COMPRESSED_RGBA_ASTC_4x4_KHR, GL_COMPRESSED_RGBA_ASTC_12x12_KHR) ||
           IsInRange(code, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_4x4_KHR,
                     GL_COMPRESSED_SRGB8_ALPHA8_ASTC_12x12_KHR);
}

std::uint32_t CountComponents(std::uint32_t glInternalFormat) noexcept {
    return static_cast<std::uint32_t>(Gl_GetComponentCount(glInternalFormat));
}

}  // namespace

KtxPixelWay Ktx_ChooseWay(std::uint32_t glInternalFormat, bool isCompressed) noexcept {
    if (!isCompressed) {
        return {.way = KtxWay::Packed, .componentCount = CountComponents(glInternalFormat)};
    }
    const auto* row = std::ranges::find(kS3tcRows, glInternalFormat, &S3tcRow::glInternalFormat);
    if (row != kS3tcRows.end()) {
        return {.way = KtxWay::S3tc, .s3tcMode = row->mode, .componentCount = row->componentCount};
    }
    if (IsEtc(glInternalFormat)) return {.way = KtxWay::Etc};
    if (IsFlatAstc(glInternalFormat)) return {.way = KtxWay::Astc, .componentCount = 4};
    return {};
}

}  // namespace koru
