// PVR files that are broken on purpose: the outcome where it is known, sound records always.
#include <gtest/gtest.h>
#include <korutex.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "hostile_files.h"
#include "pvr_builder.h"
#include "pvr_expectations.h"
#include "test_blocks.h"
#include "test_files.h"

namespace {

constexpr std::uint32_t kNoType = 0xFFFFFFFF;

/// One sort of payload, for an image of 8 x 8 pixels.
struct Kind {
    const char* name;
    std::uint32_t legacyType;  ///< kNoType: the legacy header has no such type.
    std::uint32_t formatLow;
    std::uint32_t formatHigh;
    Bytes payload;        ///< Not a byte more than needed.
    bool blackWhenEmpty;  ///< Else refused, as with any other short payload.
    unsigned channels;    ///< Of packed pixels; 0: blocks.

    [[nodiscard]] PvrLegacyBuilder StartLegacy() const {
        return PvrLegacyBuilder().Type(legacyType).Size(8, 8).Data(payload);
    }
    [[nodiscard]] PvrV3Builder StartV3() const { return StartV3Empty().Data(payload); }
    [[nodiscard]] PvrV3Builder StartV3Empty() const {
        return PvrV3Builder()
            .Set(PvrV3Field::FormatLow, formatLow)
            .Set(PvrV3Field::FormatHigh, formatHigh)
            .Size(8, 8);
    }
    [[nodiscard]] bool IsPacked() const { return channels != 0; }
};

void PrintTo(const Kind& kind, std::ostream* stream) { *stream << kind.name; }

std::vector<Kind> ListKinds() {
    const auto blocks = [](TestBlock (*makeBlock)(std::size_t), std::size_t texelBytes) {
        return Test_MakeBlockImage(makeBlock, texelBytes, 8, 8).blocks;
    };
    const auto word = [](std::string_view names) { return Test_ToPvrWord(names); };
    return {
        {"Pvrtc2", 24, 1, 0, Test_MakePvrtcImage(true, 8, 8, 1).blocks, false, 0},
        {"Pvrtc4", 25, 2, 0, Test_MakePvrtcImage(false, 8, 8, 1).blocks, false, 0},
        {"Etc1", 54, 6, 0, blocks(Test_EtcRgbBlock, 3), true, 0},
        {"Etc2Rgba", 56, 23, 0, blocks(Test_EtcRgbaBlock, 4), true, 0},
        {"EacRg11", kNoType, 26, 0, blocks(Test_Rg11Block, 4), true, 0},
        {"Dxt1", 32, 7, 0, blocks(Test_Bc1Block, 3), false, 0},
        {"Dxt5", 36, 11, 0, blocks(Test_Bc3Block, 4), false, 0},
        {"Rgba8888", 18, word("rgba"), 0x08080808, Test_MakeNoise(256, 1), false, 4},
        {"Rgb888", 21, word("rgb"), 0x00080808, Test_MakeNoise(192, 2), false, 3},
        {"Rgba4444", kNoType, word("bgra"), 0x04040404, Test_MakeNoise(256, 3), false, 4},
        {"L8", kNoType, word("l"), 0x00000008, Test_MakeNoise(64, 4), false, 1},
    };
}

void ExpectOutcome(const Bytes& file, bool loads) {
    Test_ExpectOutcome(KORU_Load_PVR_From_Memory, file, loads);
}

class PvrHostile : public testing::TestWithParam<Kind> {
  protected:
    const Kind& kind_ = GetParam();
};

TEST_P(PvrHostile, EveryFieldOfTheLegacyHeader) {
    if (kind_.legacyType == kNoType) return;
    const auto expect = [&](PvrLegacyField field, auto&& loads) {
        for (const std::uint32_t value : kHostileValues) {
            SCOPED_TRACE("field " + std::to_string(static_cast<int>(field)) + ", value " +
                         std::to_string(value));
            ExpectOutcome(kind_.StartLegacy().Set(field, value).Build(), loads(value));
        }
    };
    const auto always = [](std::uint32_t) { return true; };
    const auto never = [](std::uint32_t) { return false; };
    // Of a smaller image the payload has enough.
    const auto asExtent = [](std::uint32_t value) { return value >= 1 && value <= 3; };
    expect(PvrLegacyField::HeaderSize, always);
    expect(PvrLegacyField::Height, asExtent);
    expect(PvrLegacyField::Width, asExtent);
    expect(PvrLegacyField::MipMapCount, always);
    // Types 0 to 3, and 252 to 255.
    expect(PvrLegacyField::Flags, never);
    expect(PvrLegacyField::DataSize, never);
    expect(PvrLegacyField::BitCount, always);
    expect(PvrLegacyField::RedMask, always);
    expect(PvrLegacyField::GreenMask, always);
    expect(PvrLegacyField::BlueMask, always);
    expect(PvrLegacyField::AlphaMask, always);
    expect(PvrLegacyField::Magic, never);
    expect(PvrLegacyField::SurfaceCount, always);
}

TEST_P(PvrHostile, EveryFieldOfTheV3Header) {
    const auto expect = [&](PvrV3Field field, auto&& loads) {
        for (const std::uint32_t value : kHostileValues) {
            SCOPED_TRACE("field " + std::to_string(static_cast<int>(field)) + ", value " +
                         std::to_string(value));
            ExpectOutcome(kind_.StartV3().Set(field, value).Build(), loads(value));
        }
    };
    const auto always = [](std::uint32_t) { return true; };
    const auto never = [](std::uint32_t) { return false; };
    const auto asExtent = [](std::uint32_t value) { return value >= 1 && value <= 3; };
    expect(PvrV3Field::Version, never);
    expect(PvrV3Field::Flags, always);
    // Of blocks, 0 and 1 are PVRTC at 2 bits, 2 and 3 at 4 bits, which takes 32 bytes as well; no
    // channel has such a name.
    expect(PvrV3Field::FormatLow,
           [&](std::uint32_t value) { return !kind_.IsPacked() && value <= 3; });
    // Blocks as packed pixels have no names; packed pixels without widths are no number.
    expect(PvrV3Field::FormatHigh,
           [&](std::uint32_t value) { return kind_.IsPacked() ? value != 0 : value == 0; });
    expect(PvrV3Field::ColorSpace, always);
    expect(PvrV3Field::ChannelType, always);
    expect(PvrV3Field::Height, asExtent);
    expect(PvrV3Field::Width, asExtent);
    expect(PvrV3Field::Depth, always);
    expect(PvrV3Field::SurfaceCount, always);
    expect(PvrV3Field::FaceCount, always);
    expect(PvrV3Field::MipMapCount, always);
    // The payload is then too short, or not there.
    expect(PvrV3Field::MetadataSize,
           [&](std::uint32_t value) { return value == 0 || (value > 3 && kind_.blackWhenEmpty); });
}

TEST_P(PvrHostile, EveryTruncationOfALegacyFile) {
    if (kind_.legacyType == kNoType) return;
    const Bytes file = kind_.StartLegacy().Build();
    ExpectOutcome(file, true);
    for (std::size_t size = 0; size < file.size(); ++size) {
        const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
        for (const std::uint32_t flags : {0u, 1u, 2u, 3u}) {
            ASSERT_EQ(Test_LoadPvr(cut, flags), nullptr) << size << ", flags " << flags;
        }
    }
}

TEST_P(PvrHostile, EveryTruncationOfAV3File) {
    const auto expect = [&](const Bytes& metadata, std::size_t firstEntryBytes) {
        const Bytes file = kind_.StartV3().MetadataBytes(metadata).Build();
        const std::size_t start = kTestPvrHeaderBytes + metadata.size();
        ASSERT_EQ(file.size(), start + kind_.payload.size());
        ExpectOutcome(file, true);
        for (std::size_t size = 0; size < file.size(); ++size) {
            const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
            // Where not a byte of the payload is left but the first entry is, ETC is black.
            const bool loads = kind_.blackWhenEmpty &&
                               size >= kTestPvrHeaderBytes + firstEntryBytes && size <= start;
            for (const std::uint32_t flags : {0u, 1u, 2u, 3u}) {
                ASSERT_EQ(Test_LoadPvr(cut, flags) != nullptr, loads)
                    << size << " with " << metadata.size() << ", flags " << flags;
            }
        }
    };
    const Bytes orientation = Test_PvrEntry(kTestPvrV3Word, 3, {0, 1, 0});
    const Bytes border = Test_PvrEntry(kTestPvrV3Word, 2, Bytes(12, 1));
    Bytes both = border;
    Test_Append(both, orientation);
    expect({}, 0);
    expect(orientation, 15);
    expect(border, 12);
    expect(both, 12);
}

TEST_P(PvrHostile, EveryPayloadSizeFromNothingToTooMuch) {
    for (std::size_t size = 0; size <= kind_.payload.size() + 9; ++size) {
        Bytes payload = kind_.payload;
        payload.resize(size, 0xA5);
        const bool enough = size >= kind_.payload.size();
        ExpectOutcome(kind_.StartV3Empty().Data(payload).Build(),
                      enough || (size == 0 && kind_.blackWhenEmpty));
        if (kind_.legacyType == kNoType) continue;
        ExpectOutcome(PvrLegacyBuilder().Type(kind_.legacyType).Size(8, 8).Data(payload).Build(),
                      enough);
    }
}

/// Whether a load of this file, if it gives a record, gives one of a size that a test can bear.
bool IsBearable(const Bytes& file) {
    if (file.size() < kTestPvrHeaderBytes) return true;
    const auto word = [&](std::size_t at) {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < 4; ++i) value |= std::uint64_t{file[at + i]} << (8 * i);
        return value;
    };
    const bool isV3 = word(0) == kTestPvrV3Word;
    const std::uint64_t height = word(isV3 ? 24 : 4), width = word(isV3 ? 28 : 8);
    return height * width <= 1u << 20;
}

