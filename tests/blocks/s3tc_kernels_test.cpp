#include "blocks/s3tc_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <tuple>

#include "block_test_helpers.h"
#include "blocks/block_texels.h"
#include "kernel_levels.h"

namespace koru {
namespace {

/// One of the functions that a table has.
struct KernelEntry {
    const char* name;
    S3tcDecodeRow* S3tcKernels::*decodeRow;
    std::size_t blockBytes;
    std::size_t pixelBytes;
};

void PrintTo(const KernelEntry& entry, std::ostream* stream) { *stream << entry.name; }

constexpr std::array kEntries{
    KernelEntry{"Dxt1Rgba", &S3tcKernels::dxt1Rgba, 8, 4},
    KernelEntry{"Dxt1Rgb", &S3tcKernels::dxt1Rgb, 8, 3},
    KernelEntry{"Dxt3Rgba", &S3tcKernels::dxt3Rgba, 16, 4},
    KernelEntry{"Dxt5Rgba", &S3tcKernels::dxt5Rgba, 16, 4},
    KernelEntry{"Bc4Rgba", &S3tcKernels::bc4Rgba, 8, 4},
    KernelEntry{"Bc5Rgba", &S3tcKernels::bc5Rgba, 16, 4},
};

class S3tcKernelTest : public testing::TestWithParam<std::tuple<KernelLevel, KernelEntry>> {
  protected:
    [[nodiscard]] static const KernelEntry& Entry() { return std::get<1>(GetParam()); }

    /// Decodes blocks into rows with `gap` bytes between them, which must stay as they are.
    static Bytes Decode(KernelLevel level, std::span<const std::uint8_t> blocks, std::size_t gap,
                        std::size_t misalignment) {
        const std::size_t blockCount = blocks.size() / Entry().blockBytes;
        const std::size_t rowBytes = blockCount * kBlockSide * Entry().pixelBytes;
        GuardedBytes target(rowBytes * kBlockSide + gap * (kBlockSide - 1), misalignment);
        (S3tcKernels_Get(level).*Entry().decodeRow)(
            blocks.data(), static_cast<std::uint32_t>(blockCount), target.Data(), rowBytes + gap);
        EXPECT_TRUE(target.GuardsIntact()) << blockCount << " blocks";
        return {target.Bytes().begin(), target.Bytes().end()};
    }

    /// `blocks`: exactly the bytes that may be read.
    static void ExpectAsScalar(std::span<const std::uint8_t> blocks, std::size_t gap = 0,
                               std::size_t misalignment = 0) {
        const KernelLevel level = std::get<0>(GetParam());
        ASSERT_EQ(Decode(level, blocks, gap, misalignment),
                  Decode(KernelLevel::Scalar, blocks, gap, 0))
            << blocks.size() / Entry().blockBytes << " blocks, gap " << gap;
    }

