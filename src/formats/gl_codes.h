// OpenGL enumerants, with the Khronos registry's names and values.
#pragma once

#include <cstdint>

namespace koru {

// The fixed type makes any value from a file legal to hold.
enum GlCode : std::uint32_t {
    GL_RGB5 = 0x8050,
    GL_RGBA4 = 0x8056,
    GL_RGB5_A1 = 0x8057,
    GL_RGB10_A2 = 0x8059,
    GL_R11F_G11F_B10F = 0x8C3A,
    GL_RGB9_E5 = 0x8C3D,
    GL_RGB565 = 0x8D62,
    GL_RGB10_A2UI = 0x906F,
};

}  // namespace koru
