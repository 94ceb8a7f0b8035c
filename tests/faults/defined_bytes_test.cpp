// No byte of a record and no byte that a writer puts into a file is one that nobody set: what a
// heap held before must not get into pictures. Valgrind knows which bytes those are, so this runs
// under its memcheck only.
#include <gtest/gtest.h>
#include <korutex.h>
#include <valgrind/memcheck.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "astc_builder.h"
#include "koru_image_ptr.h"
#include "ktx_builder.h"
#include "ktx_expectations.h"
#include "pvr_builder.h"
#include "pvr_expectations.h"
#include "test_files.h"
#include "test_records.h"
#include "wrapper_builder.h"

namespace {

using CodeRange = std::pair<std::uint32_t, std::uint32_t>;
using Size = std::pair<std::uint32_t, std::uint32_t>;
using LoadMemory = KORU_Image*(const std::uint8_t*, std::uint32_t, std::uint32_t);

constexpr std::uint32_t kEveryFlag[] = {0, 1, 2, 3};

/// Both ends belong to a range.
std::vector<std::uint32_t> ListCodes(const std::vector<CodeRange>& ranges) {
    std::vector<std::uint32_t> codes;
    for (const auto& [first, last] : ranges) {
        for (std::uint32_t code = first; code <= last; ++code) codes.push_back(code);
    }
    return codes;
}

/// What the registry calls internal formats, and what lies between; those of ASTC are apart,
/// because the codec takes so long.
std::vector<std::uint32_t> ListGlCodes() {
    return ListCodes({{0x1900, 0x190A}, {0x2A10, 0x2A10}, {0x803B, 0x805B}, {0x80E0, 0x80E1},
                      {0x81A5, 0x81A7}, {0x8225, 0x823C}, {0x83F0, 0x83F3}, {0x84E9, 0x84EE},
                      {0x8814, 0x881B}, {0x88F0, 0x88F0}, {0x8C3A, 0x8C4F}, {0x8C92, 0x8C93},
                      {0x8D48, 0x8D48}, {0x8D62, 0x8D64}, {0x8D70, 0x8D9B}, {0x8DBB, 0x8DBE},
                      {0x8E8C, 0x8E8F}, {0x8F94, 0x8F9B}, {0x906F, 0x906F}, {0x9270, 0x9279}});
}

std::vector<std::uint32_t> ListVkCodes() {
    return ListCodes({{1, 156}, {1000054000, 1000054007}, {1000156000, 1000156033}});
}

class DefinedBytes : public testing::Test {
  protected:
    void SetUp() override {
        const unsigned valgrindDepth = RUNNING_ON_VALGRIND;
        ASSERT_NE(valgrindDepth, 0u) << "this test sees nothing without valgrind's memcheck";
        errorsBefore_ = VALGRIND_COUNT_ERRORS;
    }
    /// A branch on an undefined byte, or a write of one, is an error of its own.
    void TearDown() override {
        const unsigned errors = VALGRIND_COUNT_ERRORS;
        EXPECT_EQ(errors, errorsBefore_);
        EXPECT_GE(recordCount_, leastRecords_) << "too few records to say anything";
        RecordProperty("records", static_cast<int>(recordCount_));
    }

    /// The test must see so many records.
    void Expect(std::size_t leastRecords) { leastRecords_ = leastRecords; }

    void ExpectDefined(const KORU_Image& image) {
        ++recordCount_;
        // The fields up to the last one before the pointer, which follows padding.
        constexpr std::size_t kFieldBytes = offsetof(KORU_Image, reservedD) + sizeof(std::uint32_t);
        EXPECT_EQ(VALGRIND_CHECK_MEM_IS_DEFINED(&image, kFieldBytes), 0u);
        EXPECT_EQ(VALGRIND_CHECK_MEM_IS_DEFINED(&image.pixels, sizeof image.pixels), 0u);
        if (image.pixels == nullptr) return;
        const std::size_t bad = VALGRIND_CHECK_MEM_IS_DEFINED(image.pixels, image.dataSize);
        if (bad == 0) return;
        ADD_FAILURE() << "byte " << bad - reinterpret_cast<std::size_t>(image.pixels) << " of "
                      << image.dataSize << " was never set";
    }

