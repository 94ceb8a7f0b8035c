// Thumbnails of texture files for the Explorer.
#pragma once

#include <propsys.h>
#include <thumbcache.h>
#include <wrl/client.h>

#include "com_object.h"

namespace koru_wic {

/// Pictures of more pixels get no thumbnail: a file of 64 bytes may tell 32767 x 32767.
inline constexpr std::uint64_t kMaxThumbnailPixels = 8192ull * 8192;

/// One class for all kinds of files. May be used from several threads at once.
class ThumbnailProvider final : public ComObject<IInitializeWithStream, IThumbnailProvider> {
  public:
    HRESULT STDMETHODCALLTYPE Initialize(IStream* stream, DWORD mode) noexcept override;
    HRESULT STDMETHODCALLTYPE GetThumbnail(UINT side, HBITMAP* bitmap,
                                           WTS_ALPHATYPE* alpha) noexcept override;

  private:
    void* FindInterface(REFIID id) noexcept override;

    SlimLock lock_;
    Microsoft::WRL::ComPtr<IStream> stream_;  // set by Initialize, under the lock
};

}  // namespace koru_wic
