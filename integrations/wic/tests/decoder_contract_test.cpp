// Decoders and frames, called as WIC calls them and as it never would.
#include <winerror.h>

#include <array>
#include <atomic>
#include <functional>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "faulty_stream.h"
#include "texture_files.h"
#include "wic_server.h"

namespace {

using namespace koru_wic;

constexpr auto kOnDemand = WICDecodeMetadataCacheOnDemand;

HRESULT Initialize(const WicServer& server, REFCLSID id, FaultyStream& stream) {
    return server.Create<IWICBitmapDecoder>(id)->Initialize(&stream, kOnDemand);
}

HRESULT Initialize(const WicServer& server, REFCLSID id, const Bytes& file) {
    FaultyStream stream(file);
    return Initialize(server, id, stream);
}

ComPtr<IWICBitmapFrameDecode> OpenFrame(const WicServer& server, REFCLSID id, const Bytes& file) {
    const auto decoder = server.Create<IWICBitmapDecoder>(id);
    FaultyStream stream(file);
    EXPECT_CODE(decoder->Initialize(&stream, kOnDemand), S_OK);
    ComPtr<IWICBitmapFrameDecode> frame;
    EXPECT_CODE(decoder->GetFrame(0, &frame), S_OK);
    return frame;
}

Bytes CopyAll(IWICBitmapSource& frame) {
    UINT width = 0;
    UINT height = 0;
    EXPECT_CODE(frame.GetSize(&width, &height), S_OK);
    Bytes pixels(std::size_t{width} * height * 4);
    EXPECT_CODE(
        frame.CopyPixels(nullptr, width * 4, static_cast<UINT>(pixels.size()), pixels.data()),
        S_OK);
    return pixels;
}

Bytes Cut(Bytes file, std::size_t byteCount) {
    file.resize(byteCount);
    return file;
}

struct KindFile {
    const char* name;
    GUID decoderId, containerId;
    Bytes file;
};

std::vector<KindFile> MakeGoodFiles() {
    return {{"ASTC", kAstcDecoderId, kAstcContainerId, Test_AstcOfColor()},
            {"KTX", kKtxDecoderId, kKtxContainerId, Test_KtxOfPixels(3, 2, Test_MakePixels(3, 2))},
            {"PVR", kPvrDecoderId, kPvrContainerId, Test_PvrWithAlpha()},
            {"PVR legacy", kPvrDecoderId, kPvrContainerId, Test_PvrLegacyWithAlpha()}};
}

TEST(WicDecoder, OpensItsOwnFilesAndNoOthers) {
    const WicServer server;
    for (const KindFile& kind : MakeGoodFiles()) {
        for (const KindFile& other : MakeGoodFiles()) {
            const bool isOwn = kind.decoderId == other.decoderId;
            SCOPED_TRACE(std::string(kind.name) + " decoder, " + other.name + " file");
            const auto decoder = server.Create<IWICBitmapDecoder>(kind.decoderId);
            FaultyStream stream(other.file);
            DWORD capability = 99;
            EXPECT_CODE(decoder->QueryCapability(&stream, &capability), S_OK);
            EXPECT_EQ(capability, isOwn ? 2u : 0u);
            EXPECT_CODE(decoder->Initialize(&stream, kOnDemand),
                        isOwn ? S_OK : WINCODEC_ERR_UNKNOWNIMAGEFORMAT);
            GUID container{};
            EXPECT_CODE(decoder->GetContainerFormat(&container), S_OK);
            EXPECT_EQ(container, kind.containerId);
        }
    }
}

TEST(WicDecoder, TellsWhatIsWrongWithAFile) {
    const WicServer server;
    const Bytes ktx = Test_KtxOfPixels(4, 4, Test_MakePixels(4, 4));
    const struct {
        const char* what;
        GUID id;
        Bytes file;
        HRESULT code;
    } cases[] = {
        {"no byte", kKtxDecoderId, {}, WINCODEC_ERR_UNKNOWNIMAGEFORMAT},
        {"half a magic", kKtxDecoderId, Cut(ktx, 11), WINCODEC_ERR_UNKNOWNIMAGEFORMAT},
        {"half a KTX header", kKtxDecoderId, Cut(ktx, 63), WINCODEC_ERR_BADHEADER},
        {"no level", kKtxDecoderId, Cut(ktx, 64), WINCODEC_ERR_BADIMAGE},
        {"a level cut short", kKtxDecoderId, Cut(ktx, ktx.size() - 1), WINCODEC_ERR_BADIMAGE},
        {"no width", kKtxDecoderId, Test_KtxOfPixels(0, 4, {}), WINCODEC_ERR_BADIMAGE},
        {"an empty wrapper",
         kKtxDecoderId,
         {'Q', 'O', 'Z', 'M', 0, 0, 0, 0},
         WINCODEC_ERR_BADHEADER},
        {"half an ASTC header", kAstcDecoderId, Cut(Test_AstcOfColor(), 15),
         WINCODEC_ERR_BADHEADER},
        {"ASTC without width", kAstcDecoderId, AstcBuilder().Size(0, 4).Build(),
         WINCODEC_ERR_BADHEADER},
        {"ASTC without height", kAstcDecoderId, AstcBuilder().Size(4, 0).Build(),
         WINCODEC_ERR_BADHEADER},
        {"ASTC of two slices", kAstcDecoderId, AstcBuilder().Size(4, 4, 2).Raw(64).Build(),
         WINCODEC_ERR_BADHEADER},
        {"ASTC blocks missing", kAstcDecoderId, Cut(Test_AstcOfColor(), 16 + 63),
         WINCODEC_ERR_BADIMAGE},
        {"half a PVR header", kPvrDecoderId, Cut(Test_PvrWithAlpha(), 51), WINCODEC_ERR_BADHEADER},
        {"PVR pixels missing", kPvrDecoderId, Cut(Test_PvrWithAlpha(), 55), WINCODEC_ERR_BADIMAGE},
        {"a format that nobody knows", kPvrDecoderId,
         PvrV3Builder().Compressed(200).Data(Bytes(64)).Build(), WINCODEC_ERR_BADIMAGE},
        {"RGBA of 2^32 bytes", kKtxDecoderId, Test_KtxWithoutData(32768, 32768),
         WINCODEC_ERR_BADIMAGE},
    };
    for (const auto& [what, id, file, code] : cases) {
        SCOPED_TRACE(what);
        EXPECT_CODE(Initialize(server, id, file), code);
    }
    EXPECT_CODE(server.CanUnloadNow(), S_OK);
}

TEST(WicDecoder, TellsTheSameOfALargePictureWhateverCameBefore) {
    const WicServer server;
    EXPECT_CODE(server.CanUnloadNow(), S_OK);  // the library starts anew
    const Bytes large = Test_KtxWithoutData(32768, 32768);
    EXPECT_CODE(Initialize(server, kKtxDecoderId, large), WINCODEC_ERR_BADIMAGE);
    const Bytes pixels = Test_MakePixels(2, 2);
    EXPECT_EQ(CopyAll(*OpenFrame(server, kKtxDecoderId, Test_KtxOfPixels(2, 2, pixels)).Get()),
              pixels);
    EXPECT_CODE(Initialize(server, kKtxDecoderId, large), WINCODEC_ERR_BADIMAGE);
}

TEST(WicDecoder, KnowsItsStates) {
    const WicServer server;
    const auto decoder = server.Create<IWICBitmapDecoder>(kKtxDecoderId);
    ComPtr<IWICBitmapFrameDecode> frame;
    UINT count = 99;
    EXPECT_CODE(decoder->GetFrameCount(&count), WINCODEC_ERR_NOTINITIALIZED);
    EXPECT_EQ(count, 0u);
    EXPECT_CODE(decoder->GetFrame(0, &frame), WINCODEC_ERR_NOTINITIALIZED);

    FaultyStream bad({1, 2, 3});
    EXPECT_CODE(decoder->Initialize(&bad, kOnDemand), WINCODEC_ERR_UNKNOWNIMAGEFORMAT);
    FaultyStream good(Test_KtxOfPixels(2, 2, Test_MakePixels(2, 2)));
    EXPECT_CODE(decoder->Initialize(&good, static_cast<WICDecodeOptions>(7)), E_INVALIDARG);
    EXPECT_CODE(decoder->Initialize(&good, WICDecodeMetadataCacheOnLoad), S_OK);
    EXPECT_CODE(decoder->Initialize(&good, kOnDemand), WINCODEC_ERR_WRONGSTATE);
    EXPECT_EQ(good.referenceCount, 1u) << "the stream is kept";

    EXPECT_CODE(decoder->GetFrameCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
    EXPECT_CODE(decoder->GetFrame(1, &frame), WINCODEC_ERR_FRAMEMISSING);
    EXPECT_EQ(frame.Get(), nullptr);
    EXPECT_CODE(decoder->GetFrame(0, &frame), S_OK);
}

TEST(WicDecoder, SaysWhatItDoesNotHave) {
    const WicServer server;
    const auto frame =
        OpenFrame(server, kKtxDecoderId, Test_KtxOfPixels(2, 2, Test_MakePixels(2, 2)));
    const auto decoder = server.Create<IWICBitmapDecoder>(kKtxDecoderId);
    ComPtr<IWICImagingFactory> factory;
    ASSERT_CODE(CoCreateInstance(kImagingFactoryId, nullptr, CLSCTX_INPROC_SERVER,
                                 __uuidof(IWICImagingFactory), &factory),
                S_OK);
    ComPtr<IWICPalette> palette;
    ASSERT_CODE(factory->CreatePalette(&palette), S_OK);

    EXPECT_CODE(decoder->CopyPalette(palette.Get()), WINCODEC_ERR_PALETTEUNAVAILABLE);
    EXPECT_CODE(frame->CopyPalette(palette.Get()), WINCODEC_ERR_PALETTEUNAVAILABLE);
    ComPtr<IWICMetadataQueryReader> reader;
    EXPECT_CODE(decoder->GetMetadataQueryReader(&reader), WINCODEC_ERR_UNSUPPORTEDOPERATION);
    EXPECT_CODE(frame->GetMetadataQueryReader(&reader), WINCODEC_ERR_UNSUPPORTEDOPERATION);
    ComPtr<IWICBitmapSource> source;
    EXPECT_CODE(decoder->GetPreview(&source), WINCODEC_ERR_UNSUPPORTEDOPERATION);
    EXPECT_CODE(decoder->GetThumbnail(&source), WINCODEC_ERR_CODECNOTHUMBNAIL);
    EXPECT_CODE(frame->GetThumbnail(&source), WINCODEC_ERR_CODECNOTHUMBNAIL);
    UINT count = 99;
    EXPECT_CODE(decoder->GetColorContexts(0, nullptr, &count), S_OK);
    EXPECT_EQ(count, 0u);
    count = 99;
    EXPECT_CODE(frame->GetColorContexts(0, nullptr, &count), S_OK);
    EXPECT_EQ(count, 0u);
}

TEST(WicDecoder, RefusesNullPointers) {
    const WicServer server;
    const auto frame =
        OpenFrame(server, kKtxDecoderId, Test_KtxOfPixels(2, 2, Test_MakePixels(2, 2)));
    const auto decoder = server.Create<IWICBitmapDecoder>(kKtxDecoderId);
    FaultyStream stream({});
    DWORD capability = 0;
    EXPECT_CODE(decoder->QueryCapability(nullptr, &capability), E_INVALIDARG);
    EXPECT_CODE(decoder->QueryCapability(&stream, nullptr), E_INVALIDARG);
    EXPECT_CODE(decoder->Initialize(nullptr, kOnDemand), E_INVALIDARG);
    EXPECT_CODE(decoder->GetContainerFormat(nullptr), E_INVALIDARG);
    EXPECT_CODE(decoder->GetDecoderInfo(nullptr), E_INVALIDARG);
    EXPECT_CODE(decoder->CopyPalette(nullptr), E_INVALIDARG);
    EXPECT_CODE(decoder->GetMetadataQueryReader(nullptr), E_INVALIDARG);
    EXPECT_CODE(decoder->GetPreview(nullptr), E_INVALIDARG);
    EXPECT_CODE(decoder->GetColorContexts(0, nullptr, nullptr), E_INVALIDARG);
    EXPECT_CODE(decoder->GetThumbnail(nullptr), E_INVALIDARG);
    EXPECT_CODE(decoder->GetFrameCount(nullptr), E_INVALIDARG);
    EXPECT_CODE(decoder->GetFrame(0, nullptr), E_INVALIDARG);

    UINT side = 0;
    double dpi = 0;
    EXPECT_CODE(frame->GetSize(nullptr, &side), E_INVALIDARG);
    EXPECT_CODE(frame->GetSize(&side, nullptr), E_INVALIDARG);
    EXPECT_CODE(frame->GetPixelFormat(nullptr), E_INVALIDARG);
    EXPECT_CODE(frame->GetResolution(nullptr, &dpi), E_INVALIDARG);
    EXPECT_CODE(frame->GetResolution(&dpi, nullptr), E_INVALIDARG);
    EXPECT_CODE(frame->CopyPalette(nullptr), E_INVALIDARG);
    EXPECT_CODE(frame->CopyPixels(nullptr, 8, 16, nullptr), E_INVALIDARG);
    EXPECT_CODE(frame->GetMetadataQueryReader(nullptr), E_INVALIDARG);
    EXPECT_CODE(frame->GetColorContexts(0, nullptr, nullptr), E_INVALIDARG);
    EXPECT_CODE(frame->GetThumbnail(nullptr), E_INVALIDARG);
}

TEST(WicDecoder, FailsWithItsStreamWhereverThatFails) {
    const WicServer server;
    const Bytes file = Test_KtxOfPixels(2, 2, Test_MakePixels(2, 2));
    for (const auto& [failure, code] : {std::pair{E_FAIL, WINCODEC_ERR_STREAMREAD},
                                        std::pair{STG_E_ACCESSDENIED, WINCODEC_ERR_STREAMREAD},
                                        std::pair{E_OUTOFMEMORY, E_OUTOFMEMORY}}) {
        int failureCount = 0;
        for (;; ++failureCount) {
            FaultyStream stream(file);
            stream.failure = failure;
            stream.callsBeforeFailure = failureCount;
            const HRESULT result = Initialize(server, kKtxDecoderId, stream);
            EXPECT_EQ(stream.referenceCount, 1u);
            if (result == S_OK) break;
            ASSERT_CODE(result, code) << "call " << failureCount;
            ASSERT_LT(failureCount, 20);
        }
        EXPECT_GE(failureCount, 5);

        for (int call = 0; call < 4; ++call) {
            FaultyStream stream(file);
            stream.failure = failure;
            stream.callsBeforeFailure = call;
            DWORD capability = 99;
            EXPECT_CODE(server.Create<IWICBitmapDecoder>(kKtxDecoderId)
                            ->QueryCapability(&stream, &capability),
                        code);
            EXPECT_EQ(capability, 0u);
        }
    }
    EXPECT_CODE(server.CanUnloadNow(), S_OK);
}

TEST(WicDecoder, TakesStreamsThatGiveLittleAtATime) {
    const WicServer server;
    const Bytes pixels = Test_MakePixels(20, 10);
    for (const ULONG step : {1u, 7u, 47u}) {
        FaultyStream stream(Test_KtxOfPixels(20, 10, pixels));
        stream.maxRead = step;
        const auto decoder = server.Create<IWICBitmapDecoder>(kKtxDecoderId);
        ASSERT_CODE(decoder->Initialize(&stream, kOnDemand), S_OK);
        ComPtr<IWICBitmapFrameDecode> frame;
        ASSERT_CODE(decoder->GetFrame(0, &frame), S_OK);
        EXPECT_EQ(CopyAll(*frame.Get()), pixels);
    }
}

TEST(WicDecoder, TakesFilesLargerThanItsFirstRoom) {
    const WicServer server;
    const Bytes pixels = Test_MakePixels(500, 700);  // 1.4 MB
    EXPECT_EQ(CopyAll(*OpenFrame(server, kKtxDecoderId, Test_KtxOfPixels(500, 700, pixels)).Get()),
              pixels);
}

TEST(WicDecoder, DoesNotTrustTheSizeOfAStream) {
    const WicServer server;
    const Bytes file = Test_KtxOfPixels(2, 2, Test_MakePixels(2, 2));
    const struct {
        std::uint64_t told;
        HRESULT code;
    } cases[] = {
        {file.size() + 1, S_OK},
        {0xFFFFFFFF, S_OK},  // 4 GiB - 1 would fit, and are not asked for
        {0x100000000, HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE)},
        {0x7FFFFFFFFFFFFFFF, HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE)},
        {file.size() - 1, WINCODEC_ERR_BADIMAGE},
        {1, WINCODEC_ERR_BADHEADER},
    };
    for (const auto& [told, code] : cases) {
        SCOPED_TRACE(told);
        FaultyStream stream(file);
        stream.toldBytes = told;
        EXPECT_CODE(Initialize(server, kKtxDecoderId, stream), code);
    }
    FaultyStream cut(Cut(file, file.size() - 1));
    cut.toldBytes = file.size();
    EXPECT_CODE(Initialize(server, kKtxDecoderId, cut), WINCODEC_ERR_BADIMAGE);
    FaultyStream liar(file);
    liar.claimsMoreThanAsked = true;
    EXPECT_CODE(Initialize(server, kKtxDecoderId, liar), WINCODEC_ERR_STREAMREAD);
}

