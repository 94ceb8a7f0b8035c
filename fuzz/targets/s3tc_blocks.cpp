// S3TC and RGTC blocks of any mode and size, exactly as many bytes as the decoder may read, with
// every set of kernels; then the same with a payload of any length, from where the readers start.
//
// Input: mode 1, bytes per pixel 1, width 2, height 2, way 1, blocks.
#include <algorithm>
#include <memory>
#include <span>

#include "block_payload.h"
#include "blocks/payload.h"
#include "blocks/s3tc_decoder.h"
#include "byte_reader.h"
#include "core/kernel_level.h"
#include "fuzz_check.h"

namespace {

constexpr std::uint64_t kMostPixels = 1u << 14;

/// Decodes into exactly sized memory that holds `fill` before.
std::unique_ptr<std::uint8_t[]> Decode(const std::uint8_t* source, koru::S3tcMode mode,
                                       std::uint32_t width, std::uint32_t height,
                                       std::int32_t bytesPerPixel, std::size_t size,
                                       std::uint8_t fill) {
    auto pixels = std::make_unique<std::uint8_t[]>(size);
    std::fill_n(pixels.get(), size, fill);
    Fuzz_Require(
        koru::S3tc_DecodeImage(pixels.get(), source, mode, 0, width, height, bytesPerPixel) == 1,
        "the result is always 1");
    return pixels;
}

void DecodeAlone(std::span<const std::uint8_t> blocks, koru::S3tcMode mode, std::uint32_t width,
                 std::uint32_t height, std::int32_t bytesPerPixel) {
    const auto payloadBytes = koru::S3tc_GetPayloadBytes(mode, width, height);
    if (!payloadBytes || std::uint64_t{width} * height > kMostPixels) return;
    const auto source = std::make_unique<std::uint8_t[]>(*payloadBytes);
    std::copy_n(blocks.begin(), std::min<std::size_t>(blocks.size(), *payloadBytes), source.get());

    const bool isWritten = bytesPerPixel >= 1 && bytesPerPixel <= 4;
    const std::size_t size =
        isWritten ? std::size_t{width} * height * static_cast<std::size_t>(bytesPerPixel) : 0;
    const auto levels = koru::KernelLevel_GetRunnable();
    koru::KernelLevel_Force(levels.front());
    const auto scalar = Decode(source.get(), mode, width, height, bytesPerPixel, size, 0x00);
    for (const koru::KernelLevel level : levels) {
        koru::KernelLevel_Force(level);
        // Different contents before: a byte that is not written would show.
        const auto pixels = Decode(source.get(), mode, width, height, bytesPerPixel, size, 0xA5);
        Fuzz_Require(std::equal(scalar.get(), scalar.get() + size, pixels.get()),
                     "every byte is written, and the same one at every level");
    }
}

void DecodePayload(std::span<const std::uint8_t> blocks, koru::S3tcMode mode, std::uint32_t width,
                   std::uint32_t height, unsigned way) {
    if (width == 0 || height == 0) return;  // readers refuse them
    // Readers ask for the modes of DXT alone. The others would be large without any payload.
    if (koru::S3tc_GetPayloadBytes(mode, 1, 1) == 0u) return;
    koru::LevelEntry level;
    if (koru::LevelEntry_SetSize(level, static_cast<std::uint32_t>(blocks.size())) != 0) {
        std::copy(blocks.begin(), blocks.end(), level.data.Data());
    }
    level.levelWidth = width;
    level.levelHeight = height;
    koru::DecodeSurface surface;
    const koru::PayloadTarget target = Fuzz_MakeTarget(surface, width, height, way);
    const int result = koru::Payload_DecodeS3tc(target, level, mode, (way & 4) != 0 ? 3 : 4);
    Fuzz_CheckSurface(target, result);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteReader input(data, size);
    const auto mode = static_cast<koru::S3tcMode>(input.Byte() % 8);
    const std::int32_t bytesPerPixel = input.Byte() % 7 - 1;
    const std::uint32_t width = input.Le16();
    const std::uint32_t height = input.Le16();
    const unsigned way = input.Byte();
    const auto blocks = input.Rest();
    DecodeAlone(blocks, mode, width, height, bytesPerPixel);
    DecodePayload(blocks, mode, width, height, way);
    return 0;
}
