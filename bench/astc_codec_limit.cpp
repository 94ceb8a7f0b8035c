#include "astc_codec_limit.h"

#include <astcenc.h>

#include <memory>
#include <type_traits>

namespace koru_bench {
namespace {

struct ContextDeleter {
    void operator()(astcenc_context* context) const { astcenc_context_free(context); }
};
using ContextHandle = std::unique_ptr<astcenc_context, ContextDeleter>;

/// Null if the codec refuses. Releases from 5.4 on take a parent context as well.
template <typename Allocate>
ContextHandle AllocateContext(Allocate allocate, const astcenc_config& config) {
    astcenc_context* context = nullptr;
    astcenc_error result = ASTCENC_SUCCESS;
    if constexpr (std::is_invocable_v<Allocate, const astcenc_config*, unsigned,
                                      astcenc_context**>) {
        result = allocate(&config, 1u, &context);
    } else {
        result = allocate(&config, 1u, &context, nullptr);
    }
    return ContextHandle(result == ASTCENC_SUCCESS ? context : nullptr);
}

ContextHandle MakeContext(std::uint32_t blockWidth, std::uint32_t blockHeight) {
    astcenc_config config{};
    if (astcenc_config_init(ASTCENC_PRF_LDR, blockWidth, blockHeight, 1, 60.0f, 0, &config) !=
        ASTCENC_SUCCESS) {
        return nullptr;
    }
    return AllocateContext(&astcenc_context_alloc, config);
}

}  // namespace

bool AstcCodec_MakeContext(std::uint32_t blockWidth, std::uint32_t blockHeight) {
    return MakeContext(blockWidth, blockHeight) != nullptr;
}

bool AstcCodec_Decode(std::span<const std::uint8_t> payload, std::uint32_t side,
                      std::uint32_t blockWidth, std::uint32_t blockHeight, std::uint8_t* pixels) {
    const ContextHandle context = MakeContext(blockWidth, blockHeight);
    if (context == nullptr) return false;
    void* slice = pixels;
    astcenc_image image{};
    image.dim_x = side;
    image.dim_y = side;
    image.dim_z = 1;
    image.data_type = ASTCENC_TYPE_U8;
    image.data = &slice;
    const astcenc_swizzle identity{ASTCENC_SWZ_R, ASTCENC_SWZ_G, ASTCENC_SWZ_B, ASTCENC_SWZ_A};
    return astcenc_decompress_image(context.get(), payload.data(), payload.size(), &image,
                                    &identity, 0) == ASTCENC_SUCCESS;
}

}  // namespace koru_bench