TEST(WicDecoder, ReadsFromWhereTheStreamStands) {
    const WicServer server;
    const Bytes inner = Test_KtxOfPixels(1, 1, {1, 2, 3, 4});
    Bytes joined = Test_KtxOfPixels(2, 2, Test_MakePixels(2, 2));
    const std::uint64_t innerPosition = joined.size();
    Test_Append(joined, inner);
    const struct {
        std::uint64_t position;
        UINT width;
    } cases[] = {{0, 2}, {innerPosition, 1}, {12, 2}, {joined.size(), 2}, {joined.size() + 9, 2}};
    for (const auto& [position, width] : cases) {
        SCOPED_TRACE(position);
        FaultyStream stream(joined);
        stream.position = position;
        const auto decoder = server.Create<IWICBitmapDecoder>(kKtxDecoderId);
        DWORD capability = 0;
        EXPECT_CODE(decoder->QueryCapability(&stream, &capability), S_OK);
        EXPECT_EQ(capability, 2u);
        EXPECT_EQ(stream.position, position) << "the position is not restored";
        ASSERT_CODE(decoder->Initialize(&stream, kOnDemand), S_OK);
        ComPtr<IWICBitmapFrameDecode> frame;
        ASSERT_CODE(decoder->GetFrame(0, &frame), S_OK);
        UINT actualWidth = 0;
        UINT height = 0;
        EXPECT_CODE(frame->GetSize(&actualWidth, &height), S_OK);
        EXPECT_EQ(actualWidth, width);
    }
}

