#include "core/pixel_vectors_sse41.h"
#include "formats/expand_kernels.h"
#include "formats/expand_rows.h"

namespace koru {

constinit const ExpandKernels kSse41ExpandKernels =
    VectorExpandRows<Sse41Pixels, kScalarExpandKernels>::kTable;

}  // namespace koru
