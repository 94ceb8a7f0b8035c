#include "core/row_alignment.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "core/byte_buffer.h"
#include "core/bytes.h"

namespace koru {

int AlignRgbRows(KORU_Image& image) noexcept {
    if (image.pixels == nullptr || image.bitsPerPixel != 24) return 0;
    constexpr std::uint64_t kPixelBytes = 3;
    const std::uint64_t rowBytes = image.width * kPixelBytes;
    const std::uint64_t stride = (rowBytes + 3) / 4 * 4;
    if (stride > std::numeric_limits<std::uint32_t>::max()) return 0;
    const auto dataSize = Size_Mul32(static_cast<std::uint32_t>(stride), image.height);
    if (!dataSize) return 0;
    ByteBuffer aligned = ByteBuffer::AllocateZeroed(*dataSize);
    if (!aligned) return 0;

    // The new rows hold every pixel, so only the old size can end one early. Behind its last whole
    // pixel every row is empty, however many the record tells.
    std::uint64_t source = 0;
    for (std::uint32_t y = 0; y < image.height && source + 2 < image.dataSize; ++y) {
        const std::uint64_t wholePixels = (image.dataSize - source) / kPixelBytes;
        const std::uint64_t copiedBytes =
            std::min<std::uint64_t>(wholePixels, image.width) * kPixelBytes;
        std::memcpy(aligned.Data() + y * stride, image.pixels + source, copiedBytes);
        source += copiedBytes + image.rowPadding;
    }

    std::free(image.pixels);
    image.pixels = aligned.Release();
    image.stride = static_cast<std::uint32_t>(stride);
    image.dataSize = *dataSize;
    image.rowPadding = static_cast<std::uint32_t>(stride - rowBytes);
    image.bitsPerPixel = 24;
    image.bitsPerChannel = 8;
    image.bytesPerPixel = kPixelBytes;
    return 1;
}

}  // namespace koru
