// Places and sizes of payloads that lead behind the end or around it, and images of which a file
// holds less than their smallest part.
#include <gtest/gtest.h>
#include <korutex.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "ktx_builder.h"
#include "ktx_expectations.h"
#include "pvr_builder.h"
#include "pvr_expectations.h"
#include "test_blocks.h"
#include "test_files.h"
#include "told_outcome.h"

namespace {

/// 3 x 2 pixels 1, 2, 3, ...; the level is the file's last 24 bytes.
Ktx2Builder SixPixels() {
    Bytes pixels(24);
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint8_t>(i + 1);
    return Ktx2Builder().Format(37, 4).Size(3, 2).Level(pixels);
}

void ExpectTold(const Bytes& file, ToldOutcome (*tell)(const Bytes&)) {
    const ToldOutcome outcome = tell(file);
    ASSERT_FALSE(outcome.IsHuge());
    for (const std::uint32_t flags : {0u, 1u, 2u, 3u}) {
        Told_Expect(Test_LoadKtx(file, flags).get(), outcome, flags);
    }
}

TEST(KtxLevelExtremes, EveryOffsetWithEveryLength) {
    const std::uint64_t fileBytes = SixPixels().Build().size();
    const std::uint64_t right = fileBytes - 24;
    std::vector<std::uint64_t> values{right, right + 1, fileBytes, 24, 23, 25};
    for (const std::uint32_t value : kTestExtremes) {
        values.push_back(value);
        values.push_back(std::uint64_t{value} << 32);
        values.push_back(std::uint64_t{value} << 32 | right);
        values.push_back(std::uint64_t{value} << 32 | 24);
    }
    // With the other field right, sums of 2^32 and 2^64, and a byte less and more.
    for (const std::uint64_t sum : {std::uint64_t{1} << 32, std::uint64_t{0}}) {
        for (const std::uint64_t other : {right, std::uint64_t{24}}) {
            for (const std::uint64_t more :
                 {~std::uint64_t{0}, std::uint64_t{0}, std::uint64_t{1}}) {
                values.push_back(sum - other + more);
            }
        }
    }
    int loaded = 0;
    for (const std::uint64_t offset : values) {
        for (const std::uint64_t length : values) {
            SCOPED_TRACE(std::to_string(offset) + ", " + std::to_string(length));
            const Bytes file = SixPixels()
                                   .Entry(0, Ktx2Entry::ByteOffset, offset)
                                   .Entry(0, Ktx2Entry::ByteLength, length)
                                   .Build();
            const ToldOutcome outcome = Told_FromKtx2(file);
            loaded += outcome.Loads() ? 1 : 0;
            Told_Expect(Test_LoadKtx(file, 2).get(), outcome, 2);
            if (HasFailure()) return;
        }
    }
    EXPECT_GT(loaded, 50);
}

// The sums are 2^32 + 24 or 2^32: in 32 bits, a level inside the file.
TEST(KtxLevelExtremes, OffsetAndLengthDoNotWrapAround) {
    for (const auto& [offset, length] : {std::pair{0xFFFFFFE8ull, 24ull},
                                         {0xFFFFFFE8ull, 48ull},
                                         {0xFFFFFFFFull, 25ull},
                                         {24ull, 0xFFFFFFE8ull},
                                         {48ull, 0xFFFFFFE8ull},
                                         {0x80000000ull, 0x80000018ull},
                                         {0xFFFFFFFFFFFFFFE8ull, 24ull},
                                         {24ull, 0xFFFFFFFFFFFFFFE8ull}}) {
        Test_ExpectRefused(SixPixels()
                               .Entry(0, Ktx2Entry::ByteOffset, offset)
                               .Entry(0, Ktx2Entry::ByteLength, length)
                               .Build());
    }
}

// The pair is read where the descriptor ends, and the descriptor where the index ends.
TEST(KtxLevelExtremes, EveryDescriptorSizeWithEveryPairSizeAndTotal) {
    const Bytes file = SixPixels().KeyValue("KTXorientation", "ru").Sgd(Bytes(8)).Build();
    constexpr std::size_t kTotal = 60, kDescriptor = 104, kPair = 148;
    ASSERT_EQ(Told_Load32(file, kDescriptor), 44u);
    ASSERT_EQ(Told_Load32(file, kPair), 18u);
    std::vector<std::uint32_t> sizes = kTestExtremes;
    // From the descriptor's start: to the last byte of the file, to its end, and around it.
    const auto rest = static_cast<std::uint32_t>(file.size() - kDescriptor);
    for (const std::uint32_t size : {3u, 4u, 5u, 18u, 44u, rest - 4, rest - 1, rest, rest + 1,
                                     0xFFFFFFF0u, 0u - std::uint32_t{kDescriptor}}) {
        sizes.push_back(size);
    }
    for (const std::uint32_t descriptor : sizes) {
        for (const std::uint32_t pair : sizes) {
            for (const std::uint32_t total : {0u, 1u, 24u, 0x80000000u, 0xFFFFFFFFu}) {
                SCOPED_TRACE(std::to_string(descriptor) + ", " + std::to_string(pair) + ", " +
                             std::to_string(total));
                Bytes changed = file;
                Test_PokeLe(changed, kDescriptor, descriptor, 4);
                Test_PokeLe(changed, kPair, pair, 4);
                Test_PokeLe(changed, kTotal, total, 4);
                Told_Expect(Test_LoadKtx(changed, 2).get(), Told_FromKtx2(changed), 2);
                if (HasFailure()) return;
            }
        }
    }
}

TEST(KtxLevelExtremes, NegativePairSizesAreRefused) {
    for (std::uint32_t size = 0xFFFFFFFF; size >= 0xFFFFFF80; --size) {
        Bytes first = Ktx1Builder()
                          .Uncompressed(0x8058)
                          .Size(3, 2)
                          .KeyValue("KTXorientation", "S=r,T=u")
                          .Level(Bytes(24))
                          .Build();
        Bytes second = SixPixels().KeyValue("KTXorientation", "ru").Build();
        Test_ExpectLoads(second, {3, 2, Bytes(second.end() - 24, second.end())}, {2});
        Test_PokeLe(first, 64, size, 4);
        Test_PokeLe(second, 148, size, 4);
        ASSERT_EQ(Test_LoadKtx(first, 2), nullptr) << size;
        ASSERT_EQ(Test_LoadKtx(second, 2), nullptr) << size;
    }
}

// 2^32 - 1 levels: as many as there are sizes behind the header, and no longer.
TEST(KtxLevelExtremes, TheMostLevelsThatCanBeTold) {
    const auto start = [] { return Ktx1Builder().Uncompressed(0x8058).Size(1, 1).Level(Bytes(4)); };
    for (const std::size_t tail : {0u, 3u, 4u, 4096u, 1u << 20}) {
        ExpectTold(start().Set(Ktx1Field::MipmapLevels, 0xFFFFFFFF).Raw(Bytes(tail)).Build(),
                   Told_FromKtx1);
        // Exactly as many as are there.
        const auto there = static_cast<std::uint32_t>(1 + tail / 4);
        const Bytes file = start().Set(Ktx1Field::MipmapLevels, there).Raw(Bytes(tail)).Build();
        EXPECT_NE(Test_LoadKtx(file, 0), nullptr) << tail;
    }
    // As a signed number 2^32 - 1 is below 1, so one entry is read; 2^31 - 1 are not there.
    ExpectTold(SixPixels().Set(Ktx2Field::LevelCount, 0xFFFFFFFF).Build(), Told_FromKtx2);
    EXPECT_NE(Test_LoadKtx(SixPixels().Set(Ktx2Field::LevelCount, 0xFFFFFFFF).Build(), 0), nullptr);
    Test_ExpectRefused(
        SixPixels().Set(Ktx2Field::LevelCount, 0x7FFFFFFF).Raw(Bytes(1 << 20)).Build());
}

/// Codes of one block format; `vk` of 0 is left out.
struct BlockFormat {
    const char* name;
    std::uint32_t gl;
    std::uint32_t vk;
};

constexpr BlockFormat kBlockFormats[] = {
    {"DXT1", 0x83F1, 133},        {"DXT3", 0x83F2, 135},     {"DXT5", 0x83F3, 137},
    {"ETC1", 0x8D64, 0},          {"ETC2 RGB", 0x9274, 147}, {"ETC2 RGBA", 0x9278, 151},
    {"ETC2 RGB A1", 0x9276, 149}, {"EAC R11", 0x9270, 153},  {"EAC RG11", 0x9272, 155},
    {"RGBA8", 0x8058, 37},
};

TEST(KtxLevelExtremes, OneByteOfALargeImageIsRefused) {
    for (const BlockFormat& format : kBlockFormats) {
        SCOPED_TRACE(format.name);
        const bool isPacked = format.gl == 0x8058;
        for (const std::size_t payloadBytes : {1u, 7u, 15u, 16u}) {
            const Bytes payload(payloadBytes, 0x55);
            Ktx1Builder builder;
            isPacked ? builder.Uncompressed(format.gl) : builder.Compressed(format.gl);
            Test_ExpectRefused(builder.Size(4096, 4096).Level(payload).Build());
            if (format.vk == 0) continue;
            Test_ExpectRefused(
                Ktx2Builder().Format(format.vk).Size(4096, 4096).Level(payload).Build());
        }
    }
}

// ASTC is told to be black then. 4096 x 4096 would do the same in 64 MiB.
TEST(KtxLevelExtremes, OneByteOfALargeAstcImageIsBlack) {
    for (const std::uint32_t size : {1u, 15u}) {
        const Bytes payload(size, 0x55);
        ExpectTold(Ktx1Builder().Compressed(0x93B0).Size(256, 256).Level(payload).Build(),
                   Told_FromKtx1);
        ExpectTold(Ktx2Builder().Format(157).Size(256, 256).Level(payload).Build(), Told_FromKtx2);
    }
    EXPECT_EQ(
        Told_FromKtx1(Ktx1Builder().Compressed(0x93B0).Size(256, 256).Level(Bytes(1)).Build()).told,
        Told::Blank);
}

// Four blocks are read of any image below two blocks each way, and four must be there.
TEST(PvrPayloadExtremes, OnePixelOfPvrtcNeedsFourBlocks) {
    for (const PvrtcFormat& format : Test_ListPvrtcFormats()) {
        SCOPED_TRACE(format.name);
        const PvrtcImage image = Test_MakePvrtcImage(format.is2Bpp, 1, 1, 3);
        ASSERT_EQ(image.blocks.size(), 32u);
        for (const Bytes& file : format.MakeFiles(1, 1, image.blocks)) {
            Test_ExpectPvr(file, image.picture);
        }
        for (const std::size_t payloadBytes : {0u, 1u, 7u, 8u, 9u, 16u, 24u, 31u}) {
            SCOPED_TRACE(payloadBytes);
            for (const Bytes& file : format.MakeFiles(
                     1, 1,
                     {image.blocks.begin(),
                      image.blocks.begin() + static_cast<std::ptrdiff_t>(payloadBytes)})) {
                Test_ExpectPvrRefused(file);
            }
        }
    }
}

TEST(PvrPayloadExtremes, NothingByAnythingIsRefused) {
    const Bytes payload(4096, 0x55);
    for (const std::uint32_t extent : kTestExtremes) {
        SCOPED_TRACE(extent);
        for (const auto& [width, height] : {std::pair{0u, extent}, std::pair{extent, 0u}}) {
            for (const Bytes& data : {Bytes(), payload}) {
                for (const std::uint32_t number : {0u, 2u, 6u, 7u, 9u, 11u, 22u, 23u, 25u, 26u}) {
                    Test_ExpectPvrRefused(
                        PvrV3Builder().Compressed(number).Size(width, height).Data(data).Build());
                }
                Test_ExpectPvrRefused(PvrV3Builder()
                                          .Packed("rgba", {8, 8, 8, 8})
                                          .Size(width, height)
                                          .Data(data)
                                          .Build());
                for (const std::uint32_t type : {18u, 21u, 24u, 25u, 32u, 54u}) {
                    Test_ExpectPvrRefused(
                        PvrLegacyBuilder().Type(type).Size(width, height).Data(data).Build());
                }
            }
        }
    }
}

}  // namespace
