#include "formats/expand.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "formats/gl_codes.h"

namespace koru {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kUntouched = 0xEE;
constexpr std::array<std::uint32_t, 4> kRgb10A2Masks{0x3FF, 0x3FF << 10, 0x3FF << 20, 0xC0000000u};
constexpr std::array<std::uint32_t, 4> kPackedFloatMasks{0x7FF, 0x7FF << 11, 0xFFC00000u, 0};
constexpr std::array<std::uint32_t, 4> kRgb9E5Masks{0x1FF, 0x1FF << 9, 0x1FF << 18, 0xF8000000u};

struct MemberCase {
    ExpandMember member;
    const char* name;
    int (*expand)(DecodeSurface&, const PackedPixels&, const ChannelLayout&) noexcept;
};
constexpr MemberCase kKtx{ExpandMember::Ktx, "Ktx", ExpandPackedPixels};
constexpr MemberCase kPvr{ExpandMember::Pvr, "Pvr", ExpandPackedPixelsPvr};
constexpr MemberCase kAstc{ExpandMember::Astc, "Astc", ExpandPackedPixelsAstc};
void PrintTo(const MemberCase& member, std::ostream* out) { *out << member.name; }

/// A surface whose bytes are all kUntouched.
DecodeSurface MakeSurface(std::uint32_t width, std::uint32_t height, std::uint32_t bytesPerPixel) {
    DecodeSurface surface;
    EXPECT_TRUE(Surface_SetLayout(surface, width, height, bytesPerPixel));
    surface.pixels = ByteBuffer::Allocate(surface.dataSize);
    std::fill_n(surface.pixels.Data(), surface.dataSize, kUntouched);
    return surface;
}

Bytes GetBytes(const DecodeSurface& surface) {
    return {surface.pixels.Data(), surface.pixels.Data() + surface.dataSize};
}

PackedPixels Pack(const Bytes& bytes, std::uint32_t bitsPerPixel) {
    const auto size = static_cast<std::uint32_t>(bytes.size());
    return {.data = bytes.data(), .size = size, .readable = size, .bitsPerPixel = bitsPerPixel};
}

/// What one row of pixels becomes on a surface of the given pixel size.
Bytes ExpandRow(const MemberCase& member, const Bytes& source, std::uint32_t bitsPerPixel,
                const ChannelLayout& layout, std::uint32_t width, std::uint32_t bytesPerPixel) {
    DecodeSurface surface = MakeSurface(width, 1, bytesPerPixel);
    EXPECT_EQ(member.expand(surface, Pack(source, bitsPerPixel), layout), 1);
    return GetBytes(surface);
}

Bytes Word16(std::uint32_t value) {
    return {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)};
}

Bytes Word32(std::uint32_t value) {
    return {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
            static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)};
}

Bytes Expand16(std::uint32_t glFormat, std::uint32_t value) {
    return ExpandRow(kKtx, Word16(value), 16, {.glFormat = glFormat}, 1, 4);
}

Bytes Expand32(const MemberCase& member, const std::array<std::uint32_t, 4>& masks,
               std::uint32_t glFormat, std::uint32_t value) {
    return ExpandRow(member, Word32(value), 32, Layout_FromMasks(masks, glFormat), 1, 4);
}

// --- Conversions, by hand ------------------------------------------------------------------

TEST(Expand8, IsGreyAndNeverWritesAlpha) {
    EXPECT_EQ(ExpandRow(kKtx, {7, 9, 0, 0}, 8, {}, 2, 4),
              Bytes({7, 7, 7, kUntouched, 9, 9, 9, kUntouched}));
    EXPECT_EQ(ExpandRow(kKtx, {7, 9, 0, 0}, 8, {}, 2, 3), Bytes({7, 7, 7, 9, 9, 9}));
}

TEST(Expand24, CopiesChannelsAndNeverWritesAlpha) {
    EXPECT_EQ(ExpandRow(kKtx, {1, 2, 3, 4, 5, 6, 0, 0}, 24, {}, 2, 4),
              Bytes({1, 2, 3, kUntouched, 4, 5, 6, kUntouched}));
    EXPECT_EQ(ExpandRow(kKtx, {1, 2, 3, 4, 5, 6, 0, 0}, 24, {}, 2, 3), Bytes({1, 2, 3, 4, 5, 6}));
}

TEST(Expand16, Rgb565) {
    EXPECT_EQ(Expand16(GL_RGB565, 0xFFFF), Bytes({255, 255, 255, 255}));
    EXPECT_EQ(Expand16(GL_RGB565, 0x8410), Bytes({131, 129, 131, 255}));
    EXPECT_EQ(Expand16(GL_RGB565, 0x0821), Bytes({8, 4, 8, 255}));  // 1 * 255 / 31, 1 * 255 / 63
    EXPECT_EQ(Expand16(GL_RGB565, 0xF800), Bytes({255, 0, 0, 255}));
    EXPECT_EQ(Expand16(GL_RGB565, 0x001F), Bytes({0, 0, 255, 255}));
    EXPECT_EQ(Expand16(GL_RGB565, 0x0000), Bytes({0, 0, 0, 255}));
}

