#include "principal_axis.h"

#include <algorithm>
#include <cmath>

namespace koru_ktxpack {

PrincipalAxis Axis_Find(const BlockTexels& texels, std::span<const std::size_t> numbers) {
    PrincipalAxis axis;
    for (const std::size_t number : numbers) {
        for (std::size_t i = 0; i < 3; ++i) axis.mean[i] += texels[number][i];
    }
    for (double& mean : axis.mean) mean /= static_cast<double>(numbers.size());

    std::array<ColorVector, 3> covariance{};
    for (const std::size_t number : numbers) {
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t k = 0; k < 3; ++k) {
                covariance[i][k] +=
                    (texels[number][i] - axis.mean[i]) * (texels[number][k] - axis.mean[k]);
            }
        }
    }

    // Power iteration, from the row of the channel that varies most: it cannot be orthogonal to
    // the axis.
    std::size_t widest = 0;
    for (std::size_t i = 1; i < 3; ++i) {
        if (covariance[i][i] > covariance[widest][widest]) widest = i;
    }
    ColorVector vector = covariance[widest];
    constexpr int kRounds = 8;
    for (int round = 0; round <= kRounds; ++round) {
        const double length =
            std::sqrt(vector[0] * vector[0] + vector[1] * vector[1] + vector[2] * vector[2]);
        if (length == 0) return axis;
        for (double& part : vector) part /= length;
        axis.direction = vector;
        for (std::size_t i = 0; i < 3; ++i) {
            vector[i] = covariance[i][0] * axis.direction[0] +
                        covariance[i][1] * axis.direction[1] + covariance[i][2] * axis.direction[2];
        }
    }
    return axis;
}

double Axis_Project(const PrincipalAxis& axis, const Texel& texel) {
    double along = 0;
    for (std::size_t i = 0; i < 3; ++i) along += (texel[i] - axis.mean[i]) * axis.direction[i];
    return along;
}

}  // namespace koru_ktxpack
