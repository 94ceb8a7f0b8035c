// ETC1, ETC2 and EAC blocks to uncompressed pixels (OpenGL ES 3.0, appendix C).
#pragma once

#include <cstdint>
#include <optional>

#include "core/byte_buffer.h"

namespace koru {

enum EtcResult : std::uint32_t {
    kEtcSuccess = 0,
    kEtcOutOfMemory = 13,
    kEtcUnsupportedFormat = 16,
};

/// 1 after a signed 11-bit format was decoded, 0 after an unsigned one; others leave it alone.
extern std::uint32_t g_eacSigned;

/// What an image decodes to.
struct EtcPixels {
    std::uint32_t format = 0, internalFormat = 0, type = 0;  ///< GL codes.
    std::uint32_t pixelBytes = 0;
};

/// What Etc_DecodeImage does before it needs memory: notes whether 11-bit formats are signed, and
/// tells what the pixels will be. They stay untouched for an unsupported format.
EtcResult Etc_PreparePixels(std::uint32_t sourceInternalFormat, std::uint32_t width,
                            std::uint32_t height, bool srgbSupported, EtcPixels& pixels) noexcept;

/// Decodes one image of the eleven ETC-family formats into a new buffer: an EtcResult.
///
/// source                Etc_GetPayloadBytes(...) bytes: blocks row by row, left to right.
/// sourceInternalFormat  GL_ETC1_RGB8_OES or one of GL_COMPRESSED_R11_EAC to
///                       GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC.
/// destination           Receives width * height pixels, rows packed, top row first: 8-bit RGB or
///                       RGBA, or 16-bit little-endian R or RG. Empty for a size of 0, and when
///                       memory runs out or the size padded to whole blocks does not fit 32 bits;
///                       untouched for an unsupported format.
/// format, internalFormat, type
///                       Receive the GL codes of those pixels, also when memory runs out; untouched
///                       for an unsupported format.
/// reserved              Not read.
/// srgbSupported         0 makes the sRGB formats unsupported. Their pixels are those of the linear
///                       formats: no color is converted.
std::uint32_t Etc_DecodeImage(const std::uint8_t* source, std::uint32_t sourceInternalFormat,
                              std::uint32_t width, std::uint32_t height, ByteBuffer& destination,
                              std::uint32_t& format, std::uint32_t& internalFormat,
                              std::uint32_t& type, std::int32_t reserved,
                              std::uint8_t srgbSupported) noexcept;

/// Decodes an image, or rows of blocks that follow each other in one, into width * height packed
/// pixels of the caller; 11-bit formats are signed or not as g_eacSigned says. Nothing for an
/// unsupported format.
void Etc_DecodePixels(std::uint8_t* target, const std::uint8_t* source,
                      std::uint32_t sourceInternalFormat, std::uint32_t width,
                      std::uint32_t height) noexcept;

/// Bytes that decoding reads, 0 for an unsupported format; nothing if they do not fit 32 bits.
[[nodiscard]] std::optional<std::uint32_t> Etc_GetPayloadBytes(std::uint32_t sourceInternalFormat,
                                                               std::uint32_t width,
                                                               std::uint32_t height) noexcept;

}  // namespace koru
