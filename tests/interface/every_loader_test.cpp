// What holds for every loader and every sort of file: a valid file of six pixels, and what a load
// may and may not do with it.
#include <gtest/gtest.h>
#include <korutex.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "astc_builder.h"
#include "koru_image_ptr.h"
#include "ktx_builder.h"
#include "load_expectations.h"
#include "pvr_builder.h"
#include "test_files.h"

namespace {

/// A sort of file, with 3 x 2 pixels.
struct Loader {
    const char* name;
    TestMemoryLoader loadMemory;
    KORU_Image* (*loadFile)(const KORU_Char*, std::uint32_t);
    Bytes file;  ///< Its last byte is the last pixel's alpha, or decides it.
    TestPicture picture;
    Bytes rgb;  ///< The picture's pixels without alpha.
};

void PrintTo(const Loader& loader, std::ostream* stream) { *stream << loader.name; }

std::vector<Loader> ListLoaders() {
    const TestPicture six = Test_SixPixelPicture();
    const Bytes sixRgb{1, 2, 3, 11, 12, 13, 21, 22, 23, 31, 32, 33, 41, 42, 43, 51, 52, 53};
    // One block, and so one color.
    const TestPicture plain{
        3, 2, {1, 2, 3, 4, 1, 2, 3, 4, 1, 2, 3, 4, 1, 2, 3, 4, 1, 2, 3, 4, 1, 2, 3, 4}};
    const Bytes plainRgb{1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3};

    std::vector<Loader> loaders;
    const auto astc = [&](const char* name, const Bytes& file) {
        loaders.push_back(
            {name, KORU_Load_ASTC_From_Memory, KORU_Load_ASTC_From_File, file, plain, plainRgb});
    };
    const auto ktx = [&](const char* name, const Bytes& file) {
        loaders.push_back(
            {name, KORU_Load_KTX_From_Memory, KORU_Load_KTX_From_File, file, six, sixRgb});
    };
    const auto pvr = [&](const char* name, const Bytes& file) {
        loaders.push_back(
            {name, KORU_Load_PVR_From_Memory, KORU_Load_PVR_From_File, file, six, sixRgb});
    };
    astc("Astc", AstcBuilder().Size(3, 2).Solid({1, 2, 3, 4}).Build());
    ktx("Ktx1", Ktx1Builder().Uncompressed(0x8058).Size(3, 2).Level(six.rgba).Build());
    ktx("Ktx2", Ktx2Builder().Format(37, 4).Size(3, 2).Level(six.rgba).Build());
    pvr("PvrLegacy", PvrLegacyBuilder().Type(18).Size(3, 2).Data(six.rgba).Build());
    auto v3 = PvrV3Builder().Packed("rgba", {8, 8, 8, 8}).Size(3, 2).Data(six.rgba);
    pvr("PvrV3", v3.Build());
    pvr("PvrV3Metadata", v3.Metadata(kTestPvrV3Word, 3, {0, 1, 0}).Build());
    return loaders;
}

class KoruLoad : public testing::TestWithParam<Loader> {
  protected:
    [[nodiscard]] KoruImagePtr LoadMemory(const Bytes& file, std::uint32_t flags) const {
        return Test_Load(GetParam().loadMemory, file, flags);
    }
    [[nodiscard]] KoruImagePtr LoadFile(const std::filesystem::path& path,
                                        std::uint32_t flags) const {
        return KoruImagePtr(GetParam().loadFile(Test_ToKoruPath(path).c_str(), flags));
    }
    void ExpectLoads(const Bytes& file) const {
        Test_ExpectLoadsWith(GetParam().loadMemory, file, GetParam().picture);
    }
    void ExpectRefused(const Bytes& file) const {
        Test_ExpectRefusedWith(GetParam().loadMemory, file);
    }

    const Bytes& file_ = GetParam().file;
};

TEST_P(KoruLoad, FillsEveryFieldOfAnRgbRecord) {
    const auto image = LoadMemory(file_, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->width, 3u);
    EXPECT_EQ(image->height, 2u);
    EXPECT_EQ(image->bitsPerPixel, 24u);
    EXPECT_EQ(image->bytesPerPixel, 3u);
    EXPECT_EQ(image->bitsPerChannel, 8u);
    EXPECT_EQ(image->stride, 9u);
    EXPECT_EQ(image->dataSize, 18u);
    EXPECT_EQ(image->rowPadding, 0u);
    EXPECT_EQ(image->reservedA, 0u);
    EXPECT_EQ(image->reservedB, 0u);
    EXPECT_EQ(image->reservedC, 100u);
    EXPECT_EQ(image->reservedD, 0u);
    EXPECT_EQ(Test_GetPixels(*image), GetParam().rgb);
}

TEST_P(KoruLoad, FillsEveryFieldOfAnRgbaRecord) {
    const auto image = LoadMemory(file_, KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->width, 3u);
    EXPECT_EQ(image->height, 2u);
    EXPECT_EQ(image->bitsPerPixel, 32u);
    EXPECT_EQ(image->bytesPerPixel, 4u);
    EXPECT_EQ(image->bitsPerChannel, 8u);
    EXPECT_EQ(image->stride, 12u);
    EXPECT_EQ(image->dataSize, 24u);
    EXPECT_EQ(image->rowPadding, 0u);
    EXPECT_EQ(image->reservedA, 0u);
    EXPECT_EQ(image->reservedB, 0u);
    EXPECT_EQ(image->reservedC, 100u);
    EXPECT_EQ(image->reservedD, 0u);
    EXPECT_EQ(Test_GetPixels(*image), GetParam().picture.rgba);
}

TEST_P(KoruLoad, HeaderOnlyGivesSizesOfRgbWithoutPixels) {
    for (const std::uint32_t flags :
         {KORU_FLAG_HEADER_ONLY, KORU_FLAG_HEADER_ONLY | KORU_FLAG_RGBA}) {
        const auto image = LoadMemory(file_, flags);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->pixels, nullptr);
        EXPECT_EQ(image->width, 3u);
        EXPECT_EQ(image->height, 2u);
        EXPECT_EQ(image->bitsPerPixel, 24u);
        EXPECT_EQ(image->bytesPerPixel, 3u);
        EXPECT_EQ(image->stride, 9u);
        EXPECT_EQ(image->dataSize, 18u);
        EXPECT_EQ(image->reservedC, 100u);
    }
}

