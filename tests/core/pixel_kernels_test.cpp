// Kernels between layouts of pixels, and finishing with them.
#include "core/pixel_kernels.h"

#include <gtest/gtest.h>

#include <string>

#include "core/image.h"
#include "row_kernels.h"
#include "test_files.h"
#include "test_noise.h"

namespace koru {
namespace {

struct Kernel {
    const char* name;
    PixelRow* PixelKernels::*row;
    std::size_t sourceBytes, targetBytes;
};
constexpr Kernel kKernels[] = {
    {"rgbToRgb", &PixelKernels::rgbToRgb, 3, 3},
    {"rgbToRgba", &PixelKernels::rgbToRgba, 3, 4},
    {"rgbaToRgb", &PixelKernels::rgbaToRgb, 4, 3},
    {"rgbaToRgba", &PixelKernels::rgbaToRgba, 4, 4},
    {"rgbaToOpaque", &PixelKernels::rgbaToOpaque, 4, 4},
};

TEST(PixelKernels, ScalarOnesByHand) {
    const auto run = [](PixelRow* row, const Bytes& source, std::size_t targetSize) {
        Bytes target(targetSize, 0xEE);
        row(target.data(), source.data(), 2);
        return target;
    };
    const Bytes rgb{1, 2, 3, 4, 5, 6}, rgba{1, 2, 3, 10, 4, 5, 6, 20};
    EXPECT_EQ(run(kScalarPixelKernels.rgbToRgb, rgb, 6), rgb);
    EXPECT_EQ(run(kScalarPixelKernels.rgbToRgba, rgb, 8), Bytes({1, 2, 3, 255, 4, 5, 6, 255}));
    EXPECT_EQ(run(kScalarPixelKernels.rgbaToRgb, rgba, 6), rgb);
    EXPECT_EQ(run(kScalarPixelKernels.rgbaToRgba, rgba, 8), rgba);
    EXPECT_EQ(run(kScalarPixelKernels.rgbaToOpaque, rgba, 8), Bytes({1, 2, 3, 255, 4, 5, 6, 255}));
}

TEST(PixelKernels, EveryLevelEqualsTheScalarOne) {
    for (const KernelLevel level : Test_GetVectorLevels()) {
        const ForcedKernelLevel forced(level);
        for (const Kernel& kernel : kKernels) {
            SCOPED_TRACE(std::string(KernelLevel_GetName(level)) + ' ' + kernel.name);
            ASSERT_NO_FATAL_FAILURE(Test_ExpectSameRows({kScalarPixelKernels.*kernel.row,
                                                         PixelKernels_Get().*kernel.row,
                                                         kernel.sourceBytes, kernel.targetBytes}));
        }
    }
}

TEST(PixelKernels, AForcedLevelIsTheOneThatRuns) {
    for (const KernelLevel level : KernelLevel_GetRunnable()) {
        const ForcedKernelLevel forced(level);
        const bool isScalar = PixelKernels_Get().rgbaToRgb == kScalarPixelKernels.rgbaToRgb;
        EXPECT_EQ(isScalar, level == KernelLevel::Scalar);
    }
}

/// The finished pixels of random ones.
Bytes Finish(KernelLevel level, std::uint32_t width, std::uint32_t bytesPerPixel,
             std::uint32_t bitsPerPixel, std::uint32_t flags) {
    const ForcedKernelLevel forced(level);
    DecodeSurface surface;
    EXPECT_TRUE(Surface_SetLayout(surface, width, 3, bytesPerPixel));
    surface.bitsPerPixel = bitsPerPixel;
    surface.pixels = ByteBuffer::Allocate(surface.dataSize);
    std::ranges::copy(Test_MakeNoise(surface.dataSize, width), surface.pixels.Data());
    const ImageHandle image = Image_FromSurface(surface, flags);
    if (image == nullptr) return {};
    return {image->pixels, image->pixels + image->dataSize};
}

TEST(PixelKernels, FinishingGivesTheSameAtEveryLevel) {
    for (const KernelLevel level : Test_GetVectorLevels()) {
        for (std::uint32_t width = 1; width <= 40; ++width) {
            for (const std::uint32_t bytesPerPixel : {3u, 4u}) {
                for (const std::uint32_t bitsPerPixel : {24u, 32u}) {
                    for (const std::uint32_t flags : {0u, KORU_FLAG_RGBA}) {
                        const auto expected =
                            Finish(KernelLevel::Scalar, width, bytesPerPixel, bitsPerPixel, flags);
                        ASSERT_FALSE(expected.empty());
                        ASSERT_EQ(Finish(level, width, bytesPerPixel, bitsPerPixel, flags),
                                  expected)
                            << KernelLevel_GetName(level) << ' ' << width << " wide, "
                            << bytesPerPixel << " bytes of " << bitsPerPixel << " bits, flags "
                            << flags;
                    }
                }
            }
        }
    }
}

}  // namespace
}  // namespace koru