TEST(WicDecoder, AsksOnlyForTheFirstBytesOfAStreamThatItIsShown) {
    const WicServer server;
    FaultyStream stream(Test_KtxOfPixels(500, 700, Test_MakePixels(500, 700)));
    DWORD capability = 0;
    EXPECT_CODE(
        server.Create<IWICBitmapDecoder>(kKtxDecoderId)->QueryCapability(&stream, &capability),
        S_OK);
    EXPECT_LE(stream.bytesRead, 64u);
}

TEST(WicFrame, TellsItsFacts) {
    const WicServer server;
    const auto frame =
        OpenFrame(server, kKtxDecoderId, Test_KtxOfPixels(3, 2, Test_MakePixels(3, 2)));
    UINT width = 0;
    UINT height = 0;
    EXPECT_CODE(frame->GetSize(&width, &height), S_OK);
    EXPECT_EQ(width, 3u);
    EXPECT_EQ(height, 2u);
    GUID format{};
    EXPECT_CODE(frame->GetPixelFormat(&format), S_OK);
    EXPECT_EQ(format,
              (GUID{0xf5c7ad2d, 0x6a8d, 0x43dd, {0xa7, 0xa8, 0xa2, 0x99, 0x35, 0x26, 0x1a, 0xe9}}));
    double dpiX = 0;
    double dpiY = 0;
    EXPECT_CODE(frame->GetResolution(&dpiX, &dpiY), S_OK);
    EXPECT_EQ(dpiX, 96.0);
    EXPECT_EQ(dpiY, 96.0);
}

