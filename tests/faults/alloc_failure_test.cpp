// Every allocation of a load and of a write may fail: the result is null or 0, nothing leaks, and
// the next call works. Runs in a process of its own, whose allocator can refuse.
#include <astcenc.h>
#include <gtest/gtest.h>
#include <korutex.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "astc_builder.h"
#include "heap_faults.h"
#include "koru_image_ptr.h"
#include "ktx_builder.h"
#include "pvr_builder.h"
#include "pvr_expectations.h"
#include "test_files.h"
#include "test_records.h"
#include "wrapper_builder.h"

namespace {

const Bytes kFile = AstcBuilder().Size(5, 5).Solid({1, 2, 3, 4}, 4).Build();

KORU_Image* LoadMemory(std::uint32_t flags) {
    return KORU_Load_ASTC_From_Memory(kFile.data(), static_cast<std::uint32_t>(kFile.size()),
                                      flags);
}

/// The two ways into one format.
struct LoadDoors {
    KORU_Image* (*fromMemory)(const std::uint8_t*, std::uint32_t, std::uint32_t);
    KORU_Image* (*fromFile)(const KORU_Char*, std::uint32_t);
};
constexpr LoadDoors kAstcDoors{KORU_Load_ASTC_From_Memory, KORU_Load_ASTC_From_File};
constexpr LoadDoors kKtxDoors{KORU_Load_KTX_From_Memory, KORU_Load_KTX_From_File};
constexpr LoadDoors kPvrDoors{KORU_Load_PVR_From_Memory, KORU_Load_PVR_From_File};

std::ptrdiff_t CountDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
}

class AllocationFailure : public testing::Test {
  protected:
    // The codec does not survive a failure of its own; the library asks for the codec's memory
    // before it calls it, and that request counts here.
    AllocationFailure() {
        HeapFaults_SpareLibraryOf(reinterpret_cast<const void*>(&astcenc_context_alloc));
        Test_WriteFile(folder_ / "five.astc", kFile);
        path_ = Test_ToKoruPath(folder_ / "five.astc");
    }

    /// Fails allocation 1, 2, 3, ... of `load` until none is left to fail.
    void FailEach(const std::function<KORU_Image*()>& load, std::size_t atLeast,
                  std::uint8_t firstByte = 1) {
        KoruImagePtr(load()).reset();  // what a first load leaves behind is there
        const std::ptrdiff_t openBefore = CountDescriptors();
        const std::ptrdiff_t liveBefore = HeapFaults_GetLiveBlocks();
        std::size_t failed = 0;
        for (std::size_t n = 1;; ++n) {
            HeapFaults_Arm(n);
            KORU_Image* image = load();
            const std::size_t asked = HeapFaults_Disarm();
            if (asked < n) {
                EXPECT_NE(image, nullptr);
                KORU_Delete_Image(image);
                break;
            }
            ++failed;
            EXPECT_EQ(image, nullptr) << "allocation " << n << " failed";
            KORU_Delete_Image(image);

            const KoruImagePtr next(load());
            ASSERT_NE(next, nullptr) << "the load after allocation " << n << " failed";
            if (next->pixels != nullptr) {
                EXPECT_EQ(next->pixels[0], firstByte);
            }
        }
        EXPECT_EQ(HeapFaults_GetLiveBlocks(), liveBefore) << "a leak";
        EXPECT_EQ(CountDescriptors(), openBefore) << "a file stays open";
        EXPECT_GE(failed, atLeast);
    }

    /// From memory in every layout, and from a file, which takes the path, the stream and the
    /// file's bytes besides. `atLeast` is for RGBA; the other layouts have three in any case.
    void FailEachWay(const LoadDoors& doors, const Bytes& file, std::size_t atLeast,
                     std::uint8_t firstByte) {
        for (const std::uint32_t flags : {KORU_FLAG_RGBA, 0u, KORU_FLAG_HEADER_ONLY}) {
            SCOPED_TRACE(flags);
            FailEach(
                [&] {
                    return doors.fromMemory(file.data(), static_cast<std::uint32_t>(file.size()),
                                            flags);
                },
                flags == KORU_FLAG_RGBA ? atLeast : 3, firstByte);
        }
        SCOPED_TRACE("from a file");
        Test_WriteFile(folder_ / "file", file);
        const KoruPath path = Test_ToKoruPath(folder_ / "file");
        FailEach([&] { return doors.fromFile(path.c_str(), KORU_FLAG_RGBA); }, atLeast + 3,
                 firstByte);
    }

