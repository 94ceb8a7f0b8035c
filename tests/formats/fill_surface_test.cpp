// One pass from decoded rows to a record's pixels, against the steps it stands for: decode all,
// expand onto opaque black, finish.
#include "formats/fill_surface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "core/image.h"
#include "formats/gl_codes.h"
#include "formats/gl_formats.h"
#include "test_files.h"

namespace koru {
namespace {

/// Gives rows of fixed bytes, and notes which were asked for.
class FixedRows final : public RowDecoder {
  public:
    FixedRows(std::uint32_t bytesPerRow, std::uint32_t rows, std::uint32_t step, std::uint32_t seed)
        : bytes_(std::size_t{bytesPerRow} * rows) {
        rowBytes = bytesPerRow;
        rowCount = rows;
        rowStep = step;
        std::minstd_rand random(seed);
        for (auto& value : bytes_) value = static_cast<std::uint8_t>(random() >> 8);
    }

    bool DecodeRows(std::uint32_t firstRow, std::uint32_t count,
                    std::uint8_t* target) noexcept override {
        EXPECT_EQ(firstRow % rowStep, 0u);
        EXPECT_TRUE(count % rowStep == 0 || firstRow + count == rowCount);
        EXPECT_LE(std::uint64_t{firstRow} + count, rowCount);
        std::memcpy(target, &bytes_[std::size_t{firstRow} * rowBytes],
                    std::size_t{count} * rowBytes);
        decodedRows += count;
        ++calls;
        return calls != failingCall;
    }

    [[nodiscard]] ByteBuffer CopyAll() const {
        ByteBuffer all = ByteBuffer::Allocate(static_cast<std::uint32_t>(bytes_.size()));
        std::ranges::copy(bytes_, all.Data());
        return all;
    }

    std::uint64_t decodedRows = 0;
    int calls = 0;
    int failingCall = 0;

