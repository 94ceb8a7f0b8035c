// The first pair of a KTX file's key/value data.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "core/source_buffer.h"

namespace koru {

/// Lies in the source's bytes. Neither text has a NUL; both end within the pair's first 256 bytes.
struct KtxPair {
    std::string_view key;
    std::string_view value;  ///< Empty if the key has no NUL.
};

/// Reads the pair at the source's offset: 32-bit length, key, NUL, value. Nothing if the source
/// ends before the pair does.
[[nodiscard]] std::optional<KtxPair> Ktx_ReadPair(SourceBuffer& source) noexcept;

/// What a "KTXorientation" pair, in any case, says of the rows: 1 for those that run upwards, else
/// 0. Nothing for another key.
[[nodiscard]] std::optional<std::uint32_t> Ktx_GetOrientation11(const KtxPair& pair) noexcept;
[[nodiscard]] std::optional<std::uint32_t> Ktx_GetOrientation20(const KtxPair& pair) noexcept;

}  // namespace koru
