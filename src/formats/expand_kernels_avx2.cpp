#include "core/pixel_vectors_avx2.h"
#include "formats/expand_kernels.h"
#include "formats/expand_rows.h"

namespace koru {

constinit const ExpandKernels kAvx2ExpandKernels =
    VectorExpandRows<Avx2Pixels, kSse41ExpandKernels>::kTable;

}  // namespace koru
