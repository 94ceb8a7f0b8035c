#include "png_reader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <vector>

// As the one implementation of this decoder has it.
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#include <stb_image.h>

namespace koru_host {
namespace {

constexpr std::uint32_t kRgbaBytes = 4;
constexpr std::uint64_t kMaxFileBytes = 0xFFFFFFFF;

struct Pixels {
    std::unique_ptr<stbi_uc, void (*)(void*)> rgba{nullptr, stbi_image_free};
    std::uint32_t width = 0, height = 0;
    bool hasAlpha = false;
};

[[noreturn]] void Png_Fail() {
    const char* reason = stbi_failure_reason();
    if (reason != nullptr && std::string_view(reason) == "outofmem") throw std::bad_alloc();
    throw PngError(reason != nullptr && std::string_view(reason) == "too large"
                       ? "the picture is too large"
                       : "the PNG data is damaged");
}

int Png_GetSize(std::span<const std::uint8_t> file) {
    // What lies behind 2 GiB is not looked at.
    return static_cast<int>(std::min<std::size_t>(file.size(), std::numeric_limits<int>::max()));
}

Pixels Png_Decode(std::span<const std::uint8_t> file) {
    int width = 0, height = 0, channels = 0;
    Pixels pixels;
    pixels.rgba.reset(stbi_load_from_memory(file.data(), Png_GetSize(file), &width, &height,
                                            &channels, kRgbaBytes));
    if (pixels.rgba == nullptr) Png_Fail();
    pixels.width = static_cast<std::uint32_t>(width);
    pixels.height = static_cast<std::uint32_t>(height);
    pixels.hasAlpha = channels == 2 || channels == 4;  // grey and alpha, or RGBA
    return pixels;
}

/// A KTX 1.1 file of one level around the pixels, rows padded to 4 bytes.
std::vector<std::uint8_t> Png_MakeKtx(const Pixels& pixels) {
    constexpr std::uint32_t kUnsignedByte = 0x1401;
    constexpr std::uint32_t kRgb = 0x1907;
    constexpr std::uint32_t kRgba = 0x1908;
    constexpr auto kIdentifier = std::to_array<std::uint8_t>(
        {0xAB, 0x4B, 0x54, 0x58, 0x20, 0x31, 0x31, 0xBB, 0x0D, 0x0A, 0x1A, 0x0A});
    constexpr std::size_t kHeaderBytes = 68;  // with the size of the level

    const std::uint64_t bytesPerPixel = pixels.hasAlpha ? 4 : 3;
    const std::uint64_t stride = (pixels.width * bytesPerPixel + 3) / 4 * 4;
    const std::uint64_t levelBytes = stride * pixels.height;
    if (levelBytes > kMaxFileBytes - kHeaderBytes) throw PngError("the picture is too large");
    const std::uint32_t format = pixels.hasAlpha ? kRgba : kRgb;

    std::vector<std::uint8_t> file(kIdentifier.begin(), kIdentifier.end());
    file.reserve(static_cast<std::size_t>(kHeaderBytes + levelBytes));
    // Endianness, type, its size, three formats, size, depth, layers, faces, levels, no pairs.
    for (const std::uint32_t word :
         {0x04030201u, kUnsignedByte, 1u, format, format, format, pixels.width, pixels.height, 0u,
          0u, 1u, 1u, 0u, static_cast<std::uint32_t>(levelBytes)}) {
        for (int shift = 0; shift < 32; shift += 8) {
            file.push_back(static_cast<std::uint8_t>(word >> shift & 0xFF));
        }
    }
    file.resize(static_cast<std::size_t>(kHeaderBytes + levelBytes));
    const std::uint8_t* from = pixels.rgba.get();
    for (std::uint32_t y = 0; y < pixels.height; ++y) {
        std::uint8_t* to = file.data() + kHeaderBytes + y * stride;
        for (std::uint32_t x = 0; x < pixels.width; ++x, from += kRgbaBytes, to += bytesPerPixel) {
            std::memcpy(to, from, bytesPerPixel);
        }
    }
    return file;
}

}  // namespace

PngFacts Png_ReadFacts(std::span<const std::uint8_t> file) {
    int width = 0, height = 0, channels = 0;
    if (stbi_info_from_memory(file.data(), Png_GetSize(file), &width, &height, &channels) == 0) {
        Png_Fail();
    }
    const bool isWide = stbi_is_16_bit_from_memory(file.data(), Png_GetSize(file)) != 0;
    return {.width = static_cast<std::uint32_t>(width),
            .height = static_cast<std::uint32_t>(height),
            .bitsPerChannel = isWide ? 16u : 8u};
}

ImageHandle Png_Load(std::span<const std::uint8_t> file) {
    std::vector<std::uint8_t> ktx;
    bool hasAlpha = false;
    {
        const Pixels pixels = Png_Decode(file);
        hasAlpha = pixels.hasAlpha;
        ktx = Png_MakeKtx(pixels);
    }
    // The library makes the record: writers may replace its pixels, which must be of its heap.
    ImageHandle image(KORU_Load_KTX_From_Memory(ktx.data(), static_cast<std::uint32_t>(ktx.size()),
                                                hasAlpha ? KORU_FLAG_RGBA : 0));
    if (image == nullptr) throw std::bad_alloc();
    return image;
}

}  // namespace koru_host
