// What is drawn over the landscape to be judged by eye: name and arrow, rings, checker, colour
// strips, a soft hole and an alpha ramp.
#pragma once

#include <cstdint>

#include "card_color.h"

namespace koru_testcard {

class Overlay {
  public:
    Overlay(std::uint32_t width, std::uint32_t height, bool isOpaque);

    /// The colour of a pixel, given that of the landscape there.
    Color Apply(const Color& scene, std::uint32_t x, std::uint32_t y) const;

  private:
    Color ApplyStrips(const Color& scene, float x, float y) const;
    Color ApplyRings(const Color& scene, float x, float y) const;
    Color ApplyChecker(const Color& scene, float x, float y) const;
    Color ApplyName(const Color& scene, std::uint32_t x, std::uint32_t y) const;
    float GetAlpha(float x, float y) const;

    bool isOpaque_;
    float width_;
    float height_;
    float unit_;  ///< pixels; the height of a card of ordinary shape
    float edge_;  ///< width of a smooth edge, in units
    std::uint32_t letterScale_;
};

}  // namespace koru_testcard