TEST(Expand16, Rgb5IsOpaqueWhateverBit15) {
    EXPECT_EQ(Expand16(GL_RGB5, 0x7C00), Bytes({255, 0, 0, 255}));
    EXPECT_EQ(Expand16(GL_RGB5, 0x83E0), Bytes({0, 255, 0, 255}));
    EXPECT_EQ(Expand16(GL_RGB5, 0x0010), Bytes({0, 0, 131, 255}));
}

TEST(Expand16, Rgb5A1TakesAlphaFromBit15) {
    EXPECT_EQ(Expand16(GL_RGB5_A1, 0x7C00), Bytes({255, 0, 0, 0}));
    EXPECT_EQ(Expand16(GL_RGB5_A1, 0x83E0), Bytes({0, 255, 0, 255}));
}

TEST(Expand16, Rgba4HasAlphaOnTop) {
    EXPECT_EQ(Expand16(GL_RGBA4, 0xF00F), Bytes({0, 0, 255, 255}));
    EXPECT_EQ(Expand16(GL_RGBA4, 0x1234), Bytes({34, 51, 68, 17}));
}

TEST(Expand16, AnUnknownFormatStaysOpaqueBlack) {
    EXPECT_EQ(ExpandRow(kKtx, {1, 2, 3, 4}, 16, {.glFormat = 0x1234}, 2, 4),
              Bytes({0, 0, 0, 255, 0, 0, 0, 255}));
    EXPECT_EQ(ExpandRow(kPvr, {1, 2, 3, 4}, 16, {}, 2, 3), Bytes({0, 0, 0, 0, 0, 0}));
}

TEST(Expand16, WritesNoAlphaTo24BitSurfaces) {
    EXPECT_EQ(ExpandRow(kKtx, Word16(0x1234), 16, {.glFormat = GL_RGBA4}, 1, 3),
              Bytes({34, 51, 68}));
}

TEST(Expand32, CopiesRawBytes) {
    for (const auto& member : {kKtx, kPvr, kAstc}) {
        EXPECT_EQ(Expand32(member, kRgbaByteMasks, 0, 0x04030201), Bytes({1, 2, 3, 4}));
    }
    EXPECT_EQ(ExpandRow(kKtx, Word32(0x04030201), 32, {}, 1, 3), Bytes({1, 2, 3}));
}

TEST(Expand32, AlphaFollowsBitsPerPixelOfTheSurface) {
    DecodeSurface surface = MakeSurface(1, 1, 4);
    surface.bitsPerPixel = 24;
    ASSERT_EQ(ExpandPackedPixels(surface, Pack({1, 2, 3, 4}, 32), {}), 1);
    EXPECT_EQ(GetBytes(surface), Bytes({1, 2, 3, kUntouched}));
}

TEST(Expand32, Rgb10A2KeepsTheTwoLowestBitsAndWraps) {
    // A 10-bit channel v: (v & 3) << 30, times 255 in 32 bits, over 0xC0000000: 0, 1, 0, 0 for
    // v & 3 = 0, 1, 2, 3. The 2-bit alpha is ordinary: 0, 85, 170, 255.
    const std::array<std::uint8_t, 4> color{0, 1, 0, 0};
    const std::array<std::uint8_t, 4> alpha{0, 85, 170, 255};
    for (const auto& member : {kKtx, kPvr, kAstc}) {
        for (std::uint32_t glFormat : {GL_RGB10_A2, GL_RGB10_A2UI}) {
            for (std::uint32_t v = 0; v < 1024; ++v) {
                const std::uint32_t r = v, g = (v + 1) % 1024, b = (v + 2) % 1024, a = v % 4;
                EXPECT_EQ(
                    Expand32(member, kRgb10A2Masks, glFormat, r | g << 10 | b << 20 | a << 30),
                    Bytes({color[r & 3], color[g & 3], color[b & 3], alpha[a]}));
            }
        }
    }
}

TEST(Expand32, Rgb9E5KeepsTheLowestBitAndIgnoresTheExponent) {
    // A 9-bit channel v: (v & 1) << 31 over 0x80000000, times 255 in 32 bits: v & 1.
    for (const auto& member : {kKtx, kPvr, kAstc}) {
        EXPECT_EQ(Expand32(member, kRgb9E5Masks, GL_RGB9_E5, 0x1FF | 0x1FEu << 9 | 0x1u << 18),
                  Bytes({1, 0, 1, 255}));
        EXPECT_EQ(Expand32(member, kRgb9E5Masks, GL_RGB9_E5, 0xF8000000u), Bytes({0, 0, 0, 255}));
    }
}

