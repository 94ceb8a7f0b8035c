// The dispatch of every PVR load.
#pragma once

#include "core/load_sequence.h"
#include "pvr/pvr_state.h"

namespace koru {

/// Identifies a version-3 or legacy PVR file at the source's offset, checks its header and decodes
/// its first image into the PVR surface: 1 or 0.
[[nodiscard]] int PvrDecodeSource(SourceBuffer& source, const KORU_Char* name);

inline constexpr ContainerFormat kPvrFormat{
    .state = g_pvrState, .memoryName = "memory.pvr", .parse = PvrDecodeSource};

}  // namespace koru
