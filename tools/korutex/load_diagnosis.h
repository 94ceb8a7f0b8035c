// Tells people what the library's results leave open: why a file does not load, and what is odd
// about one that does.
#pragma once

#include <string>
#include <vector>

#include "texture_loader.h"

namespace koru_host {

/// Why the library refused the file: "cannot be decoded", with the reason where it is known.
std::string Diagnosis_ExplainFailure(const TextureFile& file);

/// What is odd about the picture of a file that loads, one line each; mostly nothing.
std::vector<std::string> Diagnosis_FindWarnings(const TextureFile& file);

}  // namespace koru_host
