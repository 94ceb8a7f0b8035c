#include "picture_writer.h"

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

#include "host_paths.h"

namespace koru_host {
namespace {

// Rows are gathered to about this size before they go to the sink.
constexpr std::size_t kBatchBytes = std::size_t{1} << 20;

/// Calls `appendRow(row, batch)` for each row, top to bottom.
template <typename AppendRow>
void Picture_WriteRows(const PictureView& picture, const ByteSink& sink, AppendRow&& appendRow) {
    std::vector<std::uint8_t> batch;
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        appendRow(picture.pixels + y * picture.stride, batch);
        if (batch.size() >= kBatchBytes) {
            sink(batch);
            batch.clear();
        }
    }
    if (!batch.empty()) sink(batch);
}

void Picture_WritePpm(const PictureView& picture, const ByteSink& sink) {
    const std::string header =
        "P6\n" + std::to_string(picture.width) + ' ' + std::to_string(picture.height) + "\n255\n";
    sink({reinterpret_cast<const std::uint8_t*>(header.data()), header.size()});
    Picture_WriteRows(picture, sink, [&](const std::uint8_t* row, auto& batch) {
        for (std::uint32_t x = 0; x < picture.width; ++x, row += picture.channels) {
            batch.insert(batch.end(), row, row + 3);
        }
    });
}

void Picture_WriteTga(const PictureView& picture, const ByteSink& sink) {
    constexpr std::uint32_t kTgaMaxSide = 0xFFFF;
    if (picture.width > kTgaMaxSide || picture.height > kTgaMaxSide) {
        throw std::length_error("the picture is too large for TGA");
    }
    constexpr std::uint8_t kTrueColor = 2;
    constexpr std::uint8_t kTopRowFirst = 0x20;
    const bool hasAlpha = picture.channels == 4;
    const auto low = [](std::uint32_t value) { return static_cast<std::uint8_t>(value & 0xFF); };
    std::array<std::uint8_t, 18> header{};
    header[2] = kTrueColor;
    header[12] = low(picture.width);
    header[13] = low(picture.width >> 8);
    header[14] = low(picture.height);
    header[15] = low(picture.height >> 8);
    header[16] = hasAlpha ? 32 : 24;
    header[17] = static_cast<std::uint8_t>(kTopRowFirst | (hasAlpha ? 8 : 0));
    sink(header);
    Picture_WriteRows(picture, sink, [&](const std::uint8_t* row, auto& batch) {
        for (std::uint32_t x = 0; x < picture.width; ++x, row += picture.channels) {
            batch.insert(batch.end(), {row[2], row[1], row[0]});
            if (hasAlpha) batch.push_back(row[3]);
        }
    });
}

}  // namespace

std::optional<PictureFormat> Picture_GetFormat(const std::filesystem::path& name) {
    const std::string ending = Paths_GetEnding(name);
    if (ending == ".png") return PictureFormat::Png;
    if (ending == ".ppm") return PictureFormat::Ppm;
    if (ending == ".tga") return PictureFormat::Tga;
    return std::nullopt;
}

void Picture_Write(const PictureView& picture, PictureFormat format, const ByteSink& sink) {
    switch (format) {
        case PictureFormat::Png:
            Png_Encode(picture, sink);
            return;
        case PictureFormat::Ppm:
            Picture_WritePpm(picture, sink);
            return;
        case PictureFormat::Tga:
            Picture_WriteTga(picture, sink);
            return;
    }
}

}  // namespace koru_host
