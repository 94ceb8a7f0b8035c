// What holds for every format's doors, whatever the container.
#include <gtest/gtest.h>
#include <korutex.h>

#include <filesystem>

#include "koru_image_ptr.h"
#include "test_files.h"

namespace {

struct Doors {
    const char* name;
    KORU_Image* (*loadFile)(const KORU_Char*, std::uint32_t);
    KORU_Image* (*loadMemory)(const std::uint8_t*, std::uint32_t, std::uint32_t);
    std::int32_t (*write)(const KORU_Char*, KORU_Image*);
};

void PrintTo(const Doors& doors, std::ostream* out) { *out << doors.name; }

class EveryFormat : public testing::TestWithParam<Doors> {
  protected:
    TempFolder folder_;
};

TEST_P(EveryFormat, LoadRejectsNullPath) { EXPECT_EQ(GetParam().loadFile(nullptr, 2), nullptr); }

TEST_P(EveryFormat, LoadRejectsNullMemory) {
    EXPECT_EQ(GetParam().loadMemory(nullptr, 64, 2), nullptr);
}

TEST_P(EveryFormat, LoadRejectsMemoryOfSizeZero) {
    const std::uint8_t byte = 0;
    EXPECT_EQ(GetParam().loadMemory(&byte, 0, 2), nullptr);
}

TEST_P(EveryFormat, LoadFailsOnMissingFile) {
    EXPECT_EQ(GetParam().loadFile(Test_ToKoruPath(folder_ / "missing").c_str(), 2), nullptr);
}

TEST_P(EveryFormat, LoadFailsOnEmptyFile) {
    Test_WriteFile(folder_ / "empty", {});
    EXPECT_EQ(GetParam().loadFile(Test_ToKoruPath(folder_ / "empty").c_str(), 2), nullptr);
}

TEST_P(EveryFormat, LoadFailsOnAFolder) {
    std::filesystem::create_directory(folder_ / "folder");
    EXPECT_EQ(GetParam().loadFile(Test_ToKoruPath(folder_ / "folder").c_str(), 2), nullptr);
}

TEST_P(EveryFormat, LoadFailsOnForeignBytes) {
    const Bytes text(1000, 'x');
    Test_WriteFile(folder_ / "text", text);
    EXPECT_EQ(GetParam().loadFile(Test_ToKoruPath(folder_ / "text").c_str(), 2), nullptr);
    EXPECT_EQ(GetParam().loadMemory(text.data(), 1000, 2), nullptr);
}

TEST_P(EveryFormat, LoadFailsOnEveryShortBuffer) {
    for (std::uint32_t size = 1; size <= 128; ++size) {
        const auto bytes = std::make_unique<std::uint8_t[]>(size);
        EXPECT_EQ(GetParam().loadMemory(bytes.get(), size, 2), nullptr) << size;
    }
}

TEST_P(EveryFormat, WriterRejectsBadArgumentsAndCreatesNoFile) {
    Bytes pixels;
    KORU_Image valid = Test_BorrowRgba(2, 2, pixels);
    const auto target = folder_ / "written";
    const KoruPath path = Test_ToKoruPath(target);

    EXPECT_EQ(GetParam().write(nullptr, &valid), 0);
    EXPECT_EQ(GetParam().write(path.c_str(), nullptr), 0);
    for (auto breakIt : {+[](KORU_Image& image) { image.pixels = nullptr; },
                         +[](KORU_Image& image) { image.width = 0; },
                         +[](KORU_Image& image) { image.height = 0; }}) {
        KORU_Image broken = valid;
        breakIt(broken);
        EXPECT_EQ(GetParam().write(path.c_str(), &broken), 0);
    }
    EXPECT_FALSE(std::filesystem::exists(target));
}

TEST_P(EveryFormat, WriterFailsWhereNoFileCanBeCreated) {
    Bytes pixels;
    KORU_Image image = Test_BorrowRgba(1, 1, pixels);
    const auto target = folder_ / "no such folder" / "written";
    EXPECT_EQ(GetParam().write(Test_ToKoruPath(target).c_str(), &image), 0);
    EXPECT_FALSE(std::filesystem::exists(target));
}

INSTANTIATE_TEST_SUITE_P(Formats, EveryFormat,
                         testing::Values(Doors{"Astc", KORU_Load_ASTC_From_File,
                                               KORU_Load_ASTC_From_Memory, KORU_Write_ASTC_To_File},
                                         Doors{"Ktx", KORU_Load_KTX_From_File,
                                               KORU_Load_KTX_From_Memory, KORU_Write_KTX_To_File},
                                         Doors{"Pvr", KORU_Load_PVR_From_File,
                                               KORU_Load_PVR_From_Memory, KORU_Write_PVR_To_File}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(KoruLifecycle, InitAndExitMayBeCalledInAnyOrder) {
    KORU_Exit();
    KORU_Init();
    KORU_Init();
    KORU_Exit();
    KORU_Exit();
}

TEST(KoruDeleteImage, TakesNull) { KORU_Delete_Image(nullptr); }

}  // namespace
