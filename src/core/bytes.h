// Little-endian loads and stores, and the one checked multiply for sizes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <type_traits>

namespace koru {

/// Loads and stores at a fixed place of a block whose length the compiler knows.
template <std::size_t Offset, std::size_t N>
constexpr std::uint32_t Bytes_LoadLe24(std::span<const std::uint8_t, N> bytes) noexcept {
    static_assert(Offset + 3 <= N, "field lies outside the header");
    return std::uint32_t{bytes[Offset]} | std::uint32_t{bytes[Offset + 1]} << 8 |
           std::uint32_t{bytes[Offset + 2]} << 16;
}

template <std::size_t Offset, std::size_t N>
constexpr std::uint32_t Bytes_LoadLe32(std::span<const std::uint8_t, N> bytes) noexcept {
    static_assert(Offset + 4 <= N, "field lies outside the header");
    return Bytes_LoadLe24<Offset>(bytes) | std::uint32_t{bytes[Offset + 3]} << 24;
}

template <std::size_t Offset, std::size_t N>
constexpr std::uint64_t Bytes_LoadLe64(std::span<const std::uint8_t, N> bytes) noexcept {
    static_assert(Offset + 8 <= N, "field lies outside the header");
    return Bytes_LoadLe32<Offset>(bytes) | std::uint64_t{Bytes_LoadLe32<Offset + 4>(bytes)} << 32;
}

/// Loads `Count` bytes at a place that the caller has checked.
template <std::size_t Count>
constexpr auto Bytes_LoadLeAt(const std::uint8_t* bytes) noexcept {
    static_assert(Count >= 1 && Count <= 8);
    std::conditional_t<(Count > 4), std::uint64_t, std::uint32_t> value = 0;
    for (std::size_t i = 0; i < Count; ++i) value |= decltype(value){bytes[i]} << 8 * i;
    return value;
}

template <std::size_t Offset, std::size_t N>
constexpr void Bytes_StoreLe24(std::span<std::uint8_t, N> bytes, std::uint32_t value) noexcept {
    static_assert(Offset + 3 <= N, "field lies outside the header");
    bytes[Offset] = static_cast<std::uint8_t>(value);
    bytes[Offset + 1] = static_cast<std::uint8_t>(value >> 8);
    bytes[Offset + 2] = static_cast<std::uint8_t>(value >> 16);
}

template <std::size_t Offset, std::size_t N>
constexpr void Bytes_StoreLe32(std::span<std::uint8_t, N> bytes, std::uint32_t value) noexcept {
    static_assert(Offset + 4 <= N, "field lies outside the header");
    Bytes_StoreLe24<Offset>(bytes, value);
    bytes[Offset + 3] = static_cast<std::uint8_t>(value >> 24);
}

/// Bytes of a pixel in memory.
inline constexpr std::uint32_t kRgbBytes = 3;
inline constexpr std::uint32_t kRgbaBytes = 4;

/// a * b, or nothing if the product does not fit the 32-bit size fields.
[[nodiscard]] constexpr std::optional<std::uint32_t> Size_Mul32(std::uint32_t a,
                                                                std::uint32_t b) noexcept {
    const std::uint64_t product = std::uint64_t{a} * b;
    if (product > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    return static_cast<std::uint32_t>(product);
}

/// Bytes of an image whose rows are packed.
struct PackedSize {
    std::uint32_t stride = 0;
    std::uint32_t dataSize = 0;
};

/// The sizes of a packed image, or nothing if they do not fit the 32-bit size fields.
[[nodiscard]] constexpr std::optional<PackedSize> Size_GetPacked(
    std::uint32_t width, std::uint32_t height, std::uint32_t bytesPerPixel) noexcept {
    const auto stride = Size_Mul32(width, bytesPerPixel);
    const auto dataSize = stride ? Size_Mul32(*stride, height) : std::nullopt;
    if (!dataSize) return std::nullopt;
    return PackedSize{.stride = *stride, .dataSize = *dataSize};
}

}  // namespace koru
