// Rows of pixels of 8-bit channels between the layouts of surfaces and records.
#pragma once

#include <cstddef>
#include <cstdint>

namespace koru {

/// Converts `pixelCount` pixels, and touches no byte behind the last one on either side. Source
/// and target never overlap; neither has to be aligned.
using PixelRow = void(std::uint8_t* target, const std::uint8_t* source,
                      std::size_t pixelCount) noexcept;

struct PixelKernels {
    PixelRow* rgbToRgb;
    PixelRow* rgbToRgba;  ///< Alpha 255.
    PixelRow* rgbaToRgb;
    PixelRow* rgbaToRgba;
    PixelRow* rgbaToOpaque;  ///< RGBA with alpha 255.
};

/// The table of a level that the machine runs.
[[nodiscard]] const PixelKernels& PixelKernels_Get() noexcept;

// Nothing to change: the same at every level.
void Pixels_CopyRgb(std::uint8_t* target, const std::uint8_t* source,
                    std::size_t pixelCount) noexcept;
void Pixels_CopyRgba(std::uint8_t* target, const std::uint8_t* source,
                     std::size_t pixelCount) noexcept;

extern const PixelKernels kScalarPixelKernels;
extern const PixelKernels kSse41PixelKernels;
extern const PixelKernels kAvx2PixelKernels;

}  // namespace koru
