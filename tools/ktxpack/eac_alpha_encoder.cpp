#include "eac_alpha_encoder.h"

#include <algorithm>
#include <limits>

namespace koru_ktxpack {
namespace {

// clang-format off
constexpr std::array<std::array<int, 8>, 16> kModifiers{{
    {-3, -6,  -9, -15, 2, 5, 8, 14},
    {-3, -7, -10, -13, 2, 6, 9, 12},
    {-2, -5,  -8, -13, 1, 4, 7, 12},
    {-2, -4,  -6, -13, 1, 3, 5, 12},
    {-3, -6,  -8, -12, 2, 5, 7, 11},
    {-3, -7,  -9, -11, 2, 6, 8, 10},
    {-4, -7,  -8, -11, 3, 6, 7, 10},
    {-3, -5,  -8, -11, 2, 4, 7, 10},
    {-2, -6,  -8, -10, 1, 5, 7,  9},
    {-2, -5,  -8, -10, 1, 4, 7,  9},
    {-2, -4,  -8, -10, 1, 3, 7,  9},
    {-2, -5,  -7, -10, 1, 4, 6,  9},
    {-3, -4,  -7, -10, 2, 3, 6,  9},
    {-1, -2,  -3, -10, 0, 1, 2,  9},
    {-4, -6,  -8,  -9, 3, 5, 7,  8},
    {-3, -5,  -7,  -9, 2, 4, 6,  8},
}};
// clang-format on
constexpr std::size_t kTableWithZero = 13;  // the one table that can leave the base as it is

struct AlphaFit {
    int base = 0;
    int multiplier = 1;  // encoders must not use 0
    std::size_t table = kTableWithZero;
    std::uint64_t indices = 0;
    std::uint32_t error = std::numeric_limits<std::uint32_t>::max();
};

/// Replaces `best` if this choice is better.
void AlphaFit_Try(const BlockTexels& texels, int base, int multiplier, std::size_t table,
                  AlphaFit& best) {
    AlphaFit fit{.base = base, .multiplier = multiplier, .table = table, .error = 0};
    // Texels are numbered down the columns here; number 0 has the highest index bits.
    for (std::size_t k = 0; k < texels.size(); ++k) {
        const int alpha = texels[k % 4 * 4 + k / 4][3];
        int least = std::numeric_limits<int>::max();
        std::uint64_t index = 0;
        for (std::size_t i = 0; i < 8; ++i) {
            const int difference = Channel_Clamp(base + kModifiers[table][i] * multiplier) - alpha;
            if (difference * difference >= least) continue;
            least = difference * difference;
            index = i;
        }
        fit.indices |= index << (45 - 3 * k);
        fit.error += static_cast<std::uint32_t>(least);
        if (fit.error >= best.error) return;
    }
    best = fit;
}

AlphaFit AlphaFit_Find(const BlockTexels& texels) {
    int low = 255;
    int high = 0;
    for (const Texel& texel : texels) {
        low = std::min<int>(low, texel[3]);
        high = std::max<int>(high, texel[3]);
    }
    AlphaFit best;
    AlphaFit_Try(texels, low, 1, kTableWithZero, best);
    for (std::size_t table = 0; table < kModifiers.size() && best.error > 0; ++table) {
        const int lowest = kModifiers[table][3];
        const int highest = kModifiers[table][7];
        for (int multiplier = 1; multiplier < 16; ++multiplier) {
            // The values in the middle of those of the block, and a little to both sides.
            const int center = (low + high - multiplier * (lowest + highest)) / 2;
            const int reach = multiplier + 2;
            for (int base = center - reach; base <= center + reach; ++base) {
                if (base < 0 || base > 255) continue;
                AlphaFit_Try(texels, base, multiplier, table, best);
            }
        }
    }
    return best;
}

}  // namespace

void Eac_EncodeAlpha(const BlockTexels& texels, std::span<std::uint8_t> block) {
    const AlphaFit fit = AlphaFit_Find(texels);
    block[0] = static_cast<std::uint8_t>(fit.base);
    block[1] = static_cast<std::uint8_t>(fit.multiplier << 4 | static_cast<int>(fit.table));
    for (std::size_t i = 0; i < 6; ++i) {
        block[2 + i] = static_cast<std::uint8_t>(fit.indices >> (40 - 8 * i));
    }
}

}  // namespace koru_ktxpack
