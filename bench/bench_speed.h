// The main table: kernels and whole loads beside the limits of memory and of the page cache.
#pragma once

#include <ostream>

namespace koru_bench {

void Speed_Run(std::ostream& out);

}  // namespace koru_bench
