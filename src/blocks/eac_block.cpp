#include "blocks/eac_block.h"

#include <algorithm>
#include <cstddef>

#include "blocks/etc_tables.h"
#include "blocks/etc_word.h"

namespace koru {
namespace {

// Layout, bit 63 on top:
//
//   base 63..56 | multiplier 55..52 | table 51..48 | 16 x 3-bit index
//
// Pixel k = 4 * x + y has its index in bits 47 - 3k to 45 - 3k.
struct EacBlock {
    std::uint8_t base = 0;
    std::uint8_t multiplier = 0, table = 0;
    std::uint64_t indices = 0;
};

EacBlock ReadEacBlock(const std::uint8_t* bytes) noexcept {
    const std::uint64_t word = Etc_LoadWord(bytes);
    return {.base = static_cast<std::uint8_t>(Etc_GetBits<63, 56>(word)),
            .multiplier = static_cast<std::uint8_t>(Etc_GetBits<55, 52>(word)),
            .table = static_cast<std::uint8_t>(Etc_GetBits<51, 48>(word)),
            .indices = word};
}

constexpr unsigned GetIndex(const EacBlock& block, unsigned x, unsigned y) noexcept {
    return static_cast<unsigned>(block.indices >> (45 - 3 * (4 * x + y)) & 7);
}

const EacRow& GetProducts(const EacBlock& block) noexcept {
    return kEacProducts[std::size_t{block.multiplier} * 16 + block.table];
}

constexpr std::uint16_t WidenUnsigned(int value) noexcept {
    const auto bits = static_cast<unsigned>(std::clamp(value, 0, 2047));
    return static_cast<std::uint16_t>(bits << 5 | bits >> 6);
}

/// The magnitude is widened and the sign put back: shifting a negative value would be off by one.
constexpr std::uint16_t WidenSigned(int value) noexcept {
    const int limited = std::clamp(value, -1023, 1023);
    const int magnitude = limited < 0 ? -limited : limited;
    const int widened = magnitude << 5 | magnitude >> 5;
    return static_cast<std::uint16_t>(limited < 0 ? -widened : widened);
}

}  // namespace

void Eac_DecodeAlphaBlock(const std::uint8_t* block, BlockTexels& texels) noexcept {
    const EacBlock eac = ReadEacBlock(block);
    const EacRow& products = GetProducts(eac);
    std::array<std::uint8_t, 8> palette{};
    for (std::size_t i = 0; i < palette.size(); ++i)
        palette[i] = static_cast<std::uint8_t>(std::clamp(eac.base + products[i], 0, 255));
    for (unsigned y = 0; y < kBlockSide; ++y) {
        for (unsigned x = 0; x < kBlockSide; ++x)
            texels[y * kBlockSide + x].a = palette[GetIndex(eac, x, y)];
    }
}

EacValues Eac_Decode11BitBlock(const std::uint8_t* block, bool isSigned) noexcept {
    const EacBlock eac = ReadEacBlock(block);
    // Modifiers count in eighths of the base's unit; a multiplier of 0 stands for one eighth.
    const bool isEighth = eac.multiplier == 0;
    const EacRow& amounts = isEighth ? kEacModifiers[eac.table] : GetProducts(eac);
    const int scale = isEighth ? 1 : 8;
    // -128 counts as -127: the range is symmetric. Unsigned values lie in the middle of their
    // eight.
    const int base =
        isSigned ? std::max<int>(static_cast<std::int8_t>(eac.base), -127) * 8 : eac.base * 8 + 4;
    std::array<std::uint16_t, 8> palette{};
    for (std::size_t i = 0; i < palette.size(); ++i) {
        const int value = base + amounts[i] * scale;
        palette[i] = isSigned ? WidenSigned(value) : WidenUnsigned(value);
    }
    EacValues values{};
    for (unsigned y = 0; y < kBlockSide; ++y) {
        for (unsigned x = 0; x < kBlockSide; ++x)
            values[y * kBlockSide + x] = palette[GetIndex(eac, x, y)];
    }
    return values;
}

}  // namespace koru
