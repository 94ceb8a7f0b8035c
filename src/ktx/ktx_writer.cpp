#include "ktx/ktx_writer.h"

#include <array>
#include <cstdint>

#include "core/file_access.h"
#include "core/row_alignment.h"
#include "formats/gl_codes.h"
#include "ktx/ktx_header.h"

namespace koru {
namespace {

/// Key, NUL, value, NUL, and one byte of padding to a multiple of 4.
constexpr auto kOrientation =
    std::to_array<std::uint8_t>({'K', 'T', 'X', 'o', 'r', 'i', 'e', 'n', 't', 'a', 't', 'i',
                                 'o', 'n', 0,   'S', '=', 'r', ',', 'T', '=', 'd', 0,   0});
constexpr std::uint32_t kOrientationBytes = 23;
constexpr std::uint32_t kSizeBytes = 4;

Ktx11Header MakeHeader(const KORU_Image& image) noexcept {
    // Quirk: the internal format is the unsized base format; files stay the bytes that hosts know.
    const std::uint32_t format = image.bitsPerPixel == 32 ? GL_RGBA : GL_RGB;
    return {.endianness = kKtxNativeEndianness,
            .glType = GL_UNSIGNED_BYTE,
            .glTypeSize = 1,
            .glFormat = format,
            .glInternalFormat = format,
            .glBaseInternalFormat = format,
            .pixelWidth = image.width,
            .pixelHeight = image.height,
            .pixelDepth = 0,
            .numberOfArrayElements = 0,
            .numberOfFaces = 1,
            .numberOfMipmapLevels = 1,
            .bytesOfKeyValueData = kSizeBytes + kOrientation.size()};
}

}  // namespace

int Ktx_WriteImage(std::FILE* file, KORU_Image& image) noexcept {
    if (!File_Write(file, Ktx_StoreHeader11(MakeHeader(image)))) return 0;
    if (!File_WriteLe32(file, kOrientationBytes)) return 0;
    if (!File_Write(file, kOrientation)) return 0;
    // A record that cannot be aligned is written as it is.
    static_cast<void>(AlignRgbRows(image));
    if (!File_WriteLe32(file, image.dataSize)) return 0;
    return File_Write(file, {image.pixels, image.dataSize}) ? 1 : 0;
}

}  // namespace koru
