// PVRTC kernels for vectors of one or two 128-bit lanes, which hold areas side by side. For the
// sources of kernels alone.
//
// `Ops` is the vectors of one source, which has given them a type of its own, so what is made of
// these templates is never shared with code for another instruction set.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "pvr/pvrtc_kernels.h"

namespace koru {

/// `Lane` is the vectors of one lane of the instruction set.
template <typename Lane>
struct OneLane : Lane {
    using Vector = typename Lane::Vector;

    /// Color words of four blocks.
    static Vector LoadColors(const PvrtcBlock* blocks) noexcept {
        return Lane::Odd32(Lane::Load(blocks), Lane::Load(blocks + 2));
    }
    /// Pairs of weights of two pixels.
    static Vector LoadPairs(const std::uint8_t (*table)[16], const std::uint8_t* codes) noexcept {
        return Lane::Load(table[codes[0]]);
    }
    /// Weights of an area, in the low half.
    static Vector LoadWeights(const std::uint8_t* weights) noexcept {
        return Lane::LoadLow64(weights);
    }
    /// Stores areas of eight pixels, given as left and right halves.
    static void StoreHalves(std::uint8_t* target, Vector left, Vector right) noexcept {
        Lane::Store(target, left);
        Lane::Store(target + 16, right);
    }
};

/// Colors of 4 blocks for each lane; see Pvrtc_UnpackColor. Every 16 bits are a color, A below B.
template <typename Ops>
void Pvrtc_UnpackFourColors(const PvrtcBlock* blocks, std::int16_t* target) noexcept {
    using Vector = typename Ops::Vector;
    const Vector inA = Ops::Set32(0xFFFF);
    const Vector bits = Ops::AndNot(Ops::Set32(1), Ops::LoadColors(blocks));
    const Vector isOpaque = Ops::template ShiftRightSigned16<15>(bits);
    const auto fillLow = [](Vector value) {
        return Ops::Or(value, Ops::template ShiftRight16<4>(value));
    };
    const Vector five = Ops::Set16(31), fourOnTop = Ops::Set16(30);

    const Vector red =
        Ops::Select(isOpaque, Ops::And(Ops::template ShiftRight16<10>(bits), five),
                    fillLow(Ops::And(Ops::template ShiftRight16<7>(bits), fourOnTop)));
    const Vector green =
        Ops::Select(isOpaque, Ops::And(Ops::template ShiftRight16<5>(bits), five),
                    fillLow(Ops::And(Ops::template ShiftRight16<3>(bits), fourOnTop)));
    const Vector alpha = Ops::Select(
        isOpaque, Ops::Set16(30), Ops::And(Ops::template ShiftRight16<10>(bits), Ops::Set16(28)));

    Vector blue = Ops::Select(isOpaque, Ops::And(bits, five),
                              Ops::And(Ops::template ShiftLeft16<1>(bits), fourOnTop));
    const Vector low = Ops::Select(isOpaque, Ops::template ShiftRight16<4>(blue),
                                   Ops::template ShiftRight16<3>(blue));
    blue = Ops::Or(blue, Ops::And(low, inA));
    const Vector isOpaqueB = Ops::template ShiftRight32<16>(isOpaque);
    blue =
        Ops::Or(blue, Ops::AndNot(isOpaqueB, Ops::And(Ops::template ShiftRight16<4>(blue), inA)));

    const Vector redGreen01 = Ops::UnpackLow32(red, green),
                 redGreen23 = Ops::UnpackHigh32(red, green);
    const Vector blueAlpha01 = Ops::UnpackLow32(blue, alpha),
                 blueAlpha23 = Ops::UnpackHigh32(blue, alpha);
    // The lanes of a vector belong to every fourth block.
    const auto store = [](std::int16_t* to, Vector lanes) {
        Ops::StoreLanes(to, 4 * kPvrtcLanes * sizeof(*to), lanes);
    };
    store(target, Ops::UnpackLow64(redGreen01, blueAlpha01));
    store(target + kPvrtcLanes, Ops::UnpackHigh64(redGreen01, blueAlpha01));
    store(target + 2 * kPvrtcLanes, Ops::UnpackLow64(redGreen23, blueAlpha23));
    store(target + 3 * kPvrtcLanes, Ops::UnpackHigh64(redGreen23, blueAlpha23));
}

template <typename Ops>
void Pvrtc_UnpackColors(const PvrtcBlock* blocks, std::size_t blockCount,
                        std::int16_t* colors) noexcept {
    constexpr std::size_t kStep = 4 * Ops::kLanes;
    std::size_t i = 0;
    for (; blockCount - i >= kStep; i += kStep)
        Pvrtc_UnpackFourColors<Ops>(blocks + i, colors + i * kPvrtcLanes);
    Pvrtc_UnpackColorsScalar(blocks + i, blockCount - i, colors + i * kPvrtcLanes);
}

/// The loops below go as far as whole vectors reach, and return where that is.
template <typename Ops>
std::size_t Pvrtc_MixColors(const std::int16_t* upper, const std::int16_t* lower, int quarters,
                            std::size_t block, std::size_t blockCount,
                            std::int16_t* mixed) noexcept {
    const auto ofUpper = Ops::Set16(4 - quarters), ofLower = Ops::Set16(quarters);
    for (; blockCount - block >= Ops::kLanes; block += Ops::kLanes) {
        const std::size_t i = block * kPvrtcLanes;
        Ops::Store(mixed + i, Ops::Add16(Ops::Multiply16(Ops::Load(upper + i), ofUpper),
                                         Ops::Multiply16(Ops::Load(lower + i), ofLower)));
    }
    return block;
}

/// From sums of weighted channels to 8 bits. With v = sum >> Shift, of R, G, B v + (v >> 5), which
/// is 33 * v >> 5, and of alpha v + (v >> 4), which is 17 * v >> 4: v is a sum without its low
/// bits, and what divides is one shift for both.
template <typename Ops, int Shift>
class PvrtcExpansion {
  public:
    using Vector = typename Ops::Vector;

