#include "bench_astc.h"

#include <string>

#include "astc_codec_limit.h"
#include "bench_formats.h"
#include "bench_probes.h"
#include "bench_runner.h"
#include "bench_table.h"
#include "bench_textures.h"
#include "korutex.h"

namespace koru_bench {
namespace {

constexpr std::uint32_t kSide = 16;

void RunCase(const Format& format, Table& table) {
    Texture texture(format, kSide, Data::Natural);
    const auto file = texture.GetFile();
    const auto makeContext = [&] {
        return AstcCodec_MakeContext(format.blockWidth, format.blockHeight);
    };
    const Group group("context/" + std::string(format.name));
    group.Add("context", [&](benchmark::State& state) { Runner_Time(state, makeContext); });
    group.Add("load", [&](benchmark::State& state) {
        Runner_Time(state,
                    [&] { return Format_LoadFromMemory(format, file, KORU_FLAG_RGBA) != nullptr; });
        Formats_ForgetLoads();
    });
    const Results results = group.Run();
    if (results.IsEmpty()) return;
    const auto milliseconds = [&](const std::string& what) {
        const auto seconds = results.FindSeconds(what);
        return seconds ? std::optional(*seconds * 1e3) : std::nullopt;
    };
    const auto peak = static_cast<double>(Probe_MeasurePeakBytes([&] { makeContext(); }));
    table.Text(format.name).Number(milliseconds("context")).Number(peak / (1 << 20));
    table.Number(milliseconds("load")).EndRow();
}

}  // namespace

void Astc_Run(std::ostream& out) {
    Table table(out, "ASTC: the codec's context, and loads of 16 x 16 from memory",
                {{"format", 10}, {"context, ms", 11}, {"MiB", 5}, {"load, ms", 8}});
    for (const Format& format : Formats_GetAll()) {
        if (format.container == Container::Astc) RunCase(format, table);
    }
}

}  // namespace koru_bench
