// Files in the making: little-endian numbers at the end of a growing block of bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "pack_texture.h"

namespace koru_ktxpack {

inline void Bytes_Append32(Bytes& bytes, std::uint64_t value) {
    for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

inline void Bytes_Append64(Bytes& bytes, std::uint64_t value) {
    Bytes_Append32(bytes, value);
    Bytes_Append32(bytes, value >> 32);
}

inline void Bytes_Append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

inline void Bytes_PadTo(Bytes& bytes, std::size_t alignment) {
    while (bytes.size() % alignment != 0) bytes.push_back(0);
}

/// One key and its value, both with a NUL behind them; both generations of KTX store it alike.
inline void Bytes_AppendKeyAndValue(Bytes& bytes, std::string_view key, std::string_view value) {
    Bytes_Append32(bytes, key.size() + 1 + value.size() + 1);
    for (const std::string_view text : {key, value}) {
        bytes.insert(bytes.end(), text.begin(), text.end());
        bytes.push_back(0);
    }
    Bytes_PadTo(bytes, 4);
}

}  // namespace koru_ktxpack
