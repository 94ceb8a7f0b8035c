// What Vulkan format numbers mean, in terms of OpenGL formats.
#pragma once

#include <cstdint>

#include "formats/gl_formats.h"

namespace koru {

/// The size of a VkFormat; kGlUnknownSize for a number without one.
[[nodiscard]] GlFormatSize Vk_GetFormatSize(std::uint32_t vkFormat) noexcept;

/// The GL internal format that has the pixels of a VkFormat; GL_INVALID_VALUE if there is none.
[[nodiscard]] std::uint32_t Vk_ToGlInternalFormat(std::uint32_t vkFormat) noexcept;

}  // namespace koru