TEST(Expand32, AMaskedChannelWithoutMaskIs0) {
    EXPECT_EQ(Expand32(kKtx, {0, 0, 0, 0}, GL_RGB10_A2, 0xFFFFFFFF), Bytes({0, 0, 0, 0}));
}

/// One channel of GL_R11F_G11F_B10F as the format's definition says it, in floating point.
std::uint8_t ReferenceSmallFloat(unsigned mantissaBits, std::uint32_t value) {
    const unsigned exponent = value >> mantissaBits;
    const double mantissa = (value & ((1u << mantissaBits) - 1)) / std::pow(2.0, mantissaBits);
    double number = 0;
    if (exponent == 0) {
        number = std::pow(2.0, -14) * mantissa;
    } else if (exponent < 31) {
        number = std::pow(2.0, static_cast<int>(exponent) - 15) * (1 + mantissa);
    }
    return static_cast<std::uint8_t>(static_cast<std::int64_t>(number * 255) & 255);
}

TEST(Expand32, R11FG11FB10FByHand) {
    const auto pack = [](std::uint32_t r, std::uint32_t g, std::uint32_t b) {
        return r | g << 11 | b << 22;
    };
    // 1.0 is exponent 15, mantissa 0; 2.0 exponent 16; 0.5 exponent 14.
    EXPECT_EQ(Expand32(kKtx, kPackedFloatMasks, GL_R11F_G11F_B10F, pack(15 << 6, 16 << 6, 14 << 5)),
              Bytes({255, 254, 127, 255}));
    // 1.5 * 255 = 382 stores 126. Infinity and NaN store 0.
    EXPECT_EQ(Expand32(kKtx, kPackedFloatMasks, GL_R11F_G11F_B10F,
                       pack(15 << 6 | 32, 31 << 6, 31 << 5 | 1)),
              Bytes({126, 0, 0, 255}));
    // The largest denormal is far below 1 / 255.
    EXPECT_EQ(Expand32(kKtx, kPackedFloatMasks, GL_R11F_G11F_B10F, pack(63, 63, 31)),
              Bytes({0, 0, 0, 255}));
}

TEST(Expand32, R11FG11FB10FEveryValue) {
    for (std::uint32_t v = 0; v < 2048; ++v) {
        const std::uint32_t b = v % 1024;
        EXPECT_EQ(Expand32(kKtx, kPackedFloatMasks, GL_R11F_G11F_B10F, v | v << 11 | b << 22),
                  Bytes({ReferenceSmallFloat(6, v), ReferenceSmallFloat(6, v),
                         ReferenceSmallFloat(5, b), 255}))
            << v;
    }
}

TEST(Expand32, PvrAndAstcCopyPackedFloatsRaw) {
    for (const auto& member : {kPvr, kAstc}) {
        EXPECT_EQ(Expand32(member, kPackedFloatMasks, GL_R11F_G11F_B10F, 0x04030201),
                  Bytes({1, 2, 3, 4}));
    }
}

TEST(ExpandAstc, IgnoresBitsPerPixel) {
    for (std::uint32_t bits : {0u, 8u, 16u, 24u, 32u, 99u}) {
        EXPECT_EQ(ExpandRow(kAstc, {1, 2, 3, 4, 5, 6, 7, 8}, bits, {}, 2, 4),
                  Bytes({1, 2, 3, 4, 5, 6, 7, 8}));
    }
}

// --- Refusals ------------------------------------------------------------------------------

