#include "bench_speed.h"

#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "bench_formats.h"
#include "bench_probes.h"
#include "bench_runner.h"
#include "bench_table.h"
#include "bench_textures.h"
#include "korutex.h"

namespace koru_bench {
namespace {

constexpr std::array<std::uint32_t, 4> kSides{16, 256, 2048, 4096};
constexpr std::uint32_t kLargestSide = kSides.back();
constexpr std::uint32_t kPeakFrom = 2048;
/// Below, limits are calls more than bytes.
constexpr std::uint32_t kLimitsFrom = 256;

/// Limits by bytes, from all groups.
using Limits = std::map<std::pair<std::string, std::size_t>, std::vector<double>>;

class SpeedCase {
  public:
    SpeedCase(const Format& format, std::uint32_t side, Data data)
        : format_(format), side_(side), data_(data), texture_(format, side, data) {}

    void Run(Table& table, Limits& limits) {
        const Group group(std::string(format_.name) + "/" + std::to_string(side_) + "/" +
                          std::string(Data_GetName(data_)));
        const bool isWhole = data_ == Data::Natural;
        AddKernels(group);
        AddMemoryLimits(group);
        AddLoad(group, "load4", KORU_FLAG_RGBA, false);
        if (isWhole) {
            AddLoad(group, "load3", 0, false);
            AddLoad(group, "file4", KORU_FLAG_RGBA, true);
            AddLoad(group, "file3", 0, true);
            group.Add("read", [this](benchmark::State& state) {
                const auto& path = texture_.GetPath();
                Runner_Time(state, [&] { return static_cast<bool>(Probe_ReadFile(path)); });
            });
        }
        const Results results = group.Run();
        if (results.IsEmpty()) return;
        NoteLimits(results, limits);
        PrintRow(table, results);
    }

  private:
    [[nodiscard]] bool HasLevels() const { return format_.container != Container::Astc; }
    [[nodiscard]] std::uint32_t GetPixelBytes() const {
        return Format_GetPixelBytes(format_, side_);
    }

    void AddWarmKernel(const Group& group, const std::string& what, koru::KernelLevel level) {
        group.Add(what, [this, level](benchmark::State& state) {
            auto pixels = koru::ByteBuffer::Allocate(GetPixelBytes());
            const auto payload = texture_.GetPayload();
            koru::KernelLevel_Force(level);
            format_.decode(format_, payload, side_, pixels);
            Runner_Time(state, [&] {
                format_.decode(format_, payload, side_, pixels);
                return true;
            });
            koru::KernelLevel_Force(Runner_GetBestLevel());
        });
    }

    void AddKernels(const Group& group) {
        AddWarmKernel(group, "warm", Runner_GetBestLevel());
        if (HasLevels()) AddWarmKernel(group, "scalar", koru::KernelLevel::Scalar);
        group.Add("fresh", [this](benchmark::State& state) {
            const auto payload = texture_.GetPayload();
            Runner_Time(state, [&] {
                auto pixels = koru::ByteBuffer::Allocate(GetPixelBytes());
                format_.decode(format_, payload, side_, pixels);
                return static_cast<bool>(pixels);
            });
        });
    }

    void AddMemoryLimits(const Group& group) {
        group.Add("store", [this](benchmark::State& state) {
            auto pixels = koru::ByteBuffer::Allocate(GetPixelBytes());
            Probe_Fill(pixels);
            Runner_Time(state, [&] {
                Probe_Fill(pixels);
                benchmark::ClobberMemory();
                return true;
            });
        });
        group.Add("touch", [this](benchmark::State& state) {
            Runner_Time(state, [&] {
                auto pixels = koru::ByteBuffer::Allocate(GetPixelBytes());
                Probe_Fill(pixels);
                benchmark::DoNotOptimize(pixels.Data());
                return true;
            });
        });
    }

    void AddLoad(const Group& group, const std::string& what, std::uint32_t flags, bool isFile) {
        group.Add(what, [this, flags, isFile](benchmark::State& state) {
            const auto file = texture_.GetFile();
            const std::filesystem::path path = isFile ? texture_.GetPath() : "";
            Formats_ForgetLoads();
            Runner_Time(state, [&] {
                return (isFile ? Format_LoadFromFile(format_, path, flags)
                               : Format_LoadFromMemory(format_, file, flags)) != nullptr;
            });
            Formats_ForgetLoads();
        });
    }

