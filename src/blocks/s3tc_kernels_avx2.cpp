#include <cstddef>
#include <cstdint>

#include "blocks/s3tc_kernels.h"
#include "blocks/s3tc_vector.h"
#include "core/vectors_avx2.h"

namespace koru {
namespace {

using s3tc::kGroupVectors;

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

struct Avx2 : Avx2Vectors {
    static const S3tcKernels& GetTableBelow() noexcept { return kS3tcSse41Kernels; }

    /// The second lane from `distance` bytes behind the first.
    static Vector LoadLanes(const std::uint8_t* source, std::size_t distance) noexcept {
        return JoinLanes(Lane::Load(source), Lane::Load(source + distance));
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
