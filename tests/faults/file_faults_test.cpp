// Paths that lead to no ordinary file, files that change while they are read, files too large to
// be read, and outputs that cannot be written: null or 0, without waiting, without a byte that is
// not the file's, and with every descriptor closed.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <korutex.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <utility>

#include "astc_builder.h"
#include "koru_image_ptr.h"
#include "ktx_builder.h"
#include "pvr_builder.h"
#include "test_files.h"
#include "test_records.h"

namespace {

namespace fs = std::filesystem;

/// What happens just before a stream of this process is read or written; given the byte count. A
/// false result leaves the transfer out, as if the file had no bytes or no room.
using TransferHook = std::function<bool(std::size_t byteCount)>;

TransferHook* g_beforeRead = nullptr;
TransferHook* g_beforeWrite = nullptr;

/// Has the hook called while this lives.
class ScopedHook {
  public:
    ScopedHook(TransferHook*& place, TransferHook hook) : place_(place), hook_(std::move(hook)) {
        place_ = &hook_;
    }
    ~ScopedHook() { place_ = nullptr; }
    ScopedHook(const ScopedHook&) = delete;
    ScopedHook& operator=(const ScopedHook&) = delete;

  private:
    TransferHook*& place_;
    TransferHook hook_;
};

template <typename Function>
Function* FindNext(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The library's calls end here, too.
extern "C" {

std::size_t fread(void* target, std::size_t size, std::size_t count, std::FILE* file) {
    static auto* const next = FindNext<decltype(fread)>("fread");
    if (g_beforeRead != nullptr && !(*g_beforeRead)(size * count)) return 0;
    return next(target, size, count, file);
}

std::size_t fwrite(const void* source, std::size_t size, std::size_t count, std::FILE* file) {
    static auto* const next = FindNext<decltype(fwrite)>("fwrite");
    if (g_beforeWrite != nullptr && !(*g_beforeWrite)(size * count)) return 0;
    return next(source, size, count, file);
}

}  // extern "C"

namespace {

std::ptrdiff_t CountDescriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

struct Loader {
    const char* name;
    KORU_Image* (*load)(const KORU_Char*, std::uint32_t);
    Bytes file;  ///< Gives a record of 4 x 4 pixels.
};

std::vector<Loader> ListLoaders() {
    return {
        {"astc", KORU_Load_ASTC_From_File, AstcBuilder().Size(4, 4).Solid({1, 2, 3, 4}).Build()},
        {"ktx", KORU_Load_KTX_From_File,
         Ktx1Builder().Uncompressed(0x8058).Level(Test_CountUp(64)).Build()},
        {"pvr", KORU_Load_PVR_From_File,
         PvrV3Builder().Packed("rgba", {8, 8, 8, 8}).Data(Test_CountUp(64)).Build()},
    };
}

struct Writer {
    const char* name;
    std::int32_t (*write)(const KORU_Char*, KORU_Image*);
    std::int32_t result;    ///< Of a write that does not fail.
    std::size_t fileBytes;  ///< Of a record of 3 x 2 pixels, 24 bits each, rows aligned.
};

constexpr std::array kWriters{
    Writer{"astc", KORU_Write_ASTC_To_File, 0, 20},
    Writer{"ktx", KORU_Write_KTX_To_File, 1, 96 + 24},
    Writer{"pvr", KORU_Write_PVR_To_File, 1, 56 + 24},
};

/// Runs `body` in a child process without rights of its own; its exit code.
int RunUnprivileged(const std::function<bool()>& body) {
    constexpr uid_t kNobody = 65534;
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) _exit(2);
        _exit(body() ? 0 : 1);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    return WEXITSTATUS(status);
}

class FileFaults : public testing::Test {
  protected:
    FileFaults() { alarm(600); }  // what waits for ever shall fail
    ~FileFaults() override { alarm(0); }

    /// No loader makes a record of it, and none keeps a descriptor.
    static void ExpectRefused(const fs::path& path) {
        SCOPED_TRACE(path);
        const std::ptrdiff_t openBefore = CountDescriptors();
        for (const Loader& loader : ListLoaders()) {
            for (const std::uint32_t flags : {0u, 1u, 2u, 3u}) {
                const KoruImagePtr image(loader.load(Test_ToKoruPath(path).c_str(), flags));
                EXPECT_EQ(image, nullptr) << loader.name << ", flags " << flags;
            }
        }
        EXPECT_EQ(CountDescriptors(), openBefore);
    }

    /// The loader works on an ordinary file.
    void ExpectLoads(const Loader& loader) {
        Test_WriteFile(folder_ / "ordinary", loader.file);
        const std::ptrdiff_t openBefore = CountDescriptors();
        const KoruImagePtr image(
            loader.load(Test_ToKoruPath(folder_ / "ordinary").c_str(), KORU_FLAG_RGBA));
        ASSERT_NE(image, nullptr) << loader.name;
        EXPECT_EQ(image->pixels[0], 1) << loader.name;
        EXPECT_EQ(CountDescriptors(), openBefore);
    }

    /// The writer fails, changes nothing that matters and keeps no descriptor.
    static void ExpectUnwritten(const Writer& writer, const fs::path& path) {
        SCOPED_TRACE(writer.name);
        SCOPED_TRACE(path);
        const auto image = Test_MakeRecord(3, 2, 0);
        ASSERT_NE(image, nullptr);
        const std::ptrdiff_t openBefore = CountDescriptors();
        EXPECT_EQ(writer.write(Test_ToKoruPath(path).c_str(), image.get()), 0);
        EXPECT_EQ(CountDescriptors(), openBefore);
    }

    TempFolder folder_;
};

TEST_F(FileFaults, PathsToNoFileAreRefused) {
    fs::create_directory(folder_ / "directory");
    fs::create_symlink(folder_ / "nowhere", folder_ / "dangling");
    fs::create_symlink("loop2", folder_ / "loop1");
    fs::create_symlink("loop1", folder_ / "loop2");
    fs::create_symlink("directory", folder_ / "to_directory");
    Test_WriteFile(folder_ / "file", Bytes(200));
    for (const char* name : {"directory", "directory/", "to_directory", "dangling", "loop1",
                             "missing", "file/below", "file/"}) {
        ExpectRefused(folder_ / name);
    }
    ExpectRefused("");
    ExpectRefused(".");
    ExpectRefused("/");
    ExpectRefused(folder_ / std::string(256, 'n'));
    ExpectRefused(folder_ / std::string(5000, 'n'));
}

TEST_F(FileFaults, LinksToAFileAreFollowed) {
    for (const Loader& loader : ListLoaders()) {
        Test_WriteFile(folder_ / "file", loader.file);
        fs::create_symlink("file", folder_ / loader.name);
        const KoruImagePtr image(
            loader.load(Test_ToKoruPath(folder_ / loader.name).c_str(), KORU_FLAG_RGBA));
        EXPECT_NE(image, nullptr) << loader.name;
    }
}

TEST_F(FileFaults, DevicesAreRefused) {
    for (const char* path : {"/dev/zero", "/dev/null", "/dev/full", "/dev/urandom", "/dev/tty"}) {
        ExpectRefused(path);
    }
}

// They say that they are empty.
TEST_F(FileFaults, FilesOfTheKernelAreRefused) {
    for (const char* path : {"/proc/self/status", "/proc/self/maps", "/proc/self/mem",
                             "/proc/version", "/proc/self/fd"}) {
        ExpectRefused(path);
    }
}

TEST_F(FileFaults, APipeIsRefusedWithoutWaiting) {
    const fs::path path = folder_ / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    ExpectRefused(path);
}

TEST_F(FileFaults, APipeWithAFileInItIsRefusedAndKeepsIt) {
    const fs::path path = folder_ / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int pipe = open(path.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(pipe, 0);
    for (const Loader& loader : ListLoaders()) {
        ASSERT_EQ(write(pipe, loader.file.data(), loader.file.size()),
                  static_cast<ssize_t>(loader.file.size()));
        ExpectRefused(path);
        ExpectRefused("/proc/self/fd/" + std::to_string(pipe));
        Bytes kept(loader.file.size());
        ASSERT_EQ(read(pipe, kept.data(), kept.size()), static_cast<ssize_t>(kept.size()));
        EXPECT_EQ(kept, loader.file);
    }
    close(pipe);
}

/// A socket that listens at the path, while this lives.
class ListeningSocket {
  public:
    explicit ListeningSocket(const fs::path& path)
        : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string name = path.native();
        EXPECT_LT(name.size(), sizeof address.sun_path);
        std::copy(name.begin(), name.end(), std::begin(address.sun_path));
        EXPECT_EQ(bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(socket_, 1), 0);
    }
    ~ListeningSocket() { close(socket_); }
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

  private:
    int socket_;
};

TEST_F(FileFaults, ASocketIsRefused) {
    const ListeningSocket socket(folder_ / "socket");
    ExpectRefused(folder_ / "socket");
    for (const Writer& writer : kWriters) ExpectUnwritten(writer, folder_ / "socket");
}

TEST_F(FileFaults, AFileThatMayNotBeReadIsRefused) {
    fs::permissions(folder_ / "", fs::perms(0755));
    for (const Loader& loader : ListLoaders()) {
        SCOPED_TRACE(loader.name);
        Test_WriteFile(folder_ / "secret", loader.file);
        const KoruPath path = Test_ToKoruPath(folder_ / "secret");
        const auto isLoaded = [&] {
            return KoruImagePtr(loader.load(path.c_str(), KORU_FLAG_RGBA)) != nullptr;
        };
        fs::permissions(folder_ / "secret", fs::perms(0644));
        if (RunUnprivileged(isLoaded) != 0) GTEST_SKIP() << "another user cannot read here";
        fs::permissions(folder_ / "secret", fs::perms(0000));
        EXPECT_EQ(RunUnprivileged(isLoaded), 1);
        fs::remove(folder_ / "secret");
    }
}

// A process that holds a file alone is told to let it go, and the load waits until it has.
TEST_F(FileFaults, AFileThatAnotherProcessHasLeasedLoads) {
    for (const Loader& loader : ListLoaders()) {
        SCOPED_TRACE(loader.name);
        const fs::path path = folder_ / loader.name;
        Test_WriteFile(path, loader.file);
        std::array<int, 2> ready{};
        ASSERT_EQ(pipe2(ready.data(), O_CLOEXEC), 0);
        const pid_t holder = fork();
        if (holder == 0) {
            sigset_t lost;
            sigemptyset(&lost);
            sigaddset(&lost, SIGIO);
            sigprocmask(SIG_BLOCK, &lost, nullptr);
            const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
            const char isHeld = file >= 0 && fcntl(file, F_SETLEASE, F_WRLCK) == 0 ? 1 : 0;
            if (write(ready[1], &isHeld, 1) != 1 || isHeld == 0) _exit(0);
            int signal = 0;
            sigwait(&lost, &signal);
            _exit(0);  // which gives the lease back
        }
        char isHeld = 0;
        EXPECT_EQ(read(ready[0], &isHeld, 1), 1);
        close(ready[0]);
        close(ready[1]);
        const KoruImagePtr image(loader.load(Test_ToKoruPath(path).c_str(), KORU_FLAG_RGBA));
        EXPECT_NE(image, nullptr);
        EXPECT_EQ(waitpid(holder, nullptr, 0), holder);
        if (isHeld == 0) GTEST_SKIP() << "no leases on this file system";
    }
}

// The size was asked for, then the file lost bytes: there is no record with whatever was in memory.
TEST_F(FileFaults, AFileThatShrinksIsRefused) {
    const fs::path path = folder_ / "shrinking";
    const KoruPath name = Test_ToKoruPath(path);
    const std::ptrdiff_t openBefore = CountDescriptors();
    for (const Loader& loader : ListLoaders()) {
        SCOPED_TRACE(loader.name);
        for (std::size_t kept = 0; kept < loader.file.size(); ++kept) {
            Test_WriteFile(path, loader.file);
            int readCount = 0;
            const ScopedHook hook(g_beforeRead, [&](std::size_t byteCount) {
                EXPECT_EQ(byteCount, loader.file.size());
                EXPECT_EQ(truncate(path.c_str(), static_cast<off_t>(kept)), 0);
                ++readCount;
                return true;
            });
            const KoruImagePtr image(loader.load(name.c_str(), KORU_FLAG_RGBA));
            EXPECT_EQ(image, nullptr) << kept << " bytes kept";
            EXPECT_EQ(readCount, 1);
        }
        ExpectLoads(loader);
    }
    EXPECT_EQ(CountDescriptors(), openBefore);
}

// What came too late does not count.
TEST_F(FileFaults, AFileThatGrowsIsWhatItWas) {
    const fs::path path = folder_ / "growing";
    const KoruPath name = Test_ToKoruPath(path);
    for (const Loader& loader : ListLoaders()) {
        SCOPED_TRACE(loader.name);
        Test_WriteFile(path, loader.file);
        const KoruImagePtr before(loader.load(name.c_str(), KORU_FLAG_RGBA));
        ASSERT_NE(before, nullptr);
        // Without its last byte no file is whole, and the byte that follows in time is no help.
        for (const std::size_t had : {loader.file.size(), loader.file.size() - 1}) {
            Test_WriteFile(path, Test_Slice(loader.file, 0, had));
            const ScopedHook hook(g_beforeRead, [&](std::size_t byteCount) {
                EXPECT_EQ(byteCount, had);
                Test_WriteFile(path, loader.file);
                fs::resize_file(path, loader.file.size() + 1000);
                return true;
            });
            const KoruImagePtr image(loader.load(name.c_str(), KORU_FLAG_RGBA));
            if (had < loader.file.size()) {
                EXPECT_EQ(image, nullptr);
            } else if (image == nullptr) {
                ADD_FAILURE() << "no record";
            } else {
                EXPECT_EQ(Test_GetPixels(*image), Test_GetPixels(*before));
            }
        }
    }
}

TEST_F(FileFaults, FilesOf4GiBAndMoreAreNotRead) {
    constexpr std::uint64_t kTooLarge = 0x100000000;
    const fs::path path = folder_ / "sparse";
    const KoruPath name = Test_ToKoruPath(path);
    for (const Loader& loader : ListLoaders()) {
        SCOPED_TRACE(loader.name);
        Test_WriteFile(path, loader.file);
        for (const std::uint64_t size :
             {kTooLarge, kTooLarge + loader.file.size(), kTooLarge / 4 * 5, kTooLarge * 4}) {
            std::error_code error;
            fs::resize_file(path, size, error);
            if (error) GTEST_SKIP() << "no sparse files of such a size here: " << error.message();
            const ScopedHook hook(g_beforeRead, [&](std::size_t byteCount) {
                ADD_FAILURE() << byteCount << " bytes of " << size << " were read";
                return false;
            });
            EXPECT_EQ(KoruImagePtr(loader.load(name.c_str(), KORU_FLAG_RGBA)), nullptr) << size;
        }
    }
    ExpectRefused(path);
}

#if !defined(__SANITIZE_ADDRESS__)
// The largest file that counts is read in one call; this one fails at once.
TEST_F(FileFaults, AFileOneByteBelow4GiBIsReadOnce) {
    const fs::path path = folder_ / "sparse";
    for (const Loader& loader : ListLoaders()) {
        SCOPED_TRACE(loader.name);
        Test_WriteFile(path, loader.file);
        std::error_code error;
        fs::resize_file(path, 0xFFFFFFFF, error);
        if (error) GTEST_SKIP() << "no sparse files of such a size here: " << error.message();
        std::size_t readBytes = 0;
        const ScopedHook hook(g_beforeRead, [&](std::size_t byteCount) {
            readBytes += byteCount;
            return false;
        });
        EXPECT_EQ(KoruImagePtr(loader.load(Test_ToKoruPath(path).c_str(), KORU_FLAG_RGBA)),
                  nullptr);
        // 0: this machine has no such room, and none is promised.
        EXPECT_TRUE(readBytes == 0xFFFFFFFF || readBytes == 0) << readBytes;
    }
}
#endif

TEST_F(FileFaults, OutputsThatCannotBeOpened) {
    fs::create_directory(folder_ / "directory");
    fs::create_symlink("loop2", folder_ / "loop1");
    fs::create_symlink("loop1", folder_ / "loop2");
    Test_WriteFile(folder_ / "file", Bytes(200, 7));
    for (const Writer& writer : kWriters) {
        for (const char* name :
             {"directory", "directory/", "loop1", "missing/file", "file/below"}) {
            ExpectUnwritten(writer, folder_ / name);
        }
        ExpectUnwritten(writer, "");
        ExpectUnwritten(writer, folder_ / std::string(256, 'n'));
    }
    EXPECT_EQ(Test_ReadFile(folder_ / "file"), Bytes(200, 7));
}

TEST_F(FileFaults, AFileThatMayNotBeWrittenStays) {
    fs::permissions(folder_ / "", fs::perms(0777));
    const fs::path path = folder_ / "protected";
    for (const Writer& writer : kWriters) {
        Test_WriteFile(path, Bytes(200, 7));
        fs::permissions(path, fs::perms(0444));
        const auto isKept = [&] {
            const auto image = Test_MakeRecord(3, 2, 0);
            return image != nullptr &&
                   writer.write(Test_ToKoruPath(path).c_str(), image.get()) == 0 &&
                   image->bitsPerPixel == 24 && image->stride == 9;
        };
        const int exitCode = RunUnprivileged(isKept);
        if (exitCode == 2) GTEST_SKIP() << "this user cannot become another here";
        EXPECT_EQ(exitCode, 0) << writer.name;
        EXPECT_EQ(Test_ReadFile(path), Bytes(200, 7)) << writer.name;
        fs::remove(path);
    }
}

TEST_F(FileFaults, AFullDeviceIsAFailureAtEveryWrite) {
    for (const Writer& writer : kWriters) ExpectUnwritten(writer, "/dev/full");
    // A disk that is full from the n-th write on.
    const fs::path path = folder_ / "out";
    for (const Writer& writer : kWriters) {
        if (writer.result == 0) continue;
        bool isWritten = false;
        for (int room = 0; !isWritten; ++room) {
            SCOPED_TRACE(room);
            ASSERT_LT(room, 100);
            const auto image = Test_MakeRecord(3, 2, 0);
            ASSERT_NE(image, nullptr);
            const std::ptrdiff_t openBefore = CountDescriptors();
            int writeCount = 0;
            const ScopedHook hook(g_beforeWrite, [&](std::size_t) { return ++writeCount <= room; });
            const std::int32_t result = writer.write(Test_ToKoruPath(path).c_str(), image.get());
            isWritten = writeCount <= room;
            EXPECT_EQ(result, isWritten ? 1 : 0) << writer.name;
            EXPECT_EQ(CountDescriptors(), openBefore);
        }
        EXPECT_EQ(fs::file_size(path), writer.fileBytes);
    }
}

TEST_F(FileFaults, TheNullDeviceTakesEverything) {
    for (const Writer& writer : kWriters) {
        const auto image = Test_MakeRecord(3, 2, 0);
        ASSERT_NE(image, nullptr);
        const std::ptrdiff_t openBefore = CountDescriptors();
        EXPECT_EQ(writer.write(Test_ToKoruPath("/dev/null").c_str(), image.get()), writer.result)
            << writer.name;
        EXPECT_EQ(CountDescriptors(), openBefore);
    }
    struct stat status {};
    ASSERT_EQ(stat("/dev/null", &status), 0);
    EXPECT_TRUE(S_ISCHR(status.st_mode));
}

TEST_F(FileFaults, APipeWithAReaderGetsTheFile) {
    const fs::path path = folder_ / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    for (const Writer& writer : kWriters) {
        const auto image = Test_MakeRecord(3, 2, 0);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(writer.write(Test_ToKoruPath(path).c_str(), image.get()), writer.result);
        Bytes received(1000);
        const ssize_t count = read(reader, received.data(), received.size());
        EXPECT_EQ(count, static_cast<ssize_t>(writer.fileBytes)) << writer.name;
        received.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        const auto again = Test_MakeRecord(3, 2, 0);
        ASSERT_NE(again, nullptr);
        writer.write(Test_ToKoruPath(folder_ / "file").c_str(), again.get());
        EXPECT_EQ(received, Test_ReadFile(folder_ / "file")) << writer.name;
    }
    close(reader);
}

/// Ignores a signal while this lives.
class IgnoredSignal {
  public:
    explicit IgnoredSignal(int number)
        : number_(number), oldHandler_(std::signal(number, SIG_IGN)) {}
    ~IgnoredSignal() { std::signal(number_, oldHandler_); }
    IgnoredSignal(const IgnoredSignal&) = delete;
    IgnoredSignal& operator=(const IgnoredSignal&) = delete;

  private:
    int number_;
    void (*oldHandler_)(int);
};

// The library leaves signals to the host. One that writes to pipes ignores SIGPIPE, and then a
// reader that goes away is a failure as any other, whenever it goes.
TEST_F(FileFaults, APipeWhoseReaderLeavesIsAFailure) {
    const IgnoredSignal ignored(SIGPIPE);
    const fs::path path = folder_ / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    for (const Writer& writer : kWriters) {
        SCOPED_TRACE(writer.name);
        bool stayed = false;
        for (int leaveAt = 1; !stayed; ++leaveAt) {
            ASSERT_LT(leaveAt, 100);
            int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
            ASSERT_GE(reader, 0);
            const auto image = Test_MakeRecord(3, 2, 0);
            ASSERT_NE(image, nullptr);
            const std::ptrdiff_t openBefore = CountDescriptors();
            int writeCount = 0;
            const ScopedHook hook(g_beforeWrite, [&](std::size_t) {
                if (++writeCount == leaveAt) close(std::exchange(reader, -1));
                return true;
            });
            const std::int32_t result = writer.write(Test_ToKoruPath(path).c_str(), image.get());
            stayed = reader >= 0;
            EXPECT_EQ(result, stayed ? writer.result : 0) << "left before write " << leaveAt;
            EXPECT_EQ(CountDescriptors(), openBefore - (stayed ? 0 : 1));
            if (stayed) close(reader);
        }
    }
}

// A record of the next load shows nothing of files that failed.
TEST_F(FileFaults, TheNextLoadWorks) {
    ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    for (const Loader& loader : ListLoaders()) {
        ExpectLoads(loader);
        ExpectRefused(folder_ / "pipe");
        ExpectLoads(loader);
    }
}

}  // namespace
