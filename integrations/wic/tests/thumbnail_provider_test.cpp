// The thumbnail provider, called as the Explorer calls it.
#include <propsys.h>
#include <thumbcache.h>
#include <winerror.h>

#include "faulty_stream.h"
#include "texture_files.h"
#include "wic_server.h"

namespace {

using namespace koru_wic;

struct Thumbnail {
    HRESULT result = E_UNEXPECTED;
    LONG width = 0, height = 0;
    WTS_ALPHATYPE alpha = WTSAT_UNKNOWN;
    Bytes bytes;
};

/// The pixels as GDI gives them, top row first.
Bytes Bitmap_GetRows(HBITMAP bitmap, LONG width, LONG height) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    Bytes rows(static_cast<std::size_t>(width * height * 4));
    const HDC context = CreateCompatibleDC(nullptr);
    EXPECT_EQ(GetDIBits(context, bitmap, 0, static_cast<UINT>(height), rows.data(), &info,
                        DIB_RGB_COLORS),
              height);
    DeleteDC(context);
    return rows;
}

Thumbnail Make(const WicServer& server, FaultyStream& stream, UINT side) {
    Thumbnail thumbnail;
    const auto provider = server.Create<IThumbnailProvider>(kThumbnailProviderId);
    ComPtr<IInitializeWithStream> initializer;
    EXPECT_CODE(provider.As(&initializer), S_OK);
    EXPECT_CODE(initializer->Initialize(&stream, STGM_READ), S_OK);
    auto bitmap = reinterpret_cast<HBITMAP>(&thumbnail);  // to be replaced in any case
    thumbnail.result = provider->GetThumbnail(side, &bitmap, &thumbnail.alpha);
    if (FAILED(thumbnail.result)) {
        EXPECT_EQ(bitmap, nullptr);
        EXPECT_EQ(thumbnail.alpha, WTSAT_UNKNOWN);
        return thumbnail;
    }
    DIBSECTION section{};
    EXPECT_EQ(GetObjectW(bitmap, sizeof(section), &section), static_cast<int>(sizeof(section)));
    EXPECT_EQ(section.dsBm.bmBitsPixel, 32);
    thumbnail.width = section.dsBm.bmWidth;
    thumbnail.height = section.dsBm.bmHeight;
    thumbnail.bytes = Bitmap_GetRows(bitmap, thumbnail.width, thumbnail.height);
    EXPECT_TRUE(DeleteObject(bitmap));
    return thumbnail;
}

Thumbnail Make(const WicServer& server, const Bytes& file, UINT side) {
    FaultyStream stream(file);
    Thumbnail thumbnail = Make(server, stream, side);
    EXPECT_EQ(stream.referenceCount, 1u);
    return thumbnail;
}

TEST(WicThumbnail, KeepsTheRowsInOrder) {
    const WicServer server;
    const auto thumbnail = Make(server, Test_KtxOfPixels(1, 2, {1, 2, 3, 255, 5, 6, 7, 255}), 96);
    ASSERT_CODE(thumbnail.result, S_OK);
    EXPECT_EQ(thumbnail.bytes, (Bytes{3, 2, 1, 255, 7, 6, 5, 255}));
    EXPECT_EQ(thumbnail.alpha, WTSAT_RGB);
}

TEST(WicThumbnail, PremultipliesAndSaysThatItIsTransparent) {
    const WicServer server;
    const auto thumbnail = Make(server, Test_KtxOfPixels(1, 1, {255, 100, 0, 128}), 96);
    ASSERT_CODE(thumbnail.result, S_OK);
    EXPECT_EQ(thumbnail.bytes, (Bytes{0, 50, 128, 128}));
    EXPECT_EQ(thumbnail.alpha, WTSAT_ARGB);
}

