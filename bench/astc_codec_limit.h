// The ASTC codec without the library around it.
#pragma once

#include <cstdint>
#include <span>

namespace koru_bench {

/// Makes and frees a codec context; false if the codec refuses.
bool AstcCodec_MakeContext(std::uint32_t blockWidth, std::uint32_t blockHeight);

/// The calls of a load and nothing else: config, context, decompress, free.
bool AstcCodec_Decode(std::span<const std::uint8_t> payload, std::uint32_t side,
                      std::uint32_t blockWidth, std::uint32_t blockHeight, std::uint8_t* pixels);

}  // namespace koru_bench
