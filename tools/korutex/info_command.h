// The command "info".
#pragma once

#include "command_line.h"

namespace koru_host {

/// Returns the exit code.
int Info_Run(const InfoOptions& options);

}  // namespace koru_host
