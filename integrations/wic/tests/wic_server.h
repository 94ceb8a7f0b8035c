// The server under test as a host meets it: its four doors, by way of the loader.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <wincodec.h>
#include <wrl/client.h>

#include <filesystem>

#include "wic_identifiers.h"

using Microsoft::WRL::ComPtr;

class WicServer {
  public:
    explicit WicServer(const std::filesystem::path& dll = KORUTEX_WIC_DLL)
        : module_(LoadLibraryExW(dll.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)) {
        if (module_ == nullptr) {
            ADD_FAILURE() << dll << " is not loaded: " << GetLastError();
            std::abort();
        }
    }
    ~WicServer() {
        // As COM does it; and no test leaves an object.
        EXPECT_EQ(CanUnloadNow(), S_OK);
        FreeLibrary(module_);
    }
    WicServer(const WicServer&) = delete;
    WicServer& operator=(const WicServer&) = delete;

    HRESULT GetClassObject(REFCLSID classId, REFIID id, void** object) const {
        return Find<HRESULT WINAPI(REFCLSID, REFIID, void**)>("DllGetClassObject")(classId, id,
                                                                                   object);
    }
    [[nodiscard]] HRESULT CanUnloadNow() const {
        return Find<HRESULT WINAPI()>("DllCanUnloadNow")();
    }
    [[nodiscard]] HRESULT Register() const { return Find<HRESULT WINAPI()>("DllRegisterServer")(); }
    [[nodiscard]] HRESULT Unregister() const {
        return Find<HRESULT WINAPI()>("DllUnregisterServer")();
    }

    [[nodiscard]] ComPtr<IClassFactory> GetFactory(REFCLSID classId) const {
        ComPtr<IClassFactory> factory;
        EXPECT_EQ(GetClassObject(classId, __uuidof(IClassFactory), &factory), S_OK);
        return factory;
    }

    template <typename Interface>
    [[nodiscard]] ComPtr<Interface> Create(REFCLSID classId) const {
        ComPtr<Interface> object;
        EXPECT_EQ(GetFactory(classId)->CreateInstance(nullptr, __uuidof(Interface), &object), S_OK);
        return object;
    }

  private:
    template <typename Function>
    [[nodiscard]] Function* Find(const char* name) const {
        return reinterpret_cast<Function*>(
            reinterpret_cast<void (*)()>(GetProcAddress(module_, name)));
    }

    HMODULE module_;
};

/// Writes codes as everybody looks them up.
struct Code {
    HRESULT value;
    bool operator==(const Code&) const = default;
};
inline void PrintTo(const Code& code, std::ostream* stream) {
    *stream << "0x" << std::hex << static_cast<unsigned long>(code.value);
}
#define EXPECT_CODE(actual, expected) EXPECT_EQ(Code{actual}, Code{expected})
#define ASSERT_CODE(actual, expected) ASSERT_EQ(Code{actual}, Code{expected})
