#include "ktx_file_mutator.h"

#include <array>

namespace {

using Kind = FuzzFieldKind;

constexpr std::array<std::uint8_t, 12> kIdentifier1{0xAB, 'K',  'T',  'X',  ' ',  '1',
                                                    '1',  0xBB, '\r', '\n', 0x1A, '\n'};
constexpr std::array<std::uint8_t, 12> kIdentifier2{0xAB, 'K',  'T',  'X',  ' ',  '2',
                                                    '0',  0xBB, '\r', '\n', 0x1A, '\n'};

constexpr auto kEndianness = std::to_array<std::uint64_t>({0x04030201});
constexpr auto kGlTypes = std::to_array<std::uint64_t>({0, 0x1401, 0x8363});
constexpr auto kTypeSizes = std::to_array<std::uint64_t>({1, 2, 4});
constexpr auto kBaseFormats = std::to_array<std::uint64_t>({0, 0x1907, 0x1908});
constexpr auto kSmallCounts = std::to_array<std::uint64_t>({0, 1, 2, 6});
constexpr auto kNone = std::to_array<std::uint64_t>({0});
/// Those that are decoded one way or another, and some that are not.
constexpr auto kInternalFormats = std::to_array<std::uint64_t>(
    {0x1903, 0x1907, 0x1908, 0x1909, 0x190A, 0x8040, 0x804F, 0x8050, 0x8051, 0x8054, 0x8056,
     0x8057, 0x8058, 0x8059, 0x8229, 0x822B, 0x83F0, 0x83F1, 0x83F2, 0x83F3, 0x8C00, 0x8C3A,
     0x8C3D, 0x8C41, 0x8C43, 0x8C4C, 0x8C4D, 0x8C4E, 0x8C4F, 0x8D62, 0x8D64, 0x8D7C, 0x8D8E,
     0x8F94, 0x8F97, 0x906F, 0x9270, 0x9271, 0x9272, 0x9273, 0x9274, 0x9275, 0x9276, 0x9277,
     0x9278, 0x9279, 0x93B0, 0x93BD, 0x93C0, 0x93D7, 0x8B90, 0x8DBB, 0x8E8C});

constexpr std::array kFields1{
    FuzzField{12, 4, Kind::Code, kEndianness},
    FuzzField{16, 4, Kind::Code, kGlTypes},
    FuzzField{20, 4, Kind::Code, kTypeSizes},
    FuzzField{24, 4, Kind::Code, kBaseFormats},
    FuzzField{28, 4, Kind::Code, kInternalFormats},
    FuzzField{28, 4, Kind::Code, kInternalFormats},
    FuzzField{28, 4, Kind::Code, kInternalFormats},
    FuzzField{32, 4, Kind::Any},
    FuzzField{36, 4, Kind::Extent},
    FuzzField{40, 4, Kind::Extent},
    FuzzField{44, 4, Kind::Code, kNone},
    FuzzField{48, 4, Kind::Code, kSmallCounts},
    FuzzField{52, 4, Kind::Code, kSmallCounts},
    FuzzField{56, 4, Kind::Code, kSmallCounts},
    FuzzField{60, 4, Kind::Any},
    FuzzField{64, 4, Kind::Any},
};

/// VkFormat numbers; all of them up to the last of ASTC, and PVRTC.
constexpr auto kVkFormats = [] {
    std::array<std::uint64_t, 192> codes{};
    for (std::size_t i = 0; i < 184; ++i) codes[i] = i + 1;
    for (std::size_t i = 184; i < codes.size(); ++i) codes[i] = 1000054000 + i - 184;
    return codes;
}();
/// Those whose ways are no codec's, more often.
constexpr auto kQuickVkFormats =
    std::to_array<std::uint64_t>({2,   3,   4,   5,   6,   7,   9,   16,  23,  29,  30,  37,  43,
                                  44,  50,  64,  122, 123, 131, 132, 133, 134, 135, 136, 137, 138,
                                  139, 141, 145, 147, 148, 149, 150, 151, 152, 153, 154, 155, 156});

constexpr std::array kFields2{
    FuzzField{12, 4, Kind::Code, kVkFormats},
    FuzzField{12, 4, Kind::Code, kQuickVkFormats},
    FuzzField{12, 4, Kind::Code, kQuickVkFormats},
    FuzzField{16, 4, Kind::Code, kTypeSizes},
    FuzzField{20, 4, Kind::Extent},
    FuzzField{24, 4, Kind::Extent},
    FuzzField{28, 4, Kind::Code, kNone},
    FuzzField{32, 4, Kind::Any},
    FuzzField{36, 4, Kind::Code, kSmallCounts},
    FuzzField{40, 4, Kind::Code, kSmallCounts},
    FuzzField{44, 4, Kind::Code, kNone},
    FuzzField{48, 4, Kind::Any},
    FuzzField{52, 4, Kind::Any},
    FuzzField{56, 4, Kind::Any},
    FuzzField{60, 4, Kind::Any},
    FuzzField{80, 8, Kind::Any},
    FuzzField{88, 8, Kind::Any},
    FuzzField{96, 8, Kind::Any},
    FuzzField{104, 4, Kind::Any},
    FuzzField{148, 4, Kind::Any},
};

constexpr std::size_t kHeaderBytes1 = 64;
constexpr std::size_t kHeaderBytes2 = 104;  // and one entry of the level index
constexpr std::size_t kMostKeyValueBytes = 64;

void FitPayload1(FuzzFile& file, FuzzRandom& random) {
    std::uint64_t keyValueBytes = file.Load(60, 4);
    if (keyValueBytes > kMostKeyValueBytes) {
        keyValueBytes = random() % 2 * 28;
        file.Store(60, 4, keyValueBytes);
    }
    const std::size_t level = kHeaderBytes1 + static_cast<std::size_t>(keyValueBytes);
    const std::size_t payloadBytes =
        Fuzz_GuessPayloadBytes(file.Load(36, 4), file.Load(40, 4), random);
    // The entry of the first level, and one of no bytes for each other.
    file.Resize(level + 4 + payloadBytes);
    file.Store(level, 4, payloadBytes);
}

void FitPayload2(FuzzFile& file, FuzzRandom& random) {
    constexpr std::size_t kDescriptorBytes = 44;
    std::uint64_t keyValueBytes = file.Load(60, 4);
    if (keyValueBytes > kMostKeyValueBytes) {
        keyValueBytes = random() % 2 * 24;
        file.Store(60, 4, keyValueBytes);
    }
    file.Store(40, 4, 1);
    const std::size_t payload =
        kHeaderBytes2 + kDescriptorBytes + static_cast<std::size_t>(keyValueBytes);
    const std::size_t payloadBytes =
        Fuzz_GuessPayloadBytes(file.Load(20, 4), file.Load(24, 4), random);
    file.Resize(payload + payloadBytes);
    file.Store(kHeaderBytes2, 4, kDescriptorBytes);
    file.Store(80, 8, payload);
    file.Store(88, 8, payloadBytes);
}

constexpr FuzzHeaderLayout kLayout1{kHeaderBytes1, 0, kIdentifier1, kFields1, FitPayload1};
constexpr FuzzHeaderLayout kLayout2{kHeaderBytes2, 0, kIdentifier2, kFields2, FitPayload2};

}  // namespace

std::size_t Fuzz_MutateKtxFile(FuzzFile file, FuzzRandom& random) {
    const bool isVersion2 = file.size > 5 && file.data[5] == '2';
    const bool asVersion2 = random() % 64 == 0 ? !isVersion2 : isVersion2;
    return Fuzz_MutateFile(asVersion2 ? kLayout2 : kLayout1, file, random);
}
