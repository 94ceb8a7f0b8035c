#include "info_command.h"

#include <cstdint>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "container_probe.h"
#include "file_error.h"
#include "host_console.h"
#include "host_paths.h"
#include "load_diagnosis.h"
#include "texture_loader.h"

namespace koru_host {
namespace {

/// What is known of a file; `error` is empty when it loads.
struct FileInfo {
    std::filesystem::path path;
    std::optional<std::uint64_t> fileBytes;
    Container container = Container::Unknown;
    std::optional<AstcSizes> astc;
    std::optional<KORU_Image> record;  ///< a copy for its numbers; `pixels` is null
    std::string error;
    std::string warning;
};

FileInfo Info_Collect(const std::filesystem::path& path) {
    FileInfo info;
    info.path = path;
    try {
        const TextureFile file = Texture_Open(path);
        info.fileBytes = file.fileBytes;
        info.container = file.container;
        if (file.container == Container::Astc) info.astc = Container_ReadAstcSizes(file.head);
        const ImageHandle image = Texture_Load(file);
        info.record = *image;
        info.record->pixels = nullptr;
        info.warning = Diagnosis_FindWarning(file);
    } catch (const FileError& error) {
        info.error = error.what();
    } catch (const std::bad_alloc&) {
        info.error = "cannot be decoded: out of memory";
    }
    return info;
}

std::string Info_FormatSize(const FileInfo& info) {
    const auto join = [](std::uint32_t width, std::uint32_t height) {
        return std::to_string(width) + " x " + std::to_string(height);
    };
    if (info.astc) {
        std::string size = join(info.astc->width, info.astc->height);
        if (info.astc->depth > 1) size += " x " + std::to_string(info.astc->depth);
        return size;
    }
    if (info.record) return join(info.record->width, info.record->height);
    return {};
}

std::string Info_FormatRecord(const KORU_Image& record) {
    return std::string(record.bytesPerPixel == 4 ? "RGBA" : "RGB") + ", " +
           std::to_string(record.bitsPerChannel) + " bits per channel, stride " +
           std::to_string(record.stride) + ", " + std::to_string(record.dataSize) + " bytes";
}

std::string Info_FormatText(const FileInfo& info) {
    std::string text = Paths_ToPrintable(info.path) + '\n';
    const auto append = [&text](std::string_view caption, const std::string& value) {
        constexpr std::size_t kCaptionWidth = 11;
        if (value.empty()) return;
        text += "  ";
        text += caption;
        text.append(kCaptionWidth - caption.size(), ' ');
        text += value + '\n';
    };
    append("container", Container_GetName(info.container));
    append("size", Info_FormatSize(info));
    append("blocks", info.astc ? "ASTC " + Container_GetFootprint(*info.astc) : "");
    append("record", info.record ? Info_FormatRecord(*info.record) : "");
    append("file", std::to_string(info.fileBytes.value_or(0)) + " bytes");
    append("loads", info.record ? "yes" : "no");
    return text;
}

nlohmann::ordered_json Info_FormatJson(const FileInfo& info) {
    // Every object has every key, so that a reader need not ask which are there.
    nlohmann::ordered_json object;
    object["file"] = Paths_ToText(info.path);
    object["container"] = nullptr;
    object["fileBytes"] = nullptr;
    object["width"] = nullptr;
    object["height"] = nullptr;
    object["depth"] = nullptr;
    object["blockFootprint"] = nullptr;
    object["loads"] = info.record.has_value();
    object["record"] = nullptr;
    object["error"] = nullptr;
    object["warning"] = nullptr;

    if (info.container != Container::Unknown) {
        object["container"] = Container_GetName(info.container);
    }
    if (info.fileBytes) object["fileBytes"] = *info.fileBytes;
    if (info.astc) {
        object["width"] = info.astc->width;
        object["height"] = info.astc->height;
        object["depth"] = info.astc->depth;
        object["blockFootprint"] = Container_GetFootprint(*info.astc);
    } else if (info.record) {
        object["width"] = info.record->width;
        object["height"] = info.record->height;
        object["depth"] = 1;
    }
    if (info.record) {
        object["record"] = {{"width", info.record->width},
                            {"height", info.record->height},
                            {"bitsPerPixel", info.record->bitsPerPixel},
                            {"bytesPerPixel", info.record->bytesPerPixel},
                            {"bitsPerChannel", info.record->bitsPerChannel},
                            {"stride", info.record->stride},
                            {"dataSize", info.record->dataSize}};
    }
    if (!info.error.empty()) object["error"] = info.error;
    if (!info.warning.empty()) object["warning"] = info.warning;
    return object;
}

}  // namespace

int Info_Run(const InfoOptions& options) {
    auto array = nlohmann::ordered_json::array();
    bool isFirst = true;
    int exitCode = kExitSuccess;
    for (const std::filesystem::path& path : options.files) {
        const FileInfo info = Info_Collect(path);
        if (options.asJson) {
            array.push_back(Info_FormatJson(info));
        } else if (info.container != Container::Unknown) {
            if (!isFirst) Console_Print("\n");
            Console_Print(Info_FormatText(info));
            isFirst = false;
        }
        if (!info.warning.empty()) Console_WarnOfFile(path, info.warning);
        if (!info.error.empty()) {
            Console_ReportFile(path, info.error);
            exitCode = kExitFailure;
        }
    }
    if (options.asJson) {
        // A file name need not be UTF-8.
        Console_Print(array.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) +
                      '\n');
    }
    return exitCode;
}

}  // namespace koru_host
