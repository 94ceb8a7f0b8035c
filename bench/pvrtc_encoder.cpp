#include "pvrtc_encoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace koru_bench {
namespace {

using koru::kPvrtcBlockHeight;
using koru::PvrtcBlock;
using koru_ktxpack::Texel;

using Channels = std::array<float, 4>;

Channels ToFloat(const Texel& texel) {
    Channels channels{};
    std::ranges::transform(texel, channels.begin(),
                           [](std::uint8_t value) { return static_cast<float>(value); });
    return channels;
}

struct Colors {
    Channels a{}, b{};
};

std::uint32_t Quantise(float value, std::uint32_t top) {
    return static_cast<std::uint32_t>(
        std::lround(std::clamp(value, 0.0f, 255.0f) * static_cast<float>(top) / 255));
}

/// 16 bits of color B. Color A has the same, less the lowest bit.
std::uint32_t PackColor(const Channels& color, bool isOpaque) {
    if (isOpaque) {
        return 0x8000 | Quantise(color[0], 31) << 10 | Quantise(color[1], 31) << 5 |
               Quantise(color[2], 31);
    }
    return Quantise(color[3], 7) << 12 | Quantise(color[0], 15) << 8 | Quantise(color[1], 15) << 4 |
           Quantise(color[2], 15);
}

Colors UnpackColors(const PvrtcBlock& block) {
    const auto widen = [](const koru::PvrtcColor& color) {
        Channels channels{};
        for (std::size_t i = 0; i < channels.size(); ++i)
            channels[i] = static_cast<float>(color[i]) * 255 / (i == 3 ? 15.0f : 31.0f);
        return channels;
    };
    const koru::PvrtcColors colors = koru::Pvrtc_UnpackColors(block);
    return {.a = widen(colors.a), .b = widen(colors.b)};
}

Channels Mix(const Channels& from, const Channels& to, float share) {
    Channels mixed{};
    for (std::size_t i = 0; i < mixed.size(); ++i) mixed[i] = from[i] + (to[i] - from[i]) * share;
    return mixed;
}

class Encoder {
  public:
    Encoder(std::span<const Texel> texels, std::uint32_t side, std::uint32_t blockWidth)
        : texels_(texels),
          side_(side),
          blockWidth_(blockWidth),
          columns_(side / blockWidth),
          rows_(side / kPvrtcBlockHeight),
          blocks_(std::size_t{columns_} * rows_) {}

    std::vector<PvrtcBlock> Encode() {
        ForEachBlock([this](std::uint32_t column, std::uint32_t row) { PaintBlock(column, row); });
        for (const PvrtcBlock& block : blocks_) colors_.push_back(UnpackColors(block));
        ForEachBlock([this](std::uint32_t column, std::uint32_t row) {
            PvrtcBlock& block = GetBlock(column, row);
            if (blockWidth_ == 8) {
                Modulate2Bpp(block, column, row);
            } else {
                Modulate4Bpp(block, column, row);
            }
        });
        return blocks_;
    }

  private:
    template <typename Body>
    void ForEachBlock(const Body& body) {
        for (std::uint32_t row = 0; row < rows_; ++row) {
            for (std::uint32_t column = 0; column < columns_; ++column) body(column, row);
        }
    }

    PvrtcBlock& GetBlock(std::uint32_t column, std::uint32_t row) {
        return blocks_[std::size_t{row} * columns_ + column];
    }
    const Texel& GetTexel(std::uint32_t x, std::uint32_t y) const {
        return texels_[std::size_t{y % side_} * side_ + x % side_];
    }
    const Colors& GetColors(std::uint32_t column, std::uint32_t row) const {
        return colors_[std::size_t{row % rows_} * columns_ + column % columns_];
    }

    /// The ends of what the block and the texels around it hold: a channel that falls where green
    /// rises runs the other way.
    void PaintBlock(std::uint32_t column, std::uint32_t row) {
        Channels low{255, 255, 255, 255}, high{}, mean{}, slope{};
        std::vector<Channels> window;
        for (std::uint32_t y = 0; y < kPvrtcBlockHeight + 2; ++y) {
            for (std::uint32_t x = 0; x < blockWidth_ + 2; ++x) {
                window.push_back(ToFloat(GetTexel(column * blockWidth_ + x + side_ - 1,
                                                  row * kPvrtcBlockHeight + y + side_ - 1)));
            }
        }
        for (const Channels& color : window) {
            for (std::size_t i = 0; i < color.size(); ++i) {
                low[i] = std::min(low[i], color[i]);
                high[i] = std::max(high[i], color[i]);
                mean[i] += color[i] / static_cast<float>(window.size());
            }
        }
        for (const Channels& color : window) {
            for (std::size_t i = 0; i < color.size(); ++i)
                slope[i] += (color[i] - mean[i]) * (color[1] - mean[1]);
        }
        for (std::size_t i = 0; i < slope.size(); ++i) {
            if (slope[i] < 0) std::swap(low[i], high[i]);
        }
        constexpr float kOpaqueFrom = 248;
        const auto pack = [](const Channels& color) {
            return PackColor(color, color[3] >= kOpaqueFrom);
        };
        GetBlock(column, row).colors = (pack(low) & 0xFFFE) | pack(high) << 16;
    }

