// Fields out of a fuzzer's input, front to back. What is missing reads as 0.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

class ByteReader {
  public:
    ByteReader(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {}

    [[nodiscard]] bool IsAtEnd() const { return bytes_.empty(); }

    std::uint8_t Byte() {
        if (bytes_.empty()) return 0;
        const std::uint8_t value = bytes_.front();
        bytes_ = bytes_.subspan(1);
        return value;
    }
    std::uint16_t Le16() {
        const unsigned low = Byte();
        return static_cast<std::uint16_t>(low | unsigned{Byte()} << 8);
    }
    std::uint32_t Le32() {
        const std::uint32_t low = Le16();
        return low | std::uint32_t{Le16()} << 16;
    }
    /// The next `count` bytes, or all that are left.
    std::span<const std::uint8_t> Take(std::size_t count) {
        const auto taken = bytes_.first(std::min(count, bytes_.size()));
        bytes_ = bytes_.subspan(taken.size());
        return taken;
    }
    std::span<const std::uint8_t> Rest() { return Take(bytes_.size()); }

    /// One of the values of an array that is not empty.
    template <typename Values>
    auto Pick(const Values& values) {
        return values[Byte() % std::size(values)];
    }

  private:
    std::span<const std::uint8_t> bytes_;
};
