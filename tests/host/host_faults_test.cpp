// The host program between files that go wrong and a world that takes its outputs away: it says so
// in one line and ends with a failure, and where it is killed in the middle of a write, the old
// output or the new one is there, whole.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "astc_builder.h"
#include "ktx_builder.h"
#include "pvr_builder.h"
#include "test_files.h"

namespace {

namespace fs = std::filesystem;

using Arguments = std::vector<std::string>;

std::string ToText(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

/// How the program is started.
struct Start {
    Arguments arguments;
    int standardOutput = -1;                              ///< -1: a file, which `Run` reads.
    int standardError = -1;                               ///< The same.
    std::function<bool()> prepare = [] { return true; };  ///< In the new process.
};

/// How it ended.
struct Ending {
    int exitCode = -1;
    int signal = 0;
    std::string out;
    std::string err;
};

/// A failure that is told: one line about `subject`, no signal.
void ExpectTold(const Ending& ending, const std::string& subject, const std::string& reason = "") {
    EXPECT_EQ(ending.signal, 0);
    EXPECT_EQ(ending.exitCode, 1);
    const std::string begin = "korutex: " + subject + ": " + reason;
    EXPECT_EQ(ending.err.substr(0, begin.size()), begin);
    EXPECT_EQ(std::count(ending.err.begin(), ending.err.end(), '\n'), 1) << ending.err;
    EXPECT_TRUE(!ending.err.empty() && ending.err.back() == '\n');
}

class HostFaults : public testing::Test {
  protected:
    HostFaults() {
        alarm(600);  // what waits for ever shall fail
        fs::permissions(folder_ / "", fs::perms(0755));
        const auto make = [&](const char* name, const Bytes& bytes) {
            Test_WriteFile(folder_ / name, bytes);
        };
        make("a.astc", AstcBuilder().Size(4, 4).Solid({1, 2, 3, 4}).Build());
        make("a.ktx", Ktx1Builder().Uncompressed(0x8058).Level(Bytes(64, 7)).Build());
        make("a.pvr", PvrV3Builder().Packed("rgba", {8, 8, 8, 8}).Data(Bytes(64, 7)).Build());
    }
    ~HostFaults() override { alarm(0); }

    [[nodiscard]] std::string Name(const std::string& name) const { return folder_ / name; }

    /// Does not return in the child.
    [[nodiscard]] pid_t Fork(const Start& start, bool isTraced = false) const {
        const int out = start.standardOutput >= 0 ? start.standardOutput : OpenLog("out");
        const int err = start.standardError >= 0 ? start.standardError : OpenLog("err");
        std::vector<std::string> words{KORUTEX_PROGRAM};
        words.insert(words.end(), start.arguments.begin(), start.arguments.end());
        std::vector<char*> pointers;
        for (std::string& word : words) pointers.push_back(word.data());
        pointers.push_back(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            alarm(0);
            dup2(out, STDOUT_FILENO);
            dup2(err, STDERR_FILENO);
            std::signal(SIGPIPE, SIG_DFL);
            if (!start.prepare()) _exit(99);
            if (isTraced && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(98);
            execv(pointers[0], pointers.data());
            _exit(97);
        }
        if (start.standardOutput < 0) close(out);
        if (start.standardError < 0) close(err);
        return child;
    }

    [[nodiscard]] Ending Finish(int status) const {
        Ending ending;
        if (WIFEXITED(status)) ending.exitCode = WEXITSTATUS(status);
        if (WIFSIGNALED(status)) ending.signal = WTERMSIG(status);
        ending.out = ToText(Test_ReadFile(logs_ / "out"));
        ending.err = ToText(Test_ReadFile(logs_ / "err"));
        return ending;
    }

    [[nodiscard]] Ending Run(const Start& start) const {
        Test_WriteFile(logs_ / "out", {});
        Test_WriteFile(logs_ / "err", {});
        const pid_t child = Fork(start);
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return Finish(status);
    }
    [[nodiscard]] Ending Run(const Arguments& arguments) const {
        return Run(Start{.arguments = arguments});
    }

    /// The input cannot be opened: both commands say so, and there is no output.
    void ExpectBadInput(const std::string& input, const std::string& reason) const {
        SCOPED_TRACE(input);
        ExpectTold(Run({"info", input}), input, reason);
        ExpectBadConversion(input, reason);
    }
    void ExpectBadConversion(const std::string& input, const std::string& reason) const {
        const Ending ending = Run({"convert", input, "-o", Name("out.png")});
        ExpectTold(ending, input, reason);
        EXPECT_EQ(ending.out, "");
        EXPECT_FALSE(fs::exists(folder_ / "out.png"));
    }

    /// The output cannot be written, as texture or as picture, and is named.
    void ExpectBadOutput(const std::string& output, const std::string& reason) const {
        SCOPED_TRACE(output);
        const Ending ending = Run({"convert", Name("a.astc"), "-o", output});
        ExpectTold(ending, output, "cannot be written: " + reason);
        EXPECT_EQ(ending.out, "");
        EXPECT_TRUE(ListTemporaries().empty());
    }

    [[nodiscard]] std::vector<std::string> ListTemporaries() const {
        static const std::regex pattern(R"(\.korutex-[0-9a-f]+-[0-9a-f]+\.tmp)");
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_ / "")) {
            const std::string name = entry.path().filename();
            if (std::regex_match(name, pattern)) names.push_back(name);
        }
        return names;
    }

    TempFolder folder_;
    TempFolder logs_;

  private:
    [[nodiscard]] int OpenLog(const char* name) const {
        return open((logs_ / name).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    }
};

bool BecomeNobody() {
    constexpr uid_t kNobody = 65534;
    return geteuid() != 0 || (setgid(kNobody) == 0 && setuid(kNobody) == 0);
}

// Inputs.

TEST_F(HostFaults, InputsThatAreNoFiles) {
    fs::create_directory(folder_ / "directory.ktx");
    fs::create_symlink("nowhere", folder_ / "dangling.ktx");
    fs::create_symlink("loop2.ktx", folder_ / "loop1.ktx");
    fs::create_symlink("loop1.ktx", folder_ / "loop2.ktx");
    ASSERT_EQ(mkfifo(Name("pipe.ktx").c_str(), 0600), 0);
    Test_WriteFile(folder_ / "empty.ktx", {});
    ExpectBadInput(Name("directory.ktx"), "is a directory\n");
    ExpectBadInput(Name("dangling.ktx"), "no such file\n");
    ExpectBadInput(Name("missing.ktx"), "no such file\n");
    ExpectBadInput(Name("loop1.ktx"), "cannot be read: ");
    ExpectBadInput(Name("a.ktx/below.ktx"), "no such file\n");
    ExpectBadInput(Name(std::string(300, 'n') + ".ktx"), "cannot be read: ");
    ExpectBadInput(Name("pipe.ktx"), "is not a regular file\n");
    ExpectBadInput(Name("empty.ktx"), "is empty\n");
    for (const char* device : {"/dev/zero", "/dev/null", "/dev/full", "/dev/urandom"}) {
        ExpectBadInput(device, "is not a regular file\n");
    }
    ExpectBadInput("/proc/version", "is not an ASTC, KTX, PVR or PNG file\n");
    ExpectBadInput("/proc/self/mem", "cannot be read: ");
}

TEST_F(HostFaults, AnInputThatIsASocket) {
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string name = Name("socket.ktx");
    ASSERT_LT(name.size(), sizeof address.sun_path);
    std::copy(name.begin(), name.end(), std::begin(address.sun_path));
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ExpectBadInput(name, "is not a regular file\n");
    close(listener);
}

TEST_F(HostFaults, AnInputThatMayNotBeRead) {
    for (const char* name : {"a.astc", "a.ktx", "a.pvr"}) {
        SCOPED_TRACE(name);
        const Start info{.arguments = {"info", Name(name)}, .prepare = BecomeNobody};
        fs::permissions(folder_ / name, fs::perms(0644));
        if (Run(info).exitCode != 0) GTEST_SKIP() << "another user cannot read here";
        fs::permissions(folder_ / name, fs::perms(0000));
        ExpectTold(Run(info), Name(name), "cannot be read: Permission denied\n");
    }
}

TEST_F(HostFaults, InputsOf4GiBAndMore) {
    for (const char* name : {"a.astc", "a.ktx", "a.pvr"}) {
        for (const std::uint64_t size : {std::uint64_t{4} << 30, std::uint64_t{5} << 30}) {
            std::error_code error;
            fs::resize_file(folder_ / name, size, error);
            if (error) GTEST_SKIP() << "no sparse files of such a size here: " << error.message();
            ExpectBadConversion(Name(name), "is 4 GiB or larger\n");
        }
    }
}

// Outputs.

/// A device that is always full, of the test's own where this user may make one: a program that
/// replaces its output shall not meet the system's.
void MakeFullDevice(const fs::path& path) {
    if (mknod(path.c_str(), S_IFCHR | 0666, makedev(1, 7)) != 0) {
        fs::create_symlink("/dev/full", path);
    }
}

TEST_F(HostFaults, OutputsThatAreNoFiles) {
    MakeFullDevice(folder_ / "full");
    fs::create_symlink("full", folder_ / "full.png");
    fs::create_symlink("full", folder_ / "full.ktx");
    fs::create_symlink("loop2.png", folder_ / "loop1.png");
    fs::create_symlink("loop1.png", folder_ / "loop2.png");
    ASSERT_EQ(mkfifo(Name("pipe.png").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(Name("pipe.ktx").c_str(), 0600), 0);
    for (const char* name : {"full.png", "full.ktx", "pipe.png", "pipe.ktx"}) {
        ExpectBadOutput(Name(name), "Invalid argument\n");
    }
    ExpectBadOutput(Name("loop1.png"), "Too many levels of symbolic links\n");
    ExpectBadOutput(Name("missing/out.ktx"), "No such file or directory\n");
    ExpectBadOutput(Name("a.ktx/out.png"), "Not a directory\n");
    struct stat status {};
    ASSERT_EQ(stat(Name("full").c_str(), &status), 0);
    EXPECT_TRUE(S_ISCHR(status.st_mode)) << "a device was replaced";
}

TEST_F(HostFaults, AStandardOutputThatTakesNothing) {
    const auto expectTold = [&](int output) {
        for (const Arguments& arguments :
             {Arguments{"info", Name("a.ktx")}, Arguments{"info", "--json", Name("a.ktx")},
              Arguments{"convert", Name("a.ktx"), "-o", Name("out.png")}, Arguments{"--help"},
              Arguments{"--version"}}) {
            SCOPED_TRACE(arguments.front());
            ExpectTold(Run(Start{.arguments = arguments, .standardOutput = output}),
                       "standard output", "cannot be written\n");
        }
        EXPECT_TRUE(fs::remove(folder_ / "out.png")) << "the picture is written all the same";
    };
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(full, 0);
    expectTold(full);
    close(full);
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    close(ends[0]);
    expectTold(ends[1]);

    // Nobody is left to tell: the exit code does.
    const Ending silent = Run(Start{.arguments = {"info", Name("missing.ktx")},
                                    .standardOutput = ends[1],
                                    .standardError = ends[1]});
    EXPECT_EQ(silent.signal, 0);
    EXPECT_EQ(silent.exitCode, 1);
    close(ends[1]);
}

// Interruptions.

std::string ReadTracedText(pid_t process, std::uint64_t address) {
    std::string text;
    for (char letter = 1; letter != 0; ++address) {
        iovec to{&letter, 1};
        iovec from{reinterpret_cast<void*>(address), 1};
        if (process_vm_readv(process, &to, 1, &from, 1, 0) != 1) break;
        if (letter != 0) text += letter;
    }
    return text;
}

class HostInterruption : public HostFaults {
  protected:
    /// Runs the program up to a system call and then `act`: the n-th one, from 1, beginning with
    /// the first that opens a path which ends in `opened`. The call is still to be made. False if
    /// there was none.
    bool RunUpTo(const Start& start, std::string_view opened, int n,
                 const std::function<void(pid_t)>& act, Ending& ending) {
        Test_WriteFile(logs_ / "out", {});
        Test_WriteFile(logs_ / "err", {});
        const pid_t child = Fork(start, true);
        int callCount = 0;
        bool hasActed = false;
        for (bool isSet = false;;) {
            int status = 0;
            EXPECT_EQ(waitpid(child, &status, 0), child);
            if (!WIFSTOPPED(status)) {
                ending = Finish(status);
                return hasActed;
            }
            if (!isSet) {
                ptrace(PTRACE_SETOPTIONS, child, nullptr,
                       PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
                isSet = true;
            }
            int signal = WSTOPSIG(status);
            if (signal == (SIGTRAP | 0x80)) {
                if (!hasActed && CountCall(child, opened, callCount) == n) {
                    hasActed = true;
                    act(child);
                }
                signal = 0;
            } else if (signal == SIGTRAP) {
                signal = 0;  // of execv
            }
            ptrace(PTRACE_SYSCALL, child, nullptr, signal);
        }
    }

    static int CountCall(pid_t child, std::string_view opened, int& callCount) {
        __ptrace_syscall_info info{};
        ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info);
        if (info.op != PTRACE_SYSCALL_INFO_ENTRY) return 0;
        if (callCount == 0) {
            if (info.entry.nr != SYS_openat) return 0;
            const std::string path = ReadTracedText(child, info.entry.args[1]);
            if (!std::string_view(path).ends_with(opened)) return 0;
        }
        return ++callCount;
    }

    /// Whether this process may trace its children and see their calls; containers may forbid it.
    [[nodiscard]] static bool CanTrace() {
        const std::string text = "text";
        const pid_t child = fork();
        if (child == 0) {
            if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0) std::raise(SIGSTOP);
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        if (!WIFSTOPPED(status)) return false;
        __ptrace_syscall_info info{};
        const bool canTrace =
            ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) > 0 &&
            ReadTracedText(child, reinterpret_cast<std::uintptr_t>(text.c_str())) == text;
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        return canTrace;
    }

    /// Large enough for several writes.
    void MakeLargeInput() {
        constexpr std::uint32_t kSide = 600;
        Bytes pixels(std::size_t{kSide} * kSide * 4);
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            pixels[i] = static_cast<std::uint8_t>(i >> 10);
        }
        Test_WriteFile(folder_ / "large.ktx",
                       Ktx1Builder().Uncompressed(0x8058).Size(kSide, kSide).Level(pixels).Build());
    }
};

constexpr std::array kOutputEndings{"png", "ppm", "tga", "ktx", "pvr"};

TEST_F(HostInterruption, AKilledProgramLeavesTheOldOutputOrTheNewOne) {
    if (!CanTrace()) GTEST_SKIP() << "processes cannot be traced here";
    MakeLargeInput();
    const Bytes old{'o', 'l', 'd'};
    for (const std::string ending : kOutputEndings) {
        const fs::path output = folder_ / ("out." + ending);
        const Start start{.arguments = {"convert", Name("large.ktx"), "-o", output}};
        ASSERT_EQ(Run(start).exitCode, 0);
        const Bytes whole = Test_ReadFile(output);
        ASSERT_GT(whole.size(), old.size());
        for (const bool hasOld : {true, false}) {
            if (!hasOld && ending != "png" && ending != "ktx") continue;  // one of either writer
            SCOPED_TRACE(ending + (hasOld ? " over an old file" : ""));
            int oldCount = 0, newCount = 0, temporaryCount = 0;
            bool isKilled = true;
            for (int n = 1; isKilled; ++n) {
                SCOPED_TRACE(n);
                ASSERT_LT(n, 1000);
                fs::remove(output);
                if (hasOld) Test_WriteFile(output, old);
                Ending end;
                isKilled = RunUpTo(
                    start, ".tmp", n, [](pid_t process) { kill(process, SIGKILL); }, end);
                ASSERT_EQ(end.signal, isKilled ? SIGKILL : 0);

                const bool isThere = fs::exists(output);
                const Bytes found = isThere ? Test_ReadFile(output) : Bytes();
                const bool isOld = hasOld ? found == old : !isThere;
                const bool isNew = isThere && found == whole;
                EXPECT_TRUE(isOld || isNew) << found.size() << " bytes";
                EXPECT_TRUE(isKilled || isNew);
                ++(isNew ? newCount : oldCount);
                const auto temporaries = ListTemporaries();
                EXPECT_LE(temporaries.size(), isKilled && isOld ? 1u : 0u);
                for (const std::string& name : temporaries) {
                    ++temporaryCount;
                    fs::remove(folder_ / name);
                }
                // Nothing else is new in the folder: four inputs and the output.
                EXPECT_EQ(
                    std::distance(fs::directory_iterator(folder_ / ""), fs::directory_iterator()),
                    4 + (isThere ? 1 : 0));
            }
            EXPECT_GE(oldCount, 4) << "before opening, writing, closing, renaming";
            EXPECT_GE(temporaryCount, 3) << "before writing, closing, renaming";
            EXPECT_GE(newCount, 2) << "killed behind the renaming, and not at all";
        }
        fs::remove(output);
    }
}

// What a kill left behind is in nobody's way.
TEST_F(HostInterruption, ALeftoverDoesNotDisturbTheNextRun) {
    if (!CanTrace()) GTEST_SKIP() << "processes cannot be traced here";
    const Start start{.arguments = {"convert", Name("a.ktx"), "-o", Name("out.png")}};
    Ending end;
    ASSERT_TRUE(RunUpTo(
        start, ".tmp", 2, [](pid_t process) { kill(process, SIGKILL); }, end));
    const auto leftovers = ListTemporaries();
    ASSERT_EQ(leftovers.size(), 1u);
    EXPECT_EQ(Run(start).exitCode, 0);
    EXPECT_TRUE(fs::exists(folder_ / "out.png"));
    EXPECT_EQ(ListTemporaries(), leftovers);
}

// Whenever the input shrinks, the run tells of it or has what it needs.
TEST_F(HostInterruption, AnInputThatShrinksIsToldOrWasReadBefore) {
    if (!CanTrace()) GTEST_SKIP() << "processes cannot be traced here";
    for (const std::string name : {"a.astc", "a.ktx", "a.pvr"}) {
        const Bytes input = Test_ReadFile(folder_ / name);
        const Start start{.arguments = {"convert", Name(name), "-o", Name("out.tga")}};
        ASSERT_EQ(Run(start).exitCode, 0);
        const Bytes whole = Test_ReadFile(folder_ / "out.tga");
        for (const std::size_t kept : {std::size_t{0}, input.size() - 1}) {
            SCOPED_TRACE(name + " cut to " + std::to_string(kept));
            int toldCount = 0;
            bool isCut = true;
            for (int n = 1; isCut; ++n) {
                SCOPED_TRACE(n);
                ASSERT_LT(n, 1000);
                fs::remove(folder_ / "out.tga");
                Test_WriteFile(folder_ / name, input);
                Ending end;
                isCut = RunUpTo(
                    start, "/" + name, n, [&](pid_t) { fs::resize_file(folder_ / name, kept); },
                    end);
                if (end.exitCode == 0) {
                    EXPECT_EQ(Test_ReadFile(folder_ / "out.tga"), whole);
                    continue;
                }
                ++toldCount;
                ExpectTold(end, Name(name));
                EXPECT_FALSE(fs::exists(folder_ / "out.tga"));
            }
            EXPECT_GE(toldCount, 1);
        }
    }
}

TEST_F(HostInterruption, AFullDiskLeavesTheOldOutput) {
    MakeLargeInput();
    const Bytes old{'o', 'l', 'd'};
    for (const std::string ending : kOutputEndings) {
        const std::string output = Name("out." + ending);
        const Arguments arguments{"convert", Name("large.ktx"), "-o", output};
        ASSERT_EQ(Run(arguments).exitCode, 0);
        const std::size_t wholeBytes = fs::file_size(output);
        for (const std::size_t room :
             {std::size_t{0}, std::size_t{1}, std::size_t{53}, wholeBytes / 2, wholeBytes - 1}) {
            SCOPED_TRACE(ending + ", room for " + std::to_string(room));
            Test_WriteFile(output, old);
            // Messages in a file would have no room either.
            std::array<int, 2> ends{};
            ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
            Ending end =
                Run(Start{.arguments = arguments, .standardError = ends[1], .prepare = [room] {
                              const rlimit limit{room, room};
                              return setrlimit(RLIMIT_FSIZE, &limit) == 0;
                          }});
            close(ends[1]);
            std::array<char, 4096> said{};
            const ssize_t count = read(ends[0], said.data(), said.size());
            close(ends[0]);
            end.err.assign(said.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
            ExpectTold(end, output, "cannot be written: File too large\n");
            EXPECT_EQ(Test_ReadFile(output), old);
            EXPECT_TRUE(ListTemporaries().empty());
        }
        fs::remove(output);
    }
}

}  // namespace
