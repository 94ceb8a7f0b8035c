#include "worker_pool.h"

#include <atomic>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "child_process.h"
#include "command_line.h"
#include "host_paths.h"
#include "worker_messages.h"

namespace koru_host {
namespace {

ConvertOutcome Worker_MakeFailure(const ConvertJob& job, const std::string& reason) {
    return {.failedFile = job.input, .reason = reason};
}

/// Nothing when the worker gives no answer.
std::optional<ConvertOutcome> Worker_Ask(ChildProcess& worker, const ConvertJob& job) {
    if (!Message_Send(Message_FromJob(job),
                      [&worker](auto bytes) { return worker.Write(bytes); })) {
        return std::nullopt;
    }
    const auto answer = Message_Receive([&worker](auto bytes) { return worker.Read(bytes); });
    if (!answer) return std::nullopt;
    return Message_ToOutcome(*answer);
}

/// Does one job in `worker`, which is gone when it dies.
ConvertOutcome Worker_Convert(std::optional<ChildProcess>& worker, const ConvertJob& job) {
    try {
        if (auto outcome = Worker_Ask(*worker, job)) return *std::move(outcome);
    } catch (const std::bad_alloc&) {
        // What the worker says, if anything, could no longer be understood: it has to go.
    }
    const std::string cause = worker->Kill();
    worker.reset();
    std::error_code ignored;
    std::filesystem::remove(job.temporary, ignored);
    return Worker_MakeFailure(job, "cannot be decoded: the worker process died (" + cause + ')');
}

/// False when the system has no room for a worker.
bool Worker_Start(std::optional<ChildProcess>& worker) {
    // One at a time: two that start together may lack descriptors that one would find.
    static std::mutex startMutex;
    const std::lock_guard lock(startMutex);
    try {
        worker.emplace();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    } catch (const std::system_error&) {
        return false;
    }
}

}  // namespace

void WorkerPool_Convert(std::span<const ConvertJob> jobs, std::size_t workerCount,
                        ConvertReport& report) {
    std::atomic<std::size_t> nextJob{0};
    const auto serve = [&] {
        std::optional<ChildProcess> worker;
        while (nextJob < jobs.size()) {
            // A job is taken only when there is a worker for it; otherwise it is for the others.
            if (!worker && !Worker_Start(worker)) return;
            const std::size_t i = nextJob++;
            if (i >= jobs.size()) return;
            report.Add(i, Worker_Convert(worker, jobs[i]));
        }
    };
    std::vector<std::jthread> threads;
    try {
        for (std::size_t i = 1; i < workerCount; ++i) threads.emplace_back(serve);
    } catch (const std::system_error&) {
        // Fewer threads only take longer.
    }
    serve();
    threads.clear();  // waits for them
    // What is left when no worker can be started.
    for (std::size_t i = nextJob; i < jobs.size(); ++i) report.Add(i, Convert_File(jobs[i]));
}

int Worker_Run() {
    ParentPipe_Prepare();
    while (const auto message = Message_Receive(ParentPipe_Read)) {
        const auto job = Message_ToJob(*message);
        if (!job) return kExitFailure;
        if (!Message_Send(Message_FromOutcome(Convert_File(*job)), ParentPipe_Write)) {
            return kExitFailure;
        }
    }
    return kExitSuccess;
}

}  // namespace koru_host
