// What a reader is told to make of a file: the rules of the containers once more, in 64 bits, for
// files that lie. Only the formats that such tests use are known; others count as refused.
#pragma once

#include <gtest/gtest.h>
#include <korutex.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <string_view>
#include <vector>

#include "astc_builder.h"
#include "ktx_expectations.h"
#include "test_files.h"

/// What a field of 32 bits may hold to lie.
inline const std::vector<std::uint32_t> kTestExtremes{
    0, 1, 0xFFFF, 0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFC, 0xFFFFFFFD, 0xFFFFFFFE, 0xFFFFFFFF,
};

enum class Told {
    Refused,
    Blank,    ///< One color, for want of a payload or a format.
    Decoded,  ///< Pixels that the payload gave.
};

struct ToldOutcome {
    Told told = Told::Refused;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    TestColor blank{0, 0, 0, 255};

    [[nodiscard]] bool Loads() const { return told != Told::Refused; }
    [[nodiscard]] std::uint64_t GetPixelCount() const { return std::uint64_t{width} * height; }
    /// A record of more than 16 MiB. Such a file is told to load, and a test cannot bear many.
    [[nodiscard]] bool IsHuge() const { return Loads() && GetPixelCount() > 4u << 20; }
};

inline std::uint64_t Told_Load(const Bytes& file, std::uint64_t at, unsigned byteCount) {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < byteCount; ++i) {
        value |= std::uint64_t{file.at(static_cast<std::size_t>(at) + i)} << (8 * i);
    }
    return value;
}

inline std::uint32_t Told_Load32(const Bytes& file, std::uint64_t at) {
    return static_cast<std::uint32_t>(Told_Load(file, at, 4));
}

inline bool Told_Holds(const Bytes& file, std::uint64_t at, std::uint64_t byteCount) {
    return at <= file.size() && byteCount <= file.size() - at;
}

/// An image whose pixels, three bytes each, fit a 32-bit size; others are refused. Where only four
/// bytes each do not fit, alpha decides; such images are huge and thus never loaded.
inline ToldOutcome Told_Image(Told told, std::uint32_t width, std::uint32_t height,
                              const TestColor& blank = {0, 0, 0, 255}) {
    const std::uint64_t pixelCount = std::uint64_t{width} * height;
    if (pixelCount == 0 || pixelCount > std::numeric_limits<std::uint32_t>::max() / 3) return {};
    return {told, width, height, blank};
}

struct ToldBlocks {
    std::uint32_t width = 4;
    std::uint32_t height = 4;
    std::uint32_t bytes = 16;
    std::uint32_t leastAcross = 1;
    std::uint32_t leastDown = 1;
};

/// Whether the payload has every block of the image.
inline bool Told_HasBlocks(const ToldBlocks& blocks, std::uint32_t width, std::uint32_t height,
                           std::uint64_t payloadBytes) {
    const auto count = [](std::uint64_t extent, std::uint64_t side) {
        return (extent + side - 1) / side;
    };
    const auto across = std::max<std::uint64_t>(count(width, blocks.width), blocks.leastAcross);
    const auto down = std::max<std::uint64_t>(count(height, blocks.height), blocks.leastDown);
    return across * down <= payloadBytes / blocks.bytes;
}

/// Whether it has every row, each component a byte and rows at multiples of 4.
inline bool Told_HasRows(std::uint32_t componentCount, std::uint32_t width, std::uint32_t height,
                         std::uint64_t payloadBytes) {
    const std::uint64_t rowBytes = (std::uint64_t{width} * componentCount + 3) / 4 * 4;
    return rowBytes != 0 && height != 0 && height <= payloadBytes / rowBytes;
}

