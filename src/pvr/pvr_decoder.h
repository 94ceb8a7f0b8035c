// The decoders of both PVR headers: from behind the header to the PVR surface.
#pragma once

#include "core/source_buffer.h"
#include "korutex.h"
#include "pvr/pvr_header.h"

namespace koru {

/// Decodes the first image of a file; the source stands behind its header, which was checked.
/// 0 without a name, when the file ends too early, or without memory. 1 does not promise pixels: an
/// unsupported format or a short payload leaves the surface empty, and finishing gives no record.
/// PvrDecodeLegacy takes from LegacyCompressedFlag whether the pixel type stands for blocks.
[[nodiscard]] int PvrDecodeLegacy(SourceBuffer& source, const KORU_Char* name,
                                  const PvrLegacyHeader& header) noexcept;
[[nodiscard]] int PvrDecodeV3(SourceBuffer& source, const KORU_Char* name,
                              const PvrV3Header& header) noexcept;

}  // namespace koru