class ExpandEveryMember : public testing::TestWithParam<MemberCase> {};
INSTANTIATE_TEST_SUITE_P(Members, ExpandEveryMember, testing::Values(kKtx, kPvr, kAstc),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(ExpandEveryMember, RefusesWithoutPixelsSourceOrSize) {
    const Bytes source{1, 2, 3, 4};
    DecodeSurface bare;
    ASSERT_TRUE(Surface_SetLayout(bare, 1, 1, 4));
    EXPECT_EQ(GetParam().expand(bare, Pack(source, 32), {}), 0);

    DecodeSurface surface = MakeSurface(1, 1, 4);
    PackedPixels packed = Pack(source, 32);
    packed.data = nullptr;
    EXPECT_EQ(GetParam().expand(surface, packed, {}), 0);
    packed = Pack(source, 32);
    packed.size = 0;
    EXPECT_EQ(GetParam().expand(surface, packed, {}), 0);
    EXPECT_EQ(GetBytes(surface), Bytes(4, kUntouched));
}

TEST(Expand, RefusesZeroBitsPerPixelButAstcDoesNot) {
    const Bytes source{1, 2, 3, 4};
    DecodeSurface surface = MakeSurface(1, 1, 4);
    EXPECT_EQ(ExpandPackedPixels(surface, Pack(source, 0), {}), 0);
    EXPECT_EQ(ExpandPackedPixelsPvr(surface, Pack(source, 0), {}), 0);
    EXPECT_EQ(GetBytes(surface), Bytes(4, kUntouched));
    EXPECT_EQ(ExpandPackedPixelsAstc(surface, Pack(source, 0), {}), 1);
}

TEST_P(ExpandEveryMember, CompletesOnASurfaceWithoutRows) {
    DecodeSurface surface = MakeSurface(1, 1, 4);
    surface.height = 0;
    EXPECT_EQ(GetParam().expand(surface, Pack({1, 2, 3, 4}, 32), {}), 1);
    EXPECT_EQ(GetBytes(surface), Bytes(4, kUntouched));
}

// --- Rows ----------------------------------------------------------------------------------

TEST(ExpandRows, SourceRowsArePaddedToFourBytes) {
    // 8 bits: 3 pixels and 1 byte of padding a row.
    DecodeSurface grey = MakeSurface(3, 2, 3);
    ASSERT_EQ(ExpandPackedPixels(grey, Pack({1, 2, 3, 99, 4, 5, 6, 99}, 8), {}), 1);
    EXPECT_EQ(GetBytes(grey), Bytes({1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5, 5, 5, 6, 6, 6}));
    // 24 bits: one pixel and 1 byte of padding a row.
    DecodeSurface rgb = MakeSurface(1, 2, 3);
    ASSERT_EQ(ExpandPackedPixels(rgb, Pack({1, 2, 3, 99, 4, 5, 6, 99}, 24), {}), 1);
    EXPECT_EQ(GetBytes(rgb), Bytes({1, 2, 3, 4, 5, 6}));
    // 16 bits: one pixel and 2 bytes of padding a row.
    DecodeSurface packed = MakeSurface(1, 2, 3);
    ASSERT_EQ(
        ExpandPackedPixels(packed, Pack({0x1F, 0, 99, 99, 0, 0xF8}, 16), {.glFormat = GL_RGB565}),
        1);
    EXPECT_EQ(GetBytes(packed), Bytes({0, 0, 255, 255, 0, 0}));
}

TEST(ExpandRows, Unpadded24BitRowsComeOutSheared) {
    // Decoders hand over packed rows; with 3 * width no multiple of 4 the second row starts late.
    DecodeSurface surface = MakeSurface(1, 2, 3);
    ASSERT_EQ(ExpandPackedPixels(surface, Pack({1, 2, 3, 4, 5, 6, 7}, 24), {}), 1);
    EXPECT_EQ(GetBytes(surface), Bytes({1, 2, 3, 5, 6, 7}));
}

TEST(ExpandRows, AShortSourceKeepsTheRestOfTheTarget) {
    DecodeSurface surface = MakeSurface(4, 2, 3);
    // 24 bits: byte s + 2 of the third pixel is missing.
    ASSERT_EQ(ExpandPackedPixels(surface, Pack({1, 2, 3, 4, 5, 6, 7, 8}, 24), {}), 1);
    Bytes expected(24, kUntouched);
    std::copy_n(Bytes({1, 2, 3, 4, 5, 6}).begin(), 6, expected.begin());
    EXPECT_EQ(GetBytes(surface), expected);
}

TEST(ExpandRows, AShort16BitSourceNeedsBothBytes) {
    DecodeSurface surface = MakeSurface(2, 1, 3);
    ASSERT_EQ(ExpandPackedPixels(surface, Pack({0xFF, 0xFF, 0xFF}, 16), {.glFormat = GL_RGB565}),
              1);
    EXPECT_EQ(GetBytes(surface), Bytes({255, 255, 255, kUntouched, kUntouched, kUntouched}));
}

TEST(ExpandRows, APixelThatTheTargetCutsIsNotWritten) {
    for (std::uint32_t dataSize : {4u, 5u}) {
        DecodeSurface surface = MakeSurface(2, 1, 3);
        surface.dataSize = dataSize;
        ASSERT_EQ(ExpandPackedPixels(surface, Pack({1, 2, 3, 4, 5, 6, 7, 8}, 24), {}), 1);
        EXPECT_EQ(Bytes(surface.pixels.Data(), surface.pixels.Data() + 6),
                  Bytes({1, 2, 3, kUntouched, kUntouched, kUntouched}));
    }
}

TEST(ExpandRows, TheFourthByteIsNotTestedButNeverReadBehindTheMemory) {
    for (const auto& member : {kKtx, kPvr, kAstc}) {
        // Three bytes count and can be read: the missing fourth reads as 0.
        DecodeSurface surface = MakeSurface(1, 1, 4);
        const auto exact = std::make_unique<std::uint8_t[]>(3);
        std::copy_n(Bytes({1, 2, 3}).begin(), 3, exact.get());
        ASSERT_EQ(
            member.expand(surface,
                          {.data = exact.get(), .size = 3, .readable = 3, .bitsPerPixel = 32}, {}),
            1);
        EXPECT_EQ(GetBytes(surface), Bytes({1, 2, 3, 0}));
        // Three count and four can be read: the fourth is taken.
        const Bytes four{1, 2, 3, 4};
        ASSERT_EQ(
            member.expand(surface,
                          {.data = four.data(), .size = 3, .readable = 4, .bitsPerPixel = 32}, {}),
            1);
        EXPECT_EQ(GetBytes(surface), four);
        // Two count: the pixel is not reached.
        DecodeSurface untouched = MakeSurface(1, 1, 4);
        ASSERT_EQ(
            member.expand(untouched,
                          {.data = four.data(), .size = 2, .readable = 4, .bitsPerPixel = 32}, {}),
            1);
        EXPECT_EQ(GetBytes(untouched), Bytes(4, kUntouched));
    }
}

TEST(ExpandRows, AGreyByteIsNotTestedButNeverReadBehindTheMemory) {
    // Width 1: rows are 4 bytes apart. Only the first byte counts; six can be read.
    DecodeSurface surface = MakeSurface(1, 3, 3);
    const auto exact = std::make_unique<std::uint8_t[]>(6);
    std::copy_n(Bytes({1, 2, 3, 4, 5, 6}).begin(), 6, exact.get());
    ASSERT_EQ(ExpandPackedPixels(
                  surface, {.data = exact.get(), .size = 1, .readable = 6, .bitsPerPixel = 8}, {}),
              1);
    EXPECT_EQ(GetBytes(surface), Bytes({1, 1, 1, 5, 5, 5, 0, 0, 0}));
}

TEST(ExpandRows, AnUnknownWidthGivesBlackWithoutAlpha) {
    DecodeSurface surface = MakeSurface(2, 1, 4);
    ASSERT_EQ(ExpandPackedPixels(surface, Pack(Bytes(16, 7), 64), {}), 1);
    EXPECT_EQ(GetBytes(surface), Bytes({0, 0, 0, kUntouched, 0, 0, 0, kUntouched}));
    DecodeSurface below8 = MakeSurface(2, 1, 3);
    ASSERT_EQ(ExpandPackedPixels(below8, Pack(Bytes(1, 7), 4), {}), 1);
    EXPECT_EQ(GetBytes(below8), Bytes(6, 0));
}

TEST(ExpandRows, BitsBelowAWholeByteDoNotCount) {
    EXPECT_EQ(ExpandRow(kKtx, {7, 9, 0, 0}, 15, {}, 2, 3), Bytes({7, 7, 7, 9, 9, 9}));
    EXPECT_EQ(ExpandRow(kKtx, {1, 2, 3, 4}, 39, {}, 1, 4), Bytes({1, 2, 3, 4}));
}

// --- A second implementation, pixel by pixel -----------------------------------------------

/// The definition, as plainly as it can be said; bytes that cannot be read are 0.
Bytes ReferenceExpand(ExpandMember member, std::uint32_t width, std::uint32_t height,
                      std::uint32_t targetBytes, const Bytes& source, std::uint32_t sourceSize,
                      std::uint32_t bitsPerPixel, const ChannelLayout& layout,
                      std::uint32_t targetBits = 32) {
    const std::uint32_t dataSize = width * height * targetBytes;
    Bytes target(dataSize, kUntouched);
    const auto at = [&](std::uint64_t i) -> std::uint32_t {
        return i < source.size() ? source[i] : 0;
    };
    const bool isAstc = member == ExpandMember::Astc;
    const std::uint64_t b = isAstc ? 4 : bitsPerPixel / 8;
    const std::uint64_t pad = isAstc ? 0 : ((width * b + 3) & ~std::uint64_t{3}) - width * b;
    std::uint64_t s = 0, t = 0;
    std::uint8_t r = 0, g = 0, bl = 0, a = 255;
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            if (t + 2 >= dataSize) break;
            if (b >= 2 && s + 1 >= sourceSize) break;
            if (b >= 3 && s + 2 >= sourceSize) break;
            const auto masked = [&](std::size_t c, std::uint32_t p) {
                const std::uint32_t shifted = (p >> layout.shifts[c])
                                              << ((8u - layout.bitCounts[c]) & 31u);
                const std::uint32_t v = shifted & layout.maxValues[c];
                return static_cast<std::uint8_t>(v * 255u / layout.maxValues[c]);
            };
            if (b == 1) {
                r = g = bl = static_cast<std::uint8_t>(at(s));
            } else if (b == 2) {
                const std::uint32_t p = at(s) | at(s + 1) << 8;
                const auto five = [&](unsigned shift) {
                    return static_cast<std::uint8_t>((p >> shift & 31) * 255 / 31);
                };
                const auto four = [&](unsigned shift) {
                    return static_cast<std::uint8_t>((p >> shift & 15) * 17);
                };
                if (layout.glFormat == 0x8D62) {
                    r = five(11);
                    g = static_cast<std::uint8_t>((p >> 5 & 63) * 255 / 63);
                    bl = five(0);
                    a = 255;
                } else if (layout.glFormat == 0x8050 || layout.glFormat == 0x8057) {
                    r = five(10);
                    g = five(5);
                    bl = five(0);
                    a = layout.glFormat == 0x8050 || (p & 0x8000) != 0 ? 255 : 0;
                } else if (layout.glFormat == 0x8056) {
                    r = four(8);
                    g = four(4);
                    bl = four(0);
                    a = four(12);
                }
            } else if (b == 3) {
                r = static_cast<std::uint8_t>(at(s));
                g = static_cast<std::uint8_t>(at(s + 1));
                bl = static_cast<std::uint8_t>(at(s + 2));
            } else if (b == 4) {
                const std::uint32_t p = at(s) | at(s + 1) << 8 | at(s + 2) << 16 | at(s + 3) << 24;
                if (layout.glFormat == 0x8059 || layout.glFormat == 0x906F) {
                    r = masked(0, p);
                    g = masked(1, p);
                    bl = masked(2, p);
                    a = masked(3, p);
                } else if (layout.glFormat == 0x8C3D) {
                    r = masked(0, p);
                    g = masked(1, p);
                    bl = masked(2, p);
                    a = 255;
                } else if (layout.glFormat == 0x8C3A && member == ExpandMember::Ktx) {
                    r = ReferenceSmallFloat(6, p & 0x7FF);
                    g = ReferenceSmallFloat(6, p >> 11 & 0x7FF);
                    bl = ReferenceSmallFloat(5, p >> 22);
                    a = 255;
                } else {
                    r = static_cast<std::uint8_t>(at(s));
                    g = static_cast<std::uint8_t>(at(s + 1));
                    bl = static_cast<std::uint8_t>(at(s + 2));
                    a = static_cast<std::uint8_t>(at(s + 3));
                }
            }
            target[t] = r;
            target[t + 1] = g;
            target[t + 2] = bl;
            if ((b == 2 || b == 4) && targetBytes == 4 && targetBits == 32) target[t + 3] = a;
            s += b;
            t += targetBytes;
        }
        s += pad;
    }
    return target;
}

