#include "texture_bytes.h"

#include <algorithm>

#include "texture_pixbuf.h"

namespace koru_pixbuf {

void TextureBytes::Expect(std::uint64_t byteCount) {
    bytes_.reserve(std::min(byteCount, std::uint64_t{kMaxFileBytes}));
}

bool TextureBytes::Append(std::span<const std::uint8_t> piece, GError** error) {
    if (piece.size() > kMaxFileBytes - bytes_.size()) {
        g_set_error_literal(error, GDK_PIXBUF_ERROR, GDK_PIXBUF_ERROR_FAILED,
                            "Texture files of 4 GiB and more cannot be read");
        return false;
    }
    bytes_.insert(bytes_.end(), piece.begin(), piece.end());
    if (!isKnownTexture_ && bytes_.size() >= koru_host::kContainerProbeBytes) {
        if (!Pixbuf_CheckHead(bytes_, error)) return false;
        isKnownTexture_ = true;
    }
    return true;
}

}  // namespace koru_pixbuf
