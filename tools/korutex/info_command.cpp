#include "info_command.h"

#include <cstdint>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "container_probe.h"
#include "file_error.h"
#include "formats/gl_codes.h"
#include "host_console.h"
#include "host_paths.h"
#include "ktx_inspection.h"
#include "load_diagnosis.h"
#include "texture_loader.h"
#include "utf_text.h"

namespace koru_host {
namespace {

/// What is known of a file; `error` is empty when it loads.
struct FileInfo {
    std::filesystem::path path;
    std::optional<TextureFile> file;
    std::optional<AstcSizes> astc;
    std::optional<KORU_Image> record;  ///< a copy for its numbers; `pixels` is null
    std::string error;
    std::vector<std::string> warnings;

    Container GetContainer() const { return file ? file->container : Container::Unknown; }
    const KtxFacts* GetKtx() const {
        return file && file->ktx && file->ktx->facts ? &*file->ktx->facts : nullptr;
    }
};

FileInfo Info_Collect(const std::filesystem::path& path) {
    FileInfo info;
    info.path = path;
    try {
        TextureFile& file = info.file.emplace(Texture_Open(path));
        if (file.container == Container::Astc) info.astc = Container_ReadAstcSizes(file.head);
        const ImageHandle image = Texture_Load(file);
        info.record = *image;
        info.record->pixels = nullptr;
        info.warnings = Diagnosis_FindWarnings(file);
    } catch (const FileError& error) {
        info.error = error.what();
    } catch (const std::bad_alloc&) {
        info.error = "cannot be decoded: out of memory";
    }
    return info;
}

std::string Info_FormatSize(const FileInfo& info) {
    const auto join = [](std::uint32_t width, std::uint32_t height, std::uint32_t depth) {
        const std::string size = std::to_string(width) + " x " + std::to_string(height);
        return depth > 1 ? size + " x " + std::to_string(depth) : size;
    };
    if (info.astc) return join(info.astc->width, info.astc->height, info.astc->depth);
    if (const KtxFacts* ktx = info.GetKtx()) return join(ktx->width, ktx->height, ktx->depth);
    if (info.record) return join(info.record->width, info.record->height, 1);
    return {};
}

bool Info_IsKtx20(const KtxFacts& ktx) { return ktx.version == koru::KtxVersion::Ktx20; }

/// Whether a VkFormat is decoded as a GL format.
bool Info_HasGlFormat(const KtxFacts& ktx) {
    return !Info_IsKtx20(ktx) || ktx.glInternalFormat != koru::GL_INVALID_VALUE;
}

/// The format's name, and behind it what else the header says of the pixels.
std::string Info_FormatFormat(const KtxFacts& ktx) {
    std::string format = Ktx_GetFormatName(ktx);
    if (Info_IsKtx20(ktx)) {
        return Info_HasGlFormat(ktx) ? format + " (as " + Ktx_GetGlName(ktx.glInternalFormat) + ')'
                                     : format;
    }
    if (ktx.glType == 0 && ktx.glFormat == 0) return format;
    return format + " (glType " + Ktx_GetGlName(ktx.glType) + ", glFormat " +
           Ktx_GetGlName(ktx.glFormat) + ')';
}

std::string Info_FormatCount(std::uint32_t count) {
    return count > 1 ? std::to_string(count) : std::string();
}

/// Only the first image of several is shown.
std::string Info_FormatImageCount(std::uint32_t count) {
    return count > 1 ? std::to_string(count) + ", the first is shown" : std::string();
}

std::string Info_FormatRecord(const KORU_Image& record) {
    return std::string(record.bytesPerPixel == 4 ? "RGBA" : "RGB") + ", " +
           std::to_string(record.bitsPerChannel) + " bits per channel, stride " +
           std::to_string(record.stride) + ", " + std::to_string(record.dataSize) + " bytes";
}

/// Caption and value; lines without a value are left out.
void Info_AppendLine(std::string& text, std::string_view caption, const std::string& value) {
    constexpr std::size_t kCaptionWidth = 11;
    if (value.empty()) return;
    text += "  ";
    text += caption;
    text.append(kCaptionWidth - caption.size(), ' ');
    text += value + '\n';
}

void Info_AppendKtx(std::string& text, const KtxFacts& ktx) {
    Info_AppendLine(text, "format", Info_FormatFormat(ktx));
    Info_AppendLine(text, "data", Ktx_GetWayName(ktx));
    Info_AppendLine(text, "scheme",
                    ktx.supercompression != 0 ? Ktx_GetSchemeName(ktx.supercompression) : "");
    Info_AppendLine(text, "levels", Info_FormatCount(ktx.levels));
    Info_AppendLine(text, "faces", Info_FormatImageCount(ktx.faces));
    Info_AppendLine(text, "layers", Info_FormatImageCount(ktx.layers));
    Info_AppendLine(text, "direction", Text_MakePrintable(ktx.orientation));
}

std::string Info_FormatText(const FileInfo& info) {
    std::string text = Paths_ToPrintable(info.path) + '\n';
    Info_AppendLine(text, "container", Container_GetName(info.GetContainer()));
    Info_AppendLine(text, "size", Info_FormatSize(info));
    if (info.astc) {
        Info_AppendLine(text, "blocks", "ASTC " + Container_GetFootprint(*info.astc));
    }
    if (const KtxFacts* ktx = info.GetKtx()) Info_AppendKtx(text, *ktx);
    if (info.record) Info_AppendLine(text, "record", Info_FormatRecord(*info.record));
    if (info.file) Info_AppendLine(text, "file", std::to_string(info.file->fileBytes) + " bytes");
    Info_AppendLine(text, "loads", info.record ? "yes" : "no");
    return text;
}

using Json = nlohmann::ordered_json;

/// Empty texts are null.
Json Json_FromText(const std::string& text) { return text.empty() ? Json() : Json(text); }

void Info_FillJson(Json& object, const AstcSizes& astc) {
    object["width"] = astc.width;
    object["height"] = astc.height;
    object["depth"] = astc.depth;
    object["blockFootprint"] = Container_GetFootprint(astc);
    object["way"] = "ASTC " + Container_GetFootprint(astc) + " blocks";
}

/// Numbers are the header's own: 0 where it has no depth, say.
void Info_FillJson(Json& object, const KtxFacts& ktx) {
    object["width"] = ktx.width;
    object["height"] = ktx.height;
    object["depth"] = ktx.depth;
    object["levels"] = ktx.levels;
    object["faces"] = ktx.faces;
    object["layers"] = ktx.layers;
    if (ktx.way.way == koru::KtxWay::Astc) {
        object["blockFootprint"] =
            std::to_string(ktx.blockWidth) + 'x' + std::to_string(ktx.blockHeight);
    }
    object["format"] = Ktx_GetFormatName(ktx);
    if (Info_IsKtx20(ktx)) {
        object["vkFormat"] = ktx.vkFormat;
        object["supercompression"] = Ktx_GetSchemeName(ktx.supercompression);
    } else {
        object["glType"] = ktx.glType;
        object["glFormat"] = ktx.glFormat;
    }
    if (Info_HasGlFormat(ktx)) object["glInternalFormat"] = ktx.glInternalFormat;
    object["typeSize"] = ktx.typeSize;
    object["way"] = Json_FromText(Ktx_GetWayName(ktx));
    object["orientation"] = Json_FromText(ktx.orientation);
}

Json Info_FormatJson(const FileInfo& info) {
    // Every object has every key, so that a reader need not ask which are there.
    Json object;
    object["file"] = Paths_ToText(info.path);
    for (const char* key :
         {"container", "fileBytes", "width", "height", "depth", "levels", "faces", "layers",
          "format", "glInternalFormat", "glType", "glFormat", "vkFormat", "typeSize",
          "supercompression", "way", "blockFootprint", "orientation"}) {
        object[key] = nullptr;
    }
    object["loads"] = info.record.has_value();
    object["record"] = nullptr;
    object["error"] = Json_FromText(info.error);
    object["warning"] = nullptr;

    if (info.GetContainer() != Container::Unknown) {
        object["container"] = Container_GetName(info.GetContainer());
    }
    if (info.file) object["fileBytes"] = info.file->fileBytes;
    if (info.astc) {
        Info_FillJson(object, *info.astc);
    } else if (const KtxFacts* ktx = info.GetKtx()) {
        Info_FillJson(object, *ktx);
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
    std::string joined;
    for (const std::string& warning : info.warnings) {
        joined += (joined.empty() ? "" : "; ") + warning;
    }
    object["warning"] = Json_FromText(joined);
    return object;
}

}  // namespace

int Info_Run(const InfoOptions& options) {
    auto array = Json::array();
    bool isFirst = true;
    int exitCode = kExitSuccess;
    for (const std::filesystem::path& path : options.files) {
        const FileInfo info = Info_Collect(path);
        if (options.asJson) {
            array.push_back(Info_FormatJson(info));
        } else if (info.GetContainer() != Container::Unknown) {
            if (!isFirst) Console_Print("\n");
            Console_Print(Info_FormatText(info));
            isFirst = false;
        }
        for (const std::string& warning : info.warnings) Console_WarnOfFile(path, warning);
        if (!info.error.empty()) {
            Console_ReportFile(path, info.error);
            exitCode = kExitFailure;
        }
    }
    if (options.asJson) {
        // A file name need not be UTF-8.
        Console_Print(array.dump(2, ' ', false, Json::error_handler_t::replace) + '\n');
    }
    return exitCode;
}

}  // namespace koru_host
