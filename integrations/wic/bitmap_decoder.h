// A texture file, as WIC sees it.
#pragma once

#include <wincodec.h>

#include <memory>

#include "com_object.h"
#include "decoder_kinds.h"
#include "free_threaded.h"
#include "texture_picture.h"

namespace koru_wic {

/// One class for all kinds: they differ in what they call theirs. May be used from several threads
/// at once.
class BitmapDecoder final : public ComObject<IWICBitmapDecoder> {
  public:
    explicit BitmapDecoder(const DecoderKind& kind) : kind_(kind) {}

    HRESULT STDMETHODCALLTYPE QueryCapability(IStream* stream, DWORD* capability) noexcept override;
    HRESULT STDMETHODCALLTYPE Initialize(IStream* stream,
                                         WICDecodeOptions options) noexcept override;
    HRESULT STDMETHODCALLTYPE GetContainerFormat(GUID* format) noexcept override;
    HRESULT STDMETHODCALLTYPE GetDecoderInfo(IWICBitmapDecoderInfo** info) noexcept override;
    HRESULT STDMETHODCALLTYPE CopyPalette(IWICPalette* palette) noexcept override;
    HRESULT STDMETHODCALLTYPE
    GetMetadataQueryReader(IWICMetadataQueryReader** reader) noexcept override;
    HRESULT STDMETHODCALLTYPE GetPreview(IWICBitmapSource** preview) noexcept override;
    HRESULT STDMETHODCALLTYPE GetColorContexts(UINT count, IWICColorContext** contexts,
                                               UINT* actualCount) noexcept override;
    HRESULT STDMETHODCALLTYPE GetThumbnail(IWICBitmapSource** thumbnail) noexcept override;
    HRESULT STDMETHODCALLTYPE GetFrameCount(UINT* count) noexcept override;
    HRESULT STDMETHODCALLTYPE GetFrame(UINT index, IWICBitmapFrameDecode** frame) noexcept override;

  private:
    void* FindInterface(REFIID id) noexcept override;
    [[nodiscard]] std::shared_ptr<TexturePicture> GetPicture() noexcept;

    const FreeThreading threading_{this};
    const DecoderKind& kind_;
    SlimLock lock_;
    std::shared_ptr<TexturePicture> picture_;  // set by Initialize, under the lock
};

}  // namespace koru_wic
