#include "core/source_buffer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace koru {

SourceBuffer Source_Borrow(const std::uint8_t* data, std::uint32_t size) noexcept {
    return SourceBuffer{.owned = {}, .data = data, .offset = 0, .size = size};
}

SourceBuffer Source_Own(ByteBuffer bytes) noexcept {
    SourceBuffer source = Source_Borrow(bytes.Data(), bytes.Size());
    source.owned = std::move(bytes);
    return source;
}

void Source_Release(SourceBuffer& source) noexcept { source = SourceBuffer{}; }

std::uint32_t Source_GetRemaining(const SourceBuffer& source) noexcept {
    return source.offset <= source.size ? source.size - source.offset : 0;
}

void Source_Seek(SourceBuffer& source, std::uint64_t offset) noexcept {
    source.offset = static_cast<std::uint32_t>(std::min<std::uint64_t>(offset, source.size));
}

int Source_Read(SourceBuffer& source, std::uint8_t* target, std::uint32_t byteCount) noexcept {
    if (source.data == nullptr || target == nullptr) return 0;
    if (source.offset > source.size || byteCount > source.size - source.offset) return 0;
    std::memcpy(target, source.data + source.offset, byteCount);
    source.offset += byteCount;
    return 1;
}

}  // namespace koru
