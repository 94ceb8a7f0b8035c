#include "replacing_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>

#include <csignal>
#endif

namespace koru_host {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxWriteBytes = std::size_t{1} << 30;  // fits the int of Windows

[[noreturn]] void Errno_Throw() { throw std::system_error(errno, std::generic_category()); }

#if defined(_WIN32)

int Descriptor_Create(const fs::path& path) {
    return _wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT,
                  _S_IREAD | _S_IWRITE);
}
std::int64_t Descriptor_Write(int descriptor, std::span<const std::uint8_t> bytes) {
    return _write(descriptor, bytes.data(), static_cast<unsigned>(bytes.size()));
}
int Descriptor_Flush(int descriptor) { return _commit(descriptor); }
int Descriptor_Close(int descriptor) { return _close(descriptor); }

/// False for a file with the read-only attribute.
bool File_IsWritable(const fs::path& path) {
    constexpr int kWriteAccess = 2;
    return _waccess(path.c_str(), kWriteAccess) == 0;
}

void Interrupts_Hold() {}
void Interrupts_Release() noexcept {}

#else

int Descriptor_Create(const fs::path& path) {
    return open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
}
std::int64_t Descriptor_Write(int descriptor, std::span<const std::uint8_t> bytes) {
    return write(descriptor, bytes.data(), bytes.size());
}
int Descriptor_Flush(int descriptor) { return fsync(descriptor); }
int Descriptor_Close(int descriptor) { return close(descriptor); }

bool File_IsWritable(const fs::path& path) {
    return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

sigset_t Interrupts_GetSet() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&signals, signal);
    return signals;
}
void Interrupts_Hold() {
    const sigset_t signals = Interrupts_GetSet();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}
void Interrupts_Release() noexcept {
    const sigset_t signals = Interrupts_GetSet();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

#endif

}  // namespace

ReplacingFile::ReplacingFile(fs::path target, fs::path temporary)
    : target_(std::move(target)), temporary_(std::move(temporary)) {
    const fs::file_status status = fs::status(target_);
    if (fs::is_directory(status)) {
        throw std::system_error(std::make_error_code(std::errc::is_a_directory));
    }
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        // Renaming would put a file in the place of a device or a pipe.
        throw std::system_error(std::make_error_code(std::errc::invalid_argument));
    }
    // The rename would ask the folder for permission only.
    if (fs::exists(status) && !File_IsWritable(target_)) Errno_Throw();
}

ReplacingFile::~ReplacingFile() {
    if (descriptor_ >= 0) Descriptor_Close(descriptor_);
    if (isTemporaryThere_) {
        std::error_code ignored;
        fs::remove(temporary_, ignored);
        Interrupts_Release();
    }
}

void ReplacingFile::Open() {
    Interrupts_Hold();
    descriptor_ = Descriptor_Create(temporary_);
    if (descriptor_ < 0) {
        const int code = errno;
        Interrupts_Release();
        throw std::system_error(code, std::generic_category());
    }
    isTemporaryThere_ = true;
#if !defined(_WIN32)
    // The new file is as private as the old one. On Windows the folder decides.
    std::error_code error;
    const fs::file_status status = fs::status(target_, error);
    if (fs::is_regular_file(status)) fs::permissions(temporary_, status.permissions(), error);
#endif
}

void ReplacingFile::Write(std::span<const std::uint8_t> bytes) {
    if (!isTemporaryThere_) Open();
    while (!bytes.empty()) {
        const auto chunk = bytes.first(std::min(bytes.size(), kMaxWriteBytes));
        const std::int64_t written = Descriptor_Write(descriptor_, chunk);
        if (written < 0) {
            if (errno == EINTR) continue;
            Errno_Throw();
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

void ReplacingFile::WriteByName(const std::function<void(const fs::path&)>& write) {
    if (!isTemporaryThere_) Open();
    write(temporary_);
}

void ReplacingFile::Flush() {
    while (Descriptor_Flush(descriptor_) != 0) {
        if (errno == EINTR) continue;
        // Some file systems cannot flush; the file is as good there as it gets.
        if (errno == EINVAL || errno == ENOTSUP) return;
        Errno_Throw();
    }
}

void ReplacingFile::Commit() {
    Flush();
    if (Descriptor_Close(std::exchange(descriptor_, -1)) != 0) Errno_Throw();
    fs::rename(temporary_, target_);
    isTemporaryThere_ = false;
    Interrupts_Release();
}

}  // namespace koru_host
