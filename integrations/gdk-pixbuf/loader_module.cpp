// The module as GdkPixbuf sees it: two functions that tell what it reads and how.
#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <utility>

// The functions for modules are behind this name.
#define GDK_PIXBUF_ENABLE_BACKEND
#include <gdk-pixbuf/gdk-pixbuf.h>

#include "loader_format.h"
#include "texture_bytes.h"
#include "texture_pixbuf.h"

namespace koru_pixbuf {
namespace {

struct PixbufUnref {
    void operator()(GdkPixbuf* pixbuf) const noexcept { g_object_unref(pixbuf); }
};
using PixbufHandle = std::unique_ptr<GdkPixbuf, PixbufUnref>;

/// A load that is under way, and whom to tell about it.
struct LoadContext {
    GdkPixbufModuleSizeFunc tellSize;
    GdkPixbufModulePreparedFunc tellPrepared;
    GdkPixbufModuleUpdatedFunc tellUpdated;
    gpointer listener;
    TextureBytes file{};
    bool isRefused = false;
};

/// Runs the body of a function that C calls. Whatever it throws becomes an error and `failure`.
template <typename Result, typename Body>
Result Loader_Guard(Result failure, GError** error, Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const std::bad_alloc&) {
        g_set_error_literal(error, GDK_PIXBUF_ERROR, GDK_PIXBUF_ERROR_INSUFFICIENT_MEMORY,
                            "Not enough memory to read the texture file");
    } catch (const std::exception& problem) {
        g_set_error(error, GDK_PIXBUF_ERROR, GDK_PIXBUF_ERROR_FAILED,
                    "The texture file could not be read: %s", problem.what());
    }
    return failure;
}

/// All that follows in the stream; nothing and an error if that is no texture's file.
std::optional<TextureBytes> Loader_ReadStream(std::FILE* stream, GError** error) {
    TextureBytes file;
    struct stat facts {};
    if (fstat(fileno(stream), &facts) == 0 && S_ISREG(facts.st_mode) &&
        !file.Expect(static_cast<std::uint64_t>(facts.st_size), error)) {
        return std::nullopt;
    }
    std::array<std::uint8_t, 65536> piece;
    while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), stream)) {
        if (!file.Append(std::span(piece).first(count), error)) return std::nullopt;
    }
    if (std::ferror(stream) != 0) {
        g_set_error_literal(error, GDK_PIXBUF_ERROR, GDK_PIXBUF_ERROR_FAILED,
                            "The texture file could not be read to its end");
        return std::nullopt;
    }
    return file;
}

GdkPixbuf* Loader_Load(std::FILE* stream, GError** error) noexcept {
    return Loader_Guard<GdkPixbuf*>(nullptr, error, [stream, error]() -> GdkPixbuf* {
        const auto file = Loader_ReadStream(stream, error);
        if (!file) return nullptr;
        const auto size = Pixbuf_ReadSize(file->Get(), error);
        return size ? Pixbuf_Decode(file->Get(), *size, error) : nullptr;
    });
}

gpointer Loader_Begin(GdkPixbufModuleSizeFunc tellSize, GdkPixbufModulePreparedFunc tellPrepared,
                      GdkPixbufModuleUpdatedFunc tellUpdated, gpointer listener,
                      GError** error) noexcept {
    return Loader_Guard<gpointer>(nullptr, error, [=]() -> gpointer {
        return std::make_unique<LoadContext>(
                   LoadContext{tellSize, tellPrepared, tellUpdated, listener})
            .release();
    });
}

gboolean Loader_Increment(gpointer context, const guchar* bytes, guint byteCount,
                          GError** error) noexcept {
    LoadContext& load = *static_cast<LoadContext*>(context);
    const bool isTaken = Loader_Guard(false, error, [&load, bytes, byteCount, error] {
        return load.file.Append({bytes, byteCount}, error);
    });
    // The load is stopped nevertheless, and must not try then.
    if (!isTaken) load.isRefused = true;
    return isTaken ? TRUE : FALSE;
}

/// Lets the program choose a size. It scales by itself; nothing is decoded for no pixels at all.
bool Loader_IsWanted(const LoadContext& load, TextureSize size, GError** error) noexcept {
    if (load.tellSize == nullptr) return true;
    gint width = static_cast<gint>(size.width);
    gint height = static_cast<gint>(size.height);
    load.tellSize(&width, &height, load.listener);
    if (width != 0 && height != 0) return true;
    g_set_error(error, GDK_PIXBUF_ERROR, GDK_PIXBUF_ERROR_FAILED,
                "The texture of %u x %u pixels was not decoded: none of them was asked for",
                size.width, size.height);
    return false;
}

bool Loader_Finish(const LoadContext& load, GError** error) noexcept {
    if (load.isRefused) {
        g_set_error_literal(error, GDK_PIXBUF_ERROR, GDK_PIXBUF_ERROR_FAILED,
                            "The texture file could not be taken");
        return false;
    }
    const auto size = Pixbuf_ReadSize(load.file.Get(), error);
    if (!size || !Loader_IsWanted(load, *size, error)) return false;
    const PixbufHandle pixbuf(Pixbuf_Decode(load.file.Get(), *size, error));
    if (!pixbuf) return false;
    if (load.tellPrepared != nullptr) load.tellPrepared(pixbuf.get(), nullptr, load.listener);
    if (load.tellUpdated != nullptr) {
        load.tellUpdated(pixbuf.get(), 0, 0, static_cast<int>(size->width),
                         static_cast<int>(size->height), load.listener);
    }
    return true;
}

gboolean Loader_Stop(gpointer context, GError** error) noexcept {
    const std::unique_ptr<LoadContext> load(static_cast<LoadContext*>(context));
    return Loader_Finish(*load, error) ? TRUE : FALSE;
}

}  // namespace
}  // namespace koru_pixbuf

extern "C" {

G_MODULE_EXPORT void fill_vtable(GdkPixbufModule* module) {
    module->load = koru_pixbuf::Loader_Load;
    module->begin_load = koru_pixbuf::Loader_Begin;
    module->load_increment = koru_pixbuf::Loader_Increment;
    module->stop_load = koru_pixbuf::Loader_Stop;
}

G_MODULE_EXPORT void fill_info(GdkPixbufFormat* info) { koru_pixbuf::Format_Describe(*info); }
}
