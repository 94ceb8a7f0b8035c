// The published tables of ETC and EAC: what pixel indices add to base values.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace koru {

/// The two amounts of a color block's table: indices 0 to 3 add small, large, -small, -large.
struct EtcModifiers {
    std::uint8_t small = 0, large = 0;
};
inline constexpr std::array<EtcModifiers, 8> kEtcModifiers{
    {{2, 8}, {5, 17}, {9, 29}, {13, 42}, {18, 60}, {24, 80}, {33, 106}, {47, 183}}};

/// Of the paint colors of T and H blocks.
inline constexpr std::array<std::uint8_t, 8> kEtcDistances{3, 6, 11, 16, 23, 32, 41, 64};

/// What indices 0 to 7 of an EAC block add.
using EacRow = std::array<std::int16_t, 8>;

/// The modifiers of every table. Their negative halves say it all, largest magnitude first.
inline constexpr auto kEacModifiers = [] {
    constexpr std::array<std::array<std::int16_t, 4>, 16> kNegativeHalves{{
        {-15, -9, -6, -3},
        {-13, -10, -7, -3},
        {-13, -8, -5, -2},
        {-13, -6, -4, -2},
        {-12, -8, -6, -3},
        {-11, -9, -7, -3},
        {-11, -8, -7, -4},
        {-11, -8, -5, -3},
        {-10, -8, -6, -2},
        {-10, -8, -5, -2},
        {-10, -8, -4, -2},
        {-10, -7, -5, -2},
        {-10, -7, -4, -3},
        {-10, -3, -2, -1},
        {-9, -8, -6, -4},
        {-9, -7, -5, -3},
    }};
    std::array<EacRow, 16> rows{};
    for (std::size_t table = 0; table < rows.size(); ++table) {
        for (std::size_t i = 0; i < 4; ++i) {
            const std::int16_t modifier = kNegativeHalves[table][3 - i];
            rows[table][i] = modifier;
            rows[table][4 + i] = static_cast<std::int16_t>(-modifier - 1);
        }
    }
    return rows;
}();

/// Modifier times multiplier for every value of the byte that holds multiplier and table. Made by
/// the compiler, so nothing has to be built, or guarded, at run time.
inline constexpr auto kEacProducts = [] {
    std::array<EacRow, 256> rows{};
    for (std::size_t b = 0; b < rows.size(); ++b) {
        for (std::size_t i = 0; i < 8; ++i) {
            rows[b][i] =
                static_cast<std::int16_t>(kEacModifiers[b % 16][i] * static_cast<int>(b / 16));
        }
    }
    return rows;
}();

}  // namespace koru
