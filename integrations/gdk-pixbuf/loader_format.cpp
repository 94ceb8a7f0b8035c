#include "loader_format.h"

#include <array>

namespace koru_pixbuf {
namespace {

constexpr int kCertain = 100;
// Four bytes so far inside may be chance: what other formats are certain of is theirs.
constexpr int kLikely = 90;

/// GdkPixbuf's structures ask for writable strings and write to none of them.
constexpr char* Format_Text(const char* text) noexcept { return const_cast<char*>(text); }

constexpr GdkPixbufModulePattern Format_Magic(const char* magic) noexcept {
    return {Format_Text(magic), nullptr, kCertain};
}

// 44 bytes of any value, and the word that every such header has there.
constexpr const char* kPvrLegacyPrefix = "                                            PVR!";
constexpr const char* kPvrLegacyMask = "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx    ";

constinit std::array g_signature{
    Format_Magic("\x13\xAB\xA1\x5C"),
    Format_Magic("\xABKTX 11\xBB\r\n\x1A\n"),
    Format_Magic("\xABKTX 20\xBB\r\n\x1A\n"),
    Format_Magic("QOZM"),
    Format_Magic("PVR\x03"),
    GdkPixbufModulePattern{Format_Text(kPvrLegacyPrefix), Format_Text(kPvrLegacyMask), kLikely},
    GdkPixbufModulePattern{nullptr, nullptr, 0},
};

constinit std::array<gchar*, 6> g_mimeTypes{
    Format_Text("image/astc"),  Format_Text("image/ktx"),    Format_Text("image/ktx2"),
    Format_Text("image/x-pvr"), Format_Text("image/x-qozm"), nullptr,
};

constinit std::array<gchar*, 5> g_extensions{
    Format_Text("astc"), Format_Text("ktx"), Format_Text("ktx2"), Format_Text("pvr"), nullptr,
};

}  // namespace

void Format_Describe(GdkPixbufFormat& format) noexcept {
    format.name = Format_Text("korutex");
    format.signature = g_signature.data();
    format.domain = Format_Text("korutex");
    format.description = Format_Text("GPU texture (ASTC, KTX, PVR)");
    format.mime_types = g_mimeTypes.data();
    format.extensions = g_extensions.data();
    format.flags = GDK_PIXBUF_FORMAT_THREADSAFE;
}

}  // namespace koru_pixbuf
