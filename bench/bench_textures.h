// The files that are loaded, in memory and in a temporary folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "bench_formats.h"

namespace koru_bench {

enum class Data {
    Natural,  ///< A drawn landscape with hard edges and some transparency.
    Smooth,   ///< Slow gradients.
    Random,   ///< Random bytes.
};
std::string_view Data_GetName(Data data);

constexpr std::uint32_t kPictureSide = 1024;  ///< Of the pictures in the build tree.

/// A square texture. What it holds is made when it is first asked for, and only then.
class Texture {
  public:
    Texture(const Format& format, std::uint32_t side, Data data)
        : format_(format), side_(side), data_(data) {}
    ~Texture();
    Texture(const Texture&) = delete;
    Texture& operator=(const Texture&) = delete;

    [[nodiscard]] std::span<const std::uint8_t> GetFile();
    /// Its blocks, without what files of some formats are padded with.
    [[nodiscard]] std::span<const std::uint8_t> GetPayload();

    /// The same file on disk, in the page cache.
    [[nodiscard]] const std::filesystem::path& GetPath();

  private:
    const Format& format_;
    std::uint32_t side_;
    Data data_;
    std::vector<std::uint8_t> file_;
    std::size_t headerBytes_ = 0;
    std::filesystem::path path_;
};

}  // namespace koru_bench
