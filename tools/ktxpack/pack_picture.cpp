#include "pack_picture.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>

#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#include <stb_image.h>

namespace koru_ktxpack {

Picture Picture_DecodePng(std::span<const std::uint8_t> file) {
    const auto size =
        static_cast<int>(std::min<std::size_t>(file.size(), std::numeric_limits<int>::max()));
    int width = 0, height = 0, channels = 0;
    if (stbi_info_from_memory(file.data(), size, &width, &height, &channels) == 0) {
        throw std::runtime_error("is not a PNG picture");
    }
    if (width > static_cast<int>(kMaxPictureSide) || height > static_cast<int>(kMaxPictureSide)) {
        throw std::runtime_error("is too large");
    }
    const std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
        stbi_load_from_memory(file.data(), size, &width, &height, &channels, 4), stbi_image_free);
    if (pixels == nullptr) throw std::runtime_error("is damaged");
    Picture picture{.width = static_cast<std::uint32_t>(width),
                    .height = static_cast<std::uint32_t>(height),
                    .texels = {}};
    picture.texels.resize(std::size_t{picture.width} * picture.height);
    std::memcpy(picture.texels.data(), pixels.get(), picture.texels.size() * sizeof(Texel));
    return picture;
}

Picture Picture_Invert(const Picture& picture) {
    Picture inverted = picture;
    for (Texel& texel : inverted.texels) {
        for (std::size_t i = 0; i < 3; ++i) texel[i] = static_cast<std::uint8_t>(255 - texel[i]);
    }
    return inverted;
}

Picture Picture_Halve(const Picture& picture) {
    Picture half{.width = std::max(picture.width / 2, 1u),
                 .height = std::max(picture.height / 2, 1u),
                 .texels = {}};
    // Along each side, lengths count in parts of which both a source texel and a target texel are a
    // whole number.
    const auto overlap = [](std::uint32_t source, std::uint32_t sourceSide, std::uint32_t target,
                            std::uint32_t targetSide) {
        return std::min((source + 1) * targetSide, (target + 1) * sourceSide) -
               std::max(source * targetSide, target * sourceSide);
    };
    for (std::uint32_t y = 0; y < half.height; ++y) {
        const std::uint32_t top = y * picture.height / half.height;
        const std::uint32_t bottom = ((y + 1) * picture.height - 1) / half.height;
        for (std::uint32_t x = 0; x < half.width; ++x) {
            const std::uint32_t left = x * picture.width / half.width;
            const std::uint32_t right = ((x + 1) * picture.width - 1) / half.width;
            std::uint64_t areas = 0, alphas = 0;
            std::array<std::uint64_t, 3> plain{}, weighted{};
            for (std::uint32_t sy = top; sy <= bottom; ++sy) {
                for (std::uint32_t sx = left; sx <= right; ++sx) {
                    const std::uint64_t area =
                        std::uint64_t{overlap(sx, picture.width, x, half.width)} *
                        overlap(sy, picture.height, y, half.height);
                    const Texel& texel = picture.Get(sx, sy);
                    areas += area;
                    alphas += area * texel[3];
                    for (std::size_t i = 0; i < 3; ++i) {
                        plain[i] += area * texel[i];
                        weighted[i] += area * texel[3] * texel[i];
                    }
                }
            }
            const auto divide = [](std::uint64_t sum, std::uint64_t count) {
                return static_cast<std::uint8_t>((sum + count / 2) / count);
            };
            Texel texel{};
            for (std::size_t i = 0; i < 3; ++i) {
                texel[i] = alphas > 0 ? divide(weighted[i], alphas) : divide(plain[i], areas);
            }
            texel[3] = divide(alphas, areas);
            half.texels.push_back(texel);
        }
    }
    return half;
}

}  // namespace koru_ktxpack
