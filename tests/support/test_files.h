// Files for tests: a folder of their own, bytes in and out, paths as the library takes them.
#pragma once

#include <korutex.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

using KoruPath = std::basic_string<KORU_Char>;
using Bytes = std::vector<std::uint8_t>;

/// The path as zero-terminated UTF-16.
KoruPath Test_ToKoruPath(const std::filesystem::path& path);

/// All bytes of a file; a test failure and no bytes if it cannot be read.
Bytes Test_ReadFile(const std::filesystem::path& path);

/// Writes a file, replacing an old one.
void Test_WriteFile(const std::filesystem::path& path, const Bytes& bytes);

/// A new empty folder below the system's temporary one, removed with its contents at the end.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    std::filesystem::path operator/(const std::filesystem::path& name) const {
        return folder_ / name;
    }

  private:
    std::filesystem::path folder_;
};
