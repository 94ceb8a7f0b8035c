#include "pvr/pvrtc_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "kernel_levels.h"
#include "pvr/pvrtc_decoder.h"
#include "test_files.h"

namespace koru {
namespace {

using Blocks = std::vector<PvrtcBlock>;
using Words = std::vector<std::int16_t>;

/// Every other block has colors that lie at the ends of what they can be.
Blocks MakeBlocks(std::size_t count, std::mt19937& random) {
    Blocks blocks(count);
    for (PvrtcBlock& block : blocks) {
        block = {.modulation = static_cast<std::uint32_t>(random()),
                 .colors = static_cast<std::uint32_t>(random())};
        if (random() % 2 == 0) continue;
        const std::uint32_t opaqueOrNot = block.colors & 0x80008000;
        const std::uint32_t ends =
            (random() % 2 == 0 ? 0x7FFE : 0) | (random() % 2 == 0 ? 0x7FFF0000 : 0);
        block.colors = opaqueOrNot | ends | (block.colors & 1);
    }
    return blocks;
}

Bytes MakePayload(std::size_t byteCount, std::mt19937& random) {
    Bytes payload;
    for (const PvrtcBlock& block : MakeBlocks((byteCount + 7) / 8, random)) {
        for (const std::uint32_t word : {block.modulation, block.colors}) {
            for (unsigned shift = 0; shift < 32; shift += 8)
                payload.push_back(static_cast<std::uint8_t>(word >> shift));
        }
    }
    payload.resize(byteCount);
    return Bytes(payload.begin(), payload.end());
}

const PvrtcKernels& GetKernels(KernelLevel level) {
    const ForcedKernelLevel forced(level);
    return PvrtcKernels_Get();
}

std::vector<std::size_t> GetCounts() {
    std::vector<std::size_t> counts;
    for (std::size_t count = 0; count <= 40; ++count) counts.push_back(count);
    for (const std::size_t count : {64, 127, 128, 129, 500}) counts.push_back(count);
    return counts;
}

// Each kernel, with sources that have no byte to spare.

template <typename Check>
void CompareForEachCount(const Check& check) {
    std::mt19937 random(46);
    for (const KernelLevel level : Test_GetVectorLevels()) {
        for (const std::size_t count : GetCounts()) {
            SCOPED_TRACE(std::string(KernelLevel_GetName(level)) + ", " + std::to_string(count));
            for (int repeat = 0; repeat < 8; ++repeat) check(GetKernels(level), count, random);
        }
    }
}

/// What a call writes into words between guards.
template <typename Call>
Bytes GetWords(std::size_t wordCount, const Call& call) {
    GuardedBytes target(wordCount * sizeof(std::int16_t), 2);
    call(reinterpret_cast<std::int16_t*>(target.Data()));
    EXPECT_TRUE(target.GuardsIntact());
    return {target.Bytes().begin(), target.Bytes().end()};
}

template <typename Call>
Bytes GetBytes(std::size_t byteCount, std::size_t misalignment, const Call& call) {
    GuardedBytes target(byteCount, misalignment);
    call(target.Data());
    EXPECT_TRUE(target.GuardsIntact());
    return {target.Bytes().begin(), target.Bytes().end()};
}

void CompareColors(const PvrtcKernels& kernels, const Blocks& blocks) {
    const auto unpack = [&](const PvrtcKernels& table) {
        return GetWords(blocks.size() * kPvrtcLanes, [&](std::int16_t* colors) {
            table.unpackColors(blocks.data(), blocks.size(), colors);
        });
    };
    EXPECT_TRUE(unpack(kernels) == unpack(kPvrtcScalarKernels));
}

TEST(PvrtcKernels, UnpackColorsLikeTheScalarOne) {
    CompareForEachCount([](const PvrtcKernels& kernels, std::size_t count, std::mt19937& random) {
        CompareColors(kernels, MakeBlocks(count, random));
    });
}

TEST(PvrtcKernels, UnpackEachColor) {
    for (const KernelLevel level : Test_GetVectorLevels()) {
        for (const std::uint32_t other : {0u, 0x7FFFu, 0x8000u, 0xFFFFu}) {
            Blocks blocks;
            for (std::uint32_t color = 0; color < 0x10000; ++color) {
                blocks.push_back({.modulation = ~color, .colors = other << 16 | color});
                blocks.push_back({.modulation = color, .colors = color << 16 | other});
            }
            CompareColors(GetKernels(level), blocks);
        }
    }
}

TEST(PvrtcKernels, ReadModulationLikeTheScalarOne) {
    CompareForEachCount([](const PvrtcKernels& kernels, std::size_t count, std::mt19937& random) {
        const Blocks blocks = MakeBlocks(count, random);
        for (const auto& [member, blockBytes] :
             {std::pair{&PvrtcKernels::readCodes4Bpp, kPvrtcCodes4Bpp},
              std::pair{&PvrtcKernels::readWeights2Bpp, kPvrtcWeights2Bpp}}) {
            // Rows with space between.
            const std::size_t stride = count * blockBytes + random() % 3;
            const std::size_t byteCount = 3 * stride + count * blockBytes;
            const auto read = [&](const PvrtcKernels& table) {
                return GetBytes(byteCount, 1, [&](std::uint8_t* target) {
                    (table.*member)(blocks.data(), count, target, stride);
                });
            };
            EXPECT_EQ(read(kernels), read(kPvrtcScalarKernels));
        }
    });
}

/// Colors of blocks: 5 bits, and 4 of alpha, doubled.
Words MakeColors(std::size_t blockCount, int factor, std::mt19937& random) {
    Words colors(blockCount * kPvrtcLanes);
    for (std::size_t i = 0; i < colors.size(); ++i) {
        const bool isAlpha = i % kPvrtcLanes >= 6;
        colors[i] = static_cast<std::int16_t>(
            isAlpha ? random() % static_cast<unsigned>(15 * factor + 1) * 2
                    : random() % static_cast<unsigned>(31 * factor + 1));
    }
    return colors;
}

TEST(PvrtcKernels, MixColorsLikeTheScalarOne) {
    CompareForEachCount([](const PvrtcKernels& kernels, std::size_t count, std::mt19937& random) {
        const Words upper = MakeColors(count, 1, random), lower = MakeColors(count, 1, random);
        for (const int quarters : {0, 1, 2, 3}) {
            const auto mix = [&](const PvrtcKernels& table) {
                return GetWords(count * kPvrtcLanes, [&](std::int16_t* mixed) {
                    table.mixColors(upper.data(), lower.data(), quarters, count, mixed);
                });
            };
            EXPECT_EQ(mix(kernels), mix(kPvrtcScalarKernels));
        }
    });
}

TEST(PvrtcKernels, DrawRowsOf4BitsLikeTheScalarOne) {
    CompareForEachCount([](const PvrtcKernels& kernels, std::size_t count, std::mt19937& random) {
        const Words mixed = MakeColors(count + 1, 4, random);
        Bytes codes((count + 1) * kPvrtcCodes4Bpp);
        for (auto& code : codes) code = static_cast<std::uint8_t>(random() % 32);
        const std::size_t misalignment = random() % 32;
        const auto draw = [&](const PvrtcKernels& table) {
            return GetBytes(count * 16, misalignment, [&](std::uint8_t* target) {
                table.drawRow4Bpp(mixed.data(), codes.data(), count, target);
            });
        };
        EXPECT_EQ(draw(kernels), draw(kPvrtcScalarKernels));
    });
}

TEST(PvrtcKernels, DrawRowsOf2BitsLikeTheScalarOne) {
    CompareForEachCount([](const PvrtcKernels& kernels, std::size_t count, std::mt19937& random) {
        const Words mixed = MakeColors(count + 1, 4, random);
        const Blocks blocks = MakeBlocks(count + 1, random);
        const std::size_t stride = (count + 1) * kPvrtcWeights2Bpp;
        Bytes rows(4 * stride);
        kPvrtcScalarKernels.readWeights2Bpp(blocks.data(), count + 1, rows.data(), stride);
        const auto getRow = [&](std::size_t y) {
            const auto begin = rows.begin() + static_cast<std::ptrdiff_t>(y * stride);
            return Bytes(begin, begin + static_cast<std::ptrdiff_t>(stride));
        };
        const std::size_t y = 1 + random() % 2;
        const Bytes above = getRow(y - 1), here = getRow(y), below = getRow(y + 1);
        const std::size_t misalignment = random() % 32;
        const auto draw = [&](const PvrtcKernels& table) {
            return GetBytes(count * 32, misalignment, [&](std::uint8_t* target) {
                table.drawRow2Bpp(
                    mixed.data(),
                    {.above = above.data(), .here = here.data(), .below = below.data()}, count,
                    target);
            });
        };
        EXPECT_EQ(draw(kernels), draw(kPvrtcScalarKernels));
    });
}

// Images.

struct Image {
    bool is2Bpp = false;
    std::uint32_t width = 0, height = 0;
    Bytes payload;  ///< Without a byte to spare.
};

std::string GetName(const Image& image) {
    return std::to_string(image.width) + " x " + std::to_string(image.height) +
           (image.is2Bpp ? " at 2" : " at 4") + " bits, " + std::to_string(image.payload.size()) +
           " bytes";
}

Image MakeImage(bool is2Bpp, std::uint32_t width, std::uint32_t height, std::mt19937& random) {
    const std::size_t byteCount = *Pvrtc_GetPayloadBytes(is2Bpp, width, height);
    return {is2Bpp, width, height, MakePayload(byteCount, random)};
}

Image Shorten(const Image& image, std::size_t byteCount) {
    const auto begin = image.payload.begin();
    return {image.is2Bpp, image.width, image.height,
            Bytes(begin, begin + static_cast<std::ptrdiff_t>(byteCount))};
}

Bytes Decode(const Image& image, KernelLevel level) {
    const ForcedKernelLevel forced(level);
    return GetBytes(std::size_t{image.width} * image.height * 4, image.payload.size() % 7,
                    [&](std::uint8_t* pixels) {
                        PvrtcDecompress(image.payload, image.is2Bpp,
                                        static_cast<std::int32_t>(image.width),
                                        static_cast<std::int32_t>(image.height), 0, pixels);
                    });
}

void CompareLevels(const Image& image) {
    const Bytes expected = Decode(image, KernelLevel::Scalar);
    for (const KernelLevel level : Test_GetVectorLevels()) {
        EXPECT_TRUE(Decode(image, level) == expected)
            << KernelLevel_GetName(level) << ", " << GetName(image);
    }
}

/// Calls back with images of powers of two: all up to 256 x 256, and long ones.
template <typename Check>
void ForEachPowerOfTwo(const Check& check) {
    std::mt19937 random(47);
    for (const bool is2Bpp : {false, true}) {
        for (std::uint32_t width = 1; width <= 256; width *= 2) {
            for (std::uint32_t height = 1; height <= 256; height *= 2)
                check(MakeImage(is2Bpp, width, height, random));
        }
        for (const std::uint32_t shorter : {1, 4, 8, 16}) {
            for (const std::uint32_t longer : {512, 1024, 2048, 4096}) {
                check(MakeImage(is2Bpp, shorter, longer, random));
                check(MakeImage(is2Bpp, longer, shorter, random));
            }
        }
    }
}

TEST(PvrtcLevels, DecodePowersOfTwoAlike) { ForEachPowerOfTwo(CompareLevels); }

TEST(PvrtcLevels, DecodeShortPayloadsAlike) {
    std::mt19937 random(48);
    ForEachPowerOfTwo([&](const Image& image) {
        const std::size_t byteCount = image.payload.size();
        CompareLevels(Shorten(image, byteCount - 1));
        CompareLevels(Shorten(image, random() % byteCount));
        if (byteCount <= 64) {
            for (std::size_t i = 0; i < byteCount; ++i) CompareLevels(Shorten(image, i));
        }
    });
}

TEST(PvrtcLevels, DecodeOtherSizesAlike) {
    std::mt19937 random(49);
    for (const bool is2Bpp : {false, true}) {
        for (std::uint32_t width = 1; width <= 20; ++width) {
            for (std::uint32_t height = 1; height <= 20; ++height)
                CompareLevels(MakeImage(is2Bpp, width, height, random));
        }
        for (const std::uint32_t side : {24, 36, 40, 100, 1000}) {
            CompareLevels(MakeImage(is2Bpp, side, 24, random));
            CompareLevels(MakeImage(is2Bpp, 24, side, random));
            CompareLevels(MakeImage(is2Bpp, side, 32, random));
            CompareLevels(MakeImage(is2Bpp, 32, side, random));
        }
    }
}

Bytes DecodeStrips(const Image& image, std::uint32_t stripRows, KernelLevel level) {
    const ForcedKernelLevel forced(level);
    Bytes decoded;
    for (std::uint32_t y = 0; y < image.height; y += stripRows) {
        const std::uint32_t rowCount = std::min(stripRows, image.height - y);
        const Bytes rows =
            GetBytes(std::size_t{image.width} * rowCount * 4, y % 3, [&](std::uint8_t* target) {
                Pvrtc_DecodeRows(image.payload, image.is2Bpp, image.width, image.height, y,
                                 rowCount, target);
            });
        decoded.insert(decoded.end(), rows.begin(), rows.end());
    }
    return decoded;
}

TEST(PvrtcDecodeRows, StripsMakeTheImage) {
    std::mt19937 random(50);
    const auto check = [](const Image& image) {
        const Bytes expected = Decode(image, KernelLevel::Scalar);
        for (const KernelLevel level : KernelLevel_GetRunnable()) {
            for (const std::uint32_t stripRows : {4, 8, 12, 64}) {
                EXPECT_TRUE(DecodeStrips(image, stripRows, level) == expected)
                    << KernelLevel_GetName(level) << ", " << GetName(image) << ", strips of "
                    << stripRows;
            }
        }
    };
    ForEachPowerOfTwo([&](const Image& image) {
        check(image);
        if (image.payload.size() > 1024) return;
        check(Shorten(image, random() % image.payload.size()));
    });
}

}  // namespace
}  // namespace koru