    /// Repeats halves of 8 bytes so that each is in both halves of large blocks.
    static Bytes FillBlocks(const Bytes& halves) {
        if (Entry().blockBytes == 8) return halves;
        Bytes blocks;
        for (auto half = halves.begin(); half != halves.end(); half += 8) {
            for (int i = 0; i < 2; ++i) blocks.insert(blocks.end(), half, half + 8);
        }
        return blocks;
    }
};

TEST_P(S3tcKernelTest, EveryCountStaysInItsRows) {
    for (std::size_t blockCount = 0; blockCount <= 70; ++blockCount) {
        for (std::size_t misalignment = 0; misalignment < 4; ++misalignment) {
            // The end of the copy is the end of its memory; its begin is odd now and then.
            const Bytes source =
                Test_RandomBytes(misalignment + blockCount * Entry().blockBytes, 1);
            for (const std::size_t gap : {0, 1, 40})
                ExpectAsScalar(std::span(source).subspan(misalignment), gap, misalignment);
        }
    }
}

TEST_P(S3tcKernelTest, RandomBlocks) {
    for (std::uint32_t seed = 2; seed < 10; ++seed)
        ExpectAsScalar(Test_RandomBytes(4001 * Entry().blockBytes, seed));
}

TEST_P(S3tcKernelTest, EveryEndColorInEveryOrder) {
    constexpr std::array<std::uint8_t, 4> kEveryIndex{0xE4, 0x1B, 0x4E, 0xB1};
    for (const unsigned distance :
         {0u, 1u, 31u, 32u, 0x07E0u, 0x0800u, 0x7FFFu, 0x8000u, 0xFFFFu}) {
        Bytes halves;
        for (unsigned color = 0; color < 0x10000; ++color) {
            const unsigned other = (color + distance) & 0xFFFF;
            for (const unsigned value : {color, color >> 8, other, other >> 8})
                halves.push_back(static_cast<std::uint8_t>(value));
            halves.insert(halves.end(), kEveryIndex.begin(), kEveryIndex.end());
        }
        ExpectAsScalar(FillBlocks(halves));
    }
}

TEST_P(S3tcKernelTest, EveryPairOfFiveAndSixBitEnds) {
    Bytes halves;
    for (unsigned end0 = 0; end0 < 64; ++end0) {
        for (unsigned end1 = 0; end1 < 64; ++end1) {
            const unsigned color0 = end0 / 2 << 11 | end0 << 5 | end0 / 2;
            const unsigned color1 = end1 / 2 << 11 | end1 << 5 | end1 / 2;
            for (const unsigned value :
                 {color0, color0 >> 8, color1, color1 >> 8, 0x1Bu, 0xE4u, 0u, 0xFFu})
                halves.push_back(static_cast<std::uint8_t>(value));
        }
    }
    ExpectAsScalar(FillBlocks(halves));
}

TEST_P(S3tcKernelTest, EveryIndexRowAtEveryPlace) {
    Bytes halves;
    for (const bool isFirstGreater : {false, true}) {
        for (unsigned row = 0; row < 4; ++row) {
            for (unsigned indices = 0; indices < 256; ++indices) {
                Bytes half{0x34, 0x12, 0x78, 0x56, 0xFF, 0, 0xAA, 0x55};
                if (isFirstGreater)
                    std::swap_ranges(half.begin(), half.begin() + 2, half.begin() + 2);
                half[4 + row] = static_cast<std::uint8_t>(indices);
                halves.insert(halves.end(), half.begin(), half.end());
            }
        }
    }
    ExpectAsScalar(FillBlocks(halves));
}

TEST_P(S3tcKernelTest, EveryPairOfChannelEndsWithEveryIndex) {
    // 0 to 7, then 7 to 0.
    constexpr std::array<std::uint8_t, 6> kEveryIndex{0x88, 0xC6, 0xFA, 0x77, 0x39, 0x05};
    Bytes halves;
    for (unsigned ends = 0; ends < 0x10000; ++ends) {
        halves.push_back(static_cast<std::uint8_t>(ends));
        halves.push_back(static_cast<std::uint8_t>(ends >> 8));
        halves.insert(halves.end(), kEveryIndex.begin(), kEveryIndex.end());
    }
    ExpectAsScalar(FillBlocks(halves));
}

TEST_P(S3tcKernelTest, EveryChannelIndexAtEveryPlace) {
    Bytes halves;
    for (const std::uint64_t background : {std::uint64_t{0}, ~std::uint64_t{0}}) {
        for (const unsigned ends : {0x0AFFu, 0xFF0Au}) {
            for (unsigned bit = 16; bit < 64; bit += 3) {
                for (std::uint64_t index = 0; index < 8; ++index) {
                    const std::uint64_t others = background & ~(std::uint64_t{7} << bit);
                    const std::uint64_t half = ((others | index << bit) >> 16) << 16 | ends;
                    for (unsigned i = 0; i < 8; ++i)
                        halves.push_back(static_cast<std::uint8_t>(half >> 8 * i));
                }
            }
        }
    }
    ExpectAsScalar(FillBlocks(halves));
}

INSTANTIATE_TEST_SUITE_P(Levels, S3tcKernelTest,
                         testing::Combine(testing::ValuesIn(Test_GetVectorLevels()),
                                          testing::ValuesIn(kEntries)),
                         [](const auto& test) {
                             return std::string(std::get<1>(test.param).name) + "_" +
                                    KernelLevel_GetName(std::get<0>(test.param));
                         });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(S3tcKernelTest);  // a machine of another kind

TEST(S3tcKernels, ImagesOfEverySizeAreAsScalar) {
    constexpr std::uint32_t kMostWidth = 40, kMostHeight = 9;
    for (const std::uint32_t mode : {1, 2, 3, 4, 5, 6}) {
        const auto s3tcMode = static_cast<S3tcMode>(mode);
        const Bytes blocks =
            Test_RandomBytes(*S3tc_GetPayloadBytes(s3tcMode, kMostWidth, kMostHeight), mode);
        for (std::uint32_t width = 1; width <= kMostWidth; ++width) {
            for (std::uint32_t height = 1; height <= kMostHeight; ++height) {
                Bytes payload = blocks;
                payload.resize(*S3tc_GetPayloadBytes(s3tcMode, width, height));
                for (std::uint32_t pixelBytes = 1; pixelBytes <= 4; ++pixelBytes) {
                    const auto decode = [&](KernelLevel level) {
                        const ForcedKernelLevel forced(level);
                        return Test_DecodeS3tc(s3tcMode, payload, width, height, pixelBytes);
                    };
                    const Bytes expected = decode(KernelLevel::Scalar);
                    for (const KernelLevel level : Test_GetVectorLevels()) {
                        ASSERT_EQ(decode(level), expected)
                            << KernelLevel_GetName(level) << ", mode " << mode << ", " << width
                            << "x" << height << ", " << pixelBytes << " bytes";
                    }
                }
            }
        }
    }
}

TEST(S3tcKernels, EveryVectorLevelHasItsOwn) {
    for (const KernelLevel level : KernelLevel_GetRunnable()) {
        const S3tcKernels& kernels = S3tcKernels_Get(level);
        const S3tcKernels& scalar = S3tcKernels_Get(KernelLevel::Scalar);
        for (const KernelEntry& entry : kEntries) {
            EXPECT_NE(kernels.*entry.decodeRow, nullptr) << entry.name;
            EXPECT_EQ(kernels.*entry.decodeRow == scalar.*entry.decodeRow,
                      level == KernelLevel::Scalar)
                << entry.name;
        }
    }
}

}  // namespace
}  // namespace koru
