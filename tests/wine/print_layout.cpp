// Prints the layout of the records that cross the bridge; compiled with CHECK_LAYOUT, compares it.
#include <astcenc.h>

#include <cstddef>
#include <cstdio>

#if defined(CHECK_LAYOUT)
#include "layout_native.h"
#else
#define PRINT_SIZE(type) std::printf("static_assert(sizeof(" #type ") == %zu);\n", sizeof(type))
#define PRINT_OFFSET(type, field) \
    std::printf("static_assert(offsetof(" #type ", " #field ") == %zu);\n", offsetof(type, field))

int main() {
    PRINT_SIZE(astcenc_error);
    PRINT_SIZE(astcenc_profile);
    PRINT_SIZE(astcenc_swizzle);
    PRINT_SIZE(astcenc_config);
    PRINT_OFFSET(astcenc_config, flags);
    PRINT_OFFSET(astcenc_config, block_z);
    PRINT_OFFSET(astcenc_config, cw_a_weight);
    PRINT_OFFSET(astcenc_config, rgbm_m_scale);
    PRINT_OFFSET(astcenc_config, tune_db_limit);
    PRINT_SIZE(astcenc_image);
    PRINT_OFFSET(astcenc_image, dim_z);
    PRINT_OFFSET(astcenc_image, data_type);
    PRINT_OFFSET(astcenc_image, data);
    return 0;
}
#endif
