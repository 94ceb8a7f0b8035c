// What is known of a file, in lines for people.
#pragma once

#include <string>

#include "info_facts.h"

namespace koru_host {

std::string Info_FormatText(const FileInfo& info);

}  // namespace koru_host
