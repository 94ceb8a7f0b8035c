// Blocks and images whose texels come from independent decoders (data/blocks/README.md).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "block_test_helpers.h"
#include "formats/gl_codes.h"

namespace koru {
namespace {

const std::filesystem::path kFolder =
    std::filesystem::path(KORUTEX_TEST_DATA_DIR) / std::filesystem::path("blocks");

/// A decoder under a name, for images as wide and high as the blocks allow.
struct Decoder {
    std::string name;
    std::size_t blockBytes;
    bool hasAlpha;  ///< If not, the expected pixels lose theirs.
    std::function<Bytes(const Bytes& blocks, std::uint32_t width, std::uint32_t height)> decode;
};

Decoder MakeEtc(const std::string& name, GlCode code, std::size_t blockBytes, bool hasAlpha) {
    return {name, blockBytes, hasAlpha,
            [code](const Bytes& blocks, std::uint32_t width, std::uint32_t height) {
                const EtcImage image = Test_DecodeEtc(code, blocks, width, height);
                EXPECT_EQ(image.result, kEtcSuccess);
                return image.pixels;
            }};
}

Decoder MakeS3tc(const std::string& name, S3tcMode mode, std::size_t blockBytes,
                 std::uint32_t bytesPerPixel) {
    return {name + std::to_string(8 * bytesPerPixel), blockBytes, bytesPerPixel == 4,
            [mode, bytesPerPixel](const Bytes& blocks, std::uint32_t width, std::uint32_t height) {
                return Test_DecodeS3tc(mode, blocks, width, height, bytesPerPixel);
            }};
}

std::vector<Decoder> MakeBoth(const std::string& name, S3tcMode mode, std::size_t blockBytes) {
    return {MakeS3tc(name, mode, blockBytes, 3), MakeS3tc(name, mode, blockBytes, 4)};
}

std::vector<Decoder> GetDecoders(const std::string& format) {
    if (format == "etc2_rgb") {
        return {MakeEtc("Etc1", GL_ETC1_RGB8_OES, 8, false),
                MakeEtc("Rgb8", GL_COMPRESSED_RGB8_ETC2, 8, false),
                MakeEtc("Srgb8", GL_COMPRESSED_SRGB8_ETC2, 8, false)};
    }
    if (format == "etc2_punchthrough") {
        return {MakeEtc("Punchthrough", GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2, 8, true),
                MakeEtc("SrgbPunchthrough", GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2, 8, true)};
    }
    if (format == "etc2_rgba8") {
        return {MakeEtc("Rgba8", GL_COMPRESSED_RGBA8_ETC2_EAC, 16, true),
                MakeEtc("Srgb8Alpha8", GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC, 16, true)};
    }
    if (format == "eac_r11") return {MakeEtc("R11", GL_COMPRESSED_R11_EAC, 8, true)};
    if (format == "eac_rg11") return {MakeEtc("Rg11", GL_COMPRESSED_RG11_EAC, 16, true)};
    if (format == "eac_signed_r11")
        return {MakeEtc("SignedR11", GL_COMPRESSED_SIGNED_R11_EAC, 8, true)};
    if (format == "eac_signed_rg11")
        return {MakeEtc("SignedRg11", GL_COMPRESSED_SIGNED_RG11_EAC, 16, true)};
    if (format == "bc1") return MakeBoth("Bc1_", S3tcMode::Dxt1, 8);
    if (format.rfind("bc2", 0) == 0) return MakeBoth("Bc2_", S3tcMode::Dxt3, 16);
    if (format == "bc3") return MakeBoth("Bc3_", S3tcMode::Dxt5, 16);
    if (format == "bc4") return MakeBoth("Bc4_", S3tcMode::Bc4, 8);
    if (format == "bc5") return MakeBoth("Bc5_", S3tcMode::Bc5, 16);
    return {};
}

Bytes ReadVector(const std::filesystem::path& name, const std::string& extension) {
    return Test_ReadFile(kFolder / (name.string() + extension));
}

/// The name of the group that a block belongs to.
std::string GetGroup(const std::string& set, std::size_t block) {
    std::ifstream file(kFolder / (set + ".index.tsv"));
    std::string line;
    std::getline(file, line);  // the captions
    while (std::getline(file, line)) {
        std::istringstream fields(line);
        std::size_t first = 0, count = 0;
        std::string group;
        fields >> first >> count >> std::ws;
        std::getline(fields, group);
        if (block >= first && block - first < count) return group;
    }
    return "no group";
}

// Sets.

struct SetFile {
    const char* name;
    const char* extension;
    std::size_t blockCount;
    std::size_t texelBytes;
};

class BlockVectorSet : public testing::TestWithParam<SetFile> {};

TEST_P(BlockVectorSet, DecodesToTheTexelsOfIndependentDecoders) {
    const SetFile& set = GetParam();
    const Bytes blocks = ReadVector(set.name, ".blocks");
    const Bytes tiles = ReadVector(set.name, set.extension);
    ASSERT_EQ(tiles.size(), set.blockCount * 16 * set.texelBytes);
    const auto decoders = GetDecoders(set.name);
    ASSERT_FALSE(decoders.empty());
    for (const Decoder& decoder : decoders) {
        ASSERT_EQ(blocks.size(), set.blockCount * decoder.blockBytes);
        const Bytes expected = decoder.hasAlpha ? tiles : Test_DropAlpha(tiles);
        const Bytes actual =
            decoder.decode(blocks, 4, static_cast<std::uint32_t>(4 * set.blockCount));
        ASSERT_EQ(actual.size(), expected.size()) << decoder.name;
        const std::size_t tileBytes = expected.size() / set.blockCount;
        for (std::size_t block = 0; block < set.blockCount; ++block) {
            const auto begin = static_cast<std::ptrdiff_t>(block * tileBytes);
            const auto end = begin + static_cast<std::ptrdiff_t>(tileBytes);
            EXPECT_EQ(Bytes(actual.begin() + begin, actual.begin() + end),
                      Bytes(expected.begin() + begin, expected.begin() + end))
                << decoder.name << ", block " << block << ": " << GetGroup(set.name, block);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, BlockVectorSet,
                         testing::Values(SetFile{"etc2_rgb", ".texels", 2235, 4},
                                         SetFile{"etc2_punchthrough", ".texels", 1692, 4},
                                         SetFile{"etc2_rgba8", ".texels", 986, 4},
                                         SetFile{"eac_r11", ".texels", 1487, 2},
                                         SetFile{"eac_signed_r11", ".texels", 1575, 2},
                                         SetFile{"eac_rg11", ".texels", 468, 4},
                                         SetFile{"eac_signed_rg11", ".texels", 498, 4},
                                         SetFile{"bc1", ".korutex", 490, 4},
                                         SetFile{"bc2", ".texels", 212, 4},
                                         SetFile{"bc2_color0_not_above_color1", ".korutex", 100, 4},
                                         SetFile{"bc3", ".texels", 316, 4},
                                         SetFile{"bc4", ".korutex", 268, 4},
                                         SetFile{"bc5", ".korutex", 256, 4}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(BlockVectors, Bc1StaysWithinTheToleranceOfThePublishedFormat) {
    const Bytes blocks = ReadVector("bc1", ".blocks");
    const Bytes texels = ReadVector("bc1", ".texels");
    const Bytes tolerance = ReadVector("bc1", ".tolerance");
    const Bytes actual = Test_DecodeS3tc(S3tcMode::Dxt1, blocks, 4,
                                         static_cast<std::uint32_t>(blocks.size() / 2), 4);
    ASSERT_EQ(actual.size(), texels.size());
    ASSERT_EQ(actual.size(), tolerance.size());
    std::size_t compared = 0;
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (tolerance[i] == 255) continue;
        ++compared;
        EXPECT_LE(std::abs(actual[i] - texels[i]), tolerance[i])
            << "block " << i / 64 << " (" << GetGroup("bc1", i / 64) << "), byte " << i % 64;
    }
    EXPECT_GT(compared, actual.size() / 2);
}

// Whole images.

struct ImageFile {
    const char* format;
    std::uint32_t width, height;
};

class BlockVectorImage : public testing::TestWithParam<ImageFile> {};

TEST_P(BlockVectorImage, DecodesWithItsEdgesCut) {
    const auto& [format, width, height] = GetParam();
    const auto name =
        std::filesystem::path("img") /
        (std::string(format) + "_" + std::to_string(width) + "x" + std::to_string(height));
    const Bytes blocks = ReadVector(name, ".blocks");
    const Bytes pixels = ReadVector(name, ".texels");
    ASSERT_FALSE(pixels.empty());
    for (const Decoder& decoder : GetDecoders(format)) {
        ASSERT_EQ(blocks.size(), Test_GetBlockCount(width, height) * decoder.blockBytes);
        const Bytes expected = decoder.hasAlpha ? pixels : Test_DropAlpha(pixels);
        EXPECT_EQ(decoder.decode(blocks, width, height), expected) << decoder.name;
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, BlockVectorImage,
    testing::Values(ImageFile{"bc1", 17, 10}, ImageFile{"bc1", 1, 1}, ImageFile{"bc1", 3, 9},
                    ImageFile{"bc1", 6, 6}, ImageFile{"bc2", 11, 7}, ImageFile{"bc2", 2, 3},
                    ImageFile{"bc2", 6, 6}, ImageFile{"bc3", 4, 4}, ImageFile{"bc3", 6, 6},
                    ImageFile{"bc3", 9, 13}, ImageFile{"eac_r11", 10, 3},
                    ImageFile{"eac_r11", 1, 4}, ImageFile{"eac_r11", 5, 7},
                    ImageFile{"eac_rg11", 11, 9}, ImageFile{"eac_rg11", 6, 5},
                    ImageFile{"eac_signed_r11", 3, 3}, ImageFile{"eac_signed_r11", 9, 6},
                    ImageFile{"eac_signed_rg11", 10, 10}, ImageFile{"eac_signed_rg11", 2, 7},
                    ImageFile{"etc2_punchthrough", 2, 2}, ImageFile{"etc2_punchthrough", 6, 6},
                    ImageFile{"etc2_punchthrough", 9, 5}, ImageFile{"etc2_rgb", 13, 6},
                    ImageFile{"etc2_rgb", 1, 1}, ImageFile{"etc2_rgb", 20, 17},
                    ImageFile{"etc2_rgb", 4, 4}, ImageFile{"etc2_rgb", 5, 3},
                    ImageFile{"etc2_rgb", 7, 9}, ImageFile{"etc2_rgb", 8, 8},
                    ImageFile{"etc2_rgba8", 17, 4}, ImageFile{"etc2_rgba8", 3, 5},
                    ImageFile{"etc2_rgba8", 6, 10}),
    [](const auto& test) {
        return std::string(test.param.format) + "_" + std::to_string(test.param.width) + "x" +
               std::to_string(test.param.height);
    });

// Images narrower than a block.

class BlockVectorNarrow : public testing::TestWithParam<std::tuple<const char*, std::uint32_t>> {};

TEST_P(BlockVectorNarrow, KeepsTheWiderStepBetweenIndexRows) {
    const auto& [format, width] = GetParam();
    const auto name =
        std::filesystem::path("narrow") / (std::string(format) + "_w" + std::to_string(width));
    const Bytes blocks = ReadVector(name, ".blocks");
    const Bytes pixels = ReadVector(name, ".korutex");
    ASSERT_EQ(pixels.size(), std::size_t{width} * 36 * 4);
    for (const Decoder& decoder : GetDecoders(format)) {
        ASSERT_EQ(blocks.size(), 9 * decoder.blockBytes);
        const Bytes expected = decoder.hasAlpha ? pixels : Test_DropAlpha(pixels);
        EXPECT_EQ(decoder.decode(blocks, width, 36), expected) << decoder.name;
    }
}

INSTANTIATE_TEST_SUITE_P(All, BlockVectorNarrow,
                         testing::Combine(testing::Values("bc3", "bc4", "bc5"),
                                          testing::Values(1u, 2u, 3u)),
                         [](const auto& test) {
                             return std::string(std::get<0>(test.param)) + "_w" +
                                    std::to_string(std::get<1>(test.param));
                         });

// What the sets cover. The classifiers follow the published layouts, not the decoders.

using Counts = std::map<std::string, int>;

std::string ClassifyEtc(const std::uint8_t* block, bool isPunchthrough) {
    const bool bit33 = (block[3] & 2) != 0, flip = (block[3] & 1) != 0;
    const std::string suffix = isPunchthrough ? (bit33 ? " opaque" : " not opaque") : "";
    const std::string halves = flip ? " flip1" : " flip0";
    if (!isPunchthrough && !bit33) return "individual" + halves;
    static constexpr int kDeltas[]{0, 1, 2, 3, -4, -3, -2, -1};
    static constexpr const char* kModes[]{"T", "H", "planar"};
    for (int channel = 0; channel < 3; ++channel) {
        const int sum = block[channel] / 8 + kDeltas[block[channel] % 8];
        if (sum < 0 || sum > 31) return kModes[channel] + suffix;
    }
    return "differential" + halves + suffix;
}

Counts CountEtc(const std::string& set, std::size_t blockBytes, bool isPunchthrough) {
    const Bytes blocks = ReadVector(set, ".blocks");
    Counts counts;
    for (std::size_t at = 0; at < blocks.size(); at += blockBytes)
        ++counts[ClassifyEtc(&blocks[at + blockBytes - 8], isPunchthrough)];
    return counts;
}

Counts CountEac(const std::string& set, bool isSigned) {
    const Bytes blocks = ReadVector(set, ".blocks");
    Counts counts;
    for (std::size_t at = 0; at < blocks.size(); at += 8) {
        const int base = blocks[at], multiplier = blocks[at + 1] / 16;
        ++counts["blocks"];
        if (multiplier == 0) ++counts["multiplier 0"];
        if (multiplier == 15) ++counts["multiplier 15"];
        if (!isSigned && base == 0x00) ++counts["base 0x00"];
        if (!isSigned && base == 0xFF) ++counts["base 0xFF"];
        if (isSigned && base == 0x80) ++counts["base 0x80"];
    }
    return counts;
}

/// `end` is the size in bytes of the numbers that choose the palette.
Counts CountBc(const std::string& set, std::size_t first, std::size_t step, std::size_t end) {
    const Bytes blocks = ReadVector(set, ".blocks");
    Counts counts;
    for (std::size_t at = first; at < blocks.size(); at += step) {
        const auto load = [&](std::size_t i) {
            return end == 2 ? blocks[i] + 256 * blocks[i + 1] : int{blocks[i]};
        };
        const int a = load(at), b = load(at + end);
        ++counts[a > b ? "above" : a < b ? "below" : "equal"];
    }
    return counts;
}

void ExpectCounts(const std::string& set, const Counts& counts, const Counts& expected) {
    EXPECT_EQ(counts, expected) << set;
    std::string line;
    for (const auto& [group, count] : counts) {
        if (!line.empty()) line += ", ";
        line += group + " " + std::to_string(count);
    }
    testing::Test::RecordProperty(set, line);
    std::printf("%s: %s\n", set.c_str(), line.c_str());
}

TEST(BlockVectors, CoverEveryModeOfTheFormats) {
    ExpectCounts("etc2_rgb", CountEtc("etc2_rgb", 8, false),
                 {{"individual flip0", 264},
                  {"individual flip1", 278},
                  {"differential flip0", 290},
                  {"differential flip1", 278},
                  {"T", 467},
                  {"H", 375},
                  {"planar", 283}});
    ExpectCounts("etc2_punchthrough", CountEtc("etc2_punchthrough", 8, true),
                 {{"differential flip0 opaque", 221},
                  {"differential flip1 opaque", 190},
                  {"T opaque", 172},
                  {"H opaque", 159},
                  {"planar opaque", 98},
                  {"differential flip0 not opaque", 214},
                  {"differential flip1 not opaque", 209},
                  {"T not opaque", 170},
                  {"H not opaque", 162},
                  {"planar not opaque", 97}});
    ExpectCounts("etc2_rgba8", CountEtc("etc2_rgba8", 16, false),
                 {{"individual flip0", 158},
                  {"individual flip1", 142},
                  {"differential flip0", 118},
                  {"differential flip1", 142},
                  {"T", 146},
                  {"H", 143},
                  {"planar", 137}});
    ExpectCounts("eac_r11", CountEac("eac_r11", false),
                 {{"blocks", 1487},
                  {"multiplier 0", 257},
                  {"multiplier 15", 161},
                  {"base 0x00", 50},
                  {"base 0xFF", 51}});
    ExpectCounts(
        "eac_signed_r11", CountEac("eac_signed_r11", true),
        {{"blocks", 1575}, {"multiplier 0", 270}, {"multiplier 15", 175}, {"base 0x80", 90}});
    ExpectCounts("eac_rg11", CountEac("eac_rg11", false),
                 {{"blocks", 2 * 468},
                  {"multiplier 0", 137},
                  {"multiplier 15", 143},
                  {"base 0x00", 38},
                  {"base 0xFF", 38}});
    ExpectCounts(
        "eac_signed_rg11", CountEac("eac_signed_rg11", true),
        {{"blocks", 2 * 498}, {"multiplier 0", 142}, {"multiplier 15", 149}, {"base 0x80", 77}});
    ExpectCounts("bc1 color", CountBc("bc1", 0, 8, 2),
                 {{"above", 274}, {"below", 197}, {"equal", 19}});
    ExpectCounts("bc2 color", CountBc("bc2", 8, 16, 2), {{"above", 212}});
    ExpectCounts("bc2_color0_not_above_color1 color",
                 CountBc("bc2_color0_not_above_color1", 8, 16, 2), {{"below", 80}, {"equal", 20}});
    ExpectCounts("bc3 color", CountBc("bc3", 8, 16, 2),
                 {{"above", 208}, {"below", 100}, {"equal", 8}});
    ExpectCounts("bc3 alpha", CountBc("bc3", 0, 16, 1),
                 {{"above", 162}, {"below", 148}, {"equal", 6}});
    ExpectCounts("bc4 channel", CountBc("bc4", 0, 8, 1),
                 {{"above", 131}, {"below", 131}, {"equal", 6}});
    ExpectCounts("bc5 channels", CountBc("bc5", 0, 8, 1),
                 {{"above", 260}, {"below", 238}, {"equal", 14}});
}

}  // namespace
}  // namespace koru
