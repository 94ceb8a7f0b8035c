#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <system_error>
#include <utility>
#include <vector>

#include "child_process.h"

namespace koru_host {
namespace {

[[noreturn]] void Windows_Fail() {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
}

constexpr std::size_t kMaxTransferBytes = std::size_t{1} << 20;

bool Pipe_Write(HANDLE pipe, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const auto wanted = static_cast<DWORD>(std::min(bytes.size(), kMaxTransferBytes));
        DWORD count = 0;
        if (WriteFile(pipe, bytes.data(), wanted, &count, nullptr) == 0) return false;
        bytes = bytes.subspan(count);
    }
    return true;
}

bool Pipe_Read(HANDLE pipe, std::span<std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const auto wanted = static_cast<DWORD>(std::min(bytes.size(), kMaxTransferBytes));
        DWORD count = 0;
        if (ReadFile(pipe, bytes.data(), wanted, &count, nullptr) == 0 || count == 0) return false;
        bytes = bytes.subspan(count);
    }
    return true;
}

/// Closes itself.
class OwnedHandle {
  public:
    OwnedHandle() = default;
    explicit OwnedHandle(HANDLE value) : value_(value) {}
    OwnedHandle(OwnedHandle&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
    OwnedHandle& operator=(OwnedHandle&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~OwnedHandle() { Close(); }

    HANDLE Get() const { return value_; }
    void Close() {
        if (value_ != nullptr) CloseHandle(std::exchange(value_, nullptr));
    }

  private:
    HANDLE value_ = nullptr;
};

/// A copy that a child can inherit; empty when there is nothing to copy.
OwnedHandle Handle_MakeInheritable(HANDLE handle) {
    HANDLE copy = nullptr;
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE ||
        DuplicateHandle(GetCurrentProcess(), handle, GetCurrentProcess(), &copy, 0, TRUE,
                        DUPLICATE_SAME_ACCESS) == 0) {
        return {};
    }
    return OwnedHandle(copy);
}

struct Pipe {
    OwnedHandle readEnd;
    OwnedHandle writeEnd;
};

Pipe Pipe_Create() {
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    if (CreatePipe(&readEnd, &writeEnd, nullptr, 0) == 0) Windows_Fail();
    return {OwnedHandle(readEnd), OwnedHandle(writeEnd)};
}

/// Names the handles that a child inherits; without it a worker would also get the pipes of
/// workers that another thread is starting.
class InheritList {
  public:
    explicit InheritList(std::vector<HANDLE> handles) : handles_(std::move(handles)) {
        SIZE_T byteCount = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &byteCount);
        memory_.resize(byteCount);
        if (InitializeProcThreadAttributeList(Get(), 1, 0, &byteCount) == 0) Windows_Fail();
        if (UpdateProcThreadAttribute(Get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                                      handles_.size() * sizeof(HANDLE), nullptr, nullptr) == 0) {
            const DWORD code = GetLastError();
            DeleteProcThreadAttributeList(Get());
            throw std::system_error(static_cast<int>(code), std::system_category());
        }
    }
    InheritList(const InheritList&) = delete;
    InheritList& operator=(const InheritList&) = delete;
    ~InheritList() { DeleteProcThreadAttributeList(Get()); }

    LPPROC_THREAD_ATTRIBUTE_LIST Get() {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
    }

  private:
    std::vector<HANDLE> handles_;
    std::vector<unsigned char> memory_;
};

std::wstring Program_GetPath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) Windows_Fail();
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

}  // namespace

struct ChildProcess::Handles {
    OwnedHandle toChild;
    OwnedHandle fromChild;
    OwnedHandle process;
};

ChildProcess::ChildProcess() : handles_(std::make_unique<Handles>()) {
    Pipe requests = Pipe_Create();
    Pipe answers = Pipe_Create();
    const OwnedHandle childInput = Handle_MakeInheritable(requests.readEnd.Get());
    const OwnedHandle childOutput = Handle_MakeInheritable(answers.writeEnd.Get());
    const OwnedHandle childError = Handle_MakeInheritable(GetStdHandle(STD_ERROR_HANDLE));
    if (childInput.Get() == nullptr || childOutput.Get() == nullptr) Windows_Fail();

    std::vector<HANDLE> inherited{childInput.Get(), childOutput.Get()};
    if (childError.Get() != nullptr) inherited.push_back(childError.Get());
    InheritList inheritList(std::move(inherited));

    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof(startup);
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdInput = childInput.Get();
    startup.StartupInfo.hStdOutput = childOutput.Get();
    startup.StartupInfo.hStdError = childError.Get();
    startup.lpAttributeList = inheritList.Get();

    const std::wstring program = Program_GetPath();
    const std::string argument = kWorkerArgument;
    std::wstring commandLine = L"korutex ";
    commandLine.append(argument.begin(), argument.end());
    PROCESS_INFORMATION process{};
    if (CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE,
                       EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr, &startup.StartupInfo,
                       &process) == 0) {
        Windows_Fail();
    }
    CloseHandle(process.hThread);
    handles_->process = OwnedHandle(process.hProcess);
    handles_->toChild = std::move(requests.writeEnd);
    handles_->fromChild = std::move(answers.readEnd);
}

ChildProcess::~ChildProcess() {
    handles_->toChild.Close();
    handles_->fromChild.Close();
    if (handles_->process.Get() != nullptr) {
        WaitForSingleObject(handles_->process.Get(), INFINITE);
    }
}

bool ChildProcess::Write(std::span<const std::uint8_t> bytes) {
    return Pipe_Write(handles_->toChild.Get(), bytes);
}

bool ChildProcess::Read(std::span<std::uint8_t> bytes) {
    return Pipe_Read(handles_->fromChild.Get(), bytes);
}

std::string ChildProcess::Kill() {
    const HANDLE process = handles_->process.Get();
    // A dying process closes its pipes a little before it is dead; its own exit code says more.
    constexpr DWORD kGraceMilliseconds = 2000;
    if (WaitForSingleObject(process, kGraceMilliseconds) != WAIT_OBJECT_0) {
        TerminateProcess(process, 1);
        WaitForSingleObject(process, INFINITE);
    }
    DWORD code = 0;
    GetExitCodeProcess(process, &code);
    handles_->process.Close();
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "exit code 0x%lX", code);
    return text.data();
}

bool ParentPipe_Write(std::span<const std::uint8_t> bytes) {
    return Pipe_Write(GetStdHandle(STD_OUTPUT_HANDLE), bytes);
}

bool ParentPipe_Read(std::span<std::uint8_t> bytes) {
    return Pipe_Read(GetStdHandle(STD_INPUT_HANDLE), bytes);
}

void ParentPipe_Prepare() {
    // A crash must not wait for someone to close a dialog.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
}

}  // namespace koru_host
