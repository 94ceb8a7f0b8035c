// Files with random damage: told at once or not at all, by a code that the documentation names.
#include <winerror.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "faulty_stream.h"
#include "test_files.h"
#include "texture_files.h"
#include "wic_server.h"
#include "wrapper_builder.h"

namespace {

using namespace koru_wic;

struct Seed {
    GUID decoderId;
    Bytes file;
};

Bytes Sample_Read(const wchar_t* name) {
    std::ifstream stream(std::filesystem::path(KORUTEX_SAMPLES) / name, std::ios::binary);
    Bytes bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    EXPECT_FALSE(bytes.empty()) << name;
    return bytes;
}

std::vector<Seed> MakeSeeds() {
    const Bytes ktx = Test_KtxOfPixels(30, 20, Test_MakePixels(30, 20));
    return {{kAstcDecoderId, Test_AstcOfColor()},
            {kAstcDecoderId, Sample_Read(L"testcard-12x12.astc")},
            {kKtxDecoderId, ktx},
            {kKtxDecoderId, Sample_Read(L"testcard-etc1.ktx")},
            {kKtxDecoderId, Sample_Read(L"testcard-etc2-rgba.ktx2")},
            {kKtxDecoderId, Sample_Read(L"testcard-rgba8-mips.ktx2")},
            {kKtxDecoderId, WrapperBuilder().Store(ktx).Build()},
            {kPvrDecoderId, Test_PvrWithAlpha()},
            {kPvrDecoderId, Test_PvrWithStrayAlpha()},
            {kPvrDecoderId, Test_PvrLegacyWithAlpha()}};
}

/// Bits and bytes of the file, more often of its beginning; now and then it ends too early.
void Bytes_Damage(Bytes& bytes, std::mt19937& random) {
    const auto below = [&random](std::size_t end) { return random() % end; };
    for (std::size_t left = 1 + below(4); left > 0; --left) {
        const std::size_t reach =
            below(4) == 0 ? bytes.size() : std::min<std::size_t>(bytes.size(), 104);
        std::uint8_t& byte = bytes[below(reach)];
        constexpr std::uint8_t kEdges[] = {0x00, 0x01, 0x7F, 0x80, 0xFF};
        byte = below(2) == 0 ? static_cast<std::uint8_t>(byte ^ 1u << below(8)) : kEdges[below(5)];
    }
    if (below(3) == 0) bytes.resize(below(bytes.size() + 1));
}

bool Code_IsDocumented(HRESULT code) {
    return code == S_OK || code == WINCODEC_ERR_UNKNOWNIMAGEFORMAT ||
           code == WINCODEC_ERR_BADHEADER || code == WINCODEC_ERR_BADIMAGE;
}

TEST(WicDamage, IsToldByInitializeOrNotAtAll) {
    constexpr int kRoundCount = 2000;
    constexpr std::uint64_t kMaxPixels = 1024 * 1024;
    const WicServer server;
    const std::vector<Seed> seeds = MakeSeeds();
    std::mt19937 random(1);
    int openedCount = 0;
    int refusedCount = 0;
    for (int round = 0; round < kRoundCount; ++round) {
        SCOPED_TRACE(round);
        const Seed& seed = seeds[static_cast<std::size_t>(round) % seeds.size()];
        Bytes file = seed.file;
        Bytes_Damage(file, random);
        FaultyStream stream(std::move(file));
        auto decoder = server.Create<IWICBitmapDecoder>(seed.decoderId);
        const HRESULT result = decoder->Initialize(&stream, WICDecodeMetadataCacheOnDemand);
        EXPECT_EQ(stream.referenceCount, 1u);
        ASSERT_TRUE(Code_IsDocumented(result)) << std::hex << static_cast<unsigned long>(result);
        ComPtr<IWICBitmapFrameDecode> frame;
        if (FAILED(result)) {
            ++refusedCount;
            EXPECT_CODE(decoder->GetFrame(0, &frame), WINCODEC_ERR_NOTINITIALIZED);
            continue;
        }
        ASSERT_CODE(decoder->GetFrame(0, &frame), S_OK);
        EXPECT_EQ(decoder.Reset(), 0u);
        UINT width = 0;
        UINT height = 0;
        ASSERT_CODE(frame->GetSize(&width, &height), S_OK);
        if (std::uint64_t{width} * height <= kMaxPixels) {
            ++openedCount;
            Bytes pixels(std::size_t{width} * height * 4);
            ASSERT_CODE(frame->CopyPixels(nullptr, width * 4, static_cast<UINT>(pixels.size()),
                                          pixels.data()),
                        S_OK);
        }
        EXPECT_EQ(frame.Reset(), 0u);
    }
    EXPECT_CODE(server.CanUnloadNow(), S_OK);
    EXPECT_GT(openedCount, kRoundCount / 20);
    EXPECT_GT(refusedCount, kRoundCount / 20);
}

}  // namespace