    TempFolder folder_;
    KoruPath path_;
};

// Level entry, payload, pixels, the codec's memory, record.
TEST_F(AllocationFailure, OfALoadFromMemory) {
    FailEach([] { return LoadMemory(KORU_FLAG_RGBA); }, 5);
}

// The same and the record's own pixels.
TEST_F(AllocationFailure, OfALoadFromMemoryAsRgb) {
    FailEach([] { return LoadMemory(0); }, 6);
}

TEST_F(AllocationFailure, OfAHeaderOnlyLoad) {
    FailEach([] { return LoadMemory(KORU_FLAG_HEADER_ONLY); }, 5);
}

// A footprint that there is none of gives transparent black, without a codec.
TEST_F(AllocationFailure, OfABlankAstcImage) {
    FailEachWay(kAstcDoors, AstcBuilder().Blocks(7, 7).Size(5, 5).Raw(16).Build(), 4, 0);
}

// The path, the stream and the file's bytes besides.
TEST_F(AllocationFailure, OfALoadFromFile) {
    FailEach([this] { return KORU_Load_ASTC_From_File(path_.c_str(), KORU_FLAG_RGBA); }, 8);
}

// Level entry, payload, record, and what lies between: nothing where the payload itself becomes the
// pixels, decoded blocks or converted pixels, or both.
TEST_F(AllocationFailure, OfEveryWayOfKtx) {
    struct Case {
        const char* name;
        Bytes file;
        std::uint8_t firstByte;
        std::size_t atLeast;
    };
    const Bytes grey{0x80, 0x80, 0x80, 0, 0, 0, 0, 0};  // ETC: 136 and a modifier of 2
    const Bytes alphaAndGrey{9, 0, 0, 0, 0, 0, 0, 0, 0x80, 0x80, 0x80, 0, 0, 0, 0, 0};
    const Case cases[] = {
        {"packed, handed over", Ktx1Builder().Uncompressed(0x8058).Level(Bytes(64, 7)).Build(), 7,
         3},
        {"packed, converted", Ktx1Builder().Uncompressed(0x8056).Level(Bytes(64, 0x77)).Build(),
         0x77, 4},
        {"S3TC", Ktx1Builder().Compressed(0x83F1).Level({0xFF, 0xFF, 0, 0, 0, 0, 0, 0}).Build(),
         255, 4},
        {"S3TC, three components, rows padded",
         Ktx1Builder().Compressed(0x8C4C).Size(3, 4).Level(Bytes(8, 0)).Build(), 0, 5},
        {"ETC", Ktx1Builder().Compressed(0x9278).Level(alphaAndGrey).Build(), 138, 4},
        {"ETC, three components", Ktx2Builder().Format(147).Level(grey).Build(), 138, 5},
        {"ETC, no payload", Ktx2Builder().Format(147).Build(), 0, 3},
        {"ASTC",
         Ktx2Builder().Format(157).Level(AstcBuilder().Solid({6, 5, 4, 3}).GetPayload()).Build(), 6,
         5},
        {"ASTC, refused", Ktx2Builder().Format(157).Level(Bytes(15, 0)).Build(), 0, 5},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        FailEachWay(kKtxDoors, test.file, test.atLeast, test.firstByte);
    }
}

