#include "card_noise.h"

namespace koru_testcard {
namespace {

// std::floor is a call on the oldest x86-64 CPUs, and this is where the time goes.
std::int32_t Noise_Floor(float value) {
    const auto truncated = static_cast<std::int32_t>(value);
    return truncated - (static_cast<float>(truncated) > value ? 1 : 0);
}

float Noise_Fade(float t) { return t * t * t * (t * (t * 6 - 15) + 10); }

std::uint32_t Noise_HashColumn(std::uint32_t bits, std::int32_t x) {
    bits = (bits ^ static_cast<std::uint32_t>(x)) * 0x85EBCA6Bu;
    return bits ^ bits >> 15;
}

/// From 0 to 1.
float Noise_HashCorner(std::uint32_t column, std::int32_t y) {
    std::uint32_t bits = (column ^ static_cast<std::uint32_t>(y)) * 0xC2B2AE35u;
    bits ^= bits >> 13;
    bits *= 0x27D4EB2Fu;
    bits ^= bits >> 16;
    return static_cast<float>(static_cast<std::int32_t>(bits >> 8)) * (1.0f / 16777215.0f);
}

}  // namespace

float Noise::Get(float x, float y, std::uint32_t plane) const {
    const std::int32_t left = Noise_Floor(x);
    const std::int32_t top = Noise_Floor(y);
    const float u = Noise_Fade(x - static_cast<float>(left));
    const float v = Noise_Fade(y - static_cast<float>(top));
    const std::uint32_t bits = seed_ ^ plane * 0x9E3779B9u;
    const std::uint32_t leftColumn = Noise_HashColumn(bits, left);
    const std::uint32_t rightColumn = Noise_HashColumn(bits, left + 1);
    const float a = Noise_HashCorner(leftColumn, top);
    const float b = Noise_HashCorner(rightColumn, top);
    const float c = Noise_HashCorner(leftColumn, top + 1);
    const float d = Noise_HashCorner(rightColumn, top + 1);
    const float upper = a + (b - a) * u;
    const float lower = c + (d - c) * u;
    return upper + (lower - upper) * v;
}

float Noise::GetFractal(float x, float y, int octaves, std::uint32_t plane) const {
    float sum = 0;
    float weight = 0.5f;
    float total = 0;
    for (int i = 0; i < octaves; ++i) {
        sum += weight * Get(x, y, plane + static_cast<std::uint32_t>(i));
        total += weight;
        weight *= 0.5f;
        // Turned a little, so that the grids of the octaves do not show.
        const float turnedX = 1.6f * x + 1.2f * y;
        y = 1.6f * y - 1.2f * x + 17.3f;
        x = turnedX + 5.7f;
    }
    return total > 0 ? sum / total : 0.5f;
}

float Noise::GetRidged(float x, float y, int octaves, std::uint32_t plane) const {
    float sum = 0;
    float weight = 0.5f;
    float total = 0;
    for (int i = 0; i < octaves; ++i) {
        const float wave = 2 * Get(x, y, plane + static_cast<std::uint32_t>(i)) - 1;
        const float crest = 1 - (wave < 0 ? -wave : wave);
        sum += weight * crest * crest;
        total += weight;
        weight *= 0.48f;
        x = x * 2.03f + 11.1f;
        y = y * 2.03f + 3.9f;
    }
    return total > 0 ? sum / total : 0.5f;
}

}  // namespace koru_testcard
