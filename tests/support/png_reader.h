// PNG files as RGBA pixels, for comparing with what other programs decode.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

struct PngPicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> rgba;
};

/// The picture; a test failure and an empty one if it cannot be read.
PngPicture Test_ReadPng(const std::filesystem::path& path);
