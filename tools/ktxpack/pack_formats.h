// The formats by name: what the two generations of KTX call them, and how to make their blocks.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "pack_texels.h"

namespace koru_ktxpack {

/// What the header of KTX 1.1 says; numbers of the OpenGL registry.
struct GlDescription {
    std::uint32_t type = 0;
    std::uint32_t typeSize = 1;
    std::uint32_t format = 0;
    std::uint32_t internalFormat = 0;
    std::uint32_t baseInternalFormat = 0;
};

/// A bit range of a block and what it holds; numbers of the Khronos Data Format Specification.
struct SampleDescription {
    std::uint32_t bitOffset = 0;
    std::uint32_t bitCount = 0;
    std::uint32_t channel = 0;  ///< with qualifiers
    std::uint32_t upper = 0;    ///< the bits of the value that means 1.0
};

/// What the header and the data format descriptor of KTX 2.0 say.
struct VkDescription {
    std::uint32_t format = 0;  ///< 0: KTX 2.0 has no such format
    std::uint32_t colorModel = 0;
    bool isSrgb = false;
    std::span<const SampleDescription> samples;
};

struct PackFormat {
    std::string_view name;
    std::uint32_t blockWidth = 1;
    std::uint32_t blockHeight = 1;
    std::uint32_t blockBytes = 0;
    GlDescription gl;
    VkDescription vk;
    BlockEncoder encode = nullptr;  ///< null: blocks come from elsewhere
};

/// Those that pictures can be packed in.
std::span<const PackFormat> Formats_GetAll();

/// Null for an unknown name.
const PackFormat* Formats_Find(std::string_view name);

/// ASTC of a 2D footprint; null for sizes that have no format.
const PackFormat* Formats_FindAstc(std::uint32_t blockWidth, std::uint32_t blockHeight);

}  // namespace koru_ktxpack
