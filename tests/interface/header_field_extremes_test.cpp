// Every field of every header at its extremes, alone and together with a width or a height. A large
// payload is enough for rows and columns of 0x10000 pixels, so that large images load as well; with
// pairs of fields, where that would take minutes, a small one is enough for the image as it is.
#include <gtest/gtest.h>
#include <korutex.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "astc_builder.h"
#include "koru_image_ptr.h"
#include "ktx_builder.h"
#include "pvr_builder.h"
#include "pvr_expectations.h"
#include "test_files.h"
#include "told_outcome.h"

namespace {

/// From a heap copy of exactly this size, as Test_LoadKtx.
KoruImagePtr LoadAstc(const Bytes& file, std::uint32_t flags) {
    const auto exact = std::make_unique<std::uint8_t[]>(file.size());
    std::memcpy(exact.get(), file.data(), file.size());
    return KoruImagePtr(
        KORU_Load_ASTC_From_Memory(exact.get(), static_cast<std::uint32_t>(file.size()), flags));
}

/// A place in a file, and what it is set to.
struct Field {
    std::size_t offset = 0;
    unsigned byteCount = 4;
    std::vector<std::uint64_t> values;
};

std::vector<std::uint64_t> ListExtremes32() { return {kTestExtremes.begin(), kTestExtremes.end()}; }

/// Of either word.
std::vector<std::uint64_t> ListExtremes64() {
    std::vector<std::uint64_t> values = ListExtremes32();
    for (const std::uint32_t value : kTestExtremes) {
        values.push_back(std::uint64_t{value} << 32);
    }
    return values;
}

/// Of both.
std::vector<std::uint64_t> ListMoreExtremes64() {
    std::vector<std::uint64_t> values = ListExtremes64();
    for (const std::uint32_t value : kTestExtremes) {
        values.push_back(std::uint64_t{value} << 32 | 0xFFFFFFFF);
        values.push_back(~std::uint64_t{value});
    }
    return values;
}

/// Words from `begin` up to `end`.
std::vector<Field> ListWords(std::size_t begin, std::size_t end) {
    std::vector<Field> fields;
    for (std::size_t at = begin; at < end; at += 4) fields.push_back({at, 4, ListExtremes32()});
    return fields;
}

enum class Payload { Small, Large };

constexpr std::size_t kSmallBytes = 64;

struct Reader {
    KoruImagePtr (*load)(const Bytes& file, std::uint32_t flags);
    ToldOutcome (*tell)(const Bytes& file);
};

/// Loads files and counts what became of them, so that a test sees that it tested something.
class Checker {
  public:
    explicit Checker(const Reader& reader) : reader_(reader) {}

    void Check(const Bytes& file) {
        const ToldOutcome outcome = reader_.tell(file);
        // None of these combinations is: whatever has the payload or needs none is small, or more
        // than 32 bits can count. A record of gigabytes would have to be left out here.
        ASSERT_FALSE(outcome.IsHuge());
        const std::uint32_t flags = ++loads_ % 4;
        Told_Expect(reader_.load(file, flags).get(), outcome, flags);
        records_ += outcome.Loads() ? 1 : 0;
    }
    [[nodiscard]] int CountRecords() const { return records_; }

