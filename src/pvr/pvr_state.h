// What PVR loads share and keep between calls.
#pragma once

#include "core/format_state.h"

namespace koru {

extern FormatState g_pvrState;

/// Whether the legacy file that is being decoded holds blocks. Quirk: a pixel type that is in no
/// set leaves it as the last file set it; either way nothing of such a file is decoded.
extern bool LegacyCompressedFlag;

}  // namespace koru
