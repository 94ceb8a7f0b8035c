// Tells texture containers and pictures apart by their first bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace koru_host {

enum class Container { Unknown, Astc, Ktx1, Ktx2, WrappedKtx, Pvr3, PvrLegacy, Png };

/// Bytes that Container_Identify wants to see; fewer if the file is shorter.
inline constexpr std::size_t kContainerProbeBytes = 48;

inline constexpr std::size_t kAstcHeaderBytes = 16;

Container Container_Identify(std::span<const std::uint8_t> head) noexcept;

/// "ASTC", "KTX 2.0", ...
const char* Container_GetName(Container container) noexcept;

/// What the header of an ".astc" file says. Footprint axes of 0 count as 1.
struct AstcSizes {
    std::uint32_t blockWidth, blockHeight, blockDepth;
    std::uint32_t width, height, depth;
};

/// Nothing when the header is cut off.
std::optional<AstcSizes> Container_ReadAstcSizes(std::span<const std::uint8_t> head) noexcept;

/// "6x6", or "6x6x3" for volumes.
std::string Container_GetFootprint(const AstcSizes& sizes);

}  // namespace koru_host
