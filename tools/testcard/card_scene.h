// The landscape of a test card: sky, sun, mountains and a lake.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "card_color.h"
#include "card_noise.h"

namespace koru_testcard {

class Scene {
  public:
    /// `aspect` is width / height, `pixelSize` the height of a pixel; the card is 1 high.
    Scene(std::uint32_t seed, float aspect, float pixelSize);

    /// x from 0 to aspect, y from 0 (top) to 1.
    Color GetColor(float x, float y) const;

  private:
    struct Layer {
        float base;       ///< y of its foot
        float height;     ///< of its highest crest
        float frequency;  ///< of its crests
        float haze;       ///< share of air colour
        Color rock;
    };

    int GetOctaves(float frequency) const;
    Color GetSky(float x, float y) const;
    Color GetLand(float x, float y) const;
    Color GetWater(float x, float y) const;
    Color GetSlope(const Layer& layer, std::uint32_t index, float x, float y, float crest) const;
    float MakeCrest(std::uint32_t index, float x) const;
    float GetCrest(std::uint32_t index, float x) const;

    static const std::array<Layer, 4> kLayers;

    Noise noise_;
    std::array<std::vector<float>, 4> crests_;  ///< of each layer, for every column and some beyond
    float sunX_;
    float pixelSize_;
};

}  // namespace koru_testcard
