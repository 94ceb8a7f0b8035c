// The direction in which the colours of a block differ most.
#pragma once

#include <array>
#include <span>

#include "pack_texels.h"

namespace koru_ktxpack {

using ColorVector = std::array<double, 3>;

struct PrincipalAxis {
    ColorVector mean{};
    ColorVector direction{};  ///< of length 1, or 0 if all colours are equal
};

/// Takes the texels of `numbers`, at least one.
PrincipalAxis Axis_Find(const BlockTexels& texels, std::span<const std::size_t> numbers);

/// How far along the axis the texel's colour lies; the mean is at 0.
double Axis_Project(const PrincipalAxis& axis, const Texel& texel);

}  // namespace koru_ktxpack
