// S3TC blocks in vectors, for the kernel files alone.
//
// A vector has one or two lanes of 16 bytes, which take no notice of each other. A lane works on
// one block, and a group, which is decoded together, has as many blocks as four vectors have lanes.
// Block i * lanes + j of a group is lane j of vector i.
//
// `V` is an instruction set: operations on its vectors. It is a type of the kernel file's own, so
// that what is made of these templates has internal linkage: no other file can pick it up.
#pragma once

#include <cstddef>
#include <cstdint>

#include "blocks/block_texels.h"
#include "blocks/s3tc_decoder.h"
#include "blocks/s3tc_kernels.h"
#include "core/bytes.h"

namespace koru::s3tc {

inline constexpr std::size_t kGroupVectors = 4;
inline constexpr std::size_t kLaneBytes = 16;

/// What all lanes of a vector hold.
struct alignas(kLaneBytes) LaneBytes {
    std::uint8_t values[kLaneBytes];
};
struct alignas(kLaneBytes) LaneWords {
    std::uint16_t values[kLaneBytes / 2];
};

/// x / divisor is the high half of x * factor.
constexpr bool IsQuotient(std::uint32_t factor, std::uint32_t divisor, std::uint32_t most) {
    for (std::uint32_t x = 0; x <= most; ++x) {
        if (x * factor >> 16 != x / divisor) return false;
    }
    return true;
}
inline constexpr std::uint16_t kThird = 0x5556, kFifth = 13108, kSeventh = 9363;
static_assert(IsQuotient(kThird, 3, 3 * 255));
static_assert(IsQuotient(kFifth, 5, 5 * 255));
static_assert(IsQuotient(kSeventh, 7, 7 * 255));

constexpr LaneWords RepeatWord(std::uint16_t word) noexcept {
    return {{word, word, word, word, word, word, word, word}};
}
constexpr LaneWords RepeatPair(std::uint16_t even, std::uint16_t odd) noexcept {
    return {{even, odd, even, odd, even, odd, even, odd}};
}
constexpr std::uint8_t kZero = 0x80;  ///< In a shuffle: the byte becomes 0.

struct LaneConstants {
    LaneWords third = RepeatWord(kThird), fifth = RepeatWord(kFifth),
              seventh = RepeatWord(kSeventh);

    // Channels, the one in the first half of a lane and the one in the second.
    LaneBytes channelEnds[2]{{{0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1}},
                             {{8, 9, 8, 9, 8, 9, 8, 9, 8, 9, 8, 9, 8, 9, 8, 9}}};
    LaneBytes endDifference{{1, 255, 1, 255, 1, 255, 1, 255, 1, 255, 1, 255, 1, 255, 1, 255}};
    LaneBytes eightWeights{{7, 0, 0, 7, 6, 1, 5, 2, 4, 3, 3, 4, 2, 5, 1, 6}};
    LaneBytes sixWeights{{5, 0, 0, 5, 4, 1, 3, 2, 2, 3, 1, 4, 0, 0, 0, 0}};
    LaneWords sixLast{{0, 0, 0, 0, 0, 0, 0, 255}};
    /// Each word has two indices of 3 bits, 8, 6, 4 or 2 bits from its lowest.
    LaneBytes indexWords[2]{{{1, 2, 2, 3, 3, 4, 4, 5, 4, 5, 5, 6, 6, 7, 7, kZero}},
                            {{9, 10, 10, 11, 11, 12, 12, 13, 12, 13, 13, 14, 14, 15, 15, kZero}}};
    /// High halves of products: shifts to the right by as much.
    LaneWords indexShift{{1 << 8, 1 << 10, 1 << 12, 1 << 14, 1 << 8, 1 << 10, 1 << 12, 1 << 14}};
    LaneWords indexPair = RepeatWord(0x003F);
    LaneWords shuffleIndices = RepeatWord(0x7F7F);

    // Explicit alpha.
    LaneWords evenNibbles = RepeatWord(0x0F0F), oddNibbles = RepeatWord(0xF0F0);

    // Colors.
    LaneWords redBits = RepeatWord(0xF800), greenBits = RepeatWord(0x07E0);
    /// High halves of products: 5 or 6 bits at the top, or 6 below them, as 8 bits.
    LaneWords widenFive = RepeatWord(33 << 3), widenSix = RepeatWord(65 << 7);
    LaneBytes otherEnd{{2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13}};
    LaneWords fullAlpha = RepeatWord(0xFF00);
    LaneWords whiteRedGreen = RepeatPair(0, 0xFFFF), whiteBlue = RepeatPair(0, 0x00FF);
    LaneWords whiteBlueAlpha0 = RepeatPair(0xFF00, 0x00FF);

