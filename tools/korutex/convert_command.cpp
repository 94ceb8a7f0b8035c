#include "convert_command.h"

#include <algorithm>
#include <system_error>
#include <thread>

#include "convert_plan.h"
#include "convert_report.h"
#include "host_console.h"
#include "host_paths.h"
#include "worker_pool.h"

namespace koru_host {
namespace {

std::size_t Convert_CountWorkers(const ConvertOptions& options) {
    const std::size_t wanted =
        options.workerCount > 0
            ? options.workerCount
            : std::max(std::size_t{std::thread::hardware_concurrency()}, std::size_t{1});
    return std::min(wanted, options.inputs.size());
}

}  // namespace

int Convert_Run(const ConvertOptions& options) {
    const ConvertPlan plan = Convert_MakePlan(options.inputs, options.target, options.dropAlpha);
    if (plan.folder) {
        std::error_code error;
        std::filesystem::create_directories(*plan.folder, error);
        if (error) {
            Console_ReportFile(*plan.folder, "cannot be created: " + Paths_DescribeError(error));
            return kExitFailure;
        }
    }

    ConvertReport report(plan.jobs);
    const std::size_t workerCount = Convert_CountWorkers(options);
    if (workerCount > 1) {
        WorkerPool_Convert(plan.jobs, workerCount, report);
    } else {
        for (std::size_t i = 0; i < plan.jobs.size(); ++i) {
            report.Add(i, Convert_File(plan.jobs[i]));
        }
    }
    return report.Finish() ? kExitSuccess : kExitFailure;
}

}  // namespace koru_host
