// Mutation of the KTX target's inputs.
#include "ktx_file_mutator.h"

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    FuzzRandom random(seed);
    return Fuzz_MutateKtxFile({data, size, maxSize}, random);
}