TEST(WicFrame, OutlivesItsDecoderAndItsStream) {
    const WicServer server;
    const Bytes pixels = Test_MakePixels(5, 3);
    const auto frame = OpenFrame(server, kKtxDecoderId, Test_KtxOfPixels(5, 3, pixels));
    EXPECT_EQ(CopyAll(*frame.Get()), pixels);
    EXPECT_EQ(CopyAll(*frame.Get()), pixels) << "the second time";
}

TEST(WicFrame, ChecksRectanglesStridesAndSizes) {
    const WicServer server;
    const Bytes pixels = Test_MakePixels(5, 3);
    const auto frame = OpenFrame(server, kKtxDecoderId, Test_KtxOfPixels(5, 3, pixels));
    constexpr INT kMax = std::numeric_limits<INT>::max();
    constexpr INT kMin = std::numeric_limits<INT>::min();
    constexpr UINT kMaxUnsigned = std::numeric_limits<UINT>::max();
    const struct {
        WICRect rect;
        UINT stride, bufferBytes;
        HRESULT code;
    } cases[] = {
        {{0, 0, 5, 3}, 20, 60, S_OK},
        {{4, 2, 1, 1}, 4, 4, S_OK},
        {{1, 1, 3, 2}, 100, 112, S_OK},  // nothing behind the last row
        {{1, 1, 3, 2}, 100, 111, WINCODEC_ERR_INSUFFICIENTBUFFER},
        {{0, 0, 5, 3}, 20, 59, WINCODEC_ERR_INSUFFICIENTBUFFER},
        {{0, 0, 5, 3}, 20, 0, WINCODEC_ERR_INSUFFICIENTBUFFER},
        {{0, 0, 5, 3}, 19, 60, E_INVALIDARG},
        {{0, 0, 5, 3}, 0, 60, E_INVALIDARG},
        {{0, 0, 5, 3}, kMaxUnsigned, 60, WINCODEC_ERR_INSUFFICIENTBUFFER},
        // The rows' distance times two wraps to 4 in 32 bits.
        {{0, 0, 1, 3}, 0x80000002, 60, WINCODEC_ERR_INSUFFICIENTBUFFER},
        {{-1, 0, 2, 1}, 20, 60, E_INVALIDARG},
        {{0, -1, 1, 2}, 20, 60, E_INVALIDARG},
        {{0, 0, 6, 1}, 24, 60, E_INVALIDARG},
        {{0, 0, 1, 4}, 4, 60, E_INVALIDARG},
        {{5, 0, 1, 1}, 4, 60, E_INVALIDARG},
        {{0, 3, 1, 1}, 4, 60, E_INVALIDARG},
        {{0, 0, 0, 1}, 4, 60, E_INVALIDARG},
        {{0, 0, 1, 0}, 4, 60, E_INVALIDARG},
        {{0, 0, -1, 1}, 4, 60, E_INVALIDARG},
        {{0, 0, 1, kMin}, 4, 60, E_INVALIDARG},
        {{kMax, 0, kMax, 1}, kMaxUnsigned, 60, E_INVALIDARG},
        {{1, 1, kMax, kMax}, kMaxUnsigned, 60, E_INVALIDARG},
        {{kMin, kMin, kMin, kMin}, 4, 60, E_INVALIDARG},
    };
    for (const auto& [rect, stride, bufferBytes, code] : cases) {
        SCOPED_TRACE(testing::Message()
                     << rect.X << ", " << rect.Y << ", " << rect.Width << " x " << rect.Height
                     << ", stride " << stride << ", " << bufferBytes << " bytes");
        constexpr std::uint8_t kUntouched = 0x5A;
        Bytes buffer(112, kUntouched);
        ASSERT_CODE(frame->CopyPixels(&rect, stride, bufferBytes, buffer.data()), code);
        Bytes expected(112, kUntouched);
        if (code == S_OK) {
            for (INT y = 0; y < rect.Height; ++y) {
                const auto from = pixels.begin() + ((rect.Y + y) * 5 + rect.X) * 4;
                std::copy_n(from, rect.Width * 4, expected.begin() + y * static_cast<INT>(stride));
            }
        }
        EXPECT_EQ(buffer, expected);
    }
}

