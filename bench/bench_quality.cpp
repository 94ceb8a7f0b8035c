#include "bench_quality.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "bench_formats.h"
#include "bench_table.h"
#include "bench_textures.h"

namespace koru_bench {
namespace {

using Payload = std::span<const std::uint8_t>;

koru::ByteBuffer Decode(const Format& format, Payload payload) {
    auto pixels = koru::ByteBuffer::Allocate(Format_GetPixelBytes(format, kPictureSide));
    format.decode(format, payload, kPictureSide, pixels);
    return pixels;
}

/// Of the colors where both are opaque, in dB; of green for a single channel of 16 bits.
double GetPsnr(const Format& format, const koru::ByteBuffer& pixels, Payload original) {
    constexpr std::uint8_t kOpaque = 128;
    double sum = 0, count = 0;
    for (std::size_t i = 0; i < std::size_t{kPictureSide} * kPictureSide; ++i) {
        const std::uint8_t* const is = pixels.Data() + i * format.pixelBytes;
        const std::uint8_t* const wanted = original.data() + i * 4;
        const auto add = [&](int difference) {
            sum += difference * difference;
            ++count;
        };
        if (format.pixelBytes == 2) {
            add(is[1] - wanted[1]);
        } else if (wanted[3] >= kOpaque && (format.pixelBytes == 3 || is[3] >= kOpaque)) {
            for (std::size_t channel = 0; channel < 3; ++channel)
                add(is[channel] - wanted[channel]);
        }
    }
    return 10 * std::log10(255.0 * 255.0 * count / sum);
}

using Shares = std::array<double, 5>;

/// Which mode a color block of the ETC family has: individual, differential, T, H, planar.
std::size_t GetEtcMode(const std::uint8_t* block, bool hasIndividual) {
    if (hasIndividual && (block[3] & 2) == 0) return 0;
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const int delta = (block[channel] & 7) < 4 ? block[channel] & 7 : (block[channel] & 7) - 8;
        const int second = (block[channel] >> 3) + delta;
        if (second < 0 || second > 31) return 2 + channel;
    }
    return 1;
}

/// Which of two kinds a block of S3TC or PVRTC is: three colors, or the mode flag.
bool IsSecondKind(const Format& format, const std::uint8_t* block) {
    if (format.container == Container::Pvr) return (block[4] & 1) != 0;
    return (block[0] | block[1] << 8) <= (block[2] | block[3] << 8);
}

std::size_t GetKind(const Format& format, const std::uint8_t* block) {
    const std::uint8_t* const color = block + format.blockBytes - 8;
    if (format.name.starts_with("ETC")) return GetEtcMode(color, format.name != "ETC2-A1");
    return IsSecondKind(format, color) ? 1 : 0;
}

}  // namespace

void Quality_Check(std::ostream& out) {
    Table table(out, "Natural pictures; shares of block kinds in percent",
                {{"format", 10},
                 {"PSNR", 6},
                 {"kind 0", 6},
                 {"kind 1", 6},
                 {"kind 2", 6},
                 {"kind 3", 6},
                 {"kind 4", 6}});
    Texture original(Formats_Get("RGBA8"), kPictureSide, Data::Natural);
    for (const Format& format : Formats_GetAll()) {
        if (format.blockWidth == 1) continue;
        Texture texture(format, kPictureSide, Data::Natural);
        const Payload payload = texture.GetPayload();
        table.Text(format.name);
        table.Number(GetPsnr(format, Decode(format, payload), original.GetPayload()));
        if (format.container != Container::Astc && format.name != "EAC-R11") {
            Shares shares{};
            const std::size_t blockCount = payload.size() / format.blockBytes;
            for (std::size_t i = 0; i < blockCount; ++i)
                shares[GetKind(format, &payload[i * format.blockBytes])] += 1;
            for (const double share : shares)
                table.Number(100 * share / static_cast<double>(blockCount));
        }
        table.EndRow();
    }
}

}  // namespace koru_bench