TEST(WicThumbnail, FitsTheSquareAndNeverGrows) {
    const WicServer server;
    const Bytes file = Test_KtxOfPixels(120, 60, Bytes(std::size_t{120} * 60 * 4, 200));
    const struct {
        UINT side;
        LONG width, height;
    } cases[] = {{256, 120, 60}, {120, 120, 60}, {100, 100, 50}, {32, 32, 16}, {1, 1, 1}};
    for (const auto& [side, width, height] : cases) {
        const auto thumbnail = Make(server, file, side);
        ASSERT_CODE(thumbnail.result, S_OK);
        EXPECT_EQ(thumbnail.width, width);
        EXPECT_EQ(thumbnail.height, height);
        // 200 * 200 / 255 = 156.9
        EXPECT_EQ((Bytes{thumbnail.bytes.begin(), thumbnail.bytes.begin() + 4}),
                  (Bytes{157, 157, 157, 200}));
    }
}

TEST(WicThumbnail, KnowsEveryKindOfFile) {
    const WicServer server;
    const auto astc = Make(server, Test_AstcOfColor(), 96);
    ASSERT_CODE(astc.result, S_OK);
    EXPECT_EQ(astc.width, 8);
    const auto pvr = Make(server, Test_PvrWithStrayAlpha(), 96);
    ASSERT_CODE(pvr.result, S_OK);
    EXPECT_EQ(pvr.alpha, WTSAT_RGB);
}

TEST(WicThumbnail, RefusesBadFilesAndPicturesThatAreTooLarge) {
    const WicServer server;
    const struct {
        const char* what;
        Bytes file;
        HRESULT code;
    } cases[] = {
        {"no byte", {}, WINCODEC_ERR_UNKNOWNIMAGEFORMAT},
        {"PNG", {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}, WINCODEC_ERR_UNKNOWNIMAGEFORMAT},
        {"no pixels", Test_KtxOfPixels(4, 4, {}), WINCODEC_ERR_BADIMAGE},
        {"8193 x 8192", Test_KtxWithoutData(8193, 8192), WINCODEC_ERR_IMAGESIZEOUTOFRANGE},
    };
    for (const auto& [what, file, code] : cases) {
        SCOPED_TRACE(what);
        EXPECT_CODE(Make(server, file, 96).result, code);
    }
    EXPECT_CODE(server.CanUnloadNow(), S_OK);
}

TEST(WicThumbnail, FailsWithItsStream) {
    const WicServer server;
    int failureCount = 0;
    for (;; ++failureCount) {
        FaultyStream stream(Test_KtxOfPixels(2, 2, Test_MakePixels(2, 2)));
        stream.callsBeforeFailure = failureCount;
        const auto thumbnail = Make(server, stream, 96);
        if (thumbnail.result == S_OK) break;
        ASSERT_CODE(thumbnail.result, WINCODEC_ERR_STREAMREAD);
        ASSERT_LT(failureCount, 20);
    }
    EXPECT_GE(failureCount, 5);
}

TEST(WicThumbnail, KnowsItsStatesAndArguments) {
    const WicServer server;
    const auto provider = server.Create<IThumbnailProvider>(kThumbnailProviderId);
    HBITMAP bitmap = nullptr;
    WTS_ALPHATYPE alpha = WTSAT_UNKNOWN;
    EXPECT_CODE(provider->GetThumbnail(96, &bitmap, &alpha), E_UNEXPECTED);
    ComPtr<IInitializeWithStream> initializer;
    ASSERT_CODE(provider.As(&initializer), S_OK);
    EXPECT_CODE(initializer->Initialize(nullptr, STGM_READ), E_INVALIDARG);
    FaultyStream stream(Test_KtxOfPixels(2, 2, Test_MakePixels(2, 2)));
    EXPECT_CODE(initializer->Initialize(&stream, STGM_READ), S_OK);
    EXPECT_CODE(initializer->Initialize(&stream, STGM_READ),
                HRESULT_FROM_WIN32(ERROR_ALREADY_INITIALIZED));
    EXPECT_CODE(provider->GetThumbnail(0, &bitmap, &alpha), E_INVALIDARG);
    EXPECT_CODE(provider->GetThumbnail(96, nullptr, &alpha), E_INVALIDARG);
    EXPECT_CODE(provider->GetThumbnail(96, &bitmap, nullptr), E_INVALIDARG);
    for (int round = 0; round < 2; ++round) {
        ASSERT_CODE(provider->GetThumbnail(96, &bitmap, &alpha), S_OK);
        DeleteObject(bitmap);
    }
}

}  // namespace
