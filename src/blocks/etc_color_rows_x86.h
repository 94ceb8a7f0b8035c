// Rows of ETC color blocks, for x86 instruction sets.
#pragma once

#include <smmintrin.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "blocks/eac_rows_x86.h"
#include "blocks/etc_kernels.h"
#include "blocks/etc_lanes_x86.h"
#include "blocks/etc_palettes_x86.h"
#include "blocks/etc_planar_x86.h"

namespace koru {
namespace {  // NOLINT(cert-dcl59-cpp): a copy for each instruction set

/// What a row's blocks hold and what its pixels are.
enum class ColorRow { Rgb8, Alpha1, Rgba8 };

/// The blocks that are neither individual nor differential; the bits of a kind are 1 << this.
enum SpecialKind : std::size_t { kT, kH, kPlanar, kSpecialKindCount };

/// From R, G, B, A of four pixels to R, G, B, at the low end.
inline constexpr LaneBytes kDropAlpha =
    MakeBytes([](std::size_t i) { return i < 12 ? i / 3 * 4 + i % 3 : kZero; });

/// What depends on four bits of a channel's byte. Of its high bits: their widened channel, and the
/// low bits of a widened channel of 5 bits; of its low bits: the difference of a second base.
inline constexpr LaneBytes kWidened4 = MakeBytes([](std::size_t i) { return i * 17; });
inline constexpr LaneBytes kLow3OfWidened5 = MakeBytes([](std::size_t i) { return i >> 1; });
inline constexpr LaneBytes kDeltas = MakeBytes([](std::size_t i) { return (i & 3) - (i & 4); });

/// Every block is decoded as if it were individual or differential; those that are not, few in
/// most images, are found on the way, sorted by kind and decoded again.
template <typename V, ColorRow Row>
class ColorRows {
  public:
    static constexpr std::size_t kGroup = 4 * V::kLanes;
    static constexpr std::size_t kBlockBytes =
        Row == ColorRow::Rgba8 ? 2 * kEtcBlockBytes : kEtcBlockBytes;
    static constexpr std::size_t kPixelBytes = Row == ColorRow::Rgb8 ? 3 : 4;

    static void Decode(const std::uint8_t* blocks, std::size_t blockCount, std::uint8_t* target,
                       std::size_t stride) noexcept {
        while (blockCount > 0) {
            const std::size_t count = blockCount < kPiece ? blockCount : kPiece;
            DecodePiece(blocks, count, blockCount, target, stride);
            blocks += count * kBlockBytes;
            target += count * kBlockStride;
            blockCount -= count;
        }
    }

  private:
    using Vector = typename V::Vector;

    static constexpr std::size_t kBlockStride = kBlockSide * kPixelBytes;
    static constexpr std::size_t kColorOffset = kBlockBytes - kEtcBlockBytes;
    static constexpr BlockHalf kColorHalf =
        Row == ColorRow::Rgba8 ? BlockHalf::High : BlockHalf::Own;

    /// Blocks whose pixels stay in the nearest cache until the special ones are decoded again.
    static constexpr std::size_t kPiece = 128;
    static constexpr std::size_t kBlocksPerMask = 16;

    /// Blocks between those that are decoded and those whose place in memory is fetched.
    static constexpr std::size_t kFetchDistance = 64;

    /// R, G, B, A of two base colors, block by block.
    using Bases = std::array<std::uint8_t, kGroup * 8>;

    /// Blocks of one kind, in the order of the piece.
    struct BlockList {
        std::array<std::uint8_t, kPiece + kGroup> blocks;
        std::size_t count = 0;

        /// Fills up a group with the last block; decoding it once more changes nothing.
        void Pad() noexcept {
            if (count == 0) return;
            for (std::size_t i = 0; i + 1 < kGroup; ++i) blocks[count + i] = blocks[count - 1];
        }
    };