constexpr std::array<std::uint32_t, 10> kFormats{
    GL_RGB565,     GL_RGB5,    GL_RGB5_A1,        GL_RGBA4, GL_RGB10_A2,
    GL_RGB10_A2UI, GL_RGB9_E5, GL_R11F_G11F_B10F, 0,        0x8058};

ChannelLayout GetLayout(std::uint32_t glFormat) {
    const auto& masks = glFormat == GL_RGB9_E5          ? kRgb9E5Masks
                        : glFormat == GL_R11F_G11F_B10F ? kPackedFloatMasks
                                                        : kRgb10A2Masks;
    return Layout_FromMasks(masks, glFormat);
}

TEST_P(ExpandEveryMember, MatchesThePlainDefinitionOnRandomPixels) {
    std::mt19937 random(35);
    const auto pick = [&](std::uint32_t below) {
        return std::uniform_int_distribution<std::uint32_t>(0, below - 1)(random);
    };
    const std::array<std::uint32_t, 7> widthsInBits{4, 8, 15, 16, 24, 32, 64};
    for (int round = 0; round < 20000; ++round) {
        const std::uint32_t width = 1 + pick(9), height = 1 + pick(5), targetBytes = 3 + pick(2);
        const std::uint32_t bits = widthsInBits[pick(widthsInBits.size())];
        const std::uint32_t glFormat = kFormats[pick(kFormats.size())];
        const ChannelLayout layout = GetLayout(glFormat);
        const std::uint32_t readable = 1 + pick(width * height * 5 + 8);
        const std::uint32_t size = 1 + pick(readable);
        Bytes source(readable);
        for (auto& byte : source) byte = static_cast<std::uint8_t>(random());

        DecodeSurface surface = MakeSurface(width, height, targetBytes);
        const PackedPixels packed{
            .data = source.data(), .size = size, .readable = readable, .bitsPerPixel = bits};
        ASSERT_EQ(GetParam().expand(surface, packed, layout), 1);
        ASSERT_EQ(GetBytes(surface), ReferenceExpand(GetParam().member, width, height, targetBytes,
                                                     source, size, bits, layout))
            << "round " << round << ": " << width << 'x' << height << " bits " << bits << " format "
            << std::hex << glFormat << std::dec << " size " << size << " of " << readable;
    }
}