    void NoteLimits(const Results& results, Limits& limits) {
        if (side_ < kLimitsFrom) return;
        const auto note = [&](const std::string& what, std::size_t bytes) {
            if (const auto seconds = results.FindSeconds(what))
                limits[{what, bytes}].push_back(*seconds);
        };
        note("store", GetPixelBytes());
        note("touch", GetPixelBytes());
        // Files differ by their headers, too.
        note("read", texture_.GetFile().size() / 1024 * 1024);
    }

    void PrintRow(Table& table, const Results& results) {
        const auto rate = [&](const std::string& what) {
            const auto seconds = results.FindSeconds(what);
            const auto pixels = static_cast<double>(std::size_t{side_} * side_);
            return seconds ? std::optional(pixels / *seconds / 1e6) : std::nullopt;
        };
        const auto ratio = [&](const std::string& what, const std::string& limit) {
            return Ratio(results.FindSeconds(what), results.FindSeconds(limit));
        };
        const auto faults = [&](const std::string& what) {
            const auto sample = results.Find(what);
            return sample ? std::optional(sample->pageFaults) : std::nullopt;
        };
        table.Text(format_.name).Count(side_).Text(Data_GetName(data_));
        table.Number(rate("warm")).Number(ratio("store", "warm"));
        table.Number(ratio("scalar", "warm"));
        table.Number(rate("fresh")).Number(ratio("touch", "fresh"));
        table.Count(faults("fresh"));
        table.Number(rate("load4")).Number(rate("load3"));
        table.Number(rate("file4")).Number(rate("file3"));
        for (const char* file : {"file4", "file3"}) {
            table.Number(Ratio(results.FindSeconds(file),
                               Sum(results.FindSeconds("read"), results.FindSeconds("fresh"))));
        }
        table.Count(faults("file4"));
        if (side_ >= kPeakFrom && results.FindSeconds("file4")) {
            // The file, its payload, the record.
            const std::size_t needed = 2 * texture_.GetFile().size() + Format_GetRecordBytes(side_);
            Formats_ForgetLoads();
            const auto peak = static_cast<double>(Probe_MeasurePeakBytes(
                [this] { Format_LoadFromFile(format_, texture_.GetPath(), KORU_FLAG_RGBA); }));
            Formats_ForgetLoads();
            table.Number(peak / (1 << 20)).Number(peak / static_cast<double>(needed));
        }
        table.EndRow();
    }

    const Format& format_;
    std::uint32_t side_;
    Data data_;
    Texture texture_;
};

void PrintLimits(std::ostream& out, const Limits& limits) {
    if (limits.empty()) return;
    Table table(out, "Limits of this machine", {{"limit", 6}, {"KiB", 7}, {"GB/s", 7}, {"us", 9}});
    for (const auto& [key, seconds] : limits) {
        const double median = GetMedian(seconds);
        table.Text(key.first).Number(static_cast<double>(key.second) / 1024);
        table.Number(static_cast<double>(key.second) / median / 1e9).Number(median * 1e6);
        table.EndRow();
    }
}

}  // namespace

void Speed_Run(std::ostream& out) {
    Table table(out, "Kernels and loads, in MPix/s",
                {{"format", 10},
                 {"side", 5},
                 {"data", 7},
                 {"warm", 6},
                 {"/store", 6},
                 {"xscalar", 7},
                 {"fresh", 6},
                 {"/touch", 6},
                 {"faults", 6},
                 {"load4", 6},
                 {"load3", 6},
                 {"file4", 6},
                 {"file3", 6},
                 {"/limit4", 7},
                 {"/limit3", 7},
                 {"faults", 6},
                 {"peakMiB", 7},
                 {"/need", 6}});
    Limits limits;
    for (const Format& format : Formats_GetAll()) {
        for (const std::uint32_t side : kSides)
            SpeedCase(format, side, Data::Natural).Run(table, limits);
        // Of the codec's blocks nothing is to be learnt here, and it takes its time.
        if (format.container == Container::Astc) continue;
        for (const Data data : {Data::Smooth, Data::Random})
            SpeedCase(format, kLargestSide, data).Run(table, limits);
    }
    PrintLimits(out, limits);
}

}  // namespace koru_bench
