// What the pixel formats of PVR files mean.
#pragma once

#include <cstdint>

namespace koru {

/// Pixel types of legacy headers that readers or tables know. The fixed type makes any value from a
/// file legal to hold.
enum PvrLegacyType : std::uint32_t {
    kPvrLegacyRgba8888 = 18,
    kPvrLegacyRgb888 = 21,
    kPvrLegacyPvrtc2 = 24,  ///< 2 bits per pixel, as the other names with a 2; 4 likewise.
    kPvrLegacyPvrtc4 = 25,
    kPvrLegacyPvrtcII4 = 28,
    kPvrLegacyPvrtcII2 = 29,
    kPvrLegacyDxt1 = 32,
    kPvrLegacyDxt3 = 34,
    kPvrLegacyDxt5 = 36,
    kPvrLegacyEtc1 = 54,
    kPvrLegacyEtcExplicitAlpha = 55,
    kPvrLegacyEtcInterpolatedAlpha = 56,
};

/// Compressed-format numbers of version-3 headers, likewise.
enum PvrV3Format : std::uint32_t {
    kPvrV3Pvrtc2Rgb = 0,
    kPvrV3Pvrtc2Rgba = 1,
    kPvrV3Pvrtc4Rgb = 2,
    kPvrV3Pvrtc4Rgba = 3,
    kPvrV3PvrtcII2 = 4,
    kPvrV3PvrtcII4 = 5,
    kPvrV3Etc1 = 6,
    kPvrV3Dxt1 = 7,
    kPvrV3Dxt3 = 9,
    kPvrV3Dxt5 = 11,
    kPvrV3Etc2Rgb = 22,
    kPvrV3Etc2Rgba = 23,
    kPvrV3Etc2Rgba1 = 24,  ///< RGB with 1-bit alpha.
    kPvrV3EacR11 = 25,
    kPvrV3EacRg11 = 26,
};

/// Whether a legacy pixel type (0 to 255) counts as packed pixels, or as blocks. Some types are
/// neither; no type is both.
[[nodiscard]] bool PvrLegacyIsPacked(std::uint32_t type) noexcept;
[[nodiscard]] bool PvrLegacyIsCompressed(std::uint32_t type) noexcept;

/// The GL internal format of a legacy pixel type; 0 if it has none.
[[nodiscard]] std::uint32_t PvrLegacyToGlFormat(std::uint32_t type) noexcept;

/// The GL internal format of a version-3 compressed-format number; 0 if it has none.
[[nodiscard]] std::uint32_t PvrV3ToGlFormat(std::uint32_t number) noexcept;

/// 8-bit channels of a decoded pixel, which are also its bytes, and bits of a packed or decoded
/// pixel; by legacy pixel type or GL code, 0 for other codes.
/// Quirk: some codes have channels but no bits, EAC has 16 bits whatever its channels; keeps the
/// pair of answers that readers size their images by.
[[nodiscard]] std::uint32_t PvrFormatChannelCount(std::uint32_t code) noexcept;
[[nodiscard]] std::uint32_t PvrFormatBitsPerPixel(std::uint32_t code) noexcept;

}  // namespace koru
