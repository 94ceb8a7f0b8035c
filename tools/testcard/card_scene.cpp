#include "card_scene.h"

#include <algorithm>
#include <cmath>

namespace koru_testcard {
namespace {

constexpr float kHorizon = 0.60f;
constexpr float kSunY = 0.34f;
constexpr float kMargin = 0.1f;  // reflections look a little beyond the edges
constexpr Color kSunlight{1.0f, 0.86f, 0.62f};
constexpr Color kAir{0.93f, 0.76f, 0.66f};
constexpr std::uint32_t kCloudPlane = 100;
constexpr std::uint32_t kCrestPlane = 200;
constexpr std::uint32_t kSlopePlane = 400;
constexpr std::uint32_t kGrainPlane = 600;
constexpr std::uint32_t kWavePlane = 700;

}  // namespace

// Back to front.
const std::array<Scene::Layer, 4> Scene::kLayers{{
    {0.62f, 0.33f, 1.5f, 0.66f, {0.40f, 0.42f, 0.56f}},
    {0.63f, 0.26f, 2.1f, 0.40f, {0.36f, 0.37f, 0.46f}},
    {0.64f, 0.16f, 2.7f, 0.18f, {0.30f, 0.33f, 0.30f}},
    {0.645f, 0.085f, 3.9f, 0.04f, {0.13f, 0.22f, 0.12f}},
}};

Scene::Scene(std::uint32_t seed, float aspect, float pixelSize)
    : noise_(seed), sunX_(aspect * 0.40f), pixelSize_(pixelSize) {
    const auto columnCount = static_cast<std::size_t>((aspect + 2 * kMargin) / pixelSize) + 2;
    for (std::uint32_t index = 0; index < kLayers.size(); ++index) {
        std::vector<float>& crests = crests_[index];
        crests.reserve(columnCount);
        for (std::size_t column = 0; column < columnCount; ++column) {
            crests.push_back(MakeCrest(index, static_cast<float>(column) * pixelSize - kMargin));
        }
    }
}

int Scene::GetOctaves(float frequency) const {
    // Features smaller than a pixel would only be grain.
    constexpr int kMaxOctaves = 7;
    float size = 0.5f / frequency;
    int octaves = 1;
    while (octaves < kMaxOctaves && size > pixelSize_) {
        size *= 0.5f;
        ++octaves;
    }
    return octaves;
}

Color Scene::GetSky(float x, float y) const {
    const float up = Number_Clamp((kHorizon - y) / kHorizon);
    constexpr Color kZenith{0.10f, 0.24f, 0.55f};
    constexpr Color kMiddle{0.42f, 0.60f, 0.84f};
    constexpr Color kGlow{1.0f, 0.80f, 0.58f};
    Color sky = Color_Mix(kGlow, kMiddle, Number_Step(0.0f, 0.55f, up));
    sky = Color_Mix(sky, kZenith, Number_Step(0.35f, 1.1f, up));

    const float dx = x - sunX_;
    const float dy = y - kSunY;
    const float squared = dx * dx + dy * dy;
    sky = Color_Add(sky, kSunlight, 0.55f / (1 + squared * 40));
    sky = Color_Add(sky, kSunlight, 0.50f / (1 + squared * 900));

    // Clouds lie on a plane overhead; near the horizon it is far away.
    const float distance = 0.30f / (up + 0.22f);
    const float cloudX = dx * distance * 2.6f;
    const float cloudY = distance * 5.5f;
    const int octaves = GetOctaves(4.0f);
    const float density = noise_.GetFractal(cloudX, cloudY, octaves, kCloudPlane);
    const float towardsSun = noise_.GetFractal(cloudX - 0.10f * std::clamp(dx * 6, -1.0f, 1.0f),
                                               cloudY + 0.12f, octaves, kCloudPlane);
    const float cover = Number_Step(0.47f, 0.68f, density) * Number_Step(0.02f, 0.22f, up);
    const float light = Number_Clamp(0.62f + (density - towardsSun) * 3.2f);
    const Color cloud = Color_Mix({0.50f, 0.50f, 0.62f}, {1.0f, 0.95f, 0.90f}, light);
    sky = Color_Mix(sky, Color_Add(cloud, kSunlight, 0.25f / (1 + squared * 25)), cover * 0.92f);

    const float edge = pixelSize_ > 0.004f ? pixelSize_ : 0.004f;
    const float disc = 1 - Number_Step(0.040f - edge, 0.040f + edge, std::sqrt(squared));
    return Color_Add(sky, {1.0f, 0.98f, 0.88f}, disc * (1 - 0.6f * cover));
}

float Scene::GetCrest(std::uint32_t index, float x) const {
    const std::vector<float>& crests = crests_[index];
    const float position = std::max((x + kMargin) / pixelSize_, 0.0f);
    const std::size_t column = std::min(static_cast<std::size_t>(position), crests.size() - 2);
    const float share = Number_Clamp(position - static_cast<float>(column));
    return Number_Mix(crests[column], crests[column + 1], share);
}

float Scene::MakeCrest(std::uint32_t index, float x) const {
    const Layer& layer = kLayers[index];
    const std::uint32_t plane = kCrestPlane + index * 20;
    const float shape = noise_.GetRidged(x * layer.frequency + 3.1f * static_cast<float>(index),
                                         0.5f, GetOctaves(layer.frequency), plane);
    const float swell = noise_.Get(x * 1.1f + static_cast<float>(index), 4.5f, plane + 15);
    return layer.base - layer.height * shape * (0.55f + 0.65f * swell);
}

Color Scene::GetSlope(const Layer& layer, std::uint32_t index, float x, float y,
                      float crest) const {
    const std::uint32_t plane = kSlopePlane + index * 20;
    const float frequency = layer.frequency * 4.5f;
    const int octaves = GetOctaves(frequency);
    const float slopeX = x * frequency;
    const float slopeY = (y - 0.45f * crest) * frequency * 1.3f;
    const float relief = noise_.GetFractal(slopeX, slopeY, octaves, plane);
    const float side = 0.16f * std::clamp((sunX_ - x) * 8, -1.0f, 1.0f);
    const float lit = noise_.GetFractal(slopeX + side, slopeY - 0.10f, octaves, plane);
    const float light = Number_Clamp(0.5f + (relief - lit) * 3.6f);

    Color color = layer.rock;
    const float depth = y - crest;
    if (index < 2) {
        const float snowLine = 0.012f + layer.height * 0.42f * relief;
        const float altitude = Number_Step(layer.base - 0.07f, layer.base - 0.17f, crest);
        const float snow = (1 - Number_Step(snowLine * 0.55f, snowLine, depth)) * altitude;
        color = Color_Mix(color, {0.93f, 0.94f, 0.99f}, snow);
    } else {
        const float meadow = Number_Step(0.45f, 0.62f, relief);
        color = Color_Mix(color, {0.40f, 0.42f, 0.18f}, meadow * (index == 2 ? 0.8f : 0.45f));
    }
    color = Color_Scale(color, 0.38f + 1.0f * light);
    color = Color_Add(color, kSunlight, 0.20f * light * light);
    // Mist gathers at the foot.
    const float mist = Number_Step(0.5f, 1.0f, depth / (layer.base - crest + 0.001f));
    return Color_Mix(color, kAir, Number_Clamp(layer.haze + 0.22f * mist * (1 - layer.haze)));
}

Color Scene::GetLand(float x, float y) const {
    // Front to back: the first layer that reaches up to here is seen.
    for (std::uint32_t index = 4; index-- > 0;) {
        const Layer& layer = kLayers[index];
        if (y < layer.base - layer.height * 1.25f) continue;
        const float crest = GetCrest(index, x);
        if (y >= crest) return GetSlope(layer, index, x, y, crest);
    }
    return GetSky(x, y);
}

Color Scene::GetWater(float x, float y) const {
    const float depth = y - kLayers[3].base;
    const float stretch = 1.0f / (depth + 0.05f);
    const float wave =
        noise_.GetFractal(x * 5 * stretch, 9 * stretch * 1.5f, GetOctaves(30), kWavePlane) - 0.5f;
    const float fine = noise_.GetFractal(x * 16, y * 170, GetOctaves(170), kWavePlane + 20) - 0.5f;
    const float ripple = (wave * 0.055f + fine * 0.022f) * (0.25f + depth * 3);
    float mirrored = kLayers[3].base - depth * 1.45f + ripple;
    if (mirrored > kLayers[3].base) mirrored = kLayers[3].base;
    const Color reflection = GetLand(x + ripple * 0.4f, mirrored);
    const Color water = Color_Mix(Color_Scale(reflection, 0.86f), {0.05f, 0.15f, 0.24f},
                                  Number_Clamp(0.16f + depth * 1.5f));
    const float glint = Number_Step(0.13f, 0.30f, fine + wave * 0.6f);
    const float dx = x - sunX_;
    return Color_Add(water, kSunlight, glint * 0.75f / (1 + dx * dx * 60));
}

Color Scene::GetColor(float x, float y) const {
    Color color = y > kLayers[3].base ? GetWater(x, y) : GetLand(x, y);
    // Film grain keeps flat parts from being flat.
    const float scale = 1 / pixelSize_;
    const float grain = noise_.Get(x * scale * 0.71f, y * scale * 0.71f, kGrainPlane) - 0.5f;
    return Color_Scale(color, 1 + grain * 0.035f);
}

}  // namespace koru_testcard
