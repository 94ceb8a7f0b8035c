// What a load may cost, as memory that is asked for: next to nothing for a small file that tells of
// a large image, except where such a file is told to give a blank one; and for every way a payload
// takes, a stated multiple of the file and of its image. Needs heap_faults.
#include <gtest/gtest.h>
#include <korutex.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "astc_builder.h"
#include "heap_faults.h"
#include "koru_image_ptr.h"
#include "ktx_builder.h"
#include "ktx_expectations.h"
#include "pvr_builder.h"
#include "test_files.h"
#include "test_records.h"
#include "wrapper_builder.h"

namespace {

/// Entries of level tables, records, streams, and what the heap rounds up to.
constexpr std::size_t kSmall = 8 << 10;

/// The codec's tables, of any footprint, and the room that is asked for before them.
constexpr std::size_t kContext = 34 << 20;

struct Container {
    KORU_Image* (*loadMemory)(const std::uint8_t*, std::uint32_t, std::uint32_t);
    KORU_Image* (*loadFile)(const KORU_Char*, std::uint32_t);
};

const Container kAstc{KORU_Load_ASTC_From_Memory, KORU_Load_ASTC_From_File};
const Container kKtx{KORU_Load_KTX_From_Memory, KORU_Load_KTX_From_File};
const Container kPvr{KORU_Load_PVR_From_Memory, KORU_Load_PVR_From_File};

struct NamedFile {
    std::string name;
    const Container* container;
    Bytes file;
    bool usesCodec = false;
};

KoruImagePtr Load(const NamedFile& file, std::uint32_t flags) {
    return KoruImagePtr(file.container->loadMemory(
        file.file.data(), static_cast<std::uint32_t>(file.file.size()), flags));
}

/// The payload of an earlier load stays until the next one, and counts for neither. The footprint
/// is none that would need the codec.
void DropPayload(const Container* container) {
    NamedFile small{"", container, AstcBuilder().Blocks(1, 1).Solid({}).Build()};
    if (container == &kKtx) small.file = Ktx1Builder().Compressed(0x9278).Level(Bytes(16)).Build();
    if (container == &kPvr) small.file = PvrV3Builder().Compressed(23).Data(Bytes(16)).Build();
    EXPECT_NE(Load(small, 0), nullptr);
}

/// The most that a load has at one time, record included.
std::size_t MeasureLoad(const NamedFile& file, std::uint32_t flags, bool loads) {
    DropPayload(file.container);
    HeapFaults_Arm(0);
    const KoruImagePtr image = Load(file, flags);
    HeapFaults_Disarm();
    EXPECT_EQ(image != nullptr, loads) << file.name << ", flags " << flags;
    return HeapFaults_GetPeakBytes();
}

// What a header can name.

struct KtxFormat {
    const char* name;
    bool isCompressed;
    std::uint32_t gl;
    std::uint32_t vk;  ///< 0: KTX 2.0 has no number for it.
    std::uint32_t blockBytes;
    std::uint32_t blockSide;

