// A process that has little room left. A sanitizer's own room is too large for such a limit.
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>

#include "ktx_builder.h"
#include "loader_story.h"
#include "pvr_builder.h"

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t kMebibyte = std::uint64_t{1024} * 1024;

/// While it lives, the process cannot get more than so many further bytes of address space.
class RoomLimit {
  public:
    explicit RoomLimit(std::uint64_t byteCount) {
        std::uint64_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        getrlimit(RLIMIT_AS, &before_);
        struct rlimit limit = before_;
        limit.rlim_cur = pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) + byteCount;
        EXPECT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
    }
    ~RoomLimit() { setrlimit(RLIMIT_AS, &before_); }
    RoomLimit(const RoomLimit&) = delete;
    RoomLimit& operator=(const RoomLimit&) = delete;

  private:
    struct rlimit before_ {};
};

TEST(PixbufMemory, AFileThatDoesNotFit) {
    const TempFolder folder;
    const fs::path path = folder / "large.pvr";
    Test_WriteFile(path, PvrV3Builder().Compressed(6).Build());
    fs::resize_file(path, 3000 * kMebibyte);  // a hole
    GError* problem = nullptr;
    {
        const RoomLimit limit(500 * kMebibyte);
        EXPECT_EQ(gdk_pixbuf_new_from_file(path.c_str(), &problem), nullptr);
    }
    const ErrorPtr error(problem);
    EXPECT_EQ(Test_GetPixbufErrorCode(error.get()), GDK_PIXBUF_ERROR_INSUFFICIENT_MEMORY);
}

// The size fits as RGB, in which it is looked up, and not as RGBA. The next load works.
TEST(PixbufMemory, APictureThatDoesNotFit) {
    const Bytes large = PvrV3Builder().Compressed(6).Size(16384, 16384).Build();
    LoaderStory story;
    {
        const RoomLimit limit(900 * kMebibyte);
        story = Test_LoadPieces(large);
    }
    EXPECT_EQ(Test_GetPixbufErrorCode(story.error.get()), GDK_PIXBUF_ERROR_INSUFFICIENT_MEMORY)
        << story.error->message;
    EXPECT_EQ(story.events, (std::vector<std::string>{"size 16384 x 16384", "closed"}));
    EXPECT_FALSE(Test_OpenPicture(Test_ListSamples().front()).rgba.empty());
}

std::uint64_t Test_GetLiveBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Programs on top of GdkPixbuf live for days.
TEST(PixbufMemory, NothingOfAClosedPictureIsKept) {
    constexpr std::uint32_t kEdge = 2048;
    const Bytes blocks(std::size_t{kEdge} * kEdge);
    Bytes astc{0x13, 0xAB, 0xA1, 0x5C, 4, 4, 1, 0, 8, 0, 0, 8, 0, 1, 0, 0};
    astc.insert(astc.end(), blocks.begin(), blocks.end());
    const std::vector<Bytes> files{
        astc, Ktx1Builder().Compressed(0x83F3).Size(kEdge, kEdge).Level(blocks).Build(),
        PvrV3Builder().Compressed(11).Size(kEdge, kEdge).Data(blocks).Build()};
    for (const Bytes& file : files) {
        const std::uint64_t before = Test_GetLiveBytes();
        ASSERT_NE(Test_LoadPieces(file).pixbuf, nullptr);
        EXPECT_LT(Test_GetLiveBytes(), before + kMebibyte) << "of the file's 4 MiB, " << file[1];
    }
}

}  // namespace
