// Where the payload of a KTX file's first level lies.
#pragma once

#include <cstdint>
#include <optional>

#include "core/source_buffer.h"
#include "ktx/ktx_header.h"

namespace koru {

/// Bytes of the source, not yet checked against its end.
struct KtxLevelRange {
    bool isPresent = false;  ///< Otherwise the file has no first level, or an empty one.
    std::uint32_t byteOffset = 0;
    std::uint32_t byteSize = 0;
};

/// Walks the levels at the source's offset, each a 32-bit imageSize and as many bytes. Nothing if
/// the source ends before an imageSize.
[[nodiscard]] std::optional<KtxLevelRange> Ktx_FindLevel11(SourceBuffer& source,
                                                           const Ktx11Header& header) noexcept;

/// Walks the level index at the source's offset; the first entry is the largest image. Nothing if
/// the source ends before the index does.
[[nodiscard]] std::optional<KtxLevelRange> Ktx_FindLevel20(SourceBuffer& source,
                                                           const Ktx20Header& header) noexcept;

}  // namespace koru
