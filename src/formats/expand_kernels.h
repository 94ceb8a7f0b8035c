// Rows of packed pixels to 8-bit channels.
#pragma once

#include "core/pixel_kernels.h"

namespace koru {

/// One kind of source pixels.
struct ExpandRows {
    PixelRow* toRgb = nullptr;
    PixelRow* toRgba = nullptr;  ///< Alpha 255 where the source has none.
};

/// Pixels of 24 and 32 bits that are copied have their rows in PixelKernels.
struct ExpandKernels {
    ExpandRows grey;
    ExpandRows rgb565;
    ExpandRows rgb5;
    ExpandRows rgb5A1;
    ExpandRows rgba4;
    ExpandRows rgb10A2;    ///< As kRgb10A2Layout.
    ExpandRows rgb9E5;     ///< As kRgb9E5Layout.
    ExpandRows r11G11B10;  ///< As kR11G11B10Layout.
};

/// The table of a level that the machine runs.
[[nodiscard]] const ExpandKernels& ExpandKernels_Get() noexcept;

extern const ExpandKernels kScalarExpandKernels;
extern const ExpandKernels kSse41ExpandKernels;
extern const ExpandKernels kAvx2ExpandKernels;

}  // namespace koru
