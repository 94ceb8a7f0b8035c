// Repeatable noise.
#pragma once

#include <cstdint>

namespace koru_testcard {

class Noise {
  public:
    explicit Noise(std::uint32_t seed) : seed_(seed) {}

    /// Smooth noise from 0 to 1 with features of size 1. `plane` selects another noise.
    float Get(float x, float y, std::uint32_t plane) const;

    /// Sum of `octaves` noises, each half as large and half as strong; about 0 to 1.
    float GetFractal(float x, float y, int octaves, std::uint32_t plane) const;

    /// A sum with sharp crests, as of mountains.
    float GetRidged(float x, float y, int octaves, std::uint32_t plane) const;

  private:
    std::uint32_t seed_;
};

}  // namespace koru_testcard
