// The part of the codec's interface that the adapter uses, as of release 5.4: making a context
// takes a parent as well. Nothing here decodes.
#pragma once

#include <cstddef>
#include <cstdint>

struct astcenc_context;
enum astcenc_error { ASTCENC_SUCCESS = 0, ASTCENC_ERR_OUT_OF_MEM, ASTCENC_ERR_BAD_PARAM = 4 };
enum astcenc_profile { ASTCENC_PRF_LDR_SRGB = 0, ASTCENC_PRF_LDR };
enum astcenc_type { ASTCENC_TYPE_U8 = 0 };
enum astcenc_swz { ASTCENC_SWZ_R = 0, ASTCENC_SWZ_G, ASTCENC_SWZ_B, ASTCENC_SWZ_A };
struct astcenc_swizzle {
    astcenc_swz r, g, b, a;
};
struct astcenc_config {
    astcenc_profile profile;
};
struct astcenc_image {
    unsigned dim_x, dim_y, dim_z;
    astcenc_type data_type;
    void** data;
};

extern "C" {
astcenc_error astcenc_config_init(astcenc_profile profile, unsigned blockX, unsigned blockY,
                                  unsigned blockZ, float quality, unsigned flags,
                                  astcenc_config* config);
astcenc_error astcenc_context_alloc(const astcenc_config* config, unsigned threadCount,
                                    astcenc_context** context, const astcenc_context* parent);
astcenc_error astcenc_decompress_image(astcenc_context* context, const std::uint8_t* data,
                                       std::size_t dataBytes, astcenc_image* image,
                                       const astcenc_swizzle* swizzle, unsigned threadIndex);
void astcenc_context_free(astcenc_context* context);
}
