#include "host_paths.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <random>

#include "utf_text.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace koru_host {

namespace fs = std::filesystem;

#if defined(_WIN32)

fs::path Paths_FromText(std::string_view text) {
    const auto units = Utf16_FromUtf8(text, LoneSurrogates::Allow);
    if (!units) return fs::path(text);
    return fs::path(std::wstring(units->begin(), units->end()));
}

std::string Paths_ToText(const fs::path& path) {
    const std::wstring& wide = path.native();
    return Utf8_FromUtf16(std::u16string(wide.begin(), wide.end()));
}

std::optional<std::basic_string<KORU_Char>> Paths_ToLibrary(const fs::path& path) {
    return path.native();
}

std::vector<fs::path> Paths_ExpandPattern(const fs::path& path) {
    std::vector<fs::path> matches;
    if (path.filename().native().find_first_of(L"*?") != std::wstring::npos) {
        WIN32_FIND_DATAW entry{};
        const HANDLE search = FindFirstFileW(path.c_str(), &entry);
        if (search != INVALID_HANDLE_VALUE) {
            do {
                if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
                matches.push_back(path.parent_path() / entry.cFileName);
            } while (FindNextFileW(search, &entry) != 0);
            FindClose(search);
        }
    }
    if (matches.empty()) return {path};
    std::sort(matches.begin(), matches.end(), PathOrder{});
    return matches;
}

bool PathOrder::operator()(const fs::path& a, const fs::path& b) const {
    return CompareStringOrdinal(a.c_str(), -1, b.c_str(), -1, TRUE) == CSTR_LESS_THAN;
}

#else

fs::path Paths_FromText(std::string_view text) { return {text}; }

std::string Paths_ToText(const fs::path& path) { return path.native(); }

std::optional<std::basic_string<KORU_Char>> Paths_ToLibrary(const fs::path& path) {
    return Utf16_FromUtf8(path.native(), LoneSurrogates::Refuse);
}

std::vector<fs::path> Paths_ExpandPattern(const fs::path& path) { return {path}; }

bool PathOrder::operator()(const fs::path& a, const fs::path& b) const {
    return a.native() < b.native();
}

#endif

std::string Paths_GetEnding(const fs::path& path) {
    std::string ending = Paths_ToText(path.extension());
    std::ranges::transform(ending, ending.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return ending;
}

std::string Paths_ToPrintable(const fs::path& path) {
    return Text_MakePrintable(Paths_ToText(path));
}

fs::path Paths_GetIdentity(const fs::path& path) {
    std::error_code error;
    fs::path identity = fs::absolute(path, error);
    if (error) return path.lexically_normal();
    fs::path resolved = fs::weakly_canonical(identity, error);
    if (error) return identity.lexically_normal();
    return resolved.make_preferred();
}

fs::path Paths_FollowLink(const fs::path& path) {
    // Link by link: the last one may name a file that is still to be made, which canonical refuses.
    constexpr int kMaxLinks = 40;  // as many as Linux follows
    fs::path target = path;
    for (int i = 0; i <= kMaxLinks; ++i) {
        std::error_code error;
        if (!fs::is_symlink(fs::symlink_status(target, error))) return target;
        const fs::path next = fs::read_symlink(target, error);
        if (error) return path;
        target = target.parent_path() / next;
    }
    return path;
}

fs::path Paths_MakeTemporaryBeside(const fs::path& path) {
    static const std::uint64_t processTag = [] {
        std::random_device device;
        return std::uint64_t{device()} << 32 | device();
    }();
    static std::atomic<std::uint32_t> callCount{0};

    std::array<char, 16> digits{};
    std::string name = ".korutex-";
    const auto append = [&](std::uint64_t number) {
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16);
        name.append(digits.data(), end.ptr);
    };
    append(processTag);
    name += '-';
    append(++callCount);
    name += ".tmp";
    return path.parent_path() / name;
}

std::string Paths_DescribeError(std::error_code error) {
    // The portable wording is in plain ASCII; the system's may be in any language and code page.
    const std::error_condition condition = error.default_error_condition();
    std::string text = condition.category() == std::generic_category()
                           ? std::generic_category().message(condition.value())
                           : error.message();
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == '.')) {
        text.pop_back();
    }
    return Text_MakePrintable(text);
}

}  // namespace koru_host
