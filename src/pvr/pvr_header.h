// The two headers of PVR files.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace koru {

/// Both headers take so much.
inline constexpr std::size_t kPvrHeaderBytes = 52;

inline constexpr std::uint32_t kPvrV3Magic = 0x03525650;      ///< "PVR" 3, at offset 0.
inline constexpr std::uint32_t kPvrLegacyMagic = 0x21525650;  ///< "PVR!", at offset 44.

/// Layout (little-endian words): header size, height, width, mip-map count, flags, data size, bit
/// count, four masks, magic, surface count.
struct PvrLegacyHeader {
    std::uint32_t headerSize = 0;
    std::uint32_t height = 0;
    std::uint32_t width = 0;
    std::uint32_t mipMapCount = 0;  ///< Without the largest level.
    std::uint32_t flags = 0;        ///< Low byte: the pixel type; bit 16: vertically flipped.
    std::uint32_t dataSize = 0;
    std::uint32_t bitCount = 0;
    std::uint32_t magic = 0;
    std::uint32_t surfaceCount = 0;

    [[nodiscard]] std::uint32_t GetPixelType() const noexcept { return flags & 0xFF; }
    /// 1 for rows that run upwards, else 0.
    [[nodiscard]] std::uint32_t GetFlip() const noexcept { return flags >> 16 & 1; }
};

/// Layout (little-endian): version 4, flags 4, pixel format 8, color space 4, channel type 4,
/// height 4, width 4, depth 4, surface count 4, face count 4, mip-map count 4, metadata size 4.
struct PvrV3Header {
    std::uint32_t flags = 0;
    std::uint32_t pixelFormat = 0;               ///< A compressed-format number if no width is set.
    std::array<std::uint8_t, 4> channelNames{};  ///< The same bytes, otherwise.
    std::array<std::uint8_t, 4> channelWidths{};  ///< Bits of each channel.
    std::uint32_t colorSpace = 0;
    std::uint32_t channelType = 0;
    std::uint32_t height = 0;
    std::uint32_t width = 0;
    std::uint32_t depth = 0;
    std::uint32_t surfaceCount = 0;
    std::uint32_t faceCount = 0;
    std::uint32_t mipMapCount = 0;
    std::uint32_t metadataSize = 0;

    [[nodiscard]] bool IsPacked() const noexcept {
        return channelWidths != std::array<std::uint8_t, 4>{};
    }
};

/// The fields as they are; nothing is checked.
[[nodiscard]] PvrLegacyHeader Pvr_LoadLegacyHeader(
    std::span<const std::uint8_t, kPvrHeaderBytes> raw) noexcept;
[[nodiscard]] PvrV3Header Pvr_LoadV3Header(
    std::span<const std::uint8_t, kPvrHeaderBytes> raw) noexcept;

/// The first rule that a legacy header breaks. A version-3 header breaks none.
enum class PvrHeaderFault {
    None,
    Magic,
    DataSize,  ///< 0.
    Width,     ///< 0.
    Height,    ///< 0.
};
[[nodiscard]] PvrHeaderFault Pvr_FindFault(const PvrLegacyHeader& header) noexcept;

}  // namespace koru
