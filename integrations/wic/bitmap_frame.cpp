#include "bitmap_frame.h"

#include <utility>

#include "wic_answers.h"
#include "wic_identifiers.h"

namespace koru_wic {
namespace {

// Textures have no resolution; this is what Windows takes for a pixel of the screen.
constexpr double kDotsPerInch = 96.0;

}  // namespace

BitmapFrame::BitmapFrame(std::shared_ptr<TexturePicture> picture) : picture_(std::move(picture)) {}

void* BitmapFrame::FindInterface(REFIID id) noexcept {
    const bool isKnown = id == __uuidof(IWICBitmapFrameDecode) || id == __uuidof(IWICBitmapSource);
    if (isKnown) return static_cast<IWICBitmapFrameDecode*>(this);
    return threading_.FindInterface(id);
}

HRESULT BitmapFrame::GetSize(UINT* width, UINT* height) noexcept {
    if (width == nullptr || height == nullptr) return E_INVALIDARG;
    *width = picture_->GetWidth();
    *height = picture_->GetHeight();
    return S_OK;
}

HRESULT BitmapFrame::GetPixelFormat(WICPixelFormatGUID* format) noexcept {
    if (format == nullptr) return E_INVALIDARG;
    *format = kPixelFormatId;
    return S_OK;
}

HRESULT BitmapFrame::GetResolution(double* dpiX, double* dpiY) noexcept {
    if (dpiX == nullptr || dpiY == nullptr) return E_INVALIDARG;
    *dpiX = *dpiY = kDotsPerInch;
    return S_OK;
}

HRESULT BitmapFrame::CopyPalette(IWICPalette* palette) noexcept {
    return Answer_NoPalette(palette);
}

HRESULT BitmapFrame::CopyPixels(const WICRect* area, UINT stride, UINT bufferBytes,
                                BYTE* buffer) noexcept {
    return Com_Guard([&] { return picture_->CopyPixels(area, stride, bufferBytes, buffer); });
}

HRESULT BitmapFrame::GetMetadataQueryReader(IWICMetadataQueryReader** reader) noexcept {
    return Answer_None(reader, WINCODEC_ERR_UNSUPPORTEDOPERATION);
}

HRESULT BitmapFrame::GetColorContexts(UINT /*count*/, IWICColorContext** /*contexts*/,
                                      UINT* actualCount) noexcept {
    return Answer_NoColorContexts(actualCount);
}

HRESULT BitmapFrame::GetThumbnail(IWICBitmapSource** thumbnail) noexcept {
    return Answer_None(thumbnail, WINCODEC_ERR_CODECNOTHUMBNAIL);
}

}  // namespace koru_wic
