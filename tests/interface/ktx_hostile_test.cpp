// KTX files that are broken on purpose: the outcome where it is known, sound records always.
#include <gtest/gtest.h>
#include <korutex.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "hostile_files.h"
#include "ktx_builder.h"
#include "ktx_expectations.h"
#include "test_blocks.h"
#include "test_files.h"

namespace {

/// One sort of payload, for an image of 6 x 5 pixels.
struct Kind {
    const char* name;
    bool compressed;
    std::uint32_t gl;
    std::uint32_t vk;
    Bytes payload;
    bool blackWhenEmpty;
    bool blackWhenShort;

    /// The codec builds its tables for every image, which takes milliseconds.
    [[nodiscard]] bool IsSlow() const { return gl == 0x93B0; }
    [[nodiscard]] Ktx1Builder Start1() const {
        Ktx1Builder builder;
        compressed ? builder.Compressed(gl) : builder.Uncompressed(gl);
        return builder.Size(6, 5);
    }
    [[nodiscard]] Ktx2Builder Start2() const { return Ktx2Builder().Format(vk).Size(6, 5); }
};

void PrintTo(const Kind& kind, std::ostream* stream) { *stream << kind.name; }

std::vector<Kind> ListKinds() {
    const auto blocks = [](TestBlock (*makeBlock)(std::size_t), std::size_t texelBytes) {
        return Test_MakeBlockImage(makeBlock, texelBytes, 6, 5).blocks;
    };
    Bytes pixels(120);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        pixels[i] = static_cast<std::uint8_t>(i * 37 + 11);
    }
    return {
        {"Dxt1", true, 0x83F1, 133, blocks(Test_Bc1Block, 4), false, false},
        {"Dxt5", true, 0x83F3, 137, blocks(Test_Bc3Block, 4), false, false},
        {"Etc2Rgb", true, 0x9274, 147, blocks(Test_EtcRgbBlock, 3), true, false},
        {"Etc2Rgba", true, 0x9278, 151, blocks(Test_EtcRgbaBlock, 4), true, false},
        {"EacR11", true, 0x9270, 153, blocks(Test_R11Block, 2), true, false},
        {"Astc4x4", true, 0x93B0, 157, blocks(Test_AstcBlock, 4), true, true},
        {"Rgba8", false, 0x8058, 37, pixels, false, false},
    };
}

void ExpectOutcome(const Bytes& file, bool loads) {
    Test_ExpectOutcome(KORU_Load_KTX_From_Memory, file, loads);
}

bool IsTypeSize(std::uint32_t value) { return value == 1 || value == 2 || value == 4; }

class KtxHostile : public testing::TestWithParam<Kind> {
  protected:
    const Kind& kind_ = GetParam();
};

TEST_P(KtxHostile, EveryFieldOfKtx1) {
    const auto expect = [&](Ktx1Field field, auto&& loads) {
        for (const std::uint32_t value : kHostileValues) {
            SCOPED_TRACE("field " + std::to_string(static_cast<int>(field)) + ", value " +
                         std::to_string(value));
            ExpectOutcome(kind_.Start1().Set(field, value).Level(kind_.payload).Build(),
                          loads(value));
        }
    };
    const auto always = [](std::uint32_t) { return true; };
    const auto never = [](std::uint32_t) { return false; };
    expect(Ktx1Field::Endianness, never);
    expect(Ktx1Field::GlType, [&](std::uint32_t value) { return kind_.compressed || value != 0; });
    expect(Ktx1Field::GlTypeSize, IsTypeSize);
    expect(Ktx1Field::GlFormat,
           [&](std::uint32_t value) { return kind_.compressed || value != 0; });
    expect(Ktx1Field::GlInternalFormat, never);
    expect(Ktx1Field::GlBaseInternalFormat, always);
    // Of a smaller image the payload has enough.
    const auto asExtent = [](std::uint32_t value) { return value >= 1 && value <= 3; };
    expect(Ktx1Field::PixelWidth, asExtent);
    expect(Ktx1Field::PixelHeight, asExtent);
    expect(Ktx1Field::PixelDepth, always);
    expect(Ktx1Field::ArrayElements, always);
    expect(Ktx1Field::Faces, always);
    // Behind the one level there is no other.
    expect(Ktx1Field::MipmapLevels, [](std::uint32_t value) { return value <= 1; });
    // A pair as long as the level, which is there; but then levels of 0x..000000 bytes and more.
    expect(Ktx1Field::BytesOfKeyValueData, [](std::uint32_t value) { return value == 0; });
}

