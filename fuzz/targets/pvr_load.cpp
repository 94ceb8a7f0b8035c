// PVR files from memory, in every layout.
#include <korutex.h>

#include "load_checks.h"
#include "size_peek.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span file(data, size);
    if (Fuzz_MayBeHugePvr(file)) return 0;
    Fuzz_ForgetEarlierLoads();
    Fuzz_LoadInEveryLayout(KORU_Load_PVR_From_Memory, file);
    return 0;
}