TEST(WicFrame, AlphaDoesNotDependOnWhatWasOpenedBefore) {
    const WicServer server;
    EXPECT_CODE(server.CanUnloadNow(), S_OK);  // the library starts anew
    const Bytes expected{1, 2, 3, 255};
    EXPECT_EQ(CopyAll(*OpenFrame(server, kPvrDecoderId, Test_PvrWithStrayAlpha()).Get()), expected);
    EXPECT_EQ(CopyAll(*OpenFrame(server, kPvrDecoderId, Test_PvrWithAlpha()).Get()),
              (Bytes{1, 2, 3, 0x80}));
    EXPECT_EQ(CopyAll(*OpenFrame(server, kPvrDecoderId, Test_PvrWithStrayAlpha()).Get()), expected);
}

TEST(WicFrame, ASmallFileMayTellALargePicture) {
    // Known before anything is decoded, so that a program can refuse it.
    const WicServer server;
    const auto frame = OpenFrame(server, kKtxDecoderId, Test_KtxWithoutData(20000, 10000));
    UINT width = 0;
    UINT height = 0;
    EXPECT_CODE(frame->GetSize(&width, &height), S_OK);
    EXPECT_EQ(width, 20000u);
    EXPECT_EQ(height, 10000u);
}

TEST(WicThreads, DecodeDifferentFilesAtOnce) {
    const WicServer server;
    constexpr int kThreadCount = 4;
    constexpr int kRoundCount = 40;
    std::array<int, kThreadCount> goodCounts{};
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < kThreadCount; ++i) {
            threads.emplace_back([&server, &good = goodCounts[static_cast<std::size_t>(i)], i] {
                for (int round = 0; round < kRoundCount; ++round) {
                    const auto seed = static_cast<std::uint8_t>(i * kRoundCount + round);
                    const auto width = static_cast<std::uint32_t>(30 + i);
                    const Bytes pixels = Test_MakePixels(width, 50, seed);
                    const auto frame =
                        OpenFrame(server, kKtxDecoderId, Test_KtxOfPixels(width, 50, pixels));
                    if (CopyAll(*frame.Get()) == pixels) ++good;
                }
            });
        }
    }
    for (const int good : goodCounts) EXPECT_EQ(good, kRoundCount);
    EXPECT_CODE(server.CanUnloadNow(), S_OK);
}

