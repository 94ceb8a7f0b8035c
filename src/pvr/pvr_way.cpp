#include "pvr/pvr_way.h"

#include <algorithm>
#include <array>

#include "formats/gl_codes.h"
#include "pvr/pvr_formats.h"

namespace koru {
namespace {

using FourBytes = std::array<std::uint8_t, 4>;

struct NamesRow {
    FourBytes names;
    std::uint32_t componentCount;
};

// Quirk: the names give the count and no order, so BGRA bytes come out as if they were RGBA.
constexpr std::array kNamesRows{
    NamesRow{{'r', 'g', 'b', 'a'}, 4}, NamesRow{{'b', 'g', 'r', 'a'}, 4},
    NamesRow{{'r', 'g', 'b', 'x'}, 4}, NamesRow{{'r', 'g', 'b', 0}, 3},
    NamesRow{{'b', 'g', 'r', 0}, 3},   NamesRow{{'r', 0, 0, 0}, 1},
    NamesRow{{'g', 0, 0, 0}, 1},       NamesRow{{'b', 0, 0, 0}, 1},
    NamesRow{{'a', 0, 0, 0}, 1},       NamesRow{{'l', 0, 0, 0}, 1},
};

struct WidthsRow {
    FourBytes widths;
    std::uint32_t bitsPerPixel;
    GlCode glFormat;
};

constexpr std::array kWidthsRows{
    WidthsRow{{8, 8, 8, 8}, 32, GL_RGBA8},       WidthsRow{{8, 8, 8, 0}, 24, GL_RGB8},
    WidthsRow{{10, 10, 10, 2}, 32, GL_RGB10_A2}, WidthsRow{{11, 11, 10, 0}, 32, GL_R11F_G11F_B10F},
    WidthsRow{{4, 4, 4, 4}, 16, GL_RGBA4},       WidthsRow{{5, 6, 5, 0}, 16, GL_RGB565},
    WidthsRow{{5, 5, 5, 0}, 16, GL_RGB5},        WidthsRow{{5, 5, 5, 1}, 16, GL_RGB5_A1},
};

/// Quirk: count and bits need not agree. Pixels of fewer than four channels may hold a fourth all
/// the same; a surface that an earlier image made 32-bit shows it as alpha, others do not.
PvrPixelWay ChoosePacked(const FourBytes& names, const FourBytes& widths) noexcept {
    PvrPixelWay way{.way = PvrWay::Packed};
    const auto* byNames = std::ranges::find(kNamesRows, names, &NamesRow::names);
    if (byNames != kNamesRows.end()) way.componentCount = byNames->componentCount;
    const auto* byWidths = std::ranges::find(kWidthsRows, widths, &WidthsRow::widths);
    if (byWidths != kWidthsRows.end()) {
        way.bitsPerPixel = byWidths->bitsPerPixel;
        way.glFormat = byWidths->glFormat;
    }
    return way;
}

constexpr PvrPixelWay MakePvrtc(bool is2Bpp) noexcept {
    return {.way = PvrWay::Pvrtc, .componentCount = 4, .is2Bpp = is2Bpp};
}

constexpr PvrPixelWay MakeEtc(std::uint32_t glFormat) noexcept {
    return {.way = PvrWay::Etc, .glFormat = glFormat};
}

/// Quirk: DXT1 is decoded without its alpha.
constexpr PvrPixelWay MakeS3tc(S3tcMode mode) noexcept {
    return {
        .way = PvrWay::S3tc, .componentCount = mode == S3tcMode::Dxt1 ? 3u : 4u, .s3tcMode = mode};
}

}  // namespace

std::optional<bool> Pvr_ClassifyLegacy(std::uint32_t pixelType) noexcept {
    if (PvrLegacyIsPacked(pixelType)) return false;
    if (PvrLegacyIsCompressed(pixelType)) return true;
    return std::nullopt;
}

PvrPixelWay Pvr_ChooseLegacyWay(std::uint32_t pixelType, bool isCompressed) noexcept {
    if (!isCompressed) {
        return {.way = PvrWay::Packed,
                .componentCount = PvrFormatChannelCount(pixelType),
                .bitsPerPixel = PvrFormatBitsPerPixel(pixelType),
                .glFormat = pixelType};
    }
    switch (pixelType) {
        case kPvrLegacyPvrtc2:
        case kPvrLegacyPvrtc4:
            return MakePvrtc(pixelType == kPvrLegacyPvrtc2);
        case kPvrLegacyEtc1:
        case kPvrLegacyEtcExplicitAlpha:
        case kPvrLegacyEtcInterpolatedAlpha:
            return MakeEtc(PvrLegacyToGlFormat(pixelType));
        case kPvrLegacyDxt1:
            return MakeS3tc(S3tcMode::Dxt1);
        case kPvrLegacyDxt3:
            return MakeS3tc(S3tcMode::Dxt3);
        case kPvrLegacyDxt5:
            return MakeS3tc(S3tcMode::Dxt5);
        default:
            return {};
    }
}

PvrPixelWay Pvr_ChooseV3Way(const PvrV3Header& header) noexcept {
    if (header.IsPacked()) return ChoosePacked(header.channelNames, header.channelWidths);
    switch (header.pixelFormat) {
        case kPvrV3Pvrtc2Rgb:
        case kPvrV3Pvrtc2Rgba:
            return MakePvrtc(true);
        case kPvrV3Pvrtc4Rgb:
        case kPvrV3Pvrtc4Rgba:
            return MakePvrtc(false);
        case kPvrV3Etc1:
        case kPvrV3Etc2Rgb:
        case kPvrV3Etc2Rgba:
        case kPvrV3Etc2Rgba1:
        case kPvrV3EacR11:
        case kPvrV3EacRg11:
            return MakeEtc(PvrV3ToGlFormat(header.pixelFormat));
        case kPvrV3Dxt1:
            return MakeS3tc(S3tcMode::Dxt1);
        case kPvrV3Dxt3:
            return MakeS3tc(S3tcMode::Dxt3);
        case kPvrV3Dxt5:
            return MakeS3tc(S3tcMode::Dxt5);
        default:
            return {};
    }
}

}  // namespace koru
