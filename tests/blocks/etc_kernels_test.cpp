#include "blocks/etc_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

#include "block_test_helpers.h"
#include "formats/gl_codes.h"
#include "kernel_levels.h"

namespace koru {
namespace {

struct RowFormat {
    const char* name;
    EtcDecodeRow* EtcKernels::*kernel;
    std::size_t blockBytes, pixelBytes;
};

constexpr RowFormat kRgb8{"rgb8", &EtcKernels::rgb8, 8, 3};
constexpr RowFormat kAlpha1{"alpha1", &EtcKernels::alpha1, 8, 4};
constexpr RowFormat kRgba8{"rgba8", &EtcKernels::rgba8, 16, 4};
constexpr std::array<RowFormat, 3> kColorFormats{kRgb8, kAlpha1, kRgba8};
constexpr std::array<RowFormat, 5> kEacFormats{{kRgba8,
                                                {"r11", &EtcKernels::r11, 8, 2},
                                                {"r11Signed", &EtcKernels::r11Signed, 8, 2},
                                                {"rg11", &EtcKernels::rg11, 16, 4},
                                                {"rg11Signed", &EtcKernels::rg11Signed, 16, 4}}};

/// Where a row lies in memory.
struct RowPlace {
    std::size_t sourceMisalignment = 0, targetMisalignment = 0;
    std::size_t gap = 0;  ///< Bytes from the end of a row to the next one.
};

const EtcKernels& GetKernels(KernelLevel level) {
    const ForcedKernelLevel forced(level);
    return Etc_GetKernels();
}

/// The four rows and the gaps between them, as a level's kernel leaves them.
Bytes DecodeRow(KernelLevel level, const RowFormat& format, const Bytes& blocks,
                const RowPlace& place) {
    Bytes source(place.sourceMisalignment, 0);
    source.insert(source.end(), blocks.begin(), blocks.end());
    source.shrink_to_fit();
    const std::size_t blockCount = blocks.size() / format.blockBytes;
    const std::size_t rowBytes = blockCount * 4 * format.pixelBytes;
    GuardedBytes target(4 * rowBytes + 3 * place.gap, place.targetMisalignment);
    (GetKernels(level).*format.kernel)(source.data() + place.sourceMisalignment,
                                       static_cast<std::uint32_t>(blockCount), target.Data(),
                                       rowBytes + place.gap);
    EXPECT_TRUE(target.GuardsIntact()) << format.name << " " << KernelLevel_GetName(level);
    return {target.Bytes().begin(), target.Bytes().end()};
}

void ExpectLevelsAgree(const RowFormat& format, const Bytes& blocks, const RowPlace& place = {}) {
    const Bytes expected = DecodeRow(KernelLevel::Scalar, format, blocks, place);
    for (const KernelLevel level : Test_GetVectorLevels()) {
        const Bytes actual = DecodeRow(level, format, blocks, place);
        const auto difference = std::mismatch(expected.begin(), expected.end(), actual.begin());
        EXPECT_EQ(expected.size(), static_cast<std::size_t>(difference.first - expected.begin()))
            << "byte that differs: " << format.name << " " << KernelLevel_GetName(level) << ", "
            << blocks.size() / format.blockBytes << " blocks";
    }
}

enum class Kind { Differential, T, H, Planar };  // or individual, as the flag says
constexpr std::array<Kind, 4> kKinds{Kind::Differential, Kind::T, Kind::H, Kind::Planar};

Kind GetKind(const Bytes& block) {
    const auto overflows = [](int channel) {
        const int base = (channel >> 3) + (channel & 3) - (channel & 4);
        return base < 0 || base > 31;
    };
    if (overflows(block[0])) return Kind::T;
    if (overflows(block[1])) return Kind::H;
    return overflows(block[2]) ? Kind::Planar : Kind::Differential;
}

/// Random color blocks of chosen kinds.
class ColorBlocks {
  public:
    Bytes Make(Kind kind) {
        Bytes block(8);
        do {
            for (auto& byte : block) byte = static_cast<std::uint8_t>(random_() >> 8);
        } while (GetKind(block) != kind);
        return block;
    }

    /// With chosen tables or distance, flag and flip bit.
    Bytes Make(Kind kind, std::size_t byte3) {
        Bytes block = Make(kind);
        block[3] = static_cast<std::uint8_t>(byte3);
        return block;
    }

    /// Puts a random alpha block in front of every color block.
    Bytes AddAlpha(const Bytes& blocks) {
        Bytes both;
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            for (int k = 0; i % 8 == 0 && k < 8; ++k)
                both.push_back(static_cast<std::uint8_t>(random_() >> 8));
            both.push_back(blocks[i]);
        }
        return both;
    }

