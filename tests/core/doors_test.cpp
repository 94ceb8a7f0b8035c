// Which state each door works on; the doors themselves are linked in.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

#include "astc/astc_reader.h"
#include "astc_builder.h"
#include "korutex.h"
#include "ktx/ktx_reader.h"
#include "pvr/pvr_reader.h"
#include "test_files.h"

namespace koru {
namespace {

std::string GetName(const FormatState& state) {
    return {state.name.begin(), std::find(state.name.begin(), state.name.end(), 0)};
}

struct Door {
    FormatState& state;
    const char* memoryName;
    KORU_Image* (*loadMemory)(const std::uint8_t*, std::uint32_t, std::uint32_t);
    KORU_Image* (*loadFile)(const KORU_Char*, std::uint32_t);
};

class Doors : public testing::Test {
  protected:
    const std::array<Door, 3> doors_{
        Door{g_astcState, "memory.astc", KORU_Load_ASTC_From_Memory, KORU_Load_ASTC_From_File},
        Door{g_ktxState, "memory.ktx", KORU_Load_KTX_From_Memory, KORU_Load_KTX_From_File},
        Door{g_pvrState, "memory.pvr", KORU_Load_PVR_From_Memory, KORU_Load_PVR_From_File}};

    void NameAll() {
        for (const Door& door : doors_) State_SetName(door.state, "untouched");
    }
    void ExpectOthersUntouched(const Door& used) {
        for (const Door& door : doors_) {
            if (&door.state == &used.state) continue;
            EXPECT_EQ(GetName(door.state), "untouched") << used.memoryName;
        }
    }
};

TEST_F(Doors, MemoryLoadsNameTheirSourceInTheirOwnState) {
    const std::uint8_t byte = 0;
    for (const Door& door : doors_) {
        NameAll();
        EXPECT_EQ(door.loadMemory(&byte, 1, 2), nullptr);
        EXPECT_EQ(GetName(door.state), door.memoryName);
        ExpectOthersUntouched(door);
    }
}

TEST_F(Doors, FileLoadsNoteThePathInTheirOwnState) {
    TempFolder folder;
    Test_WriteFile(folder / "text", Bytes(100, 'x'));
    const KoruPath path = Test_ToKoruPath(folder / "text");
    for (const Door& door : doors_) {
        NameAll();
        EXPECT_EQ(door.loadFile(path.c_str(), 2), nullptr);
        EXPECT_EQ(KoruPath(door.state.name.data()), path);
        ExpectOthersUntouched(door);
    }
}

TEST_F(Doors, ThePayloadOfTheLastLoadStays) {
    const auto file = AstcBuilder().Size(5, 5).Solid({1, 2, 3, 4}, 4).Build();
    KORU_Delete_Image(
        KORU_Load_ASTC_From_Memory(file.data(), static_cast<std::uint32_t>(file.size()), 2));
    ASSERT_EQ(g_astcState.levels.count, 1);
    EXPECT_EQ(g_astcState.levels.entries[0].byteSize, 64u);
    EXPECT_FALSE(g_astcState.surface.pixels);
    EXPECT_EQ(g_astcState.surface.reservedB, 1u);
}

}  // namespace
}  // namespace koru