TEST(WicThreads, ShareOneFrame) {
    const WicServer server;
    const Bytes pixels = Test_MakePixels(300, 200);
    for (int round = 0; round < 10; ++round) {
        const auto frame = OpenFrame(server, kKtxDecoderId, Test_KtxOfPixels(300, 200, pixels));
        std::array<bool, 4> isGood{};
        {
            std::vector<std::jthread> threads;
            for (bool& good : isGood) {
                threads.emplace_back([&] { good = CopyAll(*frame.Get()) == pixels; });
            }
        }
        for (const bool good : isGood) EXPECT_TRUE(good);
    }
}

TEST(WicThreads, ShareOneDecoder) {
    const WicServer server;
    const Bytes pixels = Test_MakePixels(60, 40);
    const Bytes file = Test_KtxOfPixels(60, 40, pixels);
    for (int round = 0; round < 50; ++round) {
        const auto decoder = server.Create<IWICBitmapDecoder>(kKtxDecoderId);
        std::atomic<int> initializedCount = 0;
        std::atomic<int> refusedCount = 0;
        std::atomic<int> goodCount = 0;
        std::latch start(4);
        {
            std::vector<std::jthread> threads;
            for (int i = 0; i < 4; ++i) {
                threads.emplace_back([&] {
                    FaultyStream stream(file);
                    stream.maxRead = 1;  // so that all are at it together
                    start.arrive_and_wait();
                    const HRESULT result = decoder->Initialize(&stream, kOnDemand);
                    if (result == S_OK) ++initializedCount;
                    if (result == WINCODEC_ERR_WRONGSTATE) ++refusedCount;
                    ComPtr<IWICBitmapFrameDecode> frame;
                    if (FAILED(decoder->GetFrame(0, &frame))) return;
                    if (CopyAll(*frame.Get()) == pixels) ++goodCount;
                });
            }
        }
        EXPECT_EQ(initializedCount, 1);
        EXPECT_EQ(refusedCount, 3);
        EXPECT_EQ(goodCount, 4);
    }
    EXPECT_CODE(server.CanUnloadNow(), S_OK);
}

