// KTX files from memory.
#include <span>

#include "load_checks.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz_LoadKtx(std::span(data, size));
    return 0;
}
