// What registering writes and leaves, in a registry of the tests' own.
#include <winerror.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "test_files.h"
#include "wic_server.h"

namespace {

constexpr wchar_t kSandbox[] = LR"(Software\korutex_registration_test)";
constexpr wchar_t kThumbnailHandler[] = LR"(ShellEx\{E357FCCD-A995-4576-B01F-234630154E96})";
constexpr wchar_t kThumbnailId[] = L"{A63D5C69-6519-4813-8F17-94E5B8D20FCE}";
constexpr wchar_t kKtxDecoder[] = LR"(CLSID\{7C8C80C7-3D6F-41A5-94C6-44766CA7FA97})";
constexpr wchar_t kOtherId[] = L"{01234567-89AB-CDEF-0123-456789ABCDEF}";

/// Every key, and every value with its type and bytes, by path.
using Dump = std::map<std::wstring, std::wstring>;

void Dump_Add(Dump& dump, HKEY key, const std::wstring& path) {
    dump[path] = L"key";
    std::vector<wchar_t> name(16384);
    std::vector<BYTE> bytes(65536);
    for (DWORD i = 0;; ++i) {
        auto nameCount = static_cast<DWORD>(name.size());
        auto byteCount = static_cast<DWORD>(bytes.size());
        DWORD type = 0;
        if (RegEnumValueW(key, i, name.data(), &nameCount, nullptr, &type, bytes.data(),
                          &byteCount) != ERROR_SUCCESS) {
            break;
        }
        std::wstring text = std::to_wstring(type) + L":";
        if (type == REG_SZ) {
            text.append(reinterpret_cast<const wchar_t*>(bytes.data()), byteCount / 2 - 1);
        } else {
            for (DWORD b = 0; b < byteCount; ++b) text += L" " + std::to_wstring(bytes[b]);
        }
        dump[path + L"|" + name.data()] = text;
    }
    for (DWORD i = 0;; ++i) {
        auto nameCount = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(key, i, name.data(), &nameCount, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            break;
        }
        HKEY child = nullptr;
        if (RegOpenKeyExW(key, name.data(), 0, KEY_READ, &child) == ERROR_SUCCESS) {
            Dump_Add(dump, child, path + L"\\" + name.data());
            RegCloseKey(child);
        }
    }
}

/// Lets everybody do that and nothing else.
bool Key_Allow(HKEY key, DWORD access) {
    std::array<BYTE, SECURITY_MAX_SID_SIZE> everybody{};
    auto sidBytes = static_cast<DWORD>(everybody.size());
    alignas(ACL) std::array<BYTE, 256> list{};
    SECURITY_DESCRIPTOR descriptor{};
    auto* const acl = reinterpret_cast<ACL*>(list.data());
    return CreateWellKnownSid(WinWorldSid, nullptr, everybody.data(), &sidBytes) != FALSE &&
           InitializeAcl(acl, static_cast<DWORD>(list.size()), ACL_REVISION) != FALSE &&
           AddAccessAllowedAce(acl, ACL_REVISION, access, everybody.data()) != FALSE &&
           InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) != FALSE &&
           SetSecurityDescriptorDacl(&descriptor, TRUE, acl, FALSE) != FALSE &&
           RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, &descriptor) == ERROR_SUCCESS;
}

