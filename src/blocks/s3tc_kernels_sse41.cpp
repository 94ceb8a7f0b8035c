#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "blocks/s3tc_kernels.h"
#include "blocks/s3tc_vector.h"

namespace koru {
namespace {

using s3tc::LaneBytes;
using s3tc::LaneWords;

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

struct Sse41 {
    using Vector = __m128i;

    static const S3tcKernels& GetTableBelow() noexcept { return kS3tcScalarKernels; }

    static Vector Load(const void* source) noexcept {
        return _mm_loadu_si128(static_cast<const Vector*>(source));
    }
    static Vector LoadLanes(const std::uint8_t* source, std::size_t /*distance*/) noexcept {
        return Load(source);
    }
    static Vector LoadHalves(const std::uint8_t* blocks) noexcept { return Load(blocks); }
    static void Store(std::uint8_t* target, Vector a) noexcept {
        _mm_storeu_si128(reinterpret_cast<Vector*>(target), a);
    }
    static void StoreLanes(std::uint8_t* target, std::size_t /*distance*/, Vector a) noexcept {
        Store(target, a);
    }
    static Vector Zero() noexcept { return _mm_setzero_si128(); }
    static Vector Repeat(const LaneBytes& lane) noexcept { return Load(lane.values); }
    static Vector Repeat(const LaneWords& lane) noexcept { return Load(lane.values); }

    static Vector And(Vector a, Vector b) noexcept { return _mm_and_si128(a, b); }
    static Vector Or(Vector a, Vector b) noexcept { return _mm_or_si128(a, b); }
    static Vector Add16(Vector a, Vector b) noexcept { return _mm_add_epi16(a, b); }
    static Vector MulHigh16(Vector a, Vector b) noexcept { return _mm_mulhi_epu16(a, b); }
    static Vector SumProducts(Vector a, Vector b) noexcept { return _mm_maddubs_epi16(a, b); }
    static Vector Average8(Vector a, Vector b) noexcept { return _mm_avg_epu8(a, b); }
    static Vector Max16(Vector a, Vector b) noexcept { return _mm_max_epu16(a, b); }
    static Vector IsEqual16(Vector a, Vector b) noexcept { return _mm_cmpeq_epi16(a, b); }
    static Vector IsGreater16(Vector a, Vector b) noexcept { return _mm_cmpgt_epi16(a, b); }
    static Vector Pack16(Vector a, Vector b) noexcept { return _mm_packus_epi16(a, b); }
    static Vector Shuffle(Vector a, Vector b) noexcept { return _mm_shuffle_epi8(a, b); }
    static Vector UnpackLow8(Vector a, Vector b) noexcept { return _mm_unpacklo_epi8(a, b); }
    static Vector UnpackHigh8(Vector a, Vector b) noexcept { return _mm_unpackhi_epi8(a, b); }
    static Vector UnpackLow16(Vector a, Vector b) noexcept { return _mm_unpacklo_epi16(a, b); }
    static Vector UnpackHigh16(Vector a, Vector b) noexcept { return _mm_unpackhi_epi16(a, b); }
    static Vector UnpackLow64(Vector a, Vector b) noexcept { return _mm_unpacklo_epi64(a, b); }
    static Vector UnpackHigh64(Vector a, Vector b) noexcept { return _mm_unpackhi_epi64(a, b); }
    static Vector Select(Vector mask, Vector a, Vector b) noexcept {
        return _mm_blendv_epi8(b, a, mask);
    }
    template <int Bits>
    static Vector ShiftLeft16(Vector a) noexcept {
        return _mm_slli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector ShiftRight16(Vector a) noexcept {
        return _mm_srli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector ShiftRightSigned32(Vector a) noexcept {
        return _mm_srai_epi32(a, Bits);
    }
    /// Words of `b` where the mask has bits.
    template <int Mask>
    static Vector Blend32(Vector a, Vector b) noexcept {
        return _mm_castps_si128(_mm_blend_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), Mask));
    }
    static Vector Even32(Vector a, Vector b) noexcept {
        return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), 0x88));
    }
    static Vector Odd32(Vector a, Vector b) noexcept {
        return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), 0xDD));
    }

    /// Of a group's pixels; a byte for each row of a block.
    class ColorIndices {
      public:
        ColorIndices(Vector /*words*/, const std::uint8_t* first, std::size_t blockBytes) noexcept
            : first_(first), blockBytes_(blockBytes) {}

        [[nodiscard]] Vector Pick(Vector palette, std::size_t block,
                                  std::size_t row) const noexcept {
            const std::uint8_t indices = first_[block * blockBytes_ + row];
            return Shuffle(palette, Repeat(kColorShuffles.rows[indices]));
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
