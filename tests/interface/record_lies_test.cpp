// Records whose fields lie, given to every writer: the result, the file, and the record afterwards
// are what the fields say, worked out here once more.
#include <gtest/gtest.h>
#include <korutex.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "koru_image_ptr.h"
#include "ktx_builder.h"
#include "test_files.h"
#include "test_records.h"
#include "told_outcome.h"

namespace {

using RecordField = std::uint32_t KORU_Image::*;

/// What a writer is told to leave.
struct ToldWrite {
    std::int32_t result = 0;
    std::optional<Bytes> file;
    KORU_Image record{};
    Bytes pixels;
};

/// RGB pixels in rows of `stride` bytes with `pixelBytes` for each, the fourth one 255; what
/// dataSize leaves out is 0. Nothing if the new size does not fit 32 bits.
std::optional<Bytes> Repack(const KORU_Image& record, const Bytes& pixels, std::uint64_t stride,
                            std::size_t pixelBytes) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    if (stride > kMost || stride * record.height > kMost) return std::nullopt;
    Bytes rows(static_cast<std::size_t>(stride) * record.height);
    std::uint64_t source = 0;
    for (std::size_t y = 0; y < record.height; ++y) {
        for (std::size_t x = 0; x < record.width && source + 2 < record.dataSize; ++x) {
            const auto target = y * static_cast<std::size_t>(stride) + x * pixelBytes;
            for (std::size_t c = 0; c < 3; ++c) {
                rows[target + c] = pixels[static_cast<std::size_t>(source) + c];
            }
            if (pixelBytes == 4) rows[target + 3] = 255;
            source += 3;
        }
        source += record.rowPadding;
    }
    return rows;
}

bool IsRefused(const KORU_Image& record) { return record.width == 0 || record.height == 0; }

ToldWrite Tell(const KORU_Image& record, const Bytes& pixels) {
    return {0, std::nullopt, record, pixels};
}

ToldWrite TellAstc(const KORU_Image& record, const Bytes& pixels) {
    ToldWrite told = Tell(record, pixels);
    if (IsRefused(record)) return told;
    Bytes file{0x13, 0xAB, 0xA1, 0x5C, 0, 0, 1};
    Test_PutLe(file, record.width, 3);
    Test_PutLe(file, record.height, 3);
    file.resize(20);
    told.file = file;
    if (record.dataSize == 0 || record.bitsPerPixel == 32) return told;
    const auto rgba = Repack(record, pixels, std::uint64_t{record.width} * 4, 4);
    if (!rgba) return told;
    told.pixels = *rgba;
    told.record.stride = record.width * 4;
    told.record.dataSize = static_cast<std::uint32_t>(rgba->size());
    told.record.bitsPerPixel = 32;
    told.record.bitsPerChannel = 8;
    told.record.bytesPerPixel = 4;
    told.record.rowPadding = 0;
    told.record.reservedB = 0;
    return told;
}

/// What the writers of KTX and PVR do behind their headers.
ToldWrite TellAligned(const KORU_Image& record, const Bytes& pixels, Bytes head) {
    ToldWrite told = Tell(record, pixels);
    if (IsRefused(record)) return told;
    const std::uint64_t rowBytes = std::uint64_t{record.width} * 3;
    const std::uint64_t stride = (rowBytes + 3) / 4 * 4;
    if (record.bitsPerPixel == 24) {
        if (const auto aligned = Repack(record, pixels, stride, 3)) {
            told.pixels = *aligned;
            told.record.stride = static_cast<std::uint32_t>(stride);
            told.record.dataSize = static_cast<std::uint32_t>(aligned->size());
            told.record.rowPadding = static_cast<std::uint32_t>(stride - rowBytes);
            told.record.bitsPerChannel = 8;
            told.record.bytesPerPixel = 3;
        }
    }
    Test_PutLe(head, told.record.dataSize, 4);
    Test_Append(head, Test_Slice(told.pixels, 0, told.record.dataSize));
    told.file = head;
    told.result = told.record.dataSize != 0 ? 1 : 0;
    return told;
}

ToldWrite TellPvr(const KORU_Image& record, const Bytes& pixels) {
    return TellAligned(record, pixels, Bytes(52));
}

ToldWrite TellKtx(const KORU_Image& record, const Bytes& pixels) {
    const std::uint32_t format = record.bitsPerPixel == 32 ? 0x1908 : 0x1907;
    return TellAligned(record, pixels,
                       Ktx1Builder()
                           .Uncompressed(format)
                           .Set(Ktx1Field::GlFormat, format)
                           .Set(Ktx1Field::GlBaseInternalFormat, format)
                           .Size(record.width, record.height)
                           .Set(Ktx1Field::MipmapLevels, 1)
                           .KeyValue("KTXorientation", "S=r,T=d")
                           .Build());
}

struct Writer {
    const char* name;
    std::int32_t (*write)(const KORU_Char*, KORU_Image*);
    ToldWrite (*tell)(const KORU_Image&, const Bytes&);
    std::uint32_t flags;  ///< Of the record to begin with.
};

void PrintTo(const Writer& writer, std::ostream* out) { *out << writer.name; }

class RecordLies : public testing::TestWithParam<Writer> {
  protected:
    RecordLies() { path_ = Test_ToKoruPath(target_); }

