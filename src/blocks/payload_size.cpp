#include "blocks/payload_size.h"

#include <limits>

#include "core/bytes.h"

namespace koru {

std::optional<std::uint32_t> Payload_GetPackedBytes(std::uint32_t width, std::uint32_t height,
                                                    std::uint32_t componentCount) noexcept {
    const std::uint64_t rowBytes = (std::uint64_t{width} * componentCount + 3) / 4 * 4;
    if (rowBytes > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    return Size_Mul32(static_cast<std::uint32_t>(rowBytes), height);
}

}  // namespace koru
