// Where the server finds korutex_64.dll, and where not.
#include <winerror.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "faulty_stream.h"
#include "texture_files.h"
#include "wic_server.h"

namespace {

namespace fs = std::filesystem;
using namespace koru_wic;

constexpr wchar_t kLibraryName[] = L"korutex_64.dll";
// Set by the library that is planted.
constexpr wchar_t kPlantedName[] = L"KORUTEX_PLANTED";
constexpr wchar_t kOverlappedName[] = L"KORUTEX_OVERLAPPED";

bool WasPlanted() { return GetEnvironmentVariableW(kPlantedName, nullptr, 0) != 0; }

HRESULT OpenSomething(const WicServer& server) {
    FaultyStream stream(Test_KtxOfPixels(2, 2, Test_MakePixels(2, 2)));
    return server.Create<IWICBitmapDecoder>(kKtxDecoderId)
        ->Initialize(&stream, WICDecodeMetadataCacheOnDemand);
}

Bytes DecodePixel(const WicServer& server, REFCLSID id, const Bytes& file) {
    FaultyStream stream(file);
    const auto decoder = server.Create<IWICBitmapDecoder>(id);
    ComPtr<IWICBitmapFrameDecode> frame;
    Bytes pixel(4);
    const bool isGood = SUCCEEDED(decoder->Initialize(&stream, WICDecodeMetadataCacheOnDemand)) &&
                        SUCCEEDED(decoder->GetFrame(0, &frame)) &&
                        SUCCEEDED(frame->CopyPixels(nullptr, 4, 4, pixel.data()));
    return isGood ? pixel : Bytes{};
}

/// A folder with a copy of the server; PATH and the current folder lead to libraries that are
/// planted.
class LibraryFolder : public testing::Test {
  protected:
    LibraryFolder() {
        fs::create_directory(temporary_ / L"server");
        fs::create_directory(temporary_ / L"planted");
        fs::copy_file(KORUTEX_WIC_DLL, GetServerPath());
        for (const wchar_t* name : {kLibraryName, L"planted_library.dll"}) {
            fs::copy_file(KORUTEX_PLANTED_DLL, temporary_ / L"planted" / name);
        }
        oldFolder_ = fs::current_path();
        fs::current_path(temporary_ / L"planted");
        oldPath_.resize(GetEnvironmentVariableW(L"PATH", nullptr, 0));
        oldPath_.resize(
            GetEnvironmentVariableW(L"PATH", oldPath_.data(), static_cast<DWORD>(oldPath_.size())));
        SetEnvironmentVariableW(L"PATH",
                                ((temporary_ / L"planted").wstring() + L";" + oldPath_).c_str());
        SetEnvironmentVariableW(kPlantedName, nullptr);
    }
    ~LibraryFolder() override {
        SetEnvironmentVariableW(L"PATH", oldPath_.c_str());
        fs::current_path(oldFolder_);
    }

    [[nodiscard]] fs::path GetServerPath() const {
        return temporary_ / L"server" / L"korutex_wic.dll";
    }
    [[nodiscard]] fs::path GetLibraryPath() const { return temporary_ / L"server" / kLibraryName; }

    TempFolder temporary_;

