#include "wrap_plan.h"

#include <lz4.h>

#include <algorithm>

#include "byte_reader.h"
#include "wrapper_builder.h"

namespace {

using Span = std::span<const std::uint8_t>;

/// Few bytes stay few, many grow many.
constexpr int kMostWrappers = 10;

Bytes CompressInLz4(Span bytes) {
    const int size = static_cast<int>(bytes.size());
    Bytes block(static_cast<std::size_t>(LZ4_compressBound(size)));
    const int count = LZ4_compress_default(reinterpret_cast<const char*>(bytes.data()),
                                           reinterpret_cast<char*>(block.data()), size,
                                           static_cast<int>(block.size()));
    block.resize(static_cast<std::size_t>(std::max(count, 0)));
    return block;
}

/// A block that tells its first byte by a literal, and the rest by matches at a distance of one,
/// which may even say less than the bytes were.
Bytes RepeatInLz4(Span bytes, std::uint8_t amount) {
    const Bytes first(bytes.begin(), bytes.begin() + (bytes.empty() ? 0 : 1));
    const Bytes last(5, bytes.empty() ? std::uint8_t{0} : bytes.back());
    return Lz4Builder()
        .Sequence(first, amount % 4u, 4 + std::max<std::size_t>(bytes.size(), 16) - 16 + amount)
        .Finish(last);
}

WrapperChunk MakeChunk(ByteReader& plan, Span bytes) {
    const unsigned way = plan.Byte() % 4;
    const unsigned lie = plan.Byte() % 16;
    const std::uint8_t amount = plan.Byte();
    WrapperChunk chunk;
    switch (way) {
        case 0:
            chunk.data = Test_StoreInLz4({bytes.begin(), bytes.end()});
            break;
        case 1:
        case 2:
            chunk.data = CompressInLz4(bytes);
            break;
        default:
            chunk.data = RepeatInLz4(bytes, amount);
            break;
    }
    chunk.compressedBytes = static_cast<std::uint32_t>(chunk.data.size());
    chunk.decompressedBytes = static_cast<std::uint32_t>(bytes.size());
    chunk.unread = amount;
    switch (lie) {
        case 1:
            chunk.decompressedBytes += amount;
            break;
        case 2:
            chunk.decompressedBytes -= std::min<std::uint32_t>(amount, chunk.decompressedBytes);
            break;
        case 3:
            chunk.decompressedBytes = std::uint32_t{amount} << 24;
            break;
        case 4:
            chunk.decompressedBytes = std::uint32_t{amount} << 12;
            break;
        case 5:
            chunk.compressedBytes += amount;
            break;
        case 6:
            chunk.compressedBytes -= std::min<std::uint32_t>(amount, chunk.compressedBytes);
            break;
        case 7:
            chunk.compressedBytes = 0;
            break;
        case 8:
            chunk.compressedBytes = 0xFFFFFFFFu - amount;
            break;
        case 9:
            chunk.tag1 += amount;
            break;
        case 10:
            chunk.tag2 += amount;
            break;
        case 11:
            if (!chunk.data.empty()) chunk.data[amount % chunk.data.size()] ^= 0x40;
            break;
        default:
            break;
    }
    return chunk;
}

Bytes WrapOnce(ByteReader& plan, Span file) {
    const unsigned head = plan.Byte();
    WrapperBuilder wrapper;
    // Counts that are told as they are, most of the time.
    const std::size_t chunkCount = head % (kWrapPlanChunks + 1);
    if (head >= 0xF0) wrapper.ToldCount(head & 0x0F);
    for (std::size_t i = 0; i < kWrapPlanChunks; ++i) {
        if (i >= chunkCount) {
            static_cast<void>(plan.Take(3));
            continue;
        }
        // Even parts; the last chunk holds what is left.
        const std::size_t part = i + 1 < chunkCount ? file.size() / (chunkCount - i) : file.size();
        wrapper.Chunk(MakeChunk(plan, file.first(part)));
        file = file.subspan(part);
    }
    return wrapper.Build();
}

}  // namespace

Bytes Fuzz_Wrap(Span planBytes, Span file) {
    ByteReader plan(planBytes.data(), planBytes.size());
    const int wrapperCount = plan.Byte() % (kMostWrappers + 1);
    Bytes wrapped(file.begin(), file.end());
    for (int i = 0; i < wrapperCount; ++i) {
        wrapped = static_cast<std::size_t>(i) < kWrapPlanLayers ? WrapOnce(plan, wrapped)
                                                                : Test_WrapDeep(wrapped, 1);
    }
    return wrapped;
}