void ExpectSound(const Bytes& file, std::uint32_t flags) {
    if (IsBearable(file)) Test_ExpectSoundIfLoaded(KORU_Load_PVR_From_Memory, file, flags);
}

std::vector<Bytes> MakeFilesToMutate(const Kind& kind) {
    std::vector<Bytes> files{
        kind.StartV3()
            .Metadata(kTestPvrV3Word, 3, {0, 1, 0})
            .Metadata(kTestPvrV3Word, 2, Bytes(4))
            .Data(Bytes(7))
            .Build(),
        kind.StartV3().Build(),
    };
    if (kind.legacyType != kNoType) files.push_back(kind.StartLegacy().Raw(Bytes(7)).Build());
    return files;
}

TEST_P(PvrHostile, EveryByteChanged) {
    for (const Bytes& file : MakeFilesToMutate(kind_)) {
        for (std::size_t at = 0; at < file.size(); ++at) {
            Bytes mutated = file;
            for (const int flip : {0x01, 0x80, 0xFF}) {
                mutated[at] = static_cast<std::uint8_t>(file[at] ^ flip);
                ExpectSound(mutated, at % 4);
            }
            mutated[at] = 0;
            ExpectSound(mutated, 2);
            if (HasFailure()) return;
        }
    }
}

TEST_P(PvrHostile, RandomChanges) {
    std::mt19937 random(20 + kind_.formatLow);
    for (const Bytes& file : MakeFilesToMutate(kind_)) {
        for (int round = 0; round < 1500; ++round) {
            const Bytes changed = Test_ChangeAtRandom(file, random, 80);
            ExpectSound(changed, static_cast<std::uint32_t>(random() % 4));
            if (HasFailure()) return;
        }
    }
}

