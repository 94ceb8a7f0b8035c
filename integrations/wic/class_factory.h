// Makes this server's objects.
#pragma once

#include <unknwn.h>

#include "com_object.h"
#include "decoder_kinds.h"

namespace koru_wic {

/// One of the server's classes.
struct ServedClass {
    const DecoderKind* kind = nullptr;  ///< null: the thumbnail provider
};

/// False for an identifier of nobody here.
[[nodiscard]] bool Class_Find(REFCLSID id, ServedClass& served) noexcept;

class ClassFactory final : public ComObject<IClassFactory> {
  public:
    explicit ClassFactory(ServedClass served) noexcept : served_(served) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id,
                                             void** object) noexcept override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) noexcept override;

  private:
    void* FindInterface(REFIID id) noexcept override;

    const ServedClass served_;
};

}  // namespace koru_wic