inline bool Told_IsAnyOf(std::uint32_t code, std::initializer_list<std::uint32_t> codes) {
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

/// The way of a GL format. `payloadBytes` of 0: there is no payload.
inline ToldOutcome Told_FromGl(std::uint32_t gl, bool isCompressed, std::uint32_t width,
                               std::uint32_t height, std::uint64_t payloadBytes) {
    if (!isCompressed) {
        const std::uint32_t componentCount = gl == 0x8058   ? 4
                                             : gl == 0x8051 ? 3
                                             : gl == 0x1909 ? 1
                                                            : 0;
        return Told_HasRows(componentCount, width, height, payloadBytes)
                   ? Told_Image(Told::Decoded, width, height)
                   : ToldOutcome{};
    }
    const bool isEtc = Told_IsAnyOf(gl, {0x8D64, 0x9270, 0x9272, 0x9274, 0x9276, 0x9278});
    const bool isAstc = Told_IsAnyOf(gl, {0x93B0, 0x93BD});
    if (!isEtc && !isAstc && !Told_IsAnyOf(gl, {0x83F1, 0x83F2, 0x83F3})) return {};

    ToldBlocks blocks;
    if (Told_IsAnyOf(gl, {0x8D64, 0x9270, 0x9274, 0x9276, 0x83F1})) blocks.bytes = 8;
    if (gl == 0x93BD) blocks.width = blocks.height = 12;
    if (Told_HasBlocks(blocks, width, height, payloadBytes)) {
        return Told_Image(Told::Decoded, width, height);
    }
    // ASTC blocks that are not there are black; of ETC, only where none is there at all.
    if (isAstc || (isEtc && payloadBytes == 0)) return Told_Image(Told::Blank, width, height);
    return {};
}

/// The first pair of key/value data at `at`; where it ends is not told.
inline bool Told_HasPair(const Bytes& file, std::uint64_t at) {
    return Told_Holds(file, at, 4) && Told_Holds(file, at + 4, Told_Load32(file, at));
}

inline bool Told_IsTypeSize(std::uint32_t size) { return Told_IsAnyOf(size, {1, 2, 4}); }

/// The identifier is taken as right.
inline ToldOutcome Told_FromKtx1(const Bytes& file) {
    if (!Told_Holds(file, 0, 64)) return {};
    const auto field = [&](std::size_t at) { return Told_Load32(file, at); };
    const std::uint32_t width = field(36), height = field(40);
    if (field(12) != 0x04030201 || !Told_IsTypeSize(field(20))) return {};
    if (width == 0 || height == 0) return {};

    std::uint64_t at = 64;
    const std::uint32_t keyValueBytes = field(60);
    if (keyValueBytes != 0) {
        if (!Told_HasPair(file, at)) return {};
        at += keyValueBytes;
    }
    std::uint32_t levelCount = field(56);
    if (levelCount == 0 && field(52) != 0) levelCount = 1;
    std::uint32_t payloadBytes = 0;
    for (std::uint32_t level = 0; level < levelCount; ++level) {
        if (!Told_Holds(file, at, 4)) return {};
        const std::uint32_t imageSize = Told_Load32(file, at);
        if (level == 0) {
            payloadBytes = imageSize;
            if (!Told_Holds(file, at + 4, imageSize)) return {};
        }
        at += 4 + std::uint64_t{imageSize};
    }
    return Told_FromGl(field(28), field(16) == 0 || field(24) == 0, width, height, payloadBytes);
}

/// Likewise.
inline ToldOutcome Told_FromKtx2(const Bytes& file) {
    if (!Told_Holds(file, 0, 80)) return {};
    const auto field = [&](std::size_t at) { return Told_Load32(file, at); };
    const std::uint32_t width = field(20), height = field(24);
    if (field(12) == 0 || !Told_IsTypeSize(field(16))) return {};
    if (width == 0 || height == 0 || field(44) != 0) return {};

    // A count of 2^31 and more is negative, and as 0 it reads one entry.
    const std::uint32_t told = field(40);
    const std::uint64_t levelCount = told == 0 || told >= 0x80000000 ? 1 : told;
    std::uint64_t at = 80 + levelCount * 24;
    if (!Told_Holds(file, 80, levelCount * 24)) return {};
    std::uint32_t payloadBytes = 0;
    if (Told_Load(file, 80, 8) != 0 && Told_Load(file, 88, 8) != 0) {
        // The low words count.
        payloadBytes = field(88);
        if (payloadBytes == 0 || !Told_Holds(file, field(80), payloadBytes)) return {};
    }
    if (!Told_Holds(file, at, 4)) return {};
    at += std::max(Told_Load32(file, at), 4u);
    if (field(60) != 0 && !Told_HasPair(file, at)) return {};

    struct Format {
        std::uint32_t vk, gl;
    };
    for (const auto& [vk, gl] : {Format{133, 0x83F1},
                                 {135, 0x83F2},
                                 {137, 0x83F3},
                                 {147, 0x9274},
                                 {151, 0x9278},
                                 {153, 0x9270},
                                 {157, 0x93B0},
                                 {183, 0x93BD}}) {
        if (vk == field(12)) return Told_FromGl(gl, true, width, height, payloadBytes);
    }
    const std::uint32_t gl = field(12) == 37 ? 0x8058 : field(12) == 23 ? 0x8051 : 0;
    return Told_FromGl(gl, false, width, height, payloadBytes);
}

/// 8-bit channels and blocks alone.
inline ToldOutcome Told_FromPvrBlocks(bool isPvrtc, bool is2Bpp, std::uint32_t gl,
                                      std::uint32_t width, std::uint32_t height,
                                      std::uint64_t payloadBytes) {
    if (!isPvrtc) return Told_FromGl(gl, true, width, height, payloadBytes);
    // The grid has whole blocks only, and two each way at least.
    const std::uint32_t blockWidth = is2Bpp ? 8 : 4;
    const std::uint64_t across = std::max(width / blockWidth, 2u);
    const std::uint64_t down = std::max(height / 4, 2u);
    return across * down <= payloadBytes / 8 ? Told_Image(Told::Decoded, width, height)
                                             : ToldOutcome{};
}

inline ToldOutcome Told_FromPvrV3(const Bytes& file) {
    const auto field = [&](std::size_t at) { return Told_Load32(file, at); };
    const std::uint32_t height = field(24), width = field(28);
    std::uint64_t at = 52;
    if (const std::uint32_t metadataBytes = field(48); metadataBytes != 0) {
        if (!Told_Holds(file, at, 12)) return {};
        const bool isOrientation = field(52) == 0x03525650 && field(56) == 3;
        if (isOrientation && !Told_Holds(file, at + 12, 3)) return {};
        at += metadataBytes;
    }
    const std::uint64_t payloadBytes = at < file.size() ? file.size() - at : 0;
    if (width == 0 || height == 0) return {};

    const std::uint32_t low = field(8), high = field(12);
    if (high != 0) {
        const auto names = [](std::string_view text) {
            std::uint32_t word = 0;
            for (std::size_t i = text.size(); i > 0; --i) {
                word = word << 8 | static_cast<std::uint8_t>(text[i - 1]);
            }
            return word;
        };
        const std::uint32_t componentCount = low == names("rgba")  ? 4
                                             : low == names("rgb") ? 3
                                             : low == names("l")   ? 1
                                                                   : 0;
        if (!Told_HasRows(componentCount, width, height, payloadBytes)) return {};
        // Widths that nobody knows are no bits: nothing is converted.
        const bool isKnown = Told_IsAnyOf(high, {0x08080808, 0x00080808});
        return Told_Image(isKnown ? Told::Decoded : Told::Blank, width, height);
    }
    struct Format {
        std::uint32_t number, gl;
    };
    for (const auto& [number, gl] : {Format{6, 0x8D64},
                                     {7, 0x83F1},
                                     {9, 0x83F2},
                                     {11, 0x83F3},
                                     {22, 0x9274},
                                     {23, 0x9278},
                                     {24, 0x9276},
                                     {25, 0x9270},
                                     {26, 0x9272}}) {
        if (number == low) {
            return Told_FromPvrBlocks(false, false, gl, width, height, payloadBytes);
        }
    }
    if (low > 3) return {};
    return Told_FromPvrBlocks(true, low < 2, 0, width, height, payloadBytes);
}

inline ToldOutcome Told_FromPvr(const Bytes& file) {
    if (!Told_Holds(file, 0, 52)) return {};
    const auto field = [&](std::size_t at) { return Told_Load32(file, at); };
    if (field(0) == 0x03525650) return Told_FromPvrV3(file);
    const std::uint32_t height = field(4), width = field(8), dataBytes = field(20);
    if (field(44) != 0x21525650) return {};
    if (height == 0 || width == 0 || dataBytes == 0) return {};
    if (!Told_Holds(file, 52, dataBytes)) return {};

    const std::uint32_t type = field(16) & 0xFF;
    if (type == 18 || type == 21) {
        return Told_FromGl(type == 18 ? 0x8058 : 0x8051, false, width, height, dataBytes);
    }
    struct Format {
        std::uint32_t type, gl;
    };
    for (const auto& [number, gl] : {Format{32, 0x83F1},
                                     {34, 0x83F2},
                                     {36, 0x83F3},
                                     {54, 0x8D64},
                                     {55, 0x9278},
                                     {56, 0x9278}}) {
        if (number == type) {
            return Told_FromPvrBlocks(false, false, gl, width, height, dataBytes);
        }
    }
    if (type != 24 && type != 25) return {};
    return Told_FromPvrBlocks(true, type == 24, 0, width, height, dataBytes);
}

inline ToldOutcome Told_FromAstc(const Bytes& file) {
    if (!Told_Holds(file, 0, 16) || Told_Load32(file, 0) != 0x5CA1AB13) return {};
    const auto extent = [&](std::size_t at) {
        return static_cast<std::uint32_t>(Told_Load(file, at, 3));
    };
    const std::uint32_t width = extent(7), height = extent(10);
    if (width == 0 || height == 0 || extent(13) != 1) return {};
    const auto side = [&](std::size_t at) { return std::max<std::uint32_t>(file[at], 1); };
    const ToldBlocks blocks{side(4), side(5), 16};
    if (!Told_HasBlocks(blocks, width, height, file.size() - 16)) return {};

    // What the standard lists; a volume's blocks serve as well.
    const auto isFootprint = [&](std::uint32_t x, std::uint32_t y, std::uint32_t z) {
        return side(4) == x && side(5) == y && side(6) == z;
    };
    bool isLegal = false;
    for (const auto& [x, y] : kTestAstcFootprints) {
        isLegal = isLegal || isFootprint(x, y, 1);
    }
    // Other footprints are transparent.
    return Told_Image(isLegal ? Told::Decoded : Told::Blank, width, height, {0, 0, 0, 0});
}

/// The load must end as it was told.
inline void Told_Expect(const KORU_Image* image, const ToldOutcome& outcome, std::uint32_t flags) {
    ASSERT_EQ(image != nullptr, outcome.Loads()) << "flags " << flags;
    if (image == nullptr) return;
    Test_ExpectSoundRecord(*image, flags);
    ASSERT_EQ(image->width, outcome.width);
    ASSERT_EQ(image->height, outcome.height);
    // Every byte can be read.
    const Bytes pixels = Test_GetPixels(*image);
    if (image->pixels == nullptr) return;
    ASSERT_EQ(pixels.size(), image->dataSize);
    if (outcome.told != Told::Blank) return;
    // The first pixel is, and every other one is as the one before.
    const auto channels = static_cast<std::ptrdiff_t>(image->bytesPerPixel);
    ASSERT_TRUE(std::equal(pixels.begin(), pixels.begin() + channels, outcome.blank.begin()));
    ASSERT_TRUE(std::equal(pixels.begin() + channels, pixels.end(), pixels.begin()));
}