TEST_P(PvrHostile, SizesThatAreNotSmall) {
    // Every pair of odd extents with this payload: a record only where the payload does.
    for (const std::uint32_t width : {1u, 5u, 7u, 9u, 12u, 100u, 1000u}) {
        for (const std::uint32_t height : {1u, 5u, 7u, 9u, 12u, 100u, 1000u}) {
            ExpectSound(kind_.StartV3().Size(width, height).Build(), 2);
            ExpectSound(kind_.StartLegacy().Size(width, height).Build(), 0);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, PvrHostile, testing::ValuesIn(ListKinds()),
                         [](const auto& kind) { return std::string(kind.param.name); });

TEST(PvrHostileNoise, BehindTheIdentifiers) {
    std::mt19937 random(7);
    for (int round = 0; round < 4000; ++round) {
        Bytes file = round % 2 == 0 ? PvrLegacyBuilder().Build() : PvrV3Builder().Build();
        const bool isV3 = round % 2 == 1;
        file.resize(52 + random() % 300);
        for (std::size_t i = 4; i < file.size(); ++i) {
            if (!isV3 && i >= 44 && i < 48) continue;
            file[i] = static_cast<std::uint8_t>(random() % 3 == 0 ? random() % 60 : 0);
        }
        // Extents below 256 in either header.
        for (const std::size_t at : {isV3 ? 25u : 5u, isV3 ? 29u : 9u}) {
            Test_PokeLe(file, at, 0, 3);
        }
        ExpectSound(file, static_cast<std::uint32_t>(random() % 4));
        if (HasFailure()) return;
    }
}

TEST(PvrHostileSizes, HugeImagesOfLittleDataTakeNoMemory) {
    // 16384 x 16384 pixels, a gigabyte, but not without the payload.
    for (const std::size_t size : {std::size_t{1}, std::size_t{8}, std::size_t{4096}}) {
        for (const std::uint32_t number : {0u, 1u, 2u, 3u, 6u, 7u, 9u, 11u, 22u, 23u, 24u, 25u}) {
            Test_ExpectPvrRefused(
                PvrV3Builder().Compressed(number).Size(16384, 16384).Data(Bytes(size)).Build());
        }
        for (const std::uint32_t type : {18u, 21u, 24u, 25u, 32u, 34u, 36u, 54u, 55u, 56u}) {
            Test_ExpectPvrRefused(
                PvrLegacyBuilder().Type(type).Size(16384, 16384).Data(Bytes(size)).Build());
        }
        for (const char* names : {"rgba", "rgb", "l"}) {
            Test_ExpectPvrRefused(PvrV3Builder()
                                      .Packed(names, {8, 8, 8, 8})
                                      .Size(16384, 16384)
                                      .Data(Bytes(size))
                                      .Build());
        }
    }
}

TEST(PvrHostileSizes, SizesDoNotWrap) {
    // Sizes in bytes that in 32 bits would be small, or 0.
    const Bytes payload(4096, 1);
    for (const auto& [width, height] :
         {std::pair{0x40000000u, 1u}, std::pair{0x40000001u, 1u}, std::pair{1u, 0x40000000u},
          std::pair{0x55555556u, 1u}, std::pair{0x80000000u, 2u}, std::pair{2u, 0x80000001u},
          std::pair{0x10000u, 0x10000u}, std::pair{0x10001u, 0x10000u}, std::pair{0xFFFFFFFFu, 1u},
          std::pair{1u, 0xFFFFFFFFu}, std::pair{0xFFFFFFFDu, 4u},
          std::pair{0xFFFFFFFFu, 0xFFFFFFFFu}, std::pair{0x80000000u, 0x80000000u}}) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        for (std::uint32_t number = 0; number < 27; ++number) {
            Test_ExpectPvrRefused(
                PvrV3Builder().Compressed(number).Size(width, height).Data(payload).Build());
        }
        for (const std::uint32_t type : {18u, 21u, 24u, 25u, 32u, 34u, 36u, 54u, 55u, 56u}) {
            Test_ExpectPvrRefused(
                PvrLegacyBuilder().Type(type).Size(width, height).Data(payload).Build());
        }
        for (const PvrChannelNames& names : Test_ListPvrChannelNames()) {
            for (const PvrChannelWidths& widths :
                 {PvrChannelWidths{8, 8, 8, 8}, PvrChannelWidths{8, 0, 0, 0}}) {
                Test_ExpectPvrRefused(PvrV3Builder()
                                          .Packed(names.names, widths)
                                          .Size(width, height)
                                          .Data(payload)
                                          .Build());
            }
        }
    }
    // Black images of ETC without payload: too large for a record's fields.
    for (const auto& [width, height] :
         {std::pair{0x10000u, 0x10000u}, std::pair{0x55555556u, 1u}, std::pair{0xFFFFFFFFu, 1u},
          std::pair{0x40000000u, 4u}, std::pair{0xFFFFFFFFu, 0xFFFFFFFFu}}) {
        for (std::uint32_t number = 22; number <= 26; ++number) {
            Test_ExpectPvrRefused(PvrV3Builder().Compressed(number).Size(width, height).Build());
        }
    }
}

}  // namespace
