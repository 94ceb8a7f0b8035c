#include "astc/astc_reader.h"

#include <algorithm>
#include <span>

#include "core/bytes.h"
#include "core/channel_layout.h"
#include "formats/fill_surface.h"

namespace koru {

constinit FormatState g_astcState;

namespace {

constexpr std::uint64_t DivideUp(std::uint32_t value, std::uint32_t divisor) noexcept {
    return (std::uint64_t{value} + divisor - 1) / divisor;
}

/// Puts the payload into a new level table; its entry, or null.
const LevelEntry* ReadLevel(SourceBuffer& source, const AstcHeader& header,
                            std::uint32_t payloadBytes) noexcept {
    LevelTable& levels = g_astcState.levels;
    if (LevelTable_CreateSingleLevel(levels) == 0) return nullptr;
    return State_ReadPayload(g_astcState, source, payloadBytes, header.width, header.height) != 0
               ? &levels.entries[0]
               : nullptr;
}

int DecodePayload(SourceBuffer& source, const AstcHeader& header) {
    const auto payloadBytes = Astc_GetPayloadBytes(header);
    if (!payloadBytes || *payloadBytes > Source_GetRemaining(source)) return 0;
    const auto size = Size_GetPacked(header.width, header.height, kRgbaBytes);
    if (!size) return 0;
    const LevelEntry* level = ReadLevel(source, header, *payloadBytes);
    if (level == nullptr) return 0;

    DecodeSurface& surface = g_astcState.surface;
    if (!Surface_SetLayout(surface, header.width, header.height, kRgbaBytes)) return 0;
    surface.reservedB = 1;
    AstcRows rows(LevelEntry_GetBytes(*level), header.width, header.height, header.footprint);
    if (Surface_FillFromRows(surface, rows, size->dataSize, 32, Layout_FromMasks(kRgbaByteMasks, 0),
                             ExpandMember::Astc) != 0) {
        return 1;
    }
    // Quirk: a footprint that ASTC does not have gives transparent black instead of a failure;
    // hosts get a record for every well-formed container.
    return rows.IsRefused() && Surface_AllocateZeroed(surface) ? 1 : 0;
}

}  // namespace

std::optional<AstcHeader> Astc_ReadHeader(SourceBuffer& source) noexcept {
    const auto raw = Source_Take<kAstcHeaderBytes>(source);
    if (!raw || Bytes_LoadLe32<0>(*raw) != kAstcMagic) return std::nullopt;
    const auto texels = [&raw](std::size_t offset) {
        return std::max<std::uint32_t>((*raw)[offset], 1);
    };
    const AstcHeader header{.footprint = {texels(4), texels(5), texels(6)},
                            .width = Bytes_LoadLe24<7>(*raw),
                            .height = Bytes_LoadLe24<10>(*raw),
                            .depth = Bytes_LoadLe24<13>(*raw)};
    if (header.width == 0 || header.height == 0 || header.depth != 1) return std::nullopt;
    return header;
}

std::optional<std::uint32_t> Astc_GetPayloadBytes(const AstcHeader& header) noexcept {
    // Each quotient is below 2^24, so the product of two fits 64 bits with room to spare.
    const std::uint64_t blockCount = DivideUp(header.width, header.footprint.width) *
                                     DivideUp(header.height, header.footprint.height) *
                                     DivideUp(header.depth, header.footprint.depth);
    if (blockCount > UINT32_MAX / kAstcBlockBytes) return std::nullopt;
    return static_cast<std::uint32_t>(blockCount) * kAstcBlockBytes;
}

int Astc_ReadContainer(SourceBuffer& source, const KORU_Char* /*name*/) {
    const auto header = Astc_ReadHeader(source);
    return header ? DecodePayload(source, *header) : 0;
}

}  // namespace koru