    /// Loads in every layout; most files are refused, and that is as good.
    void Load(LoadMemory& load, const Bytes& file) {
        for (const std::uint32_t flags : kEveryFlag) {
            const KoruImagePtr image(
                load(file.data(), static_cast<std::uint32_t>(file.size()), flags));
            if (image != nullptr) ExpectDefined(*image);
        }
    }
    void LoadKtx(const Bytes& file) { Load(KORU_Load_KTX_From_Memory, file); }
    void LoadPvr(const Bytes& file) { Load(KORU_Load_PVR_From_Memory, file); }
    void LoadAstc(const Bytes& file) { Load(KORU_Load_ASTC_From_Memory, file); }

    /// Both kinds of KTX 1.1 file with this payload.
    void LoadKtx11(std::uint32_t glCode, const Size& size, const Bytes& payload) {
        SCOPED_TRACE(testing::Message()
                     << "GL " << std::hex << glCode << std::dec << ", " << size.first << " x "
                     << size.second << ", " << payload.size() << " bytes");
        const auto [width, height] = size;
        LoadKtx(Ktx1Builder().Compressed(glCode).Size(width, height).Level(payload).Build());
        LoadKtx(Ktx1Builder().Uncompressed(glCode).Size(width, height).Level(payload).Build());
    }
    void LoadKtx20(std::uint32_t vkCode, const Size& size, const Bytes& payload) {
        SCOPED_TRACE(testing::Message() << "Vk " << vkCode << ", " << size.first << " x "
                                        << size.second << ", " << payload.size() << " bytes");
        LoadKtx(Ktx2Builder().Format(vkCode).Size(size.first, size.second).Level(payload).Build());
    }

