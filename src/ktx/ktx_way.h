// Which way the payload of a format takes to pixels.
#pragma once

#include <cstdint>

#include "blocks/s3tc_decoder.h"

namespace koru {

enum class KtxWay {
    None,  ///< A compressed format that is not decoded.
    S3tc,
    Etc,
    Astc,
    Packed,
};

/// How a GL internal format's payload becomes pixels.
struct KtxPixelWay {
    KtxWay way = KtxWay::None;
    S3tcMode s3tcMode{};               ///< For KtxWay::S3tc.
    std::uint32_t componentCount = 0;  ///< Except for KtxWay::Etc: there the decoder tells.

    bool operator==(const KtxPixelWay&) const = default;
};

/// Quirk: GL_COMPRESSED_RGB_S3TC_DXT1_EXT and the 3D forms of ASTC have no way; such files stay
/// refused.
[[nodiscard]] KtxPixelWay Ktx_ChooseWay(std::uint32_t glInternalFormat, bool isCompressed) noexcept;

}  // namespace koru