  private:
    fs::path oldFolder_;
    std::wstring oldPath_;
};

TEST_F(LibraryFolder, ThePlantedLibraryWouldBeFoundByName) {
    // Or the tests below would show nothing.
    const HMODULE planted = LoadLibraryW(kLibraryName);
    EXPECT_NE(planted, nullptr);
    EXPECT_TRUE(WasPlanted());
    FreeLibrary(planted);
}

TEST_F(LibraryFolder, IsTheServersOwn) {
    fs::copy_file(KORUTEX_LIBRARY_DLL, GetLibraryPath());
    const WicServer server(GetServerPath());
    EXPECT_CODE(OpenSomething(server), S_OK);
    EXPECT_FALSE(WasPlanted());
    EXPECT_NE(GetModuleHandleW(GetLibraryPath().c_str()), nullptr);
    EXPECT_CODE(server.CanUnloadNow(), S_OK);
}

TEST_F(LibraryFolder, HasNoSubstituteElsewhere) {
    const WicServer server(GetServerPath());
    EXPECT_CODE(OpenSomething(server), WINCODEC_ERR_COMPONENTINITIALIZEFAILURE);
    EXPECT_FALSE(WasPlanted());
    // Whoever puts the library there needs not start the program again.
    fs::copy_file(KORUTEX_LIBRARY_DLL, GetLibraryPath());
    EXPECT_CODE(OpenSomething(server), S_OK);
    EXPECT_CODE(server.CanUnloadNow(), S_OK);
}

TEST_F(LibraryFolder, MayHoldALibraryThatIsNone) {
    Test_WriteFile(GetLibraryPath(), {'M', 'Z', 1, 2, 3});
    const WicServer server(GetServerPath());
    EXPECT_CODE(OpenSomething(server), WINCODEC_ERR_COMPONENTINITIALIZEFAILURE);
    EXPECT_FALSE(WasPlanted());
}

TEST_F(LibraryFolder, MayHoldALibraryWithoutTheFunctions) {
    fs::copy_file(KORUTEX_WIC_DLL, GetLibraryPath());  // a good DLL, and another
    const WicServer server(GetServerPath());
    EXPECT_CODE(OpenSomething(server), WINCODEC_ERR_COMPONENTINITIALIZEFAILURE);
    EXPECT_EQ(GetModuleHandleW(GetLibraryPath().c_str()), nullptr) << "it stays loaded";
}

TEST_F(LibraryFolder, HoldsWhatTheLibraryNeedsAsWell) {
    fs::copy_file(KORUTEX_NEEDY_DLL, GetLibraryPath());
    const HMODULE needy = LoadLibraryW(GetLibraryPath().c_str());
    EXPECT_NE(needy, nullptr);
    EXPECT_TRUE(WasPlanted()) << "or this shows nothing";
    FreeLibrary(needy);
    SetEnvironmentVariableW(kPlantedName, nullptr);

    const WicServer server(GetServerPath());
    EXPECT_CODE(OpenSomething(server), WINCODEC_ERR_COMPONENTINITIALIZEFAILURE);
    EXPECT_FALSE(WasPlanted());
}

TEST_F(LibraryFolder, GivesTheLibraryBackWhenTheServerMayGo) {
    fs::copy_file(KORUTEX_LIBRARY_DLL, GetLibraryPath());
    const WicServer server(GetServerPath());
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(GetModuleHandleW(GetLibraryPath().c_str()), nullptr);
        {
            const auto decoder = server.Create<IWICBitmapDecoder>(kKtxDecoderId);
            FaultyStream stream(Test_KtxOfPixels(2, 2, Test_MakePixels(2, 2)));
            EXPECT_CODE(decoder->Initialize(&stream, WICDecodeMetadataCacheOnDemand), S_OK);
            EXPECT_CODE(server.CanUnloadNow(), S_FALSE);
            EXPECT_NE(GetModuleHandleW(GetLibraryPath().c_str()), nullptr);
        }
        EXPECT_CODE(server.CanUnloadNow(), S_OK);
    }
    EXPECT_EQ(GetModuleHandleW(GetLibraryPath().c_str()), nullptr);
}

TEST_F(LibraryFolder, CallsIntoTheLibraryDoNotOverlap) {
    fs::copy_file(KORUTEX_PLANTED_DLL, GetLibraryPath());
    SetEnvironmentVariableW(kOverlappedName, nullptr);
    const WicServer server(GetServerPath());
    std::atomic<int> goodCount = 0;
    {
        std::vector<std::jthread> threads;
        for (const GUID& id : {kAstcDecoderId, kKtxDecoderId, kPvrDecoderId, kKtxDecoderId}) {
            threads.emplace_back([&server, &goodCount, id] {
                const Bytes file = id == kAstcDecoderId  ? Test_AstcOfColor()
                                   : id == kKtxDecoderId ? Test_KtxOfPixels(1, 1, {1, 2, 3, 4})
                                                         : Test_PvrWithAlpha();
                for (int round = 0; round < 10; ++round) {
                    if (DecodePixel(server, id, file) == Bytes{255, 255, 255, 255}) ++goodCount;
                }
            });
        }
    }
    EXPECT_EQ(goodCount, 40);
    EXPECT_EQ(GetEnvironmentVariableW(kOverlappedName, nullptr, 0), 0u);
}

TEST_F(LibraryFolder, MayHaveALongPath) {
    fs::path folder = LR"(\\?\)" + (temporary_ / L"server").wstring();
    for (int i = 0; i < 3; ++i) {
        folder /= std::wstring(100, L'\u00E4');
        ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr)) << GetLastError();
    }
    ASSERT_TRUE(CopyFileW(KORUTEX_WIC_DLL, (folder / L"korutex_wic.dll").c_str(), TRUE));
    ASSERT_TRUE(CopyFileW(KORUTEX_LIBRARY_DLL, (folder / kLibraryName).c_str(), TRUE));
    {
        const WicServer server(folder / L"korutex_wic.dll");
        EXPECT_CODE(OpenSomething(server), S_OK);
        EXPECT_FALSE(WasPlanted());
    }
    // Too long for the folder's own cleaning.
    EXPECT_TRUE(DeleteFileW((folder / L"korutex_wic.dll").c_str()));
    EXPECT_TRUE(DeleteFileW((folder / kLibraryName).c_str()));
    for (int i = 0; i < 3; ++i, folder = folder.parent_path()) {
        EXPECT_TRUE(RemoveDirectoryW(folder.c_str()));
    }
}

}  // namespace
