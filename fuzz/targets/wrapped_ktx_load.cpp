// KTX files in "QOZM" wrappers. An input that begins with that magic is a file as it is; any other
// is a plan of wrapping, lies included, and the KTX file to wrap.
#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "load_checks.h"
#include "wrap_plan.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::array<std::uint8_t, 4> kMagic{'Q', 'O', 'Z', 'M'};
    const std::span input(data, size);
    if (size >= kMagic.size() && std::equal(kMagic.begin(), kMagic.end(), data)) {
        Fuzz_LoadKtx(input);
    } else if (size > kWrapPlanBytes) {
        const std::vector<std::uint8_t> wrapped =
            Fuzz_Wrap(input.first(kWrapPlanBytes), input.subspan(kWrapPlanBytes));
        // A copy whose capacity is its size, so that a sanitizer sees the first byte too many.
        const std::vector<std::uint8_t> exact(wrapped.begin(), wrapped.end());
        Fuzz_LoadKtx(exact);
    }
    return 0;
}
