// The row functions of the S3TC decoder, one table for each level of instruction sets.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/kernel_level.h"

namespace koru {

/// Decodes `blockCount` blocks, which follow each other, into four rows of blockCount * 4 pixels,
/// `stride` bytes apart. Reads and writes nothing else. The index rows of channels are 12 bits
/// apart, as in every image that is not narrower than a block.
using S3tcDecodeRow = void(const std::uint8_t* blocks, std::uint32_t blockCount,
                           std::uint8_t* target, std::size_t stride) noexcept;

/// What readers ask for. Other pixels have no kernels.
struct S3tcKernels {
    S3tcDecodeRow* dxt1Rgba = nullptr;
    S3tcDecodeRow* dxt1Rgb = nullptr;
    S3tcDecodeRow* dxt3Rgba = nullptr;
    S3tcDecodeRow* dxt5Rgba = nullptr;
    S3tcDecodeRow* bc4Rgba = nullptr;
    S3tcDecodeRow* bc5Rgba = nullptr;
};

extern const S3tcKernels kS3tcScalarKernels;  ///< The reference, in s3tc_decoder.cpp.
extern const S3tcKernels kS3tcSse41Kernels;
extern const S3tcKernels kS3tcAvx2Kernels;

/// The table of a runnable level.
[[nodiscard]] const S3tcKernels& S3tcKernels_Get(KernelLevel level) noexcept;

}  // namespace koru
