#include "core/pixel_kernels.h"
#include "core/pixel_rows.h"
#include "core/pixel_vectors_sse41.h"

namespace koru {

constinit const PixelKernels kSse41PixelKernels =
    PixelRows<Sse41Pixels, kScalarPixelKernels>::kTable;

}  // namespace koru