    /// Writes a record of 3 x 2 pixels after `lie` changed it.
    template <typename Lie>
    void Check(Lie&& lie) {
        const KoruImagePtr image = Test_MakeRecord(3, 2, GetParam().flags);
        ASSERT_NE(image, nullptr);
        const Bytes pixels = Test_GetPixels(*image);
        lie(*image);
        // More than there are would have the writer read behind them, as it is told to.
        ASSERT_LE(image->dataSize, pixels.size());
        const ToldWrite told = GetParam().tell(*image, pixels);

        std::filesystem::remove(target_);
        EXPECT_EQ(GetParam().write(path_.c_str(), image.get()), told.result);
        ASSERT_EQ(std::filesystem::exists(target_), told.file.has_value());
        if (told.file) {
            EXPECT_TRUE(Test_ReadFile(target_) == *told.file);
        }
        Test_ExpectSameFields(*image, told.record);
        ASSERT_TRUE(Bytes(image->pixels, image->pixels + told.pixels.size()) == told.pixels);
    }

    TempFolder folder_;
    std::filesystem::path target_ = folder_ / "written";
    KoruPath path_;
};

constexpr std::pair<const char*, RecordField> kFields[] = {
    {"width", &KORU_Image::width},
    {"height", &KORU_Image::height},
    {"bitsPerPixel", &KORU_Image::bitsPerPixel},
    {"stride", &KORU_Image::stride},
    {"rowPadding", &KORU_Image::rowPadding},
    {"bytesPerPixel", &KORU_Image::bytesPerPixel},
    {"bitsPerChannel", &KORU_Image::bitsPerChannel},
    {"reservedA", &KORU_Image::reservedA},
    {"reservedB", &KORU_Image::reservedB},
    {"reservedD", &KORU_Image::reservedD},
};
constexpr std::size_t kFieldsOfLayout = 5;

TEST_P(RecordLies, EveryField) {
    for (const auto& [name, field] : kFields) {
        for (const std::uint32_t value : kTestExtremes) {
            SCOPED_TRACE(std::string(name) + " " + std::to_string(value));
            Check([&, member = field](KORU_Image& image) { image.*member = value; });
        }
    }
    for (const std::uint32_t value : kTestExtremes) {
        SCOPED_TRACE(value);
        Check([&](KORU_Image& image) { image.reservedC = value * 0x100000001ull; });
    }
}

TEST_P(RecordLies, EveryFieldWithEveryExtent) {
    for (const RecordField extent : {&KORU_Image::width, &KORU_Image::height}) {
        for (const std::uint32_t pixels : kTestExtremes) {
            for (std::size_t i = 0; i < kFieldsOfLayout; ++i) {
                for (const std::uint32_t value : kTestExtremes) {
                    SCOPED_TRACE(std::string(kFields[i].first) + " " + std::to_string(value) +
                                 ", extent " + std::to_string(pixels));
                    Check([&](KORU_Image& image) {
                        image.*extent = pixels;
                        image.*kFields[i].second = value;
                    });
                    if (HasFailure()) return;
                }
            }
        }
    }
}

TEST_P(RecordLies, EveryDataSizeUpToTheRightOneWithEveryExtent) {
    const std::uint32_t most = GetParam().flags == KORU_FLAG_RGBA ? 24 : 18;
    for (std::uint32_t size = 0; size <= most; ++size) {
        for (const RecordField extent : {&KORU_Image::width, &KORU_Image::height}) {
            for (const std::uint32_t pixels : kTestExtremes) {
                SCOPED_TRACE(std::to_string(size) + " bytes, extent " + std::to_string(pixels));
                Check([&](KORU_Image& image) {
                    image.*extent = pixels;
                    image.dataSize = size;
                });
                if (HasFailure()) return;
            }
        }
        for (const std::uint32_t padding : {0u, 1u, 2u, 3u, 17u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            SCOPED_TRACE(std::to_string(size) + " bytes, padding " + std::to_string(padding));
            Check([&](KORU_Image& image) {
                image.dataSize = size;
                image.rowPadding = padding;
            });
        }
    }
}

// Nothing is written, and the record stays as it is.
TEST_P(RecordLies, NoPixels) {
    for (const std::uint32_t size : {0u, 18u, 0xFFFFFFFFu}) {
        const KoruImagePtr image = Test_MakeRecord(3, 2, GetParam().flags);
        ASSERT_NE(image, nullptr);
        std::uint8_t* const pixels = std::exchange(image->pixels, nullptr);
        image->dataSize = size;
        const KORU_Image before = *image;
        EXPECT_EQ(GetParam().write(path_.c_str(), image.get()), 0);
        EXPECT_FALSE(std::filesystem::exists(target_));
        Test_ExpectUntouched(*image, before);
        image->pixels = pixels;
    }
}

// Bits that say RGB over pixels of four bytes, and the other way round.
TEST_P(RecordLies, TheOtherLayout) {
    for (const std::uint32_t bits : {24u, 32u}) {
        for (const std::uint32_t bytes : {3u, 4u}) {
            Check([&](KORU_Image& image) {
                image.bitsPerPixel = bits;
                image.bytesPerPixel = bytes;
            });
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Writers, RecordLies,
    testing::Values(Writer{"AstcRgb", KORU_Write_ASTC_To_File, TellAstc, 0},
                    Writer{"AstcRgba", KORU_Write_ASTC_To_File, TellAstc, KORU_FLAG_RGBA},
                    Writer{"KtxRgb", KORU_Write_KTX_To_File, TellKtx, 0},
                    Writer{"KtxRgba", KORU_Write_KTX_To_File, TellKtx, KORU_FLAG_RGBA},
                    Writer{"PvrRgb", KORU_Write_PVR_To_File, TellPvr, 0},
                    Writer{"PvrRgba", KORU_Write_PVR_To_File, TellPvr, KORU_FLAG_RGBA}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
