// PVR loads and the buffers below them, with each of their allocations refused in turn.
#include <gtest/gtest.h>

#include "core/load_sequence.h"
#include "heap_faults.h"
#include "pvr/pvr_reader.h"
#include "pvr/pvr_state.h"
#include "pvr_builder.h"

namespace koru {
namespace {

struct File {
    const char* name;
    std::uint32_t pixelType;
    std::size_t payloadBytes;  ///< Of 8 x 8 pixels.
};
void PrintTo(const File& file, std::ostream* out) { *out << file.name; }

class PvrAllocationFailure : public testing::TestWithParam<File> {};

TEST_P(PvrAllocationFailure, GivesNullAndTheNextLoadWorks) {
    const Bytes file = PvrLegacyBuilder()
                           .Type(GetParam().pixelType)
                           .Size(8, 8)
                           .Data(Bytes(GetParam().payloadBytes, 0x5A))
                           .Build();
    std::size_t allocations = 0;
    const auto load = [&](std::size_t failAt) {
        // What the last load left must not serve this one.
        State_Release(g_pvrState);
        HeapFaults_Arm(failAt);
        const ImageHandle image =
            Load_FromMemory(kPvrFormat, file.data(), static_cast<std::uint32_t>(file.size()), 2);
        allocations = HeapFaults_Disarm();
        return image != nullptr;
    };
    ASSERT_TRUE(load(0));
    const std::size_t count = allocations;
    EXPECT_GE(count, 3u) << "level table, payload, record";
    for (std::size_t failAt = 1; failAt <= count; ++failAt) {
        EXPECT_FALSE(load(failAt)) << "allocation " << failAt << " of " << count;
        EXPECT_TRUE(load(0)) << "after allocation " << failAt;
    }
}

INSTANTIATE_TEST_SUITE_P(Files, PvrAllocationFailure,
                         testing::Values(File{"Rgba8888", 0x12, 256}, File{"Rgb888", 0x15, 192},
                                         File{"Pvrtc2", 0x18, 32}, File{"Pvrtc4", 0x19, 32},
                                         File{"Dxt1", 0x20, 32}, File{"Etc1", 0x36, 32}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(ByteBufferAllocationFailure, ShrinkingThatFindsNoMemoryKeepsTheOld) {
    ByteBuffer buffer = ByteBuffer::Allocate(100);
    ASSERT_TRUE(buffer);
    buffer.Data()[0] = 7;
    buffer.Data()[10] = 8;
    HeapFaults_Arm(1);
    buffer.Shrink(10);
    EXPECT_EQ(HeapFaults_Disarm(), 1u);
    ASSERT_TRUE(buffer);
    EXPECT_EQ(buffer.Size(), 10u);
    EXPECT_EQ(buffer.Data()[0], 7);
    EXPECT_EQ(buffer.Data()[10], 0) << "slack";
}

}  // namespace
}  // namespace koru
