#include "core/pixel_kernels.h"
#include "core/pixel_rows.h"
#include "core/pixel_vectors_avx2.h"

namespace koru {

constinit const PixelKernels kAvx2PixelKernels = PixelRows<Avx2Pixels, kSse41PixelKernels>::kTable;

}  // namespace koru
