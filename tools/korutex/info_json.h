// What is known of a file, as JSON.
#pragma once

#include <nlohmann/json.hpp>

#include "info_facts.h"

namespace koru_host {

/// Every object has every key, so that a reader need not ask which are there; so have the objects
/// in it. What is not known, or does not apply, is null.
nlohmann::ordered_json Info_FormatJson(const FileInfo& info);

}  // namespace koru_host
