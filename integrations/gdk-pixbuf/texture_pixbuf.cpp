#include "texture_pixbuf.h"

#include <korutex.h>

#include <mutex>

namespace koru_pixbuf {
namespace {

using koru_host::Container;
using koru_host::Container_GetName;
using koru_host::Container_Identify;

constexpr koru_host::LibraryDoors kDoors{KORU_Load_ASTC_From_Memory, KORU_Load_KTX_From_Memory,
                                         KORU_Load_PVR_From_Memory, KORU_Delete_Image};

// Programs multiply rows by strides in gint.
constexpr std::uint64_t kMaxPictureBytes = G_MAXINT;
constexpr std::uint64_t kBytesPerPixel = 4;

constinit std::mutex g_library;

void Pixbuf_DeleteImage(guchar* /*pixels*/, gpointer image) {
    const std::scoped_lock lock(g_library);
    KORU_Delete_Image(static_cast<KORU_Image*>(image));
}

/// Takes over the record.
GdkPixbuf* Pixbuf_Wrap(KORU_Image* image) noexcept {
    return gdk_pixbuf_new_from_data(image->pixels, GDK_COLORSPACE_RGB, TRUE, 8,
                                    static_cast<gint>(image->width),
                                    static_cast<gint>(image->height),
                                    static_cast<gint>(image->stride), Pixbuf_DeleteImage, image);
}

bool Pixbuf_FitsHosts(TextureSize size) noexcept {
    return std::uint64_t{size.width} * size.height <= kMaxPictureBytes / kBytesPerPixel;
}

}  // namespace

bool Pixbuf_CheckHead(std::span<const std::uint8_t> head, GError** error) noexcept {
    const Container container = Container_Identify(head);
    if (container != Container::Unknown && container != Container::Png) return true;
    g_set_error_literal(error, GDK_PIXBUF_ERROR, GDK_PIXBUF_ERROR_UNKNOWN_TYPE,
                        "The file is not an ASTC, KTX or PVR texture");
    return false;
}

std::optional<TextureSize> Pixbuf_ReadSize(std::span<const std::uint8_t> bytes,
                                           GError** error) noexcept {
    if (!Pixbuf_CheckHead(bytes, error)) return std::nullopt;
    const TextureSize size = [bytes] {
        const std::scoped_lock lock(g_library);
        const TextureSize told = Texture_ReadSize(kDoors, bytes);
        Texture_DropPayload(kDoors, bytes);
        return told;
    }();
    if (size.width == 0 || size.height == 0) {
        g_set_error(error, GDK_PIXBUF_ERROR, GDK_PIXBUF_ERROR_CORRUPT_IMAGE,
                    "The %s texture is damaged or cut off, or it is of a kind that is not decoded",
                    Container_GetName(Container_Identify(bytes)));
        return std::nullopt;
    }
    if (size.width > std::uint32_t{G_MAXINT} || size.height > std::uint32_t{G_MAXINT}) {
        g_set_error(error, GDK_PIXBUF_ERROR, GDK_PIXBUF_ERROR_FAILED,
                    "The texture of %u x %u pixels is too large", size.width, size.height);
        return std::nullopt;
    }
    return size;
}

GdkPixbuf* Pixbuf_Decode(std::span<const std::uint8_t> bytes, TextureSize size,
                         GError** error) noexcept {
    if (!Pixbuf_FitsHosts(size)) {
        g_set_error(error, GDK_PIXBUF_ERROR, GDK_PIXBUF_ERROR_FAILED,
                    "The texture of %u x %u pixels is too large: a picture is at most 2 GiB",
                    size.width, size.height);
        return nullptr;
    }
    KORU_Image* const image = [bytes] {
        const std::scoped_lock lock(g_library);
        KORU_Image* const decoded = Texture_Decode(kDoors, bytes);
        Texture_DropPayload(kDoors, bytes);
        return decoded;
    }();
    // All else that could be wrong with it has been seen with its size.
    if (image == nullptr) {
        g_set_error(error, GDK_PIXBUF_ERROR, GDK_PIXBUF_ERROR_INSUFFICIENT_MEMORY,
                    "Not enough memory for a texture of %u x %u pixels", size.width, size.height);
        return nullptr;
    }
    return Pixbuf_Wrap(image);
}

}  // namespace koru_pixbuf
