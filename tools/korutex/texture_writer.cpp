#include "texture_writer.h"

#include <cerrno>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

#include "host_paths.h"

namespace koru_host {
namespace {

using Writer = std::int32_t(const KORU_Char*, KORU_Image*);

Writer& Texture_GetWriter(TextureFormat format) {
    switch (format) {
        case TextureFormat::Astc:
            return KORU_Write_ASTC_To_File;
        case TextureFormat::Pvr:
            return KORU_Write_PVR_To_File;
        case TextureFormat::Ktx:
            break;
    }
    return KORU_Write_KTX_To_File;
}

void Texture_WriteTo(const std::filesystem::path& path, KORU_Image& image, TextureFormat format) {
    const auto name = Paths_ToLibrary(path);
    if (!name) throw std::runtime_error("the name of its folder is not UTF-8");
    errno = 0;
    if (Texture_GetWriter(format)(name->c_str(), &image) == 0) {
        const int code = errno;
        if (format == TextureFormat::Astc) {
            throw std::runtime_error("the library has no ASTC encoder, it would hold no picture");
        }
        if (code != 0) throw std::system_error(code, std::generic_category());
        throw std::runtime_error("the library's writer failed");
    }
    // Without memory for padded rows, the writers write what readers would take for other pixels.
    if (image.bytesPerPixel == 3 && image.stride % 4 != 0) throw std::bad_alloc();
}

}  // namespace

std::optional<TextureFormat> Texture_GetFormat(const std::filesystem::path& name) {
    const std::string ending = Paths_GetEnding(name);
    if (ending == ".astc") return TextureFormat::Astc;
    if (ending == ".ktx") return TextureFormat::Ktx;
    if (ending == ".pvr") return TextureFormat::Pvr;
    return std::nullopt;
}

void Texture_Write(KORU_Image& image, TextureFormat format, ReplacingFile& file) {
    file.WriteByName(
        [&](const std::filesystem::path& path) { Texture_WriteTo(path, image, format); });
}

const char* Texture_GetWriterWarning(TextureFormat format) {
    return format == TextureFormat::Pvr
               ? "its header is left empty; korutex and other PVR readers do not open it"
               : nullptr;
}

}  // namespace koru_host
