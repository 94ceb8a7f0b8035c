// Replaces the allocator of the whole process, shared libraries included, by one that can refuse.
// Only for glibc, whose own entry points stay reachable as __libc_*.
#include "heap_faults.h"

#include <link.h>
#include <malloc.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

namespace {

struct AddressRange {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    bool Holds(const void* address) const {
        const auto value = reinterpret_cast<std::uintptr_t>(address);
        return begin <= value && value < end;
    }
};

std::atomic<bool> g_armed{false};
std::atomic<std::size_t> g_failAt{0};
std::atomic<std::size_t> g_asked{0};
std::atomic<std::ptrdiff_t> g_live{0};
std::atomic<std::ptrdiff_t> g_liveBytes{0};
std::atomic<std::ptrdiff_t> g_bytesAtArming{0};
std::atomic<std::ptrdiff_t> g_peakBytes{0};
std::atomic<void (*)(const void*)> g_watch{nullptr};
AddressRange g_spared;

bool Refuse(const void* caller) {
    if (!g_armed || g_spared.Holds(caller)) return false;
    if (++g_asked != g_failAt) return false;
    errno = ENOMEM;
    return true;
}

void* Count(void* block) {
    if (block == nullptr) return block;
    ++g_live;
    const auto bytes = static_cast<std::ptrdiff_t>(malloc_usable_size(block));
    const std::ptrdiff_t live = g_liveBytes += bytes;
    if (live > g_peakBytes) g_peakBytes = live;
    return block;
}

void Discount(void* block) {
    --g_live;
    g_liveBytes -= static_cast<std::ptrdiff_t>(malloc_usable_size(block));
}

void* New(std::size_t size, const void* caller) {
    return Refuse(caller) ? nullptr : Count(__libc_malloc(size));
}

void* NewOrThrow(std::size_t size, const void* caller) {
    void* block = New(size, caller);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void* Align(std::size_t alignment, std::size_t size, const void* caller) {
    return Refuse(caller) ? nullptr : Count(__libc_memalign(alignment, size));
}

}  // namespace

// Each entry point takes its own return address: the caller decides whether it may fail.
#define KORU_TEST_CALLER __builtin_return_address(0)

extern "C" {

void* malloc(std::size_t size) { return New(size, KORU_TEST_CALLER); }

void* calloc(std::size_t count, std::size_t size) {
    return Refuse(KORU_TEST_CALLER) ? nullptr : Count(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) {
    if (Refuse(KORU_TEST_CALLER)) return nullptr;
    if (block != nullptr) Discount(block);
    void* moved = __libc_realloc(block, size);
    if (moved == nullptr && block != nullptr && size != 0) Count(block);  // it stays as it was
    return Count(moved);
}

void* memalign(std::size_t alignment, std::size_t size) {
    return Align(alignment, size, KORU_TEST_CALLER);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return Align(alignment, size, KORU_TEST_CALLER);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    void* aligned = Align(alignment, size, KORU_TEST_CALLER);
    if (aligned == nullptr) return ENOMEM;
    *block = aligned;
    return 0;
}

void free(void* block) {
    if (block == nullptr) return;
    if (auto* watch = g_watch.load()) watch(block);
    Discount(block);
    __libc_free(block);
}

}  // extern "C"

void* operator new(std::size_t size) { return NewOrThrow(size, KORU_TEST_CALLER); }
void* operator new[](std::size_t size) { return NewOrThrow(size, KORU_TEST_CALLER); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return New(size, KORU_TEST_CALLER);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return New(size, KORU_TEST_CALLER);
}
void operator delete(void* block) noexcept { free(block); }
void operator delete[](void* block) noexcept { free(block); }
void operator delete(void* block, std::size_t) noexcept { free(block); }
void operator delete[](void* block, std::size_t) noexcept { free(block); }

void HeapFaults_Arm(std::size_t failAt) {
    g_failAt = failAt;
    g_asked = 0;
    g_bytesAtArming = g_liveBytes.load();
    g_peakBytes = g_liveBytes.load();
    g_armed = true;
}

std::size_t HeapFaults_Disarm() {
    g_armed = false;
    return g_asked;
}

void HeapFaults_SpareLibraryOf(const void* address) {
    struct Search {
        const void* address;
        AddressRange found;
    } search{address, {}};
    dl_iterate_phdr(
        [](dl_phdr_info* library, std::size_t, void* context) {
            auto& wanted = *static_cast<Search*>(context);
            AddressRange range{UINTPTR_MAX, 0};
            for (int i = 0; i < library->dlpi_phnum; ++i) {
                const auto& segment = library->dlpi_phdr[i];
                if (segment.p_type != PT_LOAD) continue;
                const std::uintptr_t begin = library->dlpi_addr + segment.p_vaddr;
                if (begin < range.begin) range.begin = begin;
                if (begin + segment.p_memsz > range.end) range.end = begin + segment.p_memsz;
            }
            if (!range.Holds(wanted.address)) return 0;
            wanted.found = range;
            return 1;
        },
        &search);
    g_spared = search.found;
}

std::size_t HeapFaults_GetPeakBytes() {
    return static_cast<std::size_t>(g_peakBytes - g_bytesAtArming);
}

std::ptrdiff_t HeapFaults_GetLiveBlocks() { return g_live; }

void HeapFaults_WatchFree(void (*watch)(const void* block)) { g_watch = watch; }
