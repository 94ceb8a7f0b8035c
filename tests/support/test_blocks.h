// Compressed blocks with texels known from the formats' definitions, for images of any size.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "astc_builder.h"
#include "test_files.h"

/// One block and its 4 x 4 texels, row by row: R, G, B, A; for 11-bit formats the low and the high
/// byte of the 16-bit value.
struct TestBlock {
    Bytes bytes;
    std::array<TestColor, 16> texels{};
};

/// An image of blocks.
struct TestBlockImage {
    Bytes blocks;
    Bytes decoded;  ///< Rows of texels without gaps.
};

namespace test_blocks {

constexpr std::uint8_t ToByte(std::size_t value) { return static_cast<std::uint8_t>(value); }

/// Fields below 16 for r, g, b of a left and a right half, which differ from each other and from
/// those of other blocks.
using HalfFields = std::array<std::array<std::size_t, 3>, 2>;

inline HalfFields PickFields(std::size_t index) {
    return {{{index % 16, index / 16 + 3, index * 7 % 16},
             {(index + 5) % 16, index / 16 + 9, index * 3 % 16}}};
}

template <typename Texel>
void FillTexels(TestBlock& block, Texel&& texel) {
    for (std::size_t i = 0; i < 16; ++i) block.texels.at(i) = texel(i % 4, i / 4);
}

}  // namespace test_blocks

/// ETC individual mode, flip 0, table 0, index 0 everywhere: 17 * field + 2 for either half.
inline TestBlock Test_EtcRgbBlock(std::size_t index) {
    using namespace test_blocks;
    const HalfFields fields = PickFields(index);
    TestBlock block;
    for (std::size_t c = 0; c < 3; ++c) {
        block.bytes.push_back(ToByte(fields[0].at(c) << 4 | fields[1].at(c)));
    }
    block.bytes.resize(8);
    FillTexels(block, [&](std::size_t x, std::size_t) {
        TestColor color{0, 0, 0, 255};
        for (std::size_t c = 0; c < 3; ++c) {
            color.at(c) = ToByte(std::min<std::size_t>(17 * fields.at(x / 2).at(c) + 2, 255));
        }
        return color;
    });
    return block;
}

/// Differential mode, delta 0, opaque flag clear, table 0: index 0 is the color itself, 5 bits
/// widened, and the last column has index 2, which is transparent black.
inline TestBlock Test_EtcPunchThroughBlock(std::size_t index) {
    using namespace test_blocks;
    const HalfFields fields = PickFields(index);
    TestBlock block;
    for (std::size_t c = 0; c < 3; ++c) block.bytes.push_back(ToByte(fields[0].at(c) * 2 << 3));
    Bytes rest{0x00, 0xF0, 0x00, 0x00, 0x00};
    block.bytes.insert(block.bytes.end(), rest.begin(), rest.end());
    FillTexels(block, [&](std::size_t x, std::size_t) {
        if (x == 3) return TestColor{0, 0, 0, 0};
        TestColor color{0, 0, 0, 255};
        for (std::size_t c = 0; c < 3; ++c) {
            const std::size_t five = fields[0].at(c) * 2;
            color.at(c) = ToByte(five << 3 | five >> 2);
        }
        return color;
    });
    return block;
}

/// EAC alpha of multiplier 0, which is the base everywhere, and a color block.
inline TestBlock Test_EtcRgbaBlock(std::size_t index) {
    const TestBlock colors = Test_EtcRgbBlock(index);
    const std::uint8_t alpha = test_blocks::ToByte(200 - 3 * index);
    TestBlock block{{alpha, 0, 0, 0, 0, 0, 0, 0}, colors.texels};
    block.bytes.insert(block.bytes.end(), colors.bytes.begin(), colors.bytes.end());
    for (TestColor& texel : block.texels) texel[3] = alpha;
    return block;
}

/// 11 bits, multiplier 0, table 0, index 0: modifier -3. 8 * base + 4 - 3, then v << 5 | v >> 6.
inline TestBlock Test_R11Block(std::size_t index) {
    using namespace test_blocks;
    const std::size_t base = 250 - 9 * index;
    const std::size_t value = 8 * base + 1;
    const std::size_t word = value << 5 | value >> 6;
    TestBlock block{{ToByte(base), 0, 0, 0, 0, 0, 0, 0}, {}};
    block.texels.fill({ToByte(word), ToByte(word >> 8), 0, 0});
    return block;
}

