// A process that has little room left. A sanitizer's own room is too large for such a limit.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>

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

}  // namespace
