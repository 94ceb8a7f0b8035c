// Disks that are full after any number of bytes: the result is 0, and the file is what was written
// so far.
#include <gtest/gtest.h>
#include <korutex.h>
#include <sys/resource.h>

#include <csignal>
#include <string>

#include "koru_image_ptr.h"
#include "test_files.h"
#include "test_records.h"

namespace {

/// No file of this process may grow beyond `bytes`.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(std::size_t bytes) : oldHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
        EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &old_), 0);
        const rlimit limit{bytes, old_.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &old_);
        std::signal(SIGXFSZ, oldHandler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    void (*oldHandler_)(int);
    rlimit old_{};
};

struct Writer {
    const char* name;
    std::int32_t (*write)(const KORU_Char*, KORU_Image*);
    std::size_t sizeOffset;  ///< Rows are aligned once the bytes before this are written.
};

void PrintTo(const Writer& writer, std::ostream* out) { *out << writer.name; }

class DiskLimit : public testing::TestWithParam<Writer> {};

TEST_P(DiskLimit, LeavesWhatWasWrittenSoFar) {
    TempFolder folder;
    const auto path = folder / "written";
    const KoruPath target = Test_ToKoruPath(path);
    for (const std::uint32_t flags : {0u, KORU_FLAG_RGBA}) {
        const auto whole = Test_MakeRecord(3, 2, flags);
        ASSERT_NE(whole, nullptr);
        ASSERT_EQ(GetParam().write(target.c_str(), whole.get()), 1);
        const Bytes file = Test_ReadFile(path);
        for (std::size_t limit = 0; limit <= file.size(); ++limit) {
            SCOPED_TRACE(limit);
            const auto image = Test_MakeRecord(3, 2, flags);
            ASSERT_NE(image, nullptr);
            const KORU_Image before = *image;
            std::int32_t result = 0;
            {
                const FileSizeLimit full(limit);
                result = GetParam().write(target.c_str(), image.get());
            }
            EXPECT_EQ(result, limit == file.size() ? 1 : 0);
            EXPECT_EQ(Test_ReadFile(path), Test_Slice(file, 0, limit));
            if (limit < GetParam().sizeOffset) {
                Test_ExpectUntouched(*image, before);
            } else {
                Test_ExpectSameFields(*image, *whole);
                EXPECT_EQ(Test_GetPixels(*image), Test_GetPixels(*whole));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Writers, DiskLimit,
                         testing::Values(Writer{"Ktx", KORU_Write_KTX_To_File, 92},
                                         Writer{"Pvr", KORU_Write_PVR_To_File, 52}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
