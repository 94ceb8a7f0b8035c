// Streams and paths that no ordinary file has.
#include "core/file_access.h"

#include <gtest/gtest.h>

#if defined(__linux__)
#include <sys/mman.h>

#include <algorithm>
#include <cstddef>

namespace koru {
namespace {

/// What a stream says of its positions.
struct Positions {
    off64_t end = 0;
    int refusedOrigin = -1;  ///< Of SEEK_SET and SEEK_END the one that fails, if any.
};

int Seek(void* cookie, off64_t* offset, int origin) {
    const auto& positions = *static_cast<const Positions*>(cookie);
    if (origin == positions.refusedOrigin) return -1;
    *offset = origin == SEEK_SET ? 0 : positions.end;
    return 0;
}

std::optional<std::uint32_t> GetSize(Positions positions) {
    const FileHandle file(fopencookie(
        &positions, "rb", {.read = nullptr, .write = nullptr, .seek = Seek, .close = nullptr}));
    if (file == nullptr) ADD_FAILURE() << "no stream";
    return File_GetSize(file.get());
}

TEST(FileAccess, TheSizeIsWhereTheStreamEnds) {
    EXPECT_EQ(GetSize({.end = 0}), 0u);
    EXPECT_EQ(GetSize({.end = 1234}), 1234u);
    EXPECT_EQ(GetSize({.end = 0xFFFFFFFF}), 0xFFFFFFFFu);
    EXPECT_EQ(GetSize({.end = 0x100000000}), std::nullopt);
}

TEST(FileAccess, AnEndBeforeTheStartIsNoSize) { EXPECT_EQ(GetSize({.end = -5}), std::nullopt); }

TEST(FileAccess, AStreamThatDoesNotSeekHasNoSize) {
    EXPECT_EQ(GetSize({.end = 1234, .refusedOrigin = SEEK_END}), std::nullopt);
    EXPECT_EQ(GetSize({.end = 1234, .refusedOrigin = SEEK_SET}), std::nullopt);
}

TEST(FileAccess, APathWithoutEndIsReadUpToABound) {
    // 65,537 units, the last of them in front of a page that nobody may read.
    constexpr std::size_t kUnits = 0x10001, kPage = 4096;
    constexpr std::size_t kReadable = (kUnits * sizeof(KORU_Char) + kPage - 1) / kPage * kPage;
    void* memory = mmap(nullptr, kReadable + kPage, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    auto* const end = reinterpret_cast<KORU_Char*>(static_cast<std::byte*>(memory) + kReadable);
    ASSERT_EQ(mprotect(end, kPage, PROT_NONE), 0);
    std::fill(end - kUnits, end, u'x');
    EXPECT_EQ(File_Open(end - kUnits, FileMode::Read), nullptr);
    EXPECT_EQ(munmap(memory, kReadable + kPage), 0);
}

}  // namespace
}  // namespace koru
#endif