    [[nodiscard]] bool IsEtc() const { return gl == 0x8D64 || (gl >= 0x9270 && gl <= 0x9279); }
    [[nodiscard]] bool IsAstc() const { return gl >= 0x93B0 && gl <= 0x93DD; }
    [[nodiscard]] Ktx1Builder Start1() const {
        Ktx1Builder builder;
        isCompressed ? builder.Compressed(gl) : builder.Uncompressed(gl);
        return builder;
    }
    [[nodiscard]] std::size_t GetPayloadBytes(std::size_t side) const {
        const std::size_t across = (side + blockSide - 1) / blockSide;
        return across * across * blockBytes;
    }
};

/// One of each sort that the decoder tells apart.
const std::vector<KtxFormat> kKtxFormats{
    {"RGBA8", false, 0x8058, 37, 4, 1},
    {"RGB8", false, 0x8051, 23, 3, 1},
    {"RGB565", false, 0x8D62, 4, 3, 1},
    {"RGBA4", false, 0x8056, 2, 4, 1},
    {"RGB10_A2", false, 0x8059, 58, 4, 1},
    {"R11F_G11F_B10F", false, 0x8C3A, 122, 4, 1},
    {"RGB9_E5", false, 0x8C3D, 123, 4, 1},
    {"LUMINANCE8", false, 0x8040, 0, 1, 1},
    {"LUMINANCE_ALPHA", false, 0x190A, 0, 2, 1},
    {"DXT1", true, 0x83F1, 133, 8, 4},
    {"DXT3", true, 0x83F2, 135, 16, 4},
    {"DXT5", true, 0x83F3, 137, 16, 4},
    {"sRGB DXT1, three components", true, 0x8C4C, 132, 8, 4},
    {"ETC1", true, 0x8D64, 0, 8, 4},
    {"EAC R11", true, 0x9270, 153, 8, 4},
    {"EAC signed R11", true, 0x9271, 154, 8, 4},
    {"EAC RG11", true, 0x9272, 155, 16, 4},
    {"EAC signed RG11", true, 0x9273, 156, 16, 4},
    {"ETC2 RGB", true, 0x9274, 147, 8, 4},
    {"ETC2 sRGB", true, 0x9275, 148, 8, 4},
    {"ETC2 RGB A1", true, 0x9276, 149, 8, 4},
    {"ETC2 sRGB A1", true, 0x9277, 150, 8, 4},
    {"ETC2 RGBA", true, 0x9278, 151, 16, 4},
    {"ETC2 sRGB alpha", true, 0x9279, 152, 16, 4},
    {"ASTC 4x4", true, 0x93B0, 157, 16, 4},
    {"ASTC 12x12", true, 0x93BD, 183, 16, 12},
    {"ASTC sRGB 4x4", true, 0x93D0, 158, 16, 4},
    {"ASTC sRGB 12x12", true, 0x93DD, 184, 16, 12},
};

const std::vector<std::uint32_t> kPvrBlockNumbers{0, 1, 2, 3, 6, 7, 9, 11, 22, 23, 24, 25, 26};
const std::vector<std::uint32_t> kPvrLegacyTypes{18, 21, 24, 25, 32, 34, 36, 54, 55, 56};

bool IsPvrEtc(std::uint32_t number) { return number == 6 || (number >= 22 && number <= 26); }

/// Every container and format, an image of so many pixels, and a payload that is not enough.
std::vector<NamedFile> ListFilesOf(std::uint32_t width, std::uint32_t height,
                                   std::size_t payloadBytes) {
    const Bytes payload(payloadBytes, 0x55);
    std::vector<NamedFile> files;
    for (const std::uint8_t side : Bytes{0, 3, 4, 12, 255}) {
        Bytes file = AstcBuilder().Blocks(side, side).Size(width, height).Build();
        Test_Append(file, payload);
        files.push_back({"astc " + std::to_string(side), &kAstc, file});
    }
    for (const KtxFormat& format : kKtxFormats) {
        files.push_back({"ktx " + std::string(format.name), &kKtx,
                         format.Start1().Size(width, height).Level(payload).Build()});
        if (format.vk == 0) continue;
        files.push_back(
            {"ktx2 " + std::string(format.name), &kKtx,
             Ktx2Builder().Format(format.vk).Size(width, height).Level(payload).Build()});
    }
    for (const std::uint32_t number : kPvrBlockNumbers) {
        files.push_back(
            {"pvr " + std::to_string(number), &kPvr,
             PvrV3Builder().Compressed(number).Size(width, height).Data(payload).Build()});
    }
    for (const char* names : {"rgba", "rgb", "l"}) {
        for (const PvrChannelWidths& widths :
             {PvrChannelWidths{8, 8, 8, 8}, {4, 4, 4, 4}, {8, 0, 0, 0}}) {
            files.push_back(
                {"pvr " + std::string(names), &kPvr,
                 PvrV3Builder().Packed(names, widths).Size(width, height).Data(payload).Build()});
        }
    }
    for (const std::uint32_t type : kPvrLegacyTypes) {
        files.push_back({"legacy pvr " + std::to_string(type), &kPvr,
                         PvrLegacyBuilder().Type(type).Size(width, height).Data(payload).Build()});
    }
    const std::size_t plain = files.size();
    for (std::size_t i = 0; i < plain; ++i) {
        if (files[i].container != &kKtx) continue;
        files.push_back(
            {"wrapped " + files[i].name, &kKtx, WrapperBuilder().Store(files[i].file).Build()});
    }
    return files;
}

// --- Files that tell of more than they have ---

// Blank ones are none either: no record can count 65535 x 65535 pixels.
TEST(LoadCost, AHundredBytesThatTell65535Squared) {
    for (const std::size_t payloadBytes : {0u, 1u, 16u, 40u}) {
        for (const NamedFile& file : ListFilesOf(65535, 65535, payloadBytes)) {
            for (const std::uint32_t flags : {0u, 1u, 2u, 3u}) {
                ASSERT_LT(MeasureLoad(file, flags, false), 4096u) << file.name;
            }
        }
    }
}

bool IsToldBlank(const NamedFile& file, std::size_t payloadBytes) {
    const bool isKtx = file.container == &kKtx;
    if (isKtx && file.name.find("ASTC") != std::string::npos) return true;
    if (payloadBytes != 0) return false;
    if (isKtx)
        return file.name.find("ETC") != std::string::npos ||
               file.name.find("EAC") != std::string::npos;
    const bool isV3 = file.name.rfind("pvr ", 0) == 0;
    return isV3 && std::isdigit(file.name[4]) != 0 &&
           IsPvrEtc(static_cast<std::uint32_t>(std::stoul(file.name.substr(4))));
}

// 16384 x 16383 pixels, which a record can count.
TEST(LoadCost, AHundredBytesThatTellAGigabyte) {
    for (const std::size_t payloadBytes : {0u, 1u, 16u, 40u}) {
        for (const NamedFile& file : ListFilesOf(16384, 16383, payloadBytes)) {
            if (IsToldBlank(file, payloadBytes)) continue;
            for (const std::uint32_t flags : {0u, 2u, 3u}) {
                ASSERT_LT(MeasureLoad(file, flags, false), 4096u) << file.name;
            }
        }
    }
}

// Counts and sizes of 2^32 - 1 where nothing is: no room is made for what is not there.
TEST(LoadCost, CountsWithoutAnythingBehindThem) {
    const auto start1 = [] { return Ktx1Builder().Uncompressed(0x8058).Level(Bytes(64)); };
    const auto start2 = [] { return Ktx2Builder().Format(37).Level(Bytes(64)); };
    const auto start3 = [] { return PvrV3Builder().Compressed(6).Data(Bytes(4)); };
    std::vector<NamedFile> files;
    for (const std::uint32_t most : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        for (const Ktx1Field field : {Ktx1Field::MipmapLevels, Ktx1Field::BytesOfKeyValueData}) {
            files.push_back({"ktx field", &kKtx, start1().Set(field, most).Build()});
        }
        files.push_back(
            {"ktx level", &kKtx, Ktx1Builder().Compressed(0x9274).Level({}, most).Build()});
        Bytes pair = start1().KeyValue("a", "b").Build();
        Test_PokeLe(pair, 64, most, 4);
        files.push_back({"ktx pair", &kKtx, pair});
        files.push_back(
            {"ktx2 length", &kKtx, start2().Entry(0, Ktx2Entry::ByteLength, most).Build()});
        files.push_back(
            {"ktx2 offset", &kKtx, start2().Entry(0, Ktx2Entry::ByteOffset, most).Build()});
        files.push_back({"pvr size", &kPvr,
                         PvrLegacyBuilder()
                             .Type(18)
                             .Data(Bytes(64))
                             .Set(PvrLegacyField::DataSize, most)
                             .Build()});
        files.push_back(
            {"pvr metadata", &kPvr, start3().Set(PvrV3Field::MetadataSize, most).Build()});
        files.push_back(
            {"wrapper", &kKtx, WrapperBuilder().Store(start1().Build()).ToldCount(most).Build()});
    }
    files.push_back(
        {"ktx2 levels", &kKtx, start2().Set(Ktx2Field::LevelCount, 0x7FFFFFFF).Build()});
    for (const NamedFile& file : files) {
        ASSERT_LT(MeasureLoad(file, 2, false), 4096u) << file.name;
    }
}

// Levels and pairs by the million, in files that have them: nothing is kept of them.
TEST(LoadCost, ManyLevelsAreReadWithoutMemory) {
    const Bytes tail(4 << 20);
    const NamedFile files[] = {
        {"ktx", &kKtx,
         Ktx1Builder()
             .Uncompressed(0x8058)
             .Level(Bytes(64))
             .Set(Ktx1Field::MipmapLevels, 1 << 20)
             .Raw(tail)
             .Build()},
        {"ktx2", &kKtx,
         Ktx2Builder()
             .Format(37)
             .Level(Bytes(64))
             .Set(Ktx2Field::LevelCount, 1 << 17)
             .Raw(tail)
             .Build()},
        {"ktx pair", &kKtx,
         Ktx1Builder()
             .Uncompressed(0x8058)
             .KeyValue("key", std::string(4 << 20, 'v'))
             .Level(Bytes(64))
             .Build()},
        {"pvr metadata", &kPvr,
         PvrV3Builder()
             .Packed("rgba", {8, 8, 8, 8})
             .Metadata(kTestPvrV3Word, 3, tail)
             .Data(Bytes(64))
             .Build()},
    };
    for (const NamedFile& file : files) {
        EXPECT_LT(MeasureLoad(file, 2, true), kSmall) << file.name;
    }
}

// --- Small files that are told to give a large blank record ---

constexpr std::uint32_t kSide = 1024;
constexpr std::size_t kPixels = std::size_t{kSide} * kSide;

struct BlankCase {
    NamedFile file;
    TestColor color{0, 0, 0, 255};
};

/// All that there are. Each gives the same at any size whose record has less than 2^32 bytes.
std::vector<BlankCase> ListBlankCases() {
    std::vector<BlankCase> cases;
    const auto add = [&](std::string name, const Container& container, const Bytes& file,
                         bool usesCodec = false, const TestColor& color = {0, 0, 0, 255}) {
        cases.push_back({{std::move(name), &container, file, usesCodec}, color});
    };
    for (const KtxFormat& format : kKtxFormats) {
        const std::string name = format.name;
        if (!format.IsEtc() && !format.IsAstc()) continue;
        const auto start1 = [&] { return format.Start1().Size(kSide, kSide); };
        const auto start2 = [&] { return Ktx2Builder().Format(format.vk).Size(kSide, kSide); };
        // No payload at all.
        add("ktx, imageSize 0: " + name, kKtx, start1().Level({}).Build());
        add("ktx, no level: " + name, kKtx, start1().Set(Ktx1Field::Faces, 0).Build());
        if (format.vk != 0) {
            add("ktx2, byteLength 0: " + name, kKtx, start2().Level({}).Build());
            add("ktx2, byteOffset 0: " + name, kKtx,
                start2().Level(Bytes(16)).Entry(0, Ktx2Entry::ByteOffset, 0).Build());
        }
        if (!format.IsAstc()) continue;
        // A payload that is too short.
        add("ktx, short: " + name, kKtx, start1().Level(Bytes(1)).Build(), true);
        add("ktx2, short: " + name, kKtx, start2().Level(Bytes(1)).Build(), true);
    }
    for (const std::uint32_t number : {6u, 22u, 23u, 24u, 25u, 26u}) {
        const auto start = [&] { return PvrV3Builder().Compressed(number).Size(kSide, kSide); };
        add("pvr, no payload: " + std::to_string(number), kPvr, start().Build());
        // The metadata have it, or what is behind the end of the file.
        add("pvr, metadata to the end: " + std::to_string(number), kPvr,
            start().Data(Bytes(40)).Set(PvrV3Field::MetadataSize, 40).Build());
        add("pvr, metadata past the end: " + std::to_string(number), kPvr,
            start().Data(Bytes(40)).Set(PvrV3Field::MetadataSize, 0xFFFFFFFF).Build());
    }
    // No footprint of ASTC, and one block for up to 255 x 255 pixels: 400 bytes here.
    add("astc, footprint", kAstc,
        AstcBuilder().Blocks(255, 255).Size(kSide, kSide).Raw(25 * 16).Build(), false,
        {0, 0, 0, 0});
    return cases;
}

TEST(LoadCost, BlankRecordsCostTheirPixels) {
    for (const BlankCase& test : ListBlankCases()) {
        SCOPED_TRACE(test.file.name);
        ASSERT_LT(test.file.file.size(), 500u);
        const std::size_t codec = test.file.usesCodec ? kContext : 0;
        // As RGB, what is decoded and the record; one of them may have alpha.
        EXPECT_LE(MeasureLoad(test.file, 0, true), 7 * kPixels + codec + kSmall);
        EXPECT_LE(MeasureLoad(test.file, 2, true), 4 * kPixels + codec + kSmall);
        EXPECT_LE(MeasureLoad(test.file, 3, true), 4 * kPixels + codec + kSmall);
        const KoruImagePtr image = Load(test.file, 2);
        ASSERT_NE(image, nullptr);
        Test_ExpectSoundRecord(*image, 2);
        ASSERT_EQ(image->width, kSide);
        ASSERT_EQ(image->height, kSide);
        const Bytes pixels = Test_GetPixels(*image);
        for (std::size_t c = 0; c < 4; ++c) ASSERT_EQ(pixels[c], test.color.at(c));
        ASSERT_TRUE(std::equal(pixels.begin() + 4, pixels.end(), pixels.begin()));
    }
}

// Nor is any other format blank: the same payloads in every other one are refused.
TEST(LoadCost, NoOtherFileIsBlank) {
    const auto countBlank = [](std::size_t payloadBytes) {
        int blank = 0;
        for (const NamedFile& file : ListFilesOf(kSide, kSide, payloadBytes)) {
            const bool isTold = IsToldBlank(file, payloadBytes);
            blank += isTold ? 1 : 0;
            EXPECT_EQ(Load(file, 0) != nullptr, isTold) << file.name << ", " << payloadBytes;
        }
        return blank;
    };
    EXPECT_GT(countBlank(0), 30);
    EXPECT_GT(countBlank(1), 10);
}

// A wrapper's room counts as bytes that are there: with it a small file has the payload of any
// image, and the record shows the zeros. Nothing but the room itself is asked for besides.
TEST(LoadCost, AWrapperTellsThePayload) {
    for (const KtxFormat& format : kKtxFormats) {
        SCOPED_TRACE(format.name);
        const auto payloadBytes = static_cast<std::uint32_t>(format.GetPayloadBytes(kSide));
        const Bytes head = format.Start1().Size(kSide, kSide).Level({}, payloadBytes).Build();
        WrapperChunk room;
        room.decompressedBytes = payloadBytes;
        const NamedFile file{format.name, &kKtx, WrapperBuilder().Store(head).Chunk(room).Build(),
                             format.IsAstc()};
        ASSERT_LT(file.file.size(), 250u);
        const std::size_t codec = file.usesCodec ? kContext : 0;
        EXPECT_LE(MeasureLoad(file, 2, true), 2 * payloadBytes + 8 * kPixels + codec + kSmall);
    }
}

// --- Valid files ---

struct ValidFile {
    NamedFile file;
    std::size_t pixelCount;
};

std::vector<ValidFile> ListValidFiles(std::uint32_t side = 512) {
    const std::size_t count = std::size_t{side} * side;
    std::vector<ValidFile> files;
    for (const KtxFormat& format : kKtxFormats) {
        const Bytes payload(format.GetPayloadBytes(side), 0x41);
        files.push_back({{"ktx " + std::string(format.name), &kKtx,
                          format.Start1().Size(side, side).Level(payload).Build(), format.IsAstc()},
                         count});
        if (format.vk == 0) continue;
        files.push_back({{"ktx2 " + std::string(format.name), &kKtx,
                          Ktx2Builder().Format(format.vk).Size(side, side).Level(payload).Build(),
                          format.IsAstc()},
                         count});
    }
    for (const std::uint32_t number : kPvrBlockNumbers) {
        files.push_back(
            {{"pvr " + std::to_string(number), &kPvr,
              PvrV3Builder().Compressed(number).Size(side, side).Data(Bytes(count)).Build()},
             count});
    }
    for (const char* names : {"rgba", "rgb", "l"}) {
        for (const PvrChannelWidths& widths : {PvrChannelWidths{8, 8, 8, 8},
                                               {8, 8, 8, 0},
                                               {10, 10, 10, 2},
                                               {5, 6, 5, 0},
                                               {4, 4, 4, 4},
                                               {8, 0, 0, 0}}) {
            files.push_back({{"pvr " + std::string(names), &kPvr,
                              PvrV3Builder()
                                  .Packed(names, widths)
                                  .Size(side, side)
                                  .Data(Bytes(count * 4))
                                  .Build()},
                             count});
        }
    }
    for (const std::uint32_t type : kPvrLegacyTypes) {
        files.push_back(
            {{"legacy pvr " + std::to_string(type), &kPvr,
              PvrLegacyBuilder().Type(type).Size(side, side).Data(Bytes(count * 4)).Build()},
             count});
    }
    for (const std::uint8_t block : Bytes{4, 6, 12}) {
        const std::size_t across = (side + block - 1u) / block;
        files.push_back({{"astc " + std::to_string(block), &kAstc,
                          AstcBuilder()
                              .Blocks(block, block)
                              .Size(side, side)
                              .Solid({1, 2, 3, 4}, across * across)
                              .Build(),
                          true},
                         count});
    }
    return files;
}

// The payload's copy, and eight bytes a pixel: decoded ones and the surface's, or the surface's and
// the record's. A file has its own bytes besides.
TEST(LoadCost, ValidFilesCostTwiceTheirBytesAndEightAPixel) {
    TempFolder folder;
    const KoruPath path = Test_ToKoruPath(folder / "file");
    for (const auto& [file, pixelCount] : ListValidFiles()) {
        SCOPED_TRACE(file.name);
        const std::size_t codec = file.usesCodec ? kContext : 0;
        const std::size_t bound = file.file.size() + 8 * pixelCount + codec + kSmall;
        for (const std::uint32_t flags : {0u, 1u, 2u}) {
            EXPECT_LE(MeasureLoad(file, flags, true), bound) << flags;
        }
        Test_WriteFile(folder / "file", file.file);
        DropPayload(file.container);
        HeapFaults_Arm(0);
        const KoruImagePtr image(file.container->loadFile(path.c_str(), 0));
        HeapFaults_Disarm();
        EXPECT_NE(image, nullptr);
        EXPECT_LE(HeapFaults_GetPeakBytes(), bound + file.file.size());
    }
}

// Nothing of an image's size lies between the payload and the record: no more than pieces. The
// payload of a file is the file itself. With RGB records most formats convert.
TEST(LoadCost, ValidFilesCostTheirBytesTheRecordAndPieces) {
    constexpr std::size_t kPieces = 1 << 20;
    TempFolder folder;
    const KoruPath path = Test_ToKoruPath(folder / "file");
    for (const auto& [file, pixelCount] : ListValidFiles(kSide)) {
        SCOPED_TRACE(file.name);
        const std::size_t codec = file.usesCodec ? kContext : 0;
        Test_WriteFile(folder / "file", file.file);
        for (const std::uint32_t flags : {0u, 2u}) {
            const std::size_t bound =
                file.file.size() + pixelCount * (flags == 2 ? 4 : 3) + codec + kPieces;
            // Packed pixels that become the record's are there once.
            EXPECT_LE(MeasureLoad(file, flags, true), bound) << flags;
            DropPayload(file.container);
            HeapFaults_Arm(0);
            const KoruImagePtr image(file.container->loadFile(path.c_str(), flags));
            HeapFaults_Disarm();
            EXPECT_NE(image, nullptr);
            EXPECT_LE(HeapFaults_GetPeakBytes(), bound) << flags << ", from a file";
        }
    }
}

// In KTX files an ASTC image needs memory for RGBA pixels, whatever its record takes.
TEST(LoadCost, AstcInKtxAsksForAnRgbaImage) {
    constexpr std::uint32_t kHuge = 8184;
    constexpr std::size_t kHugePixels = std::size_t{kHuge} * kHuge;
    const NamedFile file{"ASTC", &kKtx,
                         Ktx1Builder()
                             .Compressed(0x93BD)
                             .Size(kHuge, kHuge)
                             .Level(Bytes(kHugePixels / 144 * 16))
                             .Build()};
    ASSERT_LT(3 * kHugePixels + kContext, 4 * kHugePixels);
    EXPECT_GE(MeasureLoad(file, KORU_FLAG_HEADER_ONLY, true), 4 * kHugePixels);
}

// A record without pixels costs none: they are asked for, but not touched, and the payload is not
// copied.
TEST(LoadCost, HeaderOnlyLoadsTouchNoPixels) {
    if (std::getenv("MALLOC_PERTURB_") != nullptr) {
        GTEST_SKIP() << "this heap writes to all that it gives";
    }
    constexpr std::uint32_t kLarge = 4096;
    const NamedFile files[] = {
        {"S3TC", &kKtx,
         Ktx1Builder()
             .Compressed(0x83F1)
             .Size(kLarge, kLarge)
             .Level(Bytes(std::size_t{kLarge} * kLarge / 2))
             .Build()},
        {"packed", &kKtx,
         Ktx1Builder()
             .Uncompressed(0x8058)
             .Size(kLarge, kLarge)
             .Level(Bytes(std::size_t{kLarge} * kLarge * 4))
             .Build()},
        {"PVRTC", &kPvr,
         PvrV3Builder()
             .Compressed(3)
             .Size(kLarge, kLarge)
             .Data(Bytes(kLarge * kLarge / 2))
             .Build()},
        {"ASTC", &kAstc,
         AstcBuilder().Blocks(8, 8).Size(kLarge, kLarge).Solid({}, kLarge * kLarge / 64).Build()},
    };
    for (const NamedFile& file : files) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            constexpr long kKibibytes = 2 << 10;
            rusage before{}, after{};
            getrusage(RUSAGE_SELF, &before);
            const bool loads = Load(file, KORU_FLAG_HEADER_ONLY) != nullptr;
            getrusage(RUSAGE_SELF, &after);
            _exit(loads && after.ru_maxrss - before.ru_maxrss < kKibibytes ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << file.name;
    }
}

// The same of what the last wrapper gives, and the bytes of the one before it.
TEST(LoadCost, WrappedFilesCostTwiceTheJoinedBytesAndEightAPixel) {
    for (const auto& [file, pixelCount] : ListValidFiles()) {
        if (file.container != &kKtx || file.usesCodec) continue;
        SCOPED_TRACE(file.name);
        for (const int depth : {1, 2, 8}) {
            const NamedFile wrapped{file.name, &kKtx, Test_WrapDeep(file.file, depth)};
            EXPECT_LE(MeasureLoad(wrapped, 0, true),
                      2 * wrapped.file.size() + 8 * pixelCount + kSmall)
                << depth;
        }
    }
}

/// `byteCount` zeros in a 255th of them.
Bytes MakeLz4Zeros(std::size_t byteCount) {
    return Lz4Builder().Sequence({0}, 1, byteCount - 6).Finish(Bytes(5));
}

// Wrappers that expand 200 times, within one another: each level has its own bytes, and two levels
// are there at a time, not all.
TEST(LoadCost, WrappersWithinWrappersHoldTwoAtATime) {
    constexpr std::size_t kInner = 16 << 20;
    const Bytes head = Ktx1Builder().Uncompressed(0x8058).Size(1, 1).Level(Bytes(4), 4).Build();
    Bytes file = WrapperBuilder()
                     .Store(head)
                     .Block(MakeLz4Zeros(kInner), static_cast<std::uint32_t>(kInner))
                     .Build();
    ASSERT_LT(file.size(), kInner / 200);
    const std::size_t joined = file.size();
    for (int i = 1; i < 8; ++i) file = WrapperBuilder().Store(file).Build();
    const NamedFile nest{"nest", &kKtx, file};
    EXPECT_LE(MeasureLoad(nest, 2, true), kInner + head.size() + 2 * joined + 2 * kSmall);
}

// Of 2^31 - 1 bytes and more, LZ4's count of bytes ends; the room does not.
TEST(LoadCost, AChunkOfMoreThanAnIntCounts) {
    if (std::getenv("MALLOC_PERTURB_") != nullptr) {
        GTEST_SKIP() << "this heap writes to all that it gives";
    }
    const Bytes head =
        Ktx1Builder().Uncompressed(0x8058).Size(2, 2).Level(Test_CountUp(16)).Build();
    for (const std::uint32_t size : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFCu, 0xFFFFFFFFu}) {
        SCOPED_TRACE(size);
        void* room = std::calloc(std::size_t{size} + 4096, 1);
        std::free(room);
        if (room == nullptr) GTEST_SKIP() << "this machine has no room to promise";
        const NamedFile file{"room", &kKtx,
                             WrapperBuilder().Block(Test_StoreInLz4(head), size).Build()};
        EXPECT_LE(MeasureLoad(file, 2, true), size + kSmall);
        const KoruImagePtr image = Load(file, 2);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(Test_GetPixels(*image), Test_CountUp(16));
    }
}

