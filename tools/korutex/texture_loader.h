// Opens texture files: the checks that give a user a reason, and the library call itself.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "container_probe.h"
#include "image_handle.h"
#include "ktx_inspection.h"
#include "png_reader.h"
#include "pvr_inspection.h"
#include "wrapper_inspection.h"

namespace koru_host {

/// A file that exists, is not empty and can be read.
struct TextureFile {
    std::filesystem::path path;
    std::uint64_t fileBytes = 0;
    std::vector<std::uint8_t> head;  ///< the first kContainerProbeBytes, or the whole file
    Container container = Container::Unknown;

    // Of a file of that kind, once Texture_Load has read it.
    std::optional<KtxInspection> ktx;
    std::optional<WrapperInspection> wrapper;
    std::optional<PvrInspection> pvr;
    std::optional<PngFacts> png;

    /// The KTX file itself, or the one in the wrapper; null for other files.
    const KtxInspection* GetKtx() const {
        if (ktx) return &*ktx;
        const bool isWrapped = wrapper && wrapper->refusal == WrapperRefusal::None;
        return isWrapped ? &wrapper->ktx : nullptr;
    }
};

/// Throws FileError when there is no such readable file. Any content will do.
TextureFile Texture_Open(const std::filesystem::path& path);

/// Loads the image as RGBA, a PNG picture without alpha as RGB. The result depends on no earlier
/// load. Throws FileError; what is known of the file is there also when the library refuses it.
ImageHandle Texture_Load(TextureFile& file);

}  // namespace koru_host
