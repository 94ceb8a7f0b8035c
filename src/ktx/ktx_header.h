// The fixed headers of KTX 1.1 and KTX 2.0 files (Khronos KTX File Format Specification).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace koru {

inline constexpr std::size_t kKtx11HeaderBytes = 64;
inline constexpr std::size_t kKtx20HeaderBytes = 80;

/// The first four bytes of both identifiers: AB 4B 54 58.
inline constexpr std::uint32_t kKtxMagic = 0x58544BAB;

inline constexpr std::uint32_t kKtxNativeEndianness = 0x04030201;

enum class KtxVersion { None, Ktx11, Ktx20 };

/// The version whose identifier the bytes begin with.
[[nodiscard]] KtxVersion Ktx_IdentifyVersion(
    std::span<const std::uint8_t, kKtx11HeaderBytes> raw) noexcept;

struct Ktx11Header {
    std::uint32_t endianness = 0;
    std::uint32_t glType = 0;
    std::uint32_t glTypeSize = 0;
    std::uint32_t glFormat = 0;
    std::uint32_t glInternalFormat = 0;
    std::uint32_t glBaseInternalFormat = 0;
    std::uint32_t pixelWidth = 0;
    std::uint32_t pixelHeight = 0;
    std::uint32_t pixelDepth = 0;
    std::uint32_t numberOfArrayElements = 0;
    std::uint32_t numberOfFaces = 0;
    std::uint32_t numberOfMipmapLevels = 0;
    std::uint32_t bytesOfKeyValueData = 0;
};

/// Without the offsets and lengths that are not read.
struct Ktx20Header {
    std::uint32_t vkFormat = 0;
    std::uint32_t typeSize = 0;
    std::uint32_t pixelWidth = 0;
    std::uint32_t pixelHeight = 0;
    std::uint32_t pixelDepth = 0;
    std::uint32_t layerCount = 0;
    std::uint32_t faceCount = 0;
    std::uint32_t levelCount = 0;
    std::uint32_t supercompressionScheme = 0;
    std::uint32_t kvdByteLength = 0;
};

/// The fields as they are; nothing is checked, also not the identifier.
[[nodiscard]] Ktx11Header Ktx_LoadHeader11(
    std::span<const std::uint8_t, kKtx11HeaderBytes> raw) noexcept;
[[nodiscard]] Ktx20Header Ktx_LoadHeader20(
    std::span<const std::uint8_t, kKtx20HeaderBytes> raw) noexcept;

/// The header with its identifier, as a file begins.
[[nodiscard]] std::array<std::uint8_t, kKtx11HeaderBytes> Ktx_StoreHeader11(
    const Ktx11Header& header) noexcept;

/// The first rule that a header breaks.
enum class KtxHeaderFault {
    None,
    Endianness,        ///< Not 0x04030201; files of the other byte order are not swapped.
    TypeSize,          ///< Not 1, 2 or 4.
    Width,             ///< 0.
    Height,            ///< 0: a one-dimensional texture.
    VkFormat,          ///< VK_FORMAT_UNDEFINED.
    Supercompression,  ///< Of any kind.
};
[[nodiscard]] KtxHeaderFault Ktx_FindFault(const Ktx11Header& header) noexcept;
[[nodiscard]] KtxHeaderFault Ktx_FindFault(const Ktx20Header& header) noexcept;

/// Whether the header declares a compressed internal format.
[[nodiscard]] bool Ktx_IsCompressed(const Ktx11Header& header) noexcept;

}  // namespace koru
