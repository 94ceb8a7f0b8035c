// Writes KTX 1.1 and KTX 2.0 files for tests, field by field.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <numeric>
#include <string_view>
#include <utility>
#include <vector>

#include "test_files.h"

/// Appends the low bytes of `value`, lowest first.
inline void Test_PutLe(Bytes& bytes, std::uint64_t value, unsigned byteCount) {
    for (unsigned i = 0; i < byteCount; ++i) {
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

/// Replaces bytes from `offset` on by the low bytes of `value`, lowest first.
inline void Test_PokeLe(Bytes& bytes, std::size_t offset, std::uint64_t value, unsigned byteCount) {
    for (unsigned i = 0; i < byteCount; ++i) {
        bytes.at(offset + i) = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

inline void Test_Append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

inline void Test_AlignTo(Bytes& bytes, std::size_t alignment) {
    while (bytes.size() % alignment != 0) bytes.push_back(0);
}

/// One key/value pair of either version: the size of key and value, the key with its zero, the
/// value with its own, zeros up to a multiple of 4.
inline Bytes Test_KeyValuePair(std::string_view key, std::string_view value) {
    const std::size_t byteCount = key.size() + 1 + value.size() + 1;
    Bytes pair((4 + byteCount + 3) / 4 * 4);
    Test_PokeLe(pair, 0, byteCount, 4);
    const auto keyEnd = std::copy(key.begin(), key.end(), pair.begin() + 4);
    std::copy(value.begin(), value.end(), keyEnd + 1);
    return pair;
}

/// The header's 32-bit fields, by their offset.
enum class Ktx1Field : std::size_t {
    Endianness = 12,
    GlType = 16,
    GlTypeSize = 20,
    GlFormat = 24,
    GlInternalFormat = 28,
    GlBaseInternalFormat = 32,
    PixelWidth = 36,
    PixelHeight = 40,
    PixelDepth = 44,
    ArrayElements = 48,
    Faces = 52,
    MipmapLevels = 56,
    BytesOfKeyValueData = 60,
};

constexpr std::size_t kKtx1HeaderBytes = 64;

/// Starts as a valid 4 x 4 image without levels. What is not set follows from what is.
class Ktx1Builder {
  public:
    Ktx1Builder& Compressed(std::uint32_t internalFormat) {
        return Set(Ktx1Field::GlType, 0)
            .Set(Ktx1Field::GlFormat, 0)
            .Set(Ktx1Field::GlInternalFormat, internalFormat);
    }
    Ktx1Builder& Uncompressed(std::uint32_t internalFormat) {
        return Set(Ktx1Field::GlType, 0x1401)
            .Set(Ktx1Field::GlFormat, 0x1908)
            .Set(Ktx1Field::GlInternalFormat, internalFormat);
    }
    Ktx1Builder& Size(std::uint32_t width, std::uint32_t height) {
        return Set(Ktx1Field::PixelWidth, width).Set(Ktx1Field::PixelHeight, height);
    }
    Ktx1Builder& Set(Ktx1Field field, std::uint32_t value) {
        fields_[field] = value;
        return *this;
    }
    Ktx1Builder& KeyValue(std::string_view key, std::string_view value) {
        return KeyValueBytes(Test_KeyValuePair(key, value));
    }
    Ktx1Builder& KeyValueBytes(const Bytes& bytes) {
        Test_Append(keyValueData_, bytes);
        return *this;
    }
    Ktx1Builder& Level(const Bytes& bytes) {
        return Level(bytes, static_cast<std::uint32_t>(bytes.size()));
    }
    Ktx1Builder& Level(const Bytes& bytes, std::uint32_t imageSize) {
        Test_PutLe(images_, imageSize, 4);
        Test_Append(images_, bytes);
        ++levelCount_;
        return *this;
    }
    /// Bytes behind the levels so far, counted by nothing.
    Ktx1Builder& Raw(const Bytes& bytes) {
        Test_Append(images_, bytes);
        return *this;
    }

    [[nodiscard]] Bytes Build() const {
        Bytes file{0xAB, 'K', 'T', 'X', ' ', '1', '1', 0xBB, '\r', '\n', 0x1A, '\n'};
        file.resize(kKtx1HeaderBytes);
        std::map<Ktx1Field, std::uint32_t> fields = fields_;
        fields.emplace(Ktx1Field::Endianness, 0x04030201);
        fields.emplace(Ktx1Field::GlTypeSize, 1);
        fields.emplace(Ktx1Field::GlBaseInternalFormat, 0x1908);
        fields.emplace(Ktx1Field::PixelWidth, 4);
        fields.emplace(Ktx1Field::PixelHeight, 4);
        fields.emplace(Ktx1Field::Faces, 1);
        fields.emplace(Ktx1Field::MipmapLevels, levelCount_);
        fields.emplace(Ktx1Field::BytesOfKeyValueData,
                       static_cast<std::uint32_t>(keyValueData_.size()));
        for (const auto& [field, value] : fields) {
            Test_PokeLe(file, static_cast<std::size_t>(field), value, 4);
        }
        Test_Append(file, keyValueData_);
        Test_Append(file, images_);
        return file;
    }

  private:
    std::map<Ktx1Field, std::uint32_t> fields_;
    Bytes keyValueData_;
    Bytes images_;
    std::uint32_t levelCount_ = 0;
};

/// The header's fields, by their offset. The last two have 64 bits, the others 32.
enum class Ktx2Field : std::size_t {
    VkFormat = 12,
    TypeSize = 16,
    PixelWidth = 20,
    PixelHeight = 24,
    PixelDepth = 28,
    LayerCount = 32,
    FaceCount = 36,
    LevelCount = 40,
    SupercompressionScheme = 44,
    DfdByteOffset = 48,
    DfdByteLength = 52,
    KvdByteOffset = 56,
    KvdByteLength = 60,
    SgdByteOffset = 64,
    SgdByteLength = 72,
};

/// The 64-bit fields of a level index entry, by their offset.
enum class Ktx2Entry : std::size_t { ByteOffset = 0, ByteLength = 8, UncompressedByteLength = 16 };

constexpr std::size_t kKtx2HeaderBytes = 80;
constexpr std::size_t kKtx2EntryBytes = 24;

/// Starts as a valid 4 x 4 image without level data: one empty entry in the level index, and a
/// descriptor of 44 bytes. What is not set follows from what is.
class Ktx2Builder {
  public:
    /// `texelBlockBytes` is what level data are aligned to, together with 4.
    Ktx2Builder& Format(std::uint32_t vkFormat, std::size_t texelBlockBytes = 16) {
        alignment_ = std::lcm(texelBlockBytes, std::size_t{4});
        return Set(Ktx2Field::VkFormat, vkFormat);
    }
    Ktx2Builder& Size(std::uint32_t width, std::uint32_t height) {
        return Set(Ktx2Field::PixelWidth, width).Set(Ktx2Field::PixelHeight, height);
    }
    Ktx2Builder& Set(Ktx2Field field, std::uint64_t value) {
        fields_[field] = value;
        return *this;
    }
    Ktx2Builder& Dfd(const Bytes& bytes) {
        dfd_ = bytes;
        return *this;
    }
    Ktx2Builder& KeyValue(std::string_view key, std::string_view value) {
        return KeyValueBytes(Test_KeyValuePair(key, value));
    }
    Ktx2Builder& KeyValueBytes(const Bytes& bytes) {
        Test_Append(keyValueData_, bytes);
        return *this;
    }
    Ktx2Builder& Sgd(const Bytes& bytes) {
        sgd_ = bytes;
        return *this;
    }
    Ktx2Builder& Level(const Bytes& bytes) {
        levels_.push_back(bytes);
        return *this;
    }
    Ktx2Builder& Entry(std::size_t level, Ktx2Entry field, std::uint64_t value) {
        entries_[{level, field}] = value;
        return *this;
    }
    /// The largest level first in the file; the standard wants it last.
    Ktx2Builder& LargestLevelFirst() {
        largestFirst_ = true;
        return *this;
    }
    /// Bytes behind everything else, counted by nothing.
    Ktx2Builder& Raw(const Bytes& bytes) {
        Test_Append(behind_, bytes);
        return *this;
    }

    [[nodiscard]] Bytes Build() const {
        const std::size_t entryCount = levels_.empty() ? 1 : levels_.size();
        Bytes file{0xAB, 'K', 'T', 'X', ' ', '2', '0', 0xBB, '\r', '\n', 0x1A, '\n'};
        file.resize(kKtx2HeaderBytes + entryCount * kKtx2EntryBytes);
        std::map<Ktx2Field, std::uint64_t> fields = fields_;
        const auto append = [&](const Bytes& part, Ktx2Field offset, Ktx2Field byteCount) {
            if (part.empty()) return;
            fields.emplace(offset, file.size());
            fields.emplace(byteCount, part.size());
            Test_Append(file, part);
        };
        append(dfd_, Ktx2Field::DfdByteOffset, Ktx2Field::DfdByteLength);
        append(keyValueData_, Ktx2Field::KvdByteOffset, Ktx2Field::KvdByteLength);
        if (!sgd_.empty()) Test_AlignTo(file, 8);
        append(sgd_, Ktx2Field::SgdByteOffset, Ktx2Field::SgdByteLength);

        for (std::size_t i = 0; i < levels_.size(); ++i) {
            const std::size_t level = largestFirst_ ? i : levels_.size() - 1 - i;
            Test_AlignTo(file, alignment_);
            PokeEntry(file, level, Ktx2Entry::ByteOffset, file.size());
            PokeEntry(file, level, Ktx2Entry::ByteLength, levels_[level].size());
            PokeEntry(file, level, Ktx2Entry::UncompressedByteLength, levels_[level].size());
            Test_Append(file, levels_[level]);
        }
        for (const auto& [place, value] : entries_) {
            PokeEntry(file, place.first, place.second, value);
        }
        fields.emplace(Ktx2Field::TypeSize, 1);
        fields.emplace(Ktx2Field::PixelWidth, 4);
        fields.emplace(Ktx2Field::PixelHeight, 4);
        fields.emplace(Ktx2Field::FaceCount, 1);
        fields.emplace(Ktx2Field::LevelCount, entryCount);
        for (const auto& [field, value] : fields) {
            Test_PokeLe(file, static_cast<std::size_t>(field), value,
                        field < Ktx2Field::SgdByteOffset ? 4 : 8);
        }
        Test_Append(file, behind_);
        return file;
    }

  private:
    static void PokeEntry(Bytes& file, std::size_t level, Ktx2Entry field, std::uint64_t value) {
        Test_PokeLe(file,
                    kKtx2HeaderBytes + level * kKtx2EntryBytes + static_cast<std::size_t>(field),
                    value, 8);
    }
    /// Total size, then a basic block of version 2 with one sample whose rest is zeros.
    static Bytes MakeDfd() {
        Bytes dfd;
        Test_PutLe(dfd, 44, 4);
        Test_PutLe(dfd, 0, 4);
        Test_PutLe(dfd, 2, 2);
        Test_PutLe(dfd, 40, 2);
        dfd.resize(44);
        return dfd;
    }

    std::map<Ktx2Field, std::uint64_t> fields_;
    std::map<std::pair<std::size_t, Ktx2Entry>, std::uint64_t> entries_;
    std::vector<Bytes> levels_;
    Bytes dfd_ = MakeDfd();
    Bytes keyValueData_;
    Bytes sgd_;
    Bytes behind_;
    std::size_t alignment_ = 16;
    bool largestFirst_ = false;
};
