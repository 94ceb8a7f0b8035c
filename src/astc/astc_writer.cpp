#include "astc/astc_writer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "astc/astc_reader.h"
#include "core/byte_buffer.h"
#include "core/bytes.h"
#include "core/file_access.h"

namespace koru {

int Image_ConvertToRgba(KORU_Image& image) noexcept {
    if (image.pixels == nullptr || image.width == 0 || image.height == 0 || image.dataSize == 0) {
        return 0;
    }
    if (image.bitsPerPixel == 32) return 1;
    const auto size = Size_GetPacked(image.width, image.height, 4);
    if (!size) return 0;
    ByteBuffer rgba = ByteBuffer::AllocateZeroed(size->dataSize);
    if (!rgba) return 0;

    // The new buffer holds every pixel, so only the source can end a row early. Behind its last
    // whole pixel every row is empty, however many the record tells.
    std::uint64_t source = 0;
    std::uint8_t* target = rgba.Data();
    for (std::uint32_t y = 0; y < image.height && source + 2 < image.dataSize; ++y) {
        for (std::uint32_t x = 0; x < image.width && source + 2 < image.dataSize; ++x) {
            target[0] = image.pixels[source];
            target[1] = image.pixels[source + 1];
            target[2] = image.pixels[source + 2];
            target[3] = 255;
            source += 3;
            target += 4;
        }
        source += image.rowPadding;
    }

    std::free(image.pixels);
    image.pixels = rgba.Release();
    image.stride = size->stride;
    image.dataSize = size->dataSize;
    image.bitsPerPixel = 32;
    image.bitsPerChannel = 8;
    image.bytesPerPixel = 4;
    image.rowPadding = 0;
    image.reservedB = 0;
    return 1;
}

int Astc_WriteHeaderStub(std::FILE* file, KORU_Image& image) noexcept {
    // Hosts rely on the converted record; the header is written even if there was nothing to
    // convert.
    static_cast<void>(Image_ConvertToRgba(image));

    std::array<std::uint8_t, kAstcHeaderBytes> header{};
    const std::span<std::uint8_t, kAstcHeaderBytes> fields(header);
    Bytes_StoreLe32<0>(fields, kAstcMagic);
    fields[6] = 1;  // block depth; block width and height stay 0
    Bytes_StoreLe24<7>(fields, image.width);
    Bytes_StoreLe24<10>(fields, image.height);
    if (!File_Write(file, header)) return 0;

    constexpr std::array<std::uint8_t, 4> kNoPayload{};
    if (!File_Write(file, kNoPayload)) return 0;
    // Quirk: the payload is a write of no bytes, which counts as not written; the writer never
    // reports success, so that no host takes the stub for a texture.
    return File_Write(file, {}) ? 1 : 0;
}

}  // namespace koru
