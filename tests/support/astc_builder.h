// Writes ".astc" files for tests, field by field.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

/// R, G, B, A.
using TestColor = std::array<std::uint8_t, 4>;

/// The footprints of flat blocks, in the order of the registries' codes.
struct TestFootprint {
    std::uint8_t width, height;
};
inline constexpr std::array<TestFootprint, 14> kTestAstcFootprints{{{4, 4},
                                                                    {5, 4},
                                                                    {5, 5},
                                                                    {6, 5},
                                                                    {6, 6},
                                                                    {8, 5},
                                                                    {8, 6},
                                                                    {8, 8},
                                                                    {10, 5},
                                                                    {10, 6},
                                                                    {10, 8},
                                                                    {10, 10},
                                                                    {12, 10},
                                                                    {12, 12}}};

/// Header fields start as a valid 1 x 1 image with 4 x 4 blocks and no payload.
class AstcBuilder {
  public:
    AstcBuilder& Magic(std::uint32_t magic) {
        magic_ = magic;
        return *this;
    }
    AstcBuilder& Blocks(std::uint8_t width, std::uint8_t height, std::uint8_t depth = 1) {
        footprint_ = {width, height, depth};
        return *this;
    }
    AstcBuilder& Size(std::uint32_t width, std::uint32_t height, std::uint32_t depth = 1) {
        size_ = {width, height, depth};
        return *this;
    }
    /// Appends `count` void-extent blocks: one color in every texel.
    /// Layout (Khronos Data Format, ASTC void-extent blocks): 9 bits 0x1FC, LDR, two ones,
    /// all-ones extents, then R, G, B, A as 16-bit UNORM.
    AstcBuilder& Solid(const TestColor& color, std::size_t count = 1) {
        for (std::size_t i = 0; i < count; ++i) {
            for (int head : {0xFC, 0xFD, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}) {
                payload_.push_back(static_cast<std::uint8_t>(head));
            }
            for (std::uint8_t channel : color) {
                payload_.push_back(channel);  // 257 * channel, low byte first
                payload_.push_back(channel);
            }
        }
        return *this;
    }
    /// Appends bytes as they are.
    AstcBuilder& Raw(std::size_t count, std::uint8_t value = 0) {
        payload_.insert(payload_.end(), count, value);
        return *this;
    }

    [[nodiscard]] std::vector<std::uint8_t> Build() const {
        std::vector<std::uint8_t> bytes;
        PutLe(bytes, magic_, 4);
        for (std::uint8_t extent : footprint_) bytes.push_back(extent);
        for (std::uint32_t extent : size_) PutLe(bytes, extent, 3);
        bytes.insert(bytes.end(), payload_.begin(), payload_.end());
        return bytes;
    }

    /// The payload alone.
    [[nodiscard]] const std::vector<std::uint8_t>& GetPayload() const { return payload_; }

  private:
    static void PutLe(std::vector<std::uint8_t>& bytes, std::uint32_t value, int byteCount) {
        for (int i = 0; i < byteCount; ++i) {
            bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        }
    }

    std::uint32_t magic_ = 0x5CA1AB13;
    std::array<std::uint8_t, 3> footprint_{4, 4, 1};
    std::array<std::uint32_t, 3> size_{1, 1, 1};
    std::vector<std::uint8_t> payload_;
};
