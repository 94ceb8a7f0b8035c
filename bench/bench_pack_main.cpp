// Encodes a picture in the formats that benchmarks need and ktxpack does not have: bench_pack
// FORMAT IN OUT. IN is a KTX file of 1024 x 1024 RGBA8 pixels as ktxpack writes it; OUT receives
// blocks, or pixels, row by row and nothing else.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "eac_alpha_encoder.h"
#include "pack_texels.h"
#include "pvrtc_encoder.h"

namespace koru_bench {
namespace {

using koru_ktxpack::BlockTexels;
using koru_ktxpack::Texel;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kSide = 1024;

/// The pixels are the end of the file.
std::vector<Texel> ReadTexels(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    const Bytes file{std::istreambuf_iterator<char>(stream), {}};
    std::vector<Texel> texels(std::size_t{kSide} * kSide);
    const std::size_t byteCount = texels.size() * sizeof(Texel);
    if (file.size() < byteCount) throw std::runtime_error(path + ": is too short");
    std::memcpy(texels.data(), file.data() + file.size() - byteCount, byteCount);
    return texels;
}

void PutLe(Bytes& bytes, std::uint32_t value, unsigned byteCount) {
    for (unsigned i = 0; i < byteCount; ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

Bytes EncodePvrtc(std::span<const Texel> texels, std::uint32_t blockWidth) {
    Bytes bytes;
    for (const koru::PvrtcBlock& block : Pvrtc_Encode(texels, kSide, blockWidth)) {
        PutLe(bytes, block.modulation, 4);
        PutLe(bytes, block.colors, 4);
    }
    return bytes;
}

/// Green, in the layout that alpha has, too.
Bytes EncodeR11(std::span<const Texel> texels) {
    Bytes bytes;
    for (std::uint32_t top = 0; top < kSide; top += 4) {
        for (std::uint32_t left = 0; left < kSide; left += 4) {
            BlockTexels block{};
            for (std::uint32_t i = 0; i < block.size(); ++i)
                block[i][3] = texels[std::size_t{top + i / 4} * kSide + left + i % 4][1];
            bytes.resize(bytes.size() + 8);
            koru_ktxpack::Eac_EncodeAlpha(block, std::span(bytes).last(8));
        }
    }
    return bytes;
}

Bytes EncodeRgb565(std::span<const Texel> texels) {
    Bytes bytes;
    for (const Texel& texel : texels)
        PutLe(bytes, texel[0] / 8u << 11 | texel[1] / 4u << 5 | texel[2] / 8u, 2);
    return bytes;
}

Bytes Encode(std::string_view format, std::span<const Texel> texels) {
    if (format == "pvrtc-4bpp") return EncodePvrtc(texels, 4);
    if (format == "pvrtc-2bpp") return EncodePvrtc(texels, 8);
    if (format == "eac-r11") return EncodeR11(texels);
    if (format == "rgb565") return EncodeRgb565(texels);
    throw std::runtime_error("no such format");
}

void Run(std::string_view format, const std::string& input, const std::string& output) {
    const Bytes bytes = Encode(format, ReadTexels(input));
    std::ofstream stream(output, std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(bytes.data()),
                 static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) throw std::runtime_error(output + ": cannot be written");
}

}  // namespace
}  // namespace koru_bench

int main(int argumentCount, char** arguments) {
    if (argumentCount != 4) {
        std::cerr << "usage: bench_pack FORMAT IN OUT\n";
        return 2;
    }
    try {
        koru_bench::Run(arguments[1], arguments[2], arguments[3]);
    } catch (const std::exception& error) {
        std::cerr << "bench_pack: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
