#include "astc/astc_reader.h"

#include <gtest/gtest.h>

#include "astc_builder.h"

namespace koru {
namespace {

SourceBuffer Borrow(const std::vector<std::uint8_t>& bytes) {
    return Source_Borrow(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

TEST(AstcHeader, ReadsEveryField) {
    const auto file = AstcBuilder().Blocks(10, 8, 3).Size(0x123456, 0xABCDEF, 1).Build();
    SourceBuffer source = Borrow(file);
    const auto header = Astc_ReadHeader(source);
    ASSERT_TRUE(header);
    EXPECT_EQ(header->footprint.width, 10u);
    EXPECT_EQ(header->footprint.height, 8u);
    EXPECT_EQ(header->footprint.depth, 3u);
    EXPECT_EQ(header->width, 0x123456u);
    EXPECT_EQ(header->height, 0xABCDEFu);
    EXPECT_EQ(header->depth, 1u);
    EXPECT_EQ(source.offset, 16u);
}

TEST(AstcHeader, AShortSourceMovesNothing) {
    const std::vector<std::uint8_t> file(15, 0);
    SourceBuffer source = Borrow(file);
    EXPECT_FALSE(Astc_ReadHeader(source));
    EXPECT_EQ(source.offset, 0u);
}

TEST(AstcPayloadBytes, RoundsEachDirectionUp) {
    EXPECT_EQ(Astc_GetPayloadBytes({.footprint = {4, 4, 1}, .width = 5, .height = 5, .depth = 1}),
              64u);
    EXPECT_EQ(
        Astc_GetPayloadBytes({.footprint = {12, 10, 1}, .width = 12, .height = 11, .depth = 1}),
        32u);
    EXPECT_EQ(Astc_GetPayloadBytes({.footprint = {3, 3, 3}, .width = 1, .height = 1, .depth = 1}),
              16u);
    EXPECT_EQ(Astc_GetPayloadBytes({.footprint = {1, 1, 1}, .width = 3, .height = 2, .depth = 1}),
              96u);
}

TEST(AstcPayloadBytes, RefusesWhatDoesNotFit32Bits) {
    // 2^28 - 1 blocks are the last that fit.
    EXPECT_EQ(Astc_GetPayloadBytes(
                  {.footprint = {1, 1, 1}, .width = 0x3FFF, .height = 0x4001, .depth = 1}),
              0xFFFFFFF0u);
    EXPECT_EQ(Astc_GetPayloadBytes(
                  {.footprint = {1, 1, 1}, .width = 0x4000, .height = 0x4000, .depth = 1}),
              std::nullopt);
    EXPECT_EQ(Astc_GetPayloadBytes(
                  {.footprint = {1, 1, 1}, .width = 0xFFFFFF, .height = 0xFFFFFF, .depth = 1}),
              std::nullopt);
}

TEST(AstcReader, KeepsThePayloadAndFillsTheSurface) {
    const auto file = AstcBuilder().Size(5, 3).Solid({1, 2, 3, 4}, 2).Build();
    SourceBuffer source = Borrow(file);
    Surface_Clear(g_astcState.surface);
    g_astcState.surface.reservedB = 0;
    ASSERT_EQ(Astc_ReadContainer(source, g_astcState.name.data()), 1);

    ASSERT_EQ(g_astcState.levels.count, 1);
    const LevelEntry& level = g_astcState.levels.entries[0];
    EXPECT_EQ(level.levelWidth, 5u);
    EXPECT_EQ(level.levelHeight, 3u);
    EXPECT_EQ(level.byteSize, 32u);

    const DecodeSurface& surface = g_astcState.surface;
    EXPECT_EQ(surface.width, 5u);
    EXPECT_EQ(surface.height, 3u);
    EXPECT_EQ(surface.bitsPerPixel, 32u);
    EXPECT_EQ(surface.bytesPerPixel, 4u);
    EXPECT_EQ(surface.bitsPerChannel, 8u);
    EXPECT_EQ(surface.stride, 20u);
    EXPECT_EQ(surface.dataSize, 60u);
    EXPECT_EQ(surface.rowPadding, 0u);
    EXPECT_EQ(surface.reservedB, 1u);
    EXPECT_TRUE(surface.pixels);
    Surface_Clear(g_astcState.surface);
}

TEST(AstcCodec, RefusesEmptyArguments) {
    const auto file = AstcBuilder().Solid({1, 2, 3, 4}).Build();
    const std::span<const std::uint8_t> payload(file.data() + 16, 16);
    std::uint8_t pixels[4] = {};
    const AstcFootprint footprint{4, 4, 1};
    EXPECT_EQ(Astc_DecodeBlocks({}, 1, 1, footprint, pixels), AstcDecodeResult::Refused);
    EXPECT_EQ(Astc_DecodeBlocks(payload, 0, 1, footprint, pixels), AstcDecodeResult::Refused);
    EXPECT_EQ(Astc_DecodeBlocks(payload, 1, 0, footprint, pixels), AstcDecodeResult::Refused);
    EXPECT_EQ(Astc_DecodeBlocks(payload, 1, 1, footprint, nullptr), AstcDecodeResult::Refused);
    EXPECT_EQ(Astc_DecodeBlocks(payload, 1, 1, footprint, pixels), AstcDecodeResult::Decoded);
    EXPECT_EQ(pixels[0], 1);
    EXPECT_EQ(pixels[3], 4);
}

TEST(AstcCodec, RefusesAShortPayload) {
    const auto file = AstcBuilder().Solid({1, 2, 3, 4}).Build();
    std::uint8_t pixels[5 * 4] = {};
    EXPECT_EQ(Astc_DecodeBlocks({file.data() + 16, 16}, 5, 1, {4, 4, 1}, pixels),
              AstcDecodeResult::Refused);
}

TEST(AstcCodec, RefusesFootprintsThatAstcDoesNotHave) {
    const auto file = AstcBuilder().Solid({1, 2, 3, 4}).Build();
    std::uint8_t pixels[4] = {};
    for (const AstcFootprint& footprint : {AstcFootprint{3, 3, 1}, AstcFootprint{7, 7, 1},
                                           AstcFootprint{0, 0, 0}, AstcFootprint{255, 1, 1}}) {
        EXPECT_EQ(Astc_DecodeBlocks({file.data() + 16, 16}, 1, 1, footprint, pixels),
                  AstcDecodeResult::Refused);
    }
}

}  // namespace
}  // namespace koru
