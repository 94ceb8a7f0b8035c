// The input of a container reader: a whole file, or bytes that the host lends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "core/byte_buffer.h"

namespace koru {

/// Input bytes with a read offset; offset <= size.
struct SourceBuffer {
    ByteBuffer owned;                    ///< The input's bytes; empty when `data` is borrowed.
    const std::uint8_t* data = nullptr;  ///< The input, owned or borrowed.
    std::uint32_t offset = 0;            ///< Read position.
    std::uint32_t size = 0;              ///< Valid bytes.
};

/// Wraps bytes that the caller keeps; nothing is copied or freed.
[[nodiscard]] SourceBuffer Source_Borrow(const std::uint8_t* data, std::uint32_t size) noexcept;

/// Takes bytes over.
[[nodiscard]] SourceBuffer Source_Own(ByteBuffer bytes) noexcept;

/// Frees owned bytes and empties the buffer.
void Source_Release(SourceBuffer& source) noexcept;

/// Bytes between the read offset and the end.
[[nodiscard]] std::uint32_t Source_GetRemaining(const SourceBuffer& source) noexcept;

/// Copies the next `byteCount` bytes to `target` and moves on: 1. Without bytes or target, or past
/// the end: 0, and nothing moves.
[[nodiscard]] int Source_Read(SourceBuffer& source, std::uint8_t* target,
                              std::uint32_t byteCount) noexcept;

/// Moves the read offset. An offset that leads past the end is the end: only a later read fails.
void Source_Seek(SourceBuffer& source, std::uint64_t offset) noexcept;

/// Takes the next N bytes in place, or fails and moves nothing.
template <std::size_t N>
[[nodiscard]] std::optional<std::span<const std::uint8_t, N>> Source_Take(
    SourceBuffer& source) noexcept {
    if (source.data == nullptr || N > Source_GetRemaining(source)) return std::nullopt;
    const std::span<const std::uint8_t, N> bytes{source.data + source.offset, N};
    source.offset += N;
    return bytes;
}

}  // namespace koru
