// The gate of every KTX load.
#pragma once

#include "core/load_sequence.h"

namespace koru {

extern FormatState g_ktxState;

/// No KTX version is read yet: 0.
[[nodiscard]] int Ktx_ReadContainer(SourceBuffer& source, const KORU_Char* name);

inline constexpr ContainerFormat kKtxFormat{
    .state = g_ktxState, .memoryName = "memory.ktx", .parse = Ktx_ReadContainer};

}  // namespace koru