  private:
    Reader reader_;
    std::uint32_t loads_ = 0;
    int records_ = 0;
};

std::string Describe(const Field& field, std::uint64_t value) {
    return "offset " + std::to_string(field.offset) + ", value " + std::to_string(value);
}

/// Each field alone. How many files loaded.
int CheckFields(const Reader& reader, const Bytes& file, const std::vector<Field>& fields) {
    Checker checker(reader);
    for (const Field& field : fields) {
        for (const std::uint64_t value : field.values) {
            SCOPED_TRACE(Describe(field, value));
            Bytes changed = file;
            Test_PokeLe(changed, field.offset, value, field.byteCount);
            checker.Check(changed);
            if (testing::Test::HasFailure()) return 0;
        }
    }
    return checker.CountRecords();
}

/// Each field together with each extent.
int CheckPairs(const Reader& reader, const Bytes& file, const std::vector<Field>& fields,
               const std::vector<Field>& extents) {
    Checker checker(reader);
    for (const Field& extent : extents) {
        for (const std::uint64_t pixels : extent.values) {
            SCOPED_TRACE("extent at " + Describe(extent, pixels));
            Bytes base = file;
            Test_PokeLe(base, extent.offset, pixels, extent.byteCount);
            for (const Field& field : fields) {
                if (field.offset == extent.offset) continue;
                for (const std::uint64_t value : field.values) {
                    SCOPED_TRACE(Describe(field, value));
                    Bytes changed = base;
                    Test_PokeLe(changed, field.offset, value, field.byteCount);
                    checker.Check(changed);
                    if (testing::Test::HasFailure()) return 0;
                }
            }
        }
    }
    return checker.CountRecords();
}

// ASTC.

const Reader kAstcReader{LoadAstc, Told_FromAstc};

Bytes MakeAstcFile() { return AstcBuilder().Blocks(12, 12).Size(4, 4).Solid({}, 5462).Build(); }

/// Of 24 bits.
std::vector<Field> ListAstcExtents() {
    const std::vector<std::uint64_t> values{0,        1,        0xFFFF,   0x10000,  0x7FFFFF,
                                            0x800000, 0xFFFFFC, 0xFFFFFD, 0xFFFFFE, 0xFFFFFF};
    return {{7, 3, values}, {10, 3, values}, {13, 3, values}};
}

std::vector<Field> ListAstcFields() {
    std::vector<Field> fields = ListAstcExtents();
    fields.push_back({0, 4, ListExtremes32()});
    for (const std::size_t at : {4u, 5u, 6u}) {
        fields.push_back({at, 1, {0, 1, 4, 12, 0x7F, 0x80, 0xFC, 0xFD, 0xFE, 0xFF}});
    }
    return fields;
}

TEST(AstcHeaderExtremes, EveryField) {
    EXPECT_GT(CheckFields(kAstcReader, MakeAstcFile(), ListAstcFields()), 20);
}

TEST(AstcHeaderExtremes, EveryFieldWithEveryExtent) {
    EXPECT_GT(CheckPairs(kAstcReader, MakeAstcFile(), ListAstcFields(), ListAstcExtents()), 100);
}

// KTX.

struct KtxKind {
    const char* name;
    bool compressed;
    std::uint32_t gl;
    std::uint32_t vk;
    std::size_t payloadBytes;  ///< The large one, or 0: there is never a payload.

