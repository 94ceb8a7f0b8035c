// What the program says: results on standard output, problems and progress on standard error.
#pragma once

#include <filesystem>
#include <string_view>

namespace koru_host {

/// To be called before anything is printed.
void Console_Prepare();

/// `text` is UTF-8 and reaches a Windows console as such.
void Console_Print(std::string_view text);
void Console_PrintError(std::string_view text);

/// "korutex: FILE: reason", one line.
void Console_ReportFile(const std::filesystem::path& file, std::string_view reason);
/// "korutex: FILE: warning: text", one line.
void Console_WarnOfFile(const std::filesystem::path& file, std::string_view text);

bool Console_IsErrorTerminal();

/// False when something that was printed did not reach standard output.
bool Console_Finish();

}  // namespace koru_host
