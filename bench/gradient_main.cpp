// Draws the smooth picture of the benchmarks as a PNG: slow gradients in every channel.
#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <vector>

#include "png_encoder.h"

namespace {

constexpr std::uint32_t kSide = 1024;

std::vector<std::uint8_t> DrawGradient() {
    std::vector<std::uint8_t> pixels;
    for (std::uint32_t y = 0; y < kSide; ++y) {
        for (std::uint32_t x = 0; x < kSide; ++x) {
            for (const std::uint32_t channel : {x / 4, y / 4, (x + y) / 8, 255 - x / 16})
                pixels.push_back(static_cast<std::uint8_t>(channel));
        }
    }
    return pixels;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::cerr << "usage: bench_gradient OUT\n";
        return 2;
    }
    try {
        std::ofstream stream;
        stream.exceptions(std::ios::failbit | std::ios::badbit);
        stream.open(arguments[1], std::ios::binary | std::ios::trunc);
        const auto pixels = DrawGradient();
        koru_host::Png_Encode({pixels.data(), kSide, kSide, 4, std::size_t{kSide} * 4},
                              [&stream](std::span<const std::uint8_t> bytes) {
                                  stream.write(reinterpret_cast<const char*>(bytes.data()),
                                               static_cast<std::streamsize>(bytes.size()));
                              });
        stream.close();
    } catch (const std::exception& error) {
        std::cerr << "bench_gradient: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
