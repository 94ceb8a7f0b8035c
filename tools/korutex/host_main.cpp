// The program "korutex": texture files in, pictures out.

#include <exception>
#include <string>
#include <variant>
#include <vector>

#include "child_process.h"
#include "command_line.h"
#include "convert_command.h"
#include "convert_plan.h"
#include "host_console.h"
#include "host_paths.h"
#include "info_command.h"
#include "utf_text.h"
#include "worker_pool.h"

namespace koru_host {
namespace {

struct CommandRunner {
    int operator()(const ConvertOptions& options) const { return Convert_Run(options); }
    int operator()(const InfoOptions& options) const { return Info_Run(options); }
    int operator()(const PrintOptions& options) const {
        Console_Print(options.text);
        return options.exitCode;
    }
};

int Host_Run(const std::vector<std::string>& arguments) {
    Console_Prepare();
    if (arguments.size() == 1 && arguments[0] == kWorkerArgument) return Worker_Run();
    const int exitCode = std::visit(CommandRunner{}, CommandLine_Parse(arguments));
    if (!Console_Finish()) {
        Console_PrintError("korutex: standard output: cannot be written\n");
        return kExitFailure;
    }
    return exitCode;
}

int Host_RunGuarded(const std::vector<std::string>& arguments) noexcept {
    try {
        return Host_Run(arguments);
    } catch (const UsageError& error) {
        Console_PrintError("korutex: " + std::string(error.what()) + '\n');
        return kExitUsage;
    } catch (const std::bad_alloc&) {
        Console_PrintError("korutex: out of memory\n");
    } catch (const std::exception& error) {
        Console_PrintError("korutex: " + Text_MakePrintable(error.what()) + '\n');
    }
    return kExitFailure;
}

}  // namespace
}  // namespace koru_host

#if defined(_WIN32)

int wmain(int argumentCount, wchar_t** arguments) {
    std::vector<std::string> texts;
    for (int i = 1; i < argumentCount; ++i) {
        texts.push_back(koru_host::Paths_ToText(std::filesystem::path(arguments[i])));
    }
    return koru_host::Host_RunGuarded(texts);
}

#else

int main(int argumentCount, char** arguments) {
    return koru_host::Host_RunGuarded({arguments + 1, arguments + argumentCount});
}

#endif
