// Writes the private container around KTX files, and LZ4 blocks by hand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ktx_builder.h"
#include "test_files.h"

/// One LZ4 block, sequence by sequence. The format wants at least 5 literals at the end, and the
/// last match to start at least 12 bytes before it.
class Lz4Builder {
  public:
    /// Literals, then `matchBytes` (4 and more) that stand `offset` bytes back.
    Lz4Builder& Sequence(const Bytes& literals, std::uint32_t offset, std::size_t matchBytes) {
        PutSequenceStart(literals, matchBytes - 4);
        Test_PutLe(block_, offset, 2);
        PutLengthRest(matchBytes - 4);
        return *this;
    }
    /// The last sequence, which has no match.
    [[nodiscard]] Bytes Finish(const Bytes& literals) {
        PutSequenceStart(literals, 0);
        return block_;
    }

  private:
    void PutSequenceStart(const Bytes& literals, std::size_t matchCode) {
        const auto nibble = [](std::size_t length) { return length < 15 ? length : 15; };
        Test_PutLe(block_, nibble(literals.size()) << 4 | nibble(matchCode), 1);
        PutLengthRest(literals.size());
        Test_Append(block_, literals);
    }
    void PutLengthRest(std::size_t length) {
        if (length < 15) return;
        for (length -= 15; length >= 255; length -= 255) block_.push_back(255);
        Test_PutLe(block_, length, 1);
    }

    Bytes block_;
};

/// A block that holds the bytes as they are.
inline Bytes Test_StoreInLz4(const Bytes& bytes) { return Lz4Builder().Finish(bytes); }

/// Header fields and bytes of a chunk; valid tags to begin with.
struct WrapperChunk {
    std::uint32_t tag1 = 0x41646170;  // "padA"
    std::uint32_t tag2 = 0x4C7A3420;  // " 4zL"
    std::uint32_t compressedBytes = 0;
    std::uint32_t decompressedBytes = 0;
    std::uint8_t unread = 0;  ///< Each byte of the last four words.
    Bytes data;
};

constexpr std::size_t kWrapperHeadBytes = 8;
constexpr std::size_t kWrapperEntryBytes = 8;
constexpr std::size_t kWrapperChunkHeadBytes = 32;

/// Starts without chunks. The table count follows from the chunks, unless it is set.
class WrapperBuilder {
  public:
    /// A chunk that holds the bytes as they are.
    WrapperBuilder& Store(const Bytes& bytes) {
        return Block(Test_StoreInLz4(bytes), static_cast<std::uint32_t>(bytes.size()));
    }
    WrapperBuilder& Block(const Bytes& block, std::uint32_t decompressedBytes) {
        WrapperChunk chunk;
        chunk.compressedBytes = static_cast<std::uint32_t>(block.size());
        chunk.decompressedBytes = decompressedBytes;
        chunk.data = block;
        return Chunk(chunk);
    }
    WrapperBuilder& Chunk(const WrapperChunk& chunk) {
        chunks_.push_back(chunk);
        return *this;
    }
    /// The table count that the file tells, whatever follows.
    WrapperBuilder& ToldCount(std::uint32_t count) {
        toldCount_ = count;
        tellsCount_ = true;
        return *this;
    }
    /// Each byte of the table.
    WrapperBuilder& TableByte(std::uint8_t value) {
        tableByte_ = value;
        return *this;
    }

    [[nodiscard]] Bytes Build() const {
        const std::size_t count = chunks_.size() + 1;
        Bytes file{'Q', 'O', 'Z', 'M'};
        Test_PutLe(file, tellsCount_ ? toldCount_ : count, 4);
        file.resize(file.size() + count * kWrapperEntryBytes, tableByte_);
        for (const WrapperChunk& chunk : chunks_) {
            Test_PutLe(file, chunk.tag1, 4);
            Test_PutLe(file, chunk.tag2, 4);
            Test_PutLe(file, chunk.compressedBytes, 4);
            Test_PutLe(file, chunk.decompressedBytes, 4);
            file.resize(file.size() + 16, chunk.unread);
            Test_Append(file, chunk.data);
        }
        return file;
    }

  private:
    std::vector<WrapperChunk> chunks_;
    std::uint32_t toldCount_ = 0;
    bool tellsCount_ = false;
    std::uint8_t tableByte_ = 0;
};

/// The file in `depth` wrappers, one within the other.
inline Bytes Test_WrapDeep(Bytes file, int depth) {
    for (int i = 0; i < depth; ++i) file = WrapperBuilder().Store(file).Build();
    return file;
}