    Vector operator()(Vector sum) const noexcept {
        return Ops::MultiplyHigh16(Ops::And(sum, wholes_), factors_);
    }

  private:
    static constexpr std::array<std::uint16_t, kPvrtcLanes> kFactors = [] {
        std::array<std::uint16_t, kPvrtcLanes> factors{};
        factors.fill(33 << (16 - 5 - Shift));
        factors[6] = factors[7] = 17 << (16 - 4 - Shift);
        return factors;
    }();

    Vector wholes_ = Ops::Set16(-(1 << Shift));
    Vector factors_ = Ops::LoadEach(kFactors.data());
};

/// Two pixels' bytes of color A and B in turn, times pairs of weights of eighths.
template <typename Ops>
typename Ops::Vector Pvrtc_Blend(typename Ops::Vector pixels, typename Ops::Vector pairs) noexcept {
    return Ops::template ShiftRight16<3>(Ops::SumProducts8(pixels, pairs));
}

/// Weights of color A and B for each channel of two pixels, by code. The channel that punches
/// through is weighted by 0 twice.
inline constexpr std::size_t kPvrtcCodeCount = std::size_t{2} << kPvrtcCodeBits;
struct PvrtcPairs {
    alignas(16) std::uint8_t pairs[kPvrtcCodeCount][16];
};
inline constexpr PvrtcPairs kPvrtcPairs = [] {
    PvrtcPairs table{};
    for (std::size_t code = 0; code < kPvrtcCodeCount; ++code) {
        const bool hasMode = code >> kPvrtcCodeBits != 0;
        for (std::size_t i = 0; i < 16; i += 2) {
            const std::size_t value = code >> i / 8 * 2 & 3;
            const std::uint8_t weight =
                hasMode ? kPvrtcPunchThroughWeights[value] : kPvrtcWeights[value];
            if (hasMode && value == kPvrtcPunchThrough && i % 8 == 6) continue;
            table.pairs[code][i] = static_cast<std::uint8_t>(8 - weight);
            table.pairs[code][i + 1] = weight;
        }
    }
    return table;
}();

template <typename Ops>
std::size_t Pvrtc_DrawRow4Bpp(const std::int16_t* mixed, const std::uint8_t* codes,
                              std::size_t area, std::size_t areaCount,
                              std::uint8_t* target) noexcept {
    using Vector = typename Ops::Vector;
    const PvrtcExpansion<Ops, 1> expand;
    for (; areaCount - area >= Ops::kLanes; area += Ops::kLanes) {
        const Vector left = Ops::Load(mixed + area * kPvrtcLanes);
        const Vector right = Ops::Load(mixed + (area + 1) * kPvrtcLanes);
        const Vector step = Ops::Subtract16(right, left);
        const Vector sum0 = Ops::template ShiftLeft16<2>(left);
        const Vector sum1 = Ops::Add16(sum0, step);
        const Vector sum2 = Ops::Add16(sum1, step);
        const Vector sum3 = Ops::Add16(sum2, step);
        // From the middle of the first block on.
        const std::uint8_t* const areaCodes = codes + area * kPvrtcCodes4Bpp + 1;
        const Vector pixels01 = Pvrtc_Blend<Ops>(Ops::PackSaturated16(expand(sum0), expand(sum1)),
                                                 Ops::LoadPairs(kPvrtcPairs.pairs, areaCodes));
        const Vector pixels23 = Pvrtc_Blend<Ops>(Ops::PackSaturated16(expand(sum2), expand(sum3)),
                                                 Ops::LoadPairs(kPvrtcPairs.pairs, areaCodes + 1));
        Ops::Store(target + area * 16, Ops::PackSaturated16(pixels01, pixels23));
    }
    return area;
}

/// Where the pairs of two pixels out of eight go.
inline constexpr std::array<std::array<std::uint8_t, 16>, 4> kPvrtcPairPlaces = [] {
    std::array<std::array<std::uint8_t, 16>, 4> places{};
    for (std::size_t i = 0; i < 64; ++i)
        places[i / 16][i % 16] = static_cast<std::uint8_t>(i / 8 * 2 + i % 2);
    return places;
}();

/// The weights of areas from `place` on, averages in.
template <typename Ops>
typename Ops::Lane::Vector Pvrtc_GetWeights2Bpp(const PvrtcWeightRows& rows,
                                                std::size_t place) noexcept {
    using Lane = typename Ops::Lane;
    const auto here = Ops::LoadWeights(rows.here + place);
    const auto beside = Lane::Add8(Ops::LoadWeights(rows.here + place - 1),
                                   Ops::LoadWeights(rows.here + place + 1));
    const auto upright =
        Lane::Add8(Ops::LoadWeights(rows.above + place), Ops::LoadWeights(rows.below + place));
    const auto sum = Lane::Add8(Lane::Add8(beside, upright), Lane::Set8(2));
    // Sums of stored weights are below 64.
    const auto average = Lane::And(Lane::template ShiftRight16<2>(sum), Lane::Set8(15));
    static_assert(kPvrtcAverage == 0x80, "what the next line selects by");
    return Lane::Select(here, average, here);
}

template <typename Ops>
std::size_t Pvrtc_DrawRow2Bpp(const std::int16_t* mixed, const PvrtcWeightRows& weights,
                              std::size_t area, std::size_t areaCount,
                              std::uint8_t* target) noexcept {
    using Vector = typename Ops::Vector;
    const PvrtcExpansion<Ops, 2> expand;
    const PvrtcWeightRows rows = weights;
    const Vector places[4]{
        Ops::LoadEach(kPvrtcPairPlaces[0].data()), Ops::LoadEach(kPvrtcPairPlaces[1].data()),
        Ops::LoadEach(kPvrtcPairPlaces[2].data()), Ops::LoadEach(kPvrtcPairPlaces[3].data())};
    for (; areaCount - area >= Ops::kLanes; area += Ops::kLanes) {
        const Vector ofB = Ops::Widen8(
            Pvrtc_GetWeights2Bpp<Ops>(rows, area * kPvrtcWeights2Bpp + kPvrtcWeights2Bpp / 2));
        const Vector ofA = Ops::Subtract16(Ops::Set16(8), ofB);
        const Vector pairs = Ops::Or(ofA, Ops::template ShiftLeft16<8>(ofB));
        const Vector left = Ops::Load(mixed + area * kPvrtcLanes);
        const Vector right = Ops::Load(mixed + (area + 1) * kPvrtcLanes);
        const Vector step = Ops::Subtract16(right, left);
        Vector sum = Ops::template ShiftLeft16<3>(left);
        const auto drawTwo = [&](Vector twoPlaces) {
            const Vector next = Ops::Add16(sum, step);
            const Vector pixels = Ops::PackSaturated16(expand(sum), expand(next));
            sum = Ops::Add16(next, step);
            return Pvrtc_Blend<Ops>(pixels, Ops::Shuffle(pairs, twoPlaces));
        };
        const Vector pixels01 = drawTwo(places[0]), pixels23 = drawTwo(places[1]);
        const Vector pixels45 = drawTwo(places[2]), pixels67 = drawTwo(places[3]);
        Ops::StoreHalves(target + area * 32, Ops::PackSaturated16(pixels01, pixels23),
                         Ops::PackSaturated16(pixels45, pixels67));
    }
    return area;
}

}  // namespace koru
