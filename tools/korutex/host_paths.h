// Paths as arguments name them, as the library wants them, and as people read them.
#pragma once

#include <korutex.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace koru_host {

/// A path from the UTF-8 of an argument. On Linux the bytes count, whatever they mean.
std::filesystem::path Paths_FromText(std::string_view text);

/// The inverse of Paths_FromText.
std::string Paths_ToText(const std::filesystem::path& path);

/// The ending of a file name with its dot, in small letters: ".png".
std::string Paths_GetEnding(const std::filesystem::path& path);

/// The files that an argument means. Windows shells leave patterns (*, ?) to the program; a pattern
/// without a match stands for itself.
std::vector<std::filesystem::path> Paths_ExpandPattern(const std::filesystem::path& path);

/// The path for a message: one line, nothing a terminal would obey.
std::string Paths_ToPrintable(const std::filesystem::path& path);

/// The path as the library takes it; nothing when it cannot be said in UTF-16.
std::optional<std::basic_string<KORU_Char>> Paths_ToLibrary(const std::filesystem::path& path);

/// The one name of a file that has many: absolute, links followed as far as they exist.
std::filesystem::path Paths_GetIdentity(const std::filesystem::path& path);

/// Orders identities, ignoring case where the system does.
struct PathOrder {
    bool operator()(const std::filesystem::path& a, const std::filesystem::path& b) const;
};

/// The file that writing to `path` would change or make: a link's target, otherwise `path` itself.
/// Links that lead in a circle stay as they are.
std::filesystem::path Paths_FollowLink(const std::filesystem::path& path);

/// A name in the same folder that no other process and no earlier call has used.
std::filesystem::path Paths_MakeTemporaryBeside(const std::filesystem::path& path);

/// An error code in plain words, on one line.
std::string Paths_DescribeError(std::error_code error);

}  // namespace koru_host
