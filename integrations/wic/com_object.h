// What every COM object of this server has: counted references, and methods that throw nothing.
#pragma once

#include <windows.h>

#include <atomic>
#include <new>
#include <utility>

#include "module_state.h"

namespace koru_wic {

/// Runs the body of a COM method. Whatever it throws becomes an error code.
template <typename Body>
HRESULT Com_Guard(Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

/// IUnknown for an object of these interfaces. It begins with one reference, and counts as one of
/// the module's objects until it and all its members are gone.
template <typename First, typename... Others>
class ComObject : public First, public Others... {
  public:
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) noexcept final {
        if (object == nullptr) return E_POINTER;
        *object = id == __uuidof(IUnknown) ? static_cast<First*>(this) : FindInterface(id);
        if (*object == nullptr) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() noexcept final { return ++referenceCount_; }

    ULONG STDMETHODCALLTYPE Release() noexcept final {
        const ULONG remaining = --referenceCount_;
        if (remaining == 0) delete this;
        return remaining;
    }

  protected:
    ComObject() noexcept { Module_AddUse(); }
    virtual ~ComObject() { Module_RemoveUse(); }

    /// The object as that interface, not counted; null if it has no such one. IUnknown is not asked
    /// for.
    virtual void* FindInterface(REFIID id) noexcept = 0;

  private:
    std::atomic<ULONG> referenceCount_{1};
};

/// Makes an object and hands out one of its interfaces.
template <typename Object, typename... Arguments>
HRESULT Com_Create(REFIID id, void** result, Arguments&&... arguments) noexcept {
    return Com_Guard([&] {
        auto* const object = new Object(std::forward<Arguments>(arguments)...);
        const HRESULT outcome = object->QueryInterface(id, result);
        object->Release();
        return outcome;
    });
}

}  // namespace koru_wic
