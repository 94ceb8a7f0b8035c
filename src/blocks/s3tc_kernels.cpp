#include "blocks/s3tc_kernels.h"

#include "blocks/s3tc_vector.h"

namespace koru {
namespace s3tc {

constinit const LaneConstants kLanes;

}  // namespace s3tc

const S3tcKernels& S3tcKernels_Get(KernelLevel level) noexcept {
    switch (level) {
#if defined(KORU_X86_KERNELS)
        case KernelLevel::Avx2:
            return kS3tcAvx2Kernels;
        case KernelLevel::Sse41:
            return kS3tcSse41Kernels;
#endif
        default:
            return kS3tcScalarKernels;
    }
}

}  // namespace koru
