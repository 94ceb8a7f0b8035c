// What a KTX load must give, and packed pixels as they have to be shown.
#pragma once

#include <korutex.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "astc_builder.h"
#include "load_expectations.h"
#include "test_files.h"

/// The picture must come out, in every layout.
inline void Test_ExpectLoads(const Bytes& file, const TestPicture& picture,
                             const std::vector<std::uint32_t>& flagValues = {0, 1, 2, 3}) {
    Test_ExpectLoadsWith(KORU_Load_KTX_From_Memory, file, picture, flagValues);
}

inline void Test_ExpectRefused(const Bytes& file) {
    Test_ExpectRefusedWith(KORU_Load_KTX_From_Memory, file);
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
