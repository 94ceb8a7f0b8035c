// Format codes as the Khronos registries spell them.
#pragma once

#include <cstdint>
#include <string_view>

namespace koru {

/// "GL_RGB8"; empty for a code without a name here.
[[nodiscard]] std::string_view Gl_GetName(std::uint32_t glFormat) noexcept;

/// "VK_FORMAT_R8G8B8_UNORM"; empty for a number without a name here.
[[nodiscard]] std::string_view Vk_GetName(std::uint32_t vkFormat) noexcept;

}  // namespace koru
