#include "bench_textures.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>

#include "astc_builder.h"
#include "ktx_builder.h"
#include "pvr/pvrtc_grid.h"
#include "pvr_builder.h"

namespace koru_bench {
namespace {

/// All that comes before the payload.
Bytes MakeHeader(const Format& format, std::uint32_t side, std::size_t payloadBytes) {
    switch (format.container) {
        case Container::Ktx: {
            Ktx1Builder builder;
            builder.Size(side, side).Level({}, static_cast<std::uint32_t>(payloadBytes));
            const bool isCompressed = format.blockWidth > 1;
            return (isCompressed ? builder.Compressed(format.code)
                                 : builder.Uncompressed(format.code))
                .Build();
        }
        case Container::Pvr:
            return PvrV3Builder().Compressed(format.code).Size(side, side).Build();
        case Container::Astc:
            break;
    }
    return AstcBuilder()
        .Blocks(static_cast<std::uint8_t>(format.blockWidth),
                static_cast<std::uint8_t>(format.blockHeight))
        .Size(side, side)
        .Build();
}

/// The blocks of a picture in the build tree, row by row: the end of its file.
Bytes ReadPicture(const Format& format, Data data) {
    const std::string path = std::string(KORUTEX_BENCH_TEXTURES "/")
                                 .append(Data_GetName(data))
                                 .append("-")
                                 .append(format.texture);
    std::ifstream stream(path, std::ios::binary);
    Bytes bytes{std::istreambuf_iterator<char>(stream), {}};
    const std::size_t payloadBytes = Format_GetPayloadBytes(format, kPictureSide);
    if (bytes.size() < payloadBytes) throw std::runtime_error(path + ": is too short");
    bytes.erase(bytes.begin(), bytes.end() - static_cast<std::ptrdiff_t>(payloadBytes));
    return bytes;
}

struct Grid {
    std::size_t columns, rows;
};

Grid GetGrid(const Format& format, std::uint32_t side) {
    return {.columns = (side + format.blockWidth - 1) / format.blockWidth,
            .rows = (side + format.blockHeight - 1) / format.blockHeight};
}

/// Fills `payload` with the picture's blocks: a part from its middle on, or the whole repeated.
void TilePicture(const Format& format, std::uint32_t side, std::span<const std::uint8_t> picture,
                 std::span<std::uint8_t> payload) {
    const Grid from = GetGrid(format, kPictureSide), to = GetGrid(format, side);
    const bool isPart = side < kPictureSide;
    const Grid first{.columns = isPart ? from.columns / 2 : 0, .rows = isPart ? from.rows / 2 : 0};
    const koru::PvrtcOrder order(
        {static_cast<std::uint32_t>(to.columns), static_cast<std::uint32_t>(to.rows)});
    for (std::size_t row = 0; row < to.rows; ++row) {
        const std::size_t fromRow = (first.rows + row) % from.rows;
        std::size_t run = 0;  // blocks side by side in both
        for (std::size_t column = 0; column < to.columns; column += run) {
            const std::size_t fromColumn = (first.columns + column) % from.columns;
            run = std::min(from.columns - fromColumn, to.columns - column);
            std::size_t place = row * to.columns + column;
            if (format.container == Container::Pvr) {
                run = 1;
                place = order.GetColumnPart(static_cast<std::uint32_t>(column)) +
                        order.GetRowPart(static_cast<std::uint32_t>(row));
            }
            std::memcpy(&payload[place * format.blockBytes],
                        &picture[(fromRow * from.columns + fromColumn) * format.blockBytes],
                        run * format.blockBytes);
        }
    }
}

void FillRandomly(std::span<std::uint8_t> bytes) {
    std::mt19937_64 random(1);
    for (std::size_t i = 0; i < bytes.size(); i += sizeof(std::uint64_t)) {
        const std::uint64_t word = random();
        std::memcpy(&bytes[i], &word, std::min(bytes.size() - i, sizeof(word)));
    }
}

}  // namespace

std::string_view Data_GetName(Data data) {
    switch (data) {
        case Data::Natural:
            return "natural";
        case Data::Smooth:
            return "smooth";
        case Data::Random:
            break;
    }
    return "random";
}

Texture::~Texture() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove(path_, ignored);
}

std::span<const std::uint8_t> Texture::GetFile() {
    if (file_.empty()) {
        const std::size_t payloadBytes = Format_GetPayloadBytes(format_, side_);
        const std::size_t paddedBytes =
            std::max(payloadBytes, std::size_t{side_} * side_ * format_.filePixelBytes);
        file_ = MakeHeader(format_, side_, paddedBytes);
        headerBytes_ = file_.size();
        file_.resize(headerBytes_ + paddedBytes);
        const auto payload = std::span(file_).subspan(headerBytes_, payloadBytes);
        if (data_ == Data::Random) {
            FillRandomly(payload);
        } else {
            TilePicture(format_, side_, ReadPicture(format_, data_), payload);
        }
    }
    return file_;
}

std::span<const std::uint8_t> Texture::GetPayload() {
    return GetFile().subspan(headerBytes_, Format_GetPayloadBytes(format_, side_));
}

const std::filesystem::path& Texture::GetPath() {
    if (path_.empty()) {
        std::string pattern = std::filesystem::temp_directory_path() / "korutex_bench_XXXXXX";
        const int descriptor = mkstemp(pattern.data());
        if (descriptor < 0) throw std::runtime_error(pattern + ": cannot be created");
        path_ = pattern;
        auto rest = GetFile();
        while (!rest.empty()) {
            const ssize_t written = write(descriptor, rest.data(), rest.size());
            if (written <= 0) break;
            rest = rest.subspan(static_cast<std::size_t>(written));
        }
        // Or the disk writes while something is measured.
        const bool isWritten = rest.empty() && fsync(descriptor) == 0;
        if (close(descriptor) != 0 || !isWritten)
            throw std::runtime_error(pattern + ": cannot be written");
    }
    return path_;
}

}  // namespace koru_bench
