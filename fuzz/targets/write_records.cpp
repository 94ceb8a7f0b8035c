// The writers with records that lie. Only the pixels are as many as dataSize says: nobody could
// know better. Sizes that would make a writer fill much memory are left out.
//
// Input: writer 1, sizes (width 4, height 4, bits per pixel 4, bytes per pixel 4, row padding 4,
// stride 4), shape 1, pixels.
#include <korutex.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "byte_reader.h"
#include "fuzz_check.h"
#include "load_checks.h"
#include "memory_file.h"

namespace {

constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 20;

enum class Writer { Astc, Ktx, Pvr };

std::int32_t Write(Writer writer, const KORU_Char* path, KORU_Image* image) {
    switch (writer) {
        case Writer::Astc:
            return KORU_Write_ASTC_To_File(path, image);
        case Writer::Ktx:
            return KORU_Write_KTX_To_File(path, image);
        case Writer::Pvr:
            break;
    }
    return KORU_Write_PVR_To_File(path, image);
}

/// Whether a writer may convert the record to more bytes than a target should fill.
bool MayBeHuge(const KORU_Image& image) {
    const std::uint64_t rgbStride = (std::uint64_t{image.width} * 3 + 3) / 4 * 4;
    // Sizes of 4 GiB and more are refused; these products fit 64 bits.
    const auto isLarge = [](std::uint64_t stride, std::uint64_t rows) {
        return stride <= UINT32_MAX && stride * rows <= UINT32_MAX && stride * rows > kMostBytes;
    };
    return isLarge(rgbStride, image.height) ||
           isLarge(std::uint64_t{image.width} * 4, image.height);
}

using Bytes = std::vector<std::uint8_t>;

/// What converting a 24-bit record gives, by definition: three bytes a pixel as long as the source
/// has them whole, what `alpha` adds behind each, zeros for the rest.
Bytes ConvertByDefinition(const KORU_Image& image, const Bytes& pixels, std::size_t stride,
                          const Bytes& alpha) {
    Bytes rows(stride * image.height);
    std::uint64_t source = 0;
    for (std::size_t y = 0; y < image.height; ++y) {
        std::size_t target = y * stride;
        for (std::size_t x = 0; x < image.width && source + 2 < pixels.size(); ++x) {
            for (int channel = 0; channel < 3; ++channel) rows[target++] = pixels[source++];
            for (const std::uint8_t byte : alpha) rows[target++] = byte;
        }
        source += image.rowPadding;
    }
    return rows;
}

/// The pixels that a writer leaves in the record and that follow in the file.
Bytes ExpectPixels(Writer writer, const KORU_Image& image, const Bytes& pixels) {
    const bool toRgba = writer == Writer::Astc;
    const std::uint64_t stride =
        std::uint64_t{image.width} * (toRgba ? 4 : 3) + (toRgba ? 0 : image.width % 4);
    const bool fits = stride <= UINT32_MAX && stride * image.height <= UINT32_MAX;
    // The ASTC writer converts whatever is not 32-bit, if there is something to convert.
    const bool isConverted =
        toRgba ? image.bitsPerPixel != 32 && !pixels.empty() : image.bitsPerPixel == 24;
    if (!fits || !isConverted) return pixels;
    return ConvertByDefinition(image, pixels, stride, toRgba ? Bytes{255} : Bytes{});
}

/// What a file must hold behind its header.
void CheckPayload(const Bytes& file, std::size_t headerBytes, const KORU_Image& image) {
    Fuzz_Require(file.size() == headerBytes + 4 + image.dataSize, "the file holds the pixels");
    std::uint32_t size = 0;
    for (int i = 3; i >= 0; --i) {
        size = size << 8 | file[headerBytes + static_cast<std::size_t>(i)];
    }
    Fuzz_Require(size == image.dataSize, "the file tells their size");
    Fuzz_Require(std::equal(image.pixels, image.pixels + image.dataSize,
                            file.begin() + static_cast<std::ptrdiff_t>(headerBytes + 4)),
                 "the file's pixels are the record's");
}

void CheckLoadsAgain(const Bytes& file, const KORU_Image& image) {
    const FuzzImagePtr loaded =
        Fuzz_Load(KORU_Load_KTX_From_Memory, file,
                  image.bitsPerPixel == 32 ? std::uint32_t{KORU_FLAG_RGBA} : 0u);
    Fuzz_Require(
        loaded != nullptr && loaded->width == image.width && loaded->height == image.height,
        "a written file loads again");
    for (std::uint32_t y = 0; y < loaded->height; ++y) {
        Fuzz_Require(std::memcmp(loaded->pixels + std::size_t{y} * loaded->stride,
                                 image.pixels + std::size_t{y} * image.stride, loaded->stride) == 0,
                     "its pixels are those that were written");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const MemoryFile file;
    ByteReader input(data, size);
    constexpr Writer kWriters[] = {Writer::Astc, Writer::Ktx, Writer::Pvr};
    const Writer writer = input.Pick(kWriters);
    // As the library makes them: new for the record, the malloc family for its pixels.
    const FuzzImagePtr image(new KORU_Image{});
    image->width = input.Le32();
    image->height = input.Le32();
    image->bitsPerPixel = input.Le32();
    image->bytesPerPixel = input.Le32();
    image->rowPadding = input.Le32();
    image->stride = input.Le32();
    const unsigned shape = input.Byte();
    const auto pixels = input.Rest();
    // Sound, unless the input wants it otherwise.
    if ((shape & 1) == 0) image->bitsPerPixel = (shape & 8) != 0 ? 32 : 24;
    if ((shape & 2) == 0) image->width = image->width % 32 + 1;
    if ((shape & 4) == 0) image->height = image->height % 32 + 1;
    const std::uint64_t packedBytes =
        std::uint64_t{image->width} * image->height * (image->bitsPerPixel / 8);
    const bool isSound = (shape & 0x17) == 0 && packedBytes <= kMostBytes;
    if (isSound) {
        image->bytesPerPixel = image->bitsPerPixel / 8;
        image->stride = image->width * image->bytesPerPixel;
        image->rowPadding = 0;
    }
    if (MayBeHuge(*image)) return 0;
    const std::size_t byteCount = isSound ? packedBytes : pixels.size();
    if ((shape & 0x20) == 0 || isSound) {
        image->pixels =
            static_cast<std::uint8_t*>(std::calloc(std::max<std::size_t>(byteCount, 1), 1));
        std::copy_n(pixels.begin(), std::min(byteCount, pixels.size()), image->pixels);
    }
    image->dataSize = static_cast<std::uint32_t>(byteCount);

    const KORU_Image before = *image;
    const Bytes pixelsBefore(before.pixels,
                             before.pixels + (before.pixels != nullptr ? byteCount : 0));

    file.Replace({});
    Fuzz_ForgetEarlierLoads();
    const bool isRefused = image->pixels == nullptr || image->width == 0 || image->height == 0;
    const std::int32_t result = Write(writer, file.GetPath(), image.get());
    const auto written = file.Read();
    Fuzz_Require(result == 0 || result == 1, "a writer gives 0 or 1");
    Fuzz_Require(!isRefused || (result == 0 && written.empty()), "a refused record writes nothing");
    if (isRefused) return 0;
    const Bytes pixelsAfter(image->pixels, image->pixels + image->dataSize);
    Fuzz_Require(pixelsAfter == ExpectPixels(writer, before, pixelsBefore),
                 "the record is converted as the definition says");
    if (writer == Writer::Astc) {
        Fuzz_Require(result == 0 && written.size() == 20, "the ASTC writer writes its stub");
        return 0;
    }
    constexpr std::size_t kKtxBytes = 92;
    constexpr std::size_t kPvrBytes = 52;
    Fuzz_Require(result == (image->dataSize != 0 ? 1 : 0),
                 "pixels are written where there are any");
    CheckPayload(written, writer == Writer::Ktx ? kKtxBytes : kPvrBytes, *image);
    if (isSound && writer == Writer::Ktx) CheckLoadsAgain(written, *image);
    return 0;
}
