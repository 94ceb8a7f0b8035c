// A file without a place in any folder, for what takes a path. Linux only.
#pragma once

#include <korutex.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "fuzz_check.h"

class MemoryFile {
  public:
    MemoryFile() : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
        Fuzz_Require(descriptor_ >= 0, "a file in memory can be made");
        const std::string path = "/proc/self/fd/" + std::to_string(descriptor_);
        path_.assign(path.begin(), path.end());
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    /// Always the same one.
    [[nodiscard]] const KORU_Char* GetPath() const { return path_.c_str(); }

    void Replace(std::span<const std::uint8_t> bytes) const {
        Fuzz_Require(ftruncate(descriptor_, 0) == 0, "a file can be cut");
        const ssize_t count = pwrite(descriptor_, bytes.data(), bytes.size(), 0);
        Fuzz_Require(count == static_cast<ssize_t>(bytes.size()), "a file can be written");
    }
    [[nodiscard]] std::vector<std::uint8_t> Read() const {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(lseek(descriptor_, 0, SEEK_END)));
        const ssize_t count = pread(descriptor_, bytes.data(), bytes.size(), 0);
        Fuzz_Require(count == static_cast<ssize_t>(bytes.size()), "a file can be read");
        return bytes;
    }

  private:
    int descriptor_;
    std::u16string path_;
};