/// While it lives, HKEY_LOCAL_MACHINE is an almost empty key.
class WicRegistration : public testing::Test {
  protected:
    WicRegistration() {
        RegDeleteTreeW(HKEY_CURRENT_USER, kSandbox);
        EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, kSandbox, &sandbox_), ERROR_SUCCESS);
        EXPECT_EQ(RegCreateKeyW(sandbox_, LR"(SOFTWARE\Classes)", &classes_), ERROR_SUCCESS);
        EXPECT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, sandbox_), ERROR_SUCCESS);
    }
    ~WicRegistration() override {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(classes_);
        RegCloseKey(sandbox_);
        RegDeleteTreeW(HKEY_CURRENT_USER, kSandbox);
    }

    void Set(const std::wstring& key, const wchar_t* name, const std::wstring& text) const {
        EXPECT_EQ(RegSetKeyValueW(classes_, key.c_str(), name, REG_SZ, text.c_str(),
                                  static_cast<DWORD>((text.size() + 1) * 2)),
                  ERROR_SUCCESS);
    }
    [[nodiscard]] std::wstring Get(const std::wstring& key, const wchar_t* name) const {
        wchar_t text[1024] = L"";
        DWORD byteCount = sizeof(text);
        const LSTATUS code =
            RegGetValueW(classes_, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &byteCount);
        return code == ERROR_SUCCESS ? text : L"(none)";
    }
    /// Makes registering fail at its last extension: no lasting key can be made below a volatile
    /// one.
    void PutObstacle() const {
        HKEY obstacle = nullptr;
        EXPECT_EQ(RegCreateKeyExW(classes_, L".pvr", 0, nullptr, REG_OPTION_VOLATILE,
                                  KEY_ALL_ACCESS, nullptr, &obstacle, nullptr),
                  ERROR_SUCCESS);
        RegCloseKey(obstacle);
    }
    [[nodiscard]] Dump Take() const {
        Dump dump;
        Dump_Add(dump, sandbox_, L"");
        return dump;
    }

    HKEY sandbox_ = nullptr;
    HKEY classes_ = nullptr;
    WicServer server_;
};

TEST_F(WicRegistration, WritesWhatComAndWicLookFor) {
    ASSERT_CODE(server_.Register(), S_OK);
    const std::wstring decoder = kKtxDecoder;
    EXPECT_EQ(Get(decoder + L"\\InprocServer32", nullptr),
              std::filesystem::path(KORUTEX_WIC_DLL).make_preferred().wstring());
    EXPECT_EQ(Get(decoder + L"\\InprocServer32", L"ThreadingModel"), L"Both");
    EXPECT_EQ(Get(decoder, L"FriendlyName"), L"korutex KTX Decoder");
    EXPECT_EQ(Get(decoder, L"ContainerFormat"), L"{8FEF0F77-405A-49AA-A8DE-3398FD5FD9FF}");
    EXPECT_EQ(Get(decoder, L"FileExtensions"), L".ktx,.ktx2");
    EXPECT_EQ(Get(decoder, L"MimeTypes"), L"image/ktx,image/ktx2");
    EXPECT_EQ(Get(decoder, L"Vendor"), L"{7A5B13E8-5EF7-456C-BEDC-185A137EB36C}");
    EXPECT_EQ(Get(decoder, L"SpecVersion"), L"1.0.0.0");
    EXPECT_EQ(Get(decoder, L"ColorManagementVersion"), L"1.0.0.0");
    EXPECT_EQ(Get(decoder + LR"(\Formats\{F5C7AD2D-6A8D-43DD-A7A8-A29935261AE9})", nullptr), L"");
    EXPECT_EQ(Get(LR"(CLSID\{7ED96837-96F0-4812-B211-F13C24117ED3}\Instance)"
                  LR"(\{7C8C80C7-3D6F-41A5-94C6-44766CA7FA97})",
                  L"CLSID"),
              L"{7C8C80C7-3D6F-41A5-94C6-44766CA7FA97}");

    const Dump dump = Take();
    const std::wstring legacy =
        LR"(\SOFTWARE\Classes\CLSID\{A323B99C-FAF8-43D3-AFBE-FEABC07EBE26}\Patterns\1)";
    EXPECT_EQ(dump.at(legacy + L"|Position"), L"4: 44 0 0 0");
    EXPECT_EQ(dump.at(legacy + L"|Length"), L"4: 4 0 0 0");
    EXPECT_EQ(dump.at(legacy + L"|Pattern"), L"3: 80 86 82 33");
    EXPECT_EQ(dump.at(legacy + L"|Mask"), L"3: 255 255 255 255");
    EXPECT_EQ(dump.at(legacy + L"|EndOfStream"), L"4: 0 0 0 0");

    for (const auto& [extension, mime] : {std::pair{L".astc", L"image/astc"},
                                          {L".ktx", L"image/ktx"},
                                          {L".ktx2", L"image/ktx2"},
                                          {L".pvr", L"image/x-pvr"}}) {
        EXPECT_EQ(Get(extension, L"Content Type"), mime);
        EXPECT_EQ(Get(extension, L"PerceivedType"), L"image");
        EXPECT_EQ(Get(std::wstring(extension) + L"\\" + kThumbnailHandler, nullptr), kThumbnailId);
        EXPECT_EQ(Get(extension, nullptr), L"(none)") << "a program's choice";
    }
    EXPECT_EQ(Get(std::wstring(L"CLSID\\") + kThumbnailId + L"\\InprocServer32", L"ThreadingModel"),
              L"Both");
    for (const auto& [path, text] : dump) {
        EXPECT_EQ((path + text).find(L'$'), std::wstring::npos) << "not filled in";
    }
}

