// Writes pictures as PNG, PPM or TGA.
#pragma once

#include <filesystem>
#include <optional>

#include "png_encoder.h"

namespace koru_host {

enum class PictureFormat { Png, Ppm, Tga };

/// The format that the ending of a name asks for, in any case.
std::optional<PictureFormat> Picture_GetFormat(const std::filesystem::path& name);

/// Throws std::length_error with a reason when the format has no room for the picture,
/// std::bad_alloc, and what `sink` throws. PPM has no alpha and leaves it out.
void Picture_Write(const PictureView& picture, PictureFormat format, const ByteSink& sink);

}  // namespace koru_host
