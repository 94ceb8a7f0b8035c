// What a load must give, whatever the container: each format's tests name their loader.
#pragma once

#include <gtest/gtest.h>
#include <korutex.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "koru_image_ptr.h"
#include "test_files.h"
#include "test_noise.h"

/// One of the doors that load from memory.
using TestMemoryLoader = KORU_Image* (*)(const std::uint8_t*, std::uint32_t, std::uint32_t);

/// Loads from a heap copy of exactly this size, so that a sanitizer sees the first byte too many.
inline KoruImagePtr Test_Load(TestMemoryLoader load, const Bytes& file, std::uint32_t flags) {
    const auto exact = std::make_unique<std::uint8_t[]>(file.size());
    if (!file.empty()) std::memcpy(exact.get(), file.data(), file.size());
    return KoruImagePtr(load(exact.get(), static_cast<std::uint32_t>(file.size()), flags));
}

inline KoruImagePtr Test_LoadAstc(const Bytes& file, std::uint32_t flags) {
    return Test_Load(KORU_Load_ASTC_From_Memory, file, flags);
}

inline KoruImagePtr Test_LoadKtx(const Bytes& file, std::uint32_t flags) {
    return Test_Load(KORU_Load_KTX_From_Memory, file, flags);
}

inline KoruImagePtr Test_LoadPvr(const Bytes& file, std::uint32_t flags) {
    return Test_Load(KORU_Load_PVR_From_Memory, file, flags);
}

struct TestPicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    Bytes rgba;
};

inline TestPicture Test_OpaqueBlack(std::uint32_t width, std::uint32_t height) {
    TestPicture picture{width, height, Bytes(std::size_t{width} * height * 4)};
    for (std::size_t i = 3; i < picture.rgba.size(); i += 4) picture.rgba[i] = 255;
    return picture;
}

/// 3 x 2 pixels, none like another: channel c of pixel i is 10 * i + c + 1.
inline TestPicture Test_SixPixelPicture() {
    TestPicture picture{3, 2, {}};
    for (std::size_t i = 0; i < 24; ++i) {
        picture.rgba.push_back(static_cast<std::uint8_t>(i / 4 * 10 + i % 4 + 1));
    }
    return picture;
}

/// What holds for every record a load makes.
inline void Test_ExpectSoundRecord(const KORU_Image& image, std::uint32_t flags) {
    const bool headerOnly = (flags & KORU_FLAG_HEADER_ONLY) != 0;
    const std::uint32_t channels = !headerOnly && (flags & KORU_FLAG_RGBA) != 0 ? 4 : 3;
    EXPECT_NE(image.width, 0u);
    EXPECT_NE(image.height, 0u);
    EXPECT_EQ(image.bitsPerPixel, channels * 8);
    EXPECT_EQ(image.bytesPerPixel, channels);
    EXPECT_EQ(image.bitsPerChannel, 8u);
    EXPECT_EQ(image.stride, std::uint64_t{image.width} * channels);
    EXPECT_EQ(image.dataSize, std::uint64_t{image.stride} * image.height);
    EXPECT_EQ(image.rowPadding, 0u);
    EXPECT_EQ(image.reservedA, 0u);
    EXPECT_EQ(image.reservedB, 0u);
    EXPECT_EQ(image.reservedC, 100u);
    EXPECT_EQ(image.reservedD, 0u);
    EXPECT_EQ(image.pixels == nullptr, headerOnly);
}

/// The record must be sound and show the picture.
inline void Test_ExpectShows(const KORU_Image* image, const TestPicture& picture,
                             std::uint32_t flags) {
    ASSERT_NE(image, nullptr) << "flags " << flags;
    Test_ExpectSoundRecord(*image, flags);
    ASSERT_EQ(image->width, picture.width);
    ASSERT_EQ(image->height, picture.height);
    if (image->pixels == nullptr) return;
    const std::size_t pixelCount = std::size_t{picture.width} * picture.height;
    ASSERT_EQ(picture.rgba.size(), pixelCount * 4);
    const std::size_t channels = image->bytesPerPixel;
    Bytes expected;
    expected.reserve(pixelCount * channels);
    for (std::size_t i = 0; i < pixelCount; ++i) {
        const std::uint8_t* pixel = picture.rgba.data() + i * 4;
        expected.insert(expected.end(), pixel, pixel + channels);
    }
    const auto [want, have] = std::mismatch(expected.begin(), expected.end(), image->pixels);
    if (want == expected.end()) return;
    const auto at = static_cast<std::size_t>(want - expected.begin());
    const std::size_t index = at / channels;
    FAIL() << "flags " << flags << ", pixel " << index % picture.width << ','
           << index / picture.width << ", channel " << at % channels << ": " << +*have
           << " instead of " << +*want;
}

/// The picture must come out, in every layout.
inline void Test_ExpectLoadsWith(TestMemoryLoader load, const Bytes& file,
                                 const TestPicture& picture,
                                 const std::vector<std::uint32_t>& flagValues = {0, 1, 2, 3}) {
    for (const std::uint32_t flags : flagValues) {
        Test_ExpectShows(Test_Load(load, file, flags).get(), picture, flags);
        if (testing::Test::HasFatalFailure()) return;
    }
}

inline void Test_ExpectRefusedWith(TestMemoryLoader load, const Bytes& file) {
    for (const std::uint32_t flags : {0u, 1u, 2u, 3u}) {
        EXPECT_EQ(Test_Load(load, file, flags), nullptr) << "flags " << flags;
    }
}
