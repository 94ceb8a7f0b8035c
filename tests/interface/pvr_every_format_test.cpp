// Every pixel format a PVR file can have, with both headers and in many sizes, against pictures
// that follow from the formats' definitions or that other decoders made.
#include <gtest/gtest.h>
#include <korutex.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "pvr_builder.h"
#include "pvr_expectations.h"
#include "test_blocks.h"
#include "test_files.h"

namespace {

/// The extents of an image; the blocks of one of 17 x 17 are 25.
constexpr std::uint32_t kMostPixels = 17;

std::string At(std::uint32_t width, std::uint32_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

Bytes MakePacked(std::string_view names, const PvrChannelWidths& widths, std::uint32_t width,
                 std::uint32_t height, const Bytes& payload) {
    return PvrV3Builder().Packed(names, widths).Size(width, height).Data(payload).Build();
}

Bytes MakeV3(std::uint32_t number, std::uint32_t width, std::uint32_t height,
             const Bytes& payload) {
    return PvrV3Builder().Compressed(number).Size(width, height).Data(payload).Build();
}

Bytes MakeLegacy(std::uint32_t type, std::uint32_t width, std::uint32_t height,
                 const Bytes& payload) {
    return PvrLegacyBuilder().Type(type).Size(width, height).Data(payload).Build();
}

Bytes Cut(const Bytes& bytes, std::size_t size) {
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)};
}

/// From then on every surface has room for alpha.
void LoadFourChannels() { ASSERT_NE(Test_LoadPvr(MakeLegacy(18, 1, 1, Bytes(4)), 2), nullptr); }

// ETC, EAC and S3TC.

class PvrBlocks : public testing::TestWithParam<PvrBlockFormat> {
  protected:
    const PvrBlockFormat& format_ = GetParam();
};

TEST_P(PvrBlocks, ShowsEveryBlockInItsPlace) {
    for (std::uint32_t height = 1; height <= kMostPixels; ++height) {
        for (std::uint32_t width = 1; width <= kMostPixels; ++width) {
            SCOPED_TRACE(At(width, height));
            const TestBlockImage image = format_.Make(width, height);
            const TestPicture picture = format_.Show(image.decoded, width, height);
            for (const Bytes& file : format_.MakeFiles(width, height, image.blocks)) {
                Test_ExpectPvr(file, picture);
            }
            if (HasFailure()) return;
        }
    }
}

TEST_P(PvrBlocks, LevelsFacesAndSurfacesDoNotMatter) {
    for (const auto& [width, height] : {std::pair{13u, 9u}, std::pair{8u, 4u}}) {
        const TestBlockImage image = format_.Make(width, height);
        const TestPicture picture = format_.Show(image.decoded, width, height);
        for (const std::size_t more : {std::size_t{1}, std::size_t{8}, image.blocks.size() * 11}) {
            Bytes payload = image.blocks;
            Test_Append(payload, Test_MakeNoise(more, 3));
            for (Bytes file : format_.MakeFiles(width, height, payload)) {
                Test_ExpectPvr(file, picture);
                // The counts of version 3; the masks, the mip-map and the surface count before.
                const bool isV3 = file[0] == 'P';
                for (const std::size_t at : isV3 ? std::vector<std::size_t>{32, 36, 40, 44}
                                                 : std::vector<std::size_t>{12, 24, 28, 40, 48}) {
                    Test_PokeLe(file, at, 6, 4);
                }
                Test_ExpectPvr(file, picture);
            }
        }
    }
}

TEST_P(PvrBlocks, ShortPayloadDecodesNothing) {
    for (const auto& [width, height] : {std::pair{13u, 9u}, std::pair{1u, 1u}}) {
        const Bytes blocks = format_.Make(width, height).blocks;
        for (const std::size_t size : {std::size_t{1}, blocks.size() / 2, blocks.size() - 1}) {
            for (const Bytes& file : format_.MakeFiles(width, height, Cut(blocks, size))) {
                Test_ExpectPvrRefused(file);
            }
        }
    }
}

TEST_P(PvrBlocks, WithoutPayloadEtcIsBlack) {
    for (const auto& [width, height] : {std::pair{13u, 9u}, std::pair{1u, 1u}}) {
        const Bytes file = MakeV3(format_.v3Number, width, height, {});
        if (format_.isS3tc) {
            Test_ExpectPvrRefused(file);
        } else {
            Test_ExpectPvr(file, Test_OpaqueBlack(width, height));
        }
    }
    // A legacy file has to say how much it holds.
    for (const std::uint32_t type : format_.legacyTypes) {
        Test_ExpectPvrRefused(MakeLegacy(type, 13, 9, {}));
    }
}

