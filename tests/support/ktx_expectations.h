// What a KTX load must give: records, and packed pixels as they have to be shown.
#pragma once

#include <gtest/gtest.h>
#include <korutex.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "astc_builder.h"
#include "koru_image_ptr.h"
#include "test_files.h"

/// Loads from a heap copy of exactly this size, so that a sanitizer sees the first byte too many.
inline KoruImagePtr Test_LoadKtx(const Bytes& file, std::uint32_t flags) {
    const auto exact = std::make_unique<std::uint8_t[]>(file.size());
    if (!file.empty()) std::memcpy(exact.get(), file.data(), file.size());
    return KoruImagePtr(
        KORU_Load_KTX_From_Memory(exact.get(), static_cast<std::uint32_t>(file.size()), flags));
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

/// The picture must come out, in every layout.
inline void Test_ExpectLoads(const Bytes& file, const TestPicture& picture,
                             const std::vector<std::uint32_t>& flagValues = {0, 1, 2, 3}) {
    for (const std::uint32_t flags : flagValues) {
        const auto image = Test_LoadKtx(file, flags);
        ASSERT_NE(image, nullptr) << "flags " << flags;
        Test_ExpectSoundRecord(*image, flags);
        ASSERT_EQ(image->width, picture.width);
        ASSERT_EQ(image->height, picture.height);
        if (image->pixels == nullptr) continue;
        ASSERT_EQ(picture.rgba.size(), std::size_t{picture.width} * picture.height * 4);
        const std::size_t channels = image->bytesPerPixel;
        for (std::size_t i = 0; i < picture.rgba.size() / 4; ++i) {
            for (std::size_t c = 0; c < channels; ++c) {
                ASSERT_EQ(+image->pixels[i * channels + c], +picture.rgba[i * 4 + c])
                    << "flags " << flags << ", pixel " << i % picture.width << ','
                    << i / picture.width << ", channel " << c;
            }
        }
    }
}

inline void Test_ExpectRefused(const Bytes& file) {
    for (const std::uint32_t flags : {0u, 1u, 2u, 3u}) {
        EXPECT_EQ(Test_LoadKtx(file, flags), nullptr) << "flags " << flags;
    }
}

/// An 11-bit float (or a 10-bit one, moved up by a bit) times 255, cut to an integer's low byte.
inline std::uint8_t Test_SmallFloatToByte(std::uint32_t elevenBits) {
    const std::uint32_t exponent = elevenBits >> 6;
    const std::uint64_t mantissa = elevenBits & 63;
    if (exponent == 0 || exponent == 31) return 0;  // below 1 / 255; infinities and NaN
    // (1 + mantissa / 64) * 2^(exponent - 15)
    return static_cast<std::uint8_t>(((64 + mantissa) * 255 << exponent) >> 21);
}

/// One packed pixel of 8, 16, 24 or 32 bits; `code` is the GL internal format.
inline TestColor Test_ConvertPixel(const std::uint8_t* p, unsigned bits, std::uint32_t code) {
    const auto byteOf = [](auto value) { return static_cast<std::uint8_t>(value); };
    if (bits == 8) return {p[0], p[0], p[0], 255};
    if (bits == 24) return {p[0], p[1], p[2], 255};
    if (bits == 16) {
        const int word = p[0] | p[1] << 8;
        const auto five = [&](int shift) { return byteOf((word >> shift & 31) * 255 / 31); };
        const auto four = [&](int shift) { return byteOf((word >> shift & 15) * 17); };
        const std::uint8_t alpha = word >= 0x8000 ? 255 : 0;
        switch (code) {
            case 0x8D62:
                return {five(11), byteOf((word >> 5 & 63) * 255 / 63), five(0), 255};
            case 0x8050:
                return {five(10), five(5), five(0), 255};
            case 0x8057:
                return {five(10), five(5), five(0), alpha};
            case 0x8056:
                return {four(8), four(4), four(0), four(12)};
            default:
                return {0, 0, 0, 255};
        }
    }
    const std::uint32_t word =
        p[0] | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
    // Ten bits: of t = low two bits << 30, t * 255 wraps to 0, 3 << 30, 2 << 30, 1 << 30, and the
    // division by 3 << 30 leaves 1 for the second alone. Nine bits: t is the lowest bit << 31.
    const auto ten = [&](int shift) { return byteOf((word >> shift & 3) == 1 ? 1 : 0); };
    const auto nine = [&](int shift) { return byteOf(word >> shift & 1); };
    switch (code) {
        case 0x8059:
        case 0x906F:
            return {ten(0), ten(10), ten(20), byteOf((word >> 30) * 85)};
        case 0x8C3D:
            return {ten(17), nine(9), nine(0), 255};
        case 0x8C3A:
            return {Test_SmallFloatToByte(word & 0x7FF), Test_SmallFloatToByte(word >> 11 & 0x7FF),
                    Test_SmallFloatToByte(word >> 22 << 1), 255};
        default:
            return {p[0], p[1], p[2], p[3]};
    }
}

/// Rows of packed pixels, taken as padded to 4 bytes whether they are or not. `countingBytes` is
/// what the bounds look at; bytes that `source` has not are 0. Pixels behind the bounds are black.
inline TestPicture Test_ExpandRows(const Bytes& source, std::size_t countingBytes, unsigned bits,
                                   std::uint32_t code, std::uint32_t width, std::uint32_t height) {
    TestPicture picture = Test_OpaqueBlack(width, height);
    const std::size_t pixelBytes = bits / 8;
    const std::size_t rowBytes = (width * pixelBytes + 3) / 4 * 4;
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            const std::size_t at = y * rowBytes + x * pixelBytes;
            if (bits >= 16 && at + 1 >= countingBytes) continue;
            if (bits >= 24 && at + 2 >= countingBytes) continue;
            TestColor pixel{};
            for (std::size_t i = 0; i < pixelBytes; ++i) {
                if (at + i < source.size()) pixel.at(i) = source[at + i];
            }
            const TestColor color = Test_ConvertPixel(pixel.data(), bits, code);
            std::memcpy(&picture.rgba[(y * width + x) * 4], color.data(), color.size());
        }
    }
    return picture;
}