    [[nodiscard]] Bytes MakePayload(Payload size) const {
        return Bytes(size == Payload::Large ? payloadBytes : std::min(payloadBytes, kSmallBytes));
    }
    [[nodiscard]] Bytes Make1(Payload size) const {
        Ktx1Builder builder;
        compressed ? builder.Compressed(gl) : builder.Uncompressed(gl);
        return builder.Size(GetSide(), GetSide()).Level(MakePayload(size)).Build();
    }
    [[nodiscard]] Bytes Make2(Payload size) const {
        return Ktx2Builder().Format(vk).Size(GetSide(), GetSide()).Level(MakePayload(size)).Build();
    }
    [[nodiscard]] std::uint32_t GetSide() const { return compressed ? 4 : 1; }
    /// The codec builds its tables for every image.
    [[nodiscard]] bool IsSlow() const { return gl == 0x93BD && payloadBytes != 0; }
};

void PrintTo(const KtxKind& kind, std::ostream* stream) { *stream << kind.name; }

constexpr std::size_t kRow = 0x10000;

const std::vector<KtxKind> kKtxKinds{
    {"Dxt1", true, 0x83F1, 133, kRow * 2},    {"Dxt5", true, 0x83F3, 137, kRow * 4},
    {"Etc2Rgb", true, 0x9274, 147, kRow * 2}, {"Etc2Rgba", true, 0x9278, 151, kRow * 4},
    {"EacR11", true, 0x9270, 153, kRow * 2},  {"EtcEmpty", true, 0x9274, 147, 0},
    {"EacEmpty", true, 0x9270, 153, 0},       {"Astc", true, 0x93BD, 183, 5462 * 16},
    {"AstcEmpty", true, 0x93BD, 183, 0},      {"Rgba8", false, 0x8058, 37, kRow * 4},
    {"Rgb8", false, 0x8051, 23, kRow * 4},
};

const Reader kKtx1Reader{Test_LoadKtx, Told_FromKtx1};
const Reader kKtx2Reader{Test_LoadKtx, Told_FromKtx2};

class KtxHeaderExtremes : public testing::TestWithParam<KtxKind> {
  protected:
    const KtxKind& kind_ = GetParam();
};

/// Endianness to bytesOfKeyValueData; and imageSize, or the size of a pair.
std::vector<Field> ListKtx1Fields() { return ListWords(12, 68); }
std::vector<Field> ListKtx1Extents() { return ListWords(36, 44); }

/// The words of the header, its fields of 64 bits, the entry of the level index, and the size of
/// the descriptor.
std::vector<Field> ListKtx2Fields(const std::vector<std::uint64_t>& values) {
    std::vector<Field> fields = ListWords(12, 64);
    for (const std::size_t at : {64u, 72u, 80u, 88u, 96u}) {
        fields.push_back({at, 8, values});
    }
    fields.push_back({104, 4, ListExtremes32()});
    return fields;
}
std::vector<Field> ListKtx2Extents() { return ListWords(20, 28); }

TEST_P(KtxHeaderExtremes, EveryFieldOfKtx1) {
    EXPECT_GT(CheckFields(kKtx1Reader, kind_.Make1(Payload::Large), ListKtx1Fields()), 20);
}

TEST_P(KtxHeaderExtremes, EveryFieldOfKtx1WithEveryExtent) {
    if (kind_.IsSlow()) return;  // as without payload, and minutes longer
    EXPECT_GT(
        CheckPairs(kKtx1Reader, kind_.Make1(Payload::Small), ListKtx1Fields(), ListKtx1Extents()),
        100);
}

TEST_P(KtxHeaderExtremes, EveryFieldOfKtx2) {
    const auto values = kind_.IsSlow() ? ListExtremes32() : ListMoreExtremes64();
    EXPECT_GT(CheckFields(kKtx2Reader, kind_.Make2(Payload::Large), ListKtx2Fields(values)), 100);
}

TEST_P(KtxHeaderExtremes, EveryFieldOfKtx2WithEveryExtent) {
    if (kind_.IsSlow()) return;  // as without payload, and minutes longer
    EXPECT_GT(CheckPairs(kKtx2Reader, kind_.Make2(Payload::Small), ListKtx2Fields(ListExtremes64()),
                         ListKtx2Extents()),
              250);
}

TEST_P(KtxHeaderExtremes, EveryExtentWithEveryExtent) {
    const auto check = [](const Reader& reader, const Bytes& file,
                          const std::vector<Field>& extents) {
        EXPECT_GE(CheckPairs(reader, file, extents, extents), 10);
    };
    check(kKtx1Reader, kind_.Make1(Payload::Large), ListKtx1Extents());
    check(kKtx2Reader, kind_.Make2(Payload::Large), ListKtx2Extents());
}

// With a pair, the data behind the header are read; without levels behind them nothing is.
TEST_P(KtxHeaderExtremes, TheSizesOfAPairAndOfAllPairs) {
    const Bytes pair = Test_KeyValuePair("KTXorientation", "S=r,T=d");
    const auto check = [&](const Reader& reader, const Bytes& file, std::size_t pairAt,
                           std::size_t totalAt) {
        const std::vector<Field> pairSize{{pairAt, 4, ListExtremes32()}};
        const std::vector<Field> total{{totalAt, 4, ListExtremes32()}};
        EXPECT_GT(CheckPairs(reader, file, pairSize, total), 0);
    };
    Ktx1Builder builder;
    kind_.compressed ? builder.Compressed(kind_.gl) : builder.Uncompressed(kind_.gl);
    check(kKtx1Reader, builder.KeyValueBytes(pair).Level(Bytes(kind_.payloadBytes)).Build(), 64,
          60);
    check(
        kKtx2Reader,
        Ktx2Builder().Format(kind_.vk).KeyValueBytes(pair).Level(Bytes(kind_.payloadBytes)).Build(),
        148, 60);
}

INSTANTIATE_TEST_SUITE_P(Kinds, KtxHeaderExtremes, testing::ValuesIn(kKtxKinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

// PVR.

struct PvrKind {
    const char* name;
    std::uint32_t legacyType;  ///< 0: the legacy header has no such format.
    std::uint32_t formatLow;
    std::uint32_t formatHigh;
    std::size_t payloadBytes;  ///< As above.

    [[nodiscard]] Bytes MakePayload(Payload size) const {
        return Bytes(size == Payload::Large ? payloadBytes : std::min(payloadBytes, kSmallBytes));
    }
    [[nodiscard]] PvrV3Builder StartV3() const {
        return PvrV3Builder()
            .Set(PvrV3Field::FormatLow, formatLow)
            .Set(PvrV3Field::FormatHigh, formatHigh)
            .Size(GetSide(), GetSide());
    }
    [[nodiscard]] Bytes MakeV3(Payload size) const {
        return StartV3().Data(MakePayload(size)).Build();
    }
    [[nodiscard]] Bytes MakeV3WithMetadata() const {
        return StartV3()
            .Metadata(kTestPvrV3Word, 3, {0, 1, 0, 0})
            .Metadata(kTestPvrV3Word, 2, Bytes(12))
            .Data(MakePayload(Payload::Small))
            .Build();
    }
    [[nodiscard]] Bytes MakeLegacy(Payload size) const {
        return PvrLegacyBuilder()
            .Type(legacyType)
            .Size(GetSide(), GetSide())
            .Data(MakePayload(size))
            .Build();
    }
    [[nodiscard]] std::uint32_t GetSide() const { return formatHigh == 0 ? 4 : 1; }
};

void PrintTo(const PvrKind& kind, std::ostream* stream) { *stream << kind.name; }

const std::vector<PvrKind> kPvrKinds{
    {"Pvrtc2", 24, 1, 0, kRow * 4},
    {"Pvrtc4", 25, 2, 0, kRow * 4},
    {"Etc1", 54, 6, 0, kRow * 2},
    {"Etc2Rgba", 56, 23, 0, kRow * 4},
    {"EacRg11", 0, 26, 0, kRow * 4},
    {"Dxt1", 32, 7, 0, kRow * 2},
    {"Dxt5", 36, 11, 0, kRow * 4},
    {"EtcEmpty", 0, 22, 0, 0},
    {"EacEmpty", 0, 25, 0, 0},
    {"Rgba8888", 18, Test_ToPvrWord(std::string_view("rgba")), 0x08080808, kRow * 4},
    {"Rgb888", 21, Test_ToPvrWord(std::string_view("rgb")), 0x00080808, kRow * 4},
    {"NoBits", 0, Test_ToPvrWord(std::string_view("l")), 0x00000008, kRow * 4},
};

const Reader kPvrReader{Test_LoadPvr, Told_FromPvr};

class PvrHeaderExtremes : public testing::TestWithParam<PvrKind> {
  protected:
    const PvrKind& kind_ = GetParam();
};

/// With another value for the high bytes of the flags, whose lowest one is the pixel type.
std::vector<Field> ListPvrLegacyFields(std::uint32_t type) {
    std::vector<Field> fields = ListWords(0, 52);
    for (const std::uint32_t value : kTestExtremes) {
        fields[4].values.push_back((value & ~0xFFu) | type);
    }
    return fields;
}

TEST_P(PvrHeaderExtremes, EveryFieldOfTheLegacyHeader) {
    if (kind_.legacyType == 0) return;
    EXPECT_GT(CheckFields(kPvrReader, kind_.MakeLegacy(Payload::Large),
                          ListPvrLegacyFields(kind_.legacyType)),
              80);
}

TEST_P(PvrHeaderExtremes, EveryFieldOfTheLegacyHeaderWithEveryExtent) {
    if (kind_.legacyType == 0) return;
    EXPECT_GT(CheckPairs(kPvrReader, kind_.MakeLegacy(Payload::Small),
                         ListPvrLegacyFields(kind_.legacyType), ListWords(4, 12)),
              150);
}

TEST_P(PvrHeaderExtremes, EveryFieldOfTheV3Header) {
    EXPECT_GT(CheckFields(kPvrReader, kind_.MakeV3(Payload::Large), ListWords(0, 52)), 70);
}

TEST_P(PvrHeaderExtremes, EveryFieldOfTheV3HeaderWithEveryExtent) {
    EXPECT_GT(
        CheckPairs(kPvrReader, kind_.MakeV3(Payload::Small), ListWords(0, 52), ListWords(24, 32)),
        120);
}

TEST_P(PvrHeaderExtremes, EveryExtentWithEveryExtent) {
    EXPECT_GE(
        CheckPairs(kPvrReader, kind_.MakeV3(Payload::Large), ListWords(24, 32), ListWords(24, 32)),
        10);
    if (kind_.legacyType == 0) return;
    EXPECT_GE(CheckPairs(kPvrReader, kind_.MakeLegacy(Payload::Large), ListWords(4, 12),
                         ListWords(4, 12)),
              10);
}

// FourCC, key and size of either entry, the bytes behind them, and the size of all.
TEST_P(PvrHeaderExtremes, EveryFieldOfTheMetadataWithEveryExtentAndSize) {
    const Bytes file = kind_.MakeV3WithMetadata();
    std::vector<Field> fields = ListWords(52, 80);
    fields[1].values.push_back(3);
    EXPECT_GT(CheckFields(kPvrReader, file, fields), 70);
    EXPECT_GT(CheckPairs(kPvrReader, file, fields, ListWords(24, 32)), 100);
    EXPECT_GT(CheckPairs(kPvrReader, file, fields, ListWords(48, 52)), 0);
}

INSTANTIATE_TEST_SUITE_P(Kinds, PvrHeaderExtremes, testing::ValuesIn(kPvrKinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace
