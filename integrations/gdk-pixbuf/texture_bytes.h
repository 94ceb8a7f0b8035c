// Collects a texture file that comes in piece by piece.
#pragma once

#include <glib.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace koru_pixbuf {

/// Bytes of the largest file: the library counts them in 32 bits.
inline constexpr std::size_t kMaxFileBytes = G_MAXUINT32;

class TextureBytes {
  public:
    /// Makes room for a file of so many bytes. Beyond kMaxFileBytes it is refused as by Append.
    /// Throws std::bad_alloc.
    [[nodiscard]] bool Expect(std::uint64_t byteCount, GError** error);

    /// Adds the next bytes. What is no texture is refused as soon as its first bytes tell, with a
    /// GDK_PIXBUF_ERROR in `error`, and so is a file beyond kMaxFileBytes.
    /// Throws std::bad_alloc.
    [[nodiscard]] bool Append(std::span<const std::uint8_t> piece, GError** error);

    [[nodiscard]] std::span<const std::uint8_t> Get() const noexcept { return bytes_; }

  private:
    std::vector<std::uint8_t> bytes_;
    bool isKnownTexture_ = false;
};

}  // namespace koru_pixbuf