// Room for 2^30 sizes of levels, of 2^32 - 1 that are told: too few, which the count alone says. A
// walk through the room would take seconds for each of the hundred.
TEST(LoadCost, LevelsThatHaveNoRoomAreNotWalked) {
    constexpr std::uint32_t kRoom = 0xFFFFFFF0;
    if (std::getenv("MALLOC_PERTURB_") != nullptr) {
        GTEST_SKIP() << "this heap writes to all that it gives";
    }
    void* room = std::calloc(std::size_t{kRoom} + 4096, 1);
    std::free(room);
    if (room == nullptr) GTEST_SKIP() << "this machine has no room to promise";
    const Bytes heads[] = {
        Ktx1Builder()
            .Uncompressed(0x8058)
            .Size(1, 1)
            .Level(Bytes(4))
            .Set(Ktx1Field::MipmapLevels, 0xFFFFFFFF)
            .Build(),
        Ktx2Builder()
            .Format(37)
            .Size(1, 1)
            .Level(Bytes(4))
            .Set(Ktx2Field::LevelCount, 0x7FFFFFFF)
            .Build(),
    };
    for (const Bytes& head : heads) {
        const Bytes block = Test_StoreInLz4(head);
        const NamedFile file{"levels", &kKtx, WrapperBuilder().Block(block, kRoom).Build()};
        for (int i = 0; i < 50; ++i) ASSERT_EQ(Load(file, 0), nullptr);
    }
}

