#include "texture_picture.h"

#include <winerror.h>

#include <cstring>
#include <limits>
#include <mutex>
#include <utility>

#include "stream_reader.h"

namespace koru_wic {
namespace {

constexpr std::uint32_t kPixelBytes = 4;

/// What a header tells that is no picture of any kind.
bool Header_IsBad(std::span<const std::uint8_t> file) noexcept {
    const koru_host::Container container = koru_host::Container_Identify(file);
    const KindMatch match = Kind_Find(container);
    if (match.header == nullptr || file.size() < match.header->bytes) return true;
    if (container != koru_host::Container::Astc) return false;
    const auto sizes = koru_host::Container_ReadAstcSizes(file);
    return !sizes || sizes->width == 0 || sizes->height == 0 || sizes->depth != 1;
}

bool Rect_IsInside(const WICRect& rect, std::uint32_t width, std::uint32_t height) noexcept {
    if (rect.X < 0 || rect.Y < 0 || rect.Width <= 0 || rect.Height <= 0) return false;
    return std::uint64_t(rect.X) + std::uint64_t(rect.Width) <= width &&
           std::uint64_t(rect.Y) + std::uint64_t(rect.Height) <= height;
}

}  // namespace

TexturePicture::TexturePicture(std::vector<std::uint8_t> file, std::uint32_t width,
                               std::uint32_t height) noexcept
    : file_(std::move(file)), width_(width), height_(height) {}

HRESULT TexturePicture::Open(IStream& stream, const DecoderKind* wanted,
                             std::shared_ptr<TexturePicture>& picture) {
    StreamStart start;
    HRESULT result = Stream_Probe(stream, start);
    if (FAILED(result)) return result;
    if (start.kind == nullptr || (wanted != nullptr && start.kind != wanted)) {
        return WINCODEC_ERR_UNKNOWNIMAGEFORMAT;
    }
    std::vector<std::uint8_t> file;
    result = Stream_ReadFrom(stream, start.position, file);
    return FAILED(result) ? result : Create(std::move(file), picture);
}

HRESULT TexturePicture::Create(std::vector<std::uint8_t> file,
                               std::shared_ptr<TexturePicture>& picture) {
    if (Header_IsBad(file)) return WINCODEC_ERR_BADHEADER;
    koru_host::TextureSize size{};
    {
        const LibraryCall call;
        if (call.GetDoors() == nullptr) return WINCODEC_ERR_COMPONENTINITIALIZEFAILURE;
        size = koru_host::Texture_ReadSize(*call.GetDoors(), file);
        koru_host::Texture_DropPayload(*call.GetDoors(), file);
    }
    if (size.width == 0 || size.height == 0) return WINCODEC_ERR_BADIMAGE;
    // The library has looked at RGB, which is smaller, unless an earlier load has made it look at
    // RGBA: one answer for both. CopyPixels counts bytes in 32 bits, and rectangles have signed
    // sides.
    constexpr auto kMaxSide = static_cast<std::uint32_t>(std::numeric_limits<INT>::max());
    const std::uint64_t rowBytes = std::uint64_t{size.width} * kPixelBytes;
    if (rowBytes > std::numeric_limits<std::uint32_t>::max() / size.height ||
        size.width > kMaxSide || size.height > kMaxSide) {
        return WINCODEC_ERR_BADIMAGE;
    }
    picture.reset(new TexturePicture(std::move(file), size.width, size.height));
    return S_OK;
}

HRESULT TexturePicture::GetPixels(std::span<const std::uint8_t>& pixels) {
    const std::lock_guard guard(lock_);
    if (record_ == nullptr) {
        RecordHandle record;
        {
            const LibraryCall call;
            if (call.GetDoors() == nullptr) return WINCODEC_ERR_COMPONENTINITIALIZEFAILURE;
            record.reset(koru_host::Texture_Decode(*call.GetDoors(), file_));
            koru_host::Texture_DropPayload(*call.GetDoors(), file_);
        }
        // The file has been found good, so there is one reason left.
        if (record == nullptr) return E_OUTOFMEMORY;
        if (record->width != width_ || record->height != height_) return E_UNEXPECTED;
        record_ = std::move(record);
        file_ = {};
    }
    pixels = {record_->pixels, record_->dataSize};
    return S_OK;
}

HRESULT TexturePicture::CopyPixels(const WICRect* area, UINT stride, UINT bufferBytes,
                                   BYTE* buffer) {
    if (buffer == nullptr) return E_INVALIDARG;
    const WICRect whole{0, 0, static_cast<INT>(width_), static_cast<INT>(height_)};
    const WICRect rect = area != nullptr ? *area : whole;
    if (!Rect_IsInside(rect, width_, height_)) return E_INVALIDARG;

    const auto rowCount = static_cast<std::uint64_t>(rect.Height);
    const std::uint64_t rowBytes = static_cast<std::uint64_t>(rect.Width) * kPixelBytes;
    if (stride < rowBytes) return E_INVALIDARG;
    // The last row needs no gap behind it.
    if ((rowCount - 1) * stride + rowBytes > bufferBytes) return WINCODEC_ERR_INSUFFICIENTBUFFER;

    std::span<const std::uint8_t> pixels;
    const HRESULT result = GetPixels(pixels);
    if (FAILED(result)) return result;
    const std::size_t sourceStride = std::size_t{width_} * kPixelBytes;
    const std::uint8_t* source = pixels.data() + static_cast<std::size_t>(rect.Y) * sourceStride +
                                 static_cast<std::size_t>(rect.X) * kPixelBytes;
    for (std::uint64_t y = 0; y < rowCount; ++y) {
        std::memcpy(buffer + y * stride, source + y * sourceStride,
                    static_cast<std::size_t>(rowBytes));
    }
    return S_OK;
}

}  // namespace koru_wic
