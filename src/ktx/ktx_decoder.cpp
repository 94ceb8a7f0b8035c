#include "ktx/ktx_decoder.h"

#include <optional>

#include "core/level_table.h"
#include "ktx/ktx_contents.h"
#include "ktx/ktx_pixels.h"
#include "ktx/ktx_state.h"

namespace koru {
namespace {

/// Copies the payload into the entry; an absent one leaves it empty.
bool ReadPayload(SourceBuffer& source, const KtxContents& contents, LevelEntry& level) noexcept {
    const KtxLevelRange& range = contents.level;
    if (!range.isPresent) return true;
    Source_Seek(source, range.byteOffset);
    // Asked before memory is, so that a size of no substance costs nothing.
    if (range.byteSize > Source_GetRemaining(source)) return false;
    if (LevelEntry_SetSize(level, range.byteSize) == 0) return false;
    level.levelWidth = contents.width;
    level.levelHeight = contents.height;
    return Source_Read(source, level.data.Data(), range.byteSize) != 0;
}

int DecodeContents(SourceBuffer& source, const std::optional<KtxContents>& contents) noexcept {
    LevelTable& levels = g_ktxState.levels;
    if (LevelTable_CreateSingleLevel(levels) == 0 || !contents) return 0;
    LevelEntry& level = levels.entries[0];
    return ReadPayload(source, *contents, level) ? Ktx_DecodePixels(*contents, level) : 0;
}

}  // namespace

int Ktx_DecodeKtx11(SourceBuffer& source, const KORU_Char* name,
                    const Ktx11Header& header) noexcept {
    if (name == nullptr) return 0;
    return DecodeContents(source, Ktx_ReadContents11(source, header, g_ktxCompressed));
}

int Ktx_DecodeKtx20(SourceBuffer& source, const KORU_Char* name,
                    const Ktx20Header& header) noexcept {
    if (name == nullptr) return 0;
    return DecodeContents(source, Ktx_ReadContents20(source, header));
}

}  // namespace koru
