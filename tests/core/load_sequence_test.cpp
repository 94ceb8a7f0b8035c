// The sequence of a load, with parsers that do as the test says.
#include "core/load_sequence.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "core_test_helpers.h"
#include "test_files.h"

namespace koru {
namespace {

FormatState g_state;
std::function<int(SourceBuffer&, const KORU_Char*)> g_parse;

int Parse(SourceBuffer& source, const KORU_Char* name) { return g_parse(source, name); }

constexpr ContainerFormat kFormat{.state = g_state, .memoryName = "memory.test", .parse = Parse};

/// A parser that fills the surface with one pixel and gives `result`.
int FillAndReturn(int result) {
    Test_FillSurface(g_state.surface, 1, 1, 4, {10, 20, 30, 40});
    return result;
}

std::string GetName() {
    return {g_state.name.begin(), std::find(g_state.name.begin(), g_state.name.end(), 0)};
}

class LoadSequence : public testing::Test {
  protected:
    LoadSequence() {
        State_Release(g_state);
        Surface_Clear(g_state.surface);
        g_state.surface.reservedB = 0;
        g_parse = [](SourceBuffer&, const KORU_Char*) {
            ADD_FAILURE() << "the parser must not be called";
            return 0;
        };
        Test_WriteFile(folder_ / "file.bin", kBytes);
        path_ = Test_ToKoruPath(folder_ / "file.bin");
    }
    const Bytes kBytes{1, 2, 3, 4, 5};
    TempFolder folder_;
    KoruPath path_;
};

TEST_F(LoadSequence, FileIsReadWholeAndOwned) {
    g_parse = [this](SourceBuffer& source, const KORU_Char* name) {
        EXPECT_EQ(Bytes(source.data, source.data + source.size), kBytes);
        EXPECT_EQ(source.offset, 0u);
        EXPECT_TRUE(source.owned);
        EXPECT_EQ(KoruPath(name), path_);
        return FillAndReturn(1);
    };
    const auto image = Load_FromFile(kFormat, path_.c_str(), 2);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(KoruPath(g_state.name.data()), path_);
    EXPECT_FALSE(g_state.surface.pixels) << "no pixels outlive the call";
    EXPECT_EQ(g_state.surface.width, 0u);
}

TEST_F(LoadSequence, MemoryIsBorrowed) {
    g_parse = [this](SourceBuffer& source, const KORU_Char* name) {
        EXPECT_EQ(source.data, kBytes.data());
        EXPECT_EQ(source.size, 5u);
        EXPECT_EQ(source.offset, 0u);
        EXPECT_FALSE(source.owned);
        EXPECT_NE(name, nullptr);
        EXPECT_EQ(GetName(), "memory.test");
        return FillAndReturn(1);
    };
    const auto image = Load_FromMemory(kFormat, kBytes.data(), 5, 2);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(GetName(), "memory.test");
    EXPECT_FALSE(g_state.surface.pixels);
}

TEST_F(LoadSequence, AFailedFileParseGivesNullAndLeavesTheSurface) {
    g_parse = [](SourceBuffer&, const KORU_Char*) { return FillAndReturn(0); };
    EXPECT_EQ(Load_FromFile(kFormat, path_.c_str(), 2), nullptr);
    EXPECT_TRUE(g_state.surface.pixels);
    EXPECT_EQ(g_state.surface.width, 1u);
}

TEST_F(LoadSequence, AFailedMemoryParseIsNotLookedAt) {
    g_parse = [](SourceBuffer&, const KORU_Char*) { return FillAndReturn(0); };
    EXPECT_NE(Load_FromMemory(kFormat, kBytes.data(), 5, 2), nullptr);
    g_parse = [](SourceBuffer&, const KORU_Char*) { return 0; };
    EXPECT_EQ(Load_FromMemory(kFormat, kBytes.data(), 5, 2), nullptr);
}

TEST_F(LoadSequence, TheSurfaceIsClearBeforeParsing) {
    const auto parse = [](SourceBuffer&, const KORU_Char*) {
        EXPECT_FALSE(g_state.surface.pixels);
        EXPECT_EQ(g_state.surface.width, 0u);
        EXPECT_EQ(g_state.surface.reservedB, 1u) << "the alpha flag is sticky";
        return 1;
    };
    for (bool fromFile : {true, false}) {
        FillAndReturn(0);
        g_state.surface.reservedB = 1;
        g_parse = parse;
        const auto image = fromFile ? Load_FromFile(kFormat, path_.c_str(), 2)
                                    : Load_FromMemory(kFormat, kBytes.data(), 5, 2);
        EXPECT_EQ(image, nullptr) << "success without pixels is no image";
    }
}

TEST_F(LoadSequence, BadArgumentsTouchNoState) {
    FillAndReturn(0);
    State_SetName(g_state, "before");
    EXPECT_EQ(Load_FromMemory(kFormat, nullptr, 5, 2), nullptr);
    EXPECT_EQ(Load_FromMemory(kFormat, kBytes.data(), 0, 2), nullptr);
    EXPECT_EQ(Load_FromFile(kFormat, nullptr, 2), nullptr);
    SourceBuffer source;
    EXPECT_EQ(Load_ParseFile(kFormat, source, nullptr), 0);
    EXPECT_EQ(GetName(), "before");
    EXPECT_TRUE(g_state.surface.pixels);
}

TEST_F(LoadSequence, AZeroLengthFileFailsWithoutTheParser) {
    Test_WriteFile(folder_ / "empty", {});
    State_SetName(g_state, "before");
    EXPECT_EQ(Load_FromFile(kFormat, Test_ToKoruPath(folder_ / "empty").c_str(), 2), nullptr);
    EXPECT_EQ(GetName(), "before");
}

TEST_F(LoadSequence, AMissingFileFailsWithoutTheParser) {
    EXPECT_EQ(Load_FromFile(kFormat, Test_ToKoruPath(folder_ / "missing").c_str(), 2), nullptr);
}

TEST_F(LoadSequence, AFileOf4GiBFailsWithoutTheParser) {
    Test_WriteFile(folder_ / "huge", {});
    std::error_code error;
    std::filesystem::resize_file(folder_ / "huge", 0x100000001u, error);  // sparse: 4 GiB + 1
    if (error) GTEST_SKIP() << "no sparse file of 4 GiB here: " << error.message();
    EXPECT_EQ(Load_FromFile(kFormat, Test_ToKoruPath(folder_ / "huge").c_str(), 2), nullptr);
}

#if defined(__linux__)
TEST_F(LoadSequence, AFileThatGivesLessThanItsSizeFailsWithoutTheParser) {
    // The kernel tells a page for the size of this file; it holds a few bytes.
    const std::filesystem::path path = "/sys/devices/system/cpu/online";
    std::error_code error;
    if (std::filesystem::file_size(path, error) < 100 || error) GTEST_SKIP() << "no such file";
    ASSERT_LT(Test_ReadFile(path).size(), 100u);
    EXPECT_EQ(Load_FromFile(kFormat, Test_ToKoruPath(path).c_str(), 2), nullptr);
}
#endif

TEST_F(LoadSequence, ParseFileReleasesWhatTheBufferHeld) {
    g_parse = [](SourceBuffer&, const KORU_Char*) { return 7; };
    SourceBuffer source;
    source.owned = ByteBuffer::Allocate(9);
    source.data = source.owned.Data();
    source.size = 9;
    source.offset = 3;
    EXPECT_EQ(Load_ParseFile(kFormat, source, path_.c_str()), 7);
    EXPECT_EQ(source.data, nullptr);
    EXPECT_EQ(source.size, 0u);
    EXPECT_EQ(source.offset, 0u);
    EXPECT_FALSE(source.owned);
}

TEST_F(LoadSequence, ALongPathIsCutInTheNameBufferOnly) {
    const KoruPath longPath(1000, static_cast<KORU_Char>('x'));
    State_SetName(g_state, longPath.c_str());
    EXPECT_EQ(GetName(), std::string(259, 'x'));
    const KoruPath longest(259, static_cast<KORU_Char>('y'));
    State_SetName(g_state, longest.c_str());
    EXPECT_EQ(GetName(), std::string(259, 'y'));
    State_SetName(g_state, std::string(300, 'z'));
    EXPECT_EQ(GetName(), std::string(259, 'z'));
}

TEST(FormatState, ReleaseDropsPayloadAndName) {
    FormatState state;
    State_SetName(state, "name");
    ASSERT_EQ(LevelTable_CreateSingleLevel(state.levels), 1);
    ASSERT_EQ(LevelEntry_SetSize(state.levels.entries[0], 10), 1);
    State_Release(state);
    EXPECT_EQ(state.levels.count, 0);
    EXPECT_EQ(state.levels.entries, nullptr);
    EXPECT_EQ(state.name[0], 0);
}

}  // namespace
}  // namespace koru
