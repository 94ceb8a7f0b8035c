#include "bench_runner.h"

#include <iostream>
#include <ostream>
#include <vector>

#include "bench_table.h"

namespace koru_bench {
namespace {

bool g_showsDetails = false;

class Collector : public benchmark::ConsoleReporter {
  public:
    Collector() : ConsoleReporter(OO_Tabular) {}

    bool ReportContext(const Context& context) override {
        return !g_showsDetails || ConsoleReporter::ReportContext(context);
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        if (g_showsDetails) ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration) continue;
            const std::string name = run.run_name.function_name;
            const auto pageFaults = run.counters.find("faults");
            if (pageFaults == run.counters.end() || run.counters.contains("failed")) {
                std::cerr << name << ": does not decode\n";
                continue;
            }
            Measured& measured = measured_[name];
            measured.seconds.push_back(run.real_accumulated_time /
                                       static_cast<double>(run.iterations));
            measured.pageFaults.push_back(pageFaults->second);
        }
    }

    [[nodiscard]] Results GetResults(const std::string& prefix) const {
        Results results;
        for (const auto& [name, measured] : measured_) {
            results.Add(name.substr(prefix.size()), {.seconds = GetMedian(measured.seconds),
                                                     .pageFaults = GetMedian(measured.pageFaults)});
        }
        return results;
    }

  private:
    struct Measured {
        std::vector<double> seconds, pageFaults;
    };
    std::map<std::string, Measured> measured_;
};

}  // namespace

std::optional<Sample> Results::Find(const std::string& what) const {
    const auto found = samples_.find(what);
    return found != samples_.end() ? std::optional(found->second) : std::nullopt;
}

std::optional<double> Results::FindSeconds(const std::string& what) const {
    const auto sample = Find(what);
    return sample ? std::optional(sample->seconds) : std::nullopt;
}

void Group::Add(const std::string& what, const std::function<void(benchmark::State&)>& body) const {
    benchmark::RegisterBenchmark((name_ + "/" + what).c_str(), body)->UseRealTime();
}

Results Group::Run() const {
    Collector collector;
    std::ostream nowhere(nullptr);
    collector.SetErrorStream(&nowhere);  // a group without a match is no error
    benchmark::RunSpecifiedBenchmarks(&collector);
    benchmark::ClearRegisteredBenchmarks();
    return collector.GetResults(name_ + "/");
}

void Runner_ShowDetails() { g_showsDetails = true; }

}  // namespace koru_bench