TEST_P(KtxHostile, EveryFieldOfKtx2) {
    const auto expect = [&](Ktx2Field field, auto&& loads) {
        for (const std::uint32_t value : kHostileValues) {
            SCOPED_TRACE("field " + std::to_string(static_cast<int>(field)) + ", value " +
                         std::to_string(value));
            ExpectOutcome(kind_.Start2().Set(field, value).Level(kind_.payload).Build(),
                          loads(value));
        }
    };
    const auto always = [](std::uint32_t) { return true; };
    // Number 2 has 16 bits, 4 components and the size test of 4 bytes for each pixel.
    expect(Ktx2Field::VkFormat,
           [&](std::uint32_t value) { return value == 2 && kind_.payload.size() >= 120; });
    expect(Ktx2Field::TypeSize, IsTypeSize);
    const auto asExtent = [](std::uint32_t value) { return value >= 1 && value <= 3; };
    expect(Ktx2Field::PixelWidth, asExtent);
    expect(Ktx2Field::PixelHeight, asExtent);
    expect(Ktx2Field::PixelDepth, always);
    expect(Ktx2Field::LayerCount, always);
    expect(Ktx2Field::FaceCount, always);
    // Two more entries lie inside the file; a count with the top bit is below 1.
    expect(Ktx2Field::LevelCount, [](std::uint32_t value) { return value != 0x7FFFFFFF; });
    expect(Ktx2Field::SupercompressionScheme, [](std::uint32_t value) { return value == 0; });
    expect(Ktx2Field::DfdByteOffset, always);
    expect(Ktx2Field::DfdByteLength, always);
    expect(Ktx2Field::KvdByteOffset, always);
    // The padding behind the descriptor is a pair of no bytes, and nothing is read behind it.
    expect(Ktx2Field::KvdByteLength, always);
    expect(Ktx2Field::SgdByteOffset, always);
    expect(Ktx2Field::SgdByteLength, always);
}

TEST_P(KtxHostile, EveryFieldOfTheLevelIndex) {
    const auto expect = [&](Ktx2Entry field, std::uint64_t value, bool loads) {
        SCOPED_TRACE("field " + std::to_string(static_cast<int>(field)) + ", value " +
                     std::to_string(value));
        ExpectOutcome(kind_.Start2().Level(kind_.payload).Entry(0, field, value).Build(), loads);
    };
    for (const std::uint32_t value : kHostileValues) {
        // At 1, 2 and 3 there are other bytes, but bytes.
        expect(Ktx2Entry::ByteOffset, value, value == 0 ? kind_.blackWhenEmpty : value <= 3);
        expect(Ktx2Entry::ByteLength, value,
               value == 0 ? kind_.blackWhenEmpty : value <= 3 && kind_.blackWhenShort);
        expect(Ktx2Entry::UncompressedByteLength, value, true);
        if (value == 0) continue;
        const std::uint64_t high = std::uint64_t{value} << 32;
        expect(Ktx2Entry::ByteOffset, high | 160, true);
        expect(Ktx2Entry::ByteLength, high | kind_.payload.size(), true);
        expect(Ktx2Entry::ByteLength, high, false);
        expect(Ktx2Entry::UncompressedByteLength, high, true);
    }
}

