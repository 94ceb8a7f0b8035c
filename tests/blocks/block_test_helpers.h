// Block decoders for tests: images in vectors, sources without a byte to spare.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "blocks/etc_decoder.h"
#include "blocks/s3tc_decoder.h"
#include "test_files.h"

namespace koru {

inline Bytes Test_RandomBytes(std::size_t count, std::uint32_t seed) {
    std::minstd_rand random(seed);
    Bytes bytes(count);
    for (auto& value : bytes) value = static_cast<std::uint8_t>(random() >> 8);
    return bytes;
}

inline std::size_t Test_GetBlockCount(std::uint32_t width, std::uint32_t height) {
    return std::size_t{(width + 3) / 4} * ((height + 3) / 4);
}

/// The top left corner of an image.
inline Bytes Test_Crop(const Bytes& image, std::uint32_t imageWidth, std::uint32_t width,
                       std::uint32_t height, std::size_t pixelBytes) {
    Bytes cropped;
    for (std::size_t y = 0; y < height; ++y) {
        const std::size_t begin = y * imageWidth * pixelBytes;
        for (std::size_t i = 0; i < width * pixelBytes; ++i) cropped.push_back(image[begin + i]);
    }
    return cropped;
}

/// The first three bytes of every four.
inline Bytes Test_DropAlpha(const Bytes& rgba) {
    Bytes rgb;
    for (std::size_t i = 0; i < rgba.size(); ++i) {
        if (i % 4 != 3) rgb.push_back(rgba[i]);
    }
    return rgb;
}

struct EtcImage {
    std::uint32_t result = 0;
    std::uint32_t format = 0, internalFormat = 0, type = 0;
    Bytes pixels;
};

/// Decodes a copy of exactly these blocks.
inline EtcImage Test_DecodeEtc(std::uint32_t code, const Bytes& blocks, std::uint32_t width,
                               std::uint32_t height) {
    const Bytes source(blocks.begin(), blocks.end());
    ByteBuffer destination;
    EtcImage image;
    image.result = Etc_DecodeImage(source.data(), code, width, height, destination, image.format,
                                   image.internalFormat, image.type, /*reserved=*/-1, 1);
    image.pixels.assign(destination.Data(), destination.Data() + destination.Size());
    if (destination) {
        const std::uint8_t* const slack = destination.Data() + destination.Size();
        EXPECT_TRUE(std::all_of(slack, slack + ByteBuffer::kSlackBytes, [](std::uint8_t value) {
            return value == 0;
        })) << "written behind the pixels";
    }
    return image;
}

/// Decodes a copy of exactly these blocks, with guard bytes on both sides of the destination.
inline Bytes Test_DecodeS3tc(S3tcMode mode, const Bytes& blocks, std::uint32_t width,
                             std::uint32_t height, std::uint32_t bytesPerPixel) {
    constexpr std::uint8_t kGuard = 0xA7;
    constexpr std::size_t kGuardBytes = 256;
    const Bytes source(blocks.begin(), blocks.end());
    const std::size_t size = std::size_t{width} * height * bytesPerPixel;
    Bytes target(size + 2 * kGuardBytes, kGuard);
    EXPECT_EQ(S3tc_DecodeImage(target.data() + kGuardBytes, source.data(), mode,
                               /*reserved=*/~std::uint64_t{0}, width, height,
                               static_cast<std::int32_t>(bytesPerPixel)),
              1u);
    const auto isGuard = [](std::uint8_t value) { return value == kGuard; };
    const auto begin = target.begin() + kGuardBytes, end = target.end() - kGuardBytes;
    EXPECT_TRUE(std::all_of(target.begin(), begin, isGuard)) << "written before the pixels";
    EXPECT_TRUE(std::all_of(end, target.end(), isGuard)) << "written behind the pixels";
    return {begin, end};
}

}  // namespace koru
