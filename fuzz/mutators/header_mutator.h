// Mutation of files that begin with a header of little-endian fields: most mutants keep their
// identifier, a small size and a payload that about fits it, so that they get past the first
// checks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>

using FuzzRandom = std::minstd_rand;

/// What a field means for its mutation.
enum class FuzzFieldKind : std::uint8_t {
    Any,     ///< Nothing; it gets odd numbers.
    Extent,  ///< Pixels; stays small most of the time.
    Code,    ///< One of the layout's codes most of the time.
};

struct FuzzField {
    std::uint8_t offset;
    std::uint8_t byteCount;  ///< 1 to 8.
    FuzzFieldKind kind;
    std::span<const std::uint64_t> codes{};  ///< For Code.
};

/// A file's bytes in the fuzzer's buffer.
struct FuzzFile {
    std::uint8_t* data;
    std::size_t size;
    std::size_t maxSize;

    [[nodiscard]] std::uint64_t Load(std::size_t offset, std::size_t byteCount) const;
    /// Nothing where the file ends before.
    void Store(std::size_t offset, std::size_t byteCount, std::uint64_t value) const;
    /// New bytes are taken from those before them, so that they are not all alike.
    void Resize(std::size_t newSize);
};

struct FuzzHeaderLayout {
    std::size_t headerBytes;
    std::size_t identifierOffset;
    std::span<const std::uint8_t> identifier;
    std::span<const FuzzField> fields;
    /// Makes the file's size, and the fields that tell it, fit a payload for its extents.
    void (*fitPayload)(FuzzFile& file, FuzzRandom& random);
};

/// Bytes of a payload that a reader may ask for with these extents: packed pixels or blocks, at
/// times some more or fewer.
std::size_t Fuzz_GuessPayloadBytes(std::uint64_t width, std::uint64_t height, FuzzRandom& random);

/// A mutation in place; the new size.
std::size_t Fuzz_MutateFile(const FuzzHeaderLayout& layout, FuzzFile file, FuzzRandom& random);
