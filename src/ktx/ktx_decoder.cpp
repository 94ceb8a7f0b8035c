#include "ktx/ktx_decoder.h"

#include <optional>

#include "core/level_table.h"
#include "ktx/ktx_contents.h"
#include "ktx/ktx_pixels.h"
#include "ktx/ktx_state.h"

namespace koru {
namespace {

/// Puts the payload into the entry; an absent one leaves it empty.
int ReadPayload(SourceBuffer& source, const KtxContents& contents) noexcept {
    const KtxLevelRange& range = contents.level;
    if (!range.isPresent) return 1;
    Source_Seek(source, range.byteOffset);
    return State_ReadPayload(g_ktxState, source, range.byteSize, contents.width, contents.height);
}

int DecodeContents(SourceBuffer& source, const std::optional<KtxContents>& contents) noexcept {
    LevelTable& levels = g_ktxState.levels;
    if (LevelTable_CreateSingleLevel(levels) == 0 || !contents) return 0;
    if (ReadPayload(source, *contents) == 0) return 0;
    return Ktx_DecodePixels(*contents, levels.entries[0]);
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
