// The decoders of KTX 1.1 and KTX 2.0: from behind the fixed header to the KTX surface.
#pragma once

#include "core/source_buffer.h"
#include "korutex.h"
#include "ktx/ktx_header.h"

namespace koru {

/// Decodes the first image of a file whose header was checked; the source stands behind it.
/// 0 without a name, when the file ends too early, or without memory. 1 does not promise pixels: an
/// unsupported format or a short payload leaves the surface empty, and finishing gives no record.
/// Ktx_DecodeKtx11 takes from g_ktxCompressed whether the format is a compressed one.
[[nodiscard]] int Ktx_DecodeKtx11(SourceBuffer& source, const KORU_Char* name,
                                  const Ktx11Header& header) noexcept;
[[nodiscard]] int Ktx_DecodeKtx20(SourceBuffer& source, const KORU_Char* name,
                                  const Ktx20Header& header) noexcept;

}  // namespace koru
