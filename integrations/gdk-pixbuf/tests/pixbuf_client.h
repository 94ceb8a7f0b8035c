// What a program on top of GdkPixbuf does and sees; the library behind it is none of its business.
#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gio/gio.h>

#include <filesystem>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "test_files.h"

struct ObjectUnref {
    void operator()(gpointer object) const noexcept { g_object_unref(object); }
};
using PixbufPtr = std::unique_ptr<GdkPixbuf, ObjectUnref>;
using LoaderPtr = std::unique_ptr<GdkPixbufLoader, ObjectUnref>;

struct ErrorFree {
    void operator()(GError* error) const noexcept { g_error_free(error); }
};
using ErrorPtr = std::unique_ptr<GError, ErrorFree>;

struct MemoryFree {
    void operator()(gpointer memory) const noexcept { g_free(memory); }
};
using TextPtr = std::unique_ptr<char, MemoryFree>;

/// A picture as numbers: rows of R, G, B, A without padding.
struct Picture {
    int width = 0, height = 0;
    Bytes rgba;
    bool operator==(const Picture&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Picture& picture);

/// The pixels; alpha is 255 where the pixbuf has none.
Picture Test_GetPicture(GdkPixbuf& pixbuf);

/// The picture in a file as gdk_pixbuf_new_from_file gives it; a test failure and nothing if not.
Picture Test_OpenPicture(const std::filesystem::path& path);

/// Writes the PNG that the program korutex makes of a texture. Whether it makes one.
[[nodiscard]] bool Test_ConvertToPng(const std::filesystem::path& texture,
                                     const std::filesystem::path& png);

/// The picture that the program korutex makes of a texture; PNG is GdkPixbuf's own business.
/// Nothing if the program refuses the file.
std::optional<Picture> Test_ConvertTexture(const std::filesystem::path& path);

/// How a program ended, and what it wrote to standard error.
struct ProgramEnd {
    bool isSuccess = false;
    std::string complaint;
};
ProgramEnd Test_RunProgram(const std::vector<std::string>& arguments);

/// The error code; a test failure if the error is missing or of another domain.
int Test_GetPixbufErrorCode(const GError* error);

/// The name of the format, "png" or "korutex".
std::string Test_GetFormatName(GdkPixbufFormat* format);

/// The samples of this project, in the order of their names.
std::vector<std::filesystem::path> Test_ListSamples();
