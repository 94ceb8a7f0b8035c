// Counts the allocations of a stretch of code, those of shared libraries included.
#pragma once

#include <cstddef>

namespace koru_bench {

struct HeapCount {
    std::size_t allocations = 0;
    std::size_t largestBytes = 0;
};

/// Counts from 0 again.
void Heap_StartCounting();

/// What was asked for since then; ends counting.
HeapCount Heap_StopCounting();

}  // namespace koru_bench
