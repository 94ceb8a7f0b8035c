// Block decoders alone, on random blocks: every mode of a format comes up.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "blocks/etc_decoder.h"
#include "blocks/s3tc_decoder.h"
#include "formats/gl_codes.h"

namespace koru {
namespace {

std::vector<std::uint8_t> MakeBlocks(std::size_t count) {
    std::minstd_rand random(1);
    std::vector<std::uint8_t> bytes(count);
    for (auto& value : bytes) value = static_cast<std::uint8_t>(random() >> 8);
    return bytes;
}

/// `bytes`: decoded, for each image.
void SetRates(benchmark::State& state, std::size_t bytes) {
    const auto images = static_cast<double>(state.iterations());
    const auto pixels = static_cast<double>(state.range(0) * state.range(0));
    state.counters["Mpixel/s"] =
        benchmark::Counter(images * pixels / 1e6, benchmark::Counter::kIsRate);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

/// Into memory that was written before.
void S3tc_DecodeImage(benchmark::State& state, S3tcMode mode) {
    constexpr std::int32_t kPixelBytes = 4;
    const auto side = static_cast<std::uint32_t>(state.range(0));
    const auto blocks = MakeBlocks(*S3tc_GetPayloadBytes(mode, side, side));
    std::vector<std::uint8_t> pixels(std::size_t{side} * side * kPixelBytes);
    for (auto _ : state) {
        koru::S3tc_DecodeImage(pixels.data(), blocks.data(), mode, 0, side, side, kPixelBytes);
        benchmark::ClobberMemory();
    }
    SetRates(state, pixels.size());
}

/// Into a new buffer each time: allocation and first touches count.
void Etc_DecodeImage(benchmark::State& state, std::uint32_t code) {
    const auto side = static_cast<std::uint32_t>(state.range(0));
    const auto blocks = MakeBlocks(*Etc_GetPayloadBytes(code, side, side));
    std::uint32_t size = 0;
    for (auto _ : state) {
        ByteBuffer pixels;
        std::uint32_t format = 0, internalFormat = 0, type = 0;
        koru::Etc_DecodeImage(blocks.data(), code, side, side, pixels, format, internalFormat, type,
                              0, 1);
        benchmark::DoNotOptimize(pixels.Data());
        size = pixels.Size();
    }
    if (size == 0) state.SkipWithError("nothing decoded");
    SetRates(state, size);
}

void SetSides(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(64)->Arg(512)->Arg(2048)->Unit(benchmark::kMicrosecond);
}

BENCHMARK_CAPTURE(S3tc_DecodeImage, Dxt1, S3tcMode::Dxt1)->Apply(SetSides);
BENCHMARK_CAPTURE(S3tc_DecodeImage, Dxt5, S3tcMode::Dxt5)->Apply(SetSides);
BENCHMARK_CAPTURE(Etc_DecodeImage, Rgb8, GL_COMPRESSED_RGB8_ETC2)->Apply(SetSides);
BENCHMARK_CAPTURE(Etc_DecodeImage, Rgba8, GL_COMPRESSED_RGBA8_ETC2_EAC)->Apply(SetSides);
BENCHMARK_CAPTURE(Etc_DecodeImage, R11, GL_COMPRESSED_R11_EAC)->Apply(SetSides);

}  // namespace
}  // namespace koru

BENCHMARK_MAIN();
