// Textures that are in memory as GdkPixbufs.
#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "texture_decoder.h"

namespace koru_pixbuf {

using koru_host::TextureSize;

// Every failure below sets `error`, which may be null, to a GDK_PIXBUF_ERROR. Any thread may call:
// calls into the library are made one after the other.

/// Whether the first bytes of a file, all of it or kContainerProbeBytes at least, are a texture's.
[[nodiscard]] bool Pixbuf_CheckHead(std::span<const std::uint8_t> head, GError** error) noexcept;

/// The size of a texture's picture; no pixel is decoded. Both sides are in the range of gint.
[[nodiscard]] std::optional<TextureSize> Pixbuf_ReadSize(std::span<const std::uint8_t> bytes,
                                                         GError** error) noexcept;

/// The picture of a texture whose size Pixbuf_ReadSize has told, RGBA, in the library's own memory.
/// It belongs to the caller; null on failure.
[[nodiscard]] GdkPixbuf* Pixbuf_Decode(std::span<const std::uint8_t> bytes, TextureSize size,
                                       GError** error) noexcept;

}  // namespace koru_pixbuf
