// Bytes for tests that look random and are the same every time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "test_files.h"

/// Bytes without a pattern that a wrong offset could hide in, or that a decoder would know.
inline Bytes Test_MakeNoise(std::size_t size, std::uint32_t seed = 1) {
    Bytes bytes(size);
    std::uint32_t state = seed * 2654435761u + 1;
    for (std::uint8_t& value : bytes) {
        state = state * 1664525u + 1013904223u;
        value = static_cast<std::uint8_t>(state >> 24);
    }
    return bytes;
}
