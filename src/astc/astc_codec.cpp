#include "astc/astc_codec.h"

#include <astcenc.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <type_traits>

#include "core/bytes.h"

namespace koru {
namespace {

/// More than a context of any footprint takes (below 33 MiB in 4.2). Above 32 MiB the allocation is
/// mapped and unmapped on its own and leaves the heap's tuning alone.
constexpr std::size_t kContextBytesBound = std::size_t{67} << 19;

constexpr float kQuality = 60.0f;  // the codec's medium preset; decoding does not depend on it
constexpr unsigned kThreadCount = 1;

/// astcenc_context_alloc of any release: from 5.4 on it takes a parent context as well.
template <typename Allocate>
astcenc_error AllocateContext(Allocate allocate, const astcenc_config& config,
                              astcenc_context** context) {
    if constexpr (std::is_invocable_v<Allocate, const astcenc_config*, unsigned,
                                      astcenc_context**>) {
        return allocate(&config, kThreadCount, context);
    } else {
        return allocate(&config, kThreadCount, context, nullptr);
    }
}

/// Whether a context will find its memory. The codec does not check its largest allocation and
/// leaks when a later one fails, so it is asked only if all of them will succeed.
bool HasContextMemory() noexcept {
    void* probe = std::malloc(kContextBytesBound);
    if (probe == nullptr) return false;
    // Through volatile, or the compiler drops an allocation that nobody uses.
    *static_cast<volatile std::uint8_t*>(probe) = 0;
    std::free(probe);
    return true;
}

constexpr std::size_t DivideUp(std::size_t value, std::size_t divisor) noexcept {
    return (value + divisor - 1) / divisor;
}

}  // namespace

void AstcRows::ContextDeleter::operator()(astcenc_context* context) const noexcept {
    astcenc_context_free(context);
}

AstcRows::AstcRows(std::span<const std::uint8_t> payload, std::uint32_t width, std::uint32_t height,
                   const AstcFootprint& footprint) noexcept
    : payload_(payload), width_(width), footprint_(footprint) {
    rowBytes = width * kRgbaBytes;
    rowCount = height;
    rowStep = std::max(footprint.height, 1u);
}

AstcDecodeResult AstcRows::Configure(astcenc_config& config) noexcept {
    if (payload_.empty() || width_ == 0 || rowCount == 0) return AstcDecodeResult::Refused;
    if (astcenc_config_init(ASTCENC_PRF_LDR, footprint_.width, footprint_.height, footprint_.depth,
                            kQuality, 0, &config) != ASTCENC_SUCCESS) {
        return AstcDecodeResult::Refused;
    }
    const std::size_t blockCount =
        DivideUp(width_, footprint_.width) * DivideUp(rowCount, footprint_.height);
    if (payload_.size() / kAstcBlockBytes < blockCount) return AstcDecodeResult::Refused;
    return HasContextMemory() ? AstcDecodeResult::Decoded : AstcDecodeResult::OutOfMemory;
}

bool AstcRows::CanDecode() noexcept {
    astcenc_config config{};
    result_ = Configure(config);
    return result_ == AstcDecodeResult::Decoded;
}

AstcDecodeResult AstcRows::Open() {
    astcenc_config config{};
    const AstcDecodeResult configured = Configure(config);
    if (configured != AstcDecodeResult::Decoded) return configured;
    astcenc_context* context = nullptr;
    const astcenc_error allocated = AllocateContext(&astcenc_context_alloc, config, &context);
    if (allocated == ASTCENC_ERR_OUT_OF_MEM) return AstcDecodeResult::OutOfMemory;
    if (allocated != ASTCENC_SUCCESS) return AstcDecodeResult::Refused;
    context_.reset(context);
    return AstcDecodeResult::Decoded;
}

AstcDecodeResult AstcRows::Decode(std::uint32_t firstRow, std::uint32_t count,
                                  std::uint8_t* target) {
    if (context_ == nullptr) {
        const AstcDecodeResult opened = Open();
        if (opened != AstcDecodeResult::Decoded) return opened;
    }
    const std::size_t blocksAbove =
        DivideUp(width_, footprint_.width) * (firstRow / footprint_.height);
    const auto blocks = payload_.subspan(blocksAbove * kAstcBlockBytes);

    void* slice = target;
    astcenc_image image{};
    image.dim_x = width_;
    image.dim_y = count;
    image.dim_z = 1;
    image.data_type = ASTCENC_TYPE_U8;
    image.data = &slice;
    const astcenc_swizzle identity{ASTCENC_SWZ_R, ASTCENC_SWZ_G, ASTCENC_SWZ_B, ASTCENC_SWZ_A};
    return astcenc_decompress_image(context_.get(), blocks.data(), blocks.size(), &image, &identity,
                                    0) == ASTCENC_SUCCESS
               ? AstcDecodeResult::Decoded
               : AstcDecodeResult::Refused;
}

bool AstcRows::DecodeRows(std::uint32_t firstRow, std::uint32_t count,
                          std::uint8_t* target) noexcept {
    try {
        result_ = Decode(firstRow, count, target);
    } catch (...) {
        // The codec's own allocations throw; nothing else in it does.
        result_ = AstcDecodeResult::OutOfMemory;
    }
    return result_ == AstcDecodeResult::Decoded;
}

AstcDecodeResult Astc_DecodeBlocks(std::span<const std::uint8_t> payload, std::uint32_t width,
                                   std::uint32_t height, const AstcFootprint& footprint,
                                   std::uint8_t* pixels) noexcept {
    if (pixels == nullptr) return AstcDecodeResult::Refused;
    AstcRows rows(payload, width, height, footprint);
    rows.DecodeRows(0, height, pixels);
    return rows.GetResult();
}

}  // namespace koru
