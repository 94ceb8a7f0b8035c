// Runs benchmarks in groups: what is compared is measured in turns, in random order.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "bench_probes.h"
#include "core/kernel_level.h"

namespace koru_bench {

/// Of one iteration; the median of all repetitions.
struct Sample {
    double seconds = 0;
    double pageFaults = 0;
};

/// By what was measured. Empty where the filter leaves all of a group out.
class Results {
  public:
    void Add(const std::string& what, const Sample& sample) { samples_[what] = sample; }
    [[nodiscard]] bool IsEmpty() const { return samples_.empty(); }
    /// Nothing if it was left out or failed.
    [[nodiscard]] std::optional<Sample> Find(const std::string& what) const;
    [[nodiscard]] std::optional<double> FindSeconds(const std::string& what) const;

  private:
    std::map<std::string, Sample> samples_;
};

class Group {
  public:
    /// `name` begins the names of the benchmarks, as in "BC1/256/natural".
    explicit Group(std::string name) : name_(std::move(name)) {}
    void Add(const std::string& what, const std::function<void(benchmark::State&)>& body) const;

    /// Runs and forgets what was added.
    [[nodiscard]] Results Run() const;

  private:
    std::string name_;
};

/// Prints every run in the words of Google Benchmark, too.
void Runner_ShowDetails();

/// The level that decoding uses unless told otherwise.
inline koru::KernelLevel Runner_GetBestLevel() { return koru::KernelLevel_GetRunnable().back(); }

/// Times `body`, which returns false if it fails.
template <typename Body>
void Runner_Time(benchmark::State& state, const Body& body) {
    bool isGood = true;
    const std::int64_t before = Probe_CountPageFaults();
    for (auto _ : state) isGood = body() && isGood;
    const auto pageFaults = static_cast<double>(Probe_CountPageFaults() - before);
    state.counters["faults"] = benchmark::Counter(pageFaults, benchmark::Counter::kAvgIterations);
    if (!isGood) state.counters["failed"] = 1;
}

}  // namespace koru_bench
