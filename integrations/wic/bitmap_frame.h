// The one frame of a texture file, as WIC sees it.
#pragma once

#include <wincodec.h>

#include <memory>

#include "com_object.h"
#include "free_threaded.h"
#include "texture_picture.h"

namespace koru_wic {

/// Lives independently of its decoder; may be used from several threads at once.
class BitmapFrame final : public ComObject<IWICBitmapFrameDecode> {
  public:
    explicit BitmapFrame(std::shared_ptr<TexturePicture> picture);

    HRESULT STDMETHODCALLTYPE GetSize(UINT* width, UINT* height) noexcept override;
    HRESULT STDMETHODCALLTYPE GetPixelFormat(WICPixelFormatGUID* format) noexcept override;
    HRESULT STDMETHODCALLTYPE GetResolution(double* dpiX, double* dpiY) noexcept override;
    HRESULT STDMETHODCALLTYPE CopyPalette(IWICPalette* palette) noexcept override;
    HRESULT STDMETHODCALLTYPE CopyPixels(const WICRect* area, UINT stride, UINT bufferBytes,
                                         BYTE* buffer) noexcept override;

    HRESULT STDMETHODCALLTYPE
    GetMetadataQueryReader(IWICMetadataQueryReader** reader) noexcept override;
    HRESULT STDMETHODCALLTYPE GetColorContexts(UINT count, IWICColorContext** contexts,
                                               UINT* actualCount) noexcept override;
    HRESULT STDMETHODCALLTYPE GetThumbnail(IWICBitmapSource** thumbnail) noexcept override;

  private:
    void* FindInterface(REFIID id) noexcept override;

    const FreeThreading threading_{this};
    const std::shared_ptr<TexturePicture> picture_;
};

}  // namespace koru_wic
