#include "ktx/ktx_key_value.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/source_buffer.h"

namespace koru {
namespace {

using namespace std::string_literals;

/// A pair as the file stores it.
std::string Pair(const std::string& text) {
    std::string bytes;
    for (unsigned shift : {0u, 8u, 16u, 24u}) {
        bytes.push_back(static_cast<char>(text.size() >> shift & 0xFF));
    }
    return bytes + text;
}

SourceBuffer Borrow(const std::string& bytes) {
    return Source_Borrow(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                         static_cast<std::uint32_t>(bytes.size()));
}

std::optional<KtxPair> Read(const std::string& bytes) {
    SourceBuffer source = Borrow(bytes);
    return Ktx_ReadPair(source);
}

TEST(KtxReadPair, SplitsAtTheFirstNul) {
    const std::string bytes = Pair("key\0value\0"s) + "rest";
    SourceBuffer source = Borrow(bytes);
    const auto pair = Ktx_ReadPair(source);
    ASSERT_TRUE(pair);
    EXPECT_EQ(pair->key, "key");
    EXPECT_EQ(pair->value, "value");
    EXPECT_EQ(source.offset, 4u + 10u);
}

TEST(KtxReadPair, TakesTextsWithoutNulOrBytes) {
    const std::string withoutNul = Pair("key");
    const auto pair = Read(withoutNul);
    ASSERT_TRUE(pair);
    EXPECT_EQ(pair->key, "key");
    EXPECT_EQ(pair->value, "");
    const std::string emptyBytes = Pair("");
    const auto empty = Read(emptyBytes);
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->key, "");
    EXPECT_EQ(empty->value, "");
}

TEST(KtxReadPair, NeedsEveryByteOfThePair) {
    const std::string whole = Pair("key\0value\0"s);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(Read(whole.substr(0, size))) << size;
    }
    EXPECT_FALSE(Read("\xFF\xFF\xFF\xFF"s + "key"));
}

// Of a longer pair the first 256 bytes are looked at; the others must be there all the same.
TEST(KtxReadPair, LooksAtTheFirst256Bytes) {
    const std::string text = "k\0"s + std::string(300, 'v');
    const std::string bytes = Pair(text);
    const auto pair = Read(bytes);
    ASSERT_TRUE(pair);
    EXPECT_EQ(pair->key, "k");
    EXPECT_EQ(pair->value, std::string(254, 'v'));
    EXPECT_FALSE(Read(bytes.substr(0, bytes.size() - 1)));
}

std::optional<std::uint32_t> Get11(std::string_view key, std::string_view value) {
    return Ktx_GetOrientation11({.key = key, .value = value});
}
std::optional<std::uint32_t> Get20(std::string_view key, std::string_view value) {
    return Ktx_GetOrientation20({.key = key, .value = value});
}

TEST(KtxOrientation, KeyMatchesInAnyCase) {
    for (const char* key :
         {"KTXorientation", "KTXOrientation", "ktxorientation", "KTXORIENTATION"}) {
        EXPECT_EQ(Get11(key, "S=r,T=u"), 1u) << key;
        EXPECT_EQ(Get20(key, "ru"), 1u) << key;
    }
    for (const char* key :
         {"", "KTXorientatio", "KTXorientations", "KTXwriter", "KTXorientat[on"}) {
        EXPECT_EQ(Get11(key, "S=r,T=u"), std::nullopt) << key;
        EXPECT_EQ(Get20(key, "ru"), std::nullopt) << key;
    }
}

TEST(KtxOrientation11, IsOneForRightAndUpOnly) {
    for (const char* value : {"S=r,T=u", "T=u,S=r", "S=r,T=u,R=i", "xS=rT=ux", "S=right T=up"}) {
        EXPECT_EQ(Get11("KTXorientation", value), 1u) << value;
    }
    for (const char* value : {"", "S=r,T=d", "S=l,T=u", "S=R,T=u", "S=r,T=U", "s=r,t=u", "T=u",
                              "S=r", "S=r,T=", "S=", "ru", "S=l,S=r,T=u", "T=d,T=u,S=r"}) {
        EXPECT_EQ(Get11("KTXorientation", value), 0u) << value;
    }
}

TEST(KtxOrientation20, IsOneForRightAndUpOnly) {
    for (const char* value : {"ru", "RU", "Ru", "rU"}) {
        EXPECT_EQ(Get20("KTXorientation", value), 1u) << value;
    }
    for (const char* value : {"", "r", "rd", "RD", "rdi", "rui", "lu", "ru ", "S=r,T=u"}) {
        EXPECT_EQ(Get20("KTXorientation", value), 0u) << value;
    }
}

}  // namespace
}  // namespace koru
