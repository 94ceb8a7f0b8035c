#include "bench_growth.h"

#include <string>

#include "bench_formats.h"
#include "bench_probes.h"
#include "bench_runner.h"
#include "bench_table.h"
#include "bench_textures.h"
#include "korutex.h"

namespace koru_bench {
namespace {

constexpr std::uint32_t kSmallestSide = 64, kLargestSide = 16384;
constexpr std::uint32_t kPeakFrom = 1024;

/// File, payload, record, and as much again for what the system wants to keep.
bool HasMemory(const Format& format, std::uint32_t side) {
    return Probe_GetAvailableBytes() / 2 >
           2 * Format_GetPayloadBytes(format, side) + Format_GetRecordBytes(side);
}

void RunCase(const Format& format, std::uint32_t side, Table& table) {
    Texture texture(format, side, Data::Natural);
    const auto load = [&] {
        return Format_LoadFromMemory(format, texture.GetFile(), KORU_FLAG_RGBA) != nullptr;
    };
    const Group group("growth/" + std::string(format.name) + "/" + std::to_string(side));
    group.Add("load", [&](benchmark::State& state) {
        static_cast<void>(texture.GetFile());
        Formats_ForgetLoads();
        Runner_Time(state, load);
        Formats_ForgetLoads();
    });
    const auto seconds = group.Run().FindSeconds("load");
    if (!seconds) return;
    const auto pixels = static_cast<double>(std::size_t{side} * side);
    table.Text(format.name).Count(side).Number(*seconds * 1e9 / pixels);
    if (side >= kPeakFrom) {
        const std::size_t peak = Probe_MeasurePeakBytes([&] { load(); });
        Formats_ForgetLoads();
        const std::size_t needed = texture.GetFile().size() + Format_GetRecordBytes(side);
        table.Number(static_cast<double>(peak) / pixels);
        table.Number(static_cast<double>(needed) / pixels);
    }
    table.EndRow();
}

}  // namespace

void Growth_Run(std::ostream& out) {
    Table table(out, "Growth: loads from memory as RGBA",
                {{"format", 10},
                 {"side", 5},
                 {"ns/pixel", 8},
                 {"peak B/pixel", 12},
                 {"payload + record", 16}});
    for (const char* name : {"BC1", "ETC2-RGBA", "RGBA8", "PVRTC-4bpp"}) {
        const Format& format = Formats_Get(name);
        for (std::uint32_t side = kSmallestSide; side <= kLargestSide; side *= 2) {
            if (HasMemory(format, side)) RunCase(format, side, table);
        }
    }
}

}  // namespace koru_bench