// As of KTX; PVRTC is decoded into a buffer of its own, too.
TEST_F(AllocationFailure, OfEveryWayOfPvr) {
    struct Case {
        std::string name;
        Bytes file;
        std::uint8_t firstByte;
        std::size_t atLeast;
    };
    const Bytes grey{0x80, 0x80, 0x80, 0, 0, 0, 0, 0};  // ETC: 136 and a modifier of 2
    const Bytes alphaAndGrey{9, 0, 0, 0, 0, 0, 0, 0, 0x80, 0x80, 0x80, 0, 0, 0, 0, 0};
    const Bytes white{0xFF, 0xFF, 0, 0, 0, 0, 0, 0};
    const Bytes alphaAndWhite{0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0};
    const auto v3 = [](std::uint32_t number) { return PvrV3Builder().Compressed(number); };
    const auto legacy = [](std::uint32_t type) { return PvrLegacyBuilder().Type(type); };
    const PvrChannelWidths eights{8, 8, 8, 8};
    std::vector<Case> cases{
        {"S3TC, three components", v3(7).Data(white).Build(), 255, 4},
        {"S3TC, rows padded", v3(7).Size(3, 4).Data(white).Build(), 255, 5},
        {"S3TC, legacy", legacy(32).Data(white).Build(), 255, 4},
        {"DXT3", v3(9).Data(alphaAndWhite).Build(), 255, 4},
        {"DXT3, legacy", legacy(34).Data(alphaAndWhite).Build(), 255, 4},
        {"DXT5", v3(11).Data(alphaAndWhite).Build(), 255, 4},
        {"DXT5, legacy", legacy(36).Data(alphaAndWhite).Build(), 255, 4},
        {"ETC1", v3(6).Data(grey).Build(), 138, 5},
        {"ETC1, legacy", legacy(54).Data(grey).Build(), 138, 5},
        {"ETC, rows padded", v3(22).Size(3, 4).Data(grey).Build(), 138, 5},
        {"ETC with alpha", v3(23).Data(alphaAndGrey).Build(), 138, 4},
        {"ETC with alpha, legacy", legacy(55).Data(alphaAndGrey).Build(), 138, 4},
        {"ETC with alpha, cropped", v3(23).Size(3, 3).Data(alphaAndGrey).Build(), 138, 4},
        {"EAC, black", v3(26).Data(Bytes(16)).Build(), 0, 4},
        {"ETC, no payload", v3(6).Build(), 0, 3},
        {"packed, handed over", PvrV3Builder().Packed("rgba", eights).Data(Bytes(64, 7)).Build(), 7,
         3},
        {"packed, handed over, legacy", legacy(18).Data(Bytes(64, 7)).Build(), 7, 3},
        {"packed, three channels", legacy(21).Data(Bytes(48, 7)).Build(), 7, 4},
        {"packed, converted",
         PvrV3Builder().Packed("rgba", {4, 4, 4, 4}).Data(Bytes(64, 0x77)).Build(), 0x77, 4},
        {"packed, black",
         PvrV3Builder().Packed("rgba", {16, 16, 16, 16}).Data(Bytes(128, 7)).Build(), 0, 4},
        {"metadata",
         PvrV3Builder()
             .Packed("rgba", eights)
             .Metadata(kTestPvrV3Word, 3, {0, 1, 0})
             .Data(Bytes(64, 7))
             .Build(),
         7, 3},
    };
    for (const PvrtcFormat& format : Test_ListPvrtcFormats()) {
        const PvrtcImage image = Test_MakePvrtcImage(format.is2Bpp, 16, 8, 1);
        for (const Bytes& file : format.MakeFiles(16, 8, image.blocks)) {
            cases.push_back({format.name, file, image.picture.rgba[0], 4});
        }
    }
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        FailEachWay(kPvrDoors, test.file, test.atLeast, test.firstByte);
    }
}