    /// How far from color A to color B a place is, from 0 to 8.
    float GetIdealWeight(std::uint32_t x, std::uint32_t y) const {
        // Halves of a block before the first center belong to the last one.
        const std::uint32_t fromLeft = x + side_ - blockWidth_ / 2;
        const std::uint32_t fromTop = y + side_ - kPvrtcBlockHeight / 2;
        const std::uint32_t column = fromLeft / blockWidth_, row = fromTop / kPvrtcBlockHeight;
        const float across =
            static_cast<float>(fromLeft % blockWidth_) / static_cast<float>(blockWidth_);
        const float down = static_cast<float>(fromTop % kPvrtcBlockHeight) / kPvrtcBlockHeight;
        const auto interpolate = [&](Channels Colors::*color) {
            return Mix(
                Mix(GetColors(column, row).*color, GetColors(column + 1, row).*color, across),
                Mix(GetColors(column, row + 1).*color, GetColors(column + 1, row + 1).*color,
                    across),
                down);
        };
        const Channels a = interpolate(&Colors::a), b = interpolate(&Colors::b);
        const Channels wanted = ToFloat(GetTexel(x, y));
        float along = 0, length = 0;
        for (std::size_t i = 0; i < a.size(); ++i) {
            along += (wanted[i] - a[i]) * (b[i] - a[i]);
            length += (b[i] - a[i]) * (b[i] - a[i]);
        }
        return length == 0 ? 0 : std::clamp(8 * along / length, 0.0f, 8.0f);
    }

    /// Of weights 0, 3, 5 and 8.
    static std::uint32_t ChooseOfFour(float weight) {
        return weight < 1.5f ? 0 : weight < 4 ? 1 : weight < 6.5f ? 2 : 3;
    }

    void Modulate4Bpp(PvrtcBlock& block, std::uint32_t column, std::uint32_t row) {
        std::array<float, 16> weights{};
        std::array<bool, 16> isHole{};
        for (std::uint32_t i = 0; i < weights.size(); ++i) {
            const std::uint32_t x = column * 4 + i % 4, y = row * 4 + i / 4;
            weights[i] = GetIdealWeight(x, y);
            isHole[i] = GetTexel(x, y)[3] < koru_ktxpack::kOpaqueFrom;
        }
        const bool hasHoles = std::ranges::find(isHole, true) != isHole.end() &&
                              std::ranges::find(isHole, false) != isHole.end();
        if (hasHoles) block.colors |= 1;
        for (std::uint32_t i = 0; i < weights.size(); ++i) {
            // With holes: weights 0, 4, a hole, 8.
            const std::uint32_t withHoles = isHole[i]        ? 2
                                            : weights[i] < 2 ? 0
                                            : weights[i] < 6 ? 1
                                                             : 3;
            block.modulation |= (hasHoles ? withHoles : ChooseOfFour(weights[i])) << (2 * i);
        }
    }

    /// Texels that lie mostly between the colors share two bits among two; others have one each.
    void Modulate2Bpp(PvrtcBlock& block, std::uint32_t column, std::uint32_t row) {
        std::array<float, 32> weights{};
        for (std::uint32_t i = 0; i < weights.size(); ++i)
            weights[i] = GetIdealWeight(column * 8 + i % 8, row * 4 + i / 8);
        const auto between = std::ranges::count_if(
            weights, [](float weight) { return weight > 1.5f && weight < 6.5f; });
        if (between < 16) {
            for (std::uint32_t i = 0; i < weights.size(); ++i)
                block.modulation |= (weights[i] < 4 ? 0u : 1u) << i;
            return;
        }
        block.colors |= 1;
        for (std::uint32_t i = 0; i < weights.size(); ++i) {
            const std::uint32_t x = i % 8, y = i / 8;
            if ((x + y) % 2 == 0)
                block.modulation |= ChooseOfFour(weights[i]) << (8 * y + x / 2 * 2);
        }
    }

    std::span<const Texel> texels_;
    std::uint32_t side_, blockWidth_, columns_, rows_;
    std::vector<PvrtcBlock> blocks_;
    std::vector<Colors> colors_;
};

}  // namespace

std::vector<PvrtcBlock> Pvrtc_Encode(std::span<const Texel> texels, std::uint32_t side,
                                     std::uint32_t blockWidth) {
    return Encoder(texels, side, blockWidth).Encode();
}

}  // namespace koru_bench
