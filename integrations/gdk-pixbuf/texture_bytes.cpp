#include "texture_bytes.h"

#include "texture_pixbuf.h"

namespace koru_pixbuf {
namespace {

bool Bytes_Fit(std::uint64_t byteCount, GError** error) noexcept {
    if (byteCount <= kMaxFileBytes) return true;
    g_set_error_literal(error, GDK_PIXBUF_ERROR, GDK_PIXBUF_ERROR_FAILED,
                        "Texture files of 4 GiB and more cannot be read");
    return false;
}

}  // namespace

bool TextureBytes::Expect(std::uint64_t byteCount, GError** error) {
    if (!Bytes_Fit(byteCount, error)) return false;
    bytes_.reserve(static_cast<std::size_t>(byteCount));
    return true;
}

bool TextureBytes::Append(std::span<const std::uint8_t> piece, GError** error) {
    if (!Bytes_Fit(std::uint64_t{bytes_.size()} + piece.size(), error)) return false;
    bytes_.insert(bytes_.end(), piece.begin(), piece.end());
    if (!isKnownTexture_ && bytes_.size() >= koru_host::kContainerProbeBytes) {
        if (!Pixbuf_CheckHead(bytes_, error)) return false;
        isKnownTexture_ = true;
    }
    return true;
}

}  // namespace koru_pixbuf
