// One PVRTC block: its bits, its two colors, its stored weights.
#pragma once

#include <array>
#include <cstdint>

namespace koru {

/// 8 x 4 pixels at 2 bits, 4 x 4 at 4 bits. Layout, little-endian words:
///
///   modulation  8 bits for each row of pixels, top row and left pixel lowest
///   colors      mode flag in bit 0, color A in bits 1 to 15, color B in bits 16 to 31
struct PvrtcBlock {
    std::uint32_t modulation = 0;
    std::uint32_t colors = 0;

    [[nodiscard]] constexpr bool HasMode() const noexcept { return (colors & 1) != 0; }
};

inline constexpr std::uint32_t kPvrtcBlockHeight = 4;

/// Red, green, blue, alpha.
using PvrtcColor = std::array<std::int32_t, 4>;

/// 5 bits of R, G, B and 4 bits of A.
struct PvrtcColors {
    PvrtcColor a{}, b{};
};

/// Bit 15 set: R, G, B of 5 bits each, opaque. Clear: A of 3 bits, R, G, B of 4, which go to the
/// top of 5; red and green repeat their top bit below.
[[nodiscard]] constexpr PvrtcColor Pvrtc_UnpackColor(std::uint32_t bits) noexcept {
    const auto repeatTop = [](std::uint32_t value) { return value | value >> 4; };
    const auto make = [](auto... channels) {
        return PvrtcColor{static_cast<std::int32_t>(channels)...};
    };
    if ((bits & 0x8000) != 0) return make(bits >> 10 & 31, bits >> 5 & 31, bits & 31, 15);
    return make(repeatTop(bits >> 7 & 30), repeatTop(bits >> 3 & 30), (bits & 15) * 2,
                bits >> 11 & 14);
}

[[nodiscard]] constexpr PvrtcColors Pvrtc_UnpackColors(const PvrtcBlock& block) noexcept {
    const std::uint32_t bitsA = block.colors & 0xFFFE, bitsB = block.colors >> 16;
    PvrtcColors colors{.a = Pvrtc_UnpackColor(bitsA), .b = Pvrtc_UnpackColor(bitsB)};
    std::int32_t& blueA = colors.a[2];
    blueA |= blueA >> ((bitsA & 0x8000) != 0 ? 4 : 3);
    // Quirk: a translucent B fills the low bits of A's blue, not of its own; keeps the blues of
    // translucent pictures.
    if ((bitsB & 0x8000) == 0) blueA |= blueA >> 4;
    return colors;
}

}  // namespace koru
