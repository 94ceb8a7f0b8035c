#include "core/format_state.h"

#include <algorithm>

namespace koru {

FormatState::~FormatState() { State_Release(*this); }

void State_SetName(FormatState& state, const KORU_Char* path) noexcept {
    std::size_t unit = 0;
    for (; unit + 1 < kNameUnits && path[unit] != 0; ++unit) state.name[unit] = path[unit];
    state.name[unit] = 0;
}

void State_SetName(FormatState& state, std::string_view ascii) noexcept {
    const std::size_t units = std::min(ascii.size(), kNameUnits - 1);
    std::transform(ascii.begin(), ascii.begin() + static_cast<std::ptrdiff_t>(units),
                   state.name.begin(), [](char unit) { return static_cast<KORU_Char>(unit); });
    state.name[units] = 0;
}

int State_ReadPayload(FormatState& state, SourceBuffer& source, std::uint32_t byteCount,
                      std::uint32_t width, std::uint32_t height) noexcept {
    LevelEntry& level = state.levels.entries[0];
    return state.surface.wantedForm == RecordForm::HeaderOnly
               ? LevelEntry_SkipPayload(level, source, byteCount, width, height)
               : LevelEntry_ReadPayload(level, source, byteCount, width, height);
}

void State_Release(FormatState& state) noexcept {
    LevelTable_Release(state.levels);
    state.surface.pixels.Reset();
    state.name[0] = 0;
}

}  // namespace koru
