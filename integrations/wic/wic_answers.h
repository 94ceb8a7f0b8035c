// Answers that say "there is none", which decoder and frame give alike.
#pragma once

#include <wincodec.h>

namespace koru_wic {

/// Refuses to hand out an object, and leaves the caller a null pointer.
template <typename Interface>
[[nodiscard]] HRESULT Answer_None(Interface** object, HRESULT reason) noexcept {
    if (object == nullptr) return E_INVALIDARG;
    *object = nullptr;
    return reason;
}

[[nodiscard]] inline HRESULT Answer_NoPalette(const IWICPalette* palette) noexcept {
    return palette == nullptr ? E_INVALIDARG : WINCODEC_ERR_PALETTEUNAVAILABLE;
}

/// No color context: the pixels are to be taken as sRGB, as those of any such file.
[[nodiscard]] inline HRESULT Answer_NoColorContexts(UINT* actualCount) noexcept {
    if (actualCount == nullptr) return E_INVALIDARG;
    *actualCount = 0;
    return S_OK;
}

}  // namespace koru_wic
