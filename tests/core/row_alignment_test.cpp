// Rows of RGB records at multiples of 4 bytes.
#include "core/row_alignment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "core/image.h"
#include "test_records.h"

namespace koru {
namespace {

/// A record around a heap copy of exactly these bytes, so that a sanitizer sees the first one too
/// many.
ImageHandle MakeRecord(std::uint32_t width, std::uint32_t height, std::uint32_t rowPadding,
                       const Bytes& pixels) {
    KoruImagePtr image = Test_MakeRecord(1, 1, 0);
    std::free(image->pixels);
    image->pixels = static_cast<std::uint8_t*>(std::malloc(pixels.empty() ? 1 : pixels.size()));
    std::copy(pixels.begin(), pixels.end(), image->pixels);
    image->width = width;
    image->height = height;
    image->rowPadding = rowPadding;
    image->stride = width * 3 + rowPadding;
    image->dataSize = static_cast<std::uint32_t>(pixels.size());
    return ImageHandle(image.release());
}

Bytes Align(KORU_Image& image) {
    EXPECT_EQ(AlignRgbRows(image), 1);
    return Test_GetPixels(image);
}

TEST(RowAlignment, PadsEachRowToFourBytes) {
    const auto image = MakeRecord(3, 2, 0, Test_CountUp(18));
    EXPECT_EQ(Align(*image), Bytes({1,  2,  3,  4,  5,  6,  7,  8,  9,  0, 0, 0,
                                    10, 11, 12, 13, 14, 15, 16, 17, 18, 0, 0, 0}));
    EXPECT_EQ(image->stride, 12u);
    EXPECT_EQ(image->dataSize, 24u);
    EXPECT_EQ(image->rowPadding, 3u);
}

TEST(RowAlignment, PaddingIsZeroWhateverTheHostHadThere) {
    const auto image = MakeRecord(1, 2, 1, {1, 2, 3, 0xEE, 4, 5, 6, 0xEE});
    EXPECT_EQ(Align(*image), Bytes({1, 2, 3, 0, 4, 5, 6, 0}));
}

TEST(RowAlignment, OtherRecordsStayAsTheyAre) {
    for (const std::uint32_t bits : {0u, 8u, 16u, 23u, 25u, 32u, 0x18000018u}) {
        const auto image = MakeRecord(1, 1, 0, {1, 2, 3});
        image->bitsPerPixel = bits;
        const KORU_Image before = *image;
        EXPECT_EQ(AlignRgbRows(*image), 0) << bits;
        Test_ExpectUntouched(*image, before);
    }
    const auto image = MakeRecord(1, 1, 0, {1, 2, 3});
    std::free(image->pixels);
    image->pixels = nullptr;
    const KORU_Image before = *image;
    EXPECT_EQ(AlignRgbRows(*image), 0);
    Test_ExpectUntouched(*image, before);
}

TEST(RowAlignment, SizesOf2To32BytesAreRefused) {
    struct Size {
        std::uint32_t width, height;
    };
    for (const auto& [width, height] :
         {Size{0x55555555, 1}, Size{0x55555556, 1}, Size{0xFFFFFFFF, 1}, Size{0x10000, 0x10000},
          Size{0x5555, 0x10001}, Size{1, 0x40000000}}) {
        const auto image = MakeRecord(1, 1, 0, {1, 2, 3});
        image->width = width;
        image->height = height;
        const KORU_Image before = *image;
        EXPECT_EQ(AlignRgbRows(*image), 0) << width;
        Test_ExpectUntouched(*image, before);
    }
}

/// The definition, pixel by pixel with two running indices.
Bytes AlignByDefinition(std::size_t width, std::size_t height, std::size_t rowPadding,
                        const Bytes& pixels) {
    const std::size_t stride = (width * 3 + 3) & ~std::size_t{3};
    Bytes aligned(stride * height);
    std::size_t source = 0, target = 0;
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            if (source + 2 >= pixels.size() || target + 2 >= aligned.size()) break;
            for (int i = 0; i < 3; ++i) aligned[target++] = pixels[source++];
        }
        source += rowPadding;
        target += stride - width * 3;
    }
    return aligned;
}

TEST(RowAlignment, FollowsTheDefinitionForEveryLayout) {
    for (std::uint32_t width = 1; width <= 6; ++width) {
        for (std::uint32_t height = 1; height <= 3; ++height) {
            for (const std::uint32_t padding : {0u, 1u, 2u, 3u, 4u, 7u, 100u}) {
                const std::size_t whole = (width * 3 + padding) * height + 3;
                for (std::size_t size = 0; size <= whole; ++size) {
                    const Bytes pixels = Test_CountUp(size);
                    const auto image = MakeRecord(width, height, padding, pixels);
                    ASSERT_EQ(Align(*image), AlignByDefinition(width, height, padding, pixels))
                        << width << " x " << height << ", padding " << padding << ", size " << size;
                }
            }
        }
    }
}

TEST(RowAlignment, AlignedRowsStayTheSame) {
    for (std::uint32_t width = 1; width <= 5; ++width) {
        const auto image = MakeRecord(width, 3, 0, Test_CountUp(width * 9));
        const Bytes once = Align(*image);
        const KORU_Image before = *image;
        EXPECT_EQ(Align(*image), once);
        Test_ExpectSameFields(*image, before);
    }
}

}  // namespace
}  // namespace koru
