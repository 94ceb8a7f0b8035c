// How many bytes of payload an image of packed pixels needs.
#pragma once

#include <cstdint>
#include <optional>

namespace koru {

/// The smallest payload that is taken for packed pixels; nothing if it does not fit 32 bits.
/// Rows are padded to 4 bytes. Quirk: they are measured as if every component took a byte, so
/// 16-bit pixels need more bytes than they have; such files stay refused.
[[nodiscard]] std::optional<std::uint32_t> Payload_GetPackedBytes(
    std::uint32_t width, std::uint32_t height, std::uint32_t componentCount) noexcept;

}  // namespace koru
