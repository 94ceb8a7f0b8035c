// Surfaces for unit tests.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "core/decode_surface.h"

namespace koru {

/// Fills a surface; `bytes` are its pixels.
inline void Test_FillSurface(DecodeSurface& surface, std::uint32_t width, std::uint32_t height,
                             std::uint32_t bytesPerPixel, const std::vector<std::uint8_t>& bytes) {
    ASSERT_TRUE(Surface_SetLayout(surface, width, height, bytesPerPixel));
    ASSERT_EQ(surface.dataSize, bytes.size());
    surface.pixels = ByteBuffer::Allocate(surface.dataSize);
    ASSERT_TRUE(surface.pixels);
    std::copy(bytes.begin(), bytes.end(), surface.pixels.Data());
}

inline std::vector<std::uint8_t> Test_GetBytes(const ByteBuffer& buffer) {
    return {buffer.Data(), buffer.Data() + buffer.Size()};
}

}  // namespace koru
