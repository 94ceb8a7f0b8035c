// What KTX loads share and keep between calls.
#pragma once

#include "core/format_state.h"
#include "ktx/ktx_header.h"

namespace koru {

extern FormatState g_ktxState;

/// Version of the last identifier that matched, whatever became of the load; never cleared.
extern KtxVersion g_ktxVersion;

/// Whether the KTX 1.1 file that is being decoded declares a compressed format.
extern bool g_ktxCompressed;

}  // namespace koru
