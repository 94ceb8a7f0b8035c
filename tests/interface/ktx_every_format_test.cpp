// Every pixel format a KTX file can have, in both versions and many sizes, against pictures that
// follow from the formats' definitions or that other decoders made.
#include <gtest/gtest.h>
#include <korutex.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "astc_builder.h"
#include "ktx_builder.h"
#include "ktx_expectations.h"
#include "test_blocks.h"
#include "test_files.h"

namespace {

/// The extents of an image; the blocks of one of 17 x 17 are 25.
constexpr std::uint32_t kMostPixels = 17;

Bytes MakeKtx1(bool compressed, std::uint32_t glFormat, std::uint32_t width, std::uint32_t height,
               const Bytes& payload) {
    Ktx1Builder builder;
    compressed ? builder.Compressed(glFormat) : builder.Uncompressed(glFormat);
    return builder.Size(width, height).Level(payload).Build();
}

Bytes MakeKtx2(std::uint32_t vkFormat, std::uint32_t width, std::uint32_t height,
               const Bytes& payload) {
    return Ktx2Builder().Format(vkFormat).Size(width, height).Level(payload).Build();
}

// Block formats.

enum class Blocks { Etc, S3tc, Astc };

struct BlockFormat {
    std::uint32_t gl;
    std::uint32_t vk;  ///< 0: KTX 2.0 has no such format.
    Blocks family;
    unsigned components;  ///< As the expansion counts them; 0 shows nothing.
    TestBlock (*makeBlock)(std::size_t);
    std::size_t texelBytes;  ///< Of a decoded texel.
    std::size_t blockWidth = 4;
    std::size_t blockHeight = 4;

    [[nodiscard]] TestBlockImage Make(std::size_t width, std::size_t height) const {
        return Test_MakeBlockImage(makeBlock, texelBytes, width, height, blockWidth, blockHeight);
    }
    /// The picture that decoded texels must come out as.
    [[nodiscard]] TestPicture Show(const Bytes& decoded, std::uint32_t width,
                                   std::uint32_t height) const {
        const std::size_t countingBytes =
            std::size_t{width} * height * (family == Blocks::Etc ? components : 4);
        if (components == 0) return Test_OpaqueBlack(width, height);
        return Test_ExpandRows(decoded, countingBytes, 8 * components, 0, width, height);
    }
};

std::string ToHex(std::uint32_t code) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (int shift = 12; shift >= 0; shift -= 4) text += kDigits[code >> shift & 15];
    return text;
}

void PrintTo(const BlockFormat& format, std::ostream* stream) { *stream << ToHex(format.gl); }

std::vector<BlockFormat> ListEtcFormats() {
    return {
        {0x8D64, 0, Blocks::Etc, 3, Test_EtcRgbBlock, 3},
        {0x9270, 153, Blocks::Etc, 1, Test_R11Block, 2},
        {0x9271, 154, Blocks::Etc, 1, Test_SignedR11Block, 2},
        {0x9272, 155, Blocks::Etc, 0, Test_Rg11Block, 4},
        {0x9273, 156, Blocks::Etc, 0, Test_Rg11Block, 4},
        {0x9274, 147, Blocks::Etc, 3, Test_EtcRgbBlock, 3},
        {0x9275, 148, Blocks::Etc, 3, Test_EtcRgbBlock, 3},
        {0x9276, 149, Blocks::Etc, 4, Test_EtcPunchThroughBlock, 4},
        {0x9277, 150, Blocks::Etc, 4, Test_EtcPunchThroughBlock, 4},
        {0x9278, 151, Blocks::Etc, 4, Test_EtcRgbaBlock, 4},
        {0x9279, 152, Blocks::Etc, 4, Test_EtcRgbaBlock, 4},
    };
}

std::vector<BlockFormat> ListS3tcFormats() {
    return {
        {0x83F1, 133, Blocks::S3tc, 4, Test_Bc1Block, 4},
        {0x83F2, 135, Blocks::S3tc, 4, Test_Bc2Block, 4},
        {0x83F3, 137, Blocks::S3tc, 4, Test_Bc3Block, 4},
        {0x8C4C, 132, Blocks::S3tc, 3, Test_Bc1Block, 3},
        {0x8C4D, 134, Blocks::S3tc, 4, Test_Bc1Block, 4},
        {0x8C4E, 136, Blocks::S3tc, 4, Test_Bc2Block, 4},
        {0x8C4F, 138, Blocks::S3tc, 4, Test_Bc3Block, 4},
    };
}

