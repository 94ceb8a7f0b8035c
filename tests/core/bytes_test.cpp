#include "core/bytes.h"

#include <gtest/gtest.h>

#include <array>

namespace koru {
namespace {

TEST(Bytes, LoadsLittleEndian) {
    static constexpr std::array<std::uint8_t, 5> kBytes{0xFF, 0x01, 0x02, 0x03, 0x84};
    constexpr std::span<const std::uint8_t, 5> kSpan(kBytes);
    static_assert(Bytes_LoadLe24<1>(kSpan) == 0x030201);
    static_assert(Bytes_LoadLe32<1>(kSpan) == 0x84030201);
}

TEST(Bytes, StoresLittleEndian) {
    std::array<std::uint8_t, 6> bytes{};
    const std::span<std::uint8_t, 6> span(bytes);
    Bytes_StoreLe32<1>(span, 0x84030201);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 6>{0, 1, 2, 3, 0x84, 0}));
    Bytes_StoreLe24<0>(span, 0xAB0A0B0C);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 6>{0x0C, 0x0B, 0x0A, 3, 0x84, 0}));
}

TEST(SizeMul32, RefusesWhatDoesNotFit) {
    EXPECT_EQ(Size_Mul32(0, 0xFFFFFFFF), 0u);
    EXPECT_EQ(Size_Mul32(0xFFFF, 0x10001), 0xFFFFFFFF);
    EXPECT_EQ(Size_Mul32(0x10000, 0x10000), std::nullopt);
    EXPECT_EQ(Size_Mul32(0xFFFFFFFF, 0xFFFFFFFF), std::nullopt);
}

TEST(SizeGetPacked, RefusesWhatDoesNotFit) {
    const auto size = Size_GetPacked(3, 2, 4);
    ASSERT_TRUE(size);
    EXPECT_EQ(size->stride, 12u);
    EXPECT_EQ(size->dataSize, 24u);
    EXPECT_FALSE(Size_GetPacked(0x10000, 0x4000, 4));
    EXPECT_FALSE(Size_GetPacked(0x40000000, 0, 4)) << "a row counts, too";
}

TEST(Bytes, Loads64BitsLittleEndian) {
    static constexpr std::array<std::uint8_t, 9> kBytes{0xFF, 1, 2, 3, 4, 5, 6, 7, 0x88};
    constexpr std::span<const std::uint8_t, 9> kSpan(kBytes);
    static_assert(Bytes_LoadLe64<1>(kSpan) == 0x8807060504030201);
}

}  // namespace
}  // namespace koru