    /// Decodes the first of the row's remaining blocks.
    static void DecodePiece(const std::uint8_t* blocks, std::size_t blockCount,
                            std::size_t remainingCount, std::uint8_t* target,
                            std::size_t stride) noexcept {
        std::array<std::uint64_t, kPiece / kBlocksPerMask> masks{};
        for (std::size_t i = 0; i < blockCount; i += kGroup) {
            if (i + kFetchDistance < remainingCount)
                FetchTarget(target + (i + kFetchDistance) * kBlockStride, stride);
            const std::uint64_t kinds =
                DecodeGroup(blocks + i * kBlockBytes, target + i * kBlockStride, stride);
            masks[i / kBlocksPerMask] |= kinds << (i % kBlocksPerMask * 4);
        }

        std::array<BlockList, kSpecialKindCount> lists;
        for (std::size_t i = 0; i * kBlocksPerMask < blockCount; ++i) {
            for (std::uint64_t mask = masks[i]; mask != 0; mask &= mask - 1) {
                const auto bit = static_cast<std::size_t>(std::countr_zero(mask));
                BlockList& list = lists[bit % 4];
                list.blocks[list.count++] = static_cast<std::uint8_t>(i * kBlocksPerMask + bit / 4);
            }
        }
        DecodeTwoColors<kT>(lists[kT], blocks, target, stride);
        DecodeTwoColors<kH>(lists[kH], blocks, target, stride);
        DecodePlanar(lists[kPlanar], blocks, target, stride);
    }

    /// Brings a group's place in memory into the cache: writing to four rows at once is slow else.
    static void FetchTarget(const std::uint8_t* target, std::size_t stride) noexcept {
        constexpr std::size_t kLineBytes = 64;
        for (std::size_t y = 0; y < kBlockSide; ++y) {
            for (std::size_t offset = 0; offset < kGroup * kBlockStride; offset += kLineBytes) {
                _mm_prefetch(reinterpret_cast<const char*>(target + y * stride + offset),
                             _MM_HINT_T0);
            }
        }
    }

    // Individual and differential blocks.

    /// The kinds of the special ones among them: four bits each, from the low end.
    static std::uint64_t DecodeGroup(const std::uint8_t* blocks, std::uint8_t* target,
                                     std::size_t stride) noexcept {
        Bases bases;
        const std::uint64_t kinds = GetBases(blocks, bases);
        for (std::size_t i = 0; i < kGroup; i += V::kLanes) {
            const std::uint8_t* const first = blocks + i * kBlockBytes;
            const Vector lanes = V::template LoadBlocks<kBlockBytes>(first);
            const auto getByte3 = [=](std::size_t lane) noexcept {
                return std::size_t{first[lane * kBlockBytes + kColorOffset + 3]};
            };
            Palette<V> palette = MakePalette<V>(
                kHalvesShuffles, V::template LoadBlocks<8>(bases.data() + i * 8),
                [&](std::size_t lane) noexcept -> const Amounts& {
                    return kHalvesAmounts<Row ==
                                          ColorRow::Alpha1>[getByte3(lane) >>
                                                            kHalvesShift<Row == ColorRow::Alpha1>];
                });
            const Vector halves = V::LoadLanes(
                [&](std::size_t lane) noexcept { return &kHalfIndices[getByte3(lane) & 1]; });
            const Texels<V> texels = GetTexels<kColorHalf>(
                palette, lanes, halves, getByte3,
                [&]() noexcept { return GetEacAlphas<V>(first, lanes, kBlockBytes); });
            StoreNeighbors(texels, i + V::kLanes == kGroup, target + i * kBlockStride, stride);
        }
        return kinds;
    }

    /// Pixels as they are stored. RGBA takes the alphas that getAlphas() gives.
    template <BlockHalf Half, typename GetByte3, typename GetAlphas>
    static Texels<V> GetTexels(Palette<V>& palette, Vector blocks, Vector halves,
                               const GetByte3& getByte3, const GetAlphas& getAlphas) noexcept {
        const Vector indices = GetIndices<V, Half>(blocks, halves);
        if constexpr (Row == ColorRow::Rgb8) {
            return GetRgbTexels<V>(palette, indices);
        } else if constexpr (Row == ColorRow::Alpha1) {
            ApplyTransparency<V>(palette, getByte3);
            return GetRgbaTexels<V>(palette, indices, LookUpHigh<V>(palette.blueAlpha, indices));
        } else {
            return GetRgbaTexels<V>(palette, indices, getAlphas());
        }
    }