std::vector<BlockFormat> ListAstcFormats() {
    std::vector<BlockFormat> formats;
    for (std::uint32_t i = 0; i < kTestAstcFootprints.size(); ++i) {
        const auto [width, height] = kTestAstcFootprints.at(i);
        for (const std::uint32_t srgb : {0u, 1u}) {
            formats.push_back({0x93B0 + 0x20 * srgb + i, 157 + 2 * i + srgb, Blocks::Astc, 4,
                               Test_AstcBlock, 4, width, height});
        }
    }
    return formats;
}

std::vector<BlockFormat> ListBlockFormats() {
    std::vector<BlockFormat> formats = ListEtcFormats();
    for (const auto& more : {ListS3tcFormats(), ListAstcFormats()}) {
        formats.insert(formats.end(), more.begin(), more.end());
    }
    return formats;
}

BlockFormat FindBlockFormat(std::uint32_t gl) {
    const auto formats = ListBlockFormats();
    return *std::find_if(formats.begin(), formats.end(),
                         [&](const BlockFormat& format) { return format.gl == gl; });
}

class KtxBlockFormat : public testing::TestWithParam<BlockFormat> {
  protected:
    /// Both versions of a file with this payload.
    [[nodiscard]] static std::vector<Bytes> MakeFiles(std::uint32_t width, std::uint32_t height,
                                                      const Bytes& payload) {
        std::vector<Bytes> files{MakeKtx1(true, GetParam().gl, width, height, payload)};
        if (GetParam().vk != 0) files.push_back(MakeKtx2(GetParam().vk, width, height, payload));
        return files;
    }

    const BlockFormat& format_ = GetParam();
    /// The ASTC codec builds its tables for every image, which takes milliseconds.
    const bool slow_ = format_.family == Blocks::Astc;
    const std::vector<std::uint32_t> flags_ =
        slow_ ? std::vector{0u, 2u} : std::vector{0u, 1u, 2u, 3u};
};

TEST_P(KtxBlockFormat, ShowsEveryBlockInItsPlace) {
    for (std::uint32_t height = 1; height <= kMostPixels; height += slow_ ? 16 : 1) {
        for (std::uint32_t width = 1; width <= kMostPixels; width += slow_ ? 12 : 1) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
            const TestBlockImage image = format_.Make(width, height);
            const TestPicture picture = format_.Show(image.decoded, width, height);
            for (const Bytes& file : MakeFiles(width, height, image.blocks)) {
                Test_ExpectLoads(file, picture, flags_);
            }
            if (HasFailure()) return;
        }
    }
}

TEST_P(KtxBlockFormat, PayloadBehindTheFirstImageDoesNotMatter) {
    const TestBlockImage image = format_.Make(13, 9);
    Bytes layers = image.blocks;
    Test_Append(layers, Test_MakeNoise(image.blocks.size() * 2 + 5, format_.gl));
    for (const Bytes& file : MakeFiles(13, 9, layers)) {
        Test_ExpectLoads(file, format_.Show(image.decoded, 13, 9), flags_);
    }
}

TEST_P(KtxBlockFormat, ShortPayloadDecodesNothing) {
    const TestBlockImage image = format_.Make(13, 9);
    for (const std::size_t kept : {std::size_t{1}, image.blocks.size() - 1}) {
        const Bytes payload(image.blocks.begin(),
                            image.blocks.begin() + static_cast<std::ptrdiff_t>(kept));
        for (const Bytes& file : MakeFiles(13, 9, payload)) {
            // The ASTC codec refuses such a payload, and the surface stays as it was prepared.
            if (format_.family == Blocks::Astc) {
                Test_ExpectLoads(file, Test_OpaqueBlack(13, 9), {2});
            } else {
                Test_ExpectRefused(file);
            }
        }
    }
}

TEST_P(KtxBlockFormat, EmptyPayloadIsBlackUnlessItIsS3tc) {
    for (const Bytes& file : MakeFiles(13, 9, {})) {
        if (format_.family == Blocks::S3tc) {
            Test_ExpectRefused(file);
        } else {
            Test_ExpectLoads(file, Test_OpaqueBlack(13, 9));
        }
    }
}

