// Whether the natural pictures are what they claim to be.
#pragma once

#include <ostream>

namespace koru_bench {

/// Prints how close each compressed picture is to its original, and which kinds of blocks it has.
void Quality_Check(std::ostream& out);

}  // namespace koru_bench
