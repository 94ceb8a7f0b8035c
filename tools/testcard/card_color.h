// Colours in floating point, and the few functions of one number that a picture needs. They use
// nothing but the exactly rounded operations, so that a card is the same on every machine.
#pragma once

#include <algorithm>

namespace koru_testcard {

struct Color {
    float r = 0, g = 0, b = 0;
    float a = 1;
};

constexpr float Number_Clamp(float value) { return std::clamp(value, 0.0f, 1.0f); }

constexpr float Number_Mix(float from, float to, float share) { return from + (to - from) * share; }

/// 0 up to `low`, 1 from `high` on, smooth between.
constexpr float Number_Step(float low, float high, float value) {
    const float t = Number_Clamp((value - low) / (high - low));
    return t * t * (3 - 2 * t);
}

/// Mixes the colours; alpha stays that of `from`.
constexpr Color Color_Mix(const Color& from, const Color& to, float share) {
    return {Number_Mix(from.r, to.r, share), Number_Mix(from.g, to.g, share),
            Number_Mix(from.b, to.b, share), from.a};
}

constexpr Color Color_Scale(const Color& color, float factor) {
    return {color.r * factor, color.g * factor, color.b * factor, color.a};
}

constexpr Color Color_Add(const Color& color, const Color& light, float amount) {
    return {color.r + light.r * amount, color.g + light.g * amount, color.b + light.b * amount,
            color.a};
}

/// The colour of a hue from 0 to 1.
constexpr Color Color_FromHue(float hue) {
    const auto channel = [hue](float center) {
        float distance = hue - center;
        distance = distance < 0 ? -distance : distance;
        distance = std::min(distance, 1 - distance);
        return Number_Clamp(2 - 6 * distance);
    };
    return {channel(0), channel(1.0f / 3), channel(2.0f / 3), 1};
}

}  // namespace koru_testcard
