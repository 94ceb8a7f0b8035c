#include "blocks/etc_color_block.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "blocks/etc_tables.h"
#include "blocks/etc_word.h"

namespace koru {
namespace {

// clang-format off
// Layouts, bit 63 on top. Bits marked "-" carry no color: they make the sum overflow that selects
// the mode. Bit 33 is the differential or the opaque flag. Parts of a field are written [high:low].
//
//   individual    R1 63..60  R2 59..56  G1 55..52  G2 51..48  B1 47..44  B2 43..40
//                 table1 39..37  table2 36..34  flip 32
//   differential  R 63..59  dR 58..56  G 55..51  dG 50..48  B 47..43  dB 42..40
//                 table1 39..37  table2 36..34  flip 32
//   T             - 63..61  R1[3:2] 60..59  - 58  R1[1:0] 57..56  G1 55..52  B1 51..48
//                 R2 47..44  G2 43..40  B2 39..36  distance 35..34 and 32
//   H             - 63  R1 62..59  G1[3:1] 58..56  - 55..53  G1[0] 52  B1[3] 51  - 50
//                 B1[2:0] 49..47  R2 46..43  G2 42..39  B2 38..35  distance[2:1] 34 and 32
//   planar        - 63  RO 62..57  GO[6] 56  - 55  GO[5:0] 54..49  BO[5] 48  - 47..45
//                 BO[4:3] 44..43  - 42  BO[2:0] 41..39  RH[5:1] 38..34  RH[0] 32
//                 GH 31..25  BH 24..19  RV 18..13  GV 12..6  BV 5..0
//
// All but planar: pixel k = 4 * x + y has its index in bits k (low) and 16 + k (high).
// clang-format on

enum class Mode { Individual, Differential, T, H, Planar };

constexpr std::uint8_t Clamp8(int value) noexcept {
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

/// Widens a channel of 4 to 7 bits by repeating its top bits.
template <unsigned Bits>
constexpr std::uint8_t Widen(unsigned value) noexcept {
    static_assert(Bits >= 4 && Bits <= 7);
    return static_cast<std::uint8_t>(value << (8 - Bits) | value >> (2 * Bits - 8));
}

/// A color of 4:4:4 bits, red on top.
constexpr Rgba8 Widen444(unsigned color) noexcept {
    return {Widen<4>(color >> 8), Widen<4>(color >> 4 & 15), Widen<4>(color & 15), 255};
}

constexpr Rgba8 Add(const Rgba8& color, int amount) noexcept {
    return {Clamp8(color.r + amount), Clamp8(color.g + amount), Clamp8(color.b + amount), 255};
}

/// One channel of the second differential base color, not yet limited to 5 bits: the first one's 5
/// bits plus a two's-complement delta of 3.
constexpr int GetSecondBase(unsigned channelByte) noexcept {
    const int delta = static_cast<int>((channelByte & 7) ^ 4) - 4;
    return static_cast<int>(channelByte >> 3) + delta;
}

constexpr bool Overflows(int base) noexcept { return base < 0 || base > 31; }

constexpr Mode GetMode(std::uint64_t word, EtcBit33 bit33) noexcept {
    if (bit33 == EtcBit33::Differential && Etc_GetBits<33, 33>(word) == 0) return Mode::Individual;
    // Quirk: an ETC1 block that overflows, which ETC1 leaves open, has the mode ETC2 gives it; such
    // textures look as they always did.
    if (Overflows(GetSecondBase(Etc_GetBits<63, 56>(word)))) return Mode::T;
    if (Overflows(GetSecondBase(Etc_GetBits<55, 48>(word)))) return Mode::H;
    if (Overflows(GetSecondBase(Etc_GetBits<47, 40>(word)))) return Mode::Planar;
    return Mode::Differential;
}

/// What the indices of a block choose from.
struct Paint {
    std::array<Rgba8, 8> colors;   ///< Four for the first half of the block, four for the second.
    std::uint16_t secondHalf = 0;  ///< Bit k: whether pixel k lies in the second half.
};

/// Two halves, each with a base color and a modifier table. Side by side, or with the flip bit one
/// above the other.
constexpr Paint PaintHalves(std::uint64_t word, const std::array<Rgba8, 2>& bases,
                            bool hasTransparent) noexcept {
    const std::array<unsigned, 2> tables{Etc_GetBits<39, 37>(word), Etc_GetBits<36, 34>(word)};
    const bool flip = Etc_GetBits<32, 32>(word) != 0;
    Paint paint{.colors = {}, .secondHalf = flip ? std::uint16_t{0xCCCC} : std::uint16_t{0xFF00}};
    for (std::size_t half = 0; half < 2; ++half) {
        const EtcModifiers& modifiers = kEtcModifiers[tables[half]];
        const int small = hasTransparent ? 0 : modifiers.small;
        paint.colors[4 * half] = Add(bases[half], small);
        paint.colors[4 * half + 1] = Add(bases[half], modifiers.large);
        paint.colors[4 * half + 2] = Add(bases[half], -small);
        paint.colors[4 * half + 3] = Add(bases[half], -modifiers.large);
    }
    return paint;
}

constexpr Paint PaintIndividual(std::uint64_t word) noexcept {
    const Rgba8 first{Widen<4>(Etc_GetBits<63, 60>(word)), Widen<4>(Etc_GetBits<55, 52>(word)),
                      Widen<4>(Etc_GetBits<47, 44>(word)), 255};
    const Rgba8 second{Widen<4>(Etc_GetBits<59, 56>(word)), Widen<4>(Etc_GetBits<51, 48>(word)),
                       Widen<4>(Etc_GetBits<43, 40>(word)), 255};
    return PaintHalves(word, {first, second}, false);
}

constexpr Paint PaintDifferential(std::uint64_t word, bool hasTransparent) noexcept {
    const auto widenSecond = [](unsigned channelByte) {
        return Widen<5>(static_cast<unsigned>(GetSecondBase(channelByte)));
    };
    const Rgba8 first{Widen<5>(Etc_GetBits<63, 59>(word)), Widen<5>(Etc_GetBits<55, 51>(word)),
                      Widen<5>(Etc_GetBits<47, 43>(word)), 255};
    const Rgba8 second{widenSecond(Etc_GetBits<63, 56>(word)),
                       widenSecond(Etc_GetBits<55, 48>(word)),
                       widenSecond(Etc_GetBits<47, 40>(word)), 255};
    return PaintHalves(word, {first, second}, hasTransparent);
}

/// The first color alone, the second between two at a distance.
constexpr Paint PaintT(std::uint64_t word) noexcept {
    const Rgba8 first = Widen444(Etc_GetBits<60, 59>(word) << 10 | Etc_GetBits<57, 56>(word) << 8 |
                                 Etc_GetBits<55, 48>(word));
    const Rgba8 second = Widen444(Etc_GetBits<47, 36>(word));
    const int distance = kEtcDistances[Etc_GetBits<35, 34>(word) << 1 | Etc_GetBits<32, 32>(word)];
    return {.colors = {first, Add(second, distance), second, Add(second, -distance)}};
}

/// Two colors at a distance around either of two, whose order is the low bit of the distance.
constexpr Paint PaintH(std::uint64_t word) noexcept {
    const unsigned first444 = Etc_GetBits<62, 59>(word) << 8 | Etc_GetBits<58, 56>(word) << 5 |
                              Etc_GetBits<52, 51>(word) << 3 | Etc_GetBits<49, 47>(word);
    const unsigned second444 = Etc_GetBits<46, 35>(word);
    const unsigned orderBit = first444 >= second444 ? 1 : 0;
    const int distance =
        kEtcDistances[Etc_GetBits<34, 34>(word) << 2 | Etc_GetBits<32, 32>(word) << 1 | orderBit];
    const Rgba8 first = Widen444(first444), second = Widen444(second444);
    return {.colors = {Add(first, distance), Add(first, -distance), Add(second, distance),
                       Add(second, -distance)}};
}

void WritePaint(std::uint64_t word, const Paint& paint, BlockTexels& texels) noexcept {
    const auto indices = static_cast<std::uint32_t>(word);
    for (unsigned y = 0; y < kBlockSide; ++y) {
        for (unsigned x = 0; x < kBlockSide; ++x) {
            const unsigned k = 4 * x + y;
            const unsigned index = (indices >> k & 1u) | (indices >> (16 + k) & 1u) << 1 |
                                   (paint.secondHalf >> k & 1u) << 2;
            texels[y * kBlockSide + x] = paint.colors[index];
        }
    }
}

/// One channel of a planar block: its value at the origin, at x = 4 and at y = 4.
struct Plane {
    int origin = 0, horizontal = 0, vertical = 0;

    [[nodiscard]] constexpr std::uint8_t GetAt(int x, int y) const noexcept {
        return Clamp8((4 * origin + x * (horizontal - origin) + y * (vertical - origin) + 2) >> 2);
    }
};

void WritePlanar(std::uint64_t word, BlockTexels& texels) noexcept {
    const Plane red{
        .origin = Widen<6>(Etc_GetBits<62, 57>(word)),
        .horizontal = Widen<6>(Etc_GetBits<38, 34>(word) << 1 | Etc_GetBits<32, 32>(word)),
        .vertical = Widen<6>(Etc_GetBits<18, 13>(word))};
    const Plane green{
        .origin = Widen<7>(Etc_GetBits<56, 56>(word) << 6 | Etc_GetBits<54, 49>(word)),
        .horizontal = Widen<7>(Etc_GetBits<31, 25>(word)),
        .vertical = Widen<7>(Etc_GetBits<12, 6>(word))};
    const Plane blue{.origin = Widen<6>(Etc_GetBits<48, 48>(word) << 5 |
                                        Etc_GetBits<44, 43>(word) << 3 | Etc_GetBits<41, 39>(word)),
                     .horizontal = Widen<6>(Etc_GetBits<24, 19>(word)),
                     .vertical = Widen<6>(Etc_GetBits<5, 0>(word))};
    for (std::size_t i = 0; i < texels.size(); ++i) {
        const int x = static_cast<int>(i % kBlockSide), y = static_cast<int>(i / kBlockSide);
        texels[i] = {red.GetAt(x, y), green.GetAt(x, y), blue.GetAt(x, y), 255};
    }
}

}  // namespace

void Etc_DecodeColorBlock(const std::uint8_t* block, EtcBit33 bit33, BlockTexels& texels) noexcept {
    const std::uint64_t word = Etc_LoadWord(block);
    const bool hasTransparent = bit33 == EtcBit33::Opaque && Etc_GetBits<33, 33>(word) == 0;
    Paint paint;
    switch (GetMode(word, bit33)) {
        case Mode::Planar:
            WritePlanar(word, texels);  // opaque, whatever the flag says
            return;
        case Mode::Individual:
            paint = PaintIndividual(word);
            break;
        case Mode::Differential:
            paint = PaintDifferential(word, hasTransparent);
            break;
        case Mode::T:
            paint = PaintT(word);
            break;
        case Mode::H:
            paint = PaintH(word);
            break;
    }
    if (hasTransparent) paint.colors[2] = paint.colors[6] = Rgba8{0, 0, 0, 0};
    WritePaint(word, paint, texels);
}

}  // namespace koru
