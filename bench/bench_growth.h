// How loads grow with the picture: time and peak memory for each pixel.
#pragma once

#include <ostream>

namespace koru_bench {

void Growth_Run(std::ostream& out);

}  // namespace koru_bench
