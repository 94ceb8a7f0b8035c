#include "core/kernel_level.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "kernel_levels.h"

namespace koru {
namespace {

TEST(KernelLevel, RunnableLevelsBeginWithTheReferenceAndHaveNoGaps) {
    const auto levels = KernelLevel_GetRunnable();
    ASSERT_GE(levels.size(), 1u);
    ASSERT_LE(levels.size(), kKernelLevelCount);
    for (std::size_t i = 0; i < levels.size(); ++i)
        EXPECT_EQ(static_cast<std::size_t>(levels[i]), i);
}

TEST(KernelLevel, AForcedLevelCountsUntilTheNext) {
    const KernelLevel before = KernelLevel_Get();
    for (const KernelLevel level : KernelLevel_GetRunnable()) {
        const ForcedKernelLevel forced(level);
        EXPECT_EQ(KernelLevel_Get(), level);
    }
    EXPECT_EQ(KernelLevel_Get(), before);
}

TEST(KernelLevel, HasNames) {
    EXPECT_EQ(std::string(KernelLevel_GetName(KernelLevel::Scalar)), "scalar");
    EXPECT_EQ(std::string(KernelLevel_GetName(KernelLevel::Sse41)), "sse41");
    EXPECT_EQ(std::string(KernelLevel_GetName(KernelLevel::Avx2)), "avx2");
}

#if defined(__x86_64__) && defined(__GNUC__)
TEST(KernelLevel, RunsWhatTheMachineHas) {
    const std::size_t expected = __builtin_cpu_supports("avx2")     ? 3
                                 : __builtin_cpu_supports("sse4.1") ? 2
                                                                    : 1;
    EXPECT_EQ(KernelLevel_GetRunnable().size(), expected);
}
#endif

}  // namespace
}  // namespace koru
