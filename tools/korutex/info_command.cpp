#include "info_command.h"

#include <new>
#include <nlohmann/json.hpp>
#include <string>

#include "file_error.h"
#include "host_console.h"
#include "info_facts.h"
#include "info_json.h"
#include "info_text.h"
#include "load_diagnosis.h"
#include "texture_loader.h"

namespace koru_host {
namespace {

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

}  // namespace

int Info_Run(const InfoOptions& options) {
    auto array = nlohmann::ordered_json::array();
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
        Console_Print(array.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) +
                      '\n');
    }
    return exitCode;
}

}  // namespace koru_host
