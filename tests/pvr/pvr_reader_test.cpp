// The dispatch: identification, header checks, and what they leave behind.
#include "pvr/pvr_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

#include "koru_image_ptr.h"
#include "pvr/pvr_decoder.h"
#include "pvr/pvr_header.h"
#include "pvr_unit_helpers.h"

namespace koru {
namespace {

constexpr KORU_Char kName[] = {'n', 0};

const Bytes kLegacyPixel = PvrLegacyBuilder().Type(18).Size(1, 1).Data({1, 2, 3, 4}).Build();
const Bytes kV3Pixel =
    PvrV3Builder().Packed("rgba", {8, 8, 8, 8}).Size(1, 1).Data({5, 6, 7, 8}).Build();

using PvrReader = PvrStateTest;

int Read(const Bytes& bytes, std::uint32_t offset = 0) {
    SourceBuffer source = Test_BorrowPvr(bytes);
    source.offset = offset;
    return PvrDecodeSource(source, kName);
}

TEST_F(PvrReader, NeedsANameAndBytes) {
    for (const Bytes& file : {kLegacyPixel, kV3Pixel}) {
        SourceBuffer source = Test_BorrowPvr(file);
        EXPECT_EQ(PvrDecodeSource(source, nullptr), 0);
        EXPECT_EQ(source.offset, 0u);
    }
    SourceBuffer empty;
    EXPECT_EQ(PvrDecodeSource(empty, kName), 0);
    EXPECT_TRUE(Test_IsEmpty(surface_));
}

TEST_F(PvrReader, DecodersNeedAName) {
    const Bytes bytes(64);
    SourceBuffer source = Test_BorrowPvr(bytes);
    EXPECT_EQ(PvrDecodeLegacy(
                  source, nullptr,
                  {.height = 1, .width = 1, .flags = 18, .dataSize = 4, .magic = kPvrLegacyMagic}),
              0);
    EXPECT_EQ(PvrDecodeV3(source, nullptr, {.height = 1, .width = 1}), 0);
    EXPECT_EQ(source.offset, 0u);
    EXPECT_TRUE(Test_IsEmpty(surface_));
}

TEST_F(PvrReader, EitherHeaderIsReadWhereItStands) {
    for (const Bytes& file : {kLegacyPixel, kV3Pixel}) {
        Bytes shifted(7, 0xEE);
        Test_Append(shifted, file);
        EXPECT_EQ(Read(shifted, 7), 1);
        EXPECT_EQ(surface_.pixels.Data()[0], file[52]);
        EXPECT_EQ(Read(shifted), 0);
    }
}

TEST_F(PvrReader, AShortHeaderMovesNothing) {
    for (const Bytes& file : {kLegacyPixel, kV3Pixel}) {
        for (std::size_t size = 1; size < 52; ++size) {
            const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
            SourceBuffer source = Test_BorrowPvr(cut);
            EXPECT_EQ(PvrDecodeSource(source, kName), 0);
            EXPECT_EQ(source.offset, 0u);
        }
    }
}

TEST_F(PvrReader, SuccessDoesNotPromisePixels) {
    // No such format; a payload that is too short; no pixels.
    for (const Bytes& file : {
             PvrV3Builder().Compressed(4).Data(Bytes(64)).Build(),
             PvrV3Builder().Compressed(7).Data(Bytes(7)).Build(),
             PvrV3Builder().Compressed(0).Data(Bytes(31)).Build(),
             PvrV3Builder().Compressed(23).Data(Bytes(15)).Build(),
             PvrV3Builder().Compressed(7).Build(),
             PvrV3Builder().Compressed(23).Size(0, 4).Build(),
             PvrV3Builder().Compressed(7).Size(4, 0).Data(Bytes(8)).Build(),
             PvrV3Builder().Packed("rgba", {8, 8, 8, 8}).Data(Bytes(63)).Build(),
             PvrV3Builder().Packed("yuv", {8, 8, 8, 0}).Data(Bytes(64)).Build(),
             PvrLegacyBuilder().Type(12).Data(Bytes(64)).Build(),
             PvrLegacyBuilder().Type(19).Data(Bytes(64)).Build(),
             PvrLegacyBuilder().Type(18).Data(Bytes(63)).Build(),
             PvrLegacyBuilder().Type(21).Data(Bytes(47)).Build(),
             PvrLegacyBuilder().Type(25).Data(Bytes(31)).Build(),
             PvrLegacyBuilder().Type(54).Data(Bytes(7)).Build(),
             PvrLegacyBuilder().Type(36).Data(Bytes(15)).Build(),
         }) {
        EXPECT_EQ(Read(file), 1) << +file[8] << ' ' << +file[16];
        EXPECT_TRUE(Test_IsEmpty(surface_)) << +file[8] << ' ' << +file[16];
        EXPECT_EQ(surface_.reservedB, 0u) << "the alpha flag waits for pixels";
    }
}

TEST_F(PvrReader, WhatLiesOutsideTheFileIsAFailure) {
    for (const Bytes& file : {
             PvrLegacyBuilder().Type(18).Data(Bytes(64)).Set(PvrLegacyField::DataSize, 65).Build(),
             // Whether or not anything would be decoded.
             PvrLegacyBuilder().Type(14).Data(Bytes(64)).Set(PvrLegacyField::DataSize, 65).Build(),
             PvrV3Builder().Compressed(6).Set(PvrV3Field::MetadataSize, 1).Build(),
             PvrV3Builder().Compressed(4).MetadataBytes(Bytes(11)).Build(),
             PvrV3Builder().Compressed(6).Metadata(kTestPvrV3Word, 3, {0, 0}).Build(),
         }) {
        EXPECT_EQ(Read(file), 0) << +file[8] << ' ' << +file[16];
        EXPECT_TRUE(Test_IsEmpty(surface_)) << +file[8] << ' ' << +file[16];
    }
}

// --- LegacyCompressedFlag ----------------------------------------------------------------------

bool IsBetween(std::uint32_t value, std::uint32_t first, std::uint32_t last) {
    return value >= first && value <= last;
}

enum class Sort { Packed, Blocks, Neither };

Sort GetSort(std::uint32_t type) {
    const bool isPacked = IsBetween(type, 0, 9) || IsBetween(type, 16, 23) ||
                          IsBetween(type, 26, 27) || IsBetween(type, 37, 53) ||
                          IsBetween(type, 64, 68) || IsBetween(type, 80, 127) ||
                          IsBetween(type, 144, 181);
    if (isPacked) return Sort::Packed;
    const bool isBlocks = IsBetween(type, 10, 13) || IsBetween(type, 24, 25) ||
                          IsBetween(type, 28, 29) || IsBetween(type, 32, 36) ||
                          IsBetween(type, 54, 56) || IsBetween(type, 69, 70) ||
                          IsBetween(type, 128, 137);
    return isBlocks ? Sort::Blocks : Sort::Neither;
}

TEST_F(PvrReader, EveryLegacyTypeAndTheCompressedFlag) {
    const Bytes payload(1024, 1);
    int neitherCount = 0;
    for (std::uint32_t type = 0; type < 256; ++type) {
        const bool isDecoded = type == 18 || type == 21 || type == 24 || type == 25 || type == 32 ||
                               type == 34 || type == 36 || IsBetween(type, 54, 56);
        neitherCount += GetSort(type) == Sort::Neither ? 1 : 0;
        for (const bool before : {false, true}) {
            Test_ResetPvrState();
            LegacyCompressedFlag = before;
            EXPECT_EQ(Read(PvrLegacyBuilder().Type(type).Size(8, 8).Data(payload).Build()), 1)
                << type;
            const bool expected =
                GetSort(type) == Sort::Neither ? before : GetSort(type) == Sort::Blocks;
            EXPECT_EQ(LegacyCompressedFlag, expected) << type;
            EXPECT_EQ(Test_IsEmpty(surface_), !isDecoded) << type;
        }
    }
    // 14, 15, 30, 31, 57 to 63, 71 to 79, 138 to 143, 182 to 255.
    EXPECT_EQ(neitherCount, 4 + 7 + 9 + 6 + 74);
}

TEST_F(PvrReader, TheCompressedFlagIsSetBeforeTheDataAreRead) {
    const auto tooShort = [](std::uint32_t type) {
        return PvrLegacyBuilder().Type(type).Set(PvrLegacyField::DataSize, 1).Build();
    };
    EXPECT_EQ(Read(tooShort(32)), 0);
    EXPECT_TRUE(LegacyCompressedFlag);
    EXPECT_EQ(Read(tooShort(18)), 0);
    EXPECT_FALSE(LegacyCompressedFlag);
}

TEST_F(PvrReader, TheCompressedFlagIsOfValidLegacyFilesAlone) {
    const PvrLegacyBuilder blocks = PvrLegacyBuilder().Type(32).Data(Bytes(8));
    for (const PvrLegacyField field : {PvrLegacyField::Magic, PvrLegacyField::Width,
                                       PvrLegacyField::Height, PvrLegacyField::DataSize}) {
        EXPECT_EQ(Read(PvrLegacyBuilder(blocks).Set(field, 0).Build()), 0);
        EXPECT_FALSE(LegacyCompressedFlag);
    }
    EXPECT_EQ(Read(PvrV3Builder().Compressed(7).Data(Bytes(8)).Build()), 1);
    EXPECT_FALSE(LegacyCompressedFlag);
    EXPECT_EQ(Read(blocks.Build()), 1);
    EXPECT_TRUE(LegacyCompressedFlag);
    EXPECT_EQ(Read(kV3Pixel), 1);
    EXPECT_TRUE(LegacyCompressedFlag);
}

// --- Headers -----------------------------------------------------------------------------------

TEST_F(PvrReader, LegacyFieldsLieWhereTheyShould) {
    std::array<std::uint8_t, kPvrHeaderBytes> raw{};
    for (std::size_t i = 0; i < raw.size(); ++i) raw.at(i) = static_cast<std::uint8_t>(i + 1);
    const PvrLegacyHeader header = Pvr_LoadLegacyHeader(raw);
    EXPECT_EQ(header.headerSize, 0x04030201u);
    EXPECT_EQ(header.height, 0x08070605u);
    EXPECT_EQ(header.width, 0x0C0B0A09u);
    EXPECT_EQ(header.mipMapCount, 0x100F0E0Du);
    EXPECT_EQ(header.flags, 0x14131211u);
    EXPECT_EQ(header.dataSize, 0x18171615u);
    EXPECT_EQ(header.bitCount, 0x1C1B1A19u);
    EXPECT_EQ(header.magic, 0x302F2E2Du);
    EXPECT_EQ(header.surfaceCount, 0x34333231u);
    EXPECT_EQ(header.GetPixelType(), 0x11u);
    EXPECT_EQ(header.GetFlip(), 1u);
}

TEST_F(PvrReader, V3FieldsLieWhereTheyShould) {
    std::array<std::uint8_t, kPvrHeaderBytes> raw{};
    for (std::size_t i = 0; i < raw.size(); ++i) raw.at(i) = static_cast<std::uint8_t>(i + 1);
    const PvrV3Header header = Pvr_LoadV3Header(raw);
    EXPECT_EQ(header.flags, 0x08070605u);
    EXPECT_EQ(header.pixelFormat, 0x0C0B0A09u);
    EXPECT_EQ(header.channelNames, (std::array<std::uint8_t, 4>{9, 10, 11, 12}));
    EXPECT_EQ(header.channelWidths, (std::array<std::uint8_t, 4>{13, 14, 15, 16}));
    EXPECT_EQ(header.colorSpace, 0x14131211u);
    EXPECT_EQ(header.channelType, 0x18171615u);
    EXPECT_EQ(header.height, 0x1C1B1A19u);
    EXPECT_EQ(header.width, 0x201F1E1Du);
    EXPECT_EQ(header.depth, 0x24232221u);
    EXPECT_EQ(header.surfaceCount, 0x28272625u);
    EXPECT_EQ(header.faceCount, 0x2C2B2A29u);
    EXPECT_EQ(header.mipMapCount, 0x302F2E2Du);
    EXPECT_EQ(header.metadataSize, 0x34333231u);
}

TEST_F(PvrReader, FindsWhatIsWrongWithALegacyHeader) {
    const PvrLegacyHeader valid{
        .height = 1, .width = 1, .flags = 18, .dataSize = 4, .magic = 0x21525650};
    EXPECT_EQ(Pvr_FindFault(valid), PvrHeaderFault::None);
    const auto faultWith = [&](std::uint32_t PvrLegacyHeader::*field) {
        PvrLegacyHeader header = valid;
        header.*field = 0;
        return Pvr_FindFault(header);
    };
    EXPECT_EQ(faultWith(&PvrLegacyHeader::magic), PvrHeaderFault::Magic);
    EXPECT_EQ(faultWith(&PvrLegacyHeader::dataSize), PvrHeaderFault::DataSize);
    EXPECT_EQ(faultWith(&PvrLegacyHeader::width), PvrHeaderFault::Width);
    EXPECT_EQ(faultWith(&PvrLegacyHeader::height), PvrHeaderFault::Height);
}

// --- The name ----------------------------------------------------------------------------------

std::string GetStateName() {
    return {g_pvrState.name.begin(), std::find(g_pvrState.name.begin(), g_pvrState.name.end(), 0)};
}

TEST_F(PvrReader, MemoryIsAlwaysNamedMemoryPvr) {
    for (const Bytes& file : {kLegacyPixel, kV3Pixel, Bytes(1)}) {
        Test_ResetPvrState();
        const KoruImagePtr image(
            KORU_Load_PVR_From_Memory(file.data(), static_cast<std::uint32_t>(file.size()), 0));
        EXPECT_EQ(image != nullptr, file.size() > 1);
        EXPECT_EQ(GetStateName(), "memory.pvr");
    }
}

TEST_F(PvrReader, AFileIsNamedByItsPath) {
    TempFolder folder;
    Test_WriteFile(folder / "a.pvr", kV3Pixel);
    const KoruPath path = Test_ToKoruPath(folder / "a.pvr");
    const KoruImagePtr image(KORU_Load_PVR_From_File(path.c_str(), 0));
    EXPECT_NE(image, nullptr);
    EXPECT_EQ(GetStateName(), std::string(path.begin(), path.end()));
}

}  // namespace
}  // namespace koru
