#include "c_host.h"

#include <gtest/gtest.h>

#include "astc_builder.h"

TEST(CHost, SeesTheRecordLayout) { EXPECT_EQ(CHost_GetRecordBytes(), 64u); }

TEST(CHost, LoadsATexture) {
    const auto file = AstcBuilder().Solid({9, 8, 7, 6}).Build();
    unsigned char rgba[4] = {};
    ASSERT_EQ(CHost_GetFirstPixel(file.data(), static_cast<unsigned>(file.size()), rgba), 1);
    EXPECT_EQ(TestColor({rgba[0], rgba[1], rgba[2], rgba[3]}), TestColor({9, 8, 7, 6}));
}

TEST(CHost, GetsFailureForNullArguments) { EXPECT_EQ(CHost_CallAllWithNull(), 0); }
