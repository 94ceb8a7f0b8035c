#include "ktx/ktx_way.h"

#include <gtest/gtest.h>

#include <map>

namespace koru {
namespace {

constexpr KtxPixelWay S3tc(S3tcMode mode, std::uint32_t componentCount) {
    return {.way = KtxWay::S3tc, .s3tcMode = mode, .componentCount = componentCount};
}

/// Every compressed code that has a way.
std::map<std::uint32_t, KtxPixelWay> GetWays() {
    std::map<std::uint32_t, KtxPixelWay> ways{
        {0x83F1, S3tc(S3tcMode::Dxt1, 4)}, {0x83F2, S3tc(S3tcMode::Dxt3, 4)},
        {0x83F3, S3tc(S3tcMode::Dxt5, 4)}, {0x8C4C, S3tc(S3tcMode::Dxt1, 3)},
        {0x8C4D, S3tc(S3tcMode::Dxt1, 4)}, {0x8C4E, S3tc(S3tcMode::Dxt3, 4)},
        {0x8C4F, S3tc(S3tcMode::Dxt5, 4)}, {0x8D64, {.way = KtxWay::Etc}}};
    for (std::uint32_t code = 0x9270; code <= 0x9279; ++code) ways[code] = {.way = KtxWay::Etc};
    for (std::uint32_t first : {0x93B0u, 0x93D0u}) {
        for (std::uint32_t i = 0; i < 14; ++i) {
            ways[first + i] = {.way = KtxWay::Astc, .componentCount = 4};
        }
    }
    return ways;
}

TEST(KtxChooseWay, KnowsTheCompressedCodesAndNoOther) {
    const auto ways = GetWays();
    for (std::uint32_t code = 0; code <= 0x10000; ++code) {
        const auto way = ways.find(code);
        EXPECT_EQ(Ktx_ChooseWay(code, true), way != ways.end() ? way->second : KtxPixelWay{})
            << std::hex << code;
    }
    EXPECT_EQ(Ktx_ChooseWay(0x183F1, true), KtxPixelWay{});
    EXPECT_EQ(Ktx_ChooseWay(0xFFFFFFFF, true), KtxPixelWay{});
}

// RGB DXT1, the 3D forms of ASTC, RGTC, BPTC, PVRTC.
TEST(KtxChooseWay, RefusesWhatHostsAreUsedToSeeRefused) {
    for (std::uint32_t code : {0x83F0u, 0x93C0u, 0x93C9u, 0x93E0u, 0x93E9u, 0x8DBBu, 0x8DBCu,
                               0x8DBDu, 0x8DBEu, 0x8E8Cu, 0x8E8Fu, 0x8C00u, 0x8C03u, 0x9137u}) {
        EXPECT_EQ(Ktx_ChooseWay(code, true).way, KtxWay::None) << std::hex << code;
    }
}

TEST(KtxChooseWay, EveryUncompressedCodeIsPackedPixels) {
    const auto packed = [](std::uint32_t componentCount) {
        return KtxPixelWay{.way = KtxWay::Packed, .componentCount = componentCount};
    };
    EXPECT_EQ(Ktx_ChooseWay(0x8058, false), packed(4));
    EXPECT_EQ(Ktx_ChooseWay(0x8051, false), packed(3));
    EXPECT_EQ(Ktx_ChooseWay(0x190A, false), packed(2));
    EXPECT_EQ(Ktx_ChooseWay(0x1909, false), packed(1));
    EXPECT_EQ(Ktx_ChooseWay(0x8229, false), packed(0)) << "GL_R8 has no component count";
    EXPECT_EQ(Ktx_ChooseWay(0x83F1, false), packed(4)) << "a block format as raw pixels";
    EXPECT_EQ(Ktx_ChooseWay(0, false), packed(0));
}

}  // namespace
}  // namespace koru
