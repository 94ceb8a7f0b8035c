#include "etc_halves.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

namespace koru_ktxpack {
namespace {

/// What the four indices add to the base colour.
using Modifiers = std::array<int, 4>;
using ModifierTables = std::array<Modifiers, 8>;

constexpr std::uint64_t kHoleIndex = 2;

// clang-format off
constexpr ModifierTables kOpaqueTables{{
    { 2,   8,  -2,   -8},
    { 5,  17,  -5,  -17},
    { 9,  29,  -9,  -29},
    {13,  42, -13,  -42},
    {18,  60, -18,  -60},
    {24,  80, -24,  -80},
    {33, 106, -33, -106},
    {47, 183, -47, -183},
}};
// clang-format on

/// Blocks with holes lose the small modifiers: one becomes 0, the other is the hole. Writing 0 for
/// the hole too keeps it from ever being chosen, as the search prefers the lower index.
constexpr ModifierTables kTablesWithHoles = [] {
    ModifierTables tables = kOpaqueTables;
    for (Modifiers& modifiers : tables) modifiers[0] = modifiers[kHoleIndex] = 0;
    return tables;
}();

/// How base colours are stored.
struct BaseForm {
    int top;
    int (*widen)(int);
};
constexpr BaseForm kIndividual{15, Etc_Widen4};
constexpr BaseForm kDifferential{31, Etc_Widen5};

constexpr int kLowestDelta = -4;
constexpr int kHighestDelta = 3;

struct HalfTexel {
    Texel texel;
    std::size_t number;
};

struct Half {
    std::vector<HalfTexel> texels;  ///< the opaque ones
    std::uint64_t holes = 0;        ///< index bits of the others
};

std::array<Half, 2> Halves_Split(const BlockTexels& texels, bool isFlipped, bool hasHoles) {
    std::array<Half, 2> halves;
    for (std::size_t y = 0; y < 4; ++y) {
        for (std::size_t x = 0; x < 4; ++x) {
            const Texel& texel = texels[4 * y + x];
            Half& half = halves[(isFlipped ? y : x) / 2];
            const std::size_t number = Etc_GetTexelNumber(x, y);
            if (hasHoles && !Texel_IsOpaque(texel)) {
                half.holes |= Etc_PlaceIndex(number, kHoleIndex);
            } else {
                half.texels.push_back({texel, number});
            }
        }
    }
    return halves;
}

struct HalfFit {
    Color base{};  ///< as stored
    std::size_t table = 0;
    std::uint64_t indices = 0;
    std::uint32_t error = std::numeric_limits<std::uint32_t>::max();
};

HalfFit Half_FitTable(const Half& half, const Color& widened, const Modifiers& modifiers,
                      std::uint32_t limit) {
    std::array<Color, 4> palette{};
    for (std::size_t k = 0; k < 4; ++k) {
        for (std::size_t i = 0; i < 3; ++i) {
            palette[k][i] = Channel_Clamp(widened[i] + modifiers[k]);
        }
    }
    HalfFit fit{.indices = half.holes, .error = 0};
    for (const HalfTexel& texel : half.texels) {
        std::uint32_t least = std::numeric_limits<std::uint32_t>::max();
        std::uint64_t index = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            const std::uint32_t error = Color_GetError(palette[k], texel.texel);
            if (error >= least) continue;
            least = error;
            index = k;
        }
        fit.indices |= Etc_PlaceIndex(texel.number, index);
        fit.error += least;
        if (fit.error >= limit) break;
    }
    return fit;
}

HalfFit Half_FitBase(const Half& half, const Color& base, const BaseForm& form,
                     const ModifierTables& tables) {
    const Color widened{form.widen(base[0]), form.widen(base[1]), form.widen(base[2])};
    HalfFit best;
    for (std::size_t table = 0; table < tables.size(); ++table) {
        HalfFit fit = Half_FitTable(half, widened, tables[table], best.error);
        if (fit.error >= best.error) continue;
        fit.base = base;
        fit.table = table;
        best = fit;
    }
    return best;
}

Color Half_GetAverage(const Half& half, const BaseForm& form) {
    Color average{};
    const auto count = static_cast<int>(half.texels.size());
    if (count == 0) return average;
    for (std::size_t i = 0; i < 3; ++i) {
        int sum = 0;
        for (const HalfTexel& texel : half.texels) sum += texel.texel[i];
        average[i] = (sum * form.top * 2 + 255 * count) / (2 * 255 * count);
    }
    return average;
}

/// A fit for each base within one step of `center`.
std::vector<HalfFit> Half_FitAround(const Half& half, const Color& center, const BaseForm& form,
                                    const ModifierTables& tables) {
    std::vector<HalfFit> fits;
    Color base{};
    const auto walk = [&](auto&& next, std::size_t channel) -> void {
        if (channel == 3) {
            fits.push_back(Half_FitBase(half, base, form, tables));
            return;
        }
        for (int step = -1; step <= 1; ++step) {
            base[channel] = center[channel] + step;
            if (base[channel] >= 0 && base[channel] <= form.top) next(next, channel + 1);
        }
    };
    walk(walk, 0);
    return fits;
}

/// The best fit that steps from the average lead to.
HalfFit Half_FitWithSteps(const Half& half, const BaseForm& form, const ModifierTables& tables) {
    HalfFit best;
    for (Color center = Half_GetAverage(half, form);; center = best.base) {
        const auto fits = Half_FitAround(half, center, form, tables);
        const HalfFit& fit = *std::ranges::min_element(fits, {}, &HalfFit::error);
        if (fit.error >= best.error) return best;
        best = fit;
    }
}

/// The nearest to `color` that a delta can reach from `base`.
Color Color_MoveIntoReach(const Color& color, const Color& base, int lowest, int highest) {
    Color moved{};
    for (std::size_t i = 0; i < 3; ++i) {
        moved[i] = std::clamp(color[i], std::max(base[i] + lowest, 0),
                              std::min(base[i] + highest, kDifferential.top));
    }
    return moved;
}

bool Delta_IsInReach(const Color& first, const Color& second) {
    for (std::size_t i = 0; i < 3; ++i) {
        const int delta = second[i] - first[i];
        if (delta < kLowestDelta || delta > kHighestDelta) return false;
    }
    return true;
}

struct PairFit {
    HalfFit first;
    HalfFit second;
    std::uint32_t error = std::numeric_limits<std::uint32_t>::max();

