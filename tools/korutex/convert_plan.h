// Decides which file each input becomes.
#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "convert_file.h"

namespace koru_host {

/// A command line that makes no sense; nothing has been written.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct ConvertPlan {
    std::vector<ConvertJob> jobs;                 ///< in the order of the inputs
    std::optional<std::filesystem::path> folder;  ///< to be made if missing
};

/// Where outputs go and what they are.
struct ConvertTarget {
    std::filesystem::path output;  ///< a file, a folder, or empty for files beside their inputs
    std::string ending;            ///< of outputs that are not named, ".png"; may be empty: ".png"
};

/// Two paths may be an input and the output: takes the second away and returns it if it is a new
/// name with an ending that can be written. A file that exists is never taken for an output.
std::filesystem::path Convert_TakeOutput(std::vector<std::filesystem::path>& inputs);

/// Throws UsageError when outputs would meet each other or an input.
ConvertPlan Convert_MakePlan(const std::vector<std::filesystem::path>& inputs,
                             const ConvertTarget& target, bool dropAlpha);

}  // namespace koru_host
