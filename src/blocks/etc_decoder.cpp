#include "blocks/etc_decoder.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>

#include "blocks/block_image.h"
#include "blocks/block_texels.h"
#include "blocks/etc_kernels.h"
#include "formats/gl_codes.h"

namespace koru {

constinit std::uint32_t g_eacSigned = 0;

namespace {

/// What a format makes of g_eacSigned; "sign" below.
enum class EacSigned { Untouched, Clear, Set };

/// The entry of a kernel table that decodes rows of blocks.
using RowKernel = EtcDecodeRow* EtcKernels::*;

/// How blocks and their pixels are stored; sRGB and linear formats share it.
struct EtcLayout {
    std::uint32_t format = 0, type = 0;
    std::uint32_t blockBytes = 0, pixelBytes = 0;
    EacSigned eacSigned = EacSigned::Untouched;
    std::array<RowKernel, 2> rows{};  ///< While g_eacSigned is 0, and while it is not.
};

struct EtcFormat {
    std::uint32_t code = 0;
    std::uint32_t internalFormat = 0;
    bool isSrgb = false;
    EtcLayout layout;
};

constexpr auto kKeep = EacSigned::Untouched, kClear = EacSigned::Clear, kSet = EacSigned::Set;

constexpr std::array<RowKernel, 2> kRgb8Rows{&EtcKernels::rgb8, &EtcKernels::rgb8};
constexpr std::array<RowKernel, 2> kAlpha1Rows{&EtcKernels::alpha1, &EtcKernels::alpha1};
constexpr std::array<RowKernel, 2> kRgba8Rows{&EtcKernels::rgba8, &EtcKernels::rgba8};
constexpr std::array<RowKernel, 2> kR11Rows{&EtcKernels::r11, &EtcKernels::r11Signed};
constexpr std::array<RowKernel, 2> kRg11Rows{&EtcKernels::rg11, &EtcKernels::rg11Signed};

// clang-format off
//                           format   type          block px  sign    rows
constexpr EtcLayout kRgb8   {GL_RGB,  GL_UNSIGNED_BYTE,   8, 3, kKeep,  kRgb8Rows};
constexpr EtcLayout kAlpha1 {GL_RGBA, GL_UNSIGNED_BYTE,   8, 4, kKeep,  kAlpha1Rows};
constexpr EtcLayout kRgba8  {GL_RGBA, GL_UNSIGNED_BYTE,  16, 4, kKeep,  kRgba8Rows};
constexpr EtcLayout kR11    {GL_RED,  GL_UNSIGNED_SHORT,  8, 2, kClear, kR11Rows};
constexpr EtcLayout kR11S   {GL_RED,  GL_SHORT,           8, 2, kSet,   kR11Rows};
constexpr EtcLayout kRg11   {GL_RG,   GL_UNSIGNED_SHORT, 16, 4, kClear, kRg11Rows};
constexpr EtcLayout kRg11S  {GL_RG,   GL_SHORT,          16, 4, kSet,   kRg11Rows};

constexpr std::array<EtcFormat, 11> kFormats{{
    // code                                        internalFormat   sRGB   layout
    {GL_ETC1_RGB8_OES,                             GL_RGB8,         false, kRgb8},
    {GL_COMPRESSED_R11_EAC,                        GL_R16,          false, kR11},
    {GL_COMPRESSED_SIGNED_R11_EAC,                 GL_R16_SNORM,    false, kR11S},
    {GL_COMPRESSED_RG11_EAC,                       GL_RG16,         false, kRg11},
    {GL_COMPRESSED_SIGNED_RG11_EAC,                GL_RG16_SNORM,   false, kRg11S},
    {GL_COMPRESSED_RGB8_ETC2,                      GL_RGB8,         false, kRgb8},
    {GL_COMPRESSED_SRGB8_ETC2,                     GL_SRGB8,        true,  kRgb8},
    {GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2,  GL_RGBA8,        false, kAlpha1},
    {GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2, GL_SRGB8_ALPHA8, true,  kAlpha1},
    {GL_COMPRESSED_RGBA8_ETC2_EAC,                 GL_RGBA8,        false, kRgba8},
    {GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC,          GL_SRGB8_ALPHA8, true,  kRgba8},
}};
// clang-format on
static_assert(std::ranges::adjacent_find(kFormats, std::ranges::greater_equal{},
                                         &EtcFormat::code) == kFormats.end(),
              "rows must be in ascending order, without repeats");

/// Null for a code that is not in the table.
constexpr const EtcFormat* FindFormat(std::uint32_t code) noexcept {
    const auto row = std::ranges::lower_bound(kFormats, code, {}, &EtcFormat::code);
    return row != kFormats.end() && row->code == code ? &*row : nullptr;
}

}  // namespace

EtcResult Etc_PreparePixels(std::uint32_t sourceInternalFormat, std::uint32_t width,
                            std::uint32_t height, bool srgbSupported, EtcPixels& pixels) noexcept {
    const EtcFormat* const row = FindFormat(sourceInternalFormat);
    if (row == nullptr || (row->isSrgb && !srgbSupported)) return kEtcUnsupportedFormat;

    const EtcLayout& layout = row->layout;
    pixels = {.format = layout.format,
              .internalFormat = row->internalFormat,
              .type = layout.type,
              .pixelBytes = layout.pixelBytes};
    // Quirk: set before memory is there, and left alone by the 8-bit formats; the flag always says
    // what the last 11-bit format was.
    if (layout.eacSigned != kKeep) g_eacSigned = layout.eacSigned == kSet ? 1 : 0;

    // The size padded to whole blocks must fit, though only the pixels inside take memory.
    return Blocks_GetBytes(width, height, kBlockTexels * layout.pixelBytes) ? kEtcSuccess
                                                                            : kEtcOutOfMemory;
}

std::uint32_t Etc_DecodeImage(const std::uint8_t* source, std::uint32_t sourceInternalFormat,
                              std::uint32_t width, std::uint32_t height, ByteBuffer& destination,
                              std::uint32_t& format, std::uint32_t& internalFormat,
                              std::uint32_t& type, std::int32_t /*reserved*/,
                              std::uint8_t srgbSupported) noexcept {
    EtcPixels pixels;
    const EtcResult result =
        Etc_PreparePixels(sourceInternalFormat, width, height, srgbSupported != 0, pixels);
    if (result == kEtcUnsupportedFormat) return result;
    format = pixels.format;
    internalFormat = pixels.internalFormat;
    type = pixels.type;

    destination.Reset();
    if (result != kEtcSuccess) return result;
    if (width == 0 || height == 0) return kEtcSuccess;
    const auto size = Size_GetPacked(width, height, pixels.pixelBytes);
    if (size) destination = ByteBuffer::Allocate(size->dataSize);
    if (!destination) return kEtcOutOfMemory;

    Etc_DecodePixels(destination.Data(), source, sourceInternalFormat, width, height);
    return kEtcSuccess;
}

void Etc_DecodePixels(std::uint8_t* target, const std::uint8_t* source,
                      std::uint32_t sourceInternalFormat, std::uint32_t width,
                      std::uint32_t height) noexcept {
    const EtcFormat* const row = FindFormat(sourceInternalFormat);
    if (row == nullptr) return;
    const BlockImage image{.width = width,
                           .height = height,
                           .blockBytes = row->layout.blockBytes,
                           .pixelBytes = row->layout.pixelBytes};
    const RowKernel decodeRow = row->layout.rows[g_eacSigned != 0 ? 1 : 0];
    Blocks_DecodeImage(image, source, target, Etc_GetKernels().*decodeRow);
}

std::optional<std::uint32_t> Etc_GetPayloadBytes(std::uint32_t sourceInternalFormat,
                                                 std::uint32_t width,
                                                 std::uint32_t height) noexcept {
    const EtcFormat* const row = FindFormat(sourceInternalFormat);
    return Blocks_GetBytes(width, height, row != nullptr ? row->layout.blockBytes : 0);
}

}  // namespace koru
