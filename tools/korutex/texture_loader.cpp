#include "texture_loader.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <span>
#include <string>
#include <system_error>

#include "file_error.h"
#include "host_paths.h"
#include "load_diagnosis.h"
#include "texture_decoder.h"

namespace koru_host {
namespace {

namespace fs = std::filesystem;

// The library counts the bytes of a file in 32 bits.
constexpr std::uint64_t kMaxFileBytes = 0xFFFFFFFF;

[[noreturn]] void Texture_FailToRead(const fs::path& path, std::error_code error) {
    throw FileError(path, "cannot be read: " + Paths_DescribeError(error));
}

[[noreturn]] void Texture_FailToRead(const fs::path& path) {
    const int code = errno == 0 ? EIO : errno;
    Texture_FailToRead(path, {code, std::generic_category()});
}

std::vector<std::uint8_t> Texture_ReadBytes(const fs::path& path, std::uint64_t maxBytes) {
    errno = 0;
    std::ifstream stream(path, std::ios::binary);
    if (!stream) Texture_FailToRead(path);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(maxBytes));
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(maxBytes));
    if (stream.bad()) Texture_FailToRead(path);
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return bytes;
}

ImageHandle Texture_DecodeBytes(std::span<const std::uint8_t> bytes) {
    const LibraryDoors doors{KORU_Load_ASTC_From_Memory, KORU_Load_KTX_From_Memory,
                             KORU_Load_PVR_From_Memory, KORU_Delete_Image};
    return ImageHandle(Texture_Decode(doors, bytes));
}

/// The library opens ASTC files itself: all that is said of them is in their first bytes.
ImageHandle Texture_LoadAstc(const TextureFile& file) {
    if (const auto name = Paths_ToLibrary(file.path)) {
        return ImageHandle(KORU_Load_ASTC_From_File(name->c_str(), KORU_FLAG_RGBA));
    }
    return Texture_DecodeBytes(Texture_ReadBytes(file.path, file.fileBytes));
}

ImageHandle Texture_LoadPng(TextureFile& file, std::span<const std::uint8_t> bytes) {
    try {
        file.png = Png_ReadFacts(bytes);
        return Png_Load(bytes);
    } catch (const PngError& error) {
        throw FileError(file.path, std::string("cannot be decoded: ") + error.what());
    }
}

/// Files are read here where diagnoses look at all of them.
ImageHandle Texture_Call(TextureFile& file) {
    if (file.container == Container::Astc) return Texture_LoadAstc(file);
    const auto bytes = Texture_ReadBytes(file.path, file.fileBytes);
    switch (file.container) {
        case Container::WrappedKtx:
            file.wrapper = Wrapper_Inspect(bytes);
            break;
        case Container::Ktx1:
        case Container::Ktx2:
            file.ktx = Ktx_Inspect(bytes);
            break;
        case Container::Pvr3:
        case Container::PvrLegacy:
            file.pvr = Pvr_Inspect(bytes);
            break;
        case Container::Png:
            return Texture_LoadPng(file, bytes);
        case Container::Astc:
        case Container::Unknown:
            break;
    }
    return Texture_DecodeBytes(bytes);
}

}  // namespace

TextureFile Texture_Open(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    // Checked before opening: a pipe would keep the program waiting for its other end.
    if (status.type() == fs::file_type::not_found) throw FileError(path, "no such file");
    if (status.type() == fs::file_type::none) Texture_FailToRead(path, error);
    if (fs::is_directory(status)) throw FileError(path, "is a directory");
    if (!fs::is_regular_file(status)) throw FileError(path, "is not a regular file");

    TextureFile file;
    file.path = path;
    file.fileBytes = fs::file_size(path, error);
    if (error) Texture_FailToRead(path, error);
    file.head = Texture_ReadBytes(path, kContainerProbeBytes);
    if (file.head.empty()) throw FileError(path, "is empty");
    file.container = Container_Identify(file.head);
    return file;
}

ImageHandle Texture_Load(TextureFile& file) {
    if (file.container == Container::Unknown) {
        throw FileError(file.path, "is not an ASTC, KTX, PVR or PNG file");
    }
    if (file.fileBytes > kMaxFileBytes) throw FileError(file.path, "is 4 GiB or larger");

    ImageHandle image = Texture_Call(file);
    if (image == nullptr || image->pixels == nullptr) {
        throw FileError(file.path, Diagnosis_ExplainFailure(file));
    }
    return image;
}

}  // namespace koru_host
