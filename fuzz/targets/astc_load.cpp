// ".astc" files from memory. The last byte chooses the layout: a decode takes milliseconds.
#include <korutex.h>

#include "load_checks.h"
#include "size_peek.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span file(data, size);
    if (Fuzz_MayBeHugeAstc(file)) return 0;
    Fuzz_ForgetEarlierLoads();
    Fuzz_Load(KORU_Load_ASTC_From_Memory, file, size != 0 ? file.back() & 3u : 0u);
    return 0;
}