TEST_P(ExpandEveryMember, ReadsZerosBehindTheMemoryOnEverySurface) {
    constexpr std::uint32_t kWidth = 3, kHeight = 2;
    struct Surface {
        std::uint32_t bytesPerPixel, bitsPerPixel;
    };
    // The last one has a fourth byte that is no alpha.
    constexpr std::array<Surface, 3> kSurfaces{{{3, 24}, {4, 32}, {4, 24}}};
    std::mt19937 random(37);
    Bytes pixels(kHeight * 12);
    for (auto& byte : pixels) byte = static_cast<std::uint8_t>(1 + random() % 255);
    for (const auto& [bytesPerPixel, surfaceBits] : kSurfaces) {
        for (const std::uint32_t bits : {8u, 16u, 24u, 32u}) {
            for (const std::uint32_t glFormat : kFormats) {
                for (std::size_t readable = 1; readable <= pixels.size(); ++readable) {
                    const Bytes source(pixels.begin(),
                                       pixels.begin() + static_cast<std::ptrdiff_t>(readable));
                    // As many bytes count as there are pixels, however few can be read.
                    const auto size = static_cast<std::uint32_t>(pixels.size());
                    DecodeSurface surface = MakeSurface(kWidth, kHeight, bytesPerPixel);
                    surface.bitsPerPixel = surfaceBits;
                    const PackedPixels packed{.data = source.data(),
                                              .size = size,
                                              .readable = static_cast<std::uint32_t>(readable),
                                              .bitsPerPixel = bits};
                    const ChannelLayout layout = GetLayout(glFormat);
                    ASSERT_EQ(GetParam().expand(surface, packed, layout), 1);
                    ASSERT_EQ(GetBytes(surface),
                              ReferenceExpand(GetParam().member, kWidth, kHeight, bytesPerPixel,
                                              source, size, bits, layout, surfaceBits))
                        << bytesPerPixel << " bytes of " << surfaceBits << " bits from " << bits
                        << " bits of format " << std::hex << glFormat << std::dec << ", "
                        << readable << " bytes readable";
                }
            }
        }
    }
}

