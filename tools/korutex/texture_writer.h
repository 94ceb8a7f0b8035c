// Writes records as textures, with the library's writers.
#pragma once

#include <korutex.h>

#include <filesystem>
#include <optional>

#include "replacing_file.h"

namespace koru_host {

enum class TextureFormat { Astc, Ktx, Pvr };

/// The format that the ending of a name asks for, in any case.
std::optional<TextureFormat> Texture_GetFormat(const std::filesystem::path& name);

/// Fills `file`; a 24-bit record gets padded rows. Throws std::system_error, std::runtime_error
/// with a reason, and std::bad_alloc.
void Texture_Write(KORU_Image& image, TextureFormat format, ReplacingFile& file);

/// What whoever writes the format should know; null for nothing.
const char* Texture_GetWriterWarning(TextureFormat format);

}  // namespace koru_host
