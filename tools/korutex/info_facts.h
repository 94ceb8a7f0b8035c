// What is known of one file.
#pragma once

#include <korutex.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "container_probe.h"
#include "texture_loader.h"

namespace koru_host {

/// `error` is empty when the file loads.
struct FileInfo {
    std::filesystem::path path;
    std::optional<TextureFile> file;
    std::optional<AstcSizes> astc;
    std::optional<KORU_Image> record;  ///< a copy for its numbers; `pixels` is null
    std::string error;
    std::vector<std::string> warnings;

    Container GetContainer() const { return file ? file->container : Container::Unknown; }
    const WrapperInspection* GetWrapper() const {
        return file && file->wrapper ? &*file->wrapper : nullptr;
    }
    const KtxFacts* GetKtx() const {
        const KtxInspection* ktx = file ? file->GetKtx() : nullptr;
        return ktx != nullptr && ktx->facts ? &*ktx->facts : nullptr;
    }
    const PvrFacts* GetPvr() const {
        return file && file->pvr && file->pvr->facts ? &*file->pvr->facts : nullptr;
    }
    const PngFacts* GetPng() const { return file && file->png ? &*file->png : nullptr; }
};

}  // namespace koru_host
