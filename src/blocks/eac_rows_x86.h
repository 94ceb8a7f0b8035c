// Rows of EAC blocks, for x86 instruction sets: palettes of eight values, looked up by shuffles.
#pragma once

#include "blocks/etc_lanes_x86.h"
#include "blocks/etc_tables.h"

namespace koru {
namespace {  // NOLINT(cert-dcl59-cpp): a copy for each instruction set

/// Shuffles and factors that bring the indices of eight pixels, two rows, to the top of 16-bit
/// numbers. Pixel k has its index in the bits from 3k on, counted down from the top of byte 2.
template <BlockHalf Half, std::size_t FirstPixel>
inline constexpr LaneBytes kEacIndexBytes = MakeShuffle(Half, [](std::size_t i) {
    const std::size_t high = 2 + 3 * GetPixelNumber(FirstPixel + i / 2) / 8;
    const std::size_t source = i % 2 == 1 ? high : high + 1;
    return source < kEtcBlockBytes ? source : kZero;
});
template <std::size_t FirstPixel>
inline constexpr LaneBytes kEacIndexFactors = MakeWords([](std::size_t i) {
    return std::size_t{1} << 3 * GetPixelNumber(FirstPixel + i) % 8;
});

template <typename V, BlockHalf Half, std::size_t FirstPixel>
typename V::Vector GetEacIndices(typename V::Vector blocks) noexcept {
    const auto words = V::Shuffle(blocks, V::Load(kEacIndexBytes<Half, FirstPixel>.data()));
    return V::template ShiftRight16<13>(
        V::Multiply16(words, V::Load(kEacIndexFactors<FirstPixel>.data())));
}

/// The base as the high or the low byte of eight 16-bit numbers.
template <BlockHalf Half, std::size_t Byte>
inline constexpr LaneBytes kEacBase = MakeShuffle(Half, [](std::size_t i) {
    return i % 2 == Byte ? std::size_t{0} : kZero;
});

/// One row of amounts for each lane, as byte 1 of its block tells.
template <typename V>
typename V::Vector LoadEacAmounts(const std::array<EacRow, 256>& amounts,
                                  const std::uint8_t* blocks, std::size_t blockBytes) noexcept {
    return V::LoadLanes(
        [&](std::size_t lane) noexcept { return &amounts[blocks[lane * blockBytes + 1]]; });
}

/// The alphas of one block in each lane, row by row.
template <typename V>
typename V::Vector GetEacAlphas(const std::uint8_t* alphaBlocks, typename V::Vector blocks,
                                std::size_t blockBytes) noexcept {
    const auto base = V::Shuffle(blocks, V::Load(kEacBase<BlockHalf::Low, 0>.data()));
    const auto values = V::Add16(base, LoadEacAmounts<V>(kEacProducts, alphaBlocks, blockBytes));
    const auto indices = V::PackSaturated16(GetEacIndices<V, BlockHalf::Low, 0>(blocks),
                                            GetEacIndices<V, BlockHalf::Low, 8>(blocks));
    return V::Shuffle(V::PackSaturated16(values, values), indices);
}

/// What indices add to an 11-bit value: products of 8, or for a multiplier of 0 the modifier.
inline constexpr auto kEacAmounts11 = [] {
    std::array<EacRow, 256> rows{};
    for (std::size_t b = 0; b < rows.size(); ++b) {
        for (std::size_t i = 0; i < 8; ++i) {
            rows[b][i] =
                b < 16 ? kEacModifiers[b][i] : static_cast<std::int16_t>(kEacProducts[b][i] * 8);
        }
    }
    return rows;
}();

/// Rows of blocks with one or two 11-bit channels.
template <typename V, std::size_t Channels, bool IsSigned>
struct Eac11Rows {
    using Vector = typename V::Vector;
    static constexpr std::size_t kGroup = V::kLanes;
    static constexpr std::size_t kBlockBytes = Channels * kEtcBlockBytes;
    static constexpr std::size_t kPixelBytes = Channels * 2;

    static void Decode(const std::uint8_t* blocks, std::size_t blockCount, std::uint8_t* target,
                       std::size_t stride) noexcept {
        for (std::size_t i = 0; i < blockCount; i += kGroup) {
            const Vector lanes = V::template LoadBlocks<kBlockBytes>(blocks);
            if constexpr (Channels == 1) {
                const Values red = GetValues<BlockHalf::Own>(blocks, lanes);
                V::StoreHalfRows(target, stride, red.upper);
                V::StoreHalfRows(target + 2 * stride, stride, red.lower);
            } else {
                const Values red = GetValues<BlockHalf::Low>(blocks, lanes);
                const Values green = GetValues<BlockHalf::High>(blocks + kEtcBlockBytes, lanes);
                V::Store(target, V::UnpackLow16(red.upper, green.upper));
                V::Store(target + stride, V::UnpackHigh16(red.upper, green.upper));
                V::Store(target + 2 * stride, V::UnpackLow16(red.lower, green.lower));
                V::Store(target + 3 * stride, V::UnpackHigh16(red.lower, green.lower));
            }
            blocks += kGroup * kBlockBytes;
            target += kGroup * kBlockSide * kPixelBytes;
        }
    }

  private:
    /// Two rows each, one behind the other in a lane.
    struct Values {
        Vector upper, lower;
    };

    template <BlockHalf Half>
    static Values GetValues(const std::uint8_t* channelBlocks, Vector lanes) noexcept {
        const Vector palette = Widen(V::Add16(
            GetBase<Half>(lanes), LoadEacAmounts<V>(kEacAmounts11, channelBlocks, kBlockBytes)));
        const auto lookUp = [&](Vector indices) noexcept {
            const Vector bytes =
                V::Add16(V::Multiply16(indices, V::Set16(0x0202)), V::Set16(0x0100));
            return V::Shuffle(palette, bytes);
        };
        return {lookUp(GetEacIndices<V, Half, 0>(lanes)), lookUp(GetEacIndices<V, Half, 8>(lanes))};
    }

    template <BlockHalf Half>
    static Vector GetBase(Vector lanes) noexcept {
        const Vector high = V::Shuffle(lanes, V::Load(kEacBase<Half, 1>.data()));
        if constexpr (IsSigned) {
            return V::MaxSigned16(V::template ShiftRightSigned16<5>(high), V::Set16(-127 * 8));
        } else {
            return V::Or(V::template ShiftRight16<5>(high), V::Set16(4));
        }
    }

    static Vector Widen(Vector values) noexcept {
        if constexpr (IsSigned) {
            const Vector magnitudes = V::MinSigned16(V::Absolute16(values), V::Set16(1023));
            return V::CopySign16(V::Or(V::template ShiftLeft16<5>(magnitudes),
                                       V::template ShiftRight16<5>(magnitudes)),
                                 values);
        } else {
            const Vector limited =
                V::MinSigned16(V::MaxSigned16(values, V::Set16(0)), V::Set16(2047));
            return V::Or(V::template ShiftLeft16<5>(limited), V::template ShiftRight16<6>(limited));
        }
    }
};

}  // namespace
}  // namespace koru
