// Kernels for packed pixels, and expansion with them.
#include "formats/expand_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "formats/expand.h"
#include "formats/expand_converters.h"
#include "formats/gl_codes.h"
#include "formats/gl_formats.h"
#include "row_kernels.h"
#include "test_files.h"
#include "test_noise.h"

namespace koru {
namespace {

struct Kernel {
    const char* name;
    ExpandRows ExpandKernels::*rows;
    std::size_t sourceBytes;
};
constexpr Kernel kKernels[] = {
    {"grey", &ExpandKernels::grey, 1},     {"rgb565", &ExpandKernels::rgb565, 2},
    {"rgb5", &ExpandKernels::rgb5, 2},     {"rgb5A1", &ExpandKernels::rgb5A1, 2},
    {"rgba4", &ExpandKernels::rgba4, 2},   {"rgb10A2", &ExpandKernels::rgb10A2, 4},
    {"rgb9E5", &ExpandKernels::rgb9E5, 4}, {"r11G11B10", &ExpandKernels::r11G11B10, 4},
};

/// Runs a check on every kernel of every level above the scalar one.
template <typename Check>
void ForEachKernel(Check check) {
    for (const KernelLevel level : Test_GetVectorLevels()) {
        const ForcedKernelLevel forced(level);
        for (const Kernel& kernel : kKernels) {
            SCOPED_TRACE(std::string(KernelLevel_GetName(level)) + ' ' + kernel.name);
            const ExpandRows& reference = kScalarExpandKernels.*kernel.rows;
            const ExpandRows& rows = ExpandKernels_Get().*kernel.rows;
            ASSERT_NE(rows.toRgb, reference.toRgb);
            ASSERT_NO_FATAL_FAILURE(
                check(RowPair{reference.toRgb, rows.toRgb, kernel.sourceBytes, 3}));
            ASSERT_NO_FATAL_FAILURE(
                check(RowPair{reference.toRgba, rows.toRgba, kernel.sourceBytes, 4}));
        }
    }
}

template <typename Word>
void Append(Bytes& bytes, Word word) {
    for (unsigned i = 0; i < sizeof word; ++i)
        bytes.push_back(static_cast<std::uint8_t>(word >> 8 * i));
}

TEST(ExpandKernels, EveryLevelEqualsTheScalarOne) { ForEachKernel(Test_ExpectSameRows); }

TEST(ExpandKernels, EveryLevelEqualsTheScalarOneOnEveryWordOf16Bits) {
    Bytes words;
    for (std::uint32_t word = 0; word <= 0xFFFF; ++word)
        Append(words, static_cast<std::uint16_t>(word));
    ForEachKernel([&](const RowPair& rows) {
        Test_ExpectSameRow(rows, words, words.size() / rows.sourceBytes);
    });
}

TEST(ExpandKernels, EveryLevelEqualsTheScalarOneOnEveryFieldOf32Bits) {
    Bytes words;
    // Every value of 11 bits in either field, and of 10 bits above them.
    for (std::uint32_t i = 0; i < 2048; ++i)
        Append(words, i | (i * 7 & 0x7FF) << 11 | (i * 3) << 22);
    // Every value of 10 bits in any of three fields, with every value of 2 bits above them.
    for (std::uint32_t i = 0; i < 4096; ++i) {
        Append(words, (i * 5 & 0x3FF) | (i * 3 & 0x3FF) << 10 | (i & 0xFFF) << 20);
    }
    for (unsigned bit = 0; bit < 32; ++bit) {
        for (unsigned other = 0; other < 32; ++other) {
            Append(words, 1u << bit | 1u << other);
            Append(words, ~(1u << bit | 1u << other));
        }
    }
    const Bytes random = Test_MakeNoise(std::size_t{1} << 18, 2);
    words.insert(words.end(), random.begin(), random.end());
    ForEachKernel([&](const RowPair& rows) {
        Test_ExpectSameRow(rows, words, words.size() / rows.sourceBytes);
    });
}

TEST(ExpandKernels, KnowTheLayoutsOfTheTables) {
    for (const ChannelLayout& known : {kRgb10A2Layout, kRgb9E5Layout, kR11G11B10Layout}) {
        const ChannelLayout layout = Gl_GetChannelLayout(known.glFormat);
        EXPECT_EQ(layout.masks, known.masks);
        EXPECT_EQ(layout.shifts, known.shifts);
        EXPECT_EQ(layout.bitCounts, known.bitCounts);
        EXPECT_EQ(layout.maxValues, known.maxValues);
    }
    EXPECT_EQ(Gl_GetChannelLayout(GL_RGB10_A2UI).masks, kRgb10A2Layout.masks);
}

// --- Whole surfaces ------------------------------------------------------------------------

struct Case {
    std::uint32_t bits, glFormat;
    bool mirrored;  ///< Masks turned round, as no table has them.
};
constexpr Case kCases[] = {
    {8, 0, false},
    {16, GL_RGB565, false},
    {16, GL_RGB5, false},
    {16, GL_RGB5_A1, false},
    {16, GL_RGBA4, false},
    {16, 0, false},
    {24, 0, false},
    {32, 0, false},
    {32, GL_RGB10_A2, false},
    {32, GL_RGB10_A2UI, false},
    {32, GL_RGB10_A2, true},
    {32, GL_RGB9_E5, false},
    {32, GL_RGB9_E5, true},
    {32, GL_R11F_G11F_B10F, false},
    {32, GL_R11F_G11F_B10F, true},
};

ChannelLayout GetLayout(const Case& it) {
    ChannelLayout layout = Gl_GetChannelLayout(it.glFormat);
    if (!it.mirrored) return layout;
    std::swap(layout.masks[0], layout.masks[2]);
    return Layout_FromMasks(layout.masks, it.glFormat);
}

/// A surface of 3 rows after expansion of memory that lacks `missing` bytes of its pixels.
Bytes Expand(KernelLevel level, const Case& it, std::uint32_t width, std::uint32_t bytesPerPixel,
             std::uint32_t surfaceBits, std::uint32_t missing) {
    const ForcedKernelLevel forced(level);
    DecodeSurface surface;
    EXPECT_TRUE(Surface_SetLayout(surface, width, 3, bytesPerPixel));
    surface.bitsPerPixel = surfaceBits;
    surface.pixels = ByteBuffer::Allocate(surface.dataSize);
    std::fill_n(surface.pixels.Data(), surface.dataSize, std::uint8_t{0xEE});
    const std::uint32_t rowBytes = (width * it.bits / 8 + 3) / 4 * 4;
    const Bytes source = Test_MakeNoise(rowBytes * 3 - missing, width);
    EXPECT_EQ(ExpandPackedPixels(surface,
                                 {.data = source.data(),
                                  .size = rowBytes * 3,
                                  .readable = static_cast<std::uint32_t>(source.size()),
                                  .bitsPerPixel = it.bits},
                                 GetLayout(it)),
              1);
    return {surface.pixels.Data(), surface.pixels.Data() + surface.dataSize};
}

TEST(ExpandKernels, AreNotForMasksThatNoTableHas) {
    constexpr std::uint32_t kWidth = 40;
    const Bytes source = Test_MakeNoise(kWidth * 4);
    for (const std::uint32_t glFormat : {GL_RGB10_A2, GL_RGB9_E5, GL_R11F_G11F_B10F}) {
        const auto expand = [&](const ChannelLayout& layout) {
            DecodeSurface surface;
            EXPECT_TRUE(Surface_SetLayout(surface, kWidth, 1, 3));
            surface.pixels = ByteBuffer::Allocate(surface.dataSize);
            const PackedPixels packed{.data = source.data(),
                                      .size = kWidth * 4,
                                      .readable = kWidth * 4,
                                      .bitsPerPixel = 32};
            EXPECT_EQ(ExpandPackedPixels(surface, packed, layout), 1);
            return Bytes(surface.pixels.Data(), surface.pixels.Data() + surface.dataSize);
        };
        ChannelLayout layout = Gl_GetChannelLayout(glFormat);
        Bytes expected = expand(layout);
        for (std::size_t i = 0; i < expected.size(); i += 3)
            std::swap(expected[i], expected[i + 1]);
        std::swap(layout.masks[0], layout.masks[1]);
        EXPECT_EQ(expand(Layout_FromMasks(layout.masks, glFormat)), expected)
            << std::hex << glFormat;
    }
}

TEST(ExpandKernels, ExpansionGivesTheSameAtEveryLevel) {
    struct Surface {
        std::uint32_t bytesPerPixel, bits;
    };
    constexpr Surface kSurfaces[] = {{3, 24}, {4, 32}, {4, 24}};
    for (const KernelLevel level : Test_GetVectorLevels()) {
        for (const Case& it : kCases) {
            for (const auto& [bytesPerPixel, bits] : kSurfaces) {
                for (std::uint32_t width = 1; width <= 40; ++width) {
                    for (const std::uint32_t missing : {0u, 1u, 3u}) {
                        ASSERT_EQ(
                            Expand(level, it, width, bytesPerPixel, bits, missing),
                            Expand(KernelLevel::Scalar, it, width, bytesPerPixel, bits, missing))
                            << KernelLevel_GetName(level) << ", " << it.bits << " bits of format "
                            << std::hex << it.glFormat << std::dec << ", " << width << " wide, to "
                            << bytesPerPixel << " bytes of " << bits << " bits, " << missing
                            << " missing";
                    }
                }
            }
        }
    }
}

}  // namespace
}  // namespace koru