// --- Handing over --------------------------------------------------------------------------

TEST_P(ExpandEveryMember, TakingPixelsEqualsExpandingThemOnOpaqueBlack) {
    std::mt19937 random(36);
    const auto pick = [&random](std::uint32_t count) {
        return static_cast<std::uint32_t>(random() % count);
    };
    int adopted = 0, converted = 0;
    for (std::uint32_t width = 1; width <= 9; ++width) {
        for (std::uint32_t targetBytes : {3u, 4u}) {
            for (std::uint32_t bits : {0u, 8u, 16u, 24u, 32u, 40u}) {
                for (std::uint32_t glFormat :
                     {0u, std::uint32_t{GL_RGB10_A2}, std::uint32_t{GL_R11F_G11F_B10F}}) {
                    const ChannelLayout layout = Layout_FromMasks(
                        glFormat == GL_RGB10_A2 ? kRgb10A2Masks : kPackedFloatMasks, glFormat);
                    const std::uint32_t whole = width * 2 * std::max(bits / 8, 1u);
                    // The buffer may hold fewer bytes than count, exactly those, or more.
                    const std::uint32_t held = whole + pick(9) - std::min(whole - 1, 4u);
                    const std::uint32_t counted =
                        pick(2) == 0 ? held : whole + pick(9) - std::min(whole, 4u);
                    ByteBuffer source = ByteBuffer::Allocate(held);
                    std::generate_n(source.Data(), source.Size(),
                                    [&] { return static_cast<std::uint8_t>(random()); });

                    DecodeSurface expected;
                    ASSERT_TRUE(Surface_SetLayout(expected, width, 2, targetBytes));
                    ASSERT_TRUE(Surface_AllocateBlack(expected));
                    const PackedPixels packed = Packed_FromBuffer(source, counted, bits);
                    GetParam().expand(expected, packed, layout);
                    const bool isCopy = held >= expected.dataSize &&
                                        Expand_IsCopy(expected, packed, layout, GetParam().member);

                    DecodeSurface surface;
                    ASSERT_TRUE(Surface_SetLayout(surface, width, 2, targetBytes));
                    ASSERT_EQ(Expand_TakePixels(surface, std::move(source), counted, bits, layout,
                                                GetParam().member),
                              1);
                    EXPECT_EQ(surface.pixels.Size(), surface.dataSize);
                    EXPECT_EQ(GetBytes(surface), GetBytes(expected))
                        << width << ' ' << targetBytes << ' ' << bits << ' ' << glFormat << ' '
                        << held << ' ' << counted;
                    ++(isCopy ? adopted : converted);
                }
            }
        }
    }
    EXPECT_GT(adopted, 0);
    EXPECT_GT(converted, 0);
}

