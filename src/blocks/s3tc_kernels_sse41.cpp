#include <cstddef>
#include <cstdint>

#include "blocks/s3tc_kernels.h"
#include "blocks/s3tc_vector.h"
#include "core/vectors_sse41.h"

namespace koru {
namespace {

using s3tc::LaneBytes;

/// By the indices of a row of a block: where the bytes of its RGBA colors are in the palette.
struct ColorShuffles {
    LaneBytes rows[256];
};
constexpr ColorShuffles kColorShuffles = [] {
    ColorShuffles shuffles{};
    for (unsigned indices = 0; indices < 256; ++indices) {
        for (unsigned i = 0; i < 16; ++i) {
            const unsigned color = indices >> i / 4 * 2 & 3;
            shuffles.rows[indices].values[i] = static_cast<std::uint8_t>(color * 4 + i % 4);
        }
    }
    return shuffles;
}();

struct Sse41 : Sse41Vectors {
    static const S3tcKernels& GetTableBelow() noexcept { return kS3tcScalarKernels; }

    static Vector LoadLanes(const std::uint8_t* source, std::size_t /*distance*/) noexcept {
        return Load(source);
    }

    /// Of a group's pixels; a byte for each row of a block.
    class ColorIndices {
      public:
        ColorIndices(Vector /*words*/, const std::uint8_t* first, std::size_t blockBytes) noexcept
            : first_(first), blockBytes_(blockBytes) {}

        [[nodiscard]] Vector Pick(Vector palette, std::size_t block,
                                  std::size_t row) const noexcept {
            const std::uint8_t indices = first_[block * blockBytes_ + row];
            return Shuffle(palette, s3tc::Repeat<Sse41>(kColorShuffles.rows[indices]));
        }

      private:
        const std::uint8_t* first_;
        std::size_t blockBytes_;
    };
};

}  // namespace

constinit const S3tcKernels kS3tcSse41Kernels{
    .dxt1Rgba = s3tc::DecodeRow<Sse41, s3tc::Dxt1<Sse41, kRgbaBytes>>,
    .dxt1Rgb = s3tc::DecodeRow<Sse41, s3tc::Dxt1<Sse41, kRgbBytes>>,
    .dxt3Rgba = s3tc::DecodeRow<Sse41, s3tc::DxtWithAlpha<Sse41, S3tcMode::Dxt3>>,
    .dxt5Rgba = s3tc::DecodeRow<Sse41, s3tc::DxtWithAlpha<Sse41, S3tcMode::Dxt5>>,
    .bc4Rgba = s3tc::DecodeRow<Sse41, s3tc::Bc4<Sse41>>,
    .bc5Rgba = s3tc::DecodeRow<Sse41, s3tc::Bc5<Sse41>>,
};

}  // namespace koru
