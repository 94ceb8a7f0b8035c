// Decides which picture file each input becomes.
#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
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

/// `output` is a file, a folder, or empty for pictures beside their inputs.
/// Throws UsageError when outputs would meet each other or an input.
ConvertPlan Convert_MakePlan(const std::vector<std::filesystem::path>& inputs,
                             const std::filesystem::path& output, bool dropAlpha);

}  // namespace koru_host
