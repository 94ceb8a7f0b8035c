// Data format descriptors of KTX 2.0 files, as the Khronos Data Format Specification lays them out.
#pragma once

#include "pack_texture.h"

namespace koru_ktxpack {

/// The total size and one basic descriptor block.
Bytes Descriptor_Make(const PackFormat& format);

}  // namespace koru_ktxpack