// Joined bytes besides, for each wrapper.
TEST_F(AllocationFailure, OfWrappedKtx) {
    const Bytes file = Ktx1Builder().Uncompressed(0x8056).Level(Bytes(64, 0x77)).Build();
    for (const int depth : {1, 2, 8}) {
        SCOPED_TRACE(depth);
        const Bytes wrapped = Test_WrapDeep(file, depth);
        const auto joinedBuffers = static_cast<std::size_t>(depth);
        for (const std::uint32_t flags : {KORU_FLAG_RGBA, 0u, KORU_FLAG_HEADER_ONLY}) {
            FailEach(
                [&] {
                    return KORU_Load_KTX_From_Memory(
                        wrapped.data(), static_cast<std::uint32_t>(wrapped.size()), flags);
                },
                joinedBuffers + 4, 0x77);
        }
        Test_WriteFile(folder_ / "wrapped.ktx", wrapped);
        const KoruPath path = Test_ToKoruPath(folder_ / "wrapped.ktx");
        FailEach([&] { return KORU_Load_KTX_From_File(path.c_str(), KORU_FLAG_RGBA); },
                 joinedBuffers + 7, 0x77);
    }
}

// A path or a stream without memory is a file that cannot be opened; rows that cannot be aligned
// are written as they are.
TEST_F(AllocationFailure, OfAWriteOfRows) {
    struct Writer {
        const char* name;
        std::int32_t (*write)(const KORU_Char*, KORU_Image*);
        std::size_t sizeOffset;
    };
    for (const Writer& writer :
         {Writer{"ktx", KORU_Write_KTX_To_File, 92}, Writer{"pvr", KORU_Write_PVR_To_File, 52}}) {
        SCOPED_TRACE(writer.name);
        const auto target = folder_ / writer.name;
        const KoruPath path = Test_ToKoruPath(target);
        const std::ptrdiff_t liveBefore = HeapFaults_GetLiveBlocks();
        int refused = 0, unaligned = 0;
        for (std::size_t n = 1;; ++n) {
            SCOPED_TRACE(n);
            std::filesystem::remove(target);
            const auto image = Test_MakeRecord(1, 2, 0);
            ASSERT_NE(image, nullptr);
            const KORU_Image before = *image;
            HeapFaults_Arm(n);
            const std::int32_t result = writer.write(path.c_str(), image.get());
            if (HeapFaults_Disarm() < n) {
                EXPECT_EQ(result, 1);
                EXPECT_EQ(image->stride, 4u);
                break;
            }
            Test_ExpectUntouched(*image, before);
            EXPECT_EQ(Test_GetPixels(*image), Test_CountUp(6));
            EXPECT_EQ(std::filesystem::exists(target), result == 1);
            ++(result == 1 ? unaligned : refused);
            if (result == 1) {
                const Bytes file = Test_ReadFile(target);
                EXPECT_EQ(Test_Slice(file, writer.sizeOffset, file.size()),
                          Bytes({6, 0, 0, 0, 1, 2, 3, 4, 5, 6}));
            }
            // The next call works.
            EXPECT_EQ(writer.write(path.c_str(), image.get()), 1);
            EXPECT_EQ(Test_GetPixels(*image), Bytes({1, 2, 3, 0, 4, 5, 6, 0}));
        }
        EXPECT_GE(refused, 2) << "the path, the stream";
        EXPECT_EQ(unaligned, 1);
        EXPECT_EQ(HeapFaults_GetLiveBlocks(), liveBefore) << "a leak";
    }
}

