#include "bench_small.h"

#include <string>

#include "bench_formats.h"
#include "bench_runner.h"
#include "bench_table.h"
#include "bench_textures.h"
#include "heap_counter.h"
#include "korutex.h"

namespace koru_bench {
namespace {

constexpr std::uint32_t kSide = 16;

void RunCase(const Format& format, Table& table) {
    Texture texture(format, kSide, Data::Natural);
    const auto file = texture.GetFile();
    const auto load = [&] {
        return Format_LoadFromMemory(format, file, KORU_FLAG_RGBA) != nullptr;
    };
    const Group group("small/" + std::string(format.name));
    group.Add("load", [&](benchmark::State& state) {
        Formats_ForgetLoads();
        Runner_Time(state, load);
    });
    const auto seconds = group.Run().FindSeconds("load");
    if (!seconds) return;
    Heap_StartCounting();
    load();
    const HeapCount count = Heap_StopCounting();
    table.Text(format.name).Count(*seconds * 1e9);
    table.Count(static_cast<double>(count.allocations));
    table.Count(static_cast<double>(count.largestBytes)).EndRow();
}

}  // namespace

void Small_Run(std::ostream& out) {
    Table table(out, "Small files: loads of 16 x 16 from memory as RGBA",
                {{"format", 10}, {"ns", 9}, {"allocations", 11}, {"largest, bytes", 14}});
    for (const Format& format : Formats_GetAll()) RunCase(format, table);
}

}  // namespace koru_bench