TEST_F(WicRegistration, LeavesNothingBehind) {
    const Dump before = Take();
    EXPECT_CODE(server_.Unregister(), S_OK);
    EXPECT_EQ(Take(), before);
    ASSERT_CODE(server_.Register(), S_OK);
    EXPECT_GT(Take().size(), before.size() + 100);
    EXPECT_CODE(server_.Unregister(), S_OK);
    EXPECT_EQ(Take(), before);
}

TEST_F(WicRegistration, MayBeDoneTwiceAndFromAnotherFolder) {
    const Dump before = Take();
    ASSERT_CODE(server_.Register(), S_OK);
    const Dump once = Take();
    ASSERT_CODE(server_.Register(), S_OK);
    EXPECT_EQ(Take(), once);

    const TempFolder folder;
    std::filesystem::copy_file(KORUTEX_WIC_DLL, folder / L"moved $id.dll");
    const WicServer moved(folder / L"moved $id.dll");
    ASSERT_CODE(moved.Register(), S_OK);
    EXPECT_TRUE(Get(std::wstring(kKtxDecoder) + L"\\InprocServer32", nullptr)
                    .ends_with(L"\\moved $id.dll"));
    EXPECT_CODE(server_.Unregister(), S_OK);
    EXPECT_EQ(Take(), before);
}

TEST_F(WicRegistration, LeavesToOtherProgramsWhatIsTheirs) {
    Set(L".ktx", nullptr, L"OtherProgram.Texture");
    Set(L".ktx", L"PerceivedType", L"document");
    Set(std::wstring(L".ktx\\") + kThumbnailHandler, nullptr, kOtherId);
    Set(L".astc", L"Content Type", L"image/astc");  // as registering would have it
    Set(LR"(.pvr\ShellEx)", nullptr, L"");
    Set(LR"(CLSID\{7ED96837-96F0-4812-B211-F13C24117ED3}\Instance\{01234567-89AB-CDEF-0123-456789ABCDEF})",
        L"FriendlyName", L"another decoder");
    const Dump before = Take();
    ASSERT_CODE(server_.Register(), S_OK);
    const Dump during = Take();
    for (const auto& [path, text] : before) EXPECT_EQ(during.at(path), text);
    EXPECT_EQ(Get(L".ktx", L"Content Type"), L"image/ktx");
    EXPECT_CODE(server_.Unregister(), S_OK);
    EXPECT_EQ(Take(), before);
}

TEST_F(WicRegistration, LeavesWhatOtherProgramsHaveChangedSince) {
    ASSERT_CODE(server_.Register(), S_OK);
    Set(std::wstring(L".ktx\\") + kThumbnailHandler, nullptr, kOtherId);
    Set(L".pvr", nullptr, L"OtherProgram.Texture");
    Set(LR"(.astc\OpenWithProgids)", L"OtherProgram.Texture", L"");
    ASSERT_CODE(server_.Register(), S_OK);
    EXPECT_EQ(Get(std::wstring(L".ktx\\") + kThumbnailHandler, nullptr), kOtherId);
    EXPECT_CODE(server_.Unregister(), S_OK);

    std::vector<std::wstring> left;
    for (const auto& [path, text] : Take()) left.push_back(path + L" = " + text);
    const std::wstring classes = LR"(\SOFTWARE\Classes)";
    const std::wstring handler = classes + L"\\.ktx\\" + kThumbnailHandler;
    std::vector<std::wstring> expected{
        L" = key",
        L"\\SOFTWARE = key",
        classes + L" = key",
        classes + LR"(\.astc = key)",
        classes + LR"(\.astc\OpenWithProgids = key)",
        classes + LR"(\.astc\OpenWithProgids|OtherProgram.Texture = 1:)",
        classes + LR"(\.ktx = key)",
        classes + LR"(\.ktx\ShellEx = key)",
        handler + L" = key",
        handler + L"| = 1:" + kOtherId,
        classes + LR"(\.pvr = key)",
        classes + LR"(\.pvr| = 1:OtherProgram.Texture)",
    };
    std::ranges::sort(left);
    std::ranges::sort(expected);
    EXPECT_EQ(left, expected);
}