// Nothing to align or to convert: without path and stream there is no file, with them it is whole.
TEST_F(AllocationFailure, OfAWriteOfRgba) {
    struct Writer {
        const char* name;
        std::int32_t (*write)(const KORU_Char*, KORU_Image*);
        std::int32_t result;
        std::size_t fileBytes;
    };
    for (const Writer& writer : {Writer{"astc", KORU_Write_ASTC_To_File, 0, 20},
                                 Writer{"ktx", KORU_Write_KTX_To_File, 1, 96 + 24},
                                 Writer{"pvr", KORU_Write_PVR_To_File, 1, 56 + 24}}) {
        SCOPED_TRACE(writer.name);
        const auto target = folder_ / writer.name;
        const KoruPath path = Test_ToKoruPath(target);
        const auto image = Test_MakeRecord(3, 2, KORU_FLAG_RGBA);
        ASSERT_NE(image, nullptr);
        const KORU_Image before = *image;
        const std::ptrdiff_t openBefore = CountDescriptors();
        const std::ptrdiff_t liveBefore = HeapFaults_GetLiveBlocks();
        std::size_t n = 1;
        for (bool isWritten = false; !isWritten; ++n) {
            SCOPED_TRACE(n);
            Test_WriteFile(target, {1, 2, 3});
            HeapFaults_Arm(n);
            const std::int32_t result = writer.write(path.c_str(), image.get());
            isWritten = HeapFaults_Disarm() < n;
            EXPECT_EQ(result, isWritten ? writer.result : 0);
            // An old file that cannot be replaced stays.
            EXPECT_EQ(std::filesystem::file_size(target), isWritten ? writer.fileBytes : 3u);
            Test_ExpectUntouched(*image, before);
            EXPECT_EQ(Test_GetPixels(*image), Test_CountUp(24));
            EXPECT_EQ(writer.write(path.c_str(), image.get()), writer.result);
        }
        EXPECT_GE(n, 4u) << "path, stream, then none";
        EXPECT_EQ(HeapFaults_GetLiveBlocks(), liveBefore) << "a leak";
        EXPECT_EQ(CountDescriptors(), openBefore) << "a file stays open";
    }
}

TEST_F(AllocationFailure, OfAWrite) {
    const KoruPath target = Test_ToKoruPath(folder_ / "stub.astc");
    const std::ptrdiff_t liveBefore = HeapFaults_GetLiveBlocks();
    bool wasConverted = false;
    std::size_t n = 1;
    for (; !wasConverted; ++n) {
        const KoruImagePtr image(LoadMemory(0));
        ASSERT_NE(image, nullptr);
        HeapFaults_Arm(n);
        EXPECT_EQ(KORU_Write_ASTC_To_File(target.c_str(), image.get()), 0);
        const std::size_t asked = HeapFaults_Disarm();
        wasConverted = asked < n;
        EXPECT_EQ(image->bitsPerPixel, wasConverted ? 32u : 24u) << n;
        EXPECT_EQ(image->pixels[0], 1);
    }
    EXPECT_GE(n - 1, 4u) << "path, stream and converted pixels, then none";
    EXPECT_EQ(HeapFaults_GetLiveBlocks(), liveBefore) << "a leak";
}

/// What the process has mapped, in bytes.
std::size_t GetAddressSpace() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// Below what a load needs the result is null, above it a record; a crash nowhere, least of all
// inside the codec.
TEST(AddressSpaceLimit, EndsInNullOrARecord) {
    int failed = 0, loaded = 0;
    for (std::size_t mebibytes = 0; mebibytes <= 80; mebibytes += 2) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const std::size_t limit = GetAddressSpace() + (mebibytes << 20);
            const rlimit bound{limit, limit};
            if (setrlimit(RLIMIT_AS, &bound) != 0) _exit(2);
            const KORU_Image* image = LoadMemory(KORU_FLAG_RGBA);
            if (image == nullptr) _exit(1);
            _exit(Test_GetPixels(*image)[0] == 1 ? 0 : 3);  // a blank picture is no answer
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status)) << "a crash with " << mebibytes << " MiB";
        ASSERT_LE(WEXITSTATUS(status), 1);
        ++(WEXITSTATUS(status) == 0 ? loaded : failed);
    }
    EXPECT_GT(failed, 0);
    EXPECT_GT(loaded, 0);
}

/// What the codec allocates by itself for one image, at its peak.
std::size_t MeasureContextBytes() {
    HeapFaults_Arm(0);
    astcenc_config config{};
    EXPECT_EQ(astcenc_config_init(ASTCENC_PRF_LDR, 6, 6, 1, 60.0f, 0, &config), ASTCENC_SUCCESS);
    astcenc_context* context = nullptr;
    EXPECT_EQ(astcenc_context_alloc(&config, 1, &context), ASTCENC_SUCCESS);
    astcenc_context_free(context);
    HeapFaults_Disarm();
    return HeapFaults_GetPeakBytes();
}

