// What GdkPixbuf is told about the files: their first bytes, MIME types and names.
#pragma once

// The format's fields are behind this name.
#ifndef GDK_PIXBUF_ENABLE_BACKEND
#define GDK_PIXBUF_ENABLE_BACKEND
#endif
#include <gdk-pixbuf/gdk-pixbuf.h>

namespace koru_pixbuf {

/// Fills the format's fields with strings and tables that live as long as the module.
void Format_Describe(GdkPixbufFormat& format) noexcept;

}  // namespace koru_pixbuf