    void Try(const HalfFit& one, const HalfFit& other) {
        if (one.error + other.error >= error) return;
        *this = {one, other, one.error + other.error};
    }
};

PairFit Halves_FitDifferential(const std::array<Half, 2>& halves, const ModifierTables& tables) {
    std::array<Color, 2> centers{Half_FitWithSteps(halves[0], kDifferential, tables).base,
                                 Half_FitWithSteps(halves[1], kDifferential, tables).base};
    // A half that is all holes has no wish of its own.
    if (halves[0].texels.empty()) centers[0] = centers[1];
    if (halves[1].texels.empty()) centers[1] = centers[0];

    PairFit best;
    const auto seconds = Half_FitAround(halves[1], centers[1], kDifferential, tables);
    for (const HalfFit& first : Half_FitAround(halves[0], centers[0], kDifferential, tables)) {
        for (const HalfFit& second : seconds) {
            if (Delta_IsInReach(first.base, second.base)) best.Try(first, second);
        }
    }
    if (best.error != std::numeric_limits<std::uint32_t>::max()) return best;

    // Too far apart: one half yields, or both do.
    const auto tryBases = [&](const Color& first, const Color& second) {
        best.Try(Half_FitBase(halves[0], first, kDifferential, tables),
                 Half_FitBase(halves[1], second, kDifferential, tables));
    };
    Color middle{};
    for (std::size_t i = 0; i < 3; ++i) middle[i] = (centers[0][i] + centers[1][i]) / 2;
    for (const Color& first :
         {centers[0], middle,
          Color_MoveIntoReach(centers[0], centers[1], -kHighestDelta, -kLowestDelta)}) {
        tryBases(first, Color_MoveIntoReach(centers[1], first, kLowestDelta, kHighestDelta));
    }
    return best;
}

PairFit Halves_FitIndividual(const std::array<Half, 2>& halves) {
    PairFit best;
    best.Try(Half_FitWithSteps(halves[0], kIndividual, kOpaqueTables),
             Half_FitWithSteps(halves[1], kIndividual, kOpaqueTables));
    return best;
}

/// Everything but the base colours and the differential bit.
std::uint64_t Pair_PlaceCommon(const PairFit& pair, bool isFlipped) {
    return Etc_PlaceField(static_cast<int>(pair.first.table), 3, 37) |
           Etc_PlaceField(static_cast<int>(pair.second.table), 3, 34) |
           Etc_PlaceField(isFlipped ? 1 : 0, 1, kEtcFlipBit) | pair.first.indices |
           pair.second.indices;
}

std::uint64_t Pair_PlaceIndividualBases(const PairFit& pair) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        const int lowest = 56 - 8 * static_cast<int>(i);
        bits |= Etc_PlaceField(pair.first.base[i], 4, lowest + 4);
        bits |= Etc_PlaceField(pair.second.base[i], 4, lowest);
    }
    return bits;
}

std::uint64_t Pair_PlaceDifferentialBases(const PairFit& pair) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        const int lowest = 56 - 8 * static_cast<int>(i);
        bits |= Etc_PlaceField(pair.first.base[i], 5, lowest + 3);
        bits |= Etc_PlaceField(pair.second.base[i] - pair.first.base[i], 3, lowest);
    }
    return bits;
}

void EtcBlock_TryDifferential(const PairFit& pair, bool isFlipped, bool hasBit, EtcBlock& best) {
    if (pair.error >= best.error) return;
    best = {Pair_PlaceCommon(pair, isFlipped) | Pair_PlaceDifferentialBases(pair) |
                Etc_PlaceField(hasBit ? 1 : 0, 1, kEtcDifferentialBit),
            pair.error};
}

}  // namespace

EtcBlock Etc_FitHalves(const BlockTexels& texels) {
    EtcBlock best;
    for (const bool isFlipped : {false, true}) {
        const auto halves = Halves_Split(texels, isFlipped, false);
        EtcBlock_TryDifferential(Halves_FitDifferential(halves, kOpaqueTables), isFlipped, true,
                                 best);
        const PairFit pair = Halves_FitIndividual(halves);
        if (pair.error < best.error) {
            best = {Pair_PlaceCommon(pair, isFlipped) | Pair_PlaceIndividualBases(pair),
                    pair.error};
        }
    }
    return best;
}

EtcBlock Etc_FitHalvesWithHoles(const BlockTexels& texels) {
    const bool isOpaque = std::ranges::all_of(texels, Texel_IsOpaque);
    EtcBlock best;
    for (const bool isFlipped : {false, true}) {
        const auto halves = Halves_Split(texels, isFlipped, !isOpaque);
        EtcBlock_TryDifferential(
            Halves_FitDifferential(halves, isOpaque ? kOpaqueTables : kTablesWithHoles), isFlipped,
            isOpaque, best);
    }
    return best;
}

}  // namespace koru_ktxpack
