// The failure of one file, in words for the user.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>

namespace koru_host {

class FileError : public std::runtime_error {
  public:
    FileError(std::filesystem::path file, const std::string& reason)
        : std::runtime_error(reason), file_(std::move(file)) {}

    const std::filesystem::path& GetFile() const noexcept { return file_; }

  private:
    std::filesystem::path file_;
};

}  // namespace koru_host
