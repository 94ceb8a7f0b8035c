// ETC and EAC blocks of any format and size, exactly as many bytes as the decoder may read; then
// the same with a payload of any length, from where the readers start.
//
// Input: format 1, sRGB 1, width 2, height 2, way 1, blocks.
#include <algorithm>
#include <cstring>
#include <memory>

#include "block_payload.h"
#include "blocks/etc_decoder.h"
#include "blocks/payload.h"
#include "byte_reader.h"
#include "core/kernel_level.h"
#include "formats/gl_codes.h"
#include "fuzz_check.h"

namespace {

constexpr std::uint64_t kMostPixels = 1u << 14;

constexpr std::uint32_t kFormats[] = {
    koru::GL_ETC1_RGB8_OES,
    koru::GL_COMPRESSED_R11_EAC,
    koru::GL_COMPRESSED_SIGNED_R11_EAC,
    koru::GL_COMPRESSED_RG11_EAC,
    koru::GL_COMPRESSED_SIGNED_RG11_EAC,
    koru::GL_COMPRESSED_RGB8_ETC2,
    koru::GL_COMPRESSED_SRGB8_ETC2,
    koru::GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2,
    koru::GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2,
    koru::GL_COMPRESSED_RGBA8_ETC2_EAC,
    koru::GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC,
    koru::GL_COMPRESSED_RGBA_S3TC_DXT1_EXT,
};

struct Decoded {
    std::uint32_t result = 0, format = 0, internalFormat = 0, type = 0;
    koru::ByteBuffer pixels;
};

Decoded Decode(const std::uint8_t* source, std::uint32_t code, std::uint32_t width,
               std::uint32_t height, bool isSrgbSupported) {
    Decoded decoded;
    decoded.result =
        koru::Etc_DecodeImage(source, code, width, height, decoded.pixels, decoded.format,
                              decoded.internalFormat, decoded.type, 0, isSrgbSupported ? 1 : 0);
    return decoded;
}

std::uint32_t CountPixelBytes(std::uint32_t internalFormat) {
    switch (internalFormat) {
        case koru::GL_RGB8:
        case koru::GL_SRGB8:
            return 3;
        case koru::GL_R16:
        case koru::GL_R16_SNORM:
            return 2;
        default:
            return 4;
    }
}

void DecodeAlone(std::span<const std::uint8_t> blocks, std::uint32_t code, std::uint32_t width,
                 std::uint32_t height, bool isSrgbSupported) {
    const auto payloadBytes = koru::Etc_GetPayloadBytes(code, width, height);
    if (!payloadBytes || std::uint64_t{width} * height > kMostPixels) return;
    const auto source = std::make_unique<std::uint8_t[]>(*payloadBytes);
    std::copy_n(blocks.begin(), std::min<std::size_t>(blocks.size(), *payloadBytes), source.get());

    const Decoded once = Decode(source.get(), code, width, height, isSrgbSupported);
    if (once.result != koru::kEtcSuccess) {
        Fuzz_Require(once.result == koru::kEtcUnsupportedFormat, "small images find memory");
        Fuzz_Require(once.format == 0 && once.internalFormat == 0 && once.type == 0,
                     "an unsupported format touches nothing");
        return;
    }
    Fuzz_Require(once.pixels.Size() == width * height * CountPixelBytes(once.internalFormat),
                 "as many bytes as the format says");
    for (const koru::KernelLevel level : koru::KernelLevel_GetRunnable()) {  // the last as before
        koru::KernelLevel_Force(level);
        const Decoded again = Decode(source.get(), code, width, height, isSrgbSupported);
        Fuzz_Require(once.pixels.Size() == again.pixels.Size(), "all levels give as many bytes");
        Fuzz_Require(once.pixels.Size() == 0 || std::memcmp(once.pixels.Data(), again.pixels.Data(),
                                                            once.pixels.Size()) == 0,
                     "the same blocks give the same pixels at every kernel level");
    }
}

void DecodePayload(std::span<const std::uint8_t> blocks, std::uint32_t code, std::uint32_t width,
                   std::uint32_t height, unsigned way) {
    if (width == 0 || height == 0) return;  // readers refuse them
    koru::LevelEntry level;
    // Larger images come with too short a payload; without any they would be blank, up to 4 GiB.
    const std::uint64_t pixelCount = std::uint64_t{width} * height;
    if (blocks.empty() && pixelCount > kMostPixels && pixelCount <= UINT32_MAX / 3) return;
    if (koru::LevelEntry_SetSize(level, static_cast<std::uint32_t>(blocks.size())) != 0) {
        std::copy(blocks.begin(), blocks.end(), level.data.Data());
        // As readers do: an entry without payload is without a size, too.
        level.levelWidth = width;
        level.levelHeight = height;
    }
    koru::DecodeSurface surface;
    const koru::PayloadTarget target = Fuzz_MakeTarget(surface, width, height, way);
    const int result = koru::Payload_DecodeEtc(
        target, level, code,
        (way & 4) != 0 ? koru::EtcComponents::OfFormat : koru::EtcComponents::OfInternalFormat);
    Fuzz_CheckSurface(target, result);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteReader input(data, size);
    const std::uint32_t code = input.Pick(kFormats);
    const bool isSrgbSupported = input.Byte() % 2 == 0;
    const std::uint32_t width = input.Le16();
    const std::uint32_t height = input.Le16();
    const unsigned way = input.Byte();
    const auto blocks = input.Rest();
    DecodeAlone(blocks, code, width, height, isSrgbSupported);
    DecodePayload(blocks, code, width, height, way);
    return 0;
}
