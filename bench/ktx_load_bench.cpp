// Whole loads of 4096 x 4096 KTX files from memory, beside the floor: reading the file once and
// touching the record's pages once.
#include <benchmark/benchmark.h>
#include <korutex.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "ktx_builder.h"

namespace {

constexpr std::uint32_t kSide = 4096;
constexpr std::size_t kPixels = std::size_t{kSide} * kSide;

struct Case {
    const char* name;
    bool isCompressed;
    std::uint32_t glInternalFormat;
    std::size_t payloadBytes;
};
constexpr Case kCases[] = {
    {"Rgba8", false, 0x8058, kPixels * 4},   {"Rgb8", false, 0x8051, kPixels * 3},
    {"Rgb10A2", false, 0x8059, kPixels * 4}, {"Dxt1", true, 0x83F1, kPixels / 2},
    {"Dxt1Srgb", true, 0x8C4C, kPixels / 2}, {"Dxt5", true, 0x83F3, kPixels},
    {"Etc2Rgb", true, 0x9274, kPixels / 2},  {"Etc2Rgba", true, 0x9278, kPixels},
};

Bytes MakeFile(const Case& test) {
    std::mt19937_64 random(1);
    Bytes payload(test.payloadBytes);
    for (std::size_t i = 0; i < payload.size(); i += 8) {
        const std::uint64_t word = random();
        std::memcpy(payload.data() + i, &word, 8);
    }
    Ktx1Builder builder;
    builder.Size(kSide, kSide).Level(payload);
    return (test.isCompressed ? builder.Compressed(test.glInternalFormat)
                              : builder.Uncompressed(test.glInternalFormat))
        .Build();
}

void SetCounters(benchmark::State& state) {
    state.counters["Mpixel/s"] = benchmark::Counter(
        static_cast<double>(kPixels) * 1e-6 * static_cast<double>(state.iterations()),
        benchmark::Counter::kIsRate);
}

void Load(benchmark::State& state, const Case& test, std::uint32_t flags) {
    const Bytes file = MakeFile(test);
    for (auto _ : state) {
        KORU_Image* image =
            KORU_Load_KTX_From_Memory(file.data(), static_cast<std::uint32_t>(file.size()), flags);
        if (image == nullptr) return state.SkipWithError("does not load");
        benchmark::DoNotOptimize(image->pixels);
        KORU_Delete_Image(image);
    }
    SetCounters(state);
}

void Floor(benchmark::State& state) {
    const Bytes file(kPixels, 1);
    for (auto _ : state) {
        auto* record = static_cast<std::uint8_t*>(std::malloc(kPixels * 4));
        if (record == nullptr) return state.SkipWithError("no memory");
        for (std::size_t i = 0; i < 4; ++i) {
            std::memcpy(record + i * kPixels, file.data(), kPixels);
            benchmark::ClobberMemory();
        }
        std::free(record);
    }
    SetCounters(state);
}

}  // namespace

int main(int argumentCount, char** arguments) {
    const auto add = [](const std::string& name, auto&& body) {
        benchmark::RegisterBenchmark(name.c_str(), body)->Unit(benchmark::kMillisecond);
    };
    add("Floor", [](benchmark::State& state) { Floor(state); });
    for (const Case& test : kCases) {
        const std::string name = std::string("Load/") + test.name;
        add(name + "/rgba", [&test](auto& state) { Load(state, test, KORU_FLAG_RGBA); });
        add(name + "/rgb", [&test](auto& state) { Load(state, test, 0); });
    }
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
