// Running decoders with each set of kernels, and buffers that show writes outside.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "core/kernel_level.h"

namespace koru {

/// Forces a level as long as it lives.
class ForcedKernelLevel {
  public:
    explicit ForcedKernelLevel(KernelLevel level) : before_(KernelLevel_Get()) {
        KernelLevel_Force(level);
    }
    ~ForcedKernelLevel() { KernelLevel_Force(before_); }
    ForcedKernelLevel(const ForcedKernelLevel&) = delete;
    ForcedKernelLevel& operator=(const ForcedKernelLevel&) = delete;

  private:
    KernelLevel before_;
};

/// The levels to compare with the scalar one: all that this machine runs above it.
inline std::span<const KernelLevel> Test_GetVectorLevels() {
    return KernelLevel_GetRunnable().subspan(1);
}

/// Bytes between two guards, at a chosen distance from an even address.
class GuardedBytes {
  public:
    explicit GuardedBytes(std::size_t size, std::size_t misalignment = 0,
                          std::uint8_t contents = 0xA5)
        : storage_(size + misalignment + 2 * kGuardBytes, kGuard),
          begin_(kGuardBytes + misalignment),
          size_(size) {
        std::fill_n(Data(), size_, contents);
    }

    [[nodiscard]] std::uint8_t* Data() { return storage_.data() + begin_; }
    [[nodiscard]] std::span<const std::uint8_t> Bytes() const {
        return std::span(storage_).subspan(begin_, size_);
    }
    [[nodiscard]] bool GuardsIntact() const {
        const auto intact = [](std::span<const std::uint8_t> guard) {
            return std::ranges::all_of(guard, [](std::uint8_t value) { return value == kGuard; });
        };
        const std::span<const std::uint8_t> all(storage_);
        return intact(all.first(begin_)) && intact(all.subspan(begin_ + size_));
    }

  private:
    static constexpr std::size_t kGuardBytes = 256;
    static constexpr std::uint8_t kGuard = 0xC9;

    std::vector<std::uint8_t> storage_;
    std::size_t begin_;
    std::size_t size_;
};

}  // namespace koru
