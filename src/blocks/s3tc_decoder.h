// S3TC and RGTC blocks (BC1 to BC5) to 8-bit pixels.
#pragma once

#include <cstdint>
#include <optional>

namespace koru {

/// Block formats by the numbers that readers use. Others, 4 among them, are no format.
enum class S3tcMode : std::uint32_t {
    Dxt1 = 1,  ///< BC1 with 1-bit alpha.
    Dxt3 = 2,  ///< BC2, explicit alpha.
    Dxt5 = 3,  ///< BC3, interpolated alpha.
    Bc4 = 5,   ///< One channel, into red; the others are 255.
    Bc5 = 6,   ///< Two channels, the first into green, the second into red; the others are 255.
};

/// Decodes one image. 1, always.
///
/// - destination: width * height * bytesPerPixel bytes of the caller; rows packed, top row first,
///   a pixel is the first bytesPerPixel bytes of R, G, B, A.
/// - source: S3tc_GetPayloadBytes(mode, width, height) bytes, blocks row by row, left to right.
/// - mode: a number without a format reads nothing and makes every byte 255.
/// - reserved: not read.
/// - bytesPerPixel: 1 to 4, though readers ask for 3 and 4 only; other values write nothing.
std::uint32_t S3tc_DecodeImage(std::uint8_t* destination, const std::uint8_t* source, S3tcMode mode,
                               std::uint64_t reserved, std::uint32_t width, std::uint32_t height,
                               std::int32_t bytesPerPixel) noexcept;

/// Bytes that decoding reads, 0 for a mode without a format; nothing if they do not fit 32 bits.
[[nodiscard]] std::optional<std::uint32_t> S3tc_GetPayloadBytes(S3tcMode mode, std::uint32_t width,
                                                                std::uint32_t height) noexcept;

}  // namespace koru
