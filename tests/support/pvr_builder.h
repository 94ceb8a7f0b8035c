// Writes PVR files with either header for tests, field by field.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>

#include "ktx_builder.h"
#include "test_files.h"

/// Both headers take so much.
constexpr std::size_t kTestPvrHeaderBytes = 52;

/// The first word of version 3, and the FourCC of its own metadata: "PVR" 3.
constexpr std::uint32_t kTestPvrV3Word = 0x03525650;
/// The word at offset 44 of the legacy header: "PVR!".
constexpr std::uint32_t kTestPvrLegacyWord = 0x21525650;

/// The legacy header's 32-bit fields, by their offset.
enum class PvrLegacyField : std::size_t {
    HeaderSize = 0,
    Height = 4,
    Width = 8,
    MipMapCount = 12,
    Flags = 16,
    DataSize = 20,
    BitCount = 24,
    RedMask = 28,
    GreenMask = 32,
    BlueMask = 36,
    AlphaMask = 40,
    Magic = 44,
    SurfaceCount = 48,
};

/// Starts as a 4 x 4 image of type 0 without data. What is not set follows from what is.
class PvrLegacyBuilder {
  public:
    PvrLegacyBuilder& Type(std::uint32_t pixelType) {
        return Set(PvrLegacyField::Flags, pixelType);
    }
    PvrLegacyBuilder& Size(std::uint32_t width, std::uint32_t height) {
        return Set(PvrLegacyField::Width, width).Set(PvrLegacyField::Height, height);
    }
    PvrLegacyBuilder& Set(PvrLegacyField field, std::uint32_t value) {
        fields_[field] = value;
        return *this;
    }
    PvrLegacyBuilder& Data(const Bytes& bytes) {
        Test_Append(data_, bytes);
        return *this;
    }
    /// Bytes behind the data, counted by nothing.
    PvrLegacyBuilder& Raw(const Bytes& bytes) {
        Test_Append(behind_, bytes);
        return *this;
    }

    [[nodiscard]] Bytes Build() const {
        Bytes file(kTestPvrHeaderBytes);
        std::map<PvrLegacyField, std::uint32_t> fields = fields_;
        fields.emplace(PvrLegacyField::HeaderSize, 52);
        fields.emplace(PvrLegacyField::Height, 4);
        fields.emplace(PvrLegacyField::Width, 4);
        fields.emplace(PvrLegacyField::DataSize, static_cast<std::uint32_t>(data_.size()));
        fields.emplace(PvrLegacyField::Magic, kTestPvrLegacyWord);
        fields.emplace(PvrLegacyField::SurfaceCount, 1);
        for (const auto& [field, value] : fields) {
            Test_PokeLe(file, static_cast<std::size_t>(field), value, 4);
        }
        Test_Append(file, data_);
        Test_Append(file, behind_);
        return file;
    }

  private:
    std::map<PvrLegacyField, std::uint32_t> fields_;
    Bytes data_;
    Bytes behind_;
};

/// The version-3 header's 32-bit words, by their offset; the pixel format has two of them.
enum class PvrV3Field : std::size_t {
    Version = 0,
    Flags = 4,
    FormatLow = 8,
    FormatHigh = 12,
    ColorSpace = 16,
    ChannelType = 20,
    Height = 24,
    Width = 28,
    Depth = 32,
    SurfaceCount = 36,
    FaceCount = 40,
    MipMapCount = 44,
    MetadataSize = 48,
};

using PvrChannelWidths = std::array<std::uint8_t, 4>;

/// The word of up to four bytes, the first one lowest; what is missing is zero.
template <typename FourBytes>
constexpr std::uint32_t Test_ToPvrWord(const FourBytes& bytes) {
    std::uint32_t word = 0;
    unsigned shift = 0;
    for (const auto value : bytes) {
        word |= std::uint32_t{static_cast<std::uint8_t>(value)} << shift;
        shift += 8;
    }
    return word;
}

/// One metadata entry: FourCC, key, size of the data, the data.
inline Bytes Test_PvrEntry(std::uint32_t fourCc, std::uint32_t key, const Bytes& data) {
    Bytes entry;
    Test_PutLe(entry, fourCc, 4);
    Test_PutLe(entry, key, 4);
    Test_PutLe(entry, data.size(), 4);
    Test_Append(entry, data);
    return entry;
}

/// Starts as a 4 x 4 image of format 0 without data. What is not set follows from what is.
class PvrV3Builder {
  public:
    PvrV3Builder& Compressed(std::uint32_t number) {
        return Set(PvrV3Field::FormatLow, number).Set(PvrV3Field::FormatHigh, 0);
    }
    PvrV3Builder& Packed(std::string_view names, const PvrChannelWidths& widths) {
        return Set(PvrV3Field::FormatLow, Test_ToPvrWord(names))
            .Set(PvrV3Field::FormatHigh, Test_ToPvrWord(widths));
    }
    PvrV3Builder& Size(std::uint32_t width, std::uint32_t height) {
        return Set(PvrV3Field::Width, width).Set(PvrV3Field::Height, height);
    }
    PvrV3Builder& Set(PvrV3Field field, std::uint32_t value) {
        fields_[field] = value;
        return *this;
    }
    PvrV3Builder& Metadata(std::uint32_t fourCc, std::uint32_t key, const Bytes& data) {
        return MetadataBytes(Test_PvrEntry(fourCc, key, data));
    }
    PvrV3Builder& MetadataBytes(const Bytes& bytes) {
        Test_Append(metadata_, bytes);
        return *this;
    }
    PvrV3Builder& Data(const Bytes& bytes) {
        Test_Append(data_, bytes);
        return *this;
    }

    [[nodiscard]] Bytes Build() const {
        Bytes file(kTestPvrHeaderBytes);
        std::map<PvrV3Field, std::uint32_t> fields = fields_;
        fields.emplace(PvrV3Field::Version, kTestPvrV3Word);
        fields.emplace(PvrV3Field::Height, 4);
        fields.emplace(PvrV3Field::Width, 4);
        fields.emplace(PvrV3Field::Depth, 1);
        fields.emplace(PvrV3Field::SurfaceCount, 1);
        fields.emplace(PvrV3Field::FaceCount, 1);
        fields.emplace(PvrV3Field::MipMapCount, 1);
        fields.emplace(PvrV3Field::MetadataSize, static_cast<std::uint32_t>(metadata_.size()));
        for (const auto& [field, value] : fields) {
            Test_PokeLe(file, static_cast<std::size_t>(field), value, 4);
        }
        Test_Append(file, metadata_);
        Test_Append(file, data_);
        return file;
    }

  private:
    std::map<PvrV3Field, std::uint32_t> fields_;
    Bytes metadata_;
    Bytes data_;
};