TEST_P(KtxHostile, ImageSizesThatLie) {
    for (const std::uint32_t size : kHostileValues) {
        SCOPED_TRACE(size);
        // Short sizes leave enough bytes behind them for what is read.
        ExpectOutcome(kind_.Start1().Level(kind_.payload, size).Build(),
                      size == 0 ? kind_.blackWhenEmpty : size <= 3 && kind_.blackWhenShort);
        // Levels of any size; the second leads to the third, which is there at 4.
        ExpectOutcome(kind_.Start1().Level(kind_.payload).Level(Bytes(16), size).Level({}).Build(),
                      size <= 3);
        ExpectOutcome(kind_.Start1().Level(kind_.payload).Level(Bytes(16)).Level({}, size).Build(),
                      true);
    }
}

TEST_P(KtxHostile, ManyLevelsEndQuickly) {
    for (const std::uint32_t count : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        // A long file in which every level is empty.
        ExpectOutcome(kind_.Start1()
                          .Level(kind_.payload)
                          .Set(Ktx1Field::MipmapLevels, count)
                          .Raw(Bytes(4096))
                          .Build(),
                      false);
        // Levels that lead to one another by the largest steps there are.
        ExpectOutcome(kind_.Start1()
                          .Level(kind_.payload)
                          .Level({}, 0xFFFFFFFC)
                          .Set(Ktx1Field::MipmapLevels, count)
                          .Build(),
                      false);
    }
    ExpectOutcome(kind_.Start2()
                      .Level(kind_.payload)
                      .Set(Ktx2Field::LevelCount, 0x7FFFFFFF)
                      .Raw(Bytes(4096))
                      .Build(),
                  false);
}

/// A valid file, and how many of its first bytes are enough.
struct CutFile {
    std::string name;
    Bytes file;
    std::size_t neededBytes;
};

std::vector<CutFile> ListCutFiles(const Kind& kind) {
    const Bytes second(16, 2), third(4, 3);
    std::vector<CutFile> files;
    const auto whole = [&](std::string name, const Bytes& file) {
        files.push_back({std::move(name), file, file.size()});
    };
    const auto allBut = [&](std::string name, const Bytes& file, std::size_t unread) {
        files.push_back({std::move(name), file, file.size() - unread});
    };
    whole("one level", kind.Start1().Level(kind.payload).Build());
    whole("a pair",
          kind.Start1().KeyValue("KTXorientation", "S=r,T=d").Level(kind.payload).Build());
    // Of later levels only the sizes are read.
    allBut("levels",
           kind.Start1()
               .KeyValue("first", "pair")
               .KeyValue("second", "pair")
               .Level(kind.payload)
               .Level(second)
               .Level(third)
               .Build(),
           third.size());
    whole("an empty last level", kind.Start1().Level(kind.payload).Level({}).Build());

    whole("one level 2.0", kind.Start2().Level(kind.payload).Build());
    const auto full = [&] {
        return kind.Start2()
            .KeyValue("KTXorientation", "rd")
            .KeyValue("KTXwriter", "test")
            .Sgd(Bytes(24, 7))
            .Level(kind.payload)
            .Level(second);
    };
    // The largest level is the last; where it is the first, the other is not read.
    whole("levels 2.0", full().Build());
    const std::size_t padding = (16 - kind.payload.size() % 16) % 16;
    allBut("largest level first", full().LargestLevelFirst().Build(), second.size() + padding);
    return files;
}

TEST_P(KtxHostile, EveryTruncation) {
    for (const auto& [name, file, neededBytes] : ListCutFiles(kind_)) {
        SCOPED_TRACE(name);
        const auto whole = Test_LoadKtx(file, 2);
        ASSERT_NE(whole, nullptr);
        ASSERT_LE(neededBytes, file.size());
        for (std::size_t size = 0; size < neededBytes; ++size) {
            const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
            for (const std::uint32_t flags : {0u, 1u, 2u, 3u}) {
                ASSERT_EQ(Test_LoadKtx(cut, flags), nullptr) << size << ", flags " << flags;
            }
        }
        for (std::size_t size = neededBytes; size < file.size(); ++size) {
            const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
            const auto image = Test_LoadKtx(cut, 2);
            ASSERT_NE(image, nullptr) << size;
            EXPECT_EQ(Test_GetPixels(*image), Test_GetPixels(*whole)) << size;
        }
    }
}

