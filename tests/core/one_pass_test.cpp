// Loads of every block format, of sizes that take several pieces, against the steps they stand for:
// the surface filled in its own layout, then finished; where that takes pieces, too, against the
// image decoded as a whole, expanded and finished.
#include <gtest/gtest.h>
#include <korutex.h>

#include <string>
#include <vector>

#include "astc/astc_reader.h"
#include "astc_builder.h"
#include "blocks/etc_decoder.h"
#include "core/image.h"
#include "core/load_sequence.h"
#include "formats/expand.h"
#include "ktx/ktx_reader.h"
#include "ktx/ktx_state.h"
#include "ktx_builder.h"
#include "pvr/pvr_reader.h"
#include "pvr/pvr_state.h"
#include "pvr_builder.h"
#include "test_files.h"
#include "test_noise.h"

namespace koru {
namespace {

struct Case {
    std::string name;
    const ContainerFormat* format;
    Bytes file;
};

constexpr std::uint32_t kWidth = 1030, kHeight = 534;  // rows of 3 bytes a pixel are padded
constexpr std::size_t kBlocks = std::size_t{258} * 134;

Bytes MakeBlocks(std::size_t count, std::size_t blockBytes) {
    return Test_MakeNoise(count * blockBytes, 7);
}

std::vector<Case> ListCases() {
    std::vector<Case> cases;
    const auto addKtx = [&cases](std::uint32_t glInternalFormat, std::size_t blockBytes) {
        for (const std::uint32_t width : {kWidth, kWidth + 2}) {
            cases.push_back({"KTX " + std::to_string(glInternalFormat), &kKtxFormat,
                             Ktx1Builder()
                                 .Compressed(glInternalFormat)
                                 .Size(width, kHeight)
                                 .Level(MakeBlocks(kBlocks, blockBytes))
                                 .Build()});
        }
    };
    for (const std::uint32_t eight :
         {0x83F1u, 0x8C4Cu, 0x8D64u, 0x9270u, 0x9271u, 0x9274u, 0x9276u})
        addKtx(eight, 8);
    for (const std::uint32_t sixteen : {0x83F2u, 0x83F3u, 0x9272u, 0x9278u}) addKtx(sixteen, 16);
    for (const std::uint32_t packed : {0x8051u, 0x8058u, 0x8D62u, 0x8056u, 0x8059u, 0x8C3Au}) {
        cases.push_back({"KTX " + std::to_string(packed), &kKtxFormat,
                         Ktx1Builder()
                             .Uncompressed(packed)
                             .Size(kWidth, kHeight)
                             .Level(Test_MakeNoise(std::size_t{kWidth + 2} * kHeight * 4, 7))
                             .Build()});
    }
    // The codec decodes illegal blocks to a color that shows them, which serves as well.
    for (const std::uint8_t side : {std::uint8_t{4}, std::uint8_t{5}, std::uint8_t{12}}) {
        const std::size_t blocks =
            std::size_t{(kWidth + side - 1u) / side} * ((kHeight + side - 1u) / side);
        Bytes file = AstcBuilder().Blocks(side, side).Size(kWidth, kHeight).Build();
        Test_Append(file, MakeBlocks(blocks, 16));
        cases.push_back({"ASTC " + std::to_string(side), &kAstcFormat, file});
    }
    for (const std::uint32_t number : {1u, 3u}) {
        cases.push_back({"PVRTC " + std::to_string(number), &kPvrFormat,
                         PvrV3Builder()
                             .Compressed(number)
                             .Size(1024, 512)
                             .Data(MakeBlocks(256 * 128, 8))
                             .Build()});
        cases.push_back({"PVRTC, no power of two, " + std::to_string(number), &kPvrFormat,
                         PvrV3Builder()
                             .Compressed(number)
                             .Size(1000, 500)
                             .Data(MakeBlocks(256 * 128, 8))
                             .Build()});
    }
    return cases;
}

Bytes GetPixels(const ImageHandle& image) {
    if (image == nullptr || image->pixels == nullptr) return {};
    return {image->pixels, image->pixels + image->dataSize};
}

TEST(OnePass, GivesWhatTheStepsGive) {
    for (const Case& test : ListCases()) {
        DecodeSurface& surface = test.format->state.surface;
        const auto size = static_cast<std::uint32_t>(test.file.size());
        for (const std::uint32_t sticky : {0u, 1u}) {
            for (const std::uint32_t flags : {0u, std::uint32_t{KORU_FLAG_RGBA}}) {
                SCOPED_TRACE(testing::Message()
                             << test.name << ", flags " << flags << ", sticky " << sticky);
                Surface_Clear(surface);
                surface.reservedB = sticky;
                SourceBuffer source = Source_Borrow(test.file.data(), size);
                ASSERT_EQ(test.format->parse(source, test.format->state.name.data()), 1);
                const ImageHandle expected = Image_FromSurface(surface, flags);
                ASSERT_NE(expected, nullptr);

                surface.reservedB = sticky;
                const ImageHandle actual =
                    Load_FromMemory(*test.format, test.file.data(), size, flags);
                ASSERT_NE(actual, nullptr);
                EXPECT_EQ(actual->dataSize, expected->dataSize);
                EXPECT_TRUE(GetPixels(actual) == GetPixels(expected));
            }
        }
        surface.reservedB = 0;
    }
}

struct WholeCase {
    std::uint32_t code;
    std::uint32_t bitsPerPixel;  ///< As expansion counts the decoded bytes.
    std::uint32_t rowWidth;
};

// Rows that count otherwise than they are decoded: padded ones of three bytes, 16-bit samples.
TEST(OnePass, EqualsWholeImagesWhereRowsAreNotWhatCounts) {
    for (const WholeCase& test : {WholeCase{0x9270, 8, kWidth}, WholeCase{0x9271, 8, kWidth + 2},
                                  WholeCase{0x9274, 24, kWidth}, WholeCase{0x8D64, 24, kWidth}}) {
        const Bytes blocks = MakeBlocks(kBlocks, 8);
        ByteBuffer decoded;
        std::uint32_t format = 0, internalFormat = 0, type = 0;
        ASSERT_EQ(Etc_DecodeImage(blocks.data(), test.code, test.rowWidth, kHeight, decoded, format,
                                  internalFormat, type, 0, 1),
                  kEtcSuccess);
        const std::uint32_t counted = test.rowWidth * kHeight * test.bitsPerPixel / 8;
        const Bytes file =
            Ktx1Builder().Compressed(test.code).Size(test.rowWidth, kHeight).Level(blocks).Build();
        for (const std::uint32_t flags : {0u, std::uint32_t{KORU_FLAG_RGBA}}) {
            DecodeSurface surface;
            ASSERT_TRUE(Surface_SetLayout(surface, test.rowWidth, kHeight, 3));
            ASSERT_TRUE(Surface_AllocateBlack(surface));
            ASSERT_EQ(ExpandPackedPixels(
                          surface, Packed_FromBuffer(decoded, counted, test.bitsPerPixel), {}),
                      1);
            const ImageHandle expected = Image_FromSurface(surface, flags);
            g_ktxState.surface.reservedB = 0;
            const ImageHandle actual = Load_FromMemory(
                kKtxFormat, file.data(), static_cast<std::uint32_t>(file.size()), flags);
            ASSERT_NE(actual, nullptr);
            EXPECT_TRUE(GetPixels(actual) == GetPixels(expected)) << test.code << ' ' << flags;
        }
    }
}

// The payload of a file stays in the file's bytes, that of memory is copied.
TEST(OnePass, FilesGiveWhatMemoryGives) {
    TempFolder folder;
    const KoruPath path = Test_ToKoruPath(folder / "file");
    for (const Case& test : ListCases()) {
        Test_WriteFile(folder / "file", test.file);
        const auto size = static_cast<std::uint32_t>(test.file.size());
        for (const std::uint32_t flags : {0u, std::uint32_t{KORU_FLAG_RGBA}}) {
            SCOPED_TRACE(testing::Message() << test.name << ", flags " << flags);
            test.format->state.surface.reservedB = 0;
            const ImageHandle expected =
                Load_FromMemory(*test.format, test.file.data(), size, flags);
            test.format->state.surface.reservedB = 0;
            const ImageHandle actual = Load_FromFile(*test.format, path.c_str(), flags);
            ASSERT_NE(actual, nullptr);
            EXPECT_TRUE(GetPixels(actual) == GetPixels(expected));
        }
    }
}

}  // namespace
}  // namespace koru
