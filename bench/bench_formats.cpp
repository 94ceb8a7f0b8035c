#include "bench_formats.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "astc/astc_reader.h"
#include "astc_codec_limit.h"
#include "blocks/etc_decoder.h"
#include "blocks/s3tc_decoder.h"
#include "core/bytes.h"
#include "core/image.h"
#include "formats/expand.h"
#include "formats/gl_codes.h"
#include "formats/gl_formats.h"
#include "ktx/ktx_state.h"
#include "pvr/pvr_formats.h"
#include "pvr/pvr_state.h"
#include "pvr/pvrtc_decoder.h"

namespace koru_bench {
namespace {

using koru::ByteBuffer;
using Payload = std::span<const std::uint8_t>;

template <koru::S3tcMode Mode>
void DecodeBc(const Format& format, Payload payload, std::uint32_t side, ByteBuffer& pixels) {
    koru::S3tc_DecodeImage(pixels.Data(), payload.data(), Mode, 0, side, side,
                           static_cast<std::int32_t>(format.pixelBytes));
}

void DecodeEtc(const Format& format, Payload payload, std::uint32_t side, ByteBuffer& pixels) {
    koru::Etc_DecodePixels(pixels.Data(), payload.data(), format.code, side, side);
}

void DecodePvrtc(const Format& format, Payload payload, std::uint32_t side, ByteBuffer& pixels) {
    koru::PvrtcDecompress(payload, format.blockWidth == 8, static_cast<std::int32_t>(side),
                          static_cast<std::int32_t>(side), 0, pixels.Data());
}

/// With a context of its own, as in loads.
void DecodeAstc(const Format& format, Payload payload, std::uint32_t side, ByteBuffer& pixels) {
    AstcCodec_Decode(payload, side, format.blockWidth, format.blockHeight, pixels.Data());
}

/// Where a load has nothing to convert and takes the payload over, this is the copy that it saves.
void Expand(const Format& format, Payload payload, std::uint32_t side, ByteBuffer& pixels) {
    koru::DecodeSurface surface;
    if (!koru::Surface_SetLayout(surface, side, side, format.pixelBytes)) return;
    surface.pixels = std::move(pixels);
    const auto size = static_cast<std::uint32_t>(payload.size());
    koru::ExpandPackedPixels(surface,
                             {.data = payload.data(),
                              .size = size,
                              .readable = size,
                              .bitsPerPixel = format.blockBytes * 8},
                             koru::Gl_GetChannelLayout(format.code));
    pixels = std::move(surface.pixels);
}

/// What makes three components four is finishing.
void Finish(const Format& format, Payload payload, std::uint32_t side, ByteBuffer& pixels) {
    koru::Image_FinishPixels(
        {.data = pixels.Data(), .bytesPerPixel = format.pixelBytes},
        {.data = payload.data(), .bytesPerPixel = format.blockBytes, .hasAlpha = false},
        std::size_t{side} * side);
}

constexpr auto kKtx = Container::Ktx, kPvr = Container::Pvr, kAstc = Container::Astc;
constexpr auto kBc1 = koru::S3tcMode::Dxt1, kBc2 = koru::S3tcMode::Dxt3;
constexpr auto kBc3 = koru::S3tcMode::Dxt5;

// clang-format off
using koru::GL_ETC1_RGB8_OES;
using koru::kPvrV3Pvrtc4Rgba;
using koru::kPvrV3Pvrtc2Rgba;
using koru::GL_RGBA8;
using koru::GL_RGB8;
using koru::GL_RGB565;
using koru::GL_RGB10_A2;
using koru::GL_R11F_G11F_B10F;
constexpr std::uint32_t kEtc2Alpha1 = koru::GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2;
constexpr std::uint32_t kSrgbDxt1 = koru::GL_COMPRESSED_SRGB_S3TC_DXT1_EXT;
constexpr std::uint32_t kRgbaDxt1 = koru::GL_COMPRESSED_RGBA_S3TC_DXT1_EXT;
constexpr std::uint32_t kRgbaDxt3 = koru::GL_COMPRESSED_RGBA_S3TC_DXT3_EXT;
constexpr std::uint32_t kRgbaDxt5 = koru::GL_COMPRESSED_RGBA_S3TC_DXT5_EXT;
constexpr std::uint32_t kEtc2Rgba = koru::GL_COMPRESSED_RGBA8_ETC2_EAC;
constexpr std::uint32_t kEacR11 = koru::GL_COMPRESSED_R11_EAC;
constexpr std::uint32_t kEtc2Rgb = koru::GL_COMPRESSED_RGB8_ETC2;

constexpr std::array kFormats{
    //     name          texture                   code              block      px decode
    Format{"BC1",        "bc1.ktx",         kKtx,  kRgbaDxt1,         4,  4,  8, 4, DecodeBc<kBc1>},
    Format{"BC1-sRGB",   "bc1-srgb.ktx",    kKtx,  kSrgbDxt1,         4,  4,  8, 3, DecodeBc<kBc1>},
    Format{"BC2",        "bc2.ktx",         kKtx,  kRgbaDxt3,         4,  4, 16, 4, DecodeBc<kBc2>},
    Format{"BC3",        "bc3.ktx",         kKtx,  kRgbaDxt5,         4,  4, 16, 4, DecodeBc<kBc3>},
    Format{"ETC1",       "etc1.ktx",        kKtx,  GL_ETC1_RGB8_OES,  4,  4,  8, 3, DecodeEtc},
    Format{"ETC2-RGB",   "etc2-rgb.ktx",    kKtx,  kEtc2Rgb,          4,  4,  8, 3, DecodeEtc},
    Format{"ETC2-RGBA",  "etc2-rgba.ktx",   kKtx,  kEtc2Rgba,         4,  4, 16, 4, DecodeEtc},
    Format{"ETC2-A1",    "etc2-rgb-a1.ktx", kKtx,  kEtc2Alpha1,       4,  4,  8, 4, DecodeEtc},
    Format{"EAC-R11",    "eac-r11.bin",     kKtx,  kEacR11,           4,  4,  8, 2, DecodeEtc},
    Format{"PVRTC-4bpp", "pvrtc-4bpp.bin",  kPvr,  kPvrV3Pvrtc4Rgba,  4,  4,  8, 4, DecodePvrtc},
    Format{"PVRTC-2bpp", "pvrtc-2bpp.bin",  kPvr,  kPvrV3Pvrtc2Rgba,  8,  4,  8, 4, DecodePvrtc},
    Format{"RGBA8",      "rgba8.ktx",       kKtx,  GL_RGBA8,          1,  1,  4, 4, Expand},
    Format{"RGB8",       "rgb8.ktx",        kKtx,  GL_RGB8,           1,  1,  3, 4, Finish},
    Format{"RGB565",     "rgb565.bin",      kKtx,  GL_RGB565,         1,  1,  2, 3, Expand, 3},
    Format{"RGB10_A2",   "rgb10a2.ktx",     kKtx,  GL_RGB10_A2,       1,  1,  4, 4, Expand},
    Format{"R11G11B10F", "r11g11b10f.ktx",  kKtx,  GL_R11F_G11F_B10F, 1,  1,  4, 3, Expand},
    Format{"ASTC-4x4",   "4x4.astc",        kAstc, 0,                 4,  4, 16, 4, DecodeAstc},
    Format{"ASTC-6x6",   "6x6.astc",        kAstc, 0,                 6,  6, 16, 4, DecodeAstc},
    Format{"ASTC-8x8",   "8x8.astc",        kAstc, 0,                 8,  8, 16, 4, DecodeAstc},
    Format{"ASTC-12x12", "12x12.astc",      kAstc, 0,                12, 12, 16, 4, DecodeAstc},
};
// clang-format on

}  // namespace

std::span<const Format> Formats_GetAll() { return kFormats; }

const Format& Formats_Get(std::string_view name) {
    return *std::ranges::find(kFormats, name, &Format::name);
}

std::size_t Format_GetPayloadBytes(const Format& format, std::uint32_t side) {
    const std::size_t columns = (side + format.blockWidth - 1) / format.blockWidth;
    const std::size_t rows = (side + format.blockHeight - 1) / format.blockHeight;
    return columns * rows * format.blockBytes;
}

std::uint32_t Format_GetPixelBytes(const Format& format, std::uint32_t side) {
    return side * side * format.pixelBytes;
}

koru::ImageHandle Format_LoadFromMemory(const Format& format, std::span<const std::uint8_t> file,
                                        std::uint32_t flags) {
    const auto load = format.container == Container::Ktx   ? KORU_Load_KTX_From_Memory
                      : format.container == Container::Pvr ? KORU_Load_PVR_From_Memory
                                                           : KORU_Load_ASTC_From_Memory;
    return koru::ImageHandle(load(file.data(), static_cast<std::uint32_t>(file.size()), flags));
}

koru::ImageHandle Format_LoadFromFile(const Format& format, const std::filesystem::path& path,
                                      std::uint32_t flags) {
    const auto load = format.container == Container::Ktx   ? KORU_Load_KTX_From_File
                      : format.container == Container::Pvr ? KORU_Load_PVR_From_File
                                                           : KORU_Load_ASTC_From_File;
    return koru::ImageHandle(load(path.u16string().c_str(), flags));
}

void Formats_ForgetLoads() {
    for (koru::FormatState* state : {&koru::g_ktxState, &koru::g_pvrState, &koru::g_astcState}) {
        koru::State_Release(*state);
        state->surface.reservedB = 0;
    }
}

}  // namespace koru_bench
