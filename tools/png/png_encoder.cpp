#include "png_encoder.h"

#include <cstddef>
#include <cstdlib>
#include <new>
#include <stdexcept>

// stb_image_write cannot survive a failed allocation, so its allocator throws. What it has
// allocated until then hangs in a list and is freed in one go.
namespace {

struct BlockHeader {
    BlockHeader* previous;
    BlockHeader* next;
};

constexpr std::size_t kHeaderBytes = (sizeof(BlockHeader) + alignof(std::max_align_t) - 1) /
                                     alignof(std::max_align_t) * alignof(std::max_align_t);

BlockHeader g_pngBlocks{&g_pngBlocks, &g_pngBlocks};

void Block_Link(BlockHeader* block) noexcept {
    block->previous = &g_pngBlocks;
    block->next = g_pngBlocks.next;
    block->next->previous = block;
    g_pngBlocks.next = block;
}

void Block_Unlink(BlockHeader* block) noexcept {
    block->previous->next = block->next;
    block->next->previous = block->previous;
}

BlockHeader* Block_GetHeader(void* memory) noexcept {
    return reinterpret_cast<BlockHeader*>(static_cast<unsigned char*>(memory) - kHeaderBytes);
}

void Block_Free(void* memory) noexcept {
    if (memory == nullptr) return;
    BlockHeader* block = Block_GetHeader(memory);
    Block_Unlink(block);
    std::free(block);
}

void* Block_Resize(void* memory, std::size_t bytes) {
    BlockHeader* old = memory == nullptr ? nullptr : Block_GetHeader(memory);
    if (old != nullptr) Block_Unlink(old);
    auto* block = static_cast<BlockHeader*>(std::realloc(old, bytes + kHeaderBytes));
    if (block == nullptr) {
        if (old != nullptr) Block_Link(old);
        throw std::bad_alloc();
    }
    Block_Link(block);
    return reinterpret_cast<unsigned char*>(block) + kHeaderBytes;
}

void* Block_Allocate(std::size_t bytes) { return Block_Resize(nullptr, bytes); }

struct BlockSweeper {
    BlockSweeper() = default;
    BlockSweeper(const BlockSweeper&) = delete;
    BlockSweeper& operator=(const BlockSweeper&) = delete;
    ~BlockSweeper() {
        BlockHeader* block = g_pngBlocks.next;
        while (block != &g_pngBlocks) {
            BlockHeader* next = block->next;
            std::free(block);
            block = next;
        }
        g_pngBlocks = {&g_pngBlocks, &g_pngBlocks};
    }
};

// The encoder counts in int, doubles its buffer as it grows, and may write 9 bits for 8 before it
// notices that storing is shorter: up to here none of that overflows.
constexpr std::uint64_t kPngMaxRawBytes = 1'400'000'000;

}  // namespace

#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#define STBIW_MALLOC(bytes) Block_Allocate(bytes)
#define STBIW_REALLOC(memory, bytes) Block_Resize(memory, bytes)
#define STBIW_FREE(memory) Block_Free(memory)
#include <stb_image_write.h>

namespace koru_host {

void Png_Encode(const PictureView& picture, const ByteSink& sink) {
    const std::uint64_t rowBytes = std::uint64_t{picture.width} * picture.channels;
    const std::uint64_t stride = picture.stride;
    if (picture.height == 0 || rowBytes == 0 || rowBytes + 1 > kPngMaxRawBytes / picture.height ||
        stride > kPngMaxRawBytes / picture.height) {
        throw std::length_error("the picture is too large for PNG");
    }
    const BlockSweeper sweeper;
    const auto handOver = [](void* context, void* data, int size) {
        (*static_cast<const ByteSink*>(context))(
            {static_cast<const std::uint8_t*>(data), static_cast<std::size_t>(size)});
    };
    const int written = stbi_write_png_to_func(
        handOver, const_cast<ByteSink*>(&sink), static_cast<int>(picture.width),
        static_cast<int>(picture.height), static_cast<int>(picture.channels), picture.pixels,
        static_cast<int>(stride));
    if (written == 0) throw std::bad_alloc();
}

}  // namespace koru_host