    // Rows.
    LaneBytes alphaRows[kBlockSide]{
        {{kZero, kZero, kZero, 0, kZero, kZero, kZero, 1, kZero, kZero, kZero, 2, kZero, kZero,
          kZero, 3}},
        {{kZero, kZero, kZero, 4, kZero, kZero, kZero, 5, kZero, kZero, kZero, 6, kZero, kZero,
          kZero, 7}},
        {{kZero, kZero, kZero, 8, kZero, kZero, kZero, 9, kZero, kZero, kZero, 10, kZero, kZero,
          kZero, 11}},
        {{kZero, kZero, kZero, 12, kZero, kZero, kZero, 13, kZero, kZero, kZero, 14, kZero, kZero,
          kZero, 15}},
    };
    LaneWords full = RepeatWord(0xFFFF);
    /// A row of RGB pixels of four blocks, moved to where it begins among 48 bytes.
    LaneBytes rgbParts[kGroupVectors]{
        {{0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, kZero, kZero, kZero, kZero}},
        {{5, 6, 8, 9, 10, 12, 13, 14, kZero, kZero, kZero, kZero, 0, 1, 2, 4}},
        {{10, 12, 13, 14, kZero, kZero, kZero, kZero, 0, 1, 2, 4, 5, 6, 8, 9}},
        {{kZero, kZero, kZero, kZero, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14}},
    };
};

/// In a file of its own: compilers that see numbers make some of them anew in every loop instead of
/// loading them.
extern const LaneConstants kLanes;

/// A constant in each lane.
template <typename V, typename Constant>
[[gnu::always_inline]] inline typename V::Vector Repeat(const Constant& lane) noexcept {
    return V::LoadEach(lane.values);
}

// Channels.

/// The 16 values of the channel that begins at byte `First` of each lane.
template <typename V, std::uint8_t First>
[[gnu::always_inline]] inline typename V::Vector ReadChannel(typename V::Vector blocks) noexcept {
    const auto ends = V::Shuffle(blocks, Repeat<V>(kLanes.channelEnds[First / 8]));
    const auto isEight =
        V::GreaterSigned16(V::SumProducts8(ends, Repeat<V>(kLanes.endDifference)), V::Set16(0));
    const auto eight = V::MultiplyHigh16(V::SumProducts8(ends, Repeat<V>(kLanes.eightWeights)),
                                         Repeat<V>(kLanes.seventh));
    const auto six = V::Or(V::MultiplyHigh16(V::SumProducts8(ends, Repeat<V>(kLanes.sixWeights)),
                                             Repeat<V>(kLanes.fifth)),
                           Repeat<V>(kLanes.sixLast));
    const auto values = V::Select(isEight, eight, six);
    // Twice in a lane: bit 3 of an index is free.
    const auto palette = V::PackSaturated16(values, values);

    const auto words = V::Shuffle(blocks, Repeat<V>(kLanes.indexWords[First / 8]));
    const auto pairs =
        V::And(V::MultiplyHigh16(words, Repeat<V>(kLanes.indexShift)), Repeat<V>(kLanes.indexPair));
    // Shuffles look at bit 7, which must be 0, and at the lowest four.
    const auto indices =
        V::And(V::Or(pairs, V::template ShiftLeft16<5>(pairs)), Repeat<V>(kLanes.shuffleIndices));
    return V::Shuffle(palette, indices);
}

// Explicit alpha.

/// The values of two vectors of blocks, whose alpha is in the first and second halves of lanes.
template <typename V>
[[gnu::always_inline]] inline void ReadExplicitAlpha(typename V::Vector alphas,
                                                     typename V::Vector* values) noexcept {
    const auto low = V::And(alphas, Repeat<V>(kLanes.evenNibbles));
    const auto high = V::And(alphas, Repeat<V>(kLanes.oddNibbles));
    const auto even = V::Or(low, V::template ShiftLeft16<4>(low));
    const auto odd = V::Or(high, V::template ShiftRight16<4>(high));
    values[0] = V::UnpackLow8(even, odd);
    values[1] = V::UnpackHigh8(even, odd);
}

// Colors.

/// Mixes from ends: a third of the way from each to the other, truncated.
template <typename V>
[[gnu::always_inline]] inline typename V::Vector MixThirds(typename V::Vector ends,
                                                           typename V::Vector otherEnds) noexcept {
    const auto sums = V::Add16(V::Add16(ends, ends), otherEnds);
    return V::MultiplyHigh16(sums, Repeat<V>(kLanes.third));
}

/// The four RGBA colors of each block of a group. `ends`: color0 and color1 of the blocks, vector
/// by vector in each lane. Alpha is 0 but in BC1, so that it can be added.
template <typename V, S3tcMode Mode>
[[gnu::always_inline]] inline void BuildPalettes(typename V::Vector ends,
                                                 typename V::Vector* palettes) noexcept {
    const auto fiveBits = Repeat<V>(kLanes.widenFive), sixBits = Repeat<V>(kLanes.widenSix);
    const auto red = V::MultiplyHigh16(V::And(ends, Repeat<V>(kLanes.redBits)), fiveBits);
    const auto green = V::MultiplyHigh16(V::And(ends, Repeat<V>(kLanes.greenBits)), sixBits);
    const auto blue = V::MultiplyHigh16(V::template ShiftLeft16<11>(ends), fiveBits);
    const auto otherEnd = Repeat<V>(kLanes.otherEnd);
    const auto otherRed = V::Shuffle(red, otherEnd);
    const auto otherGreen = V::Shuffle(green, otherEnd);
    const auto otherBlue = V::Shuffle(blue, otherEnd);

    const auto redGreen = V::Or(red, V::template ShiftLeft16<8>(green));
    auto blueAlpha = blue;
    auto mixedRedGreen = V::Or(MixThirds<V>(red, otherRed),
                               V::template ShiftLeft16<8>(MixThirds<V>(green, otherGreen)));
    auto mixedBlueAlpha = MixThirds<V>(blue, otherBlue);
    if constexpr (Mode == S3tcMode::Dxt1) {
        blueAlpha = V::Or(blueAlpha, Repeat<V>(kLanes.fullAlpha));
        mixedBlueAlpha = V::Or(mixedBlueAlpha, Repeat<V>(kLanes.fullAlpha));
    }
    if constexpr (Mode != S3tcMode::Dxt5) {
        const auto otherRedGreen = V::Or(otherRed, V::template ShiftLeft16<8>(otherGreen));
        const auto isNotLess = V::Equal16(V::Max16(ends, V::Shuffle(ends, otherEnd)), ends);
        const auto isThreeColor = V::template ShiftRightSigned32<16>(isNotLess);  // color1's
        const auto white =
            Repeat<V>(Mode == S3tcMode::Dxt1 ? kLanes.whiteBlueAlpha0 : kLanes.whiteBlue);
        mixedRedGreen =
            V::Select(isThreeColor,
                      V::Or(V::Average8(redGreen, otherRedGreen), Repeat<V>(kLanes.whiteRedGreen)),
                      mixedRedGreen);
        mixedBlueAlpha =
            V::Select(isThreeColor, V::Or(V::Average8(blue, otherBlue), white), mixedBlueAlpha);
    }

    const auto lowEnds = V::UnpackLow16(redGreen, blueAlpha);
    const auto highEnds = V::UnpackHigh16(redGreen, blueAlpha);
    const auto lowMixes = V::UnpackLow16(mixedRedGreen, mixedBlueAlpha);
    const auto highMixes = V::UnpackHigh16(mixedRedGreen, mixedBlueAlpha);
    palettes[0] = V::UnpackLow64(lowEnds, lowMixes);
    palettes[1] = V::UnpackHigh64(lowEnds, lowMixes);
    palettes[2] = V::UnpackLow64(highEnds, highMixes);
    palettes[3] = V::UnpackHigh64(highEnds, highMixes);
}

// Rows.

template <typename V>
[[gnu::always_inline]] inline void StoreRgba(const typename V::Vector* pixels,
                                             std::uint8_t* target) noexcept {
    for (std::size_t i = 0; i < kGroupVectors; ++i)
        V::Store(target + i * sizeof(pixels[i]), pixels[i]);
}

/// Stores RGB pixels of a group in another order: block j * 4 + i is lane j of vector i, so that
/// the bytes of a lane follow each other.
template <typename V>
[[gnu::always_inline]] inline void StoreRgb(const typename V::Vector* pixels,
                                            std::uint8_t* target) noexcept {
    typename V::Vector parts[kGroupVectors];
    for (std::size_t i = 0; i < kGroupVectors; ++i)
        parts[i] = V::Shuffle(pixels[i], Repeat<V>(kLanes.rgbParts[i]));
    constexpr std::size_t kDistance = 3 * kLaneBytes;
    V::StoreLanes(target, kDistance, V::template Blend32<0b1000>(parts[0], parts[1]));
    V::StoreLanes(target + kLaneBytes, kDistance, V::template Blend32<0b1100>(parts[1], parts[2]));
    V::StoreLanes(target + 2 * kLaneBytes, kDistance,
                  V::template Blend32<0b1110>(parts[2], parts[3]));
}

/// Stores colors, with the alpha of `alphas`.
template <typename V>
[[gnu::always_inline]] inline void StoreColors(const typename V::Vector* palettes,
                                               const typename V::ColorIndices& indices,
                                               const typename V::Vector* alphas,
                                               std::uint8_t* target, std::size_t stride) noexcept {
    for (std::size_t row = 0; row < kBlockSide; ++row) {
        typename V::Vector pixels[kGroupVectors];
        for (std::size_t i = 0; i < kGroupVectors; ++i) {
            pixels[i] = V::Or(indices.Pick(palettes[i], i, row),
                              V::Shuffle(alphas[i], Repeat<V>(kLanes.alphaRows[row])));
        }
        StoreRgba<V>(pixels, target + row * stride);
    }
}

/// Stores two channels; the others are 255.
template <typename V>
[[gnu::always_inline]] inline void StoreChannels(const typename V::Vector* reds,
                                                 const typename V::Vector* greens,
                                                 std::uint8_t* target,
                                                 std::size_t stride) noexcept {
    const auto full = Repeat<V>(kLanes.full);
    typename V::Vector rows[kBlockSide][kGroupVectors];
    for (std::size_t i = 0; i < kGroupVectors; ++i) {
        const auto upper = V::UnpackLow8(reds[i], greens[i]);
        const auto lower = V::UnpackHigh8(reds[i], greens[i]);
        rows[0][i] = V::UnpackLow16(upper, full);
        rows[1][i] = V::UnpackHigh16(upper, full);
        rows[2][i] = V::UnpackLow16(lower, full);
        rows[3][i] = V::UnpackHigh16(lower, full);
    }
    for (std::size_t row = 0; row < kBlockSide; ++row)
        StoreRgba<V>(rows[row], target + row * stride);
}

// Formats.

/// Blocks of 16 bytes, each in its lane.
template <typename V>
struct LargeBlocks {
    typename V::Vector vectors[kGroupVectors];