/// Whether a load of this file, if it gives a record, gives one of a size that a test can bear.
bool IsBearable(const Bytes& file) {
    const bool second = file.size() > 27 && file[5] == '2';
    const std::size_t at = second ? 20 : 36;
    if (file.size() < at + 8) return true;
    std::uint64_t extents[2] = {};
    for (std::size_t i = 0; i < 8; ++i) {
        extents[i / 4] |= std::uint64_t{file[at + i]} << (8 * (i % 4));
    }
    return extents[0] * extents[1] <= 1u << 20;
}

void ExpectSound(const Bytes& file, std::uint32_t flags) {
    if (IsBearable(file)) Test_ExpectSoundIfLoaded(KORU_Load_KTX_From_Memory, file, flags);
}

/// Small files of both versions with all their parts.
std::vector<Bytes> MakeFilesToMutate(const Kind& kind) {
    return {
        kind.Start1()
            .KeyValue("KTXorientation", "S=r,T=u")
            .Level(kind.payload)
            .Level(Bytes(4))
            .Build(),
        kind.Start2()
            .KeyValue("KTXorientation", "ru")
            .Sgd(Bytes(8))
            .Level(kind.payload)
            .Level(Bytes(4))
            .Build(),
    };
}

TEST_P(KtxHostile, EveryByteChanged) {
    // The payload of ASTC is the codec's business.
    const bool slow = kind_.IsSlow();
    const std::vector<int> flips = slow ? std::vector{0xFF} : std::vector{0x01, 0x80, 0xFF};
    for (const Bytes& file : MakeFilesToMutate(kind_)) {
        const std::size_t changed = file.size() - (slow ? kind_.payload.size() : 0);
        for (std::size_t at = 0; at < changed; ++at) {
            Bytes mutated = file;
            for (const int flip : flips) {
                mutated[at] = static_cast<std::uint8_t>(file[at] ^ flip);
                ExpectSound(mutated, at % 4);
            }
            mutated[at] = 0;
            ExpectSound(mutated, 2);
            if (HasFailure()) return;
        }
    }
}

TEST_P(KtxHostile, RandomChanges) {
    std::mt19937 random(20 + kind_.gl);
    const int rounds = kind_.IsSlow() ? 100 : 1500;
    for (const Bytes& file : MakeFilesToMutate(kind_)) {
        for (int round = 0; round < rounds; ++round) {
            const Bytes changed = Test_ChangeAtRandom(file, random, 150);
            ExpectSound(changed, static_cast<std::uint32_t>(random() % 4));
            if (HasFailure()) return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, KtxHostile, testing::ValuesIn(ListKinds()),
                         [](const auto& kind) { return std::string(kind.param.name); });

TEST(KtxHostileNoise, BehindTheIdentifiers) {
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        Bytes file = round % 2 == 0 ? Ktx1Builder().Build() : Ktx2Builder().Build();
        file.resize(12 + random() % 300);
        for (std::size_t i = 12; i < file.size(); ++i) {
            file[i] = static_cast<std::uint8_t>(random() % 3 == 0 ? random() : 0);
        }
        ExpectSound(file, random() % 4);
        if (HasFailure()) return;
    }
}

TEST(KtxHostileSizes, HugeImagesOfLittleDataAreRefused) {
    // 16384 x 16384 pixels, a gigabyte, but not without the payload.
    for (const std::uint32_t gl : {0x83F1u, 0x83F3u, 0x8C4Cu, 0x9274u, 0x9278u, 0x9270u}) {
        for (const std::size_t size : {std::size_t{1}, std::size_t{8}, std::size_t{4096}}) {
            Test_ExpectRefused(
                Ktx1Builder().Compressed(gl).Size(16384, 16384).Level(Bytes(size)).Build());
        }
    }
    Test_ExpectRefused(
        Ktx1Builder().Uncompressed(0x8058).Size(16384, 16384).Level(Bytes(4096)).Build());
    Test_ExpectRefused(Ktx2Builder().Format(37).Size(16384, 16384).Level(Bytes(4096)).Build());
}

}  // namespace
