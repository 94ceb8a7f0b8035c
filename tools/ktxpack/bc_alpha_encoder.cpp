#include "bc_alpha_encoder.h"

#include <algorithm>
#include <limits>

namespace koru_ktxpack {
namespace {

struct AlphaFit {
    int high = 0;
    int low = 0;
    std::uint64_t indices = 0;
    std::uint32_t error = std::numeric_limits<std::uint32_t>::max();
};

/// `high` must be above `low`: that order means eight values.
AlphaFit AlphaFit_Make(const BlockTexels& texels, int high, int low) {
    std::array<int, 8> values{high, low};
    for (int i = 2; i < 8; ++i) {
        values[static_cast<std::size_t>(i)] = ((8 - i) * high + (i - 1) * low) / 7;
    }
    AlphaFit fit{.high = high, .low = low, .error = 0};
    for (std::size_t i = 0; i < texels.size(); ++i) {
        int least = std::numeric_limits<int>::max();
        std::uint64_t index = 0;
        for (std::size_t k = 0; k < values.size(); ++k) {
            const int difference = values[k] - texels[i][3];
            if (difference * difference >= least) continue;
            least = difference * difference;
            index = k;
        }
        fit.error += static_cast<std::uint32_t>(least);
        fit.indices |= index << (3 * i);
    }
    return fit;
}

}  // namespace

void Bc_EncodeExplicitAlpha(const BlockTexels& texels, std::span<std::uint8_t> block) {
    const auto quantise = [](const Texel& texel) { return (texel[3] + 8) / 17; };
    for (std::size_t i = 0; i < 8; ++i) {
        block[i] =
            static_cast<std::uint8_t>(quantise(texels[2 * i]) | quantise(texels[2 * i + 1]) << 4);
    }
}

void Bc_EncodeInterpolatedAlpha(const BlockTexels& texels, std::span<std::uint8_t> block) {
    int low = 255;
    int high = 0;
    for (const Texel& texel : texels) {
        low = std::min<int>(low, texel[3]);
        high = std::max<int>(high, texel[3]);
    }
    AlphaFit best{.high = high, .low = low};
    // One value alone: index 0 is right whatever the order of the ends means.
    if (high > low) {
        const int slack = std::min(12, high - low - 1);
        for (int inHigh = 0; inHigh <= slack; ++inHigh) {
            for (int inLow = 0; inHigh + inLow <= slack; ++inLow) {
                const AlphaFit fit = AlphaFit_Make(texels, high - inHigh, low + inLow);
                if (fit.error < best.error) best = fit;
            }
        }
    }
    block[0] = static_cast<std::uint8_t>(best.high);
    block[1] = static_cast<std::uint8_t>(best.low);
    for (std::size_t i = 0; i < 6; ++i) {
        block[2 + i] = static_cast<std::uint8_t>(best.indices >> (8 * i));
    }
}

}  // namespace koru_ktxpack