TEST_P(KtxBlockFormat, LevelsFacesAndLayersDoNotMatter) {
    const TestBlockImage image = format_.Make(6, 11);
    const TestPicture picture = format_.Show(image.decoded, 6, 11);
    const Bytes second = Test_MakeNoise(32, 2), third = Test_MakeNoise(16, 3);
    Test_ExpectLoads(Ktx1Builder()
                         .Compressed(format_.gl)
                         .Size(6, 11)
                         .Level(image.blocks)
                         .Level(second)
                         .Level(third)
                         .Build(),
                     picture, flags_);
    // The other faces of a cube lie behind the level's imageSize bytes.
    Test_ExpectLoads(Ktx1Builder()
                         .Compressed(format_.gl)
                         .Size(6, 11)
                         .Set(Ktx1Field::Faces, 6)
                         .Level(image.blocks)
                         .Raw(Test_MakeNoise(image.blocks.size() * 5, 4))
                         .Build(),
                     picture, flags_);
    Bytes layers = image.blocks;
    for (std::uint32_t layer = 1; layer < 3; ++layer) {
        Test_Append(layers, Test_MakeNoise(image.blocks.size(), layer));
    }
    Test_ExpectLoads(Ktx1Builder()
                         .Compressed(format_.gl)
                         .Size(6, 11)
                         .Set(Ktx1Field::ArrayElements, 3)
                         .Level(layers)
                         .Build(),
                     picture, flags_);
    if (format_.vk == 0) return;
    Test_ExpectLoads(Ktx2Builder()
                         .Format(format_.vk)
                         .Size(6, 11)
                         .Set(Ktx2Field::LayerCount, 3)
                         .Level(layers)
                         .Level(second)
                         .Level(third)
                         .Build(),
                     picture, flags_);
    Test_ExpectLoads(Ktx2Builder()
                         .Format(format_.vk)
                         .Size(6, 11)
                         .Set(Ktx2Field::FaceCount, 6)
                         .Level(layers)
                         .LargestLevelFirst()
                         .Level(second)
                         .Build(),
                     picture, flags_);
}

INSTANTIATE_TEST_SUITE_P(Formats, KtxBlockFormat, testing::ValuesIn(ListBlockFormats()),
                         [](const auto& format) { return "Gl" + ToHex(format.param.gl); });

TEST(KtxBlocks, ThreeComponentRowsAreReadAsIfPadded) {
    // 1 x 3 pixels from 9 bytes without gaps, read as rows of 4 bytes: the second row begins at
    // byte 4, which is the green of the second pixel; the third row's blue would be byte 10.
    const Bytes block = {0x12, 0x34, 0x56, 0, 0x0, 0, 0, 0};  // left half 1, 3, 5: 19, 53, 87
    const TestPicture sheared{1, 3, {19, 53, 87, 255, 53, 87, 19, 255, 0, 0, 0, 255}};
    for (const std::uint32_t gl : {0x8D64u, 0x9274u, 0x9275u}) {
        Test_ExpectLoads(MakeKtx1(true, gl, 1, 3, block), sheared);
    }
    for (const std::uint32_t vk : {147u, 148u}) {
        Test_ExpectLoads(MakeKtx2(vk, 1, 3, block), sheared);
    }
    // S3TC counts 4 bytes for each pixel, so the last byte is shown too; behind it all is 0.
    const Bytes bc1 = {0x00, 0xF8, 0x1F, 0x00, 0, 1, 1, 0};  // red, blue, blue
    const TestPicture mixed{1, 3, {255, 0, 0, 255, 0, 255, 0, 255, 255, 0, 0, 255}};
    Test_ExpectLoads(MakeKtx1(true, 0x8C4C, 1, 3, bc1), mixed);
    Test_ExpectLoads(MakeKtx2(132, 1, 3, bc1), mixed);
}

