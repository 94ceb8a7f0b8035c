// What PVR files hold, in words.
#pragma once

#include <cstdint>
#include <string>

#include "pvr_inspection.h"

namespace koru_host {

/// "0x12 (RGBA8888)", "6 (ETC1)", "rgba 8,8,8,8"; numbers without a name stand alone.
std::string Pvr_GetFormatName(const PvrFacts& facts);

/// The name alone; empty if it has none.
std::string Pvr_GetLegacyTypeName(std::uint32_t pixelType);
std::string Pvr_GetNumberName(std::uint32_t formatNumber);

/// "rgba"; bytes that are no characters as \x01, zeros at the end left out.
std::string Pvr_GetChannelNames(const PvrFacts& facts);
/// "8,8,8,8", one for each name or more.
std::string Pvr_GetChannelWidths(const PvrFacts& facts);

/// "linear", "sRGB", or the number.
std::string Pvr_GetColorSpaceName(std::uint32_t colorSpace);
/// "unsigned byte, normalized", or the number.
std::string Pvr_GetChannelTypeName(std::uint32_t channelType);
/// "3 (orientation)", or the number.
std::string Pvr_GetMetadataName(const PvrMetadata& metadata);

/// "packed pixels", "PVRTC blocks", ...; empty for a format that is not decoded.
std::string Pvr_GetWayName(const PvrFacts& facts);

}  // namespace koru_host
