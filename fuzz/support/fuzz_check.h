// What a target found to be wrong ends the process, which is how a fuzzer learns of it.
#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the process with a message unless the promise holds.
inline void Fuzz_Require(bool holds, const char* promise) {
    if (holds) return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}
