#include "core/byte_buffer.h"

#include <cstddef>
#include <cstring>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace koru {
namespace {

std::size_t AddSlack(std::uint32_t size) noexcept {
    return std::size_t{size} + ByteBuffer::kSlackBytes;
}

/// Asks for huge pages behind a large buffer that is written once from end to end: a quarter of the
/// time that first touches take with 4 KiB pages. Only advice; Windows has nothing like it.
void AdviseHugePages([[maybe_unused]] void* bytes, [[maybe_unused]] std::size_t size) noexcept {
#if defined(__linux__)
    // From this size on the C library always maps a buffer by itself; advice on smaller ones would
    // stick to parts of the heap and made loads slower.
    constexpr std::size_t kLarge = 32u << 20;
    constexpr std::size_t kPage = 4096;
    if (bytes == nullptr || size < kLarge) return;
    // From the first page boundary inside to the last.
    const std::size_t head = (kPage - reinterpret_cast<std::uintptr_t>(bytes) % kPage) % kPage;
    const std::size_t length = (size - head) / kPage * kPage;
    static_cast<void>(madvise(static_cast<std::uint8_t*>(bytes) + head, length, MADV_HUGEPAGE));
#endif
}

}  // namespace

ByteBuffer ByteBuffer::Allocate(std::uint32_t size) noexcept {
    ByteBuffer buffer = Adopt(size != 0 ? std::malloc(AddSlack(size)) : nullptr, size);
    if (buffer) std::memset(buffer.Data() + size, 0, kSlackBytes);
    return buffer;
}

ByteBuffer ByteBuffer::AllocateZeroed(std::uint32_t size) noexcept {
    return Adopt(size != 0 ? std::calloc(AddSlack(size), 1) : nullptr, size);
}

void ByteBuffer::Shrink(std::uint32_t size) noexcept {
    if (size == 0 || size >= size_) return;
    // A heap that cannot shrink in place may fail; the larger memory serves as well.
    std::uint8_t* bytes = bytes_.release();
    void* shrunk = std::realloc(bytes, AddSlack(size));
    bytes_.reset(shrunk != nullptr ? static_cast<std::uint8_t*>(shrunk) : bytes);
    size_ = size;
    std::memset(Data() + size, 0, kSlackBytes);
}

ByteBuffer ByteBuffer::Adopt(void* bytes, std::uint32_t size) noexcept {
    AdviseHugePages(bytes, size);
    ByteBuffer buffer;
    buffer.bytes_.reset(static_cast<std::uint8_t*>(bytes));
    buffer.size_ = bytes != nullptr ? size : 0;
    return buffer;
}

}  // namespace koru
