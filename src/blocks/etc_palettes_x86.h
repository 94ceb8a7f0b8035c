// Palettes of color blocks and the texels they make, for x86 instruction sets: eight colors, looked
// up channel by channel by shuffles.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "blocks/etc_lanes_x86.h"
#include "blocks/etc_tables.h"

namespace koru {
namespace {  // NOLINT(cert-dcl59-cpp): a copy for each instruction set

/// What makes a palette of two base colors: which of them, and amounts to add and then to
/// subtract. Entries 4 to 7 are for the second half of the block.
struct Amounts {
    std::array<std::uint8_t, 16> add{}, subtract{};  ///< Eight each, for two channels.

    constexpr void Set(std::size_t entry, bool isSubtracted, std::uint8_t amount) noexcept {
        auto& amounts = isSubtracted ? subtract : add;
        amounts[entry] = amounts[8 + entry] = amount;
    }
};

struct PaletteShuffles {
    LaneBytes redGreen;  ///< From R, G, B, A of both bases to the reds and greens of a palette.
    LaneBytes blue;      ///< Likewise, to its blues and to zeros.
};
template <typename GetBase>
constexpr PaletteShuffles MakePaletteShuffles(GetBase getBase) {
    const auto getSource = [&](std::size_t i, std::size_t channel) {
        return getBase(i % 8) * 4 + channel;
    };
    return {
        .redGreen = MakeShuffle(BlockHalf::Own, [&](std::size_t i) { return getSource(i, i / 8); }),
        .blue = MakeShuffle(BlockHalf::Own,
                            [&](std::size_t i) { return i < 8 ? getSource(i, 2) : kZero; })};
}
inline constexpr auto kHalvesShuffles = MakePaletteShuffles([](std::size_t i) { return i / 4; });
/// T and H blocks.
inline constexpr std::array<PaletteShuffles, 2> kTwoColorShuffles{
    MakePaletteShuffles([](std::size_t i) { return i % 4 == 0 ? std::size_t{0} : 1; }),
    MakePaletteShuffles([](std::size_t i) { return i % 4 / 2; }),
};

/// By byte 3 without its lowest bits: table1 7..5, table2 4..2 and, where it tells of transparency,
/// the flag.
template <bool HasAlpha1>
inline constexpr std::size_t kHalvesShift = HasAlpha1 ? 1 : 2;
template <bool HasAlpha1>
inline constexpr std::size_t kHalvesRows = std::size_t{256} >> kHalvesShift<HasAlpha1>;
template <bool HasAlpha1>
inline constexpr auto kHalvesAmounts = [] {
    std::array<Amounts, kHalvesRows<HasAlpha1>> rows{};
    for (std::size_t row = 0; row < rows.size(); ++row) {
        const std::size_t byte3 = row << kHalvesShift<HasAlpha1>;
        const bool hasTransparent = HasAlpha1 && (byte3 & 2) == 0;
        for (std::size_t i = 0; i < 8; ++i) {
            const EtcModifiers modifiers = kEtcModifiers[i < 4 ? byte3 >> 5 : byte3 >> 2 & 7];
            const std::uint8_t small = hasTransparent ? std::uint8_t{0} : modifiers.small;
            rows[row].Set(i, i % 4 >= 2, i % 2 == 0 ? small : modifiers.large);
        }
    }
    return rows;
}();

/// T and H blocks, by distance.
inline constexpr auto kTwoColorAmounts = [] {
    std::array<std::array<Amounts, 8>, 2> rows{};
    for (std::size_t distance = 0; distance < 8; ++distance) {
        for (std::size_t half = 0; half < 8; half += 4) {
            const std::uint8_t amount = kEtcDistances[distance];
            rows[0][distance].Set(half + 1, false, amount);
            rows[0][distance].Set(half + 3, true, amount);
            rows[1][distance].Set(half, false, amount);
            rows[1][distance].Set(half + 1, true, amount);
            rows[1][distance].Set(half + 2, false, amount);
            rows[1][distance].Set(half + 3, true, amount);
        }
    }
    return rows;
}();

/// What is left of a palette with transparency, and of one without: entries 2 and 6 are cleared.
inline constexpr std::array<std::array<std::uint8_t, 16>, 2> kOpaqueEntries{{
    {255, 255, 0, 255, 255, 255, 0, 255, 255, 255, 0, 255, 255, 255, 0, 255},
    {255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255},
}};

/// What the half adds to the pixels' indices, without flip and with it.
inline constexpr std::array<std::array<std::uint8_t, 16>, 2> kHalfIndices{{
    {0, 0, 4, 4, 0, 0, 4, 4, 0, 0, 4, 4, 0, 0, 4, 4},
    {0, 0, 0, 0, 0, 0, 0, 0, 4, 4, 4, 4, 4, 4, 4, 4},
}};

/// The byte with the high or the low bit of each pixel's index, and that bit.
template <BlockHalf Half, std::size_t Byte>
inline constexpr LaneBytes kIndexBytes = MakeShuffle(Half, [](std::size_t i) {
    return GetPixelNumber(i) < 8 ? Byte + 1 : Byte;
});
inline constexpr LaneBytes kIndexBits =
    MakeBytes([](std::size_t i) { return 1 << GetPixelNumber(i) % 8; });

/// The first four bytes of a block, byte 0 on top.
inline std::uint32_t LoadFirstWord(const std::uint8_t* block) noexcept {
    return std::uint32_t{block[0]} << 24 | std::uint32_t{block[1]} << 16 |
           std::uint32_t{block[2]} << 8 | std::uint32_t{block[3]};
}

/// A color of 4:4:4 bits, red on top, widened to R, G, B at the low end.
inline std::uint32_t Widen444ToBytes(std::uint32_t color) noexcept {
    return (color >> 8 | (color & 0xF0) << 4 | (color & 0x0F) << 16) * 17;
}

/// The two colors of a T or an H block, and its index of a distance.
struct TwoColors {
    std::array<std::uint32_t, 2> bases;
    std::size_t distance;
};

inline TwoColors ReadT(const std::uint8_t* block) noexcept {
    const std::uint32_t word = LoadFirstWord(block);
    const std::uint32_t first = (word >> 27 & 3) << 10 | (word >> 24 & 3) << 8 | (word >> 16 & 255);
    return {.bases = {Widen444ToBytes(first), Widen444ToBytes(word >> 4 & 0xFFF)},
            .distance = (word >> 2 & 3) << 1 | (word & 1)};
}

inline TwoColors ReadH(const std::uint8_t* block) noexcept {
    const std::uint32_t word = LoadFirstWord(block);
    const std::uint32_t first =
        (word >> 27 & 15) << 8 | (word >> 24 & 7) << 5 | (word >> 19 & 3) << 3 | (word >> 15 & 7);
    const std::uint32_t second = word >> 3 & 0xFFF;
    const std::uint32_t orderBit = first >= second ? 1 : 0;
    return {.bases = {Widen444ToBytes(first), Widen444ToBytes(second)},
            .distance = (word >> 2 & 1) << 2 | (word & 1) << 1 | orderBit};
}

/// The colors of one block in each lane, channel by channel.
template <typename V>
struct Palette {
    typename V::Vector redGreen, blueAlpha;
};

/// getAmounts(lane) is for the block of that lane, which Bases hold as BlockHalf::Own says. The
/// alphas are undefined.
template <typename V, typename GetAmounts>
Palette<V> MakePalette(const PaletteShuffles& shuffles, typename V::Vector bases,
                       const GetAmounts& getAmounts) noexcept {
    const auto add = V::LoadLanes([&](std::size_t lane) noexcept { return &getAmounts(lane).add; });
    const auto subtract =
        V::LoadLanes([&](std::size_t lane) noexcept { return &getAmounts(lane).subtract; });
    const auto getColors = [&](const LaneBytes& shuffle) noexcept {
        return V::SubtractSaturated8(
            V::AddSaturated8(V::Shuffle(bases, V::Load(shuffle.data())), add), subtract);
    };
    return {getColors(shuffles.redGreen), getColors(shuffles.blue)};
}

/// Sets the alphas, and clears the colors without, of punch-through blocks with that byte 3.
template <typename V, typename GetByte3>
void ApplyTransparency(Palette<V>& palette, const GetByte3& getByte3) noexcept {
    const auto opaque = V::LoadLanes(
        [&](std::size_t lane) noexcept { return &kOpaqueEntries[getByte3(lane) >> 1 & 1]; });
    palette.redGreen = V::And(palette.redGreen, opaque);
    palette.blueAlpha = V::And(V::UnpackLow64(palette.blueAlpha, V::Set8(-1)), opaque);
}

/// The entries of the pixels, row by row.
template <typename V, BlockHalf Half>
typename V::Vector GetIndices(typename V::Vector blocks, typename V::Vector halves) noexcept {
    const auto bits = V::Load(kIndexBits.data());
    const auto getPlane = [&](const LaneBytes& shuffle) noexcept {  // -1 for set bits
        return V::Equal8(V::And(V::Shuffle(blocks, V::Load(shuffle.data())), bits), bits);
    };
    const auto high = getPlane(kIndexBytes<Half, 4>);
    const auto low = getPlane(kIndexBytes<Half, 6>);
    return V::Subtract8(V::Subtract8(V::Subtract8(halves, low), high), high);
}

template <typename V>
typename V::Vector LookUpHigh(typename V::Vector palette, typename V::Vector indices) noexcept {
    return V::Shuffle(palette, V::Or(indices, V::Set8(8)));
}

/// Rows of four pixels in each lane.
template <typename V>
struct Texels {
    typename V::Vector rows[kBlockSide];
};

/// R, G, B, A.
template <typename V>
Texels<V> GetRgbaTexels(const Palette<V>& palette, typename V::Vector indices,
                        typename V::Vector alphas) noexcept {
    const auto red = V::Shuffle(palette.redGreen, indices);
    const auto green = LookUpHigh<V>(palette.redGreen, indices);
    const auto blue = V::Shuffle(palette.blueAlpha, indices);
    const auto redGreen01 = V::UnpackLow8(red, green);
    const auto redGreen23 = V::UnpackHigh8(red, green);
    const auto blueAlpha01 = V::UnpackLow8(blue, alphas);
    const auto blueAlpha23 = V::UnpackHigh8(blue, alphas);
    return {{V::UnpackLow16(redGreen01, blueAlpha01), V::UnpackHigh16(redGreen01, blueAlpha01),
             V::UnpackLow16(redGreen23, blueAlpha23), V::UnpackHigh16(redGreen23, blueAlpha23)}};
}

/// From the channels' dwords, R, G and B at 0, 1 and 2 or at 2, 3 and 1, to pixels.
inline constexpr LaneBytes kInterleaveEven =
    MakeBytes([](std::size_t i) { return i < 12 ? i % 3 * 4 + i / 3 : kZero; });
inline constexpr LaneBytes kInterleaveOdd = MakeBytes([](std::size_t i) {
    constexpr std::array<std::size_t, 3> kDwords{2, 3, 1};
    return i < 12 ? kDwords[i % 3] * 4 + i / 3 : kZero;
});

/// R, G, B at the low end: fewer steps than with A.
template <typename V>
Texels<V> GetRgbTexels(const Palette<V>& palette, typename V::Vector indices) noexcept {
    const auto red = V::Shuffle(palette.redGreen, indices);
    const auto green = LookUpHigh<V>(palette.redGreen, indices);
    const auto blue = V::Shuffle(palette.blueAlpha, indices);
    const auto swapped = V::SwapHalves(blue);
    const auto redGreen01 = V::UnpackLow32(red, green);
    const auto redGreen23 = V::UnpackHigh32(red, green);
    // A row's reds and greens lie in one half of the lane, so its blues fit into the other.
    const auto even = V::Load(kInterleaveEven.data()), odd = V::Load(kInterleaveOdd.data());
    return {{V::Shuffle(V::template Blend32<0b0100>(redGreen01, swapped), even),
             V::Shuffle(V::template Blend32<0b0010>(redGreen01, blue), odd),
             V::Shuffle(V::template Blend32<0b0100>(redGreen23, blue), even),
             V::Shuffle(V::template Blend32<0b0010>(redGreen23, swapped), odd)}};
}

}  // namespace
}  // namespace koru
