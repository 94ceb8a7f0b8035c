// What the user asks for.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

#include "convert_plan.h"

namespace koru_host {

inline constexpr int kExitSuccess = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

struct ConvertOptions {
    std::vector<std::filesystem::path> inputs;
    ConvertTarget target;
    bool dropAlpha = false;
    std::size_t workerCount = 1;  ///< 0: one for each CPU
};

struct InfoOptions {
    std::vector<std::filesystem::path> files;
    bool asJson = false;
};

/// Help or a version to print, and the exit code after it.
struct PrintOptions {
    std::string text;
    int exitCode = kExitSuccess;
};

using CommandLine = std::variant<ConvertOptions, InfoOptions, PrintOptions>;

/// `arguments` are UTF-8, without the program's name. Throws UsageError.
CommandLine CommandLine_Parse(const std::vector<std::string>& arguments);

}  // namespace koru_host
