#include "thumbnail_provider.h"

#include <wincodec.h>

#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

#include "area_scaler.h"
#include "texture_picture.h"

namespace koru_wic {
namespace {

using Microsoft::WRL::ComPtr;

struct BitmapDeleter {
    void operator()(HBITMAP bitmap) const noexcept { DeleteObject(bitmap); }
};
using BitmapHandle = std::unique_ptr<std::remove_pointer_t<HBITMAP>, BitmapDeleter>;

/// A 32-bit bitmap, top row first. Its pixels belong to it. Null when there is no memory.
BitmapHandle Bitmap_Create(PictureSize size, std::span<std::uint8_t>& pixels) noexcept {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = static_cast<LONG>(size.width);
    info.bmiHeader.biHeight = -static_cast<LONG>(size.height);
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    BitmapHandle bitmap(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    if (bitmap != nullptr) {
        pixels = {static_cast<std::uint8_t*>(bits), std::size_t{size.width} * size.height * 4};
    }
    return bitmap;
}

HRESULT Thumbnail_Make(IStream& stream, UINT side, BitmapHandle& bitmap, bool& isOpaque) {
    std::shared_ptr<TexturePicture> picture;
    HRESULT result = TexturePicture::Open(stream, nullptr, picture);
    if (FAILED(result)) return result;
    const PictureSize size{picture->GetWidth(), picture->GetHeight()};
    if (std::uint64_t{size.width} * size.height > kMaxThumbnailPixels) {
        return WINCODEC_ERR_IMAGESIZEOUTOFRANGE;
    }
    std::span<const std::uint8_t> pixels;
    result = picture->GetPixels(pixels);
    if (FAILED(result)) return result;
    const PictureSize thumbnailSize = Scaler_Fit(size, side);
    std::span<std::uint8_t> target;
    bitmap = Bitmap_Create(thumbnailSize, target);
    if (bitmap == nullptr) return E_OUTOFMEMORY;
    isOpaque = Scaler_Shrink(pixels, size, target, thumbnailSize);
    return S_OK;
}

}  // namespace

void* ThumbnailProvider::FindInterface(REFIID id) noexcept {
    if (id == __uuidof(IInitializeWithStream)) return static_cast<IInitializeWithStream*>(this);
    if (id == __uuidof(IThumbnailProvider)) return static_cast<IThumbnailProvider*>(this);
    return nullptr;
}

HRESULT ThumbnailProvider::Initialize(IStream* stream, DWORD /*mode*/) noexcept {
    if (stream == nullptr) return E_INVALIDARG;
    const std::lock_guard guard(lock_);
    if (stream_ != nullptr) return HRESULT_FROM_WIN32(ERROR_ALREADY_INITIALIZED);
    stream_ = stream;
    return S_OK;
}

HRESULT ThumbnailProvider::GetThumbnail(UINT side, HBITMAP* bitmap, WTS_ALPHATYPE* alpha) noexcept {
    if (bitmap == nullptr || alpha == nullptr) return E_INVALIDARG;
    *bitmap = nullptr;
    *alpha = WTSAT_UNKNOWN;
    if (side == 0) return E_INVALIDARG;
    return Com_Guard([&] {
        ComPtr<IStream> stream;
        {
            const std::lock_guard guard(lock_);
            stream = stream_;
        }
        if (stream == nullptr) return E_UNEXPECTED;
        BitmapHandle made;
        bool isOpaque = false;
        const HRESULT result = Thumbnail_Make(*stream.Get(), side, made, isOpaque);
        if (FAILED(result)) return result;
        *bitmap = made.release();
        *alpha = isOpaque ? WTSAT_RGB : WTSAT_ARGB;
        return S_OK;
    });
}

}  // namespace koru_wic
