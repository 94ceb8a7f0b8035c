#include "pvr/pvrtc_kernels.h"

#include <array>

#include "core/kernel_level.h"

namespace koru {
namespace {

constexpr std::size_t kBlockWidth4Bpp = 4;
constexpr std::size_t kBlockWidth2Bpp = 8;
constexpr std::size_t kPixelBytes = 4;
constexpr std::size_t kAlpha = 3;

// Rows are flat, pixel by pixel and in them channel by channel, for compilers to find vectors in.

template <std::size_t Width>
using Row = std::array<std::uint8_t, Width * kPixelBytes>;

/// In the order of lanes.
template <std::size_t Width>
using ColorRow = std::array<std::uint8_t, Width * kPvrtcLanes>;

/// The colors between two centers, from 5 bits, and 4 of alpha, to 8.
template <std::size_t Width>
ColorRow<Width> GetColors(const std::int16_t* left, const std::int16_t* right) noexcept {
    constexpr int kShift = Width == kBlockWidth2Bpp ? 2 : 1;
    ColorRow<Width> colors;
    for (std::size_t x = 0; x < Width; ++x) {
        for (std::size_t i = 0; i < kPvrtcLanes; ++i) {
            // Sums stay below 1024. Saying so at each step gives vectors twice the lanes.
            const auto sum = static_cast<std::int16_t>(left[i] * static_cast<int>(Width - x) +
                                                       right[i] * static_cast<int>(x));
            const auto value = static_cast<std::int16_t>(sum >> kShift);
            // Of alpha, one bit more: it has 4 to begin with.
            const auto doubled = static_cast<std::int16_t>(i / 2 == kAlpha ? value * 2 : value);
            colors[x * kPvrtcLanes + i] = static_cast<std::uint8_t>(value + (doubled >> 5));
        }
    }
    return colors;
}

/// For each byte of a pixel alike, as blending takes them.
template <std::size_t Width>
struct ModulationRow {
    Row<Width> weights;
    Row<Width> kept;  ///< Masks: 0 for an alpha that is cleared, else 255.
};

template <std::size_t Width>
void Blend(const ColorRow<Width>& colors, const ModulationRow<Width>& modulation,
           std::uint8_t* target) noexcept {
    for (std::size_t i = 0; i < Width * kPixelBytes; ++i) {
        const std::int32_t a = colors[2 * i], b = colors[2 * i + 1];
        const std::int32_t value = (a * 8 + (b - a) * modulation.weights[i]) >> 3;
        target[i] = static_cast<std::uint8_t>(value & modulation.kept[i]);
    }
}

/// Draws areas one by one; `getModulation` gets the number of the area and a place in it.
template <std::size_t Width, typename GetModulation>
void DrawAreas(const std::int16_t* mixed, std::size_t areaCount, std::uint8_t* target,
               const GetModulation& getModulation) noexcept {
    for (std::size_t area = 0; area < areaCount; ++area) {
        const std::int16_t* const left = mixed + area * kPvrtcLanes;
        ModulationRow<Width> modulation;
        for (std::size_t x = 0; x < Width; ++x) {
            const auto [weight, clearsAlpha] = getModulation(area, x);
            for (std::size_t i = 0; i < kPixelBytes; ++i) {
                modulation.weights[x * kPixelBytes + i] = weight;
                modulation.kept[x * kPixelBytes + i] = 255;
            }
            if (clearsAlpha) modulation.kept[x * kPixelBytes + kAlpha] = 0;
        }
        Blend(GetColors<Width>(left, left + kPvrtcLanes), modulation,
              target + area * Width * kPixelBytes);
    }
}

struct Modulation {
    std::uint8_t weight = 0;
    bool clearsAlpha = false;
};

}  // namespace

void Pvrtc_UnpackColorsScalar(const PvrtcBlock* blocks, std::size_t blockCount,
                              std::int16_t* colors) noexcept {
    for (std::size_t block = 0; block < blockCount; ++block) {
        const PvrtcColors unpacked = Pvrtc_UnpackColors(blocks[block]);
        for (std::size_t i = 0; i < kPixelBytes; ++i) {
            const std::int32_t factor = i == kAlpha ? 2 : 1;
            *colors++ = static_cast<std::int16_t>(unpacked.a[i] * factor);
            *colors++ = static_cast<std::int16_t>(unpacked.b[i] * factor);
        }
    }
}

void Pvrtc_ReadCodes4BppScalar(const PvrtcBlock* blocks, std::size_t blockCount,
                               std::uint8_t* modulation, std::size_t stride) noexcept {
    for (std::size_t block = 0; block < blockCount; ++block) {
        const std::uint32_t mode = blocks[block].HasMode() ? 1u << kPvrtcCodeBits : 0;
        for (std::size_t y = 0; y < kPvrtcBlockHeight; ++y) {
            for (std::size_t i = 0; i < kPvrtcCodes4Bpp; ++i) {
                const std::uint32_t bits = blocks[block].modulation >> (8 * y + 4 * i) & 15;
                modulation[y * stride + block * kPvrtcCodes4Bpp + i] =
                    static_cast<std::uint8_t>(mode | bits);
            }
        }
    }
}

void Pvrtc_ReadWeights2BppScalar(const PvrtcBlock* blocks, std::size_t blockCount,
                                 std::uint8_t* modulation, std::size_t stride) noexcept {
    // A block without mode flag stores a bit for each place; one with it two bits for each even
    // place, and nothing for odd ones.
    const auto getStored = [](const PvrtcBlock& block, std::size_t x, std::size_t y) {
        const std::uint32_t rowBits = block.modulation >> 8 * y;
        if (!block.HasMode()) return kPvrtcWeights[(rowBits >> x & 1) != 0 ? 3 : 0];
        return (x + y) % 2 == 0 ? kPvrtcWeights[rowBits >> (x & 6) & 3] : kPvrtcAverage;
    };
    for (std::size_t block = 0; block < blockCount; ++block) {
        for (std::size_t y = 0; y < kPvrtcBlockHeight; ++y) {
            for (std::size_t x = 0; x < kPvrtcWeights2Bpp; ++x) {
                modulation[y * stride + block * kPvrtcWeights2Bpp + x] =
                    getStored(blocks[block], x, y);
            }
        }
    }
}

void Pvrtc_MixColorsScalar(const std::int16_t* upper, const std::int16_t* lower, int quarters,
                           std::size_t blockCount, std::int16_t* mixed) noexcept {
    for (std::size_t i = 0; i < blockCount * kPvrtcLanes; ++i)
        mixed[i] = static_cast<std::int16_t>(upper[i] * (4 - quarters) + lower[i] * quarters);
}

void Pvrtc_DrawRow4BppScalar(const std::int16_t* mixed, const std::uint8_t* codes,
                             std::size_t areaCount, std::uint8_t* target) noexcept {
    DrawAreas<kBlockWidth4Bpp>(mixed, areaCount, target, [=](std::size_t area, std::size_t x) {
        // From the middle of the first block on.
        const std::uint32_t code = codes[area * kPvrtcCodes4Bpp + 1 + x / 2];
        const std::uint32_t value = code >> (x % 2 * 2) & 3;
        if (code >> kPvrtcCodeBits == 0) return Modulation{.weight = kPvrtcWeights[value]};
        return Modulation{.weight = kPvrtcPunchThroughWeights[value],
                          .clearsAlpha = value == kPvrtcPunchThrough};
    });
}

/// Quirk: of all four neighbors, always, and no stored bit chooses two of them; keeps 2-bit images.
void Pvrtc_DrawRow2BppScalar(const std::int16_t* mixed, const PvrtcWeightRows& weights,
                             std::size_t areaCount, std::uint8_t* target) noexcept {
    const auto [above, here, below] = weights;
    DrawAreas<kBlockWidth2Bpp>(
        mixed, areaCount, target,
        [above = above, here = here, below = below](std::size_t area, std::size_t x) {
            const std::size_t place = kBlockWidth2Bpp / 2 + area * kBlockWidth2Bpp + x;
            if (here[place] != kPvrtcAverage) return Modulation{.weight = here[place]};
            // Neighbors of a place without a stored weight have one, in blocks of either kind.
            const int sum = above[place] + below[place] + here[place - 1] + here[place + 1];
            return Modulation{.weight = static_cast<std::uint8_t>((sum + 2) / 4)};
        });
}

const PvrtcKernels& PvrtcKernels_Get() noexcept {
#if defined(KORU_X86_KERNELS)
    switch (KernelLevel_Get()) {
        case KernelLevel::Avx2:
            return kPvrtcAvx2Kernels;
        case KernelLevel::Sse41:
            return kPvrtcSse41Kernels;
        case KernelLevel::Scalar:
            break;
    }
#endif
    return kPvrtcScalarKernels;
}

}  // namespace koru