TEST(KtxBlocks, EacR11ShowsTheBytesOfItsValuesAsGrey) {
    // Base 100, multiplier 0, modifier -3: 801, widened 801 << 5 | 801 >> 6 = 0x642C.
    const Bytes block = {100, 0, 0, 0, 0, 0, 0, 0};
    // Rows of 8 bytes read as rows of 4 pixels of one byte.
    TestPicture picture{4, 4, {}};
    for (int i = 0; i < 8; ++i) {
        for (const int value : {0x2C, 0x64}) {
            for (int c = 0; c < 3; ++c) {
                picture.rgba.push_back(static_cast<std::uint8_t>(value));
            }
            picture.rgba.push_back(255);
        }
    }
    Test_ExpectLoads(MakeKtx1(true, 0x9270, 4, 4, block), picture);
    Test_ExpectLoads(MakeKtx2(153, 4, 4, block), picture);
    // One pixel wide: rows begin 4 bytes apart in 8 bytes of values; the others read as 0.
    const TestPicture narrow{1,
                             4,
                             {0x2C, 0x2C, 0x2C, 255, 0x2C, 0x2C, 0x2C, 255,  //
                              0, 0, 0, 255, 0, 0, 0, 255}};
    Test_ExpectLoads(MakeKtx1(true, 0x9270, 1, 4, block), narrow);
    Test_ExpectLoads(MakeKtx2(153, 1, 4, block), narrow);
}

TEST(KtxBlocks, S3tcHasWhiteWhereOthersHaveBlack) {
    // color0 not above color1; row 0 has the indices 0, 1, 2, 3.
    const Bytes colors = {0x00, 0x00, 0x00, 0xF8, 0xE4, 0, 0, 0};
    const Bytes row = {0, 0, 0, 255, 255, 0, 0, 255, 128, 0, 0, 255, 255, 255, 255, 0};
    Test_ExpectLoads(MakeKtx1(true, 0x83F1, 4, 1, colors), {4, 1, row});
    Bytes opaque = row;
    opaque.back() = 255;
    Test_ExpectLoads(MakeKtx1(true, 0x8C4C, 4, 1, colors), {4, 1, opaque});
    Bytes withAlpha(8, 0xFF);
    Test_Append(withAlpha, colors);
    Test_ExpectLoads(MakeKtx1(true, 0x83F2, 4, 1, withAlpha), {4, 1, opaque});
    // DXT5 has four colors always: (2 * 0 + 255) / 3 and (0 + 2 * 255) / 3.
    const Bytes four = {0, 0, 0, 255, 255, 0, 0, 255, 85, 0, 0, 255, 170, 0, 0, 255};
    Bytes interpolated = {255, 0, 0, 0, 0, 0, 0, 0};
    Test_Append(interpolated, colors);
    Test_ExpectLoads(MakeKtx1(true, 0x83F3, 4, 1, interpolated), {4, 1, four});
}

// Whole images whose texels other decoders agree on.

struct ReferenceImage {
    std::string name;  ///< Of the set; the files are named after it and the size.
    std::uint32_t width;
    std::uint32_t height;
    std::vector<std::uint32_t> glFormats;
};

void PrintTo(const ReferenceImage& image, std::ostream* stream) { *stream << image.name; }

std::vector<ReferenceImage> ListReferenceImages() {
    using Sizes = std::vector<std::pair<std::uint32_t, std::uint32_t>>;
    struct Set {
        std::string name;
        std::vector<std::uint32_t> glFormats;
        Sizes sizes;
    };
    const std::vector<Set> sets{
        {"bc1", {0x83F1, 0x8C4C, 0x8C4D}, {{17, 10}, {1, 1}, {3, 9}, {6, 6}}},
        {"bc2", {0x83F2, 0x8C4E}, {{11, 7}, {2, 3}, {6, 6}}},
        {"bc3", {0x83F3, 0x8C4F}, {{4, 4}, {6, 6}, {9, 13}}},
        {"eac_r11", {0x9270}, {{10, 3}, {1, 4}, {5, 7}}},
        {"eac_signed_r11", {0x9271}, {{3, 3}, {9, 6}}},
        {"eac_rg11", {0x9272}, {{11, 9}, {6, 5}}},
        {"eac_signed_rg11", {0x9273}, {{10, 10}, {2, 7}}},
        {"etc2_rgb",
         {0x8D64, 0x9274, 0x9275},
         {{13, 6}, {1, 1}, {20, 17}, {4, 4}, {5, 3}, {7, 9}, {8, 8}}},
        {"etc2_punchthrough", {0x9276, 0x9277}, {{2, 2}, {6, 6}, {9, 5}}},
        {"etc2_rgba8", {0x9278, 0x9279}, {{17, 4}, {3, 5}, {6, 10}}},
    };
    std::vector<ReferenceImage> images;
    for (const auto& [name, glFormats, sizes] : sets) {
        for (const auto& [width, height] : sizes) {
            images.push_back({name, width, height, glFormats});
        }
    }
    return images;
}

