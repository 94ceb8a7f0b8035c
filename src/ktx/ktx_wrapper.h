// The private container around KTX files: chunks of LZ4-compressed bytes.
#pragma once

#include <cstdint>

#include "core/byte_buffer.h"
#include "core/source_buffer.h"

namespace koru {

/// The first four bytes of a wrapped file, "QOZM".
inline constexpr std::uint32_t kKtxWrapperMagic = 0x4D5A4F51;

/// Wrappers within wrappers that a load opens.
inline constexpr int kKtxMaxWrappers = 8;

/// Decompresses and joins the chunks of the wrapper at the start of the source. Empty if it is
/// none, if it ends within its table, has no chunk or nothing to join, or without memory.
///
/// Layout (little-endian): magic 4, N 4, N table entries of 8 that are not read, then N - 1 chunks:
/// tags 4 + 4, compressed size 4, decompressed size 4, 16 that are not read, compressed bytes.
///
/// A chunk with another tag, or one that the file cuts, ends the reading; what came before it is
/// joined. Bytes that no chunk gave are 0, except behind what could be read of a malformed block.
[[nodiscard]] ByteBuffer Ktx_JoinChunks(SourceBuffer& source) noexcept;

}  // namespace koru
