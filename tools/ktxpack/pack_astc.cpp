#include "pack_astc.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace koru_ktxpack {
namespace {

constexpr std::array<std::uint8_t, 4> kMagic{0x13, 0xAB, 0xA1, 0x5C};
constexpr std::size_t kHeaderBytes = 16;

}  // namespace

bool Astc_IsFile(std::span<const std::uint8_t> file) {
    return file.size() >= kMagic.size() && std::ranges::equal(file.first(kMagic.size()), kMagic);
}

PackedTexture Astc_ReadFile(std::span<const std::uint8_t> file) {
    if (file.size() < kHeaderBytes) throw std::runtime_error("is cut off");
    const auto side = [file](std::size_t offset) {
        return std::uint32_t{file[offset]} | std::uint32_t{file[offset + 1]} << 8 |
               std::uint32_t{file[offset + 2]} << 16;
    };
    const PackFormat* format = Formats_FindAstc(file[4], file[5]);
    if (format == nullptr || file[6] != 1 || side(13) != 1) {
        throw std::runtime_error("is not a 2D texture with 2D blocks");
    }
    PackedTexture texture{
        .format = format, .width = side(7), .height = side(10), .shape = {}, .levels = {}};
    const auto countBlocks = [](std::uint32_t texels, std::uint32_t blockSide) {
        return (std::uint64_t{texels} + blockSide - 1) / blockSide;
    };
    const std::uint64_t bytes = countBlocks(texture.width, format->blockWidth) *
                                countBlocks(texture.height, format->blockHeight) *
                                format->blockBytes;
    if (bytes == 0) throw std::runtime_error("is empty");
    if (bytes > file.size() - kHeaderBytes) throw std::runtime_error("is cut off");
    const auto payload = file.subspan(kHeaderBytes, static_cast<std::size_t>(bytes));
    texture.levels = {{Bytes(payload.begin(), payload.end())}};
    return texture;
}

}  // namespace koru_ktxpack