class KtxReferenceImage : public testing::TestWithParam<ReferenceImage> {
  protected:
    static Bytes Read(const std::string& ending) {
        const auto& [name, width, height, glFormats] = GetParam();
        return Test_ReadFile(
            std::filesystem::path(KORUTEX_TEST_DATA_DIR) / "blocks" / "img" /
            (name + "_" + std::to_string(width) + "x" + std::to_string(height) + ending));
    }
};

TEST_P(KtxReferenceImage, ComesOutTexelByTexel) {
    const auto& [name, width, height, glFormats] = GetParam();
    const Bytes blocks = Read(".blocks");
    const Bytes texels = Read(".texels");
    for (const std::uint32_t gl : glFormats) {
        const BlockFormat format = FindBlockFormat(gl);
        // 8-bit texels are kept with alpha, whether the format has one or not.
        const std::size_t keptBytes = format.texelBytes == 3 ? 4 : format.texelBytes;
        ASSERT_EQ(texels.size(), std::size_t{width} * height * keptBytes);
        Bytes decoded;
        for (std::size_t i = 0; i < texels.size(); ++i) {
            if (i % keptBytes < format.texelBytes) decoded.push_back(texels[i]);
        }
        const TestPicture picture = format.Show(decoded, width, height);
        Test_ExpectLoads(MakeKtx1(true, gl, width, height, blocks), picture);
        if (format.vk != 0) Test_ExpectLoads(MakeKtx2(format.vk, width, height, blocks), picture);
    }
}

INSTANTIATE_TEST_SUITE_P(Images, KtxReferenceImage, testing::ValuesIn(ListReferenceImages()),
                         [](const auto& image) {
                             return image.param.name + "_" + std::to_string(image.param.width) +
                                    "x" + std::to_string(image.param.height);
                         });

class KtxNarrowImage : public testing::TestWithParam<std::uint32_t> {};

TEST_P(KtxNarrowImage, Dxt5SkipsAlphaIndicesBehindTheRows) {
    const std::uint32_t width = GetParam();
    const auto stem = std::filesystem::path(KORUTEX_TEST_DATA_DIR) / "blocks" / "narrow" /
                      ("bc3_w" + std::to_string(width));
    const Bytes blocks = Test_ReadFile(std::filesystem::path(stem).concat(".blocks"));
    const Bytes texels = Test_ReadFile(std::filesystem::path(stem).concat(".korutex"));
    const auto height = static_cast<std::uint32_t>(blocks.size() / 16 * 4);
    ASSERT_NE(height, 0u);
    for (const std::uint32_t gl : {0x83F3u, 0x8C4Fu}) {
        Test_ExpectLoads(MakeKtx1(true, gl, width, height, blocks), {width, height, texels});
    }
    for (const std::uint32_t vk : {137u, 138u}) {
        Test_ExpectLoads(MakeKtx2(vk, width, height, blocks), {width, height, texels});
    }
}

INSTANTIATE_TEST_SUITE_P(Widths, KtxNarrowImage, testing::Values(1u, 2u, 3u));

// Packed pixels.

struct PackedFormat {
    std::uint32_t gl;
    std::uint32_t vk;  ///< 0: no format of KTX 2.0 gives it.
    unsigned components;
    unsigned bits;

    /// The bytes that a level must have: as if every component took one byte.
    [[nodiscard]] std::size_t GetRequiredBytes(std::uint32_t width, std::uint32_t height) const {
        return (std::size_t{width} * components + 3) / 4 * 4 * height;
    }
};

void PrintTo(const PackedFormat& format, std::ostream* stream) { *stream << ToHex(format.gl); }

