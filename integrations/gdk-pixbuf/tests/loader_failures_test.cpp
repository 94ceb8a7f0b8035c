// Files that are no texture, or not a whole one, or too large.
#include <gtest/gtest.h>

#include <fstream>

#include "ktx_builder.h"
#include "loader_story.h"
#include "pvr_builder.h"

namespace fs = std::filesystem;

namespace {

Bytes Test_ReadSample(const char* name) {
    return Test_ReadFile(fs::path(KORUTEX_SAMPLES_DIR) / name);
}

Bytes Test_CutTo(Bytes file, std::size_t byteCount) {
    file.resize(byteCount);
    return file;
}

/// An ETC1 image without any payload, which the library shows as opaque black.
Bytes Test_ClaimSize(std::uint32_t width, std::uint32_t height) {
    return PvrV3Builder().Compressed(6).Size(width, height).Build();
}

/// The story ends with the code, and no picture was announced.
void Test_ExpectFailure(const LoaderStory& story, int code) {
    EXPECT_EQ(Test_GetPixbufErrorCode(story.error.get()), code)
        << (story.error ? story.error->message : "");
    EXPECT_EQ(story.pixbuf, nullptr);
    for (const std::string& event : story.events) {
        EXPECT_NE(event.substr(0, 8), "prepared");
        EXPECT_NE(event.substr(0, 7), "updated");
    }
}

TEST(PixbufFailures, CutFilesAreCorrupt) {
    for (const char* name : {"testcard-rgb8.ktx", "testcard-rgba8-mips.ktx2", "testcard-bc1.ktx",
                             "testcard-astc-5x5.ktx2", "testcard-6x6.astc"}) {
        const Bytes file = Test_ReadSample(name);
        for (const std::size_t byteCount : {std::size_t{14}, std::size_t{15}, std::size_t{60}}) {
            for (const std::size_t pieceBytes : {std::size_t{1}, std::size_t{SIZE_MAX}}) {
                SCOPED_TRACE(testing::Message() << name << ", " << byteCount);
                Test_ExpectFailure(
                    Test_LoadPieces(Test_CutTo(file, byteCount), {.pieceBytes = pieceBytes}),
                    GDK_PIXBUF_ERROR_CORRUPT_IMAGE);
            }
        }
    }
    const Bytes ktx = Test_ReadSample("testcard-rgb8.ktx");
    Test_ExpectFailure(Test_LoadPieces(Test_CutTo(ktx, ktx.size() - 1)),
                       GDK_PIXBUF_ERROR_CORRUPT_IMAGE);
    Test_ExpectFailure(Test_LoadPieces(Test_CutTo(ktx, ktx.size() / 2)),
                       GDK_PIXBUF_ERROR_CORRUPT_IMAGE);
}

// What the program refuses or shows at each length, the loader does, too.
TEST(PixbufFailures, CutFilesFailAsTheProgramFails) {
    const TempFolder folder;
    const fs::path path = folder / "cut.ktx";
    for (const char* name : {"testcard-etc1.ktx", "testcard-12x12.astc"}) {
        const Bytes file = Test_ReadSample(name);
        for (std::size_t byteCount = 16; byteCount < file.size(); byteCount += file.size() / 7) {
            SCOPED_TRACE(testing::Message() << name << ", " << byteCount);
            const Bytes cut = Test_CutTo(file, byteCount);
            Test_WriteFile(path, cut);
            const std::optional<Picture> expected = Test_ConvertTexture(path);
            const LoaderStory story = Test_LoadPieces(cut);
            ASSERT_EQ(story.pixbuf != nullptr, expected.has_value());
            if (expected) {
                EXPECT_EQ(Test_GetPicture(*story.pixbuf), *expected);
            }
        }
    }
}

TEST(PixbufFailures, ErrorsMayBeIgnored) {
    const LoaderPtr loader(gdk_pixbuf_loader_new());
    const Bytes file = Test_CutTo(Test_ReadSample("testcard-bc1.ktx"), 5000);
    EXPECT_TRUE(gdk_pixbuf_loader_write(loader.get(), file.data(), file.size(), nullptr));
    EXPECT_FALSE(gdk_pixbuf_loader_close(loader.get(), nullptr));
    const TempFolder folder;
    Test_WriteFile(folder / "cut.ktx", file);
    EXPECT_EQ(gdk_pixbuf_new_from_file((folder / "cut.ktx").c_str(), nullptr), nullptr);
}

// A program that trusts a file's name asks the loader by its MIME type.
TEST(PixbufFailures, OtherContentsAreRefusedAtTheirFirstBytes) {
    for (const char* type : {"image/astc", "image/ktx", "image/ktx2", "image/x-pvr"}) {
        SCOPED_TRACE(type);
        const LoaderPtr loader(gdk_pixbuf_loader_new_with_mime_type(type, nullptr));
        ASSERT_NE(loader, nullptr);
        const Bytes head(47, 'x');
        ASSERT_TRUE(gdk_pixbuf_loader_write(loader.get(), head.data(), head.size(), nullptr));
        GError* problem = nullptr;
        EXPECT_FALSE(gdk_pixbuf_loader_write(loader.get(), head.data(), 1, &problem));
        const ErrorPtr error(problem);
        EXPECT_EQ(Test_GetPixbufErrorCode(error.get()), GDK_PIXBUF_ERROR_UNKNOWN_TYPE);
        gdk_pixbuf_loader_close(loader.get(), nullptr);
        EXPECT_EQ(gdk_pixbuf_loader_get_pixbuf(loader.get()), nullptr);
    }
}

TEST(PixbufFailures, OtherContentsOfFewBytesAreRefusedAtTheEnd) {
    const LoaderPtr loader(gdk_pixbuf_loader_new_with_mime_type("image/x-pvr", nullptr));
    ASSERT_NE(loader, nullptr);
    const Bytes text{'P', 'V', 'R', '?'};
    ASSERT_TRUE(gdk_pixbuf_loader_write(loader.get(), text.data(), text.size(), nullptr));
    GError* problem = nullptr;
    EXPECT_FALSE(gdk_pixbuf_loader_close(loader.get(), &problem));
    const ErrorPtr error(problem);
    EXPECT_EQ(Test_GetPixbufErrorCode(error.get()), GDK_PIXBUF_ERROR_UNKNOWN_TYPE);
}

TEST(PixbufFailures, TextNamedAsTextureIsUnknown) {
    const TempFolder folder;
    for (const char* name : {"text.astc", "text.ktx", "text.ktx2", "text.pvr"}) {
        SCOPED_TRACE(name);
        Test_WriteFile(folder / name, Bytes(200, 'x'));
        GError* problem = nullptr;
        EXPECT_EQ(gdk_pixbuf_new_from_file((folder / name).c_str(), &problem), nullptr);
        const ErrorPtr error(problem);
        EXPECT_EQ(Test_GetPixbufErrorCode(error.get()), GDK_PIXBUF_ERROR_UNKNOWN_TYPE);
    }
}

TEST(PixbufFailures, FilesOfFourGibibytesAreNotRead) {
    const TempFolder folder;
    const fs::path path = folder / "huge.ktx";
    Test_WriteFile(path, Test_ReadSample("testcard-bc1.ktx"));
    fs::resize_file(path, std::uintmax_t{1} << 32);  // a hole
    GError* problem = nullptr;
    EXPECT_EQ(gdk_pixbuf_new_from_file(path.c_str(), &problem), nullptr);
    const ErrorPtr error(problem);
    EXPECT_EQ(Test_GetPixbufErrorCode(error.get()), GDK_PIXBUF_ERROR_FAILED);
    EXPECT_NE(std::string(error->message).find("4 GiB"), std::string::npos) << error->message;
}

/// The most memory that this process ever held.
std::uint64_t Test_GetPeakKib() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) return std::stoull(line.substr(6));
    }
    ADD_FAILURE() << "no VmHWM";
    return 0;
}

