// How the wrapped target wraps a file: a plan of fixed length before the file itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Plan: wrappers 1, then for each of up to kWrapPlanLayers: chunk count 1, and for each of up to
/// four chunks: way to store 1, lie 1, amount of the lie 1.
inline constexpr std::size_t kWrapPlanLayers = 3;
inline constexpr std::size_t kWrapPlanChunks = 4;
inline constexpr std::size_t kWrapPlanBytes = 1 + kWrapPlanLayers * (1 + kWrapPlanChunks * 3);

/// The file in wrappers as the plan says; the innermost layers follow the plan, those around them
/// are plain.
[[nodiscard]] std::vector<std::uint8_t> Fuzz_Wrap(std::span<const std::uint8_t> plan,
                                                  std::span<const std::uint8_t> file);