// Nothing image-sized beside what must be there: no scratch, no second copy of the pixels.
TEST(PeakMemory, OfALoadIsPayloadRecordAndContext) {
    constexpr std::size_t kPayload = 683 * 683 * 16, kRecord = 4096 * 4096 * 4, kMebibyte = 1 << 20;
    const Bytes file =
        AstcBuilder().Blocks(6, 6).Size(4096, 4096).Solid({1, 2, 3, 4}, 683 * 683).Build();
    const auto load = [&](std::uint32_t flags) {
        HeapFaults_Arm(0);
        const KoruImagePtr image(KORU_Load_ASTC_From_Memory(
            file.data(), static_cast<std::uint32_t>(file.size()), flags));
        EXPECT_NE(image, nullptr);
        HeapFaults_Disarm();
        return HeapFaults_GetPeakBytes();
    };
    KoruImagePtr(LoadMemory(0)).reset();  // drops a large payload of an earlier load
    const std::size_t context = MeasureContextBytes();
    EXPECT_LE(load(KORU_FLAG_RGBA), kPayload + kRecord + context + kMebibyte);
    KoruImagePtr(LoadMemory(0)).reset();
    EXPECT_LE(load(KORU_FLAG_HEADER_ONLY), kPayload + kRecord + context + kMebibyte);
}

std::size_t MeasureKtxLoad(const Bytes& file, std::uint32_t flags) {
    // Drops a large payload of an earlier load.
    const Bytes small = Ktx1Builder().Compressed(0x9278).Level(Bytes(16, 0)).Build();
    KoruImagePtr(
        KORU_Load_KTX_From_Memory(small.data(), static_cast<std::uint32_t>(small.size()), 0))
        .reset();
    HeapFaults_Arm(0);
    const KoruImagePtr image(
        KORU_Load_KTX_From_Memory(file.data(), static_cast<std::uint32_t>(file.size()), flags));
    HeapFaults_Disarm();
    return HeapFaults_GetPeakBytes();
}

// Buffers that a step would only copy are handed over instead.
TEST(PeakMemory, OfAKtxLoadIsPayloadAndRecord) {
    constexpr std::size_t kRecord = 1024 * 1024 * 4, kBlocks = 1024 * 1024, kSmall = 4096;
    const Bytes blocks =
        Ktx1Builder().Compressed(0x83F3).Size(1024, 1024).Level(Bytes(kBlocks, 0)).Build();
    EXPECT_LE(MeasureKtxLoad(blocks, KORU_FLAG_RGBA), kBlocks + kRecord + kSmall);
    EXPECT_LE(MeasureKtxLoad(blocks, KORU_FLAG_HEADER_ONLY), kBlocks + kRecord + kSmall);
    const Bytes etc = Ktx2Builder().Format(151).Size(1024, 1024).Level(Bytes(kBlocks, 0)).Build();
    EXPECT_LE(MeasureKtxLoad(etc, KORU_FLAG_RGBA), kBlocks + kRecord + kSmall);
    const Bytes packed = Ktx2Builder().Format(37).Size(1024, 1024).Level(Bytes(kRecord, 0)).Build();
    EXPECT_LE(MeasureKtxLoad(packed, KORU_FLAG_RGBA), kRecord + kSmall);
}

// As of an ".astc" file: the codec decodes into the record's pixels.
TEST(PeakMemory, OfAnAstcLoadFromKtxIsPayloadRecordAndContext) {
    constexpr std::size_t kPayload = 512 * 512 * 16, kRecord = 4096 * 4096 * 4, kMebibyte = 1 << 20;
    const Bytes file = Ktx2Builder()
                           .Format(171)  // 8 x 8
                           .Size(4096, 4096)
                           .Level(AstcBuilder().Solid({1, 2, 3, 4}, 512 * 512).GetPayload())
                           .Build();
    const std::size_t context = MeasureContextBytes();
    EXPECT_LE(MeasureKtxLoad(file, KORU_FLAG_RGBA), kPayload + kRecord + context + kMebibyte);
}

