// The picture of a texture file: its size from the beginning, its pixels when somebody wants them.
#pragma once

#include <wincodec.h>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "decoder_kinds.h"
#include "module_state.h"
#include "texture_library.h"

namespace koru_wic {

/// May be used from several threads at once.
class TexturePicture {
  public:
    /// Reads a stream to its end and does not keep it. `wanted` is the one kind that will do, null
    /// if every kind will. Every damage is told here: the library reads the file without decoding
    /// its pixels, which fails exactly when decoding would, but for want of memory.
    [[nodiscard]] static HRESULT Open(IStream& stream, const DecoderKind* wanted,
                                      std::shared_ptr<TexturePicture>& picture);

    [[nodiscard]] std::uint32_t GetWidth() const noexcept { return width_; }
    [[nodiscard]] std::uint32_t GetHeight() const noexcept { return height_; }

    /// The pixels: R, G, B, A, straight alpha, rows without gaps, top row first. The first caller
    /// has them decoded.
    [[nodiscard]] HRESULT GetPixels(std::span<const std::uint8_t>& pixels);

    /// IWICBitmapSource::CopyPixels.
    [[nodiscard]] HRESULT CopyPixels(const WICRect* area, UINT stride, UINT bufferBytes,
                                     BYTE* buffer);

  private:
    [[nodiscard]] static HRESULT Create(std::vector<std::uint8_t> file,
                                        std::shared_ptr<TexturePicture>& picture);
    TexturePicture(std::vector<std::uint8_t> file, std::uint32_t width,
                   std::uint32_t height) noexcept;

    SlimLock lock_;
    std::vector<std::uint8_t> file_;  // empty once it is decoded
    RecordHandle record_;             // set once, under the lock
    std::uint32_t width_, height_;
};

}  // namespace koru_wic
