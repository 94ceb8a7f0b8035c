// Opens texture files: the checks that give a user a reason, and the library call itself.
#pragma once

#include <korutex.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "container_probe.h"
#include "ktx_inspection.h"

namespace koru_host {

struct ImageDeleter {
    void operator()(KORU_Image* image) const noexcept { KORU_Delete_Image(image); }
};
using ImageHandle = std::unique_ptr<KORU_Image, ImageDeleter>;

/// A file that exists, is not empty and can be read.
struct TextureFile {
    std::filesystem::path path;
    std::uint64_t fileBytes = 0;
    std::vector<std::uint8_t> head;  ///< the first kContainerProbeBytes, or the whole file
    Container container = Container::Unknown;
    std::optional<KtxInspection> ktx;  ///< of a KTX file, once Texture_Load has read it
};

/// Throws FileError when there is no such readable file. Any content will do.
TextureFile Texture_Open(const std::filesystem::path& path);

/// Loads the image as RGBA: then the result depends on no earlier load. Throws FileError;
/// `file.ktx` is there also when the library refuses the file.
ImageHandle Texture_Load(TextureFile& file);

}  // namespace koru_host
