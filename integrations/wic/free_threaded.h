// For objects that may be called from every apartment.
#pragma once

#include <windows.h>

#include <objidl.h>
#include <wrl/client.h>

#include <new>

namespace koru_wic {

/// Lets COM hand out the object itself, not a proxy, to threads of other apartments: a call does
/// not wait for the thread that made it. For objects that hold no interface pointers of others,
/// which belong to one apartment. A member of the object.
class FreeThreading {
  public:
    /// @param object  the object's identity; borrowed
    explicit FreeThreading(IUnknown* object) : object_(object) {
        if (FAILED(CoCreateFreeThreadedMarshaler(object, &marshaler_))) throw std::bad_alloc();
    }

    /// As ComObject::FindInterface; null for what has nothing to do with threads.
    [[nodiscard]] void* FindInterface(REFIID id) const noexcept {
        if (id == __uuidof(IAgileObject)) return object_;
        if (id != __uuidof(IMarshal)) return nullptr;
        IMarshal* marshal = nullptr;
        if (FAILED(marshaler_->QueryInterface(__uuidof(IMarshal),
                                              reinterpret_cast<void**>(&marshal)))) {
            return nullptr;
        }
        marshal->Release();  // of the object's references, which are not counted here
        return marshal;
    }

  private:
    IUnknown* object_;
    Microsoft::WRL::ComPtr<IUnknown> marshaler_;
};

}  // namespace koru_wic
