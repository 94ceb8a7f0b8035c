#include "bitmap_decoder.h"

#include <wrl/client.h>

#include <mutex>
#include <utility>

#include "bitmap_frame.h"
#include "stream_reader.h"
#include "wic_answers.h"

namespace koru_wic {
namespace {

using Microsoft::WRL::ComPtr;

}  // namespace

void* BitmapDecoder::FindInterface(REFIID id) noexcept {
    if (id == __uuidof(IWICBitmapDecoder)) return static_cast<IWICBitmapDecoder*>(this);
    return threading_.FindInterface(id);
}

std::shared_ptr<TexturePicture> BitmapDecoder::GetPicture() noexcept {
    const std::lock_guard guard(lock_);
    return picture_;
}

// By the first bytes alone: of a damaged file of ours, Initialize tells what is wrong, while WIC
// would say that there is no decoder if none claimed it.
HRESULT BitmapDecoder::QueryCapability(IStream* stream, DWORD* capability) noexcept {
    if (stream == nullptr || capability == nullptr) return E_INVALIDARG;
    *capability = 0;
    return Com_Guard([&] {
        std::uint64_t position = 0;
        HRESULT result = Stream_GetPosition(*stream, position);
        if (FAILED(result)) return result;
        StreamStart start;
        result = Stream_Probe(*stream, start);
        const HRESULT restored = Stream_SetPosition(*stream, position);
        if (SUCCEEDED(result)) result = restored;
        if (SUCCEEDED(result) && start.kind == &kind_) {
            *capability = WICBitmapDecoderCapabilityCanDecodeAllImages;
        }
        return result;
    });
}

// The file is read as a whole, so no option makes a difference, and the stream is not kept.
HRESULT BitmapDecoder::Initialize(IStream* stream, WICDecodeOptions options) noexcept {
    if (stream == nullptr) return E_INVALIDARG;
    if (options != WICDecodeMetadataCacheOnDemand && options != WICDecodeMetadataCacheOnLoad) {
        return E_INVALIDARG;
    }
    return Com_Guard([&] {
        if (GetPicture() != nullptr) return WINCODEC_ERR_WRONGSTATE;
        // Not under the lock: a stream is the caller's code, and may call this object.
        std::shared_ptr<TexturePicture> picture;
        const HRESULT result = TexturePicture::Open(*stream, &kind_, picture);
        if (FAILED(result)) return result;
        const std::lock_guard guard(lock_);
        if (picture_ != nullptr) return WINCODEC_ERR_WRONGSTATE;
        picture_ = std::move(picture);
        return S_OK;
    });
}

HRESULT BitmapDecoder::GetContainerFormat(GUID* format) noexcept {
    if (format == nullptr) return E_INVALIDARG;
    *format = kind_.containerId;
    return S_OK;
}

HRESULT BitmapDecoder::GetDecoderInfo(IWICBitmapDecoderInfo** info) noexcept {
    if (info == nullptr) return E_INVALIDARG;
    *info = nullptr;
    return Com_Guard([&] {
        ComPtr<IWICImagingFactory> factory;
        HRESULT result = CoCreateInstance(kImagingFactoryId, nullptr, CLSCTX_INPROC_SERVER,
                                          __uuidof(IWICImagingFactory), &factory);
        if (FAILED(result)) return result;
        ComPtr<IWICComponentInfo> component;
        result = factory->CreateComponentInfo(kind_.decoderId, &component);
        if (FAILED(result)) return result;
        return component->QueryInterface(__uuidof(IWICBitmapDecoderInfo),
                                         reinterpret_cast<void**>(info));
    });
}

HRESULT BitmapDecoder::CopyPalette(IWICPalette* palette) noexcept {
    return Answer_NoPalette(palette);
}

HRESULT BitmapDecoder::GetMetadataQueryReader(IWICMetadataQueryReader** reader) noexcept {
    return Answer_None(reader, WINCODEC_ERR_UNSUPPORTEDOPERATION);
}

HRESULT BitmapDecoder::GetPreview(IWICBitmapSource** preview) noexcept {
    return Answer_None(preview, WINCODEC_ERR_UNSUPPORTEDOPERATION);
}

HRESULT BitmapDecoder::GetColorContexts(UINT /*count*/, IWICColorContext** /*contexts*/,
                                        UINT* actualCount) noexcept {
    return Answer_NoColorContexts(actualCount);
}

HRESULT BitmapDecoder::GetThumbnail(IWICBitmapSource** thumbnail) noexcept {
    return Answer_None(thumbnail, WINCODEC_ERR_CODECNOTHUMBNAIL);
}

HRESULT BitmapDecoder::GetFrameCount(UINT* count) noexcept {
    if (count == nullptr) return E_INVALIDARG;
    *count = GetPicture() != nullptr ? 1 : 0;
    return *count != 0 ? S_OK : WINCODEC_ERR_NOTINITIALIZED;
}

HRESULT BitmapDecoder::GetFrame(UINT index, IWICBitmapFrameDecode** frame) noexcept {
    if (frame == nullptr) return E_INVALIDARG;
    *frame = nullptr;
    auto picture = GetPicture();
    if (picture == nullptr) return WINCODEC_ERR_NOTINITIALIZED;
    if (index != 0) return WINCODEC_ERR_FRAMEMISSING;
    return Com_Create<BitmapFrame>(__uuidof(IWICBitmapFrameDecode), reinterpret_cast<void**>(frame),
                                   std::move(picture));
}

}  // namespace koru_wic
