// Files by UTF-16 path, through the C runtime's streams.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <span>

#include "korutex.h"

namespace koru {

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { static_cast<void>(std::fclose(file)); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

enum class FileMode { Read, Write };

/// Opens a file in binary mode ("rb" or "wb"), without a stream buffer: every transfer here is one
/// large call, and a write that fails does so at once. Null if it cannot be opened; so is a path
/// with half of a surrogate pair, except on Windows, where file names may hold one. Elsewhere,
/// reading opens regular files only, and a pipe to write to is waited for until it has a reader.
[[nodiscard]] FileHandle File_Open(const KORU_Char* path, FileMode mode) noexcept;

/// The size in bytes, with the position back at the start; nothing if the stream has no size or
/// one that does not fit 32 bits.
[[nodiscard]] std::optional<std::uint32_t> File_GetSize(std::FILE* file) noexcept;

/// Reads the whole span in one call.
[[nodiscard]] bool File_Read(std::FILE* file, std::span<std::uint8_t> bytes) noexcept;

/// Writes the span as one item. An empty span writes no item and is therefore false.
[[nodiscard]] bool File_Write(std::FILE* file, std::span<const std::uint8_t> bytes) noexcept;

/// Writes a little-endian 32-bit word as one item.
[[nodiscard]] bool File_WriteLe32(std::FILE* file, std::uint32_t value) noexcept;

}  // namespace koru
