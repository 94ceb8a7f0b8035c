// The benchmarks of the library; docs/PERFORMANCE.md tells what the tables mean.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "bench_astc.h"
#include "bench_growth.h"
#include "bench_probes.h"
#include "bench_quality.h"
#include "bench_runner.h"
#include "bench_small.h"
#include "bench_speed.h"

namespace koru_bench {
namespace {

constexpr std::string_view kUsage =
    "usage: korutex_bench [--huge-pages] [--reuse-heap] [--details] [GOOGLE BENCHMARK "
    "ARGUMENT...]\n"
    "       korutex_bench --check\n"
    "\n"
    "  --huge-pages  Let the system use huge pages where the library asks for them\n"
    "  --reuse-heap  Let the heap keep freed buffers for the next load\n"
    "  --details     Show every run as well\n"
    "  --check       Tell how good the pictures are, and measure nothing\n"
    "\n"
    "Of Google Benchmark's arguments these are of use: --benchmark_filter=REGEX,\n"
    "--benchmark_repetitions=N, --benchmark_min_time=SECONDS.\n"
    "Names: FORMAT/SIDE/DATA/WHAT, growth/FORMAT/SIDE/load, small/FORMAT/load,\n"
    "context/FORMAT/WHAT.\n";

struct Options {
    bool hasHugePages = false, reusesHeap = false, hasDetails = false, isCheck = false;
    bool wantsHelp = false;
    std::vector<std::string> rest;  ///< For Google Benchmark, the program's name first.
};

Options ReadOptions(int argumentCount, char** arguments) {
    Options options;
    options.rest = {arguments[0], "--benchmark_repetitions=5", "--benchmark_min_time=0.01",
                    "--benchmark_enable_random_interleaving=true"};
    for (int i = 1; i < argumentCount; ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "--huge-pages") {
            options.hasHugePages = true;
        } else if (argument == "--reuse-heap") {
            options.reusesHeap = true;
        } else if (argument == "--details") {
            options.hasDetails = true;
        } else if (argument == "--check") {
            options.isCheck = true;
        } else if (argument == "--help") {
            options.wantsHelp = true;
        } else {
            options.rest.emplace_back(argument);
        }
    }
    return options;
}

/// Google Benchmark keeps the strings.
bool Initialize(std::vector<std::string>& rest) {
    static std::vector<char*> pointers;
    for (std::string& argument : rest) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    int count = static_cast<int>(rest.size());
    benchmark::Initialize(&count, pointers.data());
    return !benchmark::ReportUnrecognizedArguments(count, pointers.data());
}

std::string GetProcessorName() {
    std::ifstream stream("/proc/cpuinfo");
    std::string line;
    while (std::getline(stream, line)) {
        if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
    }
    return "unknown";
}

void PrintConditions(std::ostream& out, const Options& options) {
    out << "Processor   " << GetProcessorName() << "\nCompiler    " << __VERSION__
        << "\nBest level  " << koru::KernelLevel_GetName(Runner_GetBestLevel()) << "\nPages       "
        << (options.hasHugePages ? "huge where the library asks for them" : "4 KiB")
        << "\nHeap        "
        << (options.reusesHeap ? "keeps freed buffers as it likes"
                               : "new memory for each buffer from 128 KiB on")
        << '\n';
}

int Run(int argumentCount, char** arguments) {
    Options options = ReadOptions(argumentCount, arguments);
    if (options.wantsHelp) {
        std::cout << kUsage;
        return 0;
    }
    if (options.isCheck) {
        Quality_Check(std::cout);
        return 0;
    }
    if (!Initialize(options.rest)) return 2;
    if (!options.hasHugePages) Probe_DisableHugePages();
    if (!options.reusesHeap) Probe_DisableHeapReuse();
    if (options.hasDetails) Runner_ShowDetails();
    PrintConditions(std::cout, options);
    Speed_Run(std::cout);
    Astc_Run(std::cout);
    Growth_Run(std::cout);
    Small_Run(std::cout);
    return 0;
}

}  // namespace
}  // namespace koru_bench

int main(int argumentCount, char** arguments) {
    try {
        return koru_bench::Run(argumentCount, arguments);
    } catch (const std::exception& error) {
        std::cerr << "korutex_bench: " << error.what() << '\n';
        return 1;
    }
}