  private:
    unsigned errorsBefore_ = 0;
    std::size_t recordCount_ = 0;
    std::size_t leastRecords_ = 0;
};

/// Payload lengths from none to more than enough for rows of 4-byte pixels, `step` apart.
std::vector<Bytes> ListPayloads(const Size& size, std::size_t step) {
    const std::size_t most = std::max<std::size_t>(std::size_t{size.first} * size.second * 4, 16);
    std::vector<Bytes> payloads;
    for (std::size_t bytes = 0; bytes <= most + 4; bytes += step) {
        payloads.push_back(Test_MakeNoise(bytes, static_cast<std::uint32_t>(bytes + size.first)));
    }
    return payloads;
}

const std::vector<Size>& ListSizes() {
    static const std::vector<Size> sizes{{1, 1}, {1, 5}, {2, 3}, {3, 2}, {5, 1}, {7, 5}, {4, 4}};
    return sizes;
}

// The working image has 24 bits until the first image with alpha comes, so this is the first test.
TEST_F(DefinedBytes, OfThreeChannels) {
    Expect(1000);
    for (const Size& size : ListSizes()) {
        for (const Bytes& payload : ListPayloads(size, 1)) {
            // Bytes, words without alpha, blocks; grey, and what has no conversion.
            for (const std::uint32_t code : {0x1907u, 0x1909u, 0x190Au, 0x8050u, 0x8D62u, 0x8C3Au,
                                             0x8C3Du, 0x8C4Cu, 0x9270u, 0x9272u, 0x9274u}) {
                LoadKtx11(code, size, payload);
            }
            for (const char* names : {"r", "rg", "rgb"}) {
                for (const PvrPixelBits& pixel : Test_ListPvrPixelBits()) {
                    LoadPvr(PvrV3Builder()
                                .Packed(names, pixel.widths)
                                .Size(size.first, size.second)
                                .Data(payload)
                                .Build());
                }
            }
            for (const std::uint32_t number : {6u, 7u, 22u, 25u, 26u}) {
                LoadPvr(PvrV3Builder()
                            .Compressed(number)
                            .Size(size.first, size.second)
                            .Data(payload)
                            .Build());
            }
        }
    }
}

TEST_F(DefinedBytes, OfEveryKtx11Format) {
    Expect(1000);
    for (const std::uint32_t code : ListGlCodes()) {
        for (const Size& size : ListSizes()) {
            const bool isTiny = size.first * size.second <= 6;
            for (const Bytes& payload : ListPayloads(size, isTiny ? 3 : 11)) {
                LoadKtx11(code, size, payload);
            }
        }
    }
}

TEST_F(DefinedBytes, OfEveryKtx20Format) {
    Expect(1000);
    for (const std::uint32_t code : ListVkCodes()) {
        for (const Size& size : ListSizes()) {
            const bool isTiny = size.first * size.second <= 6;
            for (const Bytes& payload : ListPayloads(size, isTiny ? 3 : 11)) {
                LoadKtx20(code, size, payload);
            }
            LoadKtx(Ktx2Builder().Format(code).Size(size.first, size.second).Build());
        }
    }
}

// Blocks of the codec, a payload that it refuses, and none at all.
TEST_F(DefinedBytes, OfAstcInKtx) {
    Expect(40);
    const Size size{13, 5};
    const Bytes solid = AstcBuilder().Solid({1, 2, 3, 4}, 8).GetPayload();
    const Bytes noise = Test_MakeNoise(8 * 16, 3);
    for (const Bytes& payload : {solid, noise, Bytes(15), Bytes()}) {
        LoadKtx11(0x93B0, size, payload);  // 4 x 4
        LoadKtx11(0x93DD, size, payload);  // 12 x 12, sRGB
        LoadKtx20(157, size, payload);     // 4 x 4
    }
}

TEST_F(DefinedBytes, OfAstcFiles) {
    Expect(30);
    for (const Size& footprint : {Size{4, 4}, Size{6, 5}, Size{7, 7}, Size{0, 255}}) {
        const auto [width, height] = footprint;
        const auto builder = [&] {
            return AstcBuilder()
                .Blocks(static_cast<std::uint8_t>(width), static_cast<std::uint8_t>(height))
                .Size(13, 5);
        };
        LoadAstc(builder().Solid({1, 2, 3, 4}, 13 * 5).Build());
        Bytes noisy = builder().Build();
        Test_Append(noisy, Test_MakeNoise(13 * 5 * 16, 5));
        LoadAstc(noisy);
        LoadAstc(builder().Raw(15).Build());
    }
    LoadAstc(AstcBuilder().Blocks(3, 3, 3).Size(5, 5).Raw(256).Build());
}

// Blocks that give less than their room, or nothing: the room is zeros.
TEST_F(DefinedBytes, OfWrappedKtx) {
    Expect(100);
    const Bytes inner =
        Ktx1Builder().Uncompressed(0x8058).Size(5, 3).Level(Test_MakeNoise(60, 7)).Build();
    for (std::size_t kept = 0; kept <= inner.size(); ++kept) {
        const Bytes block = Test_StoreInLz4(Test_Slice(inner, 0, kept));
        const auto size = static_cast<std::uint32_t>(inner.size());
        LoadKtx(WrapperBuilder().Block(block, size).Build());
        LoadKtx(WrapperBuilder().Block(block, size + 100).Build());
        LoadKtx(Test_WrapDeep(WrapperBuilder().Block(block, size).Build(), 2));
        // The rest in a second chunk, whole or broken.
        const Bytes rest = Test_StoreInLz4(Test_Slice(inner, kept, inner.size()));
        const auto keptBytes = static_cast<std::uint32_t>(kept);
        LoadKtx(WrapperBuilder().Block(block, keptBytes).Block(rest, size - keptBytes).Build());
        LoadKtx(WrapperBuilder()
                    .Block(block, keptBytes)
                    .Block(Test_Slice(rest, 0, rest.size() / 2), size - keptBytes)
                    .Build());
        WrapperChunk untagged;
        untagged.tag1 = 0;
        untagged.decompressedBytes = size - keptBytes;
        untagged.compressedBytes = static_cast<std::uint32_t>(rest.size());
        untagged.data = rest;
        LoadKtx(WrapperBuilder().Block(block, keptBytes).Chunk(untagged).Build());
    }
}

TEST_F(DefinedBytes, OfEveryPvrType) {
    Expect(1000);
    for (std::uint32_t type = 0; type < 0x60; ++type) {
        SCOPED_TRACE(testing::Message() << "legacy type " << type);
        for (const Size& size : ListSizes()) {
            for (const Bytes& payload : ListPayloads(size, 4)) {
                LoadPvr(PvrLegacyBuilder()
                            .Type(type)
                            .Size(size.first, size.second)
                            .Data(payload)
                            .Build());
            }
        }
    }
    for (std::uint32_t number = 0; number < 60; ++number) {
        SCOPED_TRACE(testing::Message() << "version 3, number " << number);
        for (const Size& size : ListSizes()) {
            for (const Bytes& payload : ListPayloads(size, 4)) {
                LoadPvr(PvrV3Builder()
                            .Compressed(number)
                            .Size(size.first, size.second)
                            .Data(payload)
                            .Build());
            }
        }
    }
}

TEST_F(DefinedBytes, OfPackedPvrPixels) {
    Expect(1000);
    std::vector<PvrChannelWidths> widths{{16, 16, 16, 16}, {32, 0, 0, 0}, {8, 0, 0, 0},
                                         {8, 8, 0, 0},     {1, 2, 3, 4},  {0, 0, 0, 0}};
    for (const PvrPixelBits& pixel : Test_ListPvrPixelBits()) widths.push_back(pixel.widths);
    for (const PvrChannelNames& names : Test_ListPvrChannelNames()) {
        for (const PvrChannelWidths& width : widths) {
            SCOPED_TRACE(testing::Message() << names.names << ' ' << +width[0] << ',' << +width[1]);
            for (const Size& size : ListSizes()) {
                for (const Bytes& payload : ListPayloads(size, 5)) {
                    LoadPvr(PvrV3Builder()
                                .Packed(names.names, width)
                                .Size(size.first, size.second)
                                .Data(payload)
                                .Build());
                }
            }
        }
    }
}

// Sizes that are no powers of two write some pixels twice, and others not for their own sake.
TEST_F(DefinedBytes, OfPvrtcOfEverySize) {
    Expect(1000);
    for (const PvrtcFormat& format : Test_ListPvrtcFormats()) {
        for (std::uint32_t height = 1; height <= 20; height += height < 10 ? 1 : 5) {
            for (std::uint32_t width = 1; width <= 36; width += width < 18 ? 1 : 7) {
                SCOPED_TRACE(testing::Message() << format.name << ' ' << width << " x " << height);
                const Bytes enough = Test_MakeNoise(36 * 20 * 2, width);
                for (const Bytes& payload : {enough, Bytes(31, 1), Bytes(32, 1)}) {
                    LoadPvr(format.MakeFiles(width, height, payload).front());
                }
            }
        }
    }
}

// What a writer hands to the system is looked at there; here are the rows that it made.
TEST_F(DefinedBytes, OfWrittenFiles) {
    Expect(50);
    TempFolder folder;
    const KoruPath path = Test_ToKoruPath(folder / "file");
    for (const auto write :
         {KORU_Write_ASTC_To_File, KORU_Write_KTX_To_File, KORU_Write_PVR_To_File}) {
        for (const Size& size : ListSizes()) {
            for (const std::uint32_t flags : {0u, KORU_FLAG_RGBA}) {
                const auto image = Test_MakeRecord(size.first, size.second, flags);
                ASSERT_NE(image, nullptr);
                write(path.c_str(), image.get());
                ExpectDefined(*image);
                write(path.c_str(), image.get());
                ExpectDefined(*image);
            }
            // A record that promises fewer bytes than its rows take, and one with gaps in them.
            const auto odd = Test_MakeRecord(size.first, size.second, 0);
            ASSERT_NE(odd, nullptr);
            odd->dataSize -= 2;
            odd->rowPadding = 1;
            write(path.c_str(), odd.get());
            ExpectDefined(*odd);
        }
    }
}

// The means works: a byte that nobody set is seen.
TEST_F(DefinedBytes, AreToldFromOthers) {
    std::vector<std::uint8_t> bytes(3);
    VALGRIND_MAKE_MEM_UNDEFINED(bytes.data() + 1, 1);
    std::vector<std::uint8_t> bits(3);
    ASSERT_EQ(VALGRIND_GET_VBITS(bytes.data(), bits.data(), bits.size()), 1u);
    EXPECT_EQ(bits, std::vector<std::uint8_t>({0, 0xFF, 0}));
}

}  // namespace