    /// All channels of all blocks at once: bytes 0 to 2 of the blocks are those of R, G and B.
    static std::uint64_t GetBases(const std::uint8_t* blocks, Bases& bases) noexcept {
        const Vector channels =
            V::Even32(V::template LoadColors<kBlockBytes>(blocks),
                      V::template LoadColors<kBlockBytes>(blocks + kGroup / 2 * kBlockBytes));
        const Vector high4 = V::And(V::template ShiftRight16<4>(channels), V::Set8(15));
        const Vector low4 = V::And(channels, V::Set8(15));
        const Vector high5 = V::And(V::template ShiftRight16<3>(channels), V::Set8(31));
        const Vector second5 = V::Add8(high5, V::Shuffle(V::Load(kDeltas.data()), low4));
        Vector first = V::Or(V::And(channels, V::Set8(-8)),
                             V::Shuffle(V::Load(kLow3OfWidened5.data()), high4));
        // Bits that overflow into a neighbor's byte come from special blocks alone.
        Vector second = V::Or(V::template ShiftLeft16<3>(second5),
                              V::And(V::template ShiftRight16<2>(second5), V::Set8(7)));

        Vector special = V::Set32(0x00FFFFFF);
        if constexpr (Row != ColorRow::Alpha1) {
            const Vector widened4 = V::Load(kWidened4.data());
            const Vector isDifferential =
                V::template ShiftRightSigned32<31>(V::template ShiftLeft32<6>(channels));
            first = V::Select(isDifferential, first, V::Shuffle(widened4, high4));
            second = V::Select(isDifferential, second, V::Shuffle(widened4, low4));
            special = V::And(special, isDifferential);
        }
        V::Store(bases.data(), V::UnpackLow32(first, second));
        V::Store(bases.data() + bases.size() / 2, V::UnpackHigh32(first, second));

        // The first channel that overflows tells the kind.
        const Vector fits = V::Equal8(V::And(second5, V::Set8(-32)), V::Set8(0));
        special = V::AndNot(fits, special);
        special = V::AndNot(V::template ShiftLeft32<8>(special), special);
        special = V::AndNot(V::template ShiftLeft32<16>(special), special);
        return V::GetBlockMask(special);
    }

    /// Stores as many neighbors as there are lanes. RGB stores spill into the next ones, except
    /// from the last of a group.
    static void StoreNeighbors(const Texels<V>& texels, bool isLast, std::uint8_t* target,
                               std::size_t stride) noexcept {
        for (std::size_t y = 0; y < kBlockSide; ++y) {
            if constexpr (Row != ColorRow::Rgb8) {
                V::Store(target + y * stride, texels.rows[y]);
            } else if (isLast) {
                V::StoreRgb(target + y * stride, texels.rows[y]);
            } else {
                V::StoreRgbAndMore(target + y * stride, texels.rows[y]);
            }
        }
    }

    // Special blocks. Their pixels have been decoded before; RGBA blocks keep the alpha of these.

    /// What becomes the alpha of opaque pixels when they are stored.
    static constexpr int kOpaque = Row == ColorRow::Rgba8 ? 0 : 255;

    /// Stores a row of one block: R, G, B at the low end, or R, G, B, A.
    static void StoreRow(std::uint8_t* target, __m128i row) noexcept {
        using Lane = typename V::Lane;
        if constexpr (Row == ColorRow::Rgb8) {
            StoreTwelve(target, row);
        } else if constexpr (Row == ColorRow::Rgba8) {
            const __m128i alphas = Lane::And(Lane::Load(target), Lane::Set32(-1 << 24));
            Lane::Store(target, Lane::Or(row, alphas));
        } else {
            Lane::Store(target, row);
        }
    }

    /// Stores row y of the blocks whose numbers are listed, one for each lane.
    static void StoreListed(const std::uint8_t* numbers, std::size_t y, Vector row,
                            std::uint8_t* target, std::size_t stride) noexcept {
        target += y * stride;
        StoreRow(target + numbers[0] * kBlockStride, V::GetFirstLane(row));
        if constexpr (V::kLanes == 2)
            StoreRow(target + numbers[1] * kBlockStride, V::GetSecondLane(row));
    }

