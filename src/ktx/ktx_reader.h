// The gate of every KTX load.
#pragma once

#include "core/load_sequence.h"
#include "ktx/ktx_state.h"

namespace koru {

/// Identifies a KTX file at the source's offset, checks its fixed header and decodes its first
/// image into the KTX surface: 1 or 0. A KTX 1.1 file is read where it stands.
/// Quirk: a KTX 2.0 file is read from the start of the buffer, wherever its identifier was found;
/// one that stands elsewhere is not what is read.
///
/// A wrapped file is opened first; the source is then left without data. Quirk: that gives 1
/// whatever the file inside is, as soon as there is one; the surface tells whether it was decoded.
[[nodiscard]] int Ktx_ReadContainer(SourceBuffer& source, const KORU_Char* name);

inline constexpr ContainerFormat kKtxFormat{
    .state = g_ktxState, .memoryName = "memory.ktx", .parse = Ktx_ReadContainer};

}  // namespace koru
