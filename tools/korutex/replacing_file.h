// A file that takes its place only when it is complete.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

namespace koru_host {

/// Writes a temporary file and renames it over the target. Until Commit has succeeded, the target
/// is what it was; the temporary goes away with this object. Keyboard interrupts and requests to
/// end wait from the first Write until then.
class ReplacingFile {
  public:
    /// `temporary` must lie in the folder of `target` and must not exist.
    ReplacingFile(std::filesystem::path target, std::filesystem::path temporary);
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;
    ~ReplacingFile();

    /// Throws std::system_error, as Commit does.
    void Write(std::span<const std::uint8_t> bytes);
    void Commit();

  private:
    void Open();

    std::filesystem::path target_;
    std::filesystem::path temporary_;
    int descriptor_ = -1;
    bool isTemporaryThere_ = false;
};

}  // namespace koru_host
