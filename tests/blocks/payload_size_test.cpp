#include "blocks/payload_size.h"

#include <gtest/gtest.h>

namespace koru {
namespace {

TEST(PayloadGetPackedBytes, PadsRowsTo4BytesOfOnePerComponent) {
    EXPECT_EQ(Payload_GetPackedBytes(5, 1, 3), 16u);
    EXPECT_EQ(Payload_GetPackedBytes(5, 7, 3), 112u);
    EXPECT_EQ(Payload_GetPackedBytes(4, 2, 3), 24u);
    EXPECT_EQ(Payload_GetPackedBytes(1, 3, 1), 12u);
    EXPECT_EQ(Payload_GetPackedBytes(4, 3, 1), 12u);
    EXPECT_EQ(Payload_GetPackedBytes(3, 1, 4), 12u);
    EXPECT_EQ(Payload_GetPackedBytes(9, 9, 0), 0u);
}

TEST(PayloadGetPackedBytes, NeverWraps) {
    EXPECT_EQ(Payload_GetPackedBytes(0x10000, 0x10000, 1), std::nullopt);
    EXPECT_EQ(Payload_GetPackedBytes(0x40000000, 1, 4), std::nullopt);
    EXPECT_EQ(Payload_GetPackedBytes(0xFFFFFFFF, 1, 1), std::nullopt) << "the padding counts";
    EXPECT_EQ(Payload_GetPackedBytes(0xFFFFFFFC, 1, 1), 0xFFFFFFFCu);
    EXPECT_EQ(Payload_GetPackedBytes(0xFFFFFFFF, 0xFFFFFFFF, 4), std::nullopt);
}

}  // namespace
}  // namespace koru
