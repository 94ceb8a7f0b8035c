// What a PVR file holds, as far as its first image goes: read from behind the header, without
// touching the payload or any state.
#pragma once

#include <cstdint>
#include <optional>

#include "core/source_buffer.h"
#include "pvr/pvr_header.h"
#include "pvr/pvr_way.h"

namespace koru {

struct PvrContents {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// The surface's word. Legacy: 1 for a flipped image. Version 3: 1 if the second axis is 0.
    std::uint32_t orientation = 0;
    PvrPixelWay way;
    std::uint32_t payloadBytes = 0;  ///< At the source's offset, not yet checked against its end.
};

[[nodiscard]] PvrContents Pvr_GetLegacyContents(const PvrLegacyHeader& header,
                                                bool isCompressed) noexcept;

/// Reads the metadata; nothing if the source ends within its first entry. All that lies behind it
/// is payload: every level, face and surface. Quirk: later entries are not read, so an orientation
/// counts only where it is the first.
[[nodiscard]] std::optional<PvrContents> Pvr_ReadV3Contents(SourceBuffer& source,
                                                            const PvrV3Header& header) noexcept;

}  // namespace koru
