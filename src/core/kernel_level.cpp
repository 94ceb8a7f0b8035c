#include "core/kernel_level.h"

#include <array>
#include <atomic>

#if defined(KORU_X86_KERNELS) && defined(_MSC_VER)
#include <immintrin.h>
#include <intrin.h>
#endif

namespace koru {
namespace {

constexpr std::array<KernelLevel, kKernelLevelCount> kLevels{KernelLevel::Scalar,
                                                             KernelLevel::Sse41, KernelLevel::Avx2};

#if !defined(KORU_X86_KERNELS)

std::size_t CountRunnable() noexcept { return 1; }

#elif defined(_MSC_VER)

/// The wide registers count only where the system keeps them across switches of threads.
std::size_t CountRunnable() noexcept {
    constexpr int kSse41 = 1 << 19, kOsxsave = 1 << 27, kAvx = 1 << 28, kAvx2 = 1 << 5;
    constexpr unsigned long long kXmmAndYmm = 6;
    std::array<int, 4> features{};  // eax, ebx, ecx, edx
    __cpuid(features.data(), 1);
    const int ecx = features[2];
    if ((ecx & kSse41) == 0) return 1;
    if ((ecx & kOsxsave) == 0 || (ecx & kAvx) == 0) return 2;
    if ((_xgetbv(0) & kXmmAndYmm) != kXmmAndYmm) return 2;
    __cpuid(features.data(), 0);
    if (features[0] < 7) return 2;
    __cpuidex(features.data(), 7, 0);
    return (features[1] & kAvx2) != 0 ? 3 : 2;
}

#else

std::size_t CountRunnable() noexcept {
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("sse4.1")) return 1;
    return __builtin_cpu_supports("avx2") ? 3 : 2;
}

#endif

/// Made on first use, in whatever thread that is.
std::atomic<KernelLevel>& GetChoice() noexcept {
    static std::atomic<KernelLevel> choice{KernelLevel_GetRunnable().back()};
    return choice;
}

}  // namespace

std::span<const KernelLevel> KernelLevel_GetRunnable() noexcept {
    static const std::size_t count = CountRunnable();
    return std::span(kLevels).first(count);
}

KernelLevel KernelLevel_Get() noexcept { return GetChoice().load(std::memory_order_relaxed); }

void KernelLevel_Force(KernelLevel level) noexcept {
    GetChoice().store(level, std::memory_order_relaxed);
}

const char* KernelLevel_GetName(KernelLevel level) noexcept {
    constexpr std::array<const char*, kKernelLevelCount> kNames{"scalar", "sse41", "avx2"};
    return kNames[static_cast<std::size_t>(level)];
}

}  // namespace koru
