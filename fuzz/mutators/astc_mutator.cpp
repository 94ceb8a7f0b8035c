// Mutation of ".astc" files.
#include <algorithm>
#include <array>

#include "header_mutator.h"

namespace {

constexpr std::size_t kHeaderBytes = 16;
constexpr std::array<std::uint8_t, 4> kMagic{0x13, 0xAB, 0xA1, 0x5C};
constexpr auto kFootprintExtents = std::to_array<std::uint64_t>({4, 5, 6, 8, 10, 12, 3, 0, 255});
constexpr auto kDepths = std::to_array<std::uint64_t>({1, 0, 3});
constexpr auto kOne = std::to_array<std::uint64_t>({1});

constexpr std::array kFields{
    FuzzField{4, 1, FuzzFieldKind::Code, kFootprintExtents},
    FuzzField{5, 1, FuzzFieldKind::Code, kFootprintExtents},
    FuzzField{6, 1, FuzzFieldKind::Code, kDepths},
    FuzzField{7, 3, FuzzFieldKind::Extent},
    FuzzField{10, 3, FuzzFieldKind::Extent},
    FuzzField{13, 3, FuzzFieldKind::Code, kOne},
};

void FitPayload(FuzzFile& file, FuzzRandom& random) {
    const auto countBlocks = [&file](std::size_t footprintOffset, std::size_t extentOffset) {
        const std::uint64_t footprint = std::max<std::uint64_t>(file.Load(footprintOffset, 1), 1);
        return (file.Load(extentOffset, 3) + footprint - 1) / footprint;
    };
    const std::uint64_t payloadBytes = countBlocks(4, 7) * countBlocks(5, 10) * 16;
    const std::uint64_t more = random() % 4 == 0 ? random() % 17 : 0;
    file.Resize(static_cast<std::size_t>(kHeaderBytes + payloadBytes + more));
}

constexpr FuzzHeaderLayout kLayout{kHeaderBytes, 0, kMagic, kFields, FitPayload};

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    FuzzRandom random(seed);
    return Fuzz_MutateFile(kLayout, {data, size, maxSize}, random);
}
