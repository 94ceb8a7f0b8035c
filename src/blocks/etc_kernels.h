// Rows of ETC and EAC blocks to pixels, for every kernel level.
#pragma once

#include <cstddef>
#include <cstdint>

namespace koru {

/// Decodes blocks that follow each other into four rows of blockCount * 4 pixels, `stride` bytes
/// apart; touches no byte outside these.
using EtcDecodeRow = void(const std::uint8_t* blocks, std::uint32_t blockCount,
                          std::uint8_t* target, std::size_t stride) noexcept;

struct EtcKernels {
    EtcDecodeRow* rgb8;        ///< 8 bytes to R, G, B.
    EtcDecodeRow* alpha1;      ///< 8 bytes, with punch-through alpha, to R, G, B, A.
    EtcDecodeRow* rgba8;       ///< 16 bytes, an alpha block and a color block, to R, G, B, A.
    EtcDecodeRow* r11;         ///< 8 bytes to 16-bit little-endian R.
    EtcDecodeRow* r11Signed;   ///< Likewise, two's complement.
    EtcDecodeRow* rg11;        ///< 16 bytes, a block for each channel, to 16-bit R, G.
    EtcDecodeRow* rg11Signed;  ///< Likewise, two's complement.
};

/// The reference, and the kernels that equal it; those of a level only where it can run.
extern const EtcKernels kEtcScalarKernels, kEtcSse41Kernels, kEtcAvx2Kernels;

/// Those of the kernel level in force.
[[nodiscard]] const EtcKernels& Etc_GetKernels() noexcept;

}  // namespace koru