    explicit LargeBlocks(const std::uint8_t* blocks) noexcept {
        for (std::size_t i = 0; i < kGroupVectors; ++i)
            vectors[i] = V::Load(blocks + i * sizeof(vectors[i]));
    }
};

/// BC1.
template <typename V, std::size_t PixelBytes>
struct Dxt1 {
    static constexpr bool kIsRgb = PixelBytes == kRgbBytes;
    static constexpr auto kEntry = kIsRgb ? &S3tcKernels::dxt1Rgb : &S3tcKernels::dxt1Rgba;
    static constexpr std::size_t kBlockBytes = 8, kPixelBytes = PixelBytes;

    [[gnu::always_inline]] static void DecodeGroup(const std::uint8_t* blocks, std::uint8_t* target,
                                                   std::size_t stride) noexcept {
        constexpr std::size_t kLaneDistance = kGroupVectors * kBlockBytes;
        const auto first = kIsRgb ? V::LoadLanes(blocks, kLaneDistance) : V::LoadHalves(blocks);
        const auto second = kIsRgb ? V::LoadLanes(blocks + kLaneBytes, kLaneDistance)
                                   : V::LoadHalves(blocks + sizeof(first));
        typename V::Vector palettes[kGroupVectors];
        BuildPalettes<V, S3tcMode::Dxt1>(V::Even32(first, second), palettes);
        const typename V::ColorIndices indices(V::Odd32(first, second), blocks + 4, kBlockBytes);
        for (std::size_t row = 0; row < kBlockSide; ++row) {
            typename V::Vector pixels[kGroupVectors];
            for (std::size_t i = 0; i < kGroupVectors; ++i)
                pixels[i] = indices.Pick(palettes[i], i, row);
            if constexpr (kIsRgb) {
                StoreRgb<V>(pixels, target + row * stride);
            } else {
                StoreRgba<V>(pixels, target + row * stride);
            }
        }
    }
};

/// BC2 and BC3.
template <typename V, S3tcMode Mode>
struct DxtWithAlpha {
    static constexpr auto kEntry =
        Mode == S3tcMode::Dxt3 ? &S3tcKernels::dxt3Rgba : &S3tcKernels::dxt5Rgba;
    static constexpr std::size_t kBlockBytes = 16, kPixelBytes = kRgbaBytes;

