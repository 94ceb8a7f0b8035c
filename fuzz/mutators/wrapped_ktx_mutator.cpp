// Mutation of the wrapped target's inputs: of the plan, or of the KTX file that it wraps.
#include <array>
#include <cstring>

#include "ktx_file_mutator.h"
#include "wrap_plan.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

/// Bytes of a finished wrapper: its magic, count, or a header of a chunk.
constexpr std::array<std::uint8_t, 8> kTags{0x70, 0x61, 0x64, 0x41, 0x20, 0x34, 0x7A, 0x4C};

void MutateChunkSize(std::uint8_t* data, std::size_t size, FuzzRandom& random) {
    // Somewhere behind a pair of tags.
    for (std::size_t i = 8; i + 32 <= size; ++i) {
        if (std::memcmp(data + i, kTags.data(), kTags.size()) != 0 || random() % 2 == 0) continue;
        const std::size_t field = i + (random() % 2 == 0 ? 8 : 12);
        data[field + random() % 4] = static_cast<std::uint8_t>(random());
        return;
    }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    FuzzRandom random(seed);
    const bool isFile = size >= 4 && std::memcmp(data, "QOZM", 4) == 0;
    if (isFile) {
        if (random() % 3 == 0) MutateChunkSize(data, size, random);
        const std::size_t newSize = LLVMFuzzerMutate(data, size, maxSize);
        if (random() % 16 != 0 && newSize >= 4) std::memcpy(data, "QOZM", 4);
        return newSize;
    }
    if (size <= kWrapPlanBytes || maxSize <= kWrapPlanBytes) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    if (random() % 2 == 0) {
        data[random() % kWrapPlanBytes] = static_cast<std::uint8_t>(random() % 256);
        return size;
    }
    return kWrapPlanBytes +
           Fuzz_MutateKtxFile(
               {data + kWrapPlanBytes, size - kWrapPlanBytes, maxSize - kWrapPlanBytes}, random);
}
