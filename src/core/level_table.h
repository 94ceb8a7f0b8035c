// The payload of the level that is being decoded.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "core/byte_buffer.h"
#include "core/source_buffer.h"

namespace koru {

/// One level's payload.
struct LevelEntry {
    std::uint32_t levelWidth = 0;   ///< Pixels per row; the decoder sets it.
    std::uint32_t levelHeight = 0;  ///< Rows; the decoder sets it.
    std::uint32_t byteSize = 0;     ///< Bytes of the payload.
    ByteBuffer data;                ///< Holds the payload.
    std::uint32_t dataOffset = 0;   ///< Where in `data` the payload begins: a file is kept whole.
};

/// The levels of one format's current image; in practice none or one.
struct LevelTable {
    std::int32_t count = 0;
    std::unique_ptr<LevelEntry[]> entries;
};

/// Empties the table and gives it one empty entry: 1. No memory: 0, and the table stays empty.
[[nodiscard]] int LevelTable_CreateSingleLevel(LevelTable& table) noexcept;

/// Frees every payload and the entries.
void LevelTable_Release(LevelTable& table) noexcept;

/// Replaces the payload by `byteCount` bytes with undefined contents: 1. A count of 0 changes
/// nothing and gives 0; no memory gives 0 and leaves the entry without payload.
[[nodiscard]] int LevelEntry_SetSize(LevelEntry& entry, std::uint32_t byteCount) noexcept;

/// Replaces the payload by the next `byteCount` bytes of the source, and sets the entry's
/// extents: 1. A large payload that the source owns, and that is at least half of it, goes over to
/// the entry with all that is around it, and the source is left empty; others are copied. 0 if the
/// source has fewer bytes, for a count of 0, or without memory.
[[nodiscard]] int LevelEntry_ReadPayload(LevelEntry& entry, SourceBuffer& source,
                                         std::uint32_t byteCount, std::uint32_t width,
                                         std::uint32_t height) noexcept;

/// The same without reading: the payload's bytes stay undefined. For a load that only asks whether
/// there is one.
[[nodiscard]] int LevelEntry_SkipPayload(LevelEntry& entry, const SourceBuffer& source,
                                         std::uint32_t byteCount, std::uint32_t width,
                                         std::uint32_t height) noexcept;

/// The payload; no bytes without one.
[[nodiscard]] std::span<const std::uint8_t> LevelEntry_GetBytes(const LevelEntry& entry) noexcept;

/// Gives the payload away, from the buffer's first byte on; the entry is then without one.
[[nodiscard]] ByteBuffer LevelEntry_TakeData(LevelEntry& entry) noexcept;

}  // namespace koru