// A record that tells 2^30 - 1 rows and holds a pixel and a byte of them: the conversion ends with
// the pixel. The fifty would take minutes otherwise, and this program has a time limit.
TEST(LoadCost, WritersEndWithTheRecordsPixels) {
    constexpr std::uint32_t kRows = 0x3FFFFFFF;
    if (std::getenv("MALLOC_PERTURB_") != nullptr) {
        GTEST_SKIP() << "this heap writes to all that it gives";
    }
    void* room = std::calloc(std::size_t{kRows} * 4 + 4096, 1);
    std::free(room);
    if (room == nullptr) GTEST_SKIP() << "this machine has no room to promise";
    TempFolder folder;
    const KoruPath path = Test_ToKoruPath(folder / "stub");
    for (int i = 0; i < 50; ++i) {
        const KoruImagePtr image = Test_MakeRecord(2, 1, 0);
        ASSERT_NE(image, nullptr);
        image->width = 1;
        image->height = kRows;
        image->dataSize = i % 2 == 0 ? 4 : 5;
        EXPECT_EQ(KORU_Write_ASTC_To_File(path.c_str(), image.get()), 0);
        ASSERT_EQ(image->bitsPerPixel, 32u);
        EXPECT_EQ(image->dataSize, kRows * 4);
        EXPECT_EQ(Bytes(image->pixels, image->pixels + 12),
                  Bytes({1, 2, 3, 255, 0, 0, 0, 0, 0, 0, 0, 0}));
    }
}

}  // namespace
