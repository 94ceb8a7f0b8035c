#include "class_factory.h"

#include "bitmap_decoder.h"
#include "thumbnail_provider.h"

namespace koru_wic {

bool Class_Find(REFCLSID id, ServedClass& served) noexcept {
    for (const DecoderKind& kind : kDecoderKinds) {
        if (kind.decoderId != id) continue;
        served.kind = &kind;
        return true;
    }
    served.kind = nullptr;
    return id == kThumbnailProviderId;
}

void* ClassFactory::FindInterface(REFIID id) noexcept {
    return id == __uuidof(IClassFactory) ? static_cast<IClassFactory*>(this) : nullptr;
}

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID id, void** object) noexcept {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    if (served_.kind != nullptr) return Com_Create<BitmapDecoder>(id, object, *served_.kind);
    return Com_Create<ThumbnailProvider>(id, object);
}

HRESULT ClassFactory::LockServer(BOOL lock) noexcept {
    if (lock != FALSE) {
        Module_AddUse();
    } else {
        Module_RemoveUse();
    }
    return S_OK;
}

}  // namespace koru_wic
