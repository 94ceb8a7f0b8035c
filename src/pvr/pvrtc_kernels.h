// The steps of decoding PVRTC that take rows, one table for each level of instruction sets.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pvr/pvrtc_block.h"

namespace koru {

// Kernels see a row of blocks of any count, or two, one above the other, and draw rows of areas.
// An area is as large as a block and lies between the centers of 2 x 2 blocks, of which each covers
// a quarter: `count` areas take count + 1 blocks. Nothing else is read or written.

/// What a block gives to its row of colors: red, green, blue, alpha, of color A and B each in turn.
/// Alpha counts twice: its 4 bits then weigh like 5.
inline constexpr std::size_t kPvrtcLanes = 8;

/// Bytes that a block gives to each of its four rows of modulation.
///
/// 4 bits per pixel: a code for each two pixels, of their bits and, above them, the mode flag.
/// 2 bits per pixel: a weight for each pixel, in eighths of color B.
inline constexpr std::size_t kPvrtcCodes4Bpp = 2;
inline constexpr std::size_t kPvrtcWeights2Bpp = 8;

inline constexpr unsigned kPvrtcCodeBits = 4;
/// Instead of a weight that is not stored. The pixel takes the average of its neighbors' weights.
inline constexpr std::uint8_t kPvrtcAverage = 0x80;

/// Eighths of color B, by the stored bits of a pixel.
inline constexpr std::uint8_t kPvrtcWeights[4]{0, 3, 5, 8};
/// In blocks of 4 bits per pixel with mode flag. Value 2 clears alpha, too.
inline constexpr std::uint8_t kPvrtcPunchThroughWeights[4]{0, 4, 4, 8};
inline constexpr std::uint32_t kPvrtcPunchThrough = 2;

/// Of 2 bits per pixel, from the first block on.
struct PvrtcWeightRows {
    const std::uint8_t* above = nullptr;
    const std::uint8_t* here = nullptr;
    const std::uint8_t* below = nullptr;
};

using PvrtcUnpackColors = void(const PvrtcBlock* blocks, std::size_t blockCount,
                               std::int16_t* colors) noexcept;
/// Fills four rows that begin `stride` bytes apart.
using PvrtcReadModulation = void(const PvrtcBlock* blocks, std::size_t blockCount,
                                 std::uint8_t* modulation, std::size_t stride) noexcept;
/// Goes from the centers of a row of blocks to those of the one below, so many quarters.
using PvrtcMixColors = void(const std::int16_t* upper, const std::int16_t* lower, int quarters,
                            std::size_t blockCount, std::int16_t* mixed) noexcept;
/// A row of pixels of R, G, B, A, from the center of the first block on.
using PvrtcDrawRow4Bpp = void(const std::int16_t* mixed, const std::uint8_t* codes,
                              std::size_t areaCount, std::uint8_t* target) noexcept;
using PvrtcDrawRow2Bpp = void(const std::int16_t* mixed, const PvrtcWeightRows& weights,
                              std::size_t areaCount, std::uint8_t* target) noexcept;

struct PvrtcKernels {
    PvrtcUnpackColors* unpackColors = nullptr;
    PvrtcReadModulation* readCodes4Bpp = nullptr;
    PvrtcReadModulation* readWeights2Bpp = nullptr;
    PvrtcMixColors* mixColors = nullptr;
    PvrtcDrawRow4Bpp* drawRow4Bpp = nullptr;
    PvrtcDrawRow2Bpp* drawRow2Bpp = nullptr;
};

PvrtcUnpackColors Pvrtc_UnpackColorsScalar, Pvrtc_UnpackColorsSse41, Pvrtc_UnpackColorsAvx2;
PvrtcReadModulation Pvrtc_ReadCodes4BppScalar, Pvrtc_ReadCodes4BppSse41;
PvrtcReadModulation Pvrtc_ReadWeights2BppScalar, Pvrtc_ReadWeights2BppSse41;
PvrtcMixColors Pvrtc_MixColorsScalar, Pvrtc_MixColorsSse41, Pvrtc_MixColorsAvx2;
PvrtcDrawRow4Bpp Pvrtc_DrawRow4BppScalar, Pvrtc_DrawRow4BppSse41, Pvrtc_DrawRow4BppAvx2;
PvrtcDrawRow2Bpp Pvrtc_DrawRow2BppScalar, Pvrtc_DrawRow2BppSse41, Pvrtc_DrawRow2BppAvx2;

/// The reference.
inline constexpr PvrtcKernels kPvrtcScalarKernels{.unpackColors = Pvrtc_UnpackColorsScalar,
                                                  .readCodes4Bpp = Pvrtc_ReadCodes4BppScalar,
                                                  .readWeights2Bpp = Pvrtc_ReadWeights2BppScalar,
                                                  .mixColors = Pvrtc_MixColorsScalar,
                                                  .drawRow4Bpp = Pvrtc_DrawRow4BppScalar,
                                                  .drawRow2Bpp = Pvrtc_DrawRow2BppScalar};

inline constexpr PvrtcKernels kPvrtcSse41Kernels{.unpackColors = Pvrtc_UnpackColorsSse41,
                                                 .readCodes4Bpp = Pvrtc_ReadCodes4BppSse41,
                                                 .readWeights2Bpp = Pvrtc_ReadWeights2BppSse41,
                                                 .mixColors = Pvrtc_MixColorsSse41,
                                                 .drawRow4Bpp = Pvrtc_DrawRow4BppSse41,
                                                 .drawRow2Bpp = Pvrtc_DrawRow2BppSse41};

inline constexpr PvrtcKernels kPvrtcAvx2Kernels = [] {
    PvrtcKernels kernels = kPvrtcSse41Kernels;
    kernels.unpackColors = Pvrtc_UnpackColorsAvx2;
    kernels.mixColors = Pvrtc_MixColorsAvx2;
    kernels.drawRow4Bpp = Pvrtc_DrawRow4BppAvx2;
    kernels.drawRow2Bpp = Pvrtc_DrawRow2BppAvx2;
    return kernels;
}();

/// The table of the level in use.
[[nodiscard]] const PvrtcKernels& PvrtcKernels_Get() noexcept;

}  // namespace koru
