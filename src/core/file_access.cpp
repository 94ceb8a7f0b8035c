#include "core/file_access.h"

#include <array>
#include <cerrno>
#include <limits>

#include "core/bytes.h"

#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstddef>

#include "core/byte_buffer.h"
#endif

namespace koru {
namespace {

#if defined(_WIN32)

std::FILE* OpenStream(const KORU_Char* path, FileMode mode) noexcept {
    return _wfopen(path, mode == FileMode::Read ? L"rb" : L"wb");
}

int SeekStream(std::FILE* file, std::int64_t offset, int origin) noexcept {
    return _fseeki64(file, offset, origin);
}

std::int64_t TellStream(std::FILE* file) noexcept { return _ftelli64(file); }

#else

constexpr bool IsHighSurrogate(char16_t unit) noexcept { return (unit & 0xFC00u) == 0xD800u; }
constexpr bool IsLowSurrogate(char16_t unit) noexcept { return (unit & 0xFC00u) == 0xDC00u; }

/// The path as zero-terminated UTF-8; empty for a lone surrogate or without memory.
ByteBuffer ToUtf8(const char16_t* path) noexcept {
    constexpr std::size_t kBytesPerUnit = 3;     // a pair of units needs 4, fewer than 2 * 3
    constexpr std::size_t kMostUnits = 0x10000;  // longer than any file system allows
    std::size_t unitCount = 0;
    while (path[unitCount] != 0) {
        if (++unitCount > kMostUnits) return {};
    }
    ByteBuffer utf8 =
        ByteBuffer::Allocate(static_cast<std::uint32_t>(unitCount * kBytesPerUnit + 1));
    if (!utf8) return {};
    std::uint8_t* target = utf8.Data();
    const auto put = [&target](std::uint32_t value) {
        *target++ = static_cast<std::uint8_t>(value);
    };
    for (std::size_t i = 0; i < unitCount; ++i) {
        std::uint32_t point = path[i];
        if (IsHighSurrogate(path[i]) && IsLowSurrogate(path[i + 1])) {
            point = 0x10000u + ((point & 0x3FFu) << 10) + (path[++i] & 0x3FFu);
        } else if (IsHighSurrogate(path[i]) || IsLowSurrogate(path[i])) {
            return {};
        }
        if (point < 0x80u) {
            put(point);
        } else if (point < 0x800u) {
            put(0xC0u | point >> 6);
            put(0x80u | (point & 0x3Fu));
        } else if (point < 0x10000u) {
            put(0xE0u | point >> 12);
            put(0x80u | (point >> 6 & 0x3Fu));
            put(0x80u | (point & 0x3Fu));
        } else {
            put(0xF0u | point >> 18);
            put(0x80u | (point >> 12 & 0x3Fu));
            put(0x80u | (point >> 6 & 0x3Fu));
            put(0x80u | (point & 0x3Fu));
        }
    }
    put(0);
    return utf8;
}

/// Only regular files have the size that reading begins with. Opening waits neither for the other
/// end of a pipe nor for a device.
std::FILE* OpenForReading(const char* path) noexcept {
    constexpr int kFlags = O_RDONLY | O_NOCTTY | O_CLOEXEC;
    int descriptor = open(path, kFlags | O_NONBLOCK);
    // A regular file that another process has leased, which it will now give back.
    if (descriptor < 0 && errno == EWOULDBLOCK) descriptor = open(path, kFlags);
    if (descriptor < 0) return nullptr;
    struct stat status {};
    std::FILE* file = nullptr;
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) file = fdopen(descriptor, "rb");
    if (file == nullptr) close(descriptor);
    return file;
}

std::FILE* OpenStream(const KORU_Char* path, FileMode mode) noexcept {
    const ByteBuffer utf8 = ToUtf8(path);
    if (!utf8) return nullptr;
    const char* const name = reinterpret_cast<const char*>(utf8.Data());
    // A stream without memory must not touch an old file, so fopen it is: its memory comes first.
    return mode == FileMode::Read ? OpenForReading(name) : std::fopen(name, "wb");
}

int SeekStream(std::FILE* file, std::int64_t offset, int origin) noexcept {
    return fseeko(file, static_cast<off_t>(offset), origin);
}

std::int64_t TellStream(std::FILE* file) noexcept { return ftello(file); }

#endif

}  // namespace

FileHandle File_Open(const KORU_Char* path, FileMode mode) noexcept {
    FileHandle file(OpenStream(path, mode));
    if (file != nullptr && std::setvbuf(file.get(), nullptr, _IONBF, 0) != 0) file.reset();
    return file;
}

std::optional<std::uint32_t> File_GetSize(std::FILE* file) noexcept {
    if (SeekStream(file, 0, SEEK_END) != 0) return std::nullopt;
    const std::int64_t size = TellStream(file);
    if (size < 0 || size > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    if (SeekStream(file, 0, SEEK_SET) != 0) return std::nullopt;
    return static_cast<std::uint32_t>(size);
}

bool File_Read(std::FILE* file, std::span<std::uint8_t> bytes) noexcept {
    return std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

bool File_Write(std::FILE* file, std::span<const std::uint8_t> bytes) noexcept {
    // An item of no bytes is none; the stream may not see the null pointer of an empty span.
    return !bytes.empty() && std::fwrite(bytes.data(), bytes.size(), 1, file) == 1;
}

bool File_WriteLe32(std::FILE* file, std::uint32_t value) noexcept {
    std::array<std::uint8_t, 4> bytes{};
    Bytes_StoreLe32<0>(std::span<std::uint8_t, 4>(bytes), value);
    return File_Write(file, bytes);
}

}  // namespace koru
