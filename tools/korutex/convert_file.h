// Converts one file to another: a texture or PNG picture to a picture or texture.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace koru_host {

struct ConvertJob {
    std::filesystem::path input;
    std::filesystem::path output;     ///< as the user knows it; its ending says the format
    std::filesystem::path target;     ///< the file to replace: `output`, or what it links to
    std::filesystem::path temporary;  ///< an unused name beside `target`
    bool dropAlpha = false;
};

struct ConvertOutcome {
    bool isConverted = false;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::filesystem::path failedFile{};   ///< the input or the output
    std::string reason{};                 ///< why it failed, for people
    std::vector<std::string> warnings{};  ///< what is odd about a converted input
};

/// Never throws for a reason that lies in the files. `temporary` is gone afterwards.
ConvertOutcome Convert_File(const ConvertJob& job);

}  // namespace koru_host