TEST(PeakMemory, OfAShortKtxFileStaysSmall) {
    for (const Bytes& file :
         {Ktx1Builder().Compressed(0x8C4C).Size(16383, 16383).Level(Bytes(8, 0)).Build(),
          Ktx1Builder().Compressed(0x9274).Size(16383, 16383).Level(Bytes(8, 0)).Build(),
          Ktx1Builder().Compressed(0x9270).Size(16383, 16383).Level(Bytes(8, 0)).Build(),
          Ktx1Builder().Compressed(0x83F3).Size(16383, 16383).Level(Bytes(16, 0)).Build(),
          Ktx1Builder().Compressed(0x9278).Size(16383, 16383).Level(Bytes(16, 0)).Build(),
          Ktx1Builder().Uncompressed(0x8058).Size(16383, 16383).Level(Bytes(16, 0)).Build(),
          Ktx1Builder().Uncompressed(0x8058).Level({1, 2, 3}, 0xFFFFFFFF).Build(),
          Ktx2Builder()
              .Format(37)
              .Level({1})
              .Entry(0, Ktx2Entry::ByteLength, 0xFFFFFFFF)
              .Build()}) {
        EXPECT_LT(MeasureKtxLoad(file, KORU_FLAG_RGBA), 4096u);
    }
}

// The bytes of two wrappers at a time, or of the last one and the payload.
TEST(PeakMemory, OfAWrappedKtxLoadIsTwoBuffers) {
    constexpr std::size_t kPixels = 512 * 512 * 4, kSmall = 32 << 10;
    const Bytes file =
        Ktx1Builder().Uncompressed(0x8058).Size(512, 512).Level(Bytes(kPixels, 1)).Build();
    for (const int depth : {1, 2, 5}) {
        EXPECT_LE(MeasureKtxLoad(Test_WrapDeep(file, depth), KORU_FLAG_RGBA), 2 * kPixels + kSmall)
            << depth;
    }
}

TEST(PeakMemory, OfAWrapperWithoutChunksStaysSmall) {
    Bytes file = WrapperBuilder().Store(kFile).Build();
    for (const std::uint32_t count : {3u, 0x10000u, 0x80000000u, 0xFFFFFFFFu}) {
        Test_PokeLe(file, 4, count, 4);
        EXPECT_LT(MeasureKtxLoad(file, 0), 4096u) << count;
    }
    // Many told, none there.
    Bytes table = WrapperBuilder().ToldCount(1 << 17).Build();
    table.resize(8 + (8 << 17));
    EXPECT_LT(MeasureKtxLoad(table, 0), 4096u);
}

/// Loads in a process of its own; the memory that this took, in bytes. `isRight` of a load that
/// gave no picture of the file is false.
std::size_t MeasureResidentBytes(const Bytes& file, bool* isRight) {
    int channel[2] = {};
    EXPECT_EQ(pipe(channel), 0);
    const pid_t child = fork();
    if (child == 0) {
        rusage before{}, after{};
        getrusage(RUSAGE_SELF, &before);
        const KORU_Image* image =
            KORU_Load_KTX_From_Memory(file.data(), static_cast<std::uint32_t>(file.size()), 2);
        getrusage(RUSAGE_SELF, &after);
        const long kibibytes = after.ru_maxrss - before.ru_maxrss;
        const bool written = write(channel[1], &kibibytes, sizeof kibibytes) == sizeof kibibytes;
        _exit(written && image != nullptr && image->pixels[0] == 7 ? 0 : 1);
    }
    close(channel[1]);
    long kibibytes = -1;
    EXPECT_EQ(read(channel[0], &kibibytes, sizeof kibibytes),
              static_cast<ssize_t>(sizeof kibibytes));
    close(channel[0]);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    *isRight = status == 0;
    return static_cast<std::size_t>(kibibytes) << 10;
}

