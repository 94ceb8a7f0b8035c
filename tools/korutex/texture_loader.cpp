#include "texture_loader.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>

#include "file_error.h"
#include "host_paths.h"
#include "load_diagnosis.h"

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

using FileLoader = KORU_Image*(const KORU_Char*, std::uint32_t);
using MemoryLoader = KORU_Image*(const std::uint8_t*, std::uint32_t, std::uint32_t);

struct Loaders {
    FileLoader* fromFile;
    MemoryLoader* fromMemory;
};

Loaders Texture_GetLoaders(Container container) {
    switch (container) {
        case Container::Astc:
            return {KORU_Load_ASTC_From_File, KORU_Load_ASTC_From_Memory};
        case Container::Ktx1:
        case Container::Ktx2:
        case Container::WrappedKtx:
            return {KORU_Load_KTX_From_File, KORU_Load_KTX_From_Memory};
        case Container::Pvr3:
        case Container::PvrLegacy:
            return {KORU_Load_PVR_From_File, KORU_Load_PVR_From_Memory};
        case Container::Unknown:
            break;
    }
    return {};
}

bool Texture_IsKtx(Container container) {
    return container == Container::Ktx1 || container == Container::Ktx2;
}

/// KTX files are read here: levels and key/value data, which diagnoses look at, may lie anywhere.
/// The library opens the other files itself.
ImageHandle Texture_Call(TextureFile& file, const Loaders& loaders) {
    const auto name = Texture_IsKtx(file.container) ? std::nullopt : Paths_ToLibrary(file.path);
    if (name) return ImageHandle(loaders.fromFile(name->c_str(), KORU_FLAG_RGBA));

    const auto bytes = Texture_ReadBytes(file.path, file.fileBytes);
    if (Texture_IsKtx(file.container)) file.ktx = Ktx_Inspect(bytes);
    return ImageHandle(
        loaders.fromMemory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), KORU_FLAG_RGBA));
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
    const Loaders loaders = Texture_GetLoaders(file.container);
    if (loaders.fromFile == nullptr) {
        throw FileError(file.path, "is not an ASTC, KTX or PVR file");
    }
    if (file.fileBytes > kMaxFileBytes) throw FileError(file.path, "is 4 GiB or larger");

    ImageHandle image = Texture_Call(file, loaders);
    if (image == nullptr || image->pixels == nullptr) {
        throw FileError(file.path, Diagnosis_ExplainFailure(file));
    }
    return image;
}

}  // namespace koru_host
