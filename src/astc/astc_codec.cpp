#include "astc/astc_codec.h"

#include <astcenc.h>

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <type_traits>

namespace koru {
namespace {

struct ContextDeleter {
    void operator()(astcenc_context* context) const noexcept { astcenc_context_free(context); }
};
using ContextHandle = std::unique_ptr<astcenc_context, ContextDeleter>;

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

AstcDecodeResult Decode(std::span<const std::uint8_t> payload, std::uint32_t width,
                        std::uint32_t height, const AstcFootprint& footprint,
                        std::uint8_t* pixels) {
    astcenc_config config{};
    if (astcenc_config_init(ASTCENC_PRF_LDR, footprint.width, footprint.height, footprint.depth,
                            kQuality, 0, &config) != ASTCENC_SUCCESS) {
        return AstcDecodeResult::Refused;
    }

    if (!HasContextMemory()) return AstcDecodeResult::OutOfMemory;
    astcenc_context* rawContext = nullptr;
    const astcenc_error allocated = AllocateContext(&astcenc_context_alloc, config, &rawContext);
    if (allocated == ASTCENC_ERR_OUT_OF_MEM) return AstcDecodeResult::OutOfMemory;
    if (allocated != ASTCENC_SUCCESS) return AstcDecodeResult::Refused;
    const ContextHandle context(rawContext);

    void* slice = pixels;
    astcenc_image image{};
    image.dim_x = width;
    image.dim_y = height;
    image.dim_z = 1;
    image.data_type = ASTCENC_TYPE_U8;
    image.data = &slice;
    const astcenc_swizzle identity{ASTCENC_SWZ_R, ASTCENC_SWZ_G, ASTCENC_SWZ_B, ASTCENC_SWZ_A};
    // Here "out of memory" is the codec's word for too short a payload.
    return astcenc_decompress_image(context.get(), payload.data(), payload.size(), &image,
                                    &identity, 0) == ASTCENC_SUCCESS
               ? AstcDecodeResult::Decoded
               : AstcDecodeResult::Refused;
}

}  // namespace

AstcDecodeResult Astc_DecodeBlocks(std::span<const std::uint8_t> payload, std::uint32_t width,
                                   std::uint32_t height, const AstcFootprint& footprint,
                                   std::uint8_t* pixels) noexcept {
    if (payload.empty() || width == 0 || height == 0 || pixels == nullptr) {
        return AstcDecodeResult::Refused;
    }
    try {
        return Decode(payload, width, height, footprint, pixels);
    } catch (...) {
        // The codec's own allocations throw; nothing else in it does.
        return AstcDecodeResult::OutOfMemory;
    }
}

}  // namespace koru
