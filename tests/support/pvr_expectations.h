// What a PVR load must give, and every pixel format that gives anything.
#pragma once

#include <korutex.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string_view>
#include <vector>

#include "ktx_expectations.h"
#include "load_expectations.h"
#include "pvr_builder.h"
#include "test_blocks.h"

/// The picture must come out, in every layout.
inline void Test_ExpectPvr(const Bytes& file, const TestPicture& picture,
                           const std::vector<std::uint32_t>& flagValues = {0, 1, 2, 3}) {
    Test_ExpectLoadsWith(KORU_Load_PVR_From_Memory, file, picture, flagValues);
}

inline void Test_ExpectPvrRefused(const Bytes& file) {
    Test_ExpectRefusedWith(KORU_Load_PVR_From_Memory, file);
}

// Blocks of 4 x 4.

struct PvrBlockFormat {
    const char* name;
    std::vector<std::uint32_t> legacyTypes;
    std::uint32_t v3Number;
    bool isS3tc;          ///< Else ETC or EAC.
    unsigned components;  ///< As the expansion counts them; 0 shows nothing.
    TestBlock (*makeBlock)(std::size_t);
    std::size_t texelBytes;  ///< Of a decoded texel.

    [[nodiscard]] TestBlockImage Make(std::size_t width, std::size_t height) const {
        return Test_MakeBlockImage(makeBlock, texelBytes, width, height);
    }
    /// The picture that decoded texels must come out as.
    [[nodiscard]] TestPicture Show(const Bytes& decoded, std::uint32_t width,
                                   std::uint32_t height) const {
        if (components == 0) return Test_OpaqueBlack(width, height);
        const std::size_t countingBytes = std::size_t{width} * height * (isS3tc ? 4 : components);
        return Test_ExpandRows(decoded, countingBytes, 8 * components, 0, width, height);
    }
    /// Files with this payload, of both headers where both can tell the format.
    [[nodiscard]] std::vector<Bytes> MakeFiles(std::uint32_t width, std::uint32_t height,
                                               const Bytes& payload) const {
        std::vector<Bytes> files{
            PvrV3Builder().Compressed(v3Number).Size(width, height).Data(payload).Build()};
        for (const std::uint32_t type : legacyTypes) {
            files.push_back(
                PvrLegacyBuilder().Type(type).Size(width, height).Data(payload).Build());
        }
        return files;
    }
};

inline void PrintTo(const PvrBlockFormat& format, std::ostream* stream) { *stream << format.name; }

/// EAC has no component count here. DXT1 has three, so its alpha never shows.
inline std::vector<PvrBlockFormat> Test_ListPvrBlockFormats() {
    return {
        {"Etc1", {54}, 6, false, 3, Test_EtcRgbBlock, 3},
        {"Etc2Rgb", {}, 22, false, 3, Test_EtcRgbBlock, 3},
        {"Etc2Rgba", {55, 56}, 23, false, 4, Test_EtcRgbaBlock, 4},
        {"Etc2PunchThrough", {}, 24, false, 4, Test_EtcPunchThroughBlock, 4},
        {"EacR11", {}, 25, false, 0, Test_R11Block, 2},
        {"EacRg11", {}, 26, false, 0, Test_Rg11Block, 4},
        {"Dxt1", {32}, 7, true, 3, Test_Bc1Block, 3},
        {"Dxt3", {34}, 9, true, 4, Test_Bc2Block, 4},
        {"Dxt5", {36}, 11, true, 4, Test_Bc3Block, 4},
    };
}

inline PvrBlockFormat Test_FindPvrBlockFormat(std::string_view name) {
    const auto formats = Test_ListPvrBlockFormats();
    return *std::find_if(formats.begin(), formats.end(),
                         [&](const PvrBlockFormat& format) { return format.name == name; });
}

// PVRTC in one pair of colors, so that every pixel shows its modulation alone.

struct PvrtcImage {
    Bytes blocks;
    TestPicture picture;
};