std::vector<PackedFormat> ListPackedFormats() {
    std::vector<PackedFormat> formats{
        // Below and above a byte for each component.
        {0x190A, 0, 2, 16},    // GL_LUMINANCE_ALPHA
        {0x8050, 6, 3, 16},    // GL_RGB5
        {0x8D62, 4, 3, 16},    // GL_RGB565
        {0x8C3A, 122, 3, 32},  // GL_R11F_G11F_B10F
        {0x8C3D, 123, 3, 32},  // GL_RGB9_E5
        {0x8056, 2, 4, 16},    // GL_RGBA4
        {0x8057, 8, 4, 16},    // GL_RGB5_A1
        {0x8059, 58, 4, 32},   // GL_RGB10_A2
        {0x906F, 62, 4, 32},   // GL_RGB10_A2UI
        // Bytes, with a Vulkan format.
        {0x8051, 23, 3, 24},
        {0x8F96, 24, 3, 24},
        {0x8D7D, 27, 3, 24},
        {0x8D8F, 28, 3, 24},
        {0x8C41, 29, 3, 24},
        {0x8058, 37, 4, 32},
        {0x8F97, 38, 4, 32},
        {0x8D7C, 41, 4, 32},
        {0x8D8E, 42, 4, 32},
        {0x8C43, 43, 4, 32},
    };
    // Base formats and others that only KTX 1.1 can name. No order of channels is looked at.
    for (const std::uint32_t gl : {0x1902, 0x1903, 0x1904, 0x1905, 0x1906, 0x1909, 0x8040}) {
        formats.push_back({gl, 0, 1, 8});
    }
    for (const std::uint32_t gl : {0x1907, 0x80E0, 0x8C40, 0x8C48, 0x8D98, 0x8D9A,
                                   // Compressed formats in files that call themselves uncompressed.
                                   0x83F0, 0x8C4C, 0x8D64, 0x9274, 0x9275}) {
        formats.push_back({gl, 0, 3, 24});
    }
    for (const std::uint32_t gl :
         {0x1908, 0x80E1, 0x8C42, 0x8C49, 0x8D99, 0x8D9B,  //
          0x83F1, 0x83F2, 0x83F3, 0x8C4D, 0x8C4E, 0x8C4F, 0x9276, 0x9277, 0x9278, 0x9279}) {
        formats.push_back({gl, 0, 4, 32});
    }
    for (const std::uint32_t first : {0x93B0u, 0x93D0u}) {
        for (std::uint32_t i = 0; i < 14; ++i) formats.push_back({first + i, 0, 4, 32});
    }
    return formats;
}

class KtxPackedFormat : public testing::TestWithParam<PackedFormat> {
  protected:
    [[nodiscard]] static std::vector<Bytes> MakeFiles(std::uint32_t width, std::uint32_t height,
                                                      const Bytes& payload) {
        std::vector<Bytes> files{MakeKtx1(false, GetParam().gl, width, height, payload)};
        if (GetParam().vk != 0) files.push_back(MakeKtx2(GetParam().vk, width, height, payload));
        return files;
    }
};

TEST_P(KtxPackedFormat, ShowsEveryPixel) {
    const PackedFormat& format = GetParam();
    for (std::uint32_t height = 1; height <= kMostPixels; ++height) {
        for (std::uint32_t width = 1; width <= kMostPixels; ++width) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
            // As few bytes as may be, and enough for rows of four bytes a pixel.
            for (const std::size_t size :
                 {format.GetRequiredBytes(width, height), std::size_t{width} * height * 4 + 4}) {
                const Bytes payload = Test_MakeNoise(size, format.gl + width * 31 + height);
                const TestPicture picture =
                    Test_ExpandRows(payload, size, format.bits, format.gl, width, height);
                for (const Bytes& file : MakeFiles(width, height, payload)) {
                    Test_ExpectLoads(file, picture);
                }
            }
            if (HasFailure()) return;
        }
    }
}

TEST_P(KtxPackedFormat, NeedsAByteForEachComponentInPaddedRows) {
    const PackedFormat& format = GetParam();
    for (const auto& [width, height] :
         {std::pair{1u, 1u}, std::pair{3u, 1u}, std::pair{4u, 2u}, std::pair{5u, 7u}}) {
        const std::size_t required = format.GetRequiredBytes(width, height);
        for (const std::size_t size : {required - 1, required / 2, std::size_t{1}, std::size_t{}}) {
            for (const Bytes& file : MakeFiles(width, height, Bytes(size, 9))) {
                Test_ExpectRefused(file);
            }
        }
    }
}

TEST_P(KtxPackedFormat, EveryLengthOfPayloadKeepsToItsBounds) {
    const PackedFormat& format = GetParam();
    const std::size_t required = format.GetRequiredBytes(5, 3);
    for (std::size_t size = required; size < required + 24; ++size) {
        SCOPED_TRACE(size);
        const Bytes payload = Test_MakeNoise(size, format.gl);
        for (const Bytes& file : MakeFiles(5, 3, payload)) {
            Test_ExpectLoads(file, Test_ExpandRows(payload, size, format.bits, format.gl, 5, 3));
        }
    }
}

