// Vectors for the kernel files of SSE4.1, and for no others.
#pragma once

#include "core/lane_vectors_x86.h"

namespace koru {

/// Each room's own operations are added by what it derives from this.
struct Sse41Vectors : LaneVectors<Sse41Vectors> {};

}  // namespace koru