    void ExpectLevelsAgree(const Bytes& blocks) {
        koru::ExpectLevelsAgree(kRgb8, blocks);
        koru::ExpectLevelsAgree(kAlpha1, blocks);
        koru::ExpectLevelsAgree(kRgba8, AddAlpha(blocks));
    }

  private:
    std::minstd_rand random_{1931};
};

void Append(Bytes& blocks, const Bytes& block) {
    blocks.insert(blocks.end(), block.begin(), block.end());
}

TEST(EtcKernels, AreThoseOfTheLevelInForce) {
    EXPECT_EQ(&GetKernels(KernelLevel::Scalar), &kEtcScalarKernels);
    for (const KernelLevel level : Test_GetVectorLevels())
        EXPECT_NE(&GetKernels(level), &kEtcScalarKernels);
}

TEST(EtcKernels, AgreeOnRandomBlocksForEveryCountAndPlace) {
    for (const auto& formats :
         {std::span<const RowFormat>(kColorFormats), std::span<const RowFormat>(kEacFormats)}) {
        for (const RowFormat& format : formats) {
            for (std::size_t count = 0; count <= 40; ++count) {
                const auto seed = static_cast<std::uint32_t>(count + 1);
                const Bytes blocks = Test_RandomBytes(count * format.blockBytes, seed);
                ExpectLevelsAgree(format, blocks);
                ExpectLevelsAgree(format, blocks,
                                  {.sourceMisalignment = 1 + count % 15,
                                   .targetMisalignment = 1 + count % 31,
                                   .gap = count % 7});
            }
            for (const std::size_t count :
                 {63u, 64u, 65u, 127u, 128u, 129u, 200u, 255u, 256u, 257u, 1000u})
                ExpectLevelsAgree(format, Test_RandomBytes(count * format.blockBytes, 77));
        }
    }
}

TEST(EtcKernels, AgreeOnAllTablesDistancesAndFlagsOfEveryMode) {
    ColorBlocks random;
    for (const Kind kind : kKinds) {
        Bytes blocks;
        for (std::size_t byte3 = 0; byte3 < 256; ++byte3) {
            for (int i = 0; i < 12; ++i) Append(blocks, random.Make(kind, byte3));
        }
        random.ExpectLevelsAgree(blocks);
    }
}

TEST(EtcKernels, AgreeOnEveryChannelByteAndItsBorders) {
    ColorBlocks random;
    Bytes blocks;
    for (std::size_t channel = 0; channel < 3; ++channel) {
        for (std::size_t value = 0; value < 256; ++value) {
            for (unsigned flags = 0; flags < 4; ++flags) {
                Bytes block = random.Make(Kind::Differential);
                block[channel] = static_cast<std::uint8_t>(value);
                block[3] = static_cast<std::uint8_t>((block[3] & 0xFC) | flags);
                Append(blocks, block);
            }
        }
    }
    // Sums of -1, 0, 31 and 32, of red, green and blue in every combination.
    constexpr std::array<std::uint8_t, 8> kBorders{0x07, 0x0F, 0x1C, 0x24, 0xE3, 0xEB, 0xF9, 0xF8};
    for (const std::uint8_t red : kBorders) {
        for (const std::uint8_t green : kBorders) {
            for (const std::uint8_t blue : kBorders) {
                for (unsigned flags = 0; flags < 4; ++flags) {
                    Bytes block = random.Make(Kind::Differential, 0x58u | flags);
                    std::ranges::copy(std::array{red, green, blue}, block.begin());
                    Append(blocks, block);
                }
            }
        }
    }
    random.ExpectLevelsAgree(blocks);
}

TEST(EtcKernels, AgreeOnHBlocksOfEqualAndNeighboringColors) {
    ColorBlocks random;
    Bytes blocks;
    while (blocks.size() < 800 * 8) {
        Bytes block = random.Make(Kind::H);
        const unsigned first = (block[0] >> 3 & 15u) << 8 | (block[0] & 7u) << 5 |
                               (block[1] >> 3 & 3u) << 3 | (block[1] & 3u) << 1 | block[2] >> 7;
        // The second color 1 below the first one, equal or 1 above.
        const unsigned second = (first + 4095 + blocks.size() / 8 % 3) % 4096;
        block[2] = static_cast<std::uint8_t>((block[2] & 0x80) | second >> 5);
        block[3] = static_cast<std::uint8_t>((second & 31) << 3 | (block[3] & 7));
        if (GetKind(block) == Kind::H) Append(blocks, block);
    }
    random.ExpectLevelsAgree(blocks);
}

TEST(EtcKernels, AgreeOnPlanarBlocksOfExtremeCorners) {
    ColorBlocks random;
    Bytes blocks;
    for (std::uint8_t choice = 0; blocks.size() < 3000 * 8; ++choice) {
        Bytes block = random.Make(Kind::Planar);
        for (std::size_t byte = 3; byte < 8; ++byte) {
            if ((choice >> byte & 1) != 0) block[byte] = choice % 2 == 0 ? 0x00 : 0xFF;
        }
        block[3] |= 2;  // else RGB rows take it as individual
        Append(blocks, block);
    }
    random.ExpectLevelsAgree(blocks);
}

TEST(EtcKernels, AgreeOnMixedModesInEveryOrder) {
    ColorBlocks random;
    Bytes orders;
    for (std::size_t order = 0; order < 4 * 4 * 4 * 4 * 4; ++order) {
        for (std::size_t i = 0, kinds = order; i < 5; ++i, kinds /= 4)
            Append(orders, random.Make(kKinds[kinds % 4]));
    }
    random.ExpectLevelsAgree(orders);
}

TEST(EtcKernels, AgreeOnRunsOfOneMode) {
    ColorBlocks random;
    for (const Kind kind : kKinds) {
        for (const Kind background : {Kind::Differential, Kind::Planar}) {
            for (std::size_t length = 1; length <= 18; ++length) {
                Bytes blocks;
                for (std::size_t i = 0; i < 37; ++i)
                    Append(blocks, random.Make(i >= 7 && i < 7 + length ? kind : background));
                random.ExpectLevelsAgree(blocks);
            }
        }
        Bytes blocks;
        for (std::size_t i = 0; i < 300; ++i) Append(blocks, random.Make(kind));
        random.ExpectLevelsAgree(blocks);
    }
}

TEST(EtcKernels, AgreeOnEveryMultiplierAndTableOfEacBlocks) {
    constexpr std::array<std::uint8_t, 16> kBases{0,   1,   2,   15,  64,  126, 127, 128,
                                                  129, 130, 191, 192, 240, 253, 254, 255};
    for (const RowFormat& format : kEacFormats) {
        // Indices are random; bytes 8 and 9 matter where the second block is EAC, too.
        Bytes blocks = Test_RandomBytes(kBases.size() * 256 * format.blockBytes, 11);
        for (std::size_t i = 0; i * format.blockBytes < blocks.size(); ++i) {
            for (std::size_t k = 0; k < format.blockBytes; k += 8) {
                blocks[i * format.blockBytes + k] = kBases[(i / 256 + k) % kBases.size()];
                blocks[i * format.blockBytes + k + 1] = static_cast<std::uint8_t>(i + 5 * k);
            }
        }
        ExpectLevelsAgree(format, blocks);
    }
}

TEST(EtcKernels, AgreeOnEveryIndexOfEveryEacPixel) {
    for (const RowFormat& format : kEacFormats) {
        Bytes blocks;
        for (unsigned pixel = 0; pixel < 16; ++pixel) {
            for (std::uint64_t index = 0; index < 8; ++index) {
                const std::uint64_t word = (index << (45 - 3 * pixel)) | 0x80E0ull << 48;
                for (std::size_t k = 0; k < format.blockBytes; ++k)
                    blocks.push_back(static_cast<std::uint8_t>(word >> (56 - k % 8 * 8)));
            }
        }
        ExpectLevelsAgree(format, blocks);
    }
}

TEST(EtcKernels, DecodeImagesOfAnySizeAlike) {
    constexpr std::array<std::uint32_t, 11> kCodes{GL_ETC1_RGB8_OES,
                                                   GL_COMPRESSED_R11_EAC,
                                                   GL_COMPRESSED_SIGNED_R11_EAC,
                                                   GL_COMPRESSED_RG11_EAC,
                                                   GL_COMPRESSED_SIGNED_RG11_EAC,
                                                   GL_COMPRESSED_RGB8_ETC2,
                                                   GL_COMPRESSED_SRGB8_ETC2,
                                                   GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2,
                                                   GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2,
                                                   GL_COMPRESSED_RGBA8_ETC2_EAC,
                                                   GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC};
    for (const std::uint32_t code : kCodes) {
        for (std::uint32_t height = 1; height <= 9; ++height) {
            for (std::uint32_t width = 1; width <= 40; ++width) {
                const auto payloadBytes = Etc_GetPayloadBytes(code, width, height);
                const Bytes blocks = Test_RandomBytes(payloadBytes.value(), width * 16 + height);
                const auto decode = [&](KernelLevel level) {
                    const ForcedKernelLevel forced(level);
                    return Test_DecodeEtc(code, blocks, width, height).pixels;
                };
                const Bytes expected = decode(KernelLevel::Scalar);
                for (const KernelLevel level : Test_GetVectorLevels()) {
                    ASSERT_TRUE(decode(level) == expected)
                        << KernelLevel_GetName(level) << ", code " << code << ", " << width << " x "
                        << height;
                }
            }
        }
    }
}

}  // namespace
}  // namespace koru