    /// T or H blocks.
    template <SpecialKind Kind>
    static void DecodeTwoColors(BlockList& list, const std::uint8_t* blocks, std::uint8_t* target,
                                std::size_t stride) noexcept {
        list.Pad();
        for (std::size_t i = 0; i < list.count; i += V::kLanes) {
            const std::uint8_t* const numbers = list.blocks.data() + i;
            const auto getBlock = [&](std::size_t lane) noexcept {
                return blocks + numbers[lane] * kBlockBytes + kColorOffset;
            };
            std::array<std::uint32_t, 2 * V::kLanes> bases;
            std::array<std::size_t, V::kLanes> distances;
            for (std::size_t lane = 0; lane < V::kLanes; ++lane) {
                const TwoColors colors = Kind == kT ? ReadT(getBlock(lane)) : ReadH(getBlock(lane));
                bases[2 * lane] = colors.bases[0];
                bases[2 * lane + 1] = colors.bases[1];
                distances[lane] = colors.distance;
            }
            Palette<V> palette =
                MakePalette<V>(kTwoColorShuffles[Kind], V::template LoadBlocks<8>(bases.data()),
                               [&](std::size_t lane) noexcept -> const Amounts& {
                                   return kTwoColorAmounts[Kind][distances[lane]];
                               });
            const Texels<V> texels = GetTexels<BlockHalf::Low>(
                palette, V::LoadLanes8(getBlock), V::Set8(0),
                [&](std::size_t lane) noexcept { return std::size_t{getBlock(lane)[3]}; },
                [] { return V::Set8(kOpaque); });
            for (std::size_t y = 0; y < kBlockSide; ++y)
                StoreListed(numbers, y, texels.rows[y], target, stride);
        }
    }

    static void DecodePlanar(BlockList& list, const std::uint8_t* blocks, std::uint8_t* target,
                             std::size_t stride) noexcept {
        list.Pad();
        for (std::size_t i = 0; i < list.count; i += kGroup) {
            const auto load = [&](std::size_t index) noexcept {
                const std::uint8_t* const numbers = list.blocks.data() + i + index * V::kLanes;
                return V::LoadLanes8([&](std::size_t lane) noexcept {
                    return blocks + numbers[lane] * kBlockBytes + kColorOffset;
                });
            };
            const Vector words01 = V::UnpackLow64(load(0), load(1));
            const Vector words23 = V::UnpackLow64(load(2), load(3));
            const Planes<V> planes =
                ReadPlanes<V>(V::Even32(words01, words23), V::Odd32(words01, words23), kOpaque);
            const auto paint = [&]<std::size_t Index>() noexcept {
                if (i + Index * V::kLanes >= list.count) return;
                const std::uint8_t* const numbers = list.blocks.data() + i + Index * V::kLanes;
                PaintPlanes<V, Index>(planes, [&](std::size_t y, Vector row) noexcept {
                    if constexpr (Row == ColorRow::Rgb8)
                        row = V::Shuffle(row, V::Load(kDropAlpha.data()));
                    StoreListed(numbers, y, row, target, stride);
                });
            };
            paint.template operator()<0>();
            paint.template operator()<1>();
            paint.template operator()<2>();
            paint.template operator()<3>();
        }
    }
};

/// All rows, for the instruction set's table.
template <typename V>
inline constexpr EtcKernels kRowKernels{
    .rgb8 = DecodeRow<ColorRows<V, ColorRow::Rgb8>>,
    .alpha1 = DecodeRow<ColorRows<V, ColorRow::Alpha1>>,
    .rgba8 = DecodeRow<ColorRows<V, ColorRow::Rgba8>>,
    .r11 = DecodeRow<Eac11Rows<V, 1, false>>,
    .r11Signed = DecodeRow<Eac11Rows<V, 1, true>>,
    .rg11 = DecodeRow<Eac11Rows<V, 2, false>>,
    .rg11Signed = DecodeRow<Eac11Rows<V, 2, true>>,
};

}  // namespace
}  // namespace koru
