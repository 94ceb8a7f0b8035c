// Scales pictures down for thumbnails.
#pragma once

#include <cstdint>
#include <span>

namespace koru_wic {

struct PictureSize {
    std::uint32_t width, height;
};

/// The largest size of the same shape that fits a square, never larger than the picture, and
/// never without a pixel. No side is 0.
[[nodiscard]] PictureSize Scaler_Fit(PictureSize picture, std::uint32_t side) noexcept;

/// Scales R, G, B, A with straight alpha to B, G, R, A with premultiplied alpha. Every target pixel
/// is the average of the area that it covers, weighted by alpha: transparent pixels give no color.
/// Neither picture has gaps between its rows; no side of the target is larger than the source's,
/// and no source has more than 2^28 pixels. Returns whether every target pixel is opaque.
bool Scaler_Shrink(std::span<const std::uint8_t> source, PictureSize sourceSize,
                   std::span<std::uint8_t> target, PictureSize targetSize);

}  // namespace koru_wic
