// ASTC blocks to RGBA pixels, through the Arm ASTC Encoder.
#pragma once

#include <cstdint>
#include <span>

namespace koru {

/// Texels of a block in each direction.
struct AstcFootprint {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t depth = 0;
};

enum class AstcDecodeResult {
    Decoded,      ///< Every pixel is written.
    Refused,      ///< The codec takes no such footprint or payload; the pixels are undefined.
    OutOfMemory,  ///< The codec found no memory; the pixels are undefined.
};

/// Decodes one slice as linear LDR, 8 bits per channel, on the calling thread. A codec context is
/// made and freed for every image: nothing is kept between calls.
/// `pixels` takes width * height * 4 bytes, R, G, B, A, rows packed, top row first.
[[nodiscard]] AstcDecodeResult Astc_DecodeBlocks(std::span<const std::uint8_t> payload,
                                                 std::uint32_t width, std::uint32_t height,
                                                 const AstcFootprint& footprint,
                                                 std::uint8_t* pixels) noexcept;

}  // namespace koru
