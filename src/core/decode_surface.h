// The working image that a format's decoder fills and that finishing turns into a record.
#pragma once

#include <cstdint>
#include <span>

#include "core/byte_buffer.h"

namespace koru {

/// What finishing will make of a surface.
enum class RecordForm : std::uint8_t {
    Unknown,
    Rgb,
    Rgba,
    HeaderOnly,  ///< A record without pixels, that fails as one of RGB does.
};

/// One per container format, static. Rows are packed: stride = width * bytesPerPixel.
struct DecodeSurface {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t bitsPerPixel = 0;    ///< 24 or 32.
    std::uint32_t bytesPerPixel = 0;   ///< 3 or 4.
    std::uint32_t bitsPerChannel = 0;  ///< 8.
    std::uint32_t dataSize = 0;        ///< stride * height, bytes in `pixels`.
    std::uint32_t stride = 0;
    std::uint32_t rowPadding = 0;  ///< 0.
    std::uint32_t reservedA = 0;
    // Quirk: clearing leaves the alpha flag alone, so one four-component image makes every later
    // surface of its format 32-bit; hosts see the layouts they are used to.
    std::uint32_t reservedB = 0;  ///< Alpha flag.
    std::uint32_t reservedC = 0;
    std::uint32_t reservedD = 0;
    std::uint32_t reservedE = 0;  ///< Orientation as the file tells it; recorded, never applied.
    std::uint32_t reservedF = 0;
    std::uint32_t reservedG = 0;
    std::uint32_t reservedH = 0;
    ByteBuffer pixels;  ///< R, G, B (, A), top row first.

    /// Set while a load runs: a decoder that knows the record's form can make its pixels at once.
    RecordForm wantedForm = RecordForm::Unknown;
    /// Whether `pixels` are finished already: in the wanted form, not in the surface's own. Those
    /// of HeaderOnly are memory that nobody has written, and nobody will read.
    bool isFinished = false;
};

/// Frees the pixels and zeroes size and layout. reservedA, B, C, F, G and H keep their values.
void Surface_Clear(DecodeSurface& surface) noexcept;

/// Frees old pixels and sets sizes and layout for 3 or 4 bytes per pixel; the caller then supplies
/// `dataSize` bytes of pixels. False, with the surface unchanged, if the image would not fit the
/// 32-bit size fields.
[[nodiscard]] bool Surface_SetLayout(DecodeSurface& surface, std::uint32_t width,
                                     std::uint32_t height, std::uint32_t bytesPerPixel) noexcept;

/// Bytes of a pixel as decoders should make it: of the wanted form, else of the surface's own.
[[nodiscard]] std::uint32_t Surface_GetTargetBytes(const DecodeSurface& surface) noexcept;

/// Gives a surface that has its layout memory for pixels of Surface_GetTargetBytes; false without
/// memory, or if they do not fit the 32-bit size fields.
[[nodiscard]] bool Surface_AllocatePixels(DecodeSurface& surface) noexcept;

/// The same, of opaque black.
[[nodiscard]] bool Surface_AllocateBlack(DecodeSurface& surface) noexcept;

/// The same, of zeros.
[[nodiscard]] bool Surface_AllocateZeroed(DecodeSurface& surface) noexcept;

/// Makes the pixels from byte `offset` on opaque black; `offset` is that of a pixel.
void Surface_FillBlack(DecodeSurface& surface, std::uint32_t offset) noexcept;

/// Makes pixels of 3 or 4 bytes opaque black.
void Pixels_FillBlack(std::span<std::uint8_t> pixels, std::uint32_t bytesPerPixel) noexcept;

}  // namespace koru