  private:
    Bytes bytes_;
};

struct Extents {
    std::uint32_t width = 0, height = 0;
};

constexpr std::uint32_t kFlags[] = {0, KORU_FLAG_RGBA, KORU_FLAG_HEADER_ONLY};

/// A surface with layout, that knows what the flags want.
DecodeSurface MakeSurface(const Extents& extents, std::uint32_t bytesPerPixel, RecordForm form) {
    DecodeSurface surface;
    surface.wantedForm = form;
    EXPECT_TRUE(Surface_SetLayout(surface, extents.width, extents.height, bytesPerPixel));
    return surface;
}

Bytes GetPixels(const ImageHandle& image) {
    if (image == nullptr || image->pixels == nullptr) return {};
    return {image->pixels, image->pixels + image->dataSize};
}

int ExpandPlainly(DecodeSurface& surface, const PackedPixels& packed, const ChannelLayout& layout,
                  ExpandMember member) {
    switch (member) {
        case ExpandMember::Ktx:
            return ExpandPackedPixels(surface, packed, layout);
        case ExpandMember::Pvr:
            return ExpandPackedPixelsPvr(surface, packed, layout);
        case ExpandMember::Astc:
            break;
    }
    return ExpandPackedPixelsAstc(surface, packed, layout);
}

void ExpectSameRecord(const KORU_Image& actual, const KORU_Image& expected) {
    EXPECT_EQ(actual.bitsPerPixel, expected.bitsPerPixel);
    EXPECT_EQ(actual.stride, expected.stride);
    EXPECT_EQ(actual.dataSize, expected.dataSize);
    EXPECT_EQ(actual.reservedC, expected.reservedC);
}

/// What a source is converted by.
struct Rule {
    ExpandMember member{};
    std::uint32_t bitsPerPixel = 0;
    std::uint32_t glFormat = 0;
};

/// Fills from rows and from memory, and compares with the plain steps.
void ExpectPlainResult(const Extents& extents, const Rule& rule, std::uint32_t decodedPixelBytes,
                       std::uint32_t rowStep, std::uint32_t counted) {
    const ChannelLayout layout = Gl_GetChannelLayout(rule.glFormat);
    const FixedRows rows(extents.width * decodedPixelBytes, extents.height, rowStep, counted);
    for (const std::uint32_t surfaceBytes : {3u, 4u}) {
        const ByteBuffer all = rows.CopyAll();
        const PackedPixels packed = Packed_FromBuffer(all, counted, rule.bitsPerPixel);
        DecodeSurface plain = MakeSurface(extents, surfaceBytes, RecordForm::Unknown);
        ASSERT_TRUE(Surface_AllocateBlack(plain));
        static_cast<void>(ExpandPlainly(plain, packed, layout, rule.member));
        for (const std::uint32_t flags : kFlags) {
            SCOPED_TRACE(testing::Message()
                         << extents.width << 'x' << extents.height << ", " << rule.bitsPerPixel
                         << " bits, surface " << surfaceBytes << ", flags " << flags);
            const ImageHandle expected = Image_FromSurface(plain, flags);
            ASSERT_NE(expected, nullptr);
            const RecordForm form = Image_GetForm(flags);

            FixedRows decoder = rows;
            DecodeSurface fromRows = MakeSurface(extents, surfaceBytes, form);
            ASSERT_EQ(Surface_FillFromRows(fromRows, decoder, counted, rule.bitsPerPixel, layout,
                                           rule.member),
                      1);
            DecodeSurface fromMemory = MakeSurface(extents, surfaceBytes, form);
            ASSERT_EQ(Surface_FillFromMemory(fromMemory, packed, layout, rule.member), 1);
            DecodeSurface taken = MakeSurface(extents, surfaceBytes, form);
            ASSERT_EQ(Expand_TakePixels(taken, rows.CopyAll(), counted, rule.bitsPerPixel, layout,
                                        rule.member),
                      1);
            for (DecodeSurface* surface : {&fromRows, &fromMemory, &taken}) {
                EXPECT_TRUE(surface->isFinished);
                const ImageHandle actual = Image_TakeSurface(*surface, flags);
                ASSERT_NE(actual, nullptr);
                ExpectSameRecord(*actual, *expected);
                ASSERT_TRUE(GetPixels(actual) == GetPixels(expected));
            }
            if (form == RecordForm::HeaderOnly) {
                EXPECT_EQ(decoder.calls, 0);
            }
        }
    }
}

// Sizes of a single piece and of several, with rows that are padded and rows that are not.
TEST(FillSurface, EqualsThePlainStepsForEveryConversion) {
    constexpr Extents kExtents[] = {{1, 1}, {3, 5}, {4, 9}, {33, 21}, {6001, 31}, {8192, 19}};
    constexpr Rule kRules[] = {
        {ExpandMember::Ktx, 0, 0},
        {ExpandMember::Ktx, 4, 0},
        {ExpandMember::Ktx, 8, 0},
        {ExpandMember::Ktx, 16, GL_RGB565},
        {ExpandMember::Ktx, 16, GL_RGBA4},
        {ExpandMember::Ktx, 16, GL_RG8},
        {ExpandMember::Ktx, 24, 0},
        {ExpandMember::Ktx, 32, 0},
        {ExpandMember::Ktx, 32, GL_RGB10_A2},
        {ExpandMember::Ktx, 32, GL_R11F_G11F_B10F},
        {ExpandMember::Ktx, 64, 0},
        {ExpandMember::Pvr, 32, GL_R11F_G11F_B10F},
        {ExpandMember::Pvr, 24, 0},
        {ExpandMember::Astc, 32, 0},
    };
    for (const Extents& extents : kExtents) {
        for (const Rule& rule : kRules) {
            const std::uint32_t pixelBytes = std::max(rule.bitsPerPixel / 8, 1u);
            const std::uint32_t whole = extents.width * extents.height * pixelBytes;
            const bool isLarge = extents.height > 1 && extents.width > 1000;
            for (const std::uint32_t counted : {whole / 2, whole, whole - 1, whole + 9, 0u}) {
                ExpectPlainResult(extents, rule, pixelBytes, 4, counted);
                if (isLarge && counted == whole) break;
            }
        }
    }
}

// Rows of 16-bit samples that count as bytes, of four bytes that count as three, and the reverse.
TEST(FillSurface, EqualsThePlainStepsWhereRowsAreNotWhatCounts) {
    for (const Extents& extents : {Extents{7, 10}, Extents{6001, 31}, Extents{8192, 19}}) {
        for (const std::uint32_t decodedPixelBytes : {1u, 2u, 3u, 4u}) {
            for (const std::uint32_t bits : {8u, 24u, 32u}) {
                for (const std::uint32_t step : {1u, 12u}) {
                    ExpectPlainResult(extents, {ExpandMember::Ktx, bits, 0}, decodedPixelBytes,
                                      step, extents.width * extents.height * bits / 8);
                }
            }
        }
    }
}

TEST(FillSurface, DecodesIntoThePixelsWhereNothingIsConverted) {
    FixedRows rows(4096 * 4, 64, 4, 1);
    DecodeSurface surface = MakeSurface({4096, 64}, 4, RecordForm::Rgba);
    ASSERT_EQ(Surface_FillFromRows(surface, rows, surface.dataSize, 32, {}, ExpandMember::Ktx), 1);
    EXPECT_EQ(rows.calls, 1);
}

// Pieces that begin with a row of blocks decode every row once.
TEST(FillSurface, DecodesEveryRowOnce) {
    FixedRows rows(4096 * 4, 64, 4, 1);
    DecodeSurface surface = MakeSurface({4096, 64}, 4, RecordForm::Rgb);
    ASSERT_EQ(Surface_FillFromRows(surface, rows, surface.dataSize, 32, {}, ExpandMember::Ktx), 1);
    EXPECT_EQ(rows.decodedRows, 64u);
    EXPECT_GT(rows.calls, 1);
}

TEST(FillSurface, ADecoderThatFailsLeavesNoPixels) {
    for (const auto& [form, failingCall] :
         {std::pair{RecordForm::Rgba, 1}, std::pair{RecordForm::Rgb, 1},
          std::pair{RecordForm::Rgb, 3}, std::pair{RecordForm::Unknown, 1}}) {
        FixedRows rows(4096 * 4, 64, 4, 1);
        rows.failingCall = failingCall;
        DecodeSurface surface = MakeSurface({4096, 64}, 4, form);
        EXPECT_EQ(Surface_FillFromRows(surface, rows, surface.dataSize, 32, {}, ExpandMember::Ktx),
                  0);
        EXPECT_FALSE(surface.pixels);
    }
}

TEST(FillSurface, AnImageOfNoWidthHasNoPixels) {
    const Bytes bytes(16, 1);
    for (const RecordForm form : {RecordForm::Unknown, RecordForm::Rgb, RecordForm::Rgba}) {
        DecodeSurface surface = MakeSurface({0, 4}, 4, form);
        const PackedPixels packed{
            .data = bytes.data(), .size = 16, .readable = 16, .bitsPerPixel = 32};
        EXPECT_EQ(Surface_FillFromMemory(surface, packed, {}, ExpandMember::Ktx), 0);
        EXPECT_FALSE(surface.pixels);
    }
}

// A surface that fits 32 bits while its record does not.
TEST(FillSurface, ARecordThatDoesNotFitHasNoPixels) {
    for (const RecordForm form : {RecordForm::Rgba, RecordForm::Rgb}) {
        DecodeSurface surface = MakeSurface({1, 1}, 3, form);
        surface.width = 1u << 30;
        surface.height = form == RecordForm::Rgba ? 1 : 2;
        EXPECT_FALSE(Surface_AllocateBlack(surface));
        EXPECT_FALSE(surface.pixels);
    }
}

}  // namespace
}  // namespace koru
