// Converts many files with worker processes, since the library does one load at a time in each.
#pragma once

#include <cstddef>
#include <span>

#include "convert_file.h"
#include "convert_report.h"

namespace koru_host {

/// Every job is reported once, also when its worker dies; then the next job gets a new worker.
/// Where fewer workers can be started, fewer work; where none can, this process does the jobs.
void WorkerPool_Convert(std::span<const ConvertJob> jobs, std::size_t workerCount,
                        ConvertReport& report);

/// The life of a worker process: jobs in, outcomes out, until the parent closes the pipe.
/// Returns the exit code.
int Worker_Run();

}  // namespace koru_host