TEST_P(KtxPackedFormat, LevelsFacesAndLayersDoNotMatter) {
    const PackedFormat& format = GetParam();
    const Bytes payload = Test_MakeNoise(60, format.gl);
    const TestPicture picture =
        Test_ExpandRows(payload, payload.size(), format.bits, format.gl, 5, 3);
    Test_ExpectLoads(Ktx1Builder()
                         .Uncompressed(format.gl)
                         .Size(5, 3)
                         .Level(payload)
                         .Level(Test_MakeNoise(16, 2))
                         .Level(Test_MakeNoise(4, 3))
                         .Build(),
                     picture);
    Test_ExpectLoads(Ktx1Builder()
                         .Uncompressed(format.gl)
                         .Size(5, 3)
                         .Set(Ktx1Field::Faces, 6)
                         .Set(Ktx1Field::PixelDepth, 1)
                         .Level(payload)
                         .Raw(Test_MakeNoise(payload.size() * 5, 4))
                         .Build(),
                     picture);
    if (format.vk == 0) return;
    Test_ExpectLoads(Ktx2Builder()
                         .Format(format.vk, format.bits / 8)
                         .Size(5, 3)
                         .Set(Ktx2Field::FaceCount, 6)
                         .Level(payload)
                         .Level(Test_MakeNoise(16, 2))
                         .Build(),
                     picture);
}

INSTANTIATE_TEST_SUITE_P(Formats, KtxPackedFormat, testing::ValuesIn(ListPackedFormats()),
                         [](const auto& format) { return "Gl" + ToHex(format.param.gl); });

/// One pixel of known bits, with enough bytes for any size test.
struct KnownPixel {
    std::uint32_t gl;
    std::uint32_t word;
    TestColor color;
};

TEST(KtxPacked, PixelsOfKnownBits) {
    const std::vector<KnownPixel> pixels{
        {0x8D62, 0xFFFF, {255, 255, 255, 255}},
        {0x8D62, 0x8410, {131, 129, 131, 255}},
        {0x8D62, 0x0821, {8, 4, 8, 255}},
        {0x8D62, 0xF800, {255, 0, 0, 255}},
        {0x8D62, 0x001F, {0, 0, 255, 255}},
        {0x8050, 0x7C00, {255, 0, 0, 255}},
        {0x8050, 0x4210, {131, 131, 131, 255}},
        {0x8050, 0x8001, {0, 0, 8, 255}},
        {0x8057, 0x8001, {0, 0, 8, 255}},
        {0x8057, 0x7FFF, {255, 255, 255, 0}},
        {0x8056, 0xF00F, {0, 0, 255, 255}},
        {0x8056, 0x1234, {34, 51, 68, 17}},
        {0x190A, 0xFFFF, {0, 0, 0, 255}},
        {0x1909, 0xAB, {0xAB, 0xAB, 0xAB, 255}},
        {0x80E0, 0x030201, {1, 2, 3, 255}},
        {0x80E1, 0x04030201, {1, 2, 3, 4}},
        {0x8F97, 0x80FF7F01, {1, 127, 255, 128}},
        // A ten-bit channel counts by its two lowest bits, of which only 1 leaves anything.
        {0x8059, 0x00000001, {1, 0, 0, 0}},
        {0x8059, 0x000003FF, {0, 0, 0, 0}},
        {0x8059, 0x40000400, {0, 1, 0, 85}},
        {0x8059, 0x80100000, {0, 0, 1, 170}},
        {0x906F, 0xFFFFFFFF, {0, 0, 0, 255}},
        {0x906F, 0xC0501405, {1, 1, 1, 255}},
        // Red is ten bits from bit 17 on; green and blue count by their lowest bit.
        {0x8C3D, 0x00020000, {1, 0, 0, 255}},
        {0x8C3D, 0x00000201, {0, 1, 1, 255}},
        {0x8C3D, 0xF8040402, {0, 0, 0, 255}},
        // 1.0, 2.0 and 0.5; then 1.5 (382 & 255), the largest below infinity, infinity.
        {0x8C3A, 0x000003C0, {255, 0, 0, 255}},
        {0x8C3A, 0x00000400, {254, 0, 0, 255}},
        {0x8C3A, 0x70000000, {0, 0, 127, 255}},
        {0x8C3A, 0x000003E0, {126, 0, 0, 255}},
        {0x8C3A, 0x000007BF, {0, 0, 0, 255}},
        {0x8C3A, 0x003E0000, {0, 0, 0, 255}},
        {0x8C3A, 0x001E0000, {0, 255, 0, 255}},
    };
    for (const auto& [gl, word, color] : pixels) {
        SCOPED_TRACE("GL " + ToHex(gl) + ", pixel " + std::to_string(word));
        Bytes payload;
        Test_PutLe(payload, word, 4);
        Test_ExpectLoads(MakeKtx1(false, gl, 1, 1, payload), {1, 1, {color.begin(), color.end()}});
    }
}