// Room that no block fills is asked for and not touched. A page may be a huge one.
TEST(PeakMemory, OfAWrapperThatPromisesMoreIsNotTouched) {
    if (std::getenv("MALLOC_PERTURB_") != nullptr) {
        GTEST_SKIP() << "this heap writes to all that it gives";
    }
    constexpr std::size_t kHugePages = 3 * (2 << 20);
    const Bytes file = Ktx1Builder().Uncompressed(0x8058).Level(Bytes(64, 7)).Build();
    const Bytes block = Test_StoreInLz4(file);
    bool isRight = false;
    EXPECT_LT(MeasureResidentBytes(WrapperBuilder().Block(block, 64 << 20).Build(), &isRight),
              kHugePages);
    EXPECT_TRUE(isRight);
    // More than LZ4 can count, and the most that fits the size fields.
    for (const std::uint32_t size : {0x80000000u, 0xFFFFFFFFu}) {
        void* room = calloc(std::size_t{size} + 4096, 1);
        free(room);
        if (room == nullptr) GTEST_SKIP() << "this machine has no room to promise";
        EXPECT_LT(MeasureResidentBytes(WrapperBuilder().Block(block, size).Build(), &isRight),
                  kHugePages);
        EXPECT_TRUE(isRight) << size;
    }
}

// The bytes of a file that is too large are not asked for.
TEST(PeakMemory, OfAFileOf5GiBStaysSmall) {
    TempFolder folder;
    Test_WriteFile(folder / "sparse", kFile);
    std::error_code error;
    std::filesystem::resize_file(folder / "sparse", std::uint64_t{5} << 30, error);
    if (error) GTEST_SKIP() << "no sparse files of such a size here: " << error.message();
    const KoruPath path = Test_ToKoruPath(folder / "sparse");
    for (const LoadDoors& doors : {kAstcDoors, kKtxDoors, kPvrDoors}) {
        HeapFaults_Arm(0);
        EXPECT_EQ(doors.fromFile(path.c_str(), 2), nullptr);
        HeapFaults_Disarm();
        EXPECT_LT(HeapFaults_GetPeakBytes(), 4096u);
    }
}

// A header that promises more blocks than the file holds costs next to nothing.
TEST(PeakMemory, OfAShortFileStaysSmall) {
    const Bytes file = AstcBuilder().Size(65535, 16383).Solid({1, 2, 3, 4}).Build();
    HeapFaults_Arm(0);
    EXPECT_EQ(KORU_Load_ASTC_From_Memory(file.data(), static_cast<std::uint32_t>(file.size()), 2),
              nullptr);
    HeapFaults_Disarm();
    EXPECT_LT(HeapFaults_GetPeakBytes(), 4096u);
}

const KORU_Image* g_watched = nullptr;
KORU_Image g_seen;
bool g_wasSeen = false;

TEST(DeleteImage, ZeroesTheRecordBeforeFreeingIt) {
    KORU_Image* image = LoadMemory(KORU_FLAG_RGBA);
    ASSERT_NE(image, nullptr);
    g_watched = image;
    g_wasSeen = false;
    HeapFaults_WatchFree([](const void* block) {
        if (block != g_watched) return;
        g_seen = *static_cast<const KORU_Image*>(block);
        g_wasSeen = true;
    });
    KORU_Delete_Image(image);
    HeapFaults_WatchFree(nullptr);

    ASSERT_TRUE(g_wasSeen);
    EXPECT_EQ(g_seen.width, 0u);
    EXPECT_EQ(g_seen.height, 0u);
    EXPECT_EQ(g_seen.bitsPerPixel, 0u);
    EXPECT_EQ(g_seen.bytesPerPixel, 0u);
    EXPECT_EQ(g_seen.bitsPerChannel, 0u);
    EXPECT_EQ(g_seen.dataSize, 0u);
    EXPECT_EQ(g_seen.stride, 0u);
    EXPECT_EQ(g_seen.rowPadding, 0u);
    EXPECT_EQ(g_seen.reservedA, 0u);
    EXPECT_EQ(g_seen.reservedB, 0u);
    EXPECT_EQ(g_seen.reservedC, 0u);
    EXPECT_EQ(g_seen.reservedD, 0u);
    EXPECT_EQ(g_seen.pixels, nullptr);
}

}  // namespace
