// The command "convert".
#pragma once

#include "command_line.h"

namespace koru_host {

/// Returns the exit code. Throws UsageError.
int Convert_Run(const ConvertOptions& options);

}  // namespace koru_host
