// Loads of all formats one after another, with what they leave to the next: the same file twice in
// a row gives the same record, and a path gives what memory gives.
//
// Input: a row of loads, each of container and flags 1, format 2, width 1, height 1, payload bytes
// 1, detail 1.
#include <korutex.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "astc_builder.h"
#include "byte_reader.h"
#include "fuzz_check.h"
#include "ktx_builder.h"
#include "load_checks.h"
#include "memory_file.h"
#include "pvr_builder.h"
#include "pvr_widths.h"
#include "wrapper_builder.h"

namespace {

constexpr int kMostLoads = 8;

constexpr std::array<std::uint32_t, 24> kGlFormats{
    0x8051, 0x8058, 0x8D62, 0x8050, 0x8056, 0x8057, 0x8059, 0x8C3A, 0x8C3D, 0x1907, 0x1908, 0x1909,
    0x190A, 0x83F1, 0x83F3, 0x8C4C, 0x8D64, 0x9270, 0x9272, 0x9274, 0x9276, 0x9278, 0x93B0, 0x83F0};
constexpr std::size_t kFirstCompressed = 13;
constexpr std::array<std::string_view, 6> kNames{"rgba", "rgb", "bgra", "r", "l", "rg"};

/// Bytes that differ from each other and from those of another detail.
Bytes MakePayload(std::size_t byteCount, unsigned detail) {
    Bytes bytes(byteCount);
    for (std::size_t i = 0; i < byteCount; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * (2 * detail + 1) + detail);
    }
    return bytes;
}

struct Load {
    FuzzLoad load;
    KORU_Image* (*loadFile)(const KORU_Char* path, std::uint32_t flags);
    Bytes file;
    std::uint32_t flags = 0;
};

constexpr auto kLoadAstc = KORU_Load_ASTC_From_Memory;
constexpr auto kLoadKtx = KORU_Load_KTX_From_Memory;
constexpr auto kLoadPvr = KORU_Load_PVR_From_Memory;

Load ReadLoad(ByteReader& input) {
    const unsigned head = input.Byte();
    const std::uint16_t format = input.Le16();
    const std::uint32_t width = input.Byte() % 32;
    const std::uint32_t height = input.Byte() % 32;
    // Enough for anything, cut somewhere, or none.
    const unsigned length = input.Byte();
    const unsigned detail = input.Byte();
    const std::size_t full = (width + 3) * (height + 8) * 4 + 64;
    const Bytes payload = MakePayload(length < 0x80 ? full : (length - 0x80) * 3u, detail);

    Load it{nullptr, nullptr, {}, head & 3};
    const auto set = [&](FuzzLoad load, decltype(Load::loadFile) loadFile, Bytes file) {
        it.load = load;
        it.loadFile = loadFile;
        it.file = std::move(file);
    };
    switch (head >> 2 & 7) {
        case 0:
        case 1: {
            const std::size_t row = format % kGlFormats.size();
            Ktx1Builder builder;
            if (row >= kFirstCompressed) {
                builder.Compressed(kGlFormats[row]);
            } else {
                builder.Uncompressed(kGlFormats[row]);
            }
            set(kLoadKtx, KORU_Load_KTX_From_File,
                builder.Size(width, height).Level(payload).Build());
            break;
        }
        case 2:
        case 3:
            // Up to the last format before ASTC, which takes the codec milliseconds.
            set(kLoadKtx, KORU_Load_KTX_From_File,
                Ktx2Builder().Format(format % 157u).Size(width, height).Level(payload).Build());
            break;
        case 4:
            set(kLoadPvr, KORU_Load_PVR_From_File,
                PvrLegacyBuilder().Type(format).Size(width, height).Data(payload).Build());
            break;
        case 5:
            set(kLoadPvr, KORU_Load_PVR_From_File,
                PvrV3Builder().Compressed(format % 32u).Size(width, height).Data(payload).Build());
            break;
        case 6:
            set(kLoadPvr, KORU_Load_PVR_From_File,
                PvrV3Builder()
                    .Packed(kNames[format % kNames.size()],
                            kPvrPackedWidths[(format >> 8) % kPvrPackedWidths.size()])
                    .Size(width, height)
                    .Data(payload)
                    .Build());
            break;
        default: {
            // Mostly footprints without meaning: the others take the codec milliseconds.
            const auto extent = static_cast<std::uint8_t>(format % 64 == 0 ? 6 : 13 + format % 8);
            Bytes file = AstcBuilder().Blocks(extent, extent).Size(width, height).Build();
            Test_Append(file, payload);
            set(kLoadAstc, KORU_Load_ASTC_From_File, file);
            break;
        }
    }
    if ((head & 0x20) != 0) it.file = Test_WrapDeep(it.file, 1 + static_cast<int>(head >> 6));
    return it;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const MemoryFile file;
    ByteReader input(data, size);
    Fuzz_ForgetEarlierLoads();
    for (int i = 0; i < kMostLoads && !input.IsAtEnd(); ++i) {
        const Load it = ReadLoad(input);
        const FuzzImagePtr once = Fuzz_Load(it.load, it.file, it.flags);
        const FuzzImagePtr twice = Fuzz_Load(it.load, it.file, it.flags);
        Fuzz_Require(Fuzz_IsSame(once.get(), twice.get()), "the same load gives the same record");
        file.Replace(it.file);
        const FuzzImagePtr fromFile(it.loadFile(file.GetPath(), it.flags));
        // Memory gives records of some files that a path refuses, not the other way round.
        if (fromFile == nullptr) continue;
        Fuzz_CheckRecord(*fromFile, it.flags);
        Fuzz_Require(Fuzz_IsSame(once.get(), fromFile.get()), "a path gives what memory gives");
    }
    return 0;
}
