#include "bench_probes.h"

#include <malloc.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>

#include "core/file_access.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace koru_bench {
namespace {

constexpr std::size_t kStoreBytes = 32;

/// Not all bytes alike, or the compiler calls memset.
constexpr auto kPattern = [] {
    std::array<std::uint8_t, kStoreBytes> pattern{};
    for (std::size_t i = 0; i < pattern.size(); ++i) pattern[i] = static_cast<std::uint8_t>(i);
    return pattern;
}();

void FillPlain(std::uint8_t* target, std::size_t storeCount) {
    for (std::size_t i = 0; i < storeCount; ++i)
        std::memcpy(target + i * kStoreBytes, kPattern.data(), kStoreBytes);
}

#if defined(__x86_64__)
__attribute__((target("avx2"))) void FillAvx2(std::uint8_t* target, std::size_t storeCount) {
    const __m256i value = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(kPattern.data()));
    for (std::size_t i = 0; i < storeCount; ++i)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + i * kStoreBytes), value);
}
#endif

/// A line of a file below /proc that counts KiB, in bytes.
std::size_t ReadLine(const char* path, const std::string& key) {
    std::ifstream stream(path);
    std::string line;
    while (std::getline(stream, line)) {
        if (line.rfind(key, 0) == 0)
            return std::strtoull(line.c_str() + key.size(), nullptr, 10) << 10;
    }
    return 0;
}

}  // namespace

std::int64_t Probe_CountPageFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

std::size_t Probe_MeasurePeakBytes(const std::function<void()>& body) {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";  // the high-water mark restarts here
    const std::size_t before = ReadLine("/proc/self/status", "VmRSS:");
    body();
    const std::size_t peak = ReadLine("/proc/self/status", "VmHWM:");
    return peak > before ? peak - before : 0;
}

std::size_t Probe_GetAvailableBytes() { return ReadLine("/proc/meminfo", "MemAvailable:"); }

void Probe_DisableHugePages() {
    if (prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0) != 0)
        throw std::runtime_error("huge pages cannot be disabled");
}

void Probe_DisableHeapReuse() { mallopt(M_MMAP_THRESHOLD, 128 << 10); }

void Probe_Fill(koru::ByteBuffer& buffer) {
    const std::size_t storeCount = buffer.Size() / kStoreBytes;
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2")) return FillAvx2(buffer.Data(), storeCount);
#endif
    FillPlain(buffer.Data(), storeCount);
}

koru::ByteBuffer Probe_ReadFile(const std::filesystem::path& path) {
    const koru::FileHandle file = koru::File_Open(path.u16string().c_str(), koru::FileMode::Read);
    if (file == nullptr) return {};
    const auto size = koru::File_GetSize(file.get());
    if (!size) return {};
    auto bytes = koru::ByteBuffer::Allocate(*size);
    if (!bytes || !koru::File_Read(file.get(), {bytes.Data(), bytes.Size()})) return {};
    return bytes;
}

}  // namespace koru_bench
