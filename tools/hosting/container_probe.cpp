#include "container_probe.h"

#include <algorithm>
#include <array>

namespace koru_host {
namespace {

using std::to_array;

constexpr std::size_t kPvrLegacyMagicOffset = 44;

constexpr auto kAstcMagic = to_array<std::uint8_t>({0x13, 0xAB, 0xA1, 0x5C});
constexpr auto kKtx1Magic = to_array<std::uint8_t>(
    {0xAB, 0x4B, 0x54, 0x58, 0x20, 0x31, 0x31, 0xBB, 0x0D, 0x0A, 0x1A, 0x0A});
constexpr auto kKtx2Magic = to_array<std::uint8_t>(
    {0xAB, 0x4B, 0x54, 0x58, 0x20, 0x32, 0x30, 0xBB, 0x0D, 0x0A, 0x1A, 0x0A});
constexpr auto kPngMagic = to_array<std::uint8_t>({0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A});
constexpr auto kWrapperMagic = to_array<std::uint8_t>({'Q', 'O', 'Z', 'M'});
constexpr auto kPvr3Magic = to_array<std::uint8_t>({'P', 'V', 'R', 0x03});
constexpr auto kPvrLegacyMagic = to_array<std::uint8_t>({'P', 'V', 'R', '!'});

bool Bytes_Match(std::span<const std::uint8_t> head, std::size_t offset,
                 std::span<const std::uint8_t> magic) noexcept {
    return head.size() >= offset && head.size() - offset >= magic.size() &&
           std::ranges::equal(head.subspan(offset, magic.size()), magic);
}

std::uint32_t Bytes_ReadLe24(std::span<const std::uint8_t> head, std::size_t offset) noexcept {
    return std::uint32_t{head[offset]} | std::uint32_t{head[offset + 1]} << 8 |
           std::uint32_t{head[offset + 2]} << 16;
}

}  // namespace

Container Container_Identify(std::span<const std::uint8_t> head) noexcept {
    if (Bytes_Match(head, 0, kAstcMagic)) return Container::Astc;
    if (Bytes_Match(head, 0, kKtx1Magic)) return Container::Ktx1;
    if (Bytes_Match(head, 0, kKtx2Magic)) return Container::Ktx2;
    if (Bytes_Match(head, 0, kPngMagic)) return Container::Png;
    if (Bytes_Match(head, 0, kWrapperMagic)) return Container::WrappedKtx;
    if (Bytes_Match(head, 0, kPvr3Magic)) return Container::Pvr3;
    if (Bytes_Match(head, kPvrLegacyMagicOffset, kPvrLegacyMagic)) return Container::PvrLegacy;
    return Container::Unknown;
}

const char* Container_GetName(Container container) noexcept {
    switch (container) {
        case Container::Astc:
            return "ASTC";
        case Container::Ktx1:
            return "KTX 1.1";
        case Container::Ktx2:
            return "KTX 2.0";
        case Container::WrappedKtx:
            return "QOZM-wrapped KTX";
        case Container::Pvr3:
            return "PVR version 3";
        case Container::PvrLegacy:
            return "PVR legacy";
        case Container::Png:
            return "PNG";
        case Container::Unknown:
            break;
    }
    return "unknown";
}

std::optional<AstcSizes> Container_ReadAstcSizes(std::span<const std::uint8_t> head) noexcept {
    if (head.size() < kAstcHeaderBytes) return std::nullopt;
    const auto axis = [head](std::size_t offset) {
        return std::max(std::uint32_t{head[offset]}, 1u);
    };
    return AstcSizes{axis(4),
                     axis(5),
                     axis(6),
                     Bytes_ReadLe24(head, 7),
                     Bytes_ReadLe24(head, 10),
                     Bytes_ReadLe24(head, 13)};
}

std::string Container_GetFootprint(const AstcSizes& sizes) {
    std::string footprint =
        std::to_string(sizes.blockWidth) + 'x' + std::to_string(sizes.blockHeight);
    if (sizes.blockDepth > 1) footprint += 'x' + std::to_string(sizes.blockDepth);
    return footprint;
}

}  // namespace koru_host