/// Blocks with random modulation between the opaque colors A, 5-bit (5, 18, 12), and B,
/// (30, 3, 25). At 4 bits per pixel every third block has the punch-through mode. Sizes are powers
/// of two. Neighboring colors are the same, so nothing is left to interpolate.
inline PvrtcImage Test_MakePvrtcImage(bool is2Bpp, std::uint32_t width, std::uint32_t height,
                                      std::uint32_t seed) {
    const std::uint32_t blockWidth = is2Bpp ? 8 : 4;
    const std::uint32_t across = std::max(width / blockWidth, 2u);
    const std::uint32_t down = std::max(height / 4, 2u);
    const auto hasPunchThrough = [&](std::size_t index) { return !is2Bpp && index % 3 == 1; };

    PvrtcImage image{{}, {width, height, Bytes(std::size_t{width} * height * 4)}};
    const Bytes noise = Test_MakeNoise(std::size_t{across} * down * 4, seed);
    for (std::size_t i = 0; i < std::size_t{across} * down; ++i) {
        for (std::size_t k = 0; k < 4; ++k) image.blocks.push_back(noise[i * 4 + k]);
        Test_PutLe(image.blocks, 0x8000 | 5 << 10 | 18 << 5 | 12 | (hasPunchThrough(i) ? 1 : 0), 2);
        Test_PutLe(image.blocks, 0x8000 | 30 << 10 | 3 << 5 | 25, 2);
    }
    // Row bits are the even ones, column bits the odd ones, as long as both sides have them.
    const auto toIndex = [&](std::uint32_t blockX, std::uint32_t blockY) {
        std::size_t index = 0;
        unsigned bit = 0;
        for (; 1u << bit < std::min(across, down); ++bit) {
            index |= std::size_t{blockY >> bit & 1} << (2 * bit);
            index |= std::size_t{blockX >> bit & 1} << (2 * bit + 1);
        }
        return index | std::size_t{(down < across ? blockX : blockY) >> bit} << (2 * bit);
    };
    // 5 bits v become 8 v + v / 4, which are 41, 148, 99 and 247, 24, 206.
    constexpr int kA[] = {41, 148, 99, 255}, kB[] = {247, 24, 206, 255};
    constexpr int kWeights[] = {0, 3, 5, 8}, kPunchThroughWeights[] = {0, 4, 4, 8};

    // A position shows what lies half a block further on; a small image is written many times over.
    for (std::uint32_t position = 0; position < across * down; ++position) {
        const std::uint32_t left = position % across, top = position / across;
        for (std::uint32_t i = 0; i < blockWidth * 4; ++i) {
            const std::uint32_t x =
                (left * blockWidth + blockWidth / 2 + i % blockWidth) & (width - 1);
            const std::uint32_t y = (top * 4 + 2 + i / blockWidth) & (height - 1);
            const std::uint32_t column = (x + blockWidth / 2) % blockWidth + blockWidth / 2;
            const std::uint32_t row = (y + 2) % 4 + 2;
            const std::size_t index =
                toIndex((left + column / blockWidth) % across, (top + row / 4) % down);
            const std::size_t texel = row % 4 * blockWidth + column % blockWidth;
            const std::size_t firstBit = texel * (is2Bpp ? 1 : 2);
            const int bits = image.blocks[index * 8 + firstBit / 8] >> firstBit % 8;
            const int value = is2Bpp ? (bits & 1) * 3 : bits & 3;
            const int weight = (hasPunchThrough(index) ? kPunchThroughWeights : kWeights)[value];
            for (std::size_t c = 0; c < 4; ++c) {
                image.picture.rgba[(std::size_t{y} * width + x) * 4 + c] =
                    static_cast<std::uint8_t>((kA[c] * (8 - weight) + kB[c] * weight) / 8);
            }
            if (hasPunchThrough(index) && value == 2) {
                image.picture.rgba[(std::size_t{y} * width + x) * 4 + 3] = 0;
            }
        }
    }
    return image;
}

struct PvrtcFormat {
    const char* name;
    bool is2Bpp;
    std::uint32_t legacyType;
    std::vector<std::uint32_t> v3Numbers;

    [[nodiscard]] std::vector<Bytes> MakeFiles(std::uint32_t width, std::uint32_t height,
                                               const Bytes& payload) const {
        std::vector<Bytes> files{
            PvrLegacyBuilder().Type(legacyType).Size(width, height).Data(payload).Build()};
        for (const std::uint32_t number : v3Numbers) {
            files.push_back(
                PvrV3Builder().Compressed(number).Size(width, height).Data(payload).Build());
        }
        return files;
    }
};

inline void PrintTo(const PvrtcFormat& format, std::ostream* stream) { *stream << format.name; }

/// RGB and RGBA make no difference.
inline std::vector<PvrtcFormat> Test_ListPvrtcFormats() {
    return {{"Pvrtc2", true, 24, {0, 1}}, {"Pvrtc4", false, 25, {2, 3}}};
}

// Packed pixels.

struct PvrChannelNames {
    std::string_view names;
    unsigned count;
};

inline void PrintTo(const PvrChannelNames& names, std::ostream* stream) { *stream << names.names; }

struct PvrPixelBits {
    PvrChannelWidths widths;
    unsigned bits;
    std::uint32_t code;  ///< Selects the conversion; 0 shows the bytes as they are.
};

inline std::vector<PvrChannelNames> Test_ListPvrChannelNames() {
    return {{"rgba", 4}, {"bgra", 4}, {"rgbx", 4}, {"rgb", 3}, {"bgr", 3},
            {"r", 1},    {"g", 1},    {"b", 1},    {"a", 1},   {"l", 1}};
}

/// 11, 11, 10 are floats that no one decodes: its four bytes show.
inline std::vector<PvrPixelBits> Test_ListPvrPixelBits() {
    return {{{8, 8, 8, 8}, 32, 0},      {{8, 8, 8, 0}, 24, 0},      {{10, 10, 10, 2}, 32, 0x8059},
            {{11, 11, 10, 0}, 32, 0},   {{4, 4, 4, 4}, 16, 0x8056}, {{5, 6, 5, 0}, 16, 0x8D62},
            {{5, 5, 5, 0}, 16, 0x8050}, {{5, 5, 5, 1}, 16, 0x8057}};
}

/// As if every channel took one byte, in rows padded to 4: what a payload must have at least.
inline std::size_t Test_GetPvrRequiredBytes(unsigned channelCount, std::uint32_t width,
                                            std::uint32_t height) {
    return (std::size_t{width} * channelCount + 3) / 4 * 4 * height;
}

/// What packed pixels must come out as. The alpha of pixels that have some shows only where the
/// surface has room for it, which other names or an earlier image may have made.
inline TestPicture Test_ShowPvrPixels(const Bytes& payload, const PvrPixelBits& pixelBits,
                                      std::uint32_t width, std::uint32_t height, bool hasAlpha) {
    TestPicture picture =
        Test_ExpandRows(payload, payload.size(), pixelBits.bits, pixelBits.code, width, height);
    for (std::size_t i = 3; !hasAlpha && i < picture.rgba.size(); i += 4) picture.rgba[i] = 255;
    return picture;
}
