// Windows-side entry points of the native ASTC codec. Only the calling convention changes.
#include <astcenc.h>

#include <type_traits>

#define BRIDGE extern "C" __attribute__((ms_abi))

namespace {

// The caller's frames belong to Windows: no C++ exception may reach them.
template <typename Body>
astcenc_error Bridge_Guard(Body&& body) noexcept {
    try {
        return body();
    } catch (...) {
        return ASTCENC_ERR_OUT_OF_MEM;
    }
}

// Releases from 5.4 on take a parent context as well; the bridge always passes none.
template <typename... More>
astcenc_error Bridge_Allocate(astcenc_error (*allocate)(const astcenc_config*, unsigned int,
                                                        astcenc_context**, More...),
                              const astcenc_config* config, unsigned int threadCount,
                              astcenc_context** context) {
    return allocate(config, threadCount, context, std::remove_cv_t<More>{}...);
}

}  // namespace

BRIDGE astcenc_error bridge_astcenc_config_init(astcenc_profile profile, unsigned int blockX,
                                                unsigned int blockY, unsigned int blockZ,
                                                float quality, unsigned int flags,
                                                astcenc_config* config) {
    return Bridge_Guard([&] {
        return astcenc_config_init(profile, blockX, blockY, blockZ, quality, flags, config);
    });
}

BRIDGE astcenc_error bridge_astcenc_context_alloc(const astcenc_config* config,
                                                  unsigned int threadCount,
                                                  astcenc_context** context) {
    return Bridge_Guard(
        [&] { return Bridge_Allocate(astcenc_context_alloc, config, threadCount, context); });
}

BRIDGE astcenc_error bridge_astcenc_decompress_image(astcenc_context* context, const uint8_t* data,
                                                     size_t dataLength, astcenc_image* image,
                                                     const astcenc_swizzle* swizzle,
                                                     unsigned int threadIndex) {
    return Bridge_Guard([&] {
        return astcenc_decompress_image(context, data, dataLength, image, swizzle, threadIndex);
    });
}

BRIDGE astcenc_error bridge_astcenc_decompress_reset(astcenc_context* context) {
    return Bridge_Guard([&] { return astcenc_decompress_reset(context); });
}

BRIDGE void bridge_astcenc_context_free(astcenc_context* context) { astcenc_context_free(context); }

BRIDGE const char* bridge_astcenc_get_error_string(astcenc_error status) {
    return astcenc_get_error_string(status);
}