TEST(KtxPacked, SixteenBitPixelsAloneAreTooFewBytes) {
    for (const std::uint32_t gl : {0x8D62u, 0x8050u, 0x8056u, 0x8057u}) {
        Test_ExpectRefused(MakeKtx1(false, gl, 4, 4, Bytes(32)));
    }
    // 3 components in 4 pixels a row: 12 bytes, of which 8 are pixels.
    Test_ExpectRefused(MakeKtx1(false, 0x8D62, 4, 4, Bytes(47)));
    Test_ExpectLoads(MakeKtx1(false, 0x8D62, 4, 4, Bytes(48)), Test_OpaqueBlack(4, 4));
}

TEST(KtxPacked, RowsAreReadAsPaddedToFourBytes) {
    // 1 x 2 pixels of 3 bytes.
    const Bytes payload = {1, 2, 3, 99, 4, 5, 6, 99};
    const TestPicture picture{1, 2, {1, 2, 3, 255, 4, 5, 6, 255}};
    Test_ExpectLoads(MakeKtx1(false, 0x8051, 1, 2, payload), picture);
    Test_ExpectLoads(MakeKtx2(23, 1, 2, payload), picture);
}

// All codes.

TEST(KtxCodes, CompressedGlFormatsOutsideTheListAreRefused) {
    std::set<std::uint32_t> accepted;
    for (const BlockFormat& format : ListBlockFormats()) accepted.insert(format.gl);
    const Bytes payload(64, 1);
    for (std::uint32_t gl = 0; gl < 0x10000; ++gl) {
        const bool loads = Test_LoadKtx(MakeKtx1(true, gl, 4, 4, payload), 0) != nullptr;
        ASSERT_EQ(loads, accepted.count(gl) == 1) << ToHex(gl);
    }
    for (const std::uint32_t gl : {0x10000u, 0x183F1u, 0x80009274u, 0xFFFFFFFFu}) {
        Test_ExpectRefused(MakeKtx1(true, gl, 4, 4, payload));
    }
}

TEST(KtxCodes, UncompressedGlFormatsWithoutComponentCountAreRefused) {
    std::set<std::uint32_t> accepted;
    for (const PackedFormat& format : ListPackedFormats()) accepted.insert(format.gl);
    const Bytes payload(64, 1);
    for (std::uint32_t gl = 0; gl < 0x10000; ++gl) {
        const bool loads = Test_LoadKtx(MakeKtx1(false, gl, 1, 1, payload), 0) != nullptr;
        ASSERT_EQ(loads, accepted.count(gl) == 1) << ToHex(gl);
    }
    for (const std::uint32_t gl : {0x10000u, 0x18058u, 0x80001907u, 0xFFFFFFFFu}) {
        Test_ExpectRefused(MakeKtx1(false, gl, 1, 1, payload));
    }
}

TEST(KtxCodes, VkFormatsOutsideTheListAreRefused) {
    std::set<std::uint32_t> accepted;
    for (const BlockFormat& format : ListBlockFormats()) accepted.insert(format.vk);
    for (const PackedFormat& format : ListPackedFormats()) accepted.insert(format.vk);
    accepted.erase(0);
    std::vector<std::uint32_t> codes{0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    for (std::uint32_t vk = 0; vk < 1000; ++vk) codes.push_back(vk);
    // The extensions' formats: 1000 a piece; PVRTC is number 54, ASTC of high range 66.
    for (std::uint32_t vk = 1000000000; vk < 1000500000; ++vk) {
        if (vk % 1000 < 40) codes.push_back(vk);
    }
    const Bytes payload(64, 1);
    for (const std::uint32_t vk : codes) {
        const bool loads = Test_LoadKtx(MakeKtx2(vk, 4, 4, payload), 0) != nullptr;
        ASSERT_EQ(loads, accepted.count(vk) == 1) << vk;
    }
}

}  // namespace