TEST(ExpandTakePixels, BecomesTheSourceWhereExpandingWouldCopy) {
    const auto take = [](std::uint32_t height, std::uint32_t heldBytes,
                         std::uint32_t countedBytes) {
        DecodeSurface surface;
        EXPECT_TRUE(Surface_SetLayout(surface, 1000, height, 4));
        ByteBuffer source = ByteBuffer::Allocate(heldBytes);
        std::fill_n(source.Data(), heldBytes, kUntouched);
        const std::uint8_t* sourceBytes = source.Data();
        EXPECT_EQ(
            Expand_TakePixels(surface, std::move(source), countedBytes, 32, {}, ExpandMember::Ktx),
            1);
        EXPECT_EQ(surface.pixels.Size(), surface.dataSize);
        EXPECT_EQ(surface.pixels.Data()[0], kUntouched);
        return surface.pixels.Data() == sourceBytes;
    };
    EXPECT_TRUE(take(1, 4000, 4000));
    EXPECT_FALSE(take(1, 4000, 3999));
    EXPECT_FALSE(take(1, 3999, 4000)) << "the buffer must hold every byte of the pixels";
}

TEST(ExpandTakePixels, ARefusedExpansionIsOpaqueBlackAndNoFailure) {
    DecodeSurface surface;
    ASSERT_TRUE(Surface_SetLayout(surface, 1, 1, 4));
    EXPECT_EQ(Expand_TakePixels(surface, ByteBuffer::Allocate(4), 4, 0, {}, ExpandMember::Ktx), 1);
    EXPECT_EQ(GetBytes(surface), Bytes({0, 0, 0, 255}));
    ASSERT_TRUE(Surface_SetLayout(surface, 1, 1, 3));
    EXPECT_EQ(Expand_TakePixels(surface, {}, 0, 24, {}, ExpandMember::Ktx), 1);
    EXPECT_EQ(GetBytes(surface), Bytes({0, 0, 0}));
}

TEST(PackedFromBuffer, ReadsNoMoreThanTheBufferAndItsSlack) {
    const ByteBuffer buffer = ByteBuffer::Allocate(8);
    for (std::uint32_t size : {3u, 8u, 9u, 0xFFFFFFFFu}) {
        const PackedPixels packed = Packed_FromBuffer(buffer, size, 32);
        EXPECT_EQ(packed.data, buffer.Data());
        EXPECT_EQ(packed.size, size);
        EXPECT_EQ(packed.readable, 8u + ByteBuffer::kSlackBytes);
        EXPECT_EQ(packed.bitsPerPixel, 32u);
    }
}

TEST(ExpandIsCopy, HoldsForUnchangedWholeImages) {
    const Bytes bytes(64, 1);
    const DecodeSurface rgba = MakeSurface(4, 2, 4);
    const DecodeSurface rgb = MakeSurface(4, 2, 3);
    const DecodeSurface rgbOdd = MakeSurface(3, 2, 3);
    const auto packed = [&](std::uint32_t size, std::uint32_t bits) {
        return PackedPixels{
            .data = bytes.data(), .size = size, .readable = 64, .bitsPerPixel = bits};
    };
    const auto ktx = ExpandMember::Ktx;
    EXPECT_TRUE(Expand_IsCopy(rgba, packed(32, 32), {}, ktx));
    EXPECT_FALSE(Expand_IsCopy(rgba, packed(31, 32), {}, ktx));
    EXPECT_TRUE(Expand_IsCopy(rgba, packed(33, 32), {}, ktx));
    EXPECT_FALSE(Expand_IsCopy(rgba, packed(32, 24), {}, ktx));
    EXPECT_FALSE(Expand_IsCopy(rgba, packed(32, 32), {.glFormat = GL_RGB10_A2}, ktx));
    EXPECT_FALSE(Expand_IsCopy(rgba, packed(32, 32), {.glFormat = GL_RGB10_A2UI}, ktx));
    EXPECT_FALSE(Expand_IsCopy(rgba, packed(32, 32), {.glFormat = GL_RGB9_E5}, ktx));
    EXPECT_FALSE(Expand_IsCopy(rgba, packed(32, 32), {.glFormat = GL_R11F_G11F_B10F}, ktx));
    EXPECT_TRUE(
        Expand_IsCopy(rgba, packed(32, 32), {.glFormat = GL_R11F_G11F_B10F}, ExpandMember::Pvr));
    DecodeSurface opaque = MakeSurface(4, 2, 4);
    opaque.bitsPerPixel = 24;
    EXPECT_FALSE(Expand_IsCopy(opaque, packed(32, 32), {}, ktx)) << "alpha is not written";
    EXPECT_TRUE(Expand_IsCopy(rgb, packed(24, 24), {}, ktx));
    EXPECT_FALSE(Expand_IsCopy(rgbOdd, packed(18, 24), {}, ktx)) << "padded rows";
    EXPECT_FALSE(Expand_IsCopy(rgb, packed(24, 32), {}, ktx));
    EXPECT_TRUE(Expand_IsCopy(rgba, packed(32, 0), {}, ExpandMember::Astc));
}

}  // namespace
}  // namespace koru
