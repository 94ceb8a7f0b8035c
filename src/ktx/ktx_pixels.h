// From the payload of a KTX level to the KTX surface.
#pragma once

#include "core/level_table.h"
#include "ktx/ktx_contents.h"

namespace koru {

/// Decodes the level's payload into the KTX surface. 1 also where nothing is decoded and the
/// surface stays empty: a format without a way, a payload that is too short. 0 without memory.
[[nodiscard]] int Ktx_DecodePixels(const KtxContents& contents, LevelEntry& level) noexcept;

}  // namespace koru