/// The same with sign, without the 4: 8 * base - 3 < 0, then -(u << 5 | u >> 5) of u = -v.
inline TestBlock Test_SignedR11Block(std::size_t index) {
    using namespace test_blocks;
    const std::size_t base = 4 * index + 1;  // negative: -base
    const std::size_t magnitude = 8 * base + 3;
    const std::size_t word = 0x10000 - (magnitude << 5 | magnitude >> 5);
    TestBlock block{{ToByte(256 - base), 0, 0, 0, 0, 0, 0, 0}, {}};
    block.texels.fill({ToByte(word), ToByte(word >> 8), 0, 0});
    return block;
}

inline TestBlock Test_Rg11Block(std::size_t index) {
    TestBlock block = Test_R11Block(index);
    const Bytes red = block.bytes;
    block.bytes.insert(block.bytes.end(), red.begin(), red.end());
    return block;
}

/// Left half color0, right half color1: 5:6:5 widened by repeating the top bits.
inline TestBlock Test_Bc1Block(std::size_t index) {
    using namespace test_blocks;
    const HalfFields fields = PickFields(index);
    TestBlock block;
    for (const auto& [r, g, b] : fields) {
        const std::size_t color = (r * 2) << 11 | (g * 4) << 5 | b * 2;
        block.bytes.push_back(ToByte(color));
        block.bytes.push_back(ToByte(color >> 8));
    }
    block.bytes.insert(block.bytes.end(), 4, 0x50);  // indices 0, 0, 1, 1 in every row
    FillTexels(block, [&](std::size_t x, std::size_t) {
        const auto [r, g, b] = fields.at(x / 2);
        const std::size_t r5 = r * 2, g6 = g * 4, b5 = b * 2;
        return TestColor{ToByte(r5 << 3 | r5 >> 2), ToByte(g6 << 2 | g6 >> 4),
                         ToByte(b5 << 3 | b5 >> 2), 255};
    });
    return block;
}

/// Explicit alpha: row r has the field (index + r) mod 16, times 17.
inline TestBlock Test_Bc2Block(std::size_t index) {
    using namespace test_blocks;
    const TestBlock colors = Test_Bc1Block(index);
    TestBlock block{{}, colors.texels};
    for (std::size_t y = 0; y < 4; ++y) {
        const std::size_t alpha = (index + y) % 16 * 17;
        block.bytes.insert(block.bytes.end(), 2, ToByte(alpha));
        for (std::size_t x = 0; x < 4; ++x) block.texels.at(y * 4 + x)[3] = ToByte(alpha);
    }
    block.bytes.insert(block.bytes.end(), colors.bytes.begin(), colors.bytes.end());
    return block;
}

/// Interpolated alpha with index 0 everywhere: the first endpoint.
inline TestBlock Test_Bc3Block(std::size_t index) {
    const TestBlock colors = Test_Bc1Block(index);
    const std::uint8_t alpha = test_blocks::ToByte(220 - 5 * index);
    TestBlock block{{alpha, 7, 0, 0, 0, 0, 0, 0}, colors.texels};
    block.bytes.insert(block.bytes.end(), colors.bytes.begin(), colors.bytes.end());
    for (TestColor& texel : block.texels) texel[3] = alpha;
    return block;
}

/// A void extent: one color everywhere, in a block of any footprint.
inline TestBlock Test_AstcBlock(std::size_t index) {
    using test_blocks::ToByte;
    const TestColor color{ToByte(index * 7 + 1), ToByte(250 - index * 5), ToByte(index * 11),
                          ToByte(255 - index * 3)};
    TestBlock block{AstcBuilder().Solid(color).GetPayload(), {}};
    block.texels.fill(color);
    return block;
}

/// An image of `makeBlock(0)`, `makeBlock(1)` ... in rows from the top left. Up to 25 blocks.
inline TestBlockImage Test_MakeBlockImage(TestBlock (*makeBlock)(std::size_t),
                                          std::size_t texelBytes, std::size_t width,
                                          std::size_t height, std::size_t blockWidth = 4,
                                          std::size_t blockHeight = 4) {
    TestBlockImage image;
    image.decoded.resize(width * height * texelBytes);
    std::size_t index = 0;
    for (std::size_t top = 0; top < height; top += blockHeight) {
        for (std::size_t left = 0; left < width; left += blockWidth) {
            const TestBlock block = makeBlock(index++);
            image.blocks.insert(image.blocks.end(), block.bytes.begin(), block.bytes.end());
            for (std::size_t y = top; y < std::min(top + blockHeight, height); ++y) {
                for (std::size_t x = left; x < std::min(left + blockWidth, width); ++x) {
                    const TestColor& texel = block.texels.at((y - top) % 4 * 4 + (x - left) % 4);
                    std::copy_n(texel.begin(), texelBytes,
                                image.decoded.begin() +
                                    static_cast<std::ptrdiff_t>((y * width + x) * texelBytes));
                }
            }
        }
    }
    return image;
}
