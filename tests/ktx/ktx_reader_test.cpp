// The gate: identification, header checks, and what they leave behind.
#include "ktx/ktx_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "ktx_unit_helpers.h"

namespace koru {
namespace {

constexpr std::uint32_t kRgba8 = 0x8058, kVkRgba8 = 37;
constexpr KORU_Char kName[] = {'n', 0};

const Bytes kOnePixel11 = Ktx1Builder().Uncompressed(kRgba8).Size(1, 1).Level({1, 2, 3, 4}).Build();
const Bytes kOnePixel20 = Ktx2Builder().Format(kVkRgba8).Size(1, 1).Level({5, 6, 7, 8}).Build();

void Put(Bytes& bytes, Ktx1Field field, std::uint32_t value) {
    Test_PokeLe(bytes, static_cast<std::size_t>(field), value, 4);
}
void Put(Bytes& bytes, Ktx2Field field, std::uint32_t value) {
    Test_PokeLe(bytes, static_cast<std::size_t>(field), value, 4);
}

using KtxReader = KtxStateTest;

int Read(const Bytes& bytes, std::uint32_t offset = 0) {
    SourceBuffer source = Test_Borrow(bytes);
    source.offset = offset;
    return Ktx_ReadContainer(source, kName);
}

TEST_F(KtxReader, NeedsANameAndBytes) {
    const Bytes file = kOnePixel11;
    SourceBuffer source = Test_Borrow(file);
    EXPECT_EQ(Ktx_ReadContainer(source, nullptr), 0);
    EXPECT_EQ(source.offset, 0u);
    SourceBuffer empty;
    EXPECT_EQ(Ktx_ReadContainer(empty, kName), 0);
    EXPECT_EQ(g_ktxVersion, KtxVersion::None);
}

TEST_F(KtxReader, NotesTheVersionThatItReads) {
    EXPECT_EQ(Read(kOnePixel11), 1);
    EXPECT_EQ(g_ktxVersion, KtxVersion::Ktx11);
    EXPECT_EQ(surface_.pixels.Data()[0], 1);
    EXPECT_EQ(Read(kOnePixel20), 1);
    EXPECT_EQ(g_ktxVersion, KtxVersion::Ktx20);
    EXPECT_EQ(surface_.pixels.Data()[0], 5);
}

TEST_F(KtxReader, NotesTheVersionBeforeTheHeaderIsChecked) {
    Bytes bad11 = kOnePixel11;
    Put(bad11, Ktx1Field::Endianness, 0x01020304);
    EXPECT_EQ(Read(bad11), 0);
    EXPECT_EQ(g_ktxVersion, KtxVersion::Ktx11);
    Bytes bad20 = kOnePixel20;
    Put(bad20, Ktx2Field::VkFormat, 0);
    EXPECT_EQ(Read(bad20), 0);
    EXPECT_EQ(g_ktxVersion, KtxVersion::Ktx20);
    EXPECT_EQ(Read({1, 2, 3, 4}), 0);
    EXPECT_EQ(g_ktxVersion, KtxVersion::Ktx20) << "another magic leaves it alone";
}

TEST_F(KtxReader, CompressedIsNotedForKtx11WithoutTypeOrFormat) {
    constexpr std::uint32_t kByteType = 0x1401, kRgba = 0x1908;
    const auto isCompressed = [](std::uint32_t glType, std::uint32_t glFormat) {
        Bytes bytes = kOnePixel11;
        Put(bytes, Ktx1Field::GlType, glType);
        Put(bytes, Ktx1Field::GlFormat, glFormat);
        g_ktxCompressed = glType != 0 && glFormat != 0;
        EXPECT_EQ(Read(bytes), 1);
        return g_ktxCompressed;
    };
    EXPECT_FALSE(isCompressed(kByteType, kRgba));
    EXPECT_TRUE(isCompressed(0, kRgba));
    EXPECT_TRUE(isCompressed(kByteType, 0));
    EXPECT_TRUE(isCompressed(0, 0));
    static_cast<void>(Read(kOnePixel20));
    EXPECT_FALSE(g_ktxCompressed) << "cleared by a KTX 2.0 file";
}

TEST_F(KtxReader, CompressedStaysAsItWasWhenTheHeaderFails) {
    g_ktxCompressed = true;
    Bytes bad11 = kOnePixel11;
    Put(bad11, Ktx1Field::GlTypeSize, 3);
    EXPECT_EQ(Read(bad11), 0);
    EXPECT_TRUE(g_ktxCompressed);
    Bytes bad20 = kOnePixel20;
    Put(bad20, Ktx2Field::SupercompressionScheme, 1);
    EXPECT_EQ(Read(bad20), 0);
    EXPECT_TRUE(g_ktxCompressed);
}

TEST_F(KtxReader, Ktx11IsReadWhereItStands) {
    const Bytes file = kOnePixel11;
    Bytes shifted(7, 0xEE);
    shifted.insert(shifted.end(), file.begin(), file.end());
    EXPECT_EQ(Read(shifted, 7), 1);
    EXPECT_EQ(surface_.pixels.Data()[0], 1);
}

TEST_F(KtxReader, Ktx20IsReadFromTheStartOfTheBuffer) {
    const Bytes file = kOnePixel20;
    Bytes shifted(96, 0xEE);
    shifted.insert(shifted.end(), file.begin(), file.end());
    EXPECT_EQ(Read(shifted, 96), 0) << "the type size at the start is 0xEEEEEEEE";
    EXPECT_FALSE(surface_.pixels);

    // The identifier at the start is not compared once one was found at the offset.
    Bytes both = file;
    both[0] = 0;
    both.insert(both.end(), file.begin(), file.end());
    EXPECT_EQ(Read(both, static_cast<std::uint32_t>(file.size())), 1);
    EXPECT_EQ(surface_.pixels.Data()[0], 5);
}

TEST_F(KtxReader, A64ByteKtx11HeaderPassesTheGate) {
    Bytes bytes = Ktx1Builder().Uncompressed(kRgba8).Set(Ktx1Field::Faces, 0).Build();
    ASSERT_EQ(bytes.size(), 64u);
    EXPECT_EQ(Read(bytes), 1) << "the decoder finds no level and decodes nothing";
    EXPECT_FALSE(surface_.pixels);
    bytes.pop_back();
    g_ktxVersion = KtxVersion::None;
    EXPECT_EQ(Read(bytes), 0);
    EXPECT_EQ(g_ktxVersion, KtxVersion::None) << "a shorter one is not even identified";
}

TEST_F(KtxReader, AKtx20HeaderNeeds80Bytes) {
    Bytes bytes = kOnePixel20;
    bytes.resize(79);
    EXPECT_EQ(Read(bytes), 0);
    EXPECT_EQ(g_ktxVersion, KtxVersion::Ktx20) << "identified by its first 64 bytes";
}

TEST_F(KtxReader, NeedsEveryByteOfAnIdentifier) {
    for (const Bytes& file : {kOnePixel11, kOnePixel20}) {
        for (std::size_t i = 0; i < 12; ++i) {
            Bytes wrong = file;
            wrong[i] ^= 0x10;
            EXPECT_EQ(Read(wrong), 0) << i;
        }
        EXPECT_EQ(Read(file), 1);
    }
}

// Every header field that is checked, and the values around those that pass.
TEST_F(KtxReader, ChecksTheHeaderOfKtx11) {
    const auto readWith = [](Ktx1Field field, std::uint32_t value) {
        Bytes bytes = kOnePixel11;
        Put(bytes, field, value);
        return Read(bytes);
    };
    EXPECT_EQ(readWith(Ktx1Field::Endianness, 0x01020304), 0) << "big-endian";
    EXPECT_EQ(readWith(Ktx1Field::Endianness, 0), 0);
    for (std::uint32_t size : {1u, 2u, 4u})
        EXPECT_EQ(readWith(Ktx1Field::GlTypeSize, size), 1) << size;
    for (std::uint32_t size : {0u, 3u, 5u, 8u, 0x101u, 0x80000001u, 0xFFFFFFFFu}) {
        EXPECT_EQ(readWith(Ktx1Field::GlTypeSize, size), 0) << size;
    }
    EXPECT_EQ(readWith(Ktx1Field::PixelWidth, 0), 0);
    EXPECT_EQ(readWith(Ktx1Field::PixelHeight, 0), 0);
    for (Ktx1Field field : {Ktx1Field::PixelDepth, Ktx1Field::ArrayElements, Ktx1Field::Faces}) {
        for (std::uint32_t value : {0u, 2u, 6u, 0xFFFFFFFFu}) {
            EXPECT_EQ(readWith(field, value), 1) << static_cast<int>(field) << ' ' << value;
        }
    }
}

TEST_F(KtxReader, ChecksTheHeaderOfKtx20) {
    const auto readWith = [](Ktx2Field field, std::uint32_t value) {
        Bytes bytes = kOnePixel20;
        Put(bytes, field, value);
        return Read(bytes);
    };
    EXPECT_EQ(readWith(Ktx2Field::VkFormat, 0), 0) << "VK_FORMAT_UNDEFINED";
    for (std::uint32_t size : {1u, 2u, 4u})
        EXPECT_EQ(readWith(Ktx2Field::TypeSize, size), 1) << size;
    for (std::uint32_t size : {0u, 3u, 5u, 8u, 0x101u, 0x80000001u, 0xFFFFFFFFu}) {
        EXPECT_EQ(readWith(Ktx2Field::TypeSize, size), 0) << size;
    }
    EXPECT_EQ(readWith(Ktx2Field::PixelWidth, 0), 0);
    EXPECT_EQ(readWith(Ktx2Field::PixelHeight, 0), 0);
    for (std::uint32_t scheme : {1u, 2u, 3u, 0xFFFFFFFFu})
        EXPECT_EQ(readWith(Ktx2Field::SupercompressionScheme, scheme), 0);
    for (Ktx2Field field : {Ktx2Field::PixelDepth, Ktx2Field::LayerCount, Ktx2Field::FaceCount}) {
        for (std::uint32_t value : {0u, 2u, 6u, 0xFFFFFFFFu}) {
            EXPECT_EQ(readWith(field, value), 1) << static_cast<int>(field) << ' ' << value;
        }
    }
}

TEST_F(KtxReader, MemoryIsAlwaysNamedMemoryKtx) {
    const Bytes& file = kOnePixel11;
    const auto image =
        Load_FromMemory(kKtxFormat, file.data(), static_cast<std::uint32_t>(file.size()), 0);
    ASSERT_NE(image, nullptr);
    const std::string name(g_ktxState.name.begin(),
                           std::find(g_ktxState.name.begin(), g_ktxState.name.end(), 0));
    EXPECT_EQ(name, "memory.ktx");
}

}  // namespace
}  // namespace koru