/// Marshals an object from an apartment of one thread, which does not answer meanwhile, to another
/// apartment.
ComPtr<IUnknown> Object_MoveOutOfApartment(const std::function<ComPtr<IUnknown>()>& make) {
    ComPtr<IStream> parcel;
    ComPtr<IUnknown> object;
    ComPtr<IUnknown> arrived;
    std::jthread([&] {
        EXPECT_CODE(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        object = make();
        EXPECT_CODE(
            CoMarshalInterThreadInterfaceInStream(__uuidof(IUnknown), object.Get(), &parcel), S_OK);
        std::jthread([&] {
            EXPECT_CODE(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
            EXPECT_CODE(
                CoGetInterfaceAndReleaseStream(parcel.Detach(), __uuidof(IUnknown), &arrived),
                S_OK);
            CoUninitialize();
        }).join();
        EXPECT_EQ(arrived.Get(), object.Get()) << "a proxy";
        CoUninitialize();
    }).join();
    return arrived;
}

TEST(WicThreads, EveryApartmentGetsTheObjectItself) {
    const WicServer server;
    const Bytes pixels = Test_MakePixels(3, 2);
    const auto decoder =
        Object_MoveOutOfApartment([&] { return server.Create<IWICBitmapDecoder>(kKtxDecoderId); });
    const auto frame = Object_MoveOutOfApartment(
        [&] { return OpenFrame(server, kKtxDecoderId, Test_KtxOfPixels(3, 2, pixels)); });
    ComPtr<IWICBitmapFrameDecode> source;
    ASSERT_CODE(frame.As(&source), S_OK);
    EXPECT_EQ(CopyAll(*source.Get()), pixels);
}

}  // namespace
