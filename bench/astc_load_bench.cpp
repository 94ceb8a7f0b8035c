// A whole load of a 4096 x 4096 ASTC 6x6 file from memory, beside the codec alone on the same
// payload: time as a ratio of pairs in one run, and peak memory against what the load may take.
#include <astcenc.h>
#include <benchmark/benchmark.h>
#include <korutex.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace {

constexpr std::uint32_t kWidth = 4096, kHeight = 4096;
constexpr std::size_t kRecordBytes = std::size_t{kWidth} * kHeight * 4;
constexpr std::size_t kHeaderBytes = 16;

const std::vector<std::uint8_t>& GetFile() {
    static const std::vector<std::uint8_t> file = [] {
        std::ifstream stream(KORUTEX_BENCH_FILE, std::ios::binary);
        return std::vector<std::uint8_t>{std::istreambuf_iterator<char>(stream), {}};
    }();
    return file;
}

/// Config, context, decompress, free: the calls of a load and nothing else.
bool RunCodec(std::uint8_t* pixels) {
    astcenc_config config{};
    astcenc_context* context = nullptr;
    if (astcenc_config_init(ASTCENC_PRF_LDR, 6, 6, 1, 60.0f, 0, &config) != ASTCENC_SUCCESS) {
        return false;
    }
    const auto allocate = [&](auto function) {
        if constexpr (std::is_invocable_v<decltype(function), const astcenc_config*, unsigned,
                                          astcenc_context**>) {
            return function(&config, 1u, &context);
        } else {
            return function(&config, 1u, &context, nullptr);
        }
    };
    if (allocate(&astcenc_context_alloc) != ASTCENC_SUCCESS) return false;
    void* slice = pixels;
    astcenc_image image{};
    image.dim_x = kWidth;
    image.dim_y = kHeight;
    image.dim_z = 1;
    image.data_type = ASTCENC_TYPE_U8;
    image.data = &slice;
    const astcenc_swizzle identity{ASTCENC_SWZ_R, ASTCENC_SWZ_G, ASTCENC_SWZ_B, ASTCENC_SWZ_A};
    const auto& file = GetFile();
    const astcenc_error result = astcenc_decompress_image(
        context, file.data() + kHeaderBytes, file.size() - kHeaderBytes, &image, &identity, 0);
    astcenc_context_free(context);
    return result == ASTCENC_SUCCESS;
}

KORU_Image* Load(std::uint32_t flags) {
    const auto& file = GetFile();
    return KORU_Load_ASTC_From_Memory(file.data(), static_cast<std::uint32_t>(file.size()), flags);
}

template <typename Body>
double TimeSeconds(Body&& body) {
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double GetMedian(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// One iteration is a pair, every other one in the other order, so that a drifting machine favors
/// neither. `warm`: the codec writes to memory that it has written before; otherwise to new memory,
/// as a load must.
void AstcLoadOverCodec(benchmark::State& state, std::uint32_t flags, bool warm) {
    if (GetFile().size() <= kHeaderBytes) {
        state.SkipWithError("no texture at " KORUTEX_BENCH_FILE);
        return;
    }
    std::vector<std::uint8_t> warmPixels(warm ? kRecordBytes : 0);
    bool good = true;
    const auto timeCodec = [&] {
        return TimeSeconds([&] {
            std::unique_ptr<std::uint8_t[]> fresh;
            if (!warm) fresh.reset(new std::uint8_t[kRecordBytes]);
            good = RunCodec(warm ? warmPixels.data() : fresh.get()) && good;
        });
    };
    const auto timeLoad = [&] {
        return TimeSeconds([&] {
            KORU_Image* image = Load(flags);
            good = image != nullptr && good;
            KORU_Delete_Image(image);
        });
    };
    timeCodec();
    timeLoad();
    std::vector<double> ratios, codecs, loads;
    for (auto _ : state) {
        const bool codecFirst = ratios.size() % 2 == 0;
        const double first = codecFirst ? timeCodec() : timeLoad();
        const double second = codecFirst ? timeLoad() : timeCodec();
        codecs.push_back(codecFirst ? first : second);
        loads.push_back(codecFirst ? second : first);
        ratios.push_back(loads.back() / codecs.back());
        state.SetIterationTime(loads.back());
    }
    if (!good) state.SkipWithError("the texture does not decode");
    state.counters["codec_ms"] = GetMedian(codecs) * 1e3;
    state.counters["load_ms"] = GetMedian(loads) * 1e3;
    state.counters["ratio"] = GetMedian(ratios);
    state.counters["best_ratio"] = *std::min_element(loads.begin(), loads.end()) /
                                   *std::min_element(codecs.begin(), codecs.end());
    state.counters["MPix/s"] = kWidth * double{kHeight} / GetMedian(loads) / 1e6;
}

BENCHMARK_CAPTURE(AstcLoadOverCodec, Rgba_CodecIntoNewMemory, KORU_FLAG_RGBA, false)
    ->UseManualTime()
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AstcLoadOverCodec, Rgba_CodecIntoWarmMemory, KORU_FLAG_RGBA, true)
    ->UseManualTime()
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AstcLoadOverCodec, Rgb_CodecIntoNewMemory, 0u, false)
    ->UseManualTime()
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);

/// A line of /proc/self/status, in bytes.
std::size_t ReadStatus(const std::string& key) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(key, 0) == 0)
            return std::strtoull(line.c_str() + key.size(), nullptr, 10) << 10;
    }
    return 0;
}

/// What `body` makes resident at its peak, above what is resident before it.
template <typename Body>
std::size_t MeasurePeak(Body&& body) {
    std::ofstream("/proc/self/clear_refs") << "5";  // the high-water mark restarts here
    const std::size_t before = ReadStatus("VmRSS:");
    body();
    const std::size_t peak = ReadStatus("VmHWM:");
    return peak > before ? peak - before : 0;
}

void AstcLoadPeakMemory(benchmark::State& state) {
    std::vector<std::uint8_t> pixels(kRecordBytes, 1);
    std::size_t context = 0, load = 0;
    for (auto _ : state) {
        context = MeasurePeak([&] { RunCodec(pixels.data()); });
        load = MeasurePeak([] { KORU_Delete_Image(Load(KORU_FLAG_RGBA)); });
    }
    const double mebibyte = 1 << 20;
    const auto payload = static_cast<double>(GetFile().size() - kHeaderBytes);
    const double allowed = payload + static_cast<double>(kRecordBytes + context) + mebibyte;
    state.counters["payload_MiB"] = payload / mebibyte;
    state.counters["record_MiB"] = kRecordBytes / mebibyte;
    state.counters["context_MiB"] = static_cast<double>(context) / mebibyte;
    state.counters["peak_MiB"] = static_cast<double>(load) / mebibyte;
    state.counters["allowed_MiB"] = allowed / mebibyte;
}
BENCHMARK(AstcLoadPeakMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