    [[gnu::always_inline]] static void DecodeGroup(const std::uint8_t* blocks, std::uint8_t* target,
                                                   std::size_t stride) noexcept {
        const LargeBlocks<V> lanes(blocks);
        typename V::Vector alphas[kGroupVectors];
        if constexpr (Mode == S3tcMode::Dxt3) {
            ReadExplicitAlpha<V>(V::UnpackLow64(lanes.vectors[0], lanes.vectors[1]), alphas);
            ReadExplicitAlpha<V>(V::UnpackLow64(lanes.vectors[2], lanes.vectors[3]), alphas + 2);
        } else {
            for (std::size_t i = 0; i < kGroupVectors; ++i)
                alphas[i] = ReadChannel<V, 0>(lanes.vectors[i]);
        }
        const auto first = V::UnpackHigh64(lanes.vectors[0], lanes.vectors[1]);
        const auto second = V::UnpackHigh64(lanes.vectors[2], lanes.vectors[3]);
        typename V::Vector palettes[kGroupVectors];
        BuildPalettes<V, Mode>(V::Even32(first, second), palettes);
        const typename V::ColorIndices indices(V::Odd32(first, second), blocks + 12, kBlockBytes);
        StoreColors<V>(palettes, indices, alphas, target, stride);
    }
};

template <typename V>
struct Bc4 {
    static constexpr auto kEntry = &S3tcKernels::bc4Rgba;
    static constexpr std::size_t kBlockBytes = 8, kPixelBytes = kRgbaBytes;