TEST_F(WicRegistration, LeavesNothingOfAnExtensionThatAnotherProgramHasTakenAway) {
    const Dump before = Take();
    Set(L".pvr", nullptr, L"OtherProgram.Texture");
    ASSERT_CODE(server_.Register(), S_OK);
    EXPECT_EQ(RegDeleteTreeW(classes_, L".pvr"), ERROR_SUCCESS);
    ASSERT_CODE(server_.Register(), S_OK);
    EXPECT_CODE(server_.Unregister(), S_OK);
    EXPECT_EQ(Take(), before);
}

TEST_F(WicRegistration, ForgetsNoHandlerWhenItsListIsLost) {
    for (const bool isRegisteredAgain : {false, true}) {
        SCOPED_TRACE(isRegisteredAgain);
        ASSERT_CODE(server_.Register(), S_OK);
        const std::wstring provider = std::wstring(L"CLSID\\") + kThumbnailId;
        EXPECT_EQ(RegDeleteTreeW(classes_, provider.c_str()), ERROR_SUCCESS);
        if (isRegisteredAgain) {
            ASSERT_CODE(server_.Register(), S_OK);
        }
        EXPECT_CODE(server_.Unregister(), S_OK);
        for (const auto& [path, text] : Take()) {
            EXPECT_EQ((path + text).find(kThumbnailId), std::wstring::npos)
                << std::filesystem::path(path);
        }
        EXPECT_CODE(server_.Unregister(), S_OK) << "the second time";
    }
}

TEST_F(WicRegistration, UnregistersWhatIsLeft) {
    const Dump before = Take();
    for (const wchar_t* key :
         {kKtxDecoder, LR"(CLSID\{7ED96837-96F0-4812-B211-F13C24117ED3})", L".ktx"}) {
        ASSERT_CODE(server_.Register(), S_OK);
        EXPECT_EQ(RegDeleteTreeW(classes_, key), ERROR_SUCCESS);
        EXPECT_CODE(server_.Unregister(), S_OK);
        EXPECT_EQ(Take(), before);
    }
}

TEST_F(WicRegistration, AsksOnlyForTheRightsThatItNeeds) {
    // Windows keeps the category to itself, but not the key of its members.
    const std::wstring category = LR"(CLSID\{7ED96837-96F0-4812-B211-F13C24117ED3})";
    Set(category + LR"(\Instance)", nullptr, L"");
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(classes_, category.c_str(), 0, KEY_READ | WRITE_DAC, &key),
              ERROR_SUCCESS);
    ASSERT_TRUE(Key_Allow(key, KEY_READ | WRITE_DAC));
    HKEY writable = nullptr;
    EXPECT_EQ(RegOpenKeyExW(classes_, category.c_str(), 0, KEY_WRITE, &writable),
              ERROR_ACCESS_DENIED);
    const Dump before = Take();
    EXPECT_CODE(server_.Register(), S_OK);
    EXPECT_CODE(server_.Unregister(), S_OK);
    EXPECT_EQ(Take(), before);
    EXPECT_TRUE(Key_Allow(key, KEY_ALL_ACCESS));
    RegCloseKey(key);
}

TEST_F(WicRegistration, HappensAsAWholeOrNotAtAll) {
    PutObstacle();
    const Dump before = Take();
    EXPECT_CODE(server_.Register(), HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE));
    EXPECT_EQ(Take(), before);
}

TEST_F(WicRegistration, AFailureKeepsWhatWasRegisteredBefore) {
    ASSERT_CODE(server_.Register(), S_OK);
    RegDeleteTreeW(classes_, L".pvr");
    PutObstacle();
    const Dump before = Take();
    const TempFolder folder;
    std::filesystem::copy_file(KORUTEX_WIC_DLL, folder / L"moved.dll");
    const WicServer moved(folder / L"moved.dll");
    EXPECT_CODE(moved.Register(), HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE));
    EXPECT_EQ(Take(), before);
}

TEST_F(WicRegistration, TellsWhyItFails) {
    RegDeleteTreeW(sandbox_, L"SOFTWARE");
    EXPECT_CODE(server_.Register(), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
}

}  // namespace
