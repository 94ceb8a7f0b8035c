// Runs a test program with the kernels of one level: --kernels=NAME, else the machine's best.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "core/kernel_level.h"

namespace {

/// What CTest takes for a test that was skipped.
constexpr int kSkipped = 77;

constexpr std::string_view kOption = "--kernels=";

}  // namespace

int main(int argumentCount, char** arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);
    for (int i = 1; i < argumentCount; ++i) {
        const std::string_view argument = arguments[i];
        if (!argument.starts_with(kOption)) {
            std::fprintf(stderr, "unknown argument: %s\n", arguments[i]);
            return EXIT_FAILURE;
        }
        const std::string_view name = argument.substr(kOption.size());
        bool isRunnable = false;
        for (const koru::KernelLevel level : koru::KernelLevel_GetRunnable()) {
            if (name != koru::KernelLevel_GetName(level)) continue;
            koru::KernelLevel_Force(level);
            isRunnable = true;
        }
        if (!isRunnable) {
            std::printf("this machine does not run kernels named %s\n", arguments[i]);
            return kSkipped;
        }
    }
    std::printf("Kernels: %s\n", koru::KernelLevel_GetName(koru::KernelLevel_Get()));
    return RUN_ALL_TESTS();
}