TEST_P(KoruLoad, IgnoresOtherFlagBits) {
    for (const std::uint32_t flags : {0xFFFFFFFCu, 0xFFFFFFFEu}) {
        const auto image = LoadMemory(file_, flags);
        const auto plain = LoadMemory(file_, flags & 3);
        ASSERT_NE(image, nullptr);
        ASSERT_NE(plain, nullptr);
        EXPECT_EQ(image->bitsPerPixel, plain->bitsPerPixel);
        EXPECT_EQ(Test_GetPixels(*image), Test_GetPixels(*plain));
        Test_ExpectShows(image.get(), GetParam().picture, flags);
    }
}

TEST_P(KoruLoad, IgnoresBytesBehindTheFile) {
    Bytes file = file_;
    file.insert(file.end(), 100, 0xEE);
    ExpectLoads(file);
}

TEST_P(KoruLoad, LooksForTheIdentifierInItsPlaceAlone) {
    Bytes file(4);
    Test_Append(file, file_);
    ExpectRefused(file);
}

TEST_P(KoruLoad, FileAndMemoryAgree) {
    TempFolder folder;
    Test_WriteFile(folder / "six", file_);
    for (const std::uint32_t flags : {0u, 1u, 2u, 3u}) {
        const auto fromFile = LoadFile(folder / "six", flags);
        const auto fromMemory = LoadMemory(file_, flags);
        Test_ExpectShows(fromFile.get(), GetParam().picture, flags);
        ASSERT_NE(fromFile, nullptr);
        ASSERT_NE(fromMemory, nullptr);
        EXPECT_EQ(Test_GetPixels(*fromFile), Test_GetPixels(*fromMemory));
    }
}

TEST_P(KoruLoad, EveryTruncationFailsFromFileToo) {
    TempFolder folder;
    for (std::size_t size = 0; size < file_.size(); size += 7) {
        Test_WriteFile(folder / "cut",
                       {file_.begin(), file_.begin() + static_cast<std::ptrdiff_t>(size)});
        EXPECT_EQ(LoadFile(folder / "cut", 2), nullptr) << size;
    }
}

TEST_P(KoruLoad, OpensPathsOutsideAscii) {
    TempFolder folder;
    // Two-, three- and four-byte UTF-8; the last is a surrogate pair in UTF-16.
    const auto directory = folder / std::filesystem::path(u"Gr\u00FC\u00DFe \u56F3");
    std::filesystem::create_directory(directory);
    const auto path = directory / std::filesystem::path(u"\U0001F4BE texture");
    Test_WriteFile(path, file_);
    EXPECT_NE(LoadFile(path, 2), nullptr);
}

TEST_P(KoruLoad, OpensPathsBeyond260Units) {
    TempFolder folder;
    std::filesystem::path path = folder / "";
#if defined(_WIN32)
    path = std::filesystem::path(LR"(\\?\)" + path.make_preferred().wstring());
#endif
    const std::string part(100, 'p');
    for (int depth = 0; depth < 4; ++depth) path /= part;
    std::filesystem::create_directories(path);
    path /= "deep";
    ASSERT_GT(Test_ToKoruPath(path).size(), 400u);
    Test_WriteFile(path, file_);
    EXPECT_NE(LoadFile(path, 2), nullptr);
}

TEST_P(KoruLoad, LeavesTheCallersBytesAlone) {
    Bytes lent = file_;
    const KoruImagePtr image(
        GetParam().loadMemory(lent.data(), static_cast<std::uint32_t>(lent.size()), 2));
    EXPECT_NE(image, nullptr);
    EXPECT_EQ(lent, file_);
}

TEST_P(KoruLoad, RejectsNullAndEmptyMemory) {
    EXPECT_EQ(GetParam().loadMemory(nullptr, 100, 2), nullptr);
    EXPECT_EQ(GetParam().loadMemory(file_.data(), 0, 2), nullptr);
    EXPECT_EQ(GetParam().loadFile(nullptr, 2), nullptr);
}

TEST_P(KoruLoad, AFailedLoadLeavesTheNextOneAlone) {
    Bytes broken = file_;
    broken.pop_back();
    EXPECT_EQ(LoadMemory(broken, 2), nullptr);
    // Fails before anything of its own is decoded, so a picture left behind would show.
    EXPECT_NE(LoadMemory(file_, 2), nullptr);
    ExpectRefused(broken);
    ExpectRefused(Bytes(200, 0x55));
    ExpectRefused(Bytes(3, 0x55));
    ExpectLoads(file_);
}

TEST_P(KoruLoad, RecordsOutliveLaterLoads) {
    const auto first = LoadMemory(file_, 2);
    Bytes other = file_;
    other.back() = 99;
    const auto second = LoadMemory(other, 2);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(Test_GetPixels(*first), GetParam().picture.rgba);
    EXPECT_EQ(Test_GetPixels(*second).back(), 99);
}

INSTANTIATE_TEST_SUITE_P(Files, KoruLoad, testing::ValuesIn(ListLoaders()),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
