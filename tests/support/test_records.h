// Records that the library owns, for writers, and what a call may change in one.
#pragma once

#include <gtest/gtest.h>
#include <korutex.h>

#include <cstddef>
#include <cstdint>

#include "koru_image_ptr.h"
#include "ktx_builder.h"
#include "test_files.h"

/// A record with pixels 1, 2, 3, ... byte by byte; 255 is followed by 0.
inline KoruImagePtr Test_MakeRecord(std::uint32_t width, std::uint32_t height,
                                    std::uint32_t flags) {
    const Bytes file = Ktx1Builder()
                           .Uncompressed(0x8058)
                           .Size(width, height)
                           .Level(Bytes(std::size_t{width} * height * 4))
                           .Build();
    KoruImagePtr image(
        KORU_Load_KTX_From_Memory(file.data(), static_cast<std::uint32_t>(file.size()), flags));
    if (image == nullptr || image->pixels == nullptr) {
        ADD_FAILURE() << "no record of " << width << " x " << height;
        return nullptr;
    }
    for (std::uint32_t i = 0; i < image->dataSize; ++i) {
        image->pixels[i] = static_cast<std::uint8_t>(i + 1);
    }
    return image;
}

inline Bytes Test_Slice(const Bytes& bytes, std::size_t begin, std::size_t end) {
    return {bytes.begin() + static_cast<std::ptrdiff_t>(begin),
            bytes.begin() + static_cast<std::ptrdiff_t>(end)};
}

/// Bytes first, first + 1, ...
inline Bytes Test_CountUp(std::size_t byteCount, std::size_t first = 1) {
    Bytes bytes(byteCount);
    for (std::size_t i = 0; i < byteCount; ++i) bytes[i] = static_cast<std::uint8_t>(first + i);
    return bytes;
}

/// `height` rows of `rowBytes` that count up through all of them, each followed by zeros up to a
/// multiple of 4.
inline Bytes Test_CountUpInAlignedRows(std::size_t rowBytes, std::size_t height) {
    Bytes rows;
    for (std::size_t y = 0; y < height; ++y) {
        Test_Append(rows, Test_CountUp(rowBytes, y * rowBytes + 1));
        Test_AlignTo(rows, 4);
    }
    return rows;
}

/// Every field but the pixels themselves.
inline void Test_ExpectSameFields(const KORU_Image& image, const KORU_Image& expected) {
    EXPECT_EQ(image.width, expected.width);
    EXPECT_EQ(image.height, expected.height);
    EXPECT_EQ(image.bitsPerPixel, expected.bitsPerPixel);
    EXPECT_EQ(image.bytesPerPixel, expected.bytesPerPixel);
    EXPECT_EQ(image.bitsPerChannel, expected.bitsPerChannel);
    EXPECT_EQ(image.dataSize, expected.dataSize);
    EXPECT_EQ(image.stride, expected.stride);
    EXPECT_EQ(image.rowPadding, expected.rowPadding);
    EXPECT_EQ(image.reservedA, expected.reservedA);
    EXPECT_EQ(image.reservedB, expected.reservedB);
    EXPECT_EQ(image.reservedC, expected.reservedC);
    EXPECT_EQ(image.reservedD, expected.reservedD);
}

inline void Test_ExpectUntouched(const KORU_Image& image, const KORU_Image& before) {
    Test_ExpectSameFields(image, before);
    EXPECT_EQ(image.pixels, before.pixels);
}
