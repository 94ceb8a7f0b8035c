// What the context of the ASTC codec costs.
#pragma once

#include <ostream>

namespace koru_bench {

void Astc_Run(std::ostream& out);

}  // namespace koru_bench
