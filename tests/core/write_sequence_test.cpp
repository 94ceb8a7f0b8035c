#include "core/write_sequence.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>

#include "test_files.h"

namespace koru {
namespace {

TEST(WriteSequence, GivesTheWritersResultAndCreatesNoFileWithoutOne) {
    TempFolder folder;
    const KoruPath path = Test_ToKoruPath(folder / "out");
    std::uint8_t pixel[4]{};
    KORU_Image image{};
    image.width = image.height = 1;
    image.dataSize = 4;
    image.pixels = pixel;
    EXPECT_EQ(Write_ToFile(path.c_str(), &image, nullptr), 0);
    EXPECT_FALSE(std::filesystem::exists(folder / "out"));
    EXPECT_EQ(Write_ToFile(path.c_str(), &image, [](std::FILE*, KORU_Image&) { return 7; }), 7);
    EXPECT_TRUE(std::filesystem::exists(folder / "out"));
}

}  // namespace
}  // namespace koru
