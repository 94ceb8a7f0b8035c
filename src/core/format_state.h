// What a container format keeps between calls.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "core/decode_surface.h"
#include "core/level_table.h"
#include "korutex.h"

namespace koru {

inline constexpr std::size_t kNameUnits = 260;  ///< Including the terminator.

/// One static instance per format. When the library is unloaded, the instance is destroyed, which
/// releases the level table and empties the name.
struct FormatState {
    constexpr FormatState() noexcept = default;
    FormatState(const FormatState&) = delete;
    FormatState& operator=(const FormatState&) = delete;
    ~FormatState();

    DecodeSurface surface;
    LevelTable levels;
    std::array<KORU_Char, kNameUnits> name{};  ///< Source of the last load; nothing reads it.
};

/// Copies a path into the name buffer; what does not fit is cut off.
void State_SetName(FormatState& state, const KORU_Char* path) noexcept;

/// Copies an ASCII name into the name buffer.
void State_SetName(FormatState& state, std::string_view ascii) noexcept;

/// LevelEntry_ReadPayload for the first level of the table; a load that wants no pixels skips it.
[[nodiscard]] int State_ReadPayload(FormatState& state, SourceBuffer& source,
                                    std::uint32_t byteCount, std::uint32_t width,
                                    std::uint32_t height) noexcept;

/// Releases the level table and the pixels, and empties the name.
void State_Release(FormatState& state) noexcept;

}  // namespace koru
