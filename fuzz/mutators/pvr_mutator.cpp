// Mutation of PVR files with either header.
#include <array>

#include "header_mutator.h"

namespace {

using Kind = FuzzFieldKind;

constexpr std::size_t kHeaderBytes = 52;
constexpr std::array<std::uint8_t, 4> kVersion3{'P', 'V', 'R', 3};
constexpr std::array<std::uint8_t, 4> kLegacyMagic{'P', 'V', 'R', '!'};

constexpr auto kHeaderSizes = std::to_array<std::uint64_t>({52, 44});
constexpr auto kPixelTypes = std::to_array<std::uint64_t>(
    {18, 21, 24, 25, 28, 29, 32, 34, 36, 54, 55, 56, 0, 10, 14, 0x10012, 0x10020, 0x10036});

constexpr std::array kLegacyFields{
    FuzzField{0, 4, Kind::Code, kHeaderSizes},
    FuzzField{4, 4, Kind::Extent},
    FuzzField{8, 4, Kind::Extent},
    FuzzField{12, 4, Kind::Any},
    FuzzField{16, 4, Kind::Code, kPixelTypes},
    FuzzField{16, 4, Kind::Code, kPixelTypes},
    FuzzField{20, 4, Kind::Any},
    FuzzField{24, 4, Kind::Any},
    FuzzField{48, 4, Kind::Any},
};

/// Compressed-format numbers, and names with widths: the low and the high word.
constexpr std::uint64_t Pack(std::array<char, 4> names, std::array<unsigned, 4> widths) {
    std::uint64_t format = 0;
    for (std::size_t i = 4; i-- > 0;) format = format << 8 | widths[i];
    for (std::size_t i = 4; i-- > 0;) format = format << 8 | static_cast<unsigned char>(names[i]);
    return format;
}
constexpr auto kFormats = std::to_array<std::uint64_t>({
    0,
    1,
    2,
    3,
    4,
    6,
    7,
    9,
    11,
    22,
    23,
    24,
    25,
    26,
    Pack({'r', 'g', 'b', 'a'}, {8, 8, 8, 8}),
    Pack({'b', 'g', 'r', 'a'}, {8, 8, 8, 8}),
    Pack({'r', 'g', 'b', 0}, {8, 8, 8, 0}),
    Pack({'r', 'g', 'b', 0}, {8, 8, 8, 8}),
    Pack({'r', 'g', 'b', 'x'}, {10, 10, 10, 2}),
    Pack({'r', 'g', 'b', 0}, {11, 11, 10, 0}),
    Pack({'r', 'g', 'b', 'a'}, {4, 4, 4, 4}),
    Pack({'b', 'g', 'r', 0}, {5, 6, 5, 0}),
    Pack({'r', 'g', 'b', 0}, {5, 5, 5, 0}),
    Pack({'r', 'g', 'b', 'a'}, {5, 5, 5, 1}),
    Pack({'l', 0, 0, 0}, {8, 0, 0, 0}),
    Pack({'a', 0, 0, 0}, {8, 8, 8, 0}),
});

constexpr std::array kVersion3Fields{
    FuzzField{4, 4, Kind::Any},
    FuzzField{8, 8, Kind::Code, kFormats},
    FuzzField{8, 8, Kind::Code, kFormats},
    FuzzField{16, 4, Kind::Any},
    FuzzField{20, 4, Kind::Any},
    FuzzField{24, 4, Kind::Extent},
    FuzzField{28, 4, Kind::Extent},
    FuzzField{32, 4, Kind::Any},
    FuzzField{36, 4, Kind::Any},
    FuzzField{40, 4, Kind::Any},
    FuzzField{44, 4, Kind::Any},
    FuzzField{48, 4, Kind::Any},
};

void FitLegacyPayload(FuzzFile& file, FuzzRandom& random) {
    const std::size_t payloadBytes =
        Fuzz_GuessPayloadBytes(file.Load(8, 4), file.Load(4, 4), random);
    file.Resize(kHeaderBytes + payloadBytes);
    file.Store(20, 4, payloadBytes);
}

void FitVersion3Payload(FuzzFile& file, FuzzRandom& random) {
    constexpr std::size_t kOrientationEntryBytes = 15;
    std::uint64_t metadataBytes = file.Load(48, 4);
    const bool isOrientation = random() % 4 == 0;
    if (isOrientation || metadataBytes > 64) {
        metadataBytes = isOrientation ? kOrientationEntryBytes : 0;
        file.Store(48, 4, metadataBytes);
    }
    file.Resize(kHeaderBytes + static_cast<std::size_t>(metadataBytes) +
                Fuzz_GuessPayloadBytes(file.Load(28, 4), file.Load(24, 4), random));
    if (!isOrientation) return;
    file.Store(kHeaderBytes, 4, 0x03525650);
    file.Store(kHeaderBytes + 4, 4, random() % 8 == 0 ? 2 : 3);
    file.Store(kHeaderBytes + 8, 4, 3);
}

constexpr FuzzHeaderLayout kLegacy{kHeaderBytes, 44, kLegacyMagic, kLegacyFields, FitLegacyPayload};
constexpr FuzzHeaderLayout kV3{kHeaderBytes, 0, kVersion3, kVersion3Fields, FitVersion3Payload};

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    FuzzRandom random(seed);
    const bool isV3 = size > 3 && data[0] == 'P' && data[3] == 3;
    const bool asV3 = random() % 64 == 0 ? !isV3 : isV3;
    return Fuzz_MutateFile(asV3 ? kV3 : kLegacy, {data, size, maxSize}, random);
}
