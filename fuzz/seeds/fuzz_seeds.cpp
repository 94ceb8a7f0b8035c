// Writes inputs to start from: fuzz_seeds FOLDER, with a folder in it for each target.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "astc_builder.h"
#include "ktx_builder.h"
#include "pvr_builder.h"
#include "pvr_widths.h"
#include "test_blocks.h"
#include "test_noise.h"
#include "wrap_plan.h"
#include "wrapper_builder.h"

namespace {

namespace fs = std::filesystem;

/// The inputs of one target.
class SeedFolder {
  public:
    SeedFolder(const fs::path& root, const char* target) : folder_(root / target) {
        fs::create_directories(folder_);
    }
    void Add(const std::string& name, const Bytes& bytes) {
        std::ofstream file(folder_ / name, std::ios::binary | std::ios::trunc);
        for (const std::uint8_t byte : bytes) file.put(static_cast<char>(byte));
        file.close();
        if (!file) {
            std::fprintf(stderr, "cannot write %s\n", (folder_ / name).string().c_str());
            std::exit(1);
        }
    }

  private:
    fs::path folder_;
};

std::string ToHex(std::uint32_t value) {
    std::array<char, 9> text{};
    std::snprintf(text.data(), text.size(), "%x", static_cast<unsigned>(value));
    return text.data();
}

struct BlockFormat {
    std::uint32_t ktx1, ktx2;  ///< GL internal format, VkFormat or 0.
    std::size_t blockBytes;
    TestBlock (*makeBlock)(std::size_t);
};

constexpr std::array kBlockFormats{
    BlockFormat{0x8D64, 0, 8, Test_EtcRgbBlock},
    BlockFormat{0x9274, 147, 8, Test_EtcRgbBlock},
    BlockFormat{0x9275, 148, 8, Test_EtcRgbBlock},
    BlockFormat{0x9276, 149, 8, Test_EtcPunchThroughBlock},
    BlockFormat{0x9277, 150, 8, Test_EtcPunchThroughBlock},
    BlockFormat{0x9278, 151, 16, Test_EtcRgbaBlock},
    BlockFormat{0x9279, 152, 16, Test_EtcRgbaBlock},
    BlockFormat{0x9270, 153, 8, Test_R11Block},
    BlockFormat{0x9271, 154, 8, Test_SignedR11Block},
    BlockFormat{0x9272, 155, 16, Test_Rg11Block},
    BlockFormat{0x83F1, 133, 8, Test_Bc1Block},
    BlockFormat{0x8C4C, 132, 8, Test_Bc1Block},
    BlockFormat{0x83F2, 135, 16, Test_Bc2Block},
    BlockFormat{0x83F3, 137, 16, Test_Bc3Block},
    BlockFormat{0x93B0, 157, 16, Test_AstcBlock},
    BlockFormat{0x93D0, 158, 16, Test_AstcBlock},
    BlockFormat{0x8C4D, 134, 8, Test_Bc1Block},
    BlockFormat{0x8C4F, 138, 16, Test_Bc3Block},
};

struct PackedFormat {
    std::uint32_t ktx1, ktx2;
    std::size_t pixelBytes, payloadBytes;  ///< Of a pixel, and what a pixel of payload must have.
};

constexpr std::array kPackedFormats{
    PackedFormat{0x8051, 23, 3, 3},  PackedFormat{0x8058, 37, 4, 4},
    PackedFormat{0x8D62, 4, 2, 3},   PackedFormat{0x8050, 0, 2, 3},
    PackedFormat{0x8056, 2, 2, 4},   PackedFormat{0x8057, 6, 2, 4},
    PackedFormat{0x8059, 64, 4, 4},  PackedFormat{0x8C3A, 122, 4, 4},
    PackedFormat{0x8C3D, 123, 4, 4}, PackedFormat{0x1909, 0, 1, 1},
    PackedFormat{0x1907, 29, 3, 3},  PackedFormat{0x190A, 0, 2, 2},
};

Bytes MakeKtx1Blocks(const BlockFormat& format, std::uint32_t width, std::uint32_t height) {
    return Ktx1Builder()
        .Compressed(format.ktx1)
        .Size(width, height)
        .Level(Test_MakeBlockImage(format.makeBlock, 4, width, height).blocks)
        .Build();
}

Bytes MakeKtx2Blocks(const BlockFormat& format, std::uint32_t width, std::uint32_t height) {
    return Ktx2Builder()
        .Format(format.ktx2, format.blockBytes)
        .Size(width, height)
        .Level(Test_MakeBlockImage(format.makeBlock, 4, width, height).blocks)
        .Build();
}

/// Rows of payload, padded to 4 bytes, long enough for the reader.
Bytes MakeRows(const PackedFormat& format, std::size_t width, std::size_t height) {
    const std::size_t row = (width * std::max(format.pixelBytes, format.payloadBytes) + 3) / 4 * 4;
    return Test_MakeNoise(row * height, format.ktx1);
}

Bytes MakeKtx1Packed(const PackedFormat& format, std::uint32_t width, std::uint32_t height) {
    return Ktx1Builder()
        .Uncompressed(format.ktx1)
        .Size(width, height)
        .KeyValue("KTXorientation", "S=r,T=u")
        .Level(MakeRows(format, width, height))
        .Build();
}

Bytes MakeKtx2Packed(const PackedFormat& format, std::uint32_t width, std::uint32_t height) {
    return Ktx2Builder()
        .Format(format.ktx2, format.pixelBytes)
        .Size(width, height)
        .KeyValue("KTXorientation", "ru")
        .Level(MakeRows(format, width, height))
        .Build();
}

void WriteAstcSeeds(const fs::path& root) {
    SeedFolder seeds(root, "astc_load");
    for (const auto& [width, height] : kTestAstcFootprints) {
        seeds.Add(std::to_string(width) + 'x' + std::to_string(height),
                  AstcBuilder().Blocks(width, height).Size(13, 7).Solid({1, 2, 3, 4}, 8).Build());
    }
    Bytes noise = AstcBuilder().Blocks(6, 6).Size(12, 12).Build();
    Test_Append(noise, Test_MakeNoise(64));
    seeds.Add("noise", noise);
    seeds.Add("no_footprint", AstcBuilder().Blocks(7, 9).Size(9, 9).Raw(32).Build());
    seeds.Add("volume", AstcBuilder().Blocks(3, 3, 3).Size(5, 5).Raw(64).Build());
    seeds.Add("cut", AstcBuilder().Size(9, 9).Raw(17).Build());
}

void WriteKtxSeeds(const fs::path& root) {
    SeedFolder seeds(root, "ktx_load");
    for (const BlockFormat& format : kBlockFormats) {
        seeds.Add("ktx1_" + ToHex(format.ktx1), MakeKtx1Blocks(format, 7, 5));
        if (format.ktx2 != 0) seeds.Add("ktx2_" + ToHex(format.ktx2), MakeKtx2Blocks(format, 5, 7));
    }
    for (const PackedFormat& format : kPackedFormats) {
        seeds.Add("ktx1_" + ToHex(format.ktx1), MakeKtx1Packed(format, 5, 3));
        if (format.ktx2 != 0) seeds.Add("ktx2_" + ToHex(format.ktx2), MakeKtx2Packed(format, 3, 5));
    }
    seeds.Add("ktx1_no_payload", Ktx1Builder().Compressed(0x9274).Size(6, 6).Level({}).Build());
    seeds.Add("ktx1_short_astc",
              Ktx1Builder().Compressed(0x93B4).Size(64, 64).Level(Bytes(16)).Build());
    seeds.Add("ktx1_levels", Ktx1Builder()
                                 .Compressed(0x83F3)
                                 .Size(8, 8)
                                 .Level(Test_MakeNoise(64))
                                 .Level(Test_MakeNoise(16))
                                 .Level(Test_MakeNoise(16))
                                 .Build());
    seeds.Add("ktx2_levels", Ktx2Builder()
                                 .Format(37, 4)
                                 .Size(4, 2)
                                 .Level(Test_MakeNoise(32))
                                 .Level(Test_MakeNoise(8))
                                 .Build());
    seeds.Add("ktx2_no_payload", Ktx2Builder().Format(147, 8).Size(6, 6).Build());
}

void WritePvrSeeds(const fs::path& root) {
    SeedFolder seeds(root, "pvr_load");
    for (const std::uint32_t type : {18u, 21u, 24u, 25u, 28u, 32u, 34u, 36u, 54u, 55u, 56u}) {
        seeds.Add("legacy_" + std::to_string(type), PvrLegacyBuilder()
                                                        .Type(type | 0x10000)
                                                        .Size(8, 8)
                                                        .Data(Test_MakeNoise(256, type))
                                                        .Build());
    }
    for (std::uint32_t number = 0; number <= 26; ++number) {
        seeds.Add(
            "v3_" + std::to_string(number),
            PvrV3Builder().Compressed(number).Size(8, 8).Data(Test_MakeNoise(64, number)).Build());
    }
    constexpr std::array<std::string_view, 10> kNames{"rgba", "bgra", "rgbx", "rgb", "bgr",
                                                      "r",    "g",    "b",    "a",   "l"};
    for (std::size_t i = 0; i < kNames.size(); ++i) {
        seeds.Add("v3_" + std::string(kNames[i]),
                  PvrV3Builder()
                      .Packed(kNames[i], kPvrPackedWidths[i % kPvrPackedWidths.size()])
                      .Metadata(kTestPvrV3Word, 3, {0, 1, 0})
                      .Size(5, 3)
                      .Data(Test_MakeNoise(60))
                      .Build());
    }
    seeds.Add("v3_no_payload", PvrV3Builder().Compressed(22).Size(6, 6).Build());
    seeds.Add("v3_no_size", PvrV3Builder().Compressed(22).Size(0, 6).Build());
}

Bytes MakeBlockInput(std::uint8_t first, std::uint8_t second, std::uint32_t width,
                     std::uint32_t height, std::uint8_t way, const Bytes& blocks) {
    Bytes input{first, second};
    Test_PutLe(input, width, 2);
    Test_PutLe(input, height, 2);
    input.push_back(way);
    Test_Append(input, blocks);
    return input;
}

void WriteBlockSeeds(const fs::path& root) {
    SeedFolder etc(root, "etc_blocks");
    for (std::uint8_t format = 0; format < 12; ++format) {
        const std::string name = std::to_string(format);
        etc.Add(name + "_noise",
                MakeBlockInput(format, 0, 12, 8, format, Test_MakeNoise(96, format)));
        etc.Add(name + "_cut", MakeBlockInput(format, 1, 5, 3, 7, Test_MakeNoise(16, format)));
    }
    etc.Add("empty", MakeBlockInput(5, 0, 0, 0, 0, {}));
    SeedFolder s3tc(root, "s3tc_blocks");
    for (std::uint8_t mode = 0; mode < 8; ++mode) {
        for (std::uint8_t bytes = 0; bytes < 7; bytes = static_cast<std::uint8_t>(bytes + 2)) {
            s3tc.Add(
                std::to_string(mode) + '_' + std::to_string(bytes),
                MakeBlockInput(mode, bytes, 6u - bytes / 2u, 5, mode, Test_MakeNoise(64, mode)));
        }
    }
    SeedFolder pvrtc(root, "pvrtc_blocks");
    for (std::uint8_t shape = 0; shape < 4; ++shape) {
        for (const std::uint32_t size : {3u, 4u, 5u, 16u}) {
            Bytes input{shape};
            Test_PutLe(input, size, 2);
            Test_PutLe(input, size + shape % 2, 2);
            Test_Append(input, Test_MakeNoise(256, size));
            pvrtc.Add(std::to_string(shape) + '_' + std::to_string(size), input);
        }
    }
}

/// Of a 7 x 5 image, so that its chunks are not all alike.
Bytes MakeInnerFile() { return MakeKtx1Blocks(kBlockFormats[1], 7, 5); }

void WriteWrappedSeeds(const fs::path& root) {
    SeedFolder seeds(root, "wrapped_ktx_load");
    const Bytes inner = MakeInnerFile();
    for (const int depth : {1, 2, 8, 9}) {
        seeds.Add("file_" + std::to_string(depth), Test_WrapDeep(inner, depth));
    }
    const std::size_t half = inner.size() / 2;
    const auto middle = inner.begin() + static_cast<std::ptrdiff_t>(half);
    seeds.Add("file_two_chunks",
              WrapperBuilder().Store({inner.begin(), middle}).Store({middle, inner.end()}).Build());
    // Zero wrappers and more, then one layer of one chunk for each way to store and each lie.
    for (std::uint8_t wrappers = 0; wrappers <= 10; ++wrappers) {
        Bytes plan(kWrapPlanBytes);
        plan[0] = wrappers;
        for (std::size_t layer = 0; layer < kWrapPlanLayers; ++layer) {
            plan[1 + layer * (1 + kWrapPlanChunks * 3)] = static_cast<std::uint8_t>(layer + 1);
        }
        Test_Append(plan, inner);
        seeds.Add("plan_" + std::to_string(wrappers), plan);
    }
    for (std::uint8_t lie = 0; lie < 12; ++lie) {
        Bytes plan(kWrapPlanBytes);
        const std::uint8_t way = lie % 4;
        const Bytes head{1, 2, way, lie, 3, 1, 0, 0};
        std::copy(head.begin(), head.end(), plan.begin());
        Test_Append(plan, MakeKtx2Packed(kPackedFormats[1], 3, 5));
        seeds.Add("lie_" + std::to_string(lie), plan);
    }
}

void WriteExpandSeeds(const fs::path& root) {
    SeedFolder seeds(root, "expand_and_finish");
    for (std::uint8_t format = 0; format < 10; ++format) {
        for (std::uint8_t pixelBytes = 0; pixelBytes < 6; ++pixelBytes) {
            const auto layout = static_cast<std::uint8_t>((format + pixelBytes) % 4);
            Bytes input{static_cast<std::uint8_t>(format % 3),     pixelBytes, format, layout,
                        static_cast<std::uint8_t>(pixelBytes % 4), 4,          3};
            Test_PutLe(input, 40u + format, 2);
            Test_Append(input, Test_MakeNoise(pixelBytes * 12u, format));
            const std::string name = std::to_string(format) + '_' + std::to_string(pixelBytes);
            seeds.Add(name, input);

            // Rows that are long enough for every kernel, of a source that counts what it holds.
            Bytes wide{input.begin(), input.begin() + 7};
            wide[3] |= 2;
            wide[5] = 37;
            wide[6] = 2;
            Test_PutLe(wide, 0, 2);
            Test_Append(wide, Test_MakeNoise((pixelBytes * 37u + 3) * 2, format));
            seeds.Add(name + "_wide", wide);
        }
    }
}

void WriteWriterSeeds(const fs::path& root) {
    SeedFolder seeds(root, "write_records");
    for (std::uint8_t writer = 0; writer < 3; ++writer) {
        for (const std::uint8_t shape : Bytes{0x00, 0x08, 0x10, 0x18, 0x01, 0x1F, 0x30}) {
            Bytes input{writer};
            for (const std::uint32_t field : {3u, 2u, 24u, 3u, 1u, 10u}) {
                Test_PutLe(input, field, 4);
            }
            input.push_back(shape);
            Test_Append(input, Test_MakeNoise(40, shape));
            seeds.Add(std::to_string(writer) + '_' + ToHex(shape), input);
            // Pixels that end within the third row, within a pixel of it.
            input.resize(input.size() - 9);
            seeds.Add(std::to_string(writer) + '_' + ToHex(shape) + "_cut", input);
        }
    }
}

void WriteSequenceSeeds(const fs::path& root) {
    SeedFolder seeds(root, "load_sequence");
    for (std::uint8_t kind = 0; kind < 8; ++kind) {
        Bytes input;
        for (std::uint8_t step = 0; step < 4; ++step) {
            const Bytes load{static_cast<std::uint8_t>(kind << 2 | step | (step == 3 ? 0x20 : 0)),
                             static_cast<std::uint8_t>(kind * 5 + step * 3),
                             kind,
                             8,
                             8,
                             static_cast<std::uint8_t>(step * 50),
                             step};
            Test_Append(input, load);
        }
        seeds.Add(std::to_string(kind), input);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_seeds FOLDER\n");
        return 2;
    }
    const fs::path root = argv[1];
    WriteAstcSeeds(root);
    WriteKtxSeeds(root);
    WritePvrSeeds(root);
    WriteBlockSeeds(root);
    WriteWrappedSeeds(root);
    WriteExpandSeeds(root);
    WriteWriterSeeds(root);
    WriteSequenceSeeds(root);
    return 0;
}
