#include "etc_color_encoder.h"

#include <algorithm>

#include "etc_block.h"
#include "etc_halves.h"
#include "etc_paint.h"
#include "etc_planar.h"

namespace koru_ktxpack {
namespace {

void EtcBlock_Write(const EtcBlock& block, std::span<std::uint8_t> target) {
    for (std::size_t i = 0; i < 8; ++i) {
        target[i] = static_cast<std::uint8_t>(block.bits >> (56 - 8 * i));
    }
}

void EtcBlock_Improve(EtcBlock& best, const EtcBlock& other) {
    if (other.error < best.error) best = other;
}

}  // namespace

void Etc_EncodeEtc1(const BlockTexels& texels, std::span<std::uint8_t> block) {
    EtcBlock_Write(Etc_FitHalves(texels), block);
}

void Etc_EncodeEtc2(const BlockTexels& texels, std::span<std::uint8_t> block) {
    EtcBlock best = Etc_FitHalves(texels);
    EtcBlock_Improve(best, Etc_FitPlane(texels));
    EtcBlock_Improve(best, Etc_FitPaint(texels));
    EtcBlock_Write(best, block);
}

void Etc_EncodeEtc2WithHoles(const BlockTexels& texels, std::span<std::uint8_t> block) {
    EtcBlock best = Etc_FitHalvesWithHoles(texels);
    if (std::ranges::all_of(texels, Texel_IsOpaque)) {
        EtcBlock_Improve(best, Etc_FitPlane(texels));
        EtcBlock_Improve(best, Etc_FitPaint(texels));
    }
    EtcBlock_Write(best, block);
}

}  // namespace koru_ktxpack
