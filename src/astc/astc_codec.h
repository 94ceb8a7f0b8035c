// ASTC blocks to RGBA pixels, through the Arm ASTC Encoder.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "formats/fill_surface.h"

// The codec's.
struct astcenc_config;
struct astcenc_context;

namespace koru {

inline constexpr std::uint32_t kAstcBlockBytes = 16;

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

/// One slice as linear LDR, 8 bits per channel, decoded on the calling thread. The codec context is
/// made when the first rows are wanted and freed with the image: nothing is kept between images.
class AstcRows final : public RowDecoder {
  public:
    /// The payload must outlive the decoder.
    AstcRows(std::span<const std::uint8_t> payload, std::uint32_t width, std::uint32_t height,
             const AstcFootprint& footprint) noexcept;

    bool CanDecode() noexcept override;

    bool DecodeRows(std::uint32_t firstRow, std::uint32_t count,
                    std::uint8_t* target) noexcept override;

    /// How the last rows went.
    [[nodiscard]] AstcDecodeResult GetResult() const noexcept { return result_; }
    [[nodiscard]] bool IsRefused() const noexcept { return result_ == AstcDecodeResult::Refused; }

  private:
    struct ContextDeleter {
        void operator()(astcenc_context* context) const noexcept;
    };

    /// Whether the codec takes the image; its configuration is then set.
    AstcDecodeResult Configure(astcenc_config& config) noexcept;
    AstcDecodeResult Open();
    AstcDecodeResult Decode(std::uint32_t firstRow, std::uint32_t count, std::uint8_t* target);

    std::span<const std::uint8_t> payload_;
    std::uint32_t width_;
    AstcFootprint footprint_;
    std::unique_ptr<astcenc_context, ContextDeleter> context_;
    AstcDecodeResult result_ = AstcDecodeResult::Decoded;
};

/// Decodes a whole image at once.
/// `pixels` takes width * height * 4 bytes, R, G, B, A, rows packed, top row first.
[[nodiscard]] AstcDecodeResult Astc_DecodeBlocks(std::span<const std::uint8_t> payload,
                                                 std::uint32_t width, std::uint32_t height,
                                                 const AstcFootprint& footprint,
                                                 std::uint8_t* pixels) noexcept;

}  // namespace koru
