// A second copy of this program, working for this one over two pipes.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace koru_host {

/// The argument that makes the program a worker. It stands alone.
inline constexpr const char* kWorkerArgument = "--worker-process";

class ChildProcess {
  public:
    /// Starts the worker. Throws std::system_error.
    ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    /// Closes the pipes, at which a worker ends, and waits for it.
    ~ChildProcess();

    bool Write(std::span<const std::uint8_t> bytes);
    bool Read(std::span<std::uint8_t> bytes);

    /// Ends a worker that no longer answers, and says how it died if it did so by itself.
    std::string Kill();

  private:
    struct Handles;
    std::unique_ptr<Handles> handles_;
};

/// The worker's ends of the pipes, its standard input and output.
bool ParentPipe_Write(std::span<const std::uint8_t> bytes);
bool ParentPipe_Read(std::span<std::uint8_t> bytes);

/// To be called when a worker begins.
void ParentPipe_Prepare();

}  // namespace koru_host
