// The writer on streams that fail.
#include "astc/astc_writer.h"

#include <gtest/gtest.h>

#include <vector>

namespace koru {
namespace {

TEST(ImageConvertToRgba, NeedsPixelsAndEverySize) {
    std::uint8_t pixel[4]{1, 2, 3, 4};
    KORU_Image whole{};
    whole.width = whole.height = 1;
    whole.bitsPerPixel = 24;
    whole.dataSize = 3;
    whole.pixels = pixel;
    std::uint32_t KORU_Image::*const sizes[]{&KORU_Image::width, &KORU_Image::height,
                                             &KORU_Image::dataSize};
    for (const std::uint32_t bitsPerPixel : {24u, 32u}) {
        for (const auto size : sizes) {
            KORU_Image image = whole;
            image.bitsPerPixel = bitsPerPixel;
            image.*size = 0;
            EXPECT_EQ(Image_ConvertToRgba(image), 0);
            EXPECT_EQ(image.pixels, pixel);
            EXPECT_EQ(image.bitsPerPixel, bitsPerPixel);
        }
    }
    KORU_Image image = whole;
    image.pixels = nullptr;
    EXPECT_EQ(Image_ConvertToRgba(image), 0);
}

#if defined(__linux__)

/// A stream that takes `good` writes and refuses the rest.
struct FailingStream {
    int good = 0;
    std::vector<std::size_t> asked;  ///< bytes of every write that reached the stream

    static ssize_t Write(void* cookie, const char* /*bytes*/, std::size_t size) {
        auto& stream = *static_cast<FailingStream*>(cookie);
        stream.asked.push_back(size);
        return static_cast<int>(stream.asked.size()) <= stream.good ? static_cast<ssize_t>(size)
                                                                    : 0;
    }

    int WriteStub() {
        KORU_Image image{};
        image.width = 1;
        image.height = 1;
        image.bitsPerPixel = 32;
        std::FILE* file = fopencookie(this, "wb", {nullptr, Write, nullptr, nullptr});
        EXPECT_NE(file, nullptr);
        EXPECT_EQ(std::setvbuf(file, nullptr, _IONBF, 0), 0);
        const int result = Astc_WriteHeaderStub(file, image);
        static_cast<void>(std::fclose(file));
        return result;
    }
};

TEST(AstcWriter, StopsAtTheFirstWriteThatFails) {
    FailingStream none{.good = 0, .asked = {}};
    EXPECT_EQ(none.WriteStub(), 0);
    EXPECT_EQ(none.asked, std::vector<std::size_t>({16}));
    FailingStream headerOnly{.good = 1, .asked = {}};
    EXPECT_EQ(headerOnly.WriteStub(), 0);
    EXPECT_EQ(headerOnly.asked, std::vector<std::size_t>({16, 4}));
    FailingStream all{.good = 9, .asked = {}};
    EXPECT_EQ(all.WriteStub(), 0);
    EXPECT_EQ(all.asked, std::vector<std::size_t>({16, 4}));
}

#endif

}  // namespace
}  // namespace koru
