// Stands before the allocator of the whole process. Only for glibc, whose own entry points stay
// reachable as __libc_*; everything else of the heap, freeing included, is left to it.
#include "heap_counter.h"

#include <algorithm>
#include <cerrno>

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
}

namespace koru_bench {
namespace {

// Plain variables: the library and the codec run on the calling thread.
bool g_isCounting = false;
HeapCount g_count;

void Note(std::size_t size) {
    if (!g_isCounting) return;
    ++g_count.allocations;
    g_count.largestBytes = std::max(g_count.largestBytes, size);
}

}  // namespace

void Heap_StartCounting() {
    g_count = {};
    g_isCounting = true;
}

HeapCount Heap_StopCounting() {
    g_isCounting = false;
    return g_count;
}

}  // namespace koru_bench

using koru_bench::Note;

extern "C" {

void* malloc(std::size_t size) {
    Note(size);
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    Note(count * size);
    return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
    Note(size);
    return __libc_realloc(block, size);
}

void* memalign(std::size_t alignment, std::size_t size) {
    Note(size);
    return __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    void* aligned = memalign(alignment, size);
    if (aligned == nullptr) return ENOMEM;
    *block = aligned;
    return 0;
}

}  // extern "C"
