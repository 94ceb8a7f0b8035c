#include "host_console.h"

#include <cerrno>
#include <cstdio>
#include <string>

#include "host_paths.h"
#include "utf_text.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#endif

namespace koru_host {
namespace {

bool g_outputFailed = false;

#if defined(_WIN32)

HANDLE Console_GetTerminal(DWORD which) {
    const HANDLE handle = GetStdHandle(which);
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != 0 ? handle : nullptr;
}

/// False when `which` is no console.
bool Console_PrintToTerminal(DWORD which, std::string_view text) {
    const HANDLE terminal = Console_GetTerminal(which);
    if (terminal == nullptr) return false;
    const auto units = Utf16_FromUtf8(text, LoneSurrogates::Allow);
    if (!units) return false;
    DWORD written = 0;
    return WriteConsoleW(terminal, units->data(), static_cast<DWORD>(units->size()), &written,
                         nullptr) != 0;
}

#endif

bool Console_PrintToFile(std::FILE* file, std::string_view text) {
    return std::fwrite(text.data(), 1, text.size(), file) == text.size() && std::fflush(file) == 0;
}

}  // namespace

void Console_Prepare() {
#if defined(_WIN32)
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
#else
    // A missing standard descriptor would be given to the next file that is opened.
    int descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = dup(descriptor);
    if (descriptor > STDERR_FILENO) close(descriptor);
    // A reader that goes away and a file that may not grow are errors to report, not to die of.
    (void)std::signal(SIGPIPE, SIG_IGN);
    (void)std::signal(SIGXFSZ, SIG_IGN);
#endif
}

void Console_Print(std::string_view text) {
#if defined(_WIN32)
    if (Console_PrintToTerminal(STD_OUTPUT_HANDLE, text)) return;
#endif
    if (!Console_PrintToFile(stdout, text)) g_outputFailed = true;
}

void Console_PrintError(std::string_view text) {
#if defined(_WIN32)
    if (Console_PrintToTerminal(STD_ERROR_HANDLE, text)) return;
#endif
    Console_PrintToFile(stderr, text);
}

void Console_ReportFile(const std::filesystem::path& file, std::string_view reason) {
    Console_PrintError("korutex: " + Paths_ToPrintable(file) + ": " + std::string(reason) + '\n');
}

void Console_WarnOfFile(const std::filesystem::path& file, std::string_view text) {
    Console_ReportFile(file, "warning: " + std::string(text));
}

bool Console_IsErrorTerminal() {
#if defined(_WIN32)
    return Console_GetTerminal(STD_ERROR_HANDLE) != nullptr;
#else
    return isatty(STDERR_FILENO) == 1;
#endif
}

bool Console_Finish() { return !g_outputFailed; }

}  // namespace koru_host
