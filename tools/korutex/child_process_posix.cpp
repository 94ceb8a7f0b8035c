#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include "child_process.h"

namespace koru_host {
namespace {

bool Pipe_Write(int descriptor, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

bool Pipe_Read(int descriptor, std::span<std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = read(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

/// Closes itself.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int value) : value_(value) {}
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Descriptor() { Close(); }

    int Get() const { return value_; }
    void Close() {
        if (value_ >= 0) close(std::exchange(value_, -1));
    }

  private:
    int value_ = -1;
};

struct Pipe {
    Descriptor readEnd;
    Descriptor writeEnd;
};

Pipe Pipe_Create() {
    std::array<int, 2> ends{};
    // Close-on-exec from the start: other threads start workers at the same time.
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

class SpawnActions {
  public:
    SpawnActions() { posix_spawn_file_actions_init(&actions_); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }

    void Redirect(const Descriptor& from, int to) {
        posix_spawn_file_actions_adddup2(&actions_, from.Get(), to);
    }
    const posix_spawn_file_actions_t* Get() const { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_{};
};

}  // namespace

struct ChildProcess::Handles {
    Descriptor toChild;
    Descriptor fromChild;
    pid_t processId = -1;

    int Wait() {
        int status = 0;
        while (waitpid(processId, &status, 0) < 0) {
            if (errno != EINTR) return 0;
        }
        return status;
    }
};

ChildProcess::ChildProcess() : handles_(std::make_unique<Handles>()) {
    Pipe requests = Pipe_Create();
    Pipe answers = Pipe_Create();
    SpawnActions actions;
    actions.Redirect(requests.readEnd, STDIN_FILENO);
    actions.Redirect(answers.writeEnd, STDOUT_FILENO);

    std::string name = "korutex";
    std::string argument = kWorkerArgument;
    const std::array<char*, 3> arguments{name.data(), argument.data(), nullptr};
    const int code = posix_spawn(&handles_->processId, "/proc/self/exe", actions.Get(), nullptr,
                                 arguments.data(), environ);
    if (code != 0) throw std::system_error(code, std::generic_category());
    handles_->toChild = std::move(requests.writeEnd);
    handles_->fromChild = std::move(answers.readEnd);
}

ChildProcess::~ChildProcess() {
    handles_->toChild.Close();
    handles_->fromChild.Close();
    if (handles_->processId > 0) handles_->Wait();
}

bool ChildProcess::Write(std::span<const std::uint8_t> bytes) {
    return Pipe_Write(handles_->toChild.Get(), bytes);
}

bool ChildProcess::Read(std::span<std::uint8_t> bytes) {
    return Pipe_Read(handles_->fromChild.Get(), bytes);
}

std::string ChildProcess::Kill() {
    // A process that is already dead keeps its own cause of death.
    kill(handles_->processId, SIGKILL);
    const int status = handles_->Wait();
    handles_->processId = -1;
    if (WIFSIGNALED(status)) return "signal " + std::to_string(WTERMSIG(status));
    return "exit code " + std::to_string(WEXITSTATUS(status));
}

bool ParentPipe_Write(std::span<const std::uint8_t> bytes) {
    return Pipe_Write(STDOUT_FILENO, bytes);
}

bool ParentPipe_Read(std::span<std::uint8_t> bytes) { return Pipe_Read(STDIN_FILENO, bytes); }

void ParentPipe_Prepare() {}

}  // namespace koru_host