TEST_P(PvrBlocks, VersionThreeWithoutPixelsIsRefused) {
    const Bytes blocks = format_.Make(4, 4).blocks;
    for (const auto& [width, height] : {std::pair{0u, 4u}, std::pair{4u, 0u}, std::pair{0u, 0u}}) {
        Test_ExpectPvrRefused(MakeV3(format_.v3Number, width, height, blocks));
        Test_ExpectPvrRefused(MakeV3(format_.v3Number, width, height, {}));
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, PvrBlocks, testing::ValuesIn(Test_ListPvrBlockFormats()),
                         [](const auto& format) { return std::string(format.param.name); });

TEST(PvrBlockRules, ThreeComponentRowsAreReadAsIfPadded) {
    // 1 x 3 pixels from 9 bytes without gaps, read as rows of 4 bytes: the second row begins at
    // byte 4, which is the green of the second pixel; the third row's blue would be byte 10.
    const Bytes block = {0x12, 0x34, 0x56, 0, 0x0, 0, 0, 0};  // left half 1, 3, 5: 19, 53, 87
    const TestPicture sheared{1, 3, {19, 53, 87, 255, 53, 87, 19, 255, 0, 0, 0, 255}};
    Test_ExpectPvr(MakeLegacy(54, 1, 3, block), sheared);
    Test_ExpectPvr(MakeV3(6, 1, 3, block), sheared);
    Test_ExpectPvr(MakeV3(22, 1, 3, block), sheared);
    // DXT1 counts 4 bytes for each pixel, so the last byte is shown too; behind it all is 0.
    const Bytes bc1 = {0x00, 0xF8, 0x1F, 0x00, 0, 1, 1, 0};  // red, blue, blue
    const TestPicture mixed{1, 3, {255, 0, 0, 255, 0, 255, 0, 255, 255, 0, 0, 255}};
    Test_ExpectPvr(MakeLegacy(32, 1, 3, bc1), mixed);
    Test_ExpectPvr(MakeV3(7, 1, 3, bc1), mixed);
}

TEST(PvrBlockRules, Dxt1HasNoAlphaAndAWhiteFourthColor) {
    // color0 not above color1; row 0 has the indices 0, 1, 2, 3.
    const Bytes colors = {0x00, 0x00, 0x00, 0xF8, 0xE4, 0, 0, 0};
    const TestPicture row{4, 1, {0, 0, 0, 255, 255, 0, 0, 255, 128, 0, 0, 255, 255, 255, 255, 255}};
    LoadFourChannels();
    Test_ExpectPvr(MakeLegacy(32, 4, 1, colors), row);
    Test_ExpectPvr(MakeV3(7, 4, 1, colors), row);
    // DXT3 shares the palette. Its alpha is there: 15, 14, 13, 1, times 17.
    Bytes explicitAlpha = {0xEF, 0x1D, 0, 0, 0, 0, 0, 0};
    Test_Append(explicitAlpha, colors);
    const TestPicture alphaRow{
        4, 1, {0, 0, 0, 255, 255, 0, 0, 238, 128, 0, 0, 221, 255, 255, 255, 17}};
    Test_ExpectPvr(MakeLegacy(34, 4, 1, explicitAlpha), alphaRow);
    Test_ExpectPvr(MakeV3(9, 4, 1, explicitAlpha), alphaRow);
    // DXT5 has four colors always: (2 * 0 + 255) / 3 and (0 + 2 * 255) / 3.
    Bytes interpolated = {200, 7, 0, 0, 0, 0, 0, 0};
    Test_Append(interpolated, colors);
    const TestPicture four{4, 1, {0, 0, 0, 200, 255, 0, 0, 200, 85, 0, 0, 200, 170, 0, 0, 200}};
    Test_ExpectPvr(MakeLegacy(36, 4, 1, interpolated), four);
    Test_ExpectPvr(MakeV3(11, 4, 1, interpolated), four);
}

TEST(PvrBlockRules, LegacyEtcWithExplicitAlphaIsReadLikeInterpolated) {
    // Base 77, multiplier 2, table 0: -3 * 2 for index 0. Then a block of all zeros: 0 + 2.
    const Bytes block = {77, 0x20, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const TestPicture pixel{1, 1, {2, 2, 2, 71}};
    Test_ExpectPvr(MakeLegacy(55, 1, 1, block), pixel);
    Test_ExpectPvr(MakeLegacy(56, 1, 1, block), pixel);
    Test_ExpectPvr(MakeV3(23, 1, 1, block), pixel);
}

TEST(PvrBlockRules, Etc1OverflowIsReadAsEtc2) {
    // Differential bit, red 31 + 1: T mode. Colors 4:4:4 from red 1100 | 01 and the rest 0; with
    // R1 = 11 01 = 13: paint color 0 is 13 * 17.
    const Bytes block = {0xF9, 0, 0, 0x02, 0, 0, 0, 0};
    const TestPicture pixel{1, 1, {221, 0, 0, 255}};
    Test_ExpectPvr(MakeLegacy(54, 1, 1, block), pixel);
    Test_ExpectPvr(MakeV3(6, 1, 1, block), pixel);
}

// Whole images whose texels other decoders agree on.

struct ReferenceImage {
    std::string set;  ///< The files are named after it and the size.
    std::uint32_t width;
    std::uint32_t height;
    std::vector<std::uint32_t> legacyTypes;
    std::vector<std::uint32_t> v3Numbers;
};

void PrintTo(const ReferenceImage& image, std::ostream* stream) { *stream << image.set; }

std::vector<ReferenceImage> ListReferenceImages() {
    struct Set {
        std::string name;
        std::vector<std::uint32_t> legacyTypes;
        std::vector<std::uint32_t> v3Numbers;
        std::vector<std::pair<std::uint32_t, std::uint32_t>> sizes;
    };
    const std::vector<Set> sets{
        {"bc1", {32}, {7}, {{17, 10}, {1, 1}, {3, 9}, {6, 6}}},
        {"bc2", {34}, {9}, {{11, 7}, {2, 3}, {6, 6}}},
        {"bc3", {36}, {11}, {{4, 4}, {6, 6}, {9, 13}}},
        {"eac_r11", {}, {25}, {{10, 3}, {1, 4}, {5, 7}}},
        {"eac_rg11", {}, {26}, {{11, 9}, {6, 5}}},
        {"etc2_rgb", {54}, {6, 22}, {{13, 6}, {1, 1}, {20, 17}, {4, 4}, {5, 3}, {7, 9}, {8, 8}}},
        {"etc2_punchthrough", {}, {24}, {{2, 2}, {6, 6}, {9, 5}}},
        {"etc2_rgba8", {55, 56}, {23}, {{17, 4}, {3, 5}, {6, 10}}},
    };
    std::vector<ReferenceImage> images;
    for (const Set& set : sets) {
        for (const auto& [width, height] : set.sizes) {
            images.push_back({set.name, width, height, set.legacyTypes, set.v3Numbers});
        }
    }
    return images;
}

Bytes ReadVector(const std::string& name) {
    return Test_ReadFile(std::filesystem::path(KORUTEX_TEST_DATA_DIR) / "blocks" / name);
}

class PvrReferenceImage : public testing::TestWithParam<ReferenceImage> {};

TEST_P(PvrReferenceImage, ComesOutTexelByTexel) {
    const auto& [set, width, height, legacyTypes, v3Numbers] = GetParam();
    const std::string stem =
        "img/" + set + "_" + std::to_string(width) + "x" + std::to_string(height);
    const Bytes blocks = ReadVector(stem + ".blocks");
    const Bytes texels = ReadVector(stem + ".texels");
    std::vector<Bytes> files;
    files.reserve(legacyTypes.size() + v3Numbers.size());
    for (const std::uint32_t type : legacyTypes) {
        files.push_back(MakeLegacy(type, width, height, blocks));
    }
    for (const std::uint32_t number : v3Numbers) {
        files.push_back(MakeV3(number, width, height, blocks));
    }

    TestPicture picture{width, height, texels};
    if (set == "eac_r11" || set == "eac_rg11") {
        picture = Test_OpaqueBlack(width, height);
    } else if (set == "etc2_rgb" || set == "bc1") {
        ASSERT_EQ(texels.size(), std::size_t{width} * height * 4);
        Bytes rgb;
        for (std::size_t i = 0; i < texels.size(); ++i) {
            if (i % 4 != 3) rgb.push_back(texels[i]);
        }
        const std::size_t counting = set == "bc1" ? texels.size() : rgb.size();
        picture = Test_ExpandRows(rgb, counting, 24, 0, width, height);
    }
    for (const Bytes& file : files) Test_ExpectPvr(file, picture);
}

INSTANTIATE_TEST_SUITE_P(Images, PvrReferenceImage, testing::ValuesIn(ListReferenceImages()),
                         [](const auto& image) {
                             return image.param.set + "_" + std::to_string(image.param.width) +
                                    "x" + std::to_string(image.param.height);
                         });

TEST(PvrReferenceSets, EveryBlockOfASetComesOut) {
    // Each set is an image 4 pixels wide, so rows of three components are padded as they are.
    struct Set {
        const char* name;
        const char* texels;
        std::size_t blockBytes;
        std::vector<std::uint32_t> legacyTypes;
        std::vector<std::uint32_t> v3Numbers;
        bool hasAlpha;
    };
    for (const Set& set : std::vector<Set>{
             {"etc2_rgb", ".texels", 8, {54}, {6, 22}, false},
             {"etc2_punchthrough", ".texels", 8, {}, {24}, true},
             {"etc2_rgba8", ".texels", 16, {55, 56}, {23}, true},
             {"bc1", ".korutex", 8, {32}, {7}, false},
             {"bc2", ".texels", 16, {34}, {9}, true},
             {"bc2_color0_not_above_color1", ".korutex", 16, {34}, {9}, true},
             {"bc3", ".texels", 16, {36}, {11}, true},
         }) {
        SCOPED_TRACE(set.name);
        const Bytes blocks = ReadVector(std::string(set.name) + ".blocks");
        TestPicture picture{4, static_cast<std::uint32_t>(blocks.size() / set.blockBytes * 4),
                            ReadVector(std::string(set.name) + set.texels)};
        ASSERT_NE(picture.height, 0u);
        for (std::size_t i = 3; !set.hasAlpha && i < picture.rgba.size(); i += 4) {
            picture.rgba[i] = 255;
        }
        for (const std::uint32_t type : set.legacyTypes) {
            Test_ExpectPvr(MakeLegacy(type, 4, picture.height, blocks), picture);
        }
        for (const std::uint32_t number : set.v3Numbers) {
            Test_ExpectPvr(MakeV3(number, 4, picture.height, blocks), picture);
        }
    }
}

class PvrNarrowImage : public testing::TestWithParam<std::uint32_t> {};

TEST_P(PvrNarrowImage, Dxt5SkipsAlphaIndicesBehindTheRows) {
    const std::uint32_t width = GetParam();
    const std::string stem = "narrow/bc3_w" + std::to_string(width);
    const Bytes blocks = ReadVector(stem + ".blocks");
    const auto height = static_cast<std::uint32_t>(blocks.size() / 16 * 4);
    ASSERT_NE(height, 0u);
    const TestPicture picture{width, height, ReadVector(stem + ".korutex")};
    Test_ExpectPvr(MakeLegacy(36, width, height, blocks), picture);
    Test_ExpectPvr(MakeV3(11, width, height, blocks), picture);
}

INSTANTIATE_TEST_SUITE_P(Widths, PvrNarrowImage, testing::Values(1u, 2u, 3u));

// PVRTC.

class PvrPvrtc : public testing::TestWithParam<PvrtcFormat> {
  protected:
    const PvrtcFormat& format_ = GetParam();
    /// Of the grid, which is never smaller than 2 x 2.
    [[nodiscard]] std::size_t GetPayloadBytes(std::uint32_t width, std::uint32_t height) const {
        const std::uint32_t across = std::max(width / (format_.is2Bpp ? 8u : 4u), 2u);
        return std::size_t{across} * std::max(height / 4, 2u) * 8;
    }
};

TEST_P(PvrPvrtc, ShowsEveryBlockInItsPlace) {
    for (std::uint32_t height = 1; height <= 64; height *= 2) {
        for (std::uint32_t width = 1; width <= 64; width *= 2) {
            SCOPED_TRACE(At(width, height));
            const PvrtcImage image = Test_MakePvrtcImage(format_.is2Bpp, width, height, 77);
            ASSERT_EQ(image.blocks.size(), GetPayloadBytes(width, height));
            for (const Bytes& file : format_.MakeFiles(width, height, image.blocks)) {
                Test_ExpectPvr(file, image.picture);
            }
            if (HasFailure()) return;
        }
    }
}

TEST_P(PvrPvrtc, LevelsFacesAndSurfacesDoNotMatter) {
    const PvrtcImage image = Test_MakePvrtcImage(format_.is2Bpp, 16, 8, 78);
    Bytes payload = image.blocks;
    Test_Append(payload, Test_MakeNoise(payload.size() * 7 + 3, 4));
    for (const Bytes& file : format_.MakeFiles(16, 8, payload)) {
        Test_ExpectPvr(file, image.picture);
    }
}

TEST_P(PvrPvrtc, NeedsTheWholeGridAndAtLeastTwoByTwoBlocks) {
    for (std::uint32_t height = 1; height <= kMostPixels; ++height) {
        for (std::uint32_t width = 1; width <= kMostPixels; ++width) {
            const Bytes payload(GetPayloadBytes(width, height), 0xFF);
            for (const Bytes& file : format_.MakeFiles(width, height, payload)) {
                const auto image = Test_LoadPvr(file, 2);
                ASSERT_NE(image, nullptr) << At(width, height);
                Test_ExpectSoundRecord(*image, 2);
                EXPECT_EQ(image->width, width);
                EXPECT_EQ(image->height, height);
            }
            for (const std::size_t size : {payload.size() - 1, payload.size() - 8}) {
                for (const Bytes& file : format_.MakeFiles(width, height, Cut(payload, size))) {
                    ASSERT_EQ(Test_LoadPvr(file, 2), nullptr) << At(width, height);
                }
            }
        }
    }
}

TEST_P(PvrPvrtc, VersionThreeWithoutPayloadOrPixelsIsRefused) {
    const Bytes payload(64);
    for (const std::uint32_t number : format_.v3Numbers) {
        Test_ExpectPvrRefused(MakeV3(number, 8, 8, {}));
        Test_ExpectPvrRefused(MakeV3(number, 0, 8, payload));
        Test_ExpectPvrRefused(MakeV3(number, 8, 0, payload));
        Test_ExpectPvrRefused(MakeV3(number, 0, 0, payload));
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, PvrPvrtc, testing::ValuesIn(Test_ListPvrtcFormats()),
                         [](const auto& format) { return std::string(format.param.name); });

TEST(PvrPvrtcRules, TranslucentColorsShowWithTheirAlpha) {
    // Both colors alpha 3, red 15, green 0, blue 0: red 30 | 30 >> 4 = 31, alpha 6, which is
    // 6 * 16 + 6. The low half's last bit is the mode flag.
    Bytes block(4);
    Test_PutLe(block, 0x3F003F00, 4);
    Bytes payload;
    for (int i = 0; i < 4; ++i) Test_Append(payload, block);
    const TestPicture pixel{1, 1, {255, 0, 0, 102}};
    for (const std::uint32_t type : {24u, 25u}) {
        Test_ExpectPvr(MakeLegacy(type, 1, 1, payload), pixel);
    }
    for (const std::uint32_t number : {0u, 1u, 2u, 3u}) {
        Test_ExpectPvr(MakeV3(number, 1, 1, payload), pixel);
    }
}

// Packed pixels of legacy files.

TEST(PvrLegacyPixels, ShowsEveryPixel) {
    for (std::uint32_t height = 1; height <= kMostPixels; ++height) {
        for (std::uint32_t width = 1; width <= kMostPixels; ++width) {
            SCOPED_TRACE(At(width, height));
            for (const unsigned channels : {3u, 4u}) {
                const std::uint32_t type = channels == 4 ? 18 : 21;
                const std::size_t required = Test_GetPvrRequiredBytes(channels, width, height);
                for (const std::size_t more : {0u, 1u, 100u}) {
                    const Bytes payload = Test_MakeNoise(required + more, width * 31 + height);
                    Test_ExpectPvr(
                        MakeLegacy(type, width, height, payload),
                        Test_ExpandRows(payload, payload.size(), channels * 8, 0, width, height));
                }
                Test_ExpectPvrRefused(MakeLegacy(type, width, height, Bytes(required - 1)));
            }
            if (HasFailure()) return;
        }
    }
}

TEST(PvrLegacyPixels, RowsAreReadAsPaddedToFourBytes) {
    Test_ExpectPvr(MakeLegacy(21, 1, 2, {1, 2, 3, 99, 4, 5, 6, 99}),
                   {1, 2, {1, 2, 3, 255, 4, 5, 6, 255}});
    Test_ExpectPvr(MakeLegacy(18, 1, 2, {1, 2, 3, 99, 4, 5, 6, 88}),
                   {1, 2, {1, 2, 3, 99, 4, 5, 6, 88}});
    // Without the padding of the last row it is too short, though all pixels are there.
    Test_ExpectPvrRefused(MakeLegacy(21, 1, 2, {1, 2, 3, 99, 4, 5, 6}));
}

// Packed pixels of version 3.

class PvrPackedPixels : public testing::TestWithParam<PvrChannelNames> {
  protected:
    void SetUp() override { LoadFourChannels(); }
    const PvrChannelNames& names_ = GetParam();
    const std::vector<PvrPixelBits> pixelBits_ = Test_ListPvrPixelBits();
};

TEST_P(PvrPackedPixels, NamesGiveTheCountAndWidthsTheConversion) {
    for (const PvrPixelBits& pixelBits : pixelBits_) {
        for (const std::uint32_t height : {1u, 2u, 3u, 5u, 17u}) {
            for (std::uint32_t width = 1; width <= kMostPixels; ++width) {
                SCOPED_TRACE(std::to_string(Test_ToPvrWord(pixelBits.widths)) + ", " +
                             At(width, height));
                // As few bytes as may be, and enough for rows of four bytes a pixel.
                for (const std::size_t size :
                     {Test_GetPvrRequiredBytes(names_.count, width, height),
                      std::size_t{width} * height * 4 + 4}) {
                    const Bytes payload = Test_MakeNoise(size, width * 31 + height);
                    Test_ExpectPvr(
                        MakePacked(names_.names, pixelBits.widths, width, height, payload),
                        Test_ShowPvrPixels(payload, pixelBits, width, height, true), {0, 2});
                }
                if (HasFailure()) return;
            }
        }
    }
}

TEST_P(PvrPackedPixels, NeedsAByteForEachChannelInPaddedRows) {
    for (const PvrPixelBits& pixelBits : pixelBits_) {
        for (const auto& [width, height] :
             {std::pair{1u, 1u}, std::pair{3u, 1u}, std::pair{4u, 2u}, std::pair{5u, 7u}}) {
            const std::size_t required = Test_GetPvrRequiredBytes(names_.count, width, height);
            for (const std::size_t size :
                 {required - 1, required / 2, std::size_t{1}, std::size_t{}}) {
                Test_ExpectPvrRefused(
                    MakePacked(names_.names, pixelBits.widths, width, height, Bytes(size, 9)));
            }
        }
    }
}

TEST_P(PvrPackedPixels, EveryLengthOfPayloadKeepsToItsBounds) {
    const std::size_t required = Test_GetPvrRequiredBytes(names_.count, 5, 3);
    for (const PvrPixelBits& pixelBits : pixelBits_) {
        for (std::size_t size = required; size < required + 64; ++size) {
            SCOPED_TRACE(size);
            const Bytes payload = Test_MakeNoise(size, 8);
            Test_ExpectPvr(MakePacked(names_.names, pixelBits.widths, 5, 3, payload),
                           Test_ShowPvrPixels(payload, pixelBits, 5, 3, true));
        }
    }
}

TEST_P(PvrPackedPixels, WithoutABitCountItIsBlack) {
    for (const PvrChannelWidths& widths : std::vector<PvrChannelWidths>{{16, 16, 16, 16},
                                                                        {32, 32, 32, 32},
                                                                        {8, 0, 0, 0},
                                                                        {16, 0, 0, 0},
                                                                        {8, 8, 0, 0},
                                                                        {0, 0, 0, 8},
                                                                        {8, 8, 8, 1},
                                                                        {5, 5, 6, 0},
                                                                        {5, 6, 5, 1},
                                                                        {4, 4, 4, 0},
                                                                        {10, 10, 10, 0},
                                                                        {11, 11, 10, 1},
                                                                        {2, 10, 10, 10},
                                                                        {9, 9, 9, 5},
                                                                        {1, 5, 5, 5}}) {
        const std::size_t required = Test_GetPvrRequiredBytes(names_.count, 5, 3);
        Test_ExpectPvr(MakePacked(names_.names, widths, 5, 3, Bytes(required, 200)),
                       Test_OpaqueBlack(5, 3));
        Test_ExpectPvrRefused(MakePacked(names_.names, widths, 5, 3, Bytes(required - 1, 200)));
        Test_ExpectPvrRefused(MakePacked(names_.names, widths, 5, 3, {}));
    }
}

TEST_P(PvrPackedPixels, WithoutPixelsItIsRefused) {
    const Bytes payload(64);
    for (const PvrPixelBits& pixelBits : pixelBits_) {
        Test_ExpectPvrRefused(MakePacked(names_.names, pixelBits.widths, 0, 4, payload));
        Test_ExpectPvrRefused(MakePacked(names_.names, pixelBits.widths, 4, 0, payload));
        Test_ExpectPvrRefused(MakePacked(names_.names, pixelBits.widths, 0, 0, payload));
    }
}

INSTANTIATE_TEST_SUITE_P(Names, PvrPackedPixels, testing::ValuesIn(Test_ListPvrChannelNames()),
                         [](const auto& names) { return std::string(names.param.names); });

TEST(PvrPackedRules, PixelsOfKnownBits) {
    struct KnownPixel {
        PvrChannelWidths widths;
        std::uint32_t word;
        TestColor color;
    };
    LoadFourChannels();
    for (const auto& [widths, word, color] : std::vector<KnownPixel>{
             {{8, 8, 8, 8}, 0x04030201, {1, 2, 3, 4}},
             {{8, 8, 8, 0}, 0x04030201, {1, 2, 3, 255}},
             {{5, 6, 5, 0}, 0xFFFF, {255, 255, 255, 255}},
             {{5, 6, 5, 0}, 0x8410, {131, 129, 131, 255}},
             {{5, 6, 5, 0}, 0xF800, {255, 0, 0, 255}},
             {{5, 5, 5, 0}, 0x7C00, {255, 0, 0, 255}},
             {{5, 5, 5, 0}, 0x8001, {0, 0, 8, 255}},
             {{5, 5, 5, 1}, 0x8001, {0, 0, 8, 255}},
             {{5, 5, 5, 1}, 0x7FFF, {255, 255, 255, 0}},
             {{4, 4, 4, 4}, 0xF00F, {0, 0, 255, 255}},
             {{4, 4, 4, 4}, 0x1234, {34, 51, 68, 17}},
             // A ten-bit channel counts by its two lowest bits, of which only 1 leaves anything.
             {{10, 10, 10, 2}, 0x00000001, {1, 0, 0, 0}},
             {{10, 10, 10, 2}, 0x40000400, {0, 1, 0, 85}},
             {{10, 10, 10, 2}, 0x80100000, {0, 0, 1, 170}},
             {{10, 10, 10, 2}, 0xFFFFFFFF, {0, 0, 0, 255}},
             // Red 1.0 as a float; here just bytes.
             {{11, 11, 10, 0}, 0x000003C0, {0xC0, 0x03, 0, 0}},
             {{11, 11, 10, 0}, 0x781E03C0, {0xC0, 0x03, 0x1E, 0x78}},
         }) {
        SCOPED_TRACE(std::to_string(Test_ToPvrWord(widths)) + ": " + std::to_string(word));
        Bytes payload;
        Test_PutLe(payload, word, 4);
        Test_ExpectPvr(MakePacked("rgba", widths, 1, 1, payload),
                       {1, 1, {color.begin(), color.end()}});
    }
}

TEST(PvrPackedRules, TheOrderOfTheNamesDoesNotMatter) {
    const Bytes payload = Test_MakeNoise(60, 1);
    for (const PvrPixelBits& pixelBits : Test_ListPvrPixelBits()) {
        const auto rgba = Test_LoadPvr(MakePacked("rgba", pixelBits.widths, 5, 3, payload), 2);
        const auto bgra = Test_LoadPvr(MakePacked("bgra", pixelBits.widths, 5, 3, payload), 2);
        ASSERT_NE(rgba, nullptr);
        ASSERT_NE(bgra, nullptr);
        EXPECT_EQ(Test_GetPixels(*rgba), Test_GetPixels(*bgra));
    }
    Test_ExpectPvr(MakePacked("bgra", {8, 8, 8, 8}, 1, 1, {1, 2, 3, 4}), {1, 1, {1, 2, 3, 4}});
    Test_ExpectPvr(MakePacked("bgr", {8, 8, 8, 0}, 1, 1, {1, 2, 3, 4}), {1, 1, {1, 2, 3, 255}});
    // The byte that has no meaning is shown as alpha.
    Test_ExpectPvr(MakePacked("rgbx", {8, 8, 8, 8}, 1, 1, {1, 2, 3, 4}), {1, 1, {1, 2, 3, 4}});
}

TEST(PvrPackedRules, SixteenBitPixelsAloneAreTooFewBytes) {
    for (const auto& [width, height] : {std::pair{4u, 4u}, std::pair{1u, 1u}, std::pair{2u, 7u}}) {
        const std::size_t pixelBytes = std::size_t{width} * height * 2;
        Test_ExpectPvrRefused(MakePacked("rgba", {4, 4, 4, 4}, width, height, Bytes(pixelBytes)));
        Test_ExpectPvrRefused(MakePacked("rgba", {5, 5, 5, 1}, width, height, Bytes(pixelBytes)));
    }
    Test_ExpectPvrRefused(MakePacked("rgb", {5, 6, 5, 0}, 4, 4, Bytes(32)));
    Test_ExpectPvrRefused(MakePacked("rgb", {5, 6, 5, 0}, 4, 4, Bytes(47)));
    // Not even with all smaller levels: 32 + 8 + 2 bytes.
    Test_ExpectPvrRefused(MakePacked("rgba", {4, 4, 4, 4}, 4, 4, Bytes(42)));
    // But with a second surface.
    Bytes payload(32, 0xFF);
    payload.resize(64);
    Test_ExpectPvr(MakePacked("rgba", {4, 4, 4, 4}, 4, 4, payload), {4, 4, Bytes(64, 255)});
    // One channel asks for no more than there is.
    Test_ExpectPvr(MakePacked("l", {5, 6, 5, 0}, 4, 4, Bytes(32, 0xFF)), {4, 4, Bytes(64, 255)});
}

TEST(PvrPackedRules, NamesOutsideTheListAreRefused) {
    const Bytes payload(64, 1);
    const auto isKnown = [](std::string_view names) {
        for (const PvrChannelNames& known : Test_ListPvrChannelNames()) {
            if (known.names == names) return true;
        }
        return false;
    };
    std::vector<std::string> candidates{
        {"la"},   {"rg"}, {"ra"}, {"rgab"}, {"argb"}, {"abgr"}, {"bgrx"}, {"xrgb"},
        {"RGBA"}, {"i"},  {"d"},  {"x"},    {"yuy2"}, {"rgbm"}, {"rgbd"}, {"sgba"},
    };
    // Each of the four bytes in every other way, zeros within and all zeros.
    for (const std::string_view known : {"rgba", "bgra", "rgbx", "rgb", "bgr", "r", "l"}) {
        for (std::size_t at = 0; at < 4; ++at) {
            for (const char value : {'\0', 'r', 'g', 'b', 'a', 'x', 'l', 'R', '\xFF', '\x01'}) {
                std::string changed(known);
                changed.resize(4);
                changed[at] = value;
                changed.resize(std::min(changed.find_last_not_of('\0') + 1, std::size_t{4}));
                candidates.push_back(changed);
            }
        }
    }
    for (const std::string& names : candidates) {
        const bool loads =
            Test_LoadPvr(MakePacked(names, {8, 8, 8, 8}, 2, 2, payload), 2) != nullptr;
        EXPECT_EQ(loads, isKnown(names)) << names;
    }
}

TEST(PvrPackedRules, WidthsOutsideTheListAreBlack) {
    const Bytes payload(64, 200);
    const std::vector<PvrPixelBits> known = Test_ListPvrPixelBits();
    for (const PvrPixelBits& pixelBits : known) {
        for (std::size_t at = 0; at < 4; ++at) {
            for (const int value : {0, 1, 2, 4, 5, 6, 7, 8, 9, 10, 11, 16, 32, 128, 255}) {
                PvrChannelWidths widths = pixelBits.widths;
                widths.at(at) = static_cast<std::uint8_t>(value);
                const bool isKnown =
                    std::any_of(known.begin(), known.end(),
                                [&](const PvrPixelBits& other) { return other.widths == widths; });
                if (isKnown) continue;
                Test_ExpectPvr(MakePacked("rgba", widths, 4, 4, payload), Test_OpaqueBlack(4, 4),
                               {2});
            }
        }
    }
}

// All numbers.

TEST(PvrNumbers, VersionThreeNumbersOutsideTheListAreRefused) {
    std::set<std::uint32_t> accepted{0, 1, 2, 3};
    for (const PvrBlockFormat& format : Test_ListPvrBlockFormats()) {
        accepted.insert(format.v3Number);
    }
    std::vector<std::uint32_t> numbers{0x7FFFFFFF, 0x80000000, 0xFFFFFFFF,
                                       0x100,      0x10006,    0x1000007};
    for (std::uint32_t number = 0; number < 600; ++number) numbers.push_back(number);
    for (const std::uint32_t number : numbers) {
        for (const std::size_t size : {std::size_t{1024}, std::size_t{0}}) {
            // Without a payload only ETC and EAC give anything.
            const bool isEtc = number == 6 || (number >= 22 && number <= 26);
            const bool loads = accepted.count(number) == 1 && (size != 0 || isEtc);
            const auto image = Test_LoadPvr(MakeV3(number, 8, 8, Bytes(size, 1)), 2);
            EXPECT_EQ(image != nullptr, loads) << number << ", " << size;
        }
    }
}

/// What gives anything at all.
const std::set<std::uint32_t> kLegacyTypes{18, 21, 24, 25, 32, 34, 36, 54, 55, 56};

TEST(PvrNumbers, EveryLegacyTypeAfterEitherKindOfFile) {
    const Bytes payload(1024, 1);
    const Bytes packed = MakeLegacy(18, 8, 8, payload), blocks = MakeLegacy(32, 8, 8, payload);
    for (std::uint32_t type = 0; type < 256; ++type) {
        for (const Bytes& before : {packed, blocks}) {
            ASSERT_NE(Test_LoadPvr(before, 2), nullptr);
            const auto image = Test_LoadPvr(MakeLegacy(type, 8, 8, payload), 2);
            EXPECT_EQ(image != nullptr, kLegacyTypes.count(type) == 1) << type;
        }
    }
}

TEST(PvrNumbers, LegacyTypesOneAfterAnother) {
    // Whatever the order is, a file gives what it gives alone.
    const Bytes payload = Test_MakeNoise(1024, 5);
    std::vector<Bytes> alone(256);
    for (const std::uint32_t type : kLegacyTypes) {
        const auto image = Test_LoadPvr(MakeLegacy(type, 8, 8, payload), 2);
        ASSERT_NE(image, nullptr);
        alone[type] = Test_GetPixels(*image);
    }
    std::mt19937 random(1);
    for (int round = 0; round < 4000; ++round) {
        // Every second one of those that give something.
        const std::uint32_t type =
            round % 2 == 0
                ? random() % 256
                : *std::next(kLegacyTypes.begin(), static_cast<std::ptrdiff_t>(random() % 10));
        const auto image = Test_LoadPvr(MakeLegacy(type, 8, 8, payload), 2);
        ASSERT_EQ(image != nullptr, kLegacyTypes.count(type) == 1) << type;
        if (image != nullptr) {
            ASSERT_EQ(Test_GetPixels(*image), alone[type]) << type;
        }
    }
}

TEST(PvrNumbers, LegacyTypesAreTheLowByteAlone) {
    const Bytes pixels = Test_MakeNoise(64, 6);
    for (const std::uint32_t bits :
         {0x100u, 0x8000u, 0x10000u, 0x40000u, 0x80000000u, 0xFFFFFF00u}) {
        Test_ExpectPvr(MakeLegacy(bits | 18, 4, 4, pixels), {4, 4, pixels});
        Test_ExpectPvrRefused(MakeLegacy(bits | 19, 4, 4, pixels));
    }
}

}  // namespace
