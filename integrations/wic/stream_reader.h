// Reads texture files from the streams that WIC and the shell hand over.
#pragma once

#include <objidl.h>

#include <cstdint>
#include <vector>

#include "decoder_kinds.h"

namespace koru_wic {

/// What a stream holds, as far as its first bytes tell.
struct StreamStart {
    const DecoderKind* kind = nullptr;  ///< null: none of our containers
    std::uint64_t position = 0;         ///< where the file begins
};

/// Looks for a texture file where the stream stands, or else at its beginning: some callers hand
/// over a stream that still stands behind the bytes by which they chose the decoder. The position
/// is undefined afterwards.
[[nodiscard]] HRESULT Stream_Probe(IStream& stream, StreamStart& start);

/// Reads from a position to the end.
[[nodiscard]] HRESULT Stream_ReadFrom(IStream& stream, std::uint64_t position,
                                      std::vector<std::uint8_t>& bytes);

/// Where the stream stands.
[[nodiscard]] HRESULT Stream_GetPosition(IStream& stream, std::uint64_t& position) noexcept;
[[nodiscard]] HRESULT Stream_SetPosition(IStream& stream, std::uint64_t position) noexcept;

}  // namespace koru_wic
