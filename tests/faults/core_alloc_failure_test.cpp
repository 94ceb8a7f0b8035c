// What the rooms inside leave behind when an allocation fails.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "core/byte_buffer.h"
#include "core/decode_surface.h"
#include "core/level_table.h"
#include "formats/expand.h"
#include "heap_faults.h"

namespace koru {
namespace {

/// Runs `body` with its first allocation refused.
template <typename Body>
auto FailFirst(Body&& body) {
    HeapFaults_Arm(1);
    auto result = body();
    HeapFaults_Disarm();
    return result;
}

TEST(CoreAllocationFailure, AByteBufferIsEmpty) {
    for (auto allocate : {ByteBuffer::Allocate, ByteBuffer::AllocateZeroed}) {
        const ByteBuffer buffer = FailFirst([&] { return allocate(100); });
        EXPECT_FALSE(buffer);
        EXPECT_EQ(buffer.Size(), 0u);
    }
}

TEST(CoreAllocationFailure, ALevelEntryIsLeftEmpty) {
    LevelEntry entry;
    ASSERT_EQ(LevelEntry_SetSize(entry, 10), 1);
    EXPECT_EQ(FailFirst([&] { return LevelEntry_SetSize(entry, 20); }), 0);
    EXPECT_EQ(entry.byteSize, 0u);
    EXPECT_FALSE(entry.data);
}

TEST(CoreAllocationFailure, ALevelTableStaysEmpty) {
    LevelTable table;
    ASSERT_EQ(LevelTable_CreateSingleLevel(table), 1);
    EXPECT_EQ(FailFirst([&] { return LevelTable_CreateSingleLevel(table); }), 0);
    EXPECT_EQ(table.count, 0);
    EXPECT_EQ(table.entries, nullptr);
}

// A picture without any payload may be refused later, for the size of its record; until then its
// black pages are asked for and not touched.
TEST(BlankSurface, OfRgbIsNotTouched) {
    if (std::getenv("MALLOC_PERTURB_") != nullptr) {
        GTEST_SKIP() << "this heap writes to all that it gives";
    }
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        rusage before{}, after{};
        getrusage(RUSAGE_SELF, &before);
        DecodeSurface surface;
        const bool isBlank = Surface_SetLayout(surface, 8192, 8192, 3) &&
                             Expand_TakePixels(surface, ByteBuffer{}, surface.dataSize, 24, {},
                                               ExpandMember::Ktx) == 1 &&
                             surface.pixels;
        getrusage(RUSAGE_SELF, &after);
        constexpr long kKibibytes = 16 << 10;  // of 192 MiB
        _exit(isBlank && after.ru_maxrss - before.ru_maxrss < kKibibytes ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace koru
