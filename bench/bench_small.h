// Small files: what a load costs before its pixels count.
#pragma once

#include <ostream>

namespace koru_bench {

void Small_Run(std::ostream& out);

}  // namespace koru_bench