    [[gnu::always_inline]] static void DecodeGroup(const std::uint8_t* blocks, std::uint8_t* target,
                                                   std::size_t stride) noexcept {
        const auto first = V::LoadHalves(blocks), second = V::LoadHalves(blocks + sizeof(first));
        const typename V::Vector reds[kGroupVectors]{
            ReadChannel<V, 0>(first), ReadChannel<V, 8>(first), ReadChannel<V, 0>(second),
            ReadChannel<V, 8>(second)};
        const auto full = Repeat<V>(kLanes.full);
        const typename V::Vector greens[kGroupVectors]{full, full, full, full};
        StoreChannels<V>(reds, greens, target, stride);
    }
};

template <typename V>
struct Bc5 {
    static constexpr auto kEntry = &S3tcKernels::bc5Rgba;
    static constexpr std::size_t kBlockBytes = 16, kPixelBytes = kRgbaBytes;

    [[gnu::always_inline]] static void DecodeGroup(const std::uint8_t* blocks, std::uint8_t* target,
                                                   std::size_t stride) noexcept {
        const LargeBlocks<V> lanes(blocks);
        typename V::Vector reds[kGroupVectors], greens[kGroupVectors];
        for (std::size_t i = 0; i < kGroupVectors; ++i) {
            greens[i] = ReadChannel<V, 0>(lanes.vectors[i]);
            reds[i] = ReadChannel<V, 8>(lanes.vectors[i]);
        }
        StoreChannels<V>(reds, greens, target, stride);
    }
};

/// S3tcDecodeRow of a format.
template <typename V, typename Format>
void DecodeRow(const std::uint8_t* blocks, std::uint32_t blockCount, std::uint8_t* target,
               std::size_t stride) noexcept {
    constexpr std::uint32_t kGroupBlocks = kGroupVectors * sizeof(typename V::Vector) / kLaneBytes;
    if (blockCount < kGroupBlocks) {
        (V::GetTableBelow().*Format::kEntry)(blocks, blockCount, target, stride);
        return;
    }
    std::uint32_t first = 0;
    while (first < blockCount) {
        // What is left at the end is decoded as a whole group, some blocks for the second time.
        if (blockCount - first < kGroupBlocks) first = blockCount - kGroupBlocks;
        Format::DecodeGroup(blocks + std::size_t{first} * Format::kBlockBytes,
                            target + std::size_t{first} * kBlockSide * Format::kPixelBytes, stride);
        first += kGroupBlocks;
    }
}

}  // namespace koru::s3tc
