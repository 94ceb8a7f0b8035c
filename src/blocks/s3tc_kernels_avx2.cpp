#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "blocks/s3tc_kernels.h"
#include "blocks/s3tc_vector.h"

namespace koru {
namespace {

using s3tc::kGroupVectors;
using s3tc::LaneBytes;
using s3tc::LaneWords;

/// One number for each 32-bit word of a vector.
struct Words32 {
    alignas(32) std::int32_t values[8];
};

/// By row: where the 2-bit indices of its four pixels are.
constexpr Words32 kIndexShifts[kBlockSide]{
    {{0, 2, 4, 6, 0, 2, 4, 6}},
    {{8, 10, 12, 14, 8, 10, 12, 14}},
    {{16, 18, 20, 22, 16, 18, 20, 22}},
    {{24, 26, 28, 30, 24, 26, 28, 30}},
};

struct Avx2 {
    using Vector = __m256i;

    static const S3tcKernels& GetTableBelow() noexcept { return kS3tcSse41Kernels; }

    static Vector Load(const void* source) noexcept {
        return _mm256_loadu_si256(static_cast<const Vector*>(source));
    }
    /// The second lane from `distance` bytes behind the first.
    static Vector LoadLanes(const std::uint8_t* source, std::size_t distance) noexcept {
        return _mm256_inserti128_si256(_mm256_castsi128_si256(LoadLane(source)),
                                       LoadLane(source + distance), 1);
    }
    /// Blocks of 8 bytes: 0 and 2 in the first lane, 1 and 3 in the second.
    static Vector LoadHalves(const std::uint8_t* blocks) noexcept {
        return _mm256_permute4x64_epi64(Load(blocks), 0xD8);
    }
    static void Store(std::uint8_t* target, Vector a) noexcept {
        _mm256_storeu_si256(reinterpret_cast<Vector*>(target), a);
    }
    /// The second lane `distance` bytes behind the first.
    static void StoreLanes(std::uint8_t* target, std::size_t distance, Vector a) noexcept {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target), _mm256_castsi256_si128(a));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + distance),
                         _mm256_extracti128_si256(a, 1));
    }
    static Vector Zero() noexcept { return _mm256_setzero_si256(); }
    static Vector Repeat(const LaneBytes& lane) noexcept { return RepeatLane(lane.values); }
    static Vector Repeat(const LaneWords& lane) noexcept { return RepeatLane(lane.values); }

    static Vector And(Vector a, Vector b) noexcept { return _mm256_and_si256(a, b); }
    static Vector Or(Vector a, Vector b) noexcept { return _mm256_or_si256(a, b); }
    static Vector Add16(Vector a, Vector b) noexcept { return _mm256_add_epi16(a, b); }
    static Vector MulHigh16(Vector a, Vector b) noexcept { return _mm256_mulhi_epu16(a, b); }
    static Vector SumProducts(Vector a, Vector b) noexcept { return _mm256_maddubs_epi16(a, b); }
    static Vector Average8(Vector a, Vector b) noexcept { return _mm256_avg_epu8(a, b); }
    static Vector Max16(Vector a, Vector b) noexcept { return _mm256_max_epu16(a, b); }
    static Vector IsEqual16(Vector a, Vector b) noexcept { return _mm256_cmpeq_epi16(a, b); }
    static Vector IsGreater16(Vector a, Vector b) noexcept { return _mm256_cmpgt_epi16(a, b); }
    static Vector Pack16(Vector a, Vector b) noexcept { return _mm256_packus_epi16(a, b); }
    static Vector Shuffle(Vector a, Vector b) noexcept { return _mm256_shuffle_epi8(a, b); }
    static Vector UnpackLow8(Vector a, Vector b) noexcept { return _mm256_unpacklo_epi8(a, b); }
    static Vector UnpackHigh8(Vector a, Vector b) noexcept { return _mm256_unpackhi_epi8(a, b); }
    static Vector UnpackLow16(Vector a, Vector b) noexcept { return _mm256_unpacklo_epi16(a, b); }
    static Vector UnpackHigh16(Vector a, Vector b) noexcept { return _mm256_unpackhi_epi16(a, b); }
    static Vector UnpackLow64(Vector a, Vector b) noexcept { return _mm256_unpacklo_epi64(a, b); }
    static Vector UnpackHigh64(Vector a, Vector b) noexcept { return _mm256_unpackhi_epi64(a, b); }
    static Vector Select(Vector mask, Vector a, Vector b) noexcept {
        return _mm256_blendv_epi8(b, a, mask);
    }
    template <int Bits>
    static Vector ShiftLeft16(Vector a) noexcept {
        return _mm256_slli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector ShiftRight16(Vector a) noexcept {
        return _mm256_srli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector ShiftRightSigned32(Vector a) noexcept {
        return _mm256_srai_epi32(a, Bits);
    }
    /// Words of `b` where the mask, of a lane, has bits.
    template <int Mask>
    static Vector Blend32(Vector a, Vector b) noexcept {
        return _mm256_blend_epi32(a, b, Mask * 0x11);
    }
    static Vector Even32(Vector a, Vector b) noexcept {
        return _mm256_castps_si256(
            _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0x88));
    }
    static Vector Odd32(Vector a, Vector b) noexcept {
        return _mm256_castps_si256(
            _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0xDD));
    }

    /// Of a group's pixels; 2 bits each.
    class ColorIndices {
      public:
        ColorIndices(Vector words, const std::uint8_t* /*first*/,
                     std::size_t /*blockBytes*/) noexcept
            : words_{_mm256_shuffle_epi32(words, 0x00), _mm256_shuffle_epi32(words, 0x55),
                     _mm256_shuffle_epi32(words, 0xAA), _mm256_shuffle_epi32(words, 0xFF)} {}

        [[nodiscard]] Vector Pick(Vector palettes, std::size_t vector,
                                  std::size_t row) const noexcept {
            const Vector indices =
                _mm256_srlv_epi32(words_[vector], Load(kIndexShifts[row].values));
            return _mm256_castps_si256(
                _mm256_permutevar_ps(_mm256_castsi256_ps(palettes), indices));
        }

      private:
        Vector words_[kGroupVectors];
    };

  private:
    static __m128i LoadLane(const void* lane) noexcept {
        return _mm_loadu_si128(static_cast<const __m128i*>(lane));
    }
    static Vector RepeatLane(const void* lane) noexcept {
        return _mm256_broadcastsi128_si256(LoadLane(lane));
    }
};

}  // namespace

constinit const S3tcKernels kS3tcAvx2Kernels{
    .dxt1Rgba = s3tc::DecodeRow<Avx2, s3tc::Dxt1<Avx2, kRgbaBytes>>,
    .dxt1Rgb = s3tc::DecodeRow<Avx2, s3tc::Dxt1<Avx2, kRgbBytes>>,
    .dxt3Rgba = s3tc::DecodeRow<Avx2, s3tc::DxtWithAlpha<Avx2, S3tcMode::Dxt3>>,
    .dxt5Rgba = s3tc::DecodeRow<Avx2, s3tc::DxtWithAlpha<Avx2, S3tcMode::Dxt5>>,
    .bc4Rgba = s3tc::DecodeRow<Avx2, s3tc::Bc4<Avx2>>,
    .bc5Rgba = s3tc::DecodeRow<Avx2, s3tc::Bc5<Avx2>>,
};

}  // namespace koru
