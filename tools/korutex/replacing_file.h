// A file that takes its place only when it is complete.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>

namespace koru_host {

/// Writes a temporary file and renames it over the target. Until Commit has succeeded, the target
/// is what it was; the temporary goes away with this object. A target that exists and that the user
/// may not write is refused, although the rename would succeed. POSIX: keyboard interrupts and
/// requests to end wait from the first Write until the temporary is gone or renamed. Windows: they
/// end the program at once, and the temporary may stay behind; the target is whole all the same.
class ReplacingFile {
  public:
    /// `temporary` must lie in the folder of `target` and must not exist. Throws std::system_error.
    ReplacingFile(std::filesystem::path target, std::filesystem::path temporary);
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;
    ~ReplacingFile();

    /// Throws std::system_error, as Commit does.
    void Write(std::span<const std::uint8_t> bytes);
    /// Has `write` fill the temporary, which is there and empty, by its name. What `write` throws
    /// goes through.
    void WriteByName(const std::function<void(const std::filesystem::path&)>& write);
    /// The bytes are on the disk before the name is, so that a crash of the system leaves the old
    /// file or the new one.
    void Commit();

  private:
    void Open();
    void Flush();

    std::filesystem::path target_;
    std::filesystem::path temporary_;
    int descriptor_ = -1;
    bool isTemporaryThere_ = false;
};

}  // namespace koru_host
