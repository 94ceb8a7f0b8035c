#include "card_overlay.h"

#include <array>
#include <cmath>

namespace koru_testcard {
namespace {

constexpr std::uint32_t kGlyphWidth = 5;
constexpr std::uint32_t kGlyphHeight = 7;
using Glyph = std::array<const char*, kGlyphHeight>;

// clang-format off
constexpr std::array<Glyph, 8> kName{{
    {"#....", "#....", "#..#.", "#.#..", "##...", "#.#..", "#..#."},  // k
    {".....", ".....", ".###.", "#...#", "#...#", "#...#", ".###."},  // o
    {".....", ".....", "#.##.", "##..#", "#....", "#....", "#...."},  // r
    {".....", ".....", "#...#", "#...#", "#...#", "#..##", ".##.#"},  // u
    {".#...", ".#...", "####.", ".#...", ".#...", ".#..#", "..##."},  // t
    {".....", ".....", ".###.", "#...#", "#####", "#....", ".###."},  // e
    {".....", ".....", "#...#", ".#.#.", "..#..", ".#.#.", "#...#"},  // x
    {"..#..", ".###.", "#.#.#", "..#..", "..#..", "..#..", "..#.."},  // an arrow to the top
}};
// clang-format on

bool Name_HasDot(std::int64_t column, std::int64_t row) {
    constexpr std::int64_t kPitch = kGlyphWidth + 1;
    constexpr std::int64_t kArrow = kName.size() - 1;
    constexpr std::int64_t kArrowColumn = kArrow * kPitch + 3;
    if (column < 0 || row < 0 || row >= kGlyphHeight) return false;
    // The arrow stands apart from the letters.
    if (column >= kArrowColumn) {
        column -= kArrowColumn - kArrow * kPitch;
    } else if (column >= kArrow * kPitch) {
        return false;
    }
    const auto glyph = static_cast<std::size_t>(column / kPitch);
    const auto inGlyph = static_cast<std::size_t>(column % kPitch);
    if (glyph >= kName.size() || inGlyph >= kGlyphWidth) return false;
    return kName[glyph][static_cast<std::size_t>(row)][inGlyph] == '#';
}

constexpr float kStripTop = 0.83f;
constexpr float kAspect = 1.6f;  // of a card of ordinary shape

}  // namespace

Overlay::Overlay(std::uint32_t width, std::uint32_t height, bool isOpaque)
    : isOpaque_(isOpaque),
      width_(static_cast<float>(width)),
      height_(static_cast<float>(height)),
      unit_(std::min(height_, width_ / kAspect)),
      edge_(1 / unit_),
      letterScale_(static_cast<std::uint32_t>(unit_) / 80) {}

Color Overlay::ApplyStrips(const Color& scene, float x, float y) const {
    const float down = y / height_;
    if (down < kStripTop) return scene;
    const float along = x / width_;
    const float row = (down - kStripTop) / (1 - kStripTop) * 3;
    if (row < 1) {
        constexpr std::array<Color, 8> kBars{{{1, 1, 1},
                                              {1, 1, 0},
                                              {0, 1, 1},
                                              {0, 1, 0},
                                              {1, 0, 1},
                                              {1, 0, 0},
                                              {0, 0, 1},
                                              {0, 0, 0}}};
        return kBars[std::min(static_cast<std::size_t>(along * 8), kBars.size() - 1)];
    }
    if (row < 2) return Color_FromHue(along);
    // The left half of the greys is smooth, the right half has steps.
    constexpr float kSteps = 8;
    const float grey =
        along < 0.5f ? along * 2 : std::floor((1 - along) * 2 * kSteps) / (kSteps - 1);
    return {grey, grey, grey};
}

Color Overlay::ApplyRings(const Color& scene, float x, float y) const {
    constexpr float kRadius = 0.135f;
    const float dx = (x - width_) / unit_ + 0.27f;
    const float dy = y / unit_ - 0.19f;
    const float squared = dx * dx + dy * dy;
    if (squared > (kRadius + edge_) * (kRadius + edge_)) return scene;
    const float radius = std::sqrt(squared);

    // Ring edges lie at equal steps of the squared radius: they get narrower outwards, down to what
    // the pixels can show.
    constexpr float kRingCount = 13;
    const float position = squared / (kRadius * kRadius) * kRingCount;
    const float floorPosition = std::floor(position);
    const float slope = 2 * radius / (kRadius * kRadius) * kRingCount * edge_ + 0.0001f;
    const float toEdge = std::min(position - floorPosition, 1 - (position - floorPosition));
    const float contrast = 0.5f * Number_Clamp(0.5f + toEdge / slope) * 2 - 0.5f;
    const bool isWhite = static_cast<int>(floorPosition) % 2 == 0;
    const float grey = 0.5f + (isWhite ? contrast : -contrast);
    const float share = 1 - Number_Step(kRadius - edge_, kRadius + edge_, radius);
    return Color_Mix(scene, {grey, grey, grey}, share);
}

Color Overlay::ApplyChecker(const Color& scene, float x, float y) const {
    constexpr float kSide = 0.24f;
    const float left = (x - width_) / unit_ + 0.39f;
    const float top = y / unit_ - 0.40f;
    if (left < 0 || left >= kSide || top < 0 || top >= kSide) return scene;
    // Four quarters, with fields of 1/4, 1/8, 1/16 and 1/32 of the side.
    const auto columns = static_cast<int>(left / kSide * 32);
    const auto rows = static_cast<int>(top / kSide * 32);
    const int quarter = (rows >= 16 ? 2 : 0) + (columns >= 16 ? 1 : 0);
    const int field = 8 >> quarter;
    const bool isLight = (columns / field + rows / field) % 2 == 0;
    constexpr std::array<Color, 4> kDark{
        {{0, 0, 0}, {0.75f, 0.05f, 0.10f}, {0.05f, 0.20f, 0.70f}, {0, 0, 0}}};
    constexpr std::array<Color, 4> kLight{{{1, 1, 1}, {1, 1, 1}, {1.0f, 0.85f, 0.10f}, {1, 1, 1}}};
    return isLight ? kLight[static_cast<std::size_t>(quarter)]
                   : kDark[static_cast<std::size_t>(quarter)];
}

Color Overlay::ApplyName(const Color& scene, std::uint32_t x, std::uint32_t y) const {
    if (letterScale_ == 0) return scene;
    const std::int64_t scale = letterScale_;
    const std::int64_t left = std::int64_t{x} - 4 * scale;
    const std::int64_t top = std::int64_t{y} - 4 * scale;
    const auto hasDot = [scale](std::int64_t column, std::int64_t row) {
        return column >= 0 && row >= 0 && Name_HasDot(column / scale, row / scale);
    };
    if (hasDot(left, top)) return {1, 1, 1};
    const std::int64_t shadow = (scale + 1) / 2;
    if (hasDot(left - shadow, top - shadow)) return Color_Mix(scene, {0.05f, 0.08f, 0.2f}, 0.7f);
    return scene;
}

float Overlay::GetAlpha(float x, float y) const {
    const float down = y / height_;
    if (down >= kStripTop) return 1;
    // A hole with a soft edge.
    const float dx = (x - width_ * 0.5f) / unit_ - 0.08f;
    const float dy = y / unit_ - 0.60f;
    float alpha = Number_Step(0.06f, 0.13f, std::sqrt(dx * dx + dy * dy));
    // A band along the right edge, opaque at the top.
    if ((width_ - x) / unit_ < 0.09f) alpha *= 1 - Number_Clamp(down / kStripTop);
    return alpha;
}

Color Overlay::Apply(const Color& scene, std::uint32_t x, std::uint32_t y) const {
    const float centerX = static_cast<float>(x) + 0.5f;
    const float centerY = static_cast<float>(y) + 0.5f;
    Color color = ApplyRings(scene, centerX, centerY);
    color = ApplyChecker(color, centerX, centerY);
    color = ApplyName(color, x, y);
    color = ApplyStrips(color, centerX, centerY);
    color.a = isOpaque_ ? 1 : GetAlpha(centerX, centerY);
    return color;
}

}  // namespace koru_testcard
