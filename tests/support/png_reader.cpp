#include "png_reader.h"

#include <gtest/gtest.h>

#include <memory>

#include "test_files.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#include <stb_image.h>

PngPicture Test_ReadPng(const std::filesystem::path& path) {
    const Bytes file = Test_ReadFile(path);
    int width = 0, height = 0, channels = 0;
    const std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
        stbi_load_from_memory(file.data(), static_cast<int>(file.size()), &width, &height,
                              &channels, 4),
        stbi_image_free);
    EXPECT_NE(pixels, nullptr) << path;
    if (pixels == nullptr) return {};
    const auto bytes = static_cast<std::ptrdiff_t>(width) * height * 4;
    return {static_cast<std::uint32_t>(width),
            static_cast<std::uint32_t>(height),
            {pixels.get(), pixels.get() + bytes}};
}
