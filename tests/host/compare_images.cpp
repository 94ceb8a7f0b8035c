// compare_images [--rgb] A B: exit code 0 when two pictures have the same size and the same pixels.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>

namespace {

struct PixelsDeleter {
    void operator()(std::uint8_t* pixels) const noexcept { stbi_image_free(pixels); }
};

struct Picture {
    std::unique_ptr<std::uint8_t, PixelsDeleter> pixels;
    int width = 0;
    int height = 0;
};

Picture Picture_Load(const char* path) {
    Picture picture;
    int channels = 0;
    picture.pixels.reset(stbi_load(path, &picture.width, &picture.height, &channels, 4));
    if (picture.pixels == nullptr) {
        (void)std::fprintf(stderr, "%s: %s\n", path, stbi_failure_reason());
        std::exit(2);
    }
    return picture;
}

void Pixel_Print(const char* path, const std::uint8_t* pixel) {
    std::printf("  %3d %3d %3d %3d  %s\n", pixel[0], pixel[1], pixel[2], pixel[3], path);
}

int Pictures_Compare(const char* pathA, const char* pathB, int channelCount) {
    const Picture a = Picture_Load(pathA);
    const Picture b = Picture_Load(pathB);
    if (a.width != b.width || a.height != b.height) {
        std::printf("%dx%d  %s\n%dx%d  %s\n", a.width, a.height, pathA, b.width, b.height, pathB);
        return 1;
    }
    const std::size_t pixelCount =
        static_cast<std::size_t>(a.width) * static_cast<std::size_t>(a.height);
    std::size_t differenceCount = 0;
    for (std::size_t i = 0; i < pixelCount; ++i) {
        const std::uint8_t* pixelA = a.pixels.get() + i * 4;
        const std::uint8_t* pixelB = b.pixels.get() + i * 4;
        bool isSame = true;
        for (int c = 0; c < channelCount; ++c) isSame = isSame && pixelA[c] == pixelB[c];
        if (isSame) continue;
        if (differenceCount++ == 0) {
            const auto width = static_cast<std::size_t>(a.width);
            std::printf("first difference at x %zu, y %zu:\n", i % width, i / width);
            Pixel_Print(pathA, pixelA);
            Pixel_Print(pathB, pixelB);
        }
    }
    if (differenceCount == 0) return 0;
    std::printf("%zu of %zu pixels differ\n", differenceCount, pixelCount);
    return 1;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    const bool isRgb = argumentCount == 4 && std::string_view(arguments[1]) == "--rgb";
    if (argumentCount != 3 && !isRgb) {
        (void)std::fprintf(stderr, "usage: compare_images [--rgb] A B\n");
        return 2;
    }
    return Pictures_Compare(arguments[argumentCount - 2], arguments[argumentCount - 1],
                            isRgb ? 3 : 4);
}
