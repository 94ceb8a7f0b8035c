// One ETC colour block in the making: the 64 bits, and how good they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "pack_texels.h"

namespace koru_ktxpack {

/// Bit 63 is the highest bit of the first byte.
struct EtcBlock {
    std::uint64_t bits = 0;
    std::uint32_t error = std::numeric_limits<std::uint32_t>::max();
};

constexpr int kEtcDifferentialBit = 33;  ///< with punch-through alpha: the block is opaque
constexpr int kEtcFlipBit = 32;

/// Texels are numbered down the columns.
constexpr std::size_t Etc_GetTexelNumber(std::size_t x, std::size_t y) { return 4 * x + y; }

/// The two bits of an index lie apart: the low one in bits 0 to 15, the high one in bits 16 to 31.
constexpr std::uint64_t Etc_PlaceIndex(std::size_t texelNumber, std::uint64_t index) {
    return (index & 1) << texelNumber | (index >> 1) << (16 + texelNumber);
}

/// `value` with its lowest bit at `lowestBit`; negative values in `bitCount` bits.
constexpr std::uint64_t Etc_PlaceField(int value, int bitCount, int lowestBit) {
    const std::uint64_t mask = (std::uint64_t{1} << bitCount) - 1;
    return (static_cast<std::uint64_t>(value) & mask) << lowestBit;
}

// The mode of a block with the differential bit is said by which channel's base plus delta leaves
// the range of 0 to 31. The modes that need it fill their bytes up accordingly:

/// Four bits of a byte in places 4, 3, 1 and 0, so that the differential reading leaves the range.
constexpr std::uint64_t Etc_PlaceOverflowing(int value, int lowestBit) {
    const int high = value >> 2 & 3;
    const int low = value & 3;
    const std::uint64_t filler =
        high + low >= 4 ? Etc_PlaceField(7, 3, lowestBit + 5) : Etc_PlaceField(1, 1, lowestBit + 2);
    return filler | Etc_PlaceField(high, 2, lowestBit + 3) | Etc_PlaceField(low, 2, lowestBit);
}

/// Seven bits of a byte in places 6 to 0, so that the differential reading stays in range.
constexpr std::uint64_t Etc_PlaceSteady(int value, int lowestBit) {
    const int delta = (value & 7) < 4 ? value & 7 : (value & 7) - 8;
    const bool isBelowZero = (value >> 3) + delta < 0;
    return Etc_PlaceField(isBelowZero ? 1 : 0, 1, lowestBit + 7) |
           Etc_PlaceField(value, 7, lowestBit);
}

constexpr int Etc_Widen4(int value) { return value << 4 | value; }
constexpr int Etc_Widen5(int value) { return value << 3 | value >> 2; }
constexpr int Etc_Widen6(int value) { return value << 2 | value >> 4; }
constexpr int Etc_Widen7(int value) { return value << 1 | value >> 6; }

}  // namespace koru_ktxpack
