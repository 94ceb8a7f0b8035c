#include "pixbuf_client.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

namespace fs = std::filesystem;

std::ostream& operator<<(std::ostream& out, const Picture& picture) {
    out << picture.width << " x " << picture.height << ':';
    const std::size_t shown = std::min<std::size_t>(picture.rgba.size(), 32);
    for (std::size_t i = 0; i < shown; ++i) out << ' ' << int{picture.rgba[i]};
    return out << (shown < picture.rgba.size() ? " ..." : "");
}

Picture Test_GetPicture(GdkPixbuf& pixbuf) {
    Picture picture{gdk_pixbuf_get_width(&pixbuf), gdk_pixbuf_get_height(&pixbuf), {}};
    const PixbufPtr rgba(gdk_pixbuf_add_alpha(&pixbuf, FALSE, 0, 0, 0));
    const guint8* row = gdk_pixbuf_read_pixels(rgba.get());
    for (int y = 0; y < picture.height; ++y) {
        picture.rgba.insert(picture.rgba.end(), row, row + 4 * std::ptrdiff_t{picture.width});
        row += gdk_pixbuf_get_rowstride(rgba.get());
    }
    return picture;
}

Picture Test_OpenPicture(const fs::path& path) {
    GError* problem = nullptr;
    const PixbufPtr pixbuf(gdk_pixbuf_new_from_file(path.c_str(), &problem));
    const ErrorPtr error(problem);
    EXPECT_EQ(error, nullptr) << path << ": " << error->message;
    return pixbuf ? Test_GetPicture(*pixbuf) : Picture{};
}

bool Test_ConvertToPng(const fs::path& texture, const fs::path& png) {
    return Test_RunProgram({KORUTEX_PROGRAM, "convert", texture, "-o", png}).isSuccess;
}

std::optional<Picture> Test_ConvertTexture(const fs::path& path) {
    const TempFolder folder;
    const fs::path png = folder / "expected.png";
    if (!Test_ConvertToPng(path, png)) return std::nullopt;
    return Test_OpenPicture(png);
}

ProgramEnd Test_RunProgram(const std::vector<std::string>& arguments) {
    std::vector<std::string> copies = arguments;
    std::vector<char*> words;
    words.reserve(copies.size() + 1);
    for (std::string& copy : copies) words.push_back(copy.data());
    words.push_back(nullptr);
    GError* problem = nullptr;
    char* complaint = nullptr;
    int status = -1;
    g_spawn_sync(nullptr, words.data(), nullptr,
                 static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL),
                 nullptr, nullptr, nullptr, &complaint, &status, &problem);
    const ErrorPtr error(problem);
    const TextPtr text(complaint);
    EXPECT_EQ(error, nullptr) << error->message;
    return {status == 0, text ? text.get() : ""};
}

int Test_GetPixbufErrorCode(const GError* error) {
    if (error == nullptr) {
        ADD_FAILURE() << "no error";
        return -1;
    }
    EXPECT_EQ(error->domain, GDK_PIXBUF_ERROR) << error->message;
    EXPECT_STRNE(error->message, "");
    return error->code;
}

std::string Test_GetFormatName(GdkPixbufFormat* format) {
    if (format == nullptr) return "none";
    return TextPtr(gdk_pixbuf_format_get_name(format)).get();
}

std::vector<fs::path> Test_ListSamples() {
    std::vector<fs::path> samples;
    for (const auto& entry : fs::directory_iterator(KORUTEX_SAMPLES_DIR)) {
        samples.push_back(entry.path());
    }
    std::ranges::sort(samples);
    EXPECT_FALSE(samples.empty());
    return samples;
}
