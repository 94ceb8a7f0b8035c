// Which way the payload of a pixel format takes to pixels.
#pragma once

#include <cstdint>
#include <optional>

#include "blocks/s3tc_decoder.h"
#include "pvr/pvr_header.h"

namespace koru {

enum class PvrWay {
    None,  ///< A format that is not decoded.
    Packed,
    Pvrtc,
    Etc,
    S3tc,
};

/// How a pixel format's payload becomes pixels.
struct PvrPixelWay {
    PvrWay way = PvrWay::None;
    std::uint32_t componentCount = 0;  ///< Except for PvrWay::Etc: there the decoder tells.
    std::uint32_t bitsPerPixel = 0;    ///< For PvrWay::Packed; 0: the pixels stay black.
    std::uint32_t glFormat = 0;  ///< Packed: selects masks and conversion. Etc: the block format.
    bool is2Bpp = false;         ///< For PvrWay::Pvrtc.
    S3tcMode s3tcMode{};         ///< For PvrWay::S3tc.

    bool operator==(const PvrPixelWay&) const = default;
};

/// What a legacy pixel type says of the compressed flag; nothing for a type that is in no set.
[[nodiscard]] std::optional<bool> Pvr_ClassifyLegacy(std::uint32_t pixelType) noexcept;

[[nodiscard]] PvrPixelWay Pvr_ChooseLegacyWay(std::uint32_t pixelType, bool isCompressed) noexcept;
[[nodiscard]] PvrPixelWay Pvr_ChooseV3Way(const PvrV3Header& header) noexcept;

}  // namespace koru
