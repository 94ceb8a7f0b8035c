// What a KTX file holds, as far as its first image goes: read from behind the fixed header, without
// touching the payload or any state.
#pragma once

#include <cstdint>
#include <optional>

#include "core/source_buffer.h"
#include "formats/gl_formats.h"
#include "ktx/ktx_header.h"
#include "ktx/ktx_key_value.h"
#include "ktx/ktx_levels.h"

namespace koru {

/// The texts of `pair` lie in the source's bytes.
struct KtxContents {
    KtxVersion version = KtxVersion::None;
    std::uint32_t glInternalFormat = 0;
    bool isCompressed = false;
    GlFormatSize formatSize;  ///< Its block is the footprint of ASTC.
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t orientation = 1;  ///< The surface's word; 1 for a file that does not tell.
    std::optional<KtxPair> pair{};  ///< The first of the key/value data.
    KtxLevelRange level{};
};

/// Reads on behind the header; nothing if the source ends too early. The payload may still lie
/// behind the end.
[[nodiscard]] std::optional<KtxContents> Ktx_ReadContents11(SourceBuffer& source,
                                                            const Ktx11Header& header,
                                                            bool isCompressed) noexcept;
[[nodiscard]] std::optional<KtxContents> Ktx_ReadContents20(SourceBuffer& source,
                                                            const Ktx20Header& header) noexcept;

}  // namespace koru
