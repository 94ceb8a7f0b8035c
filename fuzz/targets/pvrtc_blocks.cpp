// PVRTC blocks of any size, powers of two or not, with a payload of any length, at each level of
// instruction sets.
//
// Input: bits per pixel and shape 1, width 2, height 2, blocks.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>

#include "byte_reader.h"
#include "core/kernel_level.h"
#include "fuzz_check.h"
#include "pvr/pvrtc_decoder.h"

namespace {

constexpr std::uint64_t kMostPixels = 1u << 12;

/// Decodes into exactly sized memory that holds `fill` before.
std::unique_ptr<std::uint8_t[]> Decode(std::span<const std::uint8_t> blocks, bool is2Bpp,
                                       std::int32_t width, std::int32_t height, std::size_t size,
                                       std::uint8_t fill, koru::KernelLevel level) {
    koru::KernelLevel_Force(level);
    auto pixels = std::make_unique<std::uint8_t[]>(size);
    std::fill_n(pixels.get(), size, fill);
    koru::PvrtcDecompress(blocks, is2Bpp, width, height, 0, pixels.get());
    return pixels;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteReader input(data, size);
    const unsigned shape = input.Byte();
    const bool is2Bpp = shape % 2 != 0;
    // Powers of two, as files should have them, or any size, one below zero included.
    const auto takeSize = [&] {
        const std::uint16_t value = input.Le16();
        return (shape & 2) != 0 ? 1 << value % 8 : static_cast<std::int16_t>(value);
    };
    const std::int32_t width = takeSize();
    const std::int32_t height = takeSize();
    const std::uint64_t pixelCount =
        width > 0 && height > 0
            ? std::uint64_t{static_cast<std::uint32_t>(width)} * static_cast<std::uint32_t>(height)
            : 0;
    if (pixelCount > kMostPixels) return 0;
    static_cast<void>(koru::Pvrtc_GetPayloadBytes(is2Bpp, static_cast<std::uint32_t>(width),
                                                  static_cast<std::uint32_t>(height)));

    // Exactly sized, so that a sanitizer sees the first byte too many.
    const auto rest = input.Rest();
    const auto exact = std::make_unique<std::uint8_t[]>(rest.size());
    std::copy(rest.begin(), rest.end(), exact.get());
    const std::span<const std::uint8_t> blocks(exact.get(), rest.size());
    const std::size_t byteCount = pixelCount * 4;
    const auto expected =
        Decode(blocks, is2Bpp, width, height, byteCount, 0x00, koru::KernelLevel::Scalar);
    for (const koru::KernelLevel level : koru::KernelLevel_GetRunnable()) {
        // Other contents before: a byte that is not written would show.
        const auto pixels = Decode(blocks, is2Bpp, width, height, byteCount, 0xA5, level);
        Fuzz_Require(std::equal(expected.get(), expected.get() + byteCount, pixels.get()),
                     "every byte is written, and the same one at each level");
    }
    return 0;
}
