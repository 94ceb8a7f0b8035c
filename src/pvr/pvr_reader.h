// The dispatch of every PVR load.
#pragma once

#include "core/load_sequence.h"

namespace koru {

extern FormatState g_pvrState;

/// No PVR version is read yet: 0.
[[nodiscard]] int PvrDecodeSource(SourceBuffer& source, const KORU_Char* name);

inline constexpr ContainerFormat kPvrFormat{
    .state = g_pvrState, .memoryName = "memory.pvr", .parse = PvrDecodeSource};

}  // namespace koru
