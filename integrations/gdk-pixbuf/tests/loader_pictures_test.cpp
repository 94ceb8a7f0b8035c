// Pictures whose bytes are known, and what loads owe to each other.
#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <thread>

#include "loader_story.h"
#include "pvr_builder.h"
#include "wrapper_builder.h"

namespace fs = std::filesystem;

namespace {

const Bytes kTwoPixels{10, 20, 30, 40, 50, 60, 70, 80};
const Bytes kTwoPixelsOpaque{10, 20, 30, 255, 50, 60, 70, 255};

Bytes Test_MakePvrRgba() {
    return PvrV3Builder().Packed("rgba", {8, 8, 8, 8}).Size(2, 1).Data(kTwoPixels).Build();
}

/// Four bytes a pixel, of which the last has no name.
Bytes Test_MakePvrStray() {
    return PvrV3Builder().Packed("rgb", {8, 8, 8, 8}).Size(2, 1).Data(kTwoPixels).Build();
}

void Test_ExpectPicture(const Bytes& file, const Picture& expected) {
    const LoaderStory story = Test_LoadPieces(file);
    ASSERT_EQ(story.error, nullptr) << story.error->message;
    EXPECT_EQ(Test_GetPicture(*story.pixbuf), expected);
}

TEST(PixbufPictures, PvrWithAlpha) { Test_ExpectPicture(Test_MakePvrRgba(), {2, 1, kTwoPixels}); }

TEST(PixbufPictures, PvrWithTheLegacyHeader) {
    const Bytes file = PvrLegacyBuilder().Type(0x12).Size(2, 1).Data(kTwoPixels).Build();
    Test_ExpectPicture(file, {2, 1, kTwoPixels});
}

TEST(PixbufPictures, WrappedKtxWithAnyName) {
    const fs::path sample = fs::path(KORUTEX_SAMPLES_DIR) / "testcard-rgb8.ktx";
    const TempFolder folder;
    for (const char* name : {"wrapped.ktx", "wrapped", "wrapped.png", "wrapped.pvr"}) {
        SCOPED_TRACE(name);
        Test_WriteFile(folder / name, Test_WrapDeep(Test_ReadFile(sample), 2));
        EXPECT_EQ(Test_OpenPicture(folder / name), Test_ConvertTexture(sample));
    }
}

TEST(PixbufPictures, TexturesWithOtherNames) {
    const TempFolder folder;
    for (const fs::path& sample : Test_ListSamples()) {
        const std::optional<Picture> expected = Test_ConvertTexture(sample);
        for (const char* name : {"texture", "texture.png", "texture.pvr", "texture.txt"}) {
            SCOPED_TRACE(testing::Message() << sample << " as " << name);
            fs::copy_file(sample, folder / name, fs::copy_options::overwrite_existing);
            EXPECT_EQ(Test_OpenPicture(folder / name), expected);
        }
    }
}

TEST(PixbufPictures, AlphaDoesNotTellOfEarlierLoads) {
    for (int round = 0; round < 2; ++round) {
        Test_ExpectPicture(Test_MakePvrStray(), {2, 1, kTwoPixelsOpaque});
        Test_ExpectPicture(Test_MakePvrRgba(), {2, 1, kTwoPixels});
    }
}

TEST(PixbufPictures, OutliveTheirLoaderAndLaterLoads) {
    const LoaderStory first = Test_LoadPieces(Test_MakePvrRgba());
    for (const fs::path& sample : Test_ListSamples()) Test_OpenPicture(sample);
    ASSERT_NE(first.pixbuf, nullptr);
    EXPECT_EQ(Test_GetPicture(*first.pixbuf), (Picture{2, 1, kTwoPixels}));
}

TEST(PixbufPictures, BelongToWhoGetsThem) {
    const LoaderStory story = Test_LoadPieces(Test_MakePvrRgba());
    ASSERT_NE(story.pixbuf, nullptr);
    gdk_pixbuf_fill(story.pixbuf.get(), 0x01020304);
    EXPECT_EQ(Test_GetPicture(*story.pixbuf), (Picture{2, 1, {1, 2, 3, 4, 1, 2, 3, 4}}));
}

TEST(PixbufPictures, PngStaysWithGdkPixbuf) {
    const TempFolder folder;
    const LoaderStory story = Test_LoadPieces(Test_MakePvrRgba());
    ASSERT_NE(story.pixbuf, nullptr);
    for (const char* name : {"plain.png", "plain.ktx", "plain.pvr"}) {
        SCOPED_TRACE(name);
        const fs::path path = folder / name;
        ASSERT_TRUE(gdk_pixbuf_save(story.pixbuf.get(), path.c_str(), "png", nullptr,
                                    static_cast<char*>(nullptr)));
        EXPECT_EQ(Test_GetFormatName(gdk_pixbuf_get_file_info(path.c_str(), nullptr, nullptr)),
                  "png");
        EXPECT_EQ(Test_OpenPicture(path), (Picture{2, 1, kTwoPixels}));
    }
}

// The library takes one call at a time. Pictures are freed by other threads than loaded them.
TEST(PixbufPictures, LoadFromManyThreads) {
    constexpr std::size_t kThreadCount = 8;
    constexpr int kRounds = 12;
    const std::vector<fs::path> samples = Test_ListSamples();
    std::vector<Picture> expected;
    expected.reserve(samples.size());
    for (const fs::path& sample : samples) {
        expected.push_back(Test_ConvertTexture(sample).value_or(Picture{}));
    }
    std::atomic<int> wrong = 0;
    std::vector<std::vector<PixbufPtr>> kept(kThreadCount);
    std::vector<std::thread> threads;
    for (std::size_t worker = 0; worker < kThreadCount; ++worker) {
        threads.emplace_back([&, worker] {
            for (int round = 0; round < kRounds; ++round) {
                const std::size_t at =
                    (worker * 5 + static_cast<std::size_t>(round)) % samples.size();
                PixbufPtr pixbuf(gdk_pixbuf_new_from_file(samples[at].c_str(), nullptr));
                if (pixbuf == nullptr || Test_GetPicture(*pixbuf) != expected[at]) ++wrong;
                if (round % 2 == 0) kept[worker].push_back(std::move(pixbuf));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

/// Bytes that are allocated and not freed. 0 with a sanitizer, which looks for leaks itself.
std::size_t Test_GetLiveBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

TEST(PixbufPictures, LoadsLeaveNothingBehind) {
    const Bytes texture = Test_ReadFile(fs::path(KORUTEX_SAMPLES_DIR) / "testcard-rgb8.ktx");
    const Bytes cut(texture.begin(), texture.end() - 5);
    const Bytes other(100, 'x');
    const auto loadAll = [&] {
        Test_LoadPieces(texture, {.pieceBytes = 10'000});
        Test_LoadPieces(texture, {.onSize = [](GdkPixbufLoader* loader) {
                            gdk_pixbuf_loader_set_size(loader, 0, 0);
                        }});
        Test_LoadPieces(cut);
        const LoaderPtr loader(gdk_pixbuf_loader_new_with_type("korutex", nullptr));
        gdk_pixbuf_loader_write(loader.get(), other.data(), other.size(), nullptr);
        gdk_pixbuf_loader_close(loader.get(), nullptr);
    };
    for (int i = 0; i < 5; ++i) loadAll();
    const std::size_t before = Test_GetLiveBytes();
    for (int i = 0; i < 200; ++i) loadAll();
    // A leak of 32 bytes a load would be more.
    EXPECT_LT(Test_GetLiveBytes(), before + 6400);
}

}  // namespace
