// Owned bytes of the general-purpose heap: file contents, payloads, pixels.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

namespace koru {

/// Bytes from the malloc family. Moved, never shared; an empty buffer owns nothing.
///
/// kSlackBytes zeroed bytes follow the last one, so that reading a whole 32-bit pixel whose first
/// three bytes lie inside stays inside the allocation. They do not count as size.
class ByteBuffer {
  public:
    static constexpr std::uint32_t kSlackBytes = 4;

    constexpr ByteBuffer() noexcept = default;
    ByteBuffer(ByteBuffer&& other) noexcept
        : bytes_(std::move(other.bytes_)), size_(std::exchange(other.size_, 0)) {}
    ByteBuffer& operator=(ByteBuffer&& other) noexcept {
        bytes_ = std::move(other.bytes_);
        size_ = std::exchange(other.size_, 0);
        return *this;
    }

    /// `size` bytes with undefined contents; empty if size is 0 or there is no memory.
    [[nodiscard]] static ByteBuffer Allocate(std::uint32_t size) noexcept;

    /// `size` zero bytes; empty if size is 0 or there is no memory.
    [[nodiscard]] static ByteBuffer AllocateZeroed(std::uint32_t size) noexcept;

    explicit operator bool() const noexcept { return bytes_ != nullptr; }
    [[nodiscard]] std::uint8_t* Data() noexcept { return bytes_.get(); }
    [[nodiscard]] const std::uint8_t* Data() const noexcept { return bytes_.get(); }
    [[nodiscard]] std::uint32_t Size() const noexcept { return size_; }

    /// Gives memory behind the first `size` bytes back; a size of 0 or one not below the buffer's
    /// changes nothing. The bytes stay, and new slack follows them.
    void Shrink(std::uint32_t size) noexcept;

    void Reset() noexcept { *this = ByteBuffer(); }

    /// Gives the bytes away; the receiver frees them with std::free.
    [[nodiscard]] std::uint8_t* Release() noexcept {
        size_ = 0;
        return bytes_.release();
    }

  private:
    struct Free {
        void operator()(std::uint8_t* bytes) const noexcept { std::free(bytes); }
    };

    /// Owns `bytes` of the malloc family; null gives an empty buffer.
    static ByteBuffer Adopt(void* bytes, std::uint32_t size) noexcept;

    std::unique_ptr<std::uint8_t, Free> bytes_;
    std::uint32_t size_ = 0;
};

}  // namespace koru
