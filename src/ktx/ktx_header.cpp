#include "ktx/ktx_header.h"

#include <algorithm>
#include <array>

#include "core/bytes.h"

namespace koru {
namespace {

using Identifier = std::array<std::uint8_t, 12>;
constexpr Identifier kKtx11Identifier{0xAB, 0x4B, 0x54, 0x58, 0x20, 0x31,
                                      0x31, 0xBB, 0x0D, 0x0A, 0x1A, 0x0A};
constexpr Identifier kKtx20Identifier{0xAB, 0x4B, 0x54, 0x58, 0x20, 0x32,
                                      0x30, 0xBB, 0x0D, 0x0A, 0x1A, 0x0A};

constexpr bool IsTypeSize(std::uint32_t size) noexcept {
    return size == 1 || size == 2 || size == 4;
}

}  // namespace

KtxVersion Ktx_IdentifyVersion(std::span<const std::uint8_t, kKtx11HeaderBytes> raw) noexcept {
    const auto identifier = raw.first<std::tuple_size_v<Identifier>>();
    if (std::ranges::equal(identifier, kKtx11Identifier)) return KtxVersion::Ktx11;
    if (std::ranges::equal(identifier, kKtx20Identifier)) return KtxVersion::Ktx20;
    return KtxVersion::None;
}

Ktx11Header Ktx_LoadHeader11(std::span<const std::uint8_t, kKtx11HeaderBytes> raw) noexcept {
    return {.endianness = Bytes_LoadLe32<12>(raw),
            .glType = Bytes_LoadLe32<16>(raw),
            .glTypeSize = Bytes_LoadLe32<20>(raw),
            .glFormat = Bytes_LoadLe32<24>(raw),
            .glInternalFormat = Bytes_LoadLe32<28>(raw),
            .glBaseInternalFormat = Bytes_LoadLe32<32>(raw),
            .pixelWidth = Bytes_LoadLe32<36>(raw),
            .pixelHeight = Bytes_LoadLe32<40>(raw),
            .pixelDepth = Bytes_LoadLe32<44>(raw),
            .numberOfArrayElements = Bytes_LoadLe32<48>(raw),
            .numberOfFaces = Bytes_LoadLe32<52>(raw),
            .numberOfMipmapLevels = Bytes_LoadLe32<56>(raw),
            .bytesOfKeyValueData = Bytes_LoadLe32<60>(raw)};
}

Ktx20Header Ktx_LoadHeader20(std::span<const std::uint8_t, kKtx20HeaderBytes> raw) noexcept {
    return {.vkFormat = Bytes_LoadLe32<12>(raw),
            .typeSize = Bytes_LoadLe32<16>(raw),
            .pixelWidth = Bytes_LoadLe32<20>(raw),
            .pixelHeight = Bytes_LoadLe32<24>(raw),
            .pixelDepth = Bytes_LoadLe32<28>(raw),
            .layerCount = Bytes_LoadLe32<32>(raw),
            .faceCount = Bytes_LoadLe32<36>(raw),
            .levelCount = Bytes_LoadLe32<40>(raw),
            .supercompressionScheme = Bytes_LoadLe32<44>(raw),
            .kvdByteLength = Bytes_LoadLe32<60>(raw)};
}

std::array<std::uint8_t, kKtx11HeaderBytes> Ktx_StoreHeader11(const Ktx11Header& header) noexcept {
    std::array<std::uint8_t, kKtx11HeaderBytes> raw{};
    std::ranges::copy(kKtx11Identifier, raw.begin());
    const std::span<std::uint8_t, kKtx11HeaderBytes> fields(raw);
    Bytes_StoreLe32<12>(fields, header.endianness);
    Bytes_StoreLe32<16>(fields, header.glType);
    Bytes_StoreLe32<20>(fields, header.glTypeSize);
    Bytes_StoreLe32<24>(fields, header.glFormat);
    Bytes_StoreLe32<28>(fields, header.glInternalFormat);
    Bytes_StoreLe32<32>(fields, header.glBaseInternalFormat);
    Bytes_StoreLe32<36>(fields, header.pixelWidth);
    Bytes_StoreLe32<40>(fields, header.pixelHeight);
    Bytes_StoreLe32<44>(fields, header.pixelDepth);
    Bytes_StoreLe32<48>(fields, header.numberOfArrayElements);
    Bytes_StoreLe32<52>(fields, header.numberOfFaces);
    Bytes_StoreLe32<56>(fields, header.numberOfMipmapLevels);
    Bytes_StoreLe32<60>(fields, header.bytesOfKeyValueData);
    return raw;
}

KtxHeaderFault Ktx_FindFault(const Ktx11Header& header) noexcept {
    if (header.endianness != kKtxNativeEndianness) return KtxHeaderFault::Endianness;
    if (!IsTypeSize(header.glTypeSize)) return KtxHeaderFault::TypeSize;
    if (header.pixelWidth == 0) return KtxHeaderFault::Width;
    if (header.pixelHeight == 0) return KtxHeaderFault::Height;
    return KtxHeaderFault::None;
}

KtxHeaderFault Ktx_FindFault(const Ktx20Header& header) noexcept {
    if (header.vkFormat == 0) return KtxHeaderFault::VkFormat;
    if (!IsTypeSize(header.typeSize)) return KtxHeaderFault::TypeSize;
    if (header.pixelWidth == 0) return KtxHeaderFault::Width;
    if (header.pixelHeight == 0) return KtxHeaderFault::Height;
    if (header.supercompressionScheme != 0) return KtxHeaderFault::Supercompression;
    return KtxHeaderFault::None;
}

bool Ktx_IsCompressed(const Ktx11Header& header) noexcept {
    return header.glType == 0 || header.glFormat == 0;
}

}  // namespace koru