TEST(PixbufFailures, AProgramMayRefuseAnEnormousPicture) {
    const std::uint64_t before = Test_GetPeakKib();
    const LoaderStory story = Test_LoadPieces(
        Test_ClaimSize(16384, 16384),
        {.onSize = [](GdkPixbufLoader* loader) { gdk_pixbuf_loader_set_size(loader, 0, 0); }});
    Test_ExpectFailure(story, GDK_PIXBUF_ERROR_FAILED);
    EXPECT_EQ(story.events, (std::vector<std::string>{"size 16384 x 16384", "closed"}));
    EXPECT_LT(Test_GetPeakKib() - before, 100'000u) << "of the 1 GiB that it tells";
}

TEST(PixbufFailures, TheSizeOfAnEnormousPictureIsToldWithoutDecoding) {
    const TempFolder folder;
    Test_WriteFile(folder / "large.pvr", Test_ClaimSize(16384, 16384));
    const std::uint64_t before = Test_GetPeakKib();
    int width = 0;
    int height = 0;
    gdk_pixbuf_get_file_info((folder / "large.pvr").c_str(), &width, &height);
    EXPECT_EQ(width, 16384);
    EXPECT_EQ(height, 16384);
    EXPECT_LT(Test_GetPeakKib() - before, 100'000u) << "of the 1 GiB that it tells";
}

TEST(PixbufFailures, PicturesOfTwoGibibytesAreNotDecoded) {
    const std::uint64_t before = Test_GetPeakKib();
    for (const auto& [width, height] : {std::pair{32768u, 16384u}, std::pair{16384u, 32768u}}) {
        const LoaderStory story = Test_LoadPieces(Test_ClaimSize(width, height));
        Test_ExpectFailure(story, GDK_PIXBUF_ERROR_FAILED);
        EXPECT_EQ(story.events.size(), 2u) << "the size is told";
    }
    EXPECT_LT(Test_GetPeakKib() - before, 100'000u);
}

}  // namespace
