// Draws a test card of any size: a picture to judge decoders by, with eyes or with numbers.

#include <CLI/CLI.hpp>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "card_overlay.h"
#include "card_scene.h"
#include "png_encoder.h"

namespace koru_testcard {
namespace {

constexpr std::uint32_t kMaxSide = 65536;

struct Size {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

std::optional<std::uint32_t> Side_Parse(std::string_view text) {
    std::uint32_t side = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, side);
    if (result.ec != std::errc() || result.ptr != end || side == 0 || side > kMaxSide) {
        return std::nullopt;
    }
    return side;
}

std::optional<Size> Size_Parse(std::string_view text) {
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos) return std::nullopt;
    const auto width = Side_Parse(text.substr(0, cross));
    const auto height = Side_Parse(text.substr(cross + 1));
    if (!width || !height) return std::nullopt;
    return Size{*width, *height};
}

std::uint8_t Channel_Quantise(float value) {
    // 256 shares of equal size.
    return static_cast<std::uint8_t>(Number_Clamp(value) * 255.999f);
}

std::vector<std::uint8_t> Card_Draw(const Size& size, std::uint32_t seed, bool isOpaque) {
    const float pixelSize = 1 / static_cast<float>(size.height);
    const Scene scene(seed, static_cast<float>(size.width) * pixelSize, pixelSize);
    const Overlay overlay(size.width, size.height, isOpaque);
    std::vector<std::uint8_t> pixels(std::size_t{size.width} * size.height * 4);

    std::atomic<std::uint32_t> nextRow{0};
    const auto drawRows = [&] {
        for (std::uint32_t y = nextRow++; y < size.height; y = nextRow++) {
            std::uint8_t* pixel = pixels.data() + std::size_t{y} * size.width * 4;
            for (std::uint32_t x = 0; x < size.width; ++x, pixel += 4) {
                const Color color =
                    overlay.Apply(scene.GetColor((static_cast<float>(x) + 0.5f) * pixelSize,
                                                 (static_cast<float>(y) + 0.5f) * pixelSize),
                                  x, y);
                pixel[0] = Channel_Quantise(color.r);
                pixel[1] = Channel_Quantise(color.g);
                pixel[2] = Channel_Quantise(color.b);
                pixel[3] = Channel_Quantise(color.a);
            }
        }
    };
    {
        std::vector<std::jthread> threads;
        for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i) {
            threads.emplace_back(drawRows);
        }
        drawRows();
    }
    return pixels;
}

void Card_Write(const std::string& path, const Size& size, const std::vector<std::uint8_t>& card) {
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    koru_host::Png_Encode({card.data(), size.width, size.height, 4, std::size_t{size.width} * 4},
                          [&stream](std::span<const std::uint8_t> bytes) {
                              stream.write(reinterpret_cast<const char*>(bytes.data()),
                                           static_cast<std::streamsize>(bytes.size()));
                          });
    stream.close();
    if (!stream) throw std::runtime_error(path + ": cannot be written");
}

int Card_Run(int argumentCount, char** arguments) {
    CLI::App app("Draws a test card as a PNG picture.", "testcard");
    std::string sizeText;
    std::string path;
    std::uint32_t seed = 1;
    bool isOpaque = false;
    app.add_option("SIZE", sizeText, "WIDTHxHEIGHT, in pixels")->required()->type_name("");
    app.add_option("OUT", path, "The PNG file to write")->required()->type_name("");
    app.add_option("--seed", seed, "Another number gives another landscape")
        ->type_name("N")
        ->default_str("1");
    app.add_flag("--opaque", isOpaque, "Leave the alpha parts out");
    app.footer("Example:\n  testcard 512x320 card.png");
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return 0;
    } catch (const CLI::ParseError& error) {
        std::cerr << "testcard: " << error.what() << " (see 'testcard --help')\n";
        return 2;
    }
    const auto size = Size_Parse(sizeText);
    if (!size) {
        std::cerr << "testcard: " << sizeText << ": is not WIDTHxHEIGHT, each from 1 to "
                  << kMaxSide << '\n';
        return 2;
    }
    Card_Write(path, *size, Card_Draw(*size, seed, isOpaque));
    return 0;
}

}  // namespace
}  // namespace koru_testcard

int main(int argumentCount, char** arguments) {
    try {
        return koru_testcard::Card_Run(argumentCount, arguments);
    } catch (const std::exception& error) {
        std::cerr << "testcard: " << error.what() << '\n';
        return 1;
    }
}
