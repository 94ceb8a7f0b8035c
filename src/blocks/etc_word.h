// The 64-bit word that an ETC or EAC block is, and its bit fields.
#pragma once

#include <cstddef>
#include <cstdint>

namespace koru {

inline constexpr std::size_t kEtcBlockBytes = 8;

/// The block with byte 0 on top, so that bits carry the numbers of the published layouts.
[[nodiscard]] constexpr std::uint64_t Etc_LoadWord(const std::uint8_t* bytes) noexcept {
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < kEtcBlockBytes; ++i) word = word << 8 | bytes[i];
    return word;
}

/// Bits High to Low of a word.
template <unsigned High, unsigned Low>
[[nodiscard]] constexpr unsigned Etc_GetBits(std::uint64_t word) noexcept {
    static_assert(Low <= High && High < 64 && High - Low < 32);
    return static_cast<unsigned>(word >> Low & ((std::uint64_t{1} << (High - Low + 1)) - 1));
}

}  // namespace koru
