// Which instruction sets kernels may use, chosen at run time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace koru {

/// Sets of kernels, slowest first. Scalar is the reference that the others equal bit for bit, on
/// every machine. A room's table for a level may share entries with the one below.
enum class KernelLevel : std::uint8_t { Scalar, Sse41, Avx2 };
inline constexpr std::size_t kKernelLevelCount = 3;

/// The levels that this build has and this machine can run, slowest first; Scalar is always there.
[[nodiscard]] std::span<const KernelLevel> KernelLevel_GetRunnable() noexcept;

/// The level that decoding uses: the last runnable one, unless another was forced.
[[nodiscard]] KernelLevel KernelLevel_Get() noexcept;

/// Makes decoding use a runnable level from now on. For tests and benchmarks, which compare levels.
void KernelLevel_Force(KernelLevel level) noexcept;

/// "scalar", "sse41" or "avx2".
[[nodiscard]] const char* KernelLevel_GetName(KernelLevel level) noexcept;

}  // namespace koru
