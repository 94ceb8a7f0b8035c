// The adapter against a codec that does as the test says: which calls it makes, with which
// arguments, and what it makes of every outcome. Built twice, for either form of
// astcenc_context_alloc.
#include <astcenc.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "astc/astc_codec.h"

namespace {

using koru::AstcDecodeResult;

/// What the codec was asked, and what it shall answer.
struct StubCodec {
    std::vector<std::string> calls;
    std::function<astcenc_error()> init = [] { return ASTCENC_SUCCESS; };
    std::function<astcenc_error()> allocate = [] { return ASTCENC_SUCCESS; };
    std::function<astcenc_error()> decompress = [] { return ASTCENC_SUCCESS; };
};
StubCodec g_codec;

int g_contextStorage;
astcenc_context* GetContext() { return reinterpret_cast<astcenc_context*>(&g_contextStorage); }

}  // namespace

extern "C" {

astcenc_error astcenc_config_init(astcenc_profile profile, unsigned blockX, unsigned blockY,
                                  unsigned blockZ, float quality, unsigned flags,
                                  astcenc_config* config) {
    g_codec.calls.emplace_back("init");
    EXPECT_EQ(profile, ASTCENC_PRF_LDR);
    EXPECT_EQ(blockX, 6u);
    EXPECT_EQ(blockY, 5u);
    EXPECT_EQ(blockZ, 4u);
    EXPECT_EQ(quality, 60.0f);
    EXPECT_EQ(flags, 0u);
    EXPECT_NE(config, nullptr);
    return g_codec.init();
}

astcenc_error astcenc_context_alloc(const astcenc_config* config, unsigned threadCount,
                                    astcenc_context** context
#if defined(KORUTEX_TEST_PARENT_CONTEXT)
                                    ,
                                    const astcenc_context* parent
#endif
) {
    g_codec.calls.emplace_back("alloc");
    EXPECT_NE(config, nullptr);
    EXPECT_EQ(threadCount, 1u);
#if defined(KORUTEX_TEST_PARENT_CONTEXT)
    EXPECT_EQ(parent, nullptr);
#endif
    const astcenc_error result = g_codec.allocate();
    if (result == ASTCENC_SUCCESS) *context = GetContext();
    return result;
}

astcenc_error astcenc_decompress_image(astcenc_context* context, const std::uint8_t* data,
                                       std::size_t dataBytes, astcenc_image* image,
                                       const astcenc_swizzle* swizzle, unsigned threadIndex) {
    g_codec.calls.emplace_back("decompress");
    EXPECT_EQ(context, GetContext());
    EXPECT_EQ(data[0], 42);
    EXPECT_EQ(dataBytes, 16u);
    EXPECT_EQ(image->dim_x, 2u);
    EXPECT_EQ(image->dim_y, 1u);
    EXPECT_EQ(image->dim_z, 1u);
    EXPECT_EQ(image->data_type, ASTCENC_TYPE_U8);
    EXPECT_EQ(swizzle->r, ASTCENC_SWZ_R);
    EXPECT_EQ(swizzle->g, ASTCENC_SWZ_G);
    EXPECT_EQ(swizzle->b, ASTCENC_SWZ_B);
    EXPECT_EQ(swizzle->a, ASTCENC_SWZ_A);
    EXPECT_EQ(threadIndex, 0u);
    static_cast<std::uint8_t*>(image->data[0])[7] = 99;  // the last byte of the caller's pixels
    return g_codec.decompress();
}

void astcenc_context_free(astcenc_context* context) {
    g_codec.calls.emplace_back("free");
    EXPECT_EQ(context, GetContext());
}

}  // extern "C"

namespace {

using Calls = std::vector<std::string>;

class CodecStub : public testing::Test {
  protected:
    CodecStub() { g_codec = {}; }
    AstcDecodeResult Decode() {
        const std::array<std::uint8_t, 16> payload{42};
        return koru::Astc_DecodeBlocks(payload, 2, 1, {6, 5, 4}, pixels_.data());
    }
    std::array<std::uint8_t, 8> pixels_{};
};

TEST_F(CodecStub, IsAskedInOrderAndWritesIntoThePixels) {
    EXPECT_EQ(Decode(), AstcDecodeResult::Decoded);
    EXPECT_EQ(g_codec.calls, Calls({"init", "alloc", "decompress", "free"}));
    EXPECT_EQ(pixels_[7], 99);
}

TEST_F(CodecStub, ARefusedConfigurationMakesNoContext) {
    g_codec.init = [] { return ASTCENC_ERR_BAD_PARAM; };
    EXPECT_EQ(Decode(), AstcDecodeResult::Refused);
    EXPECT_EQ(g_codec.calls, Calls({"init"}));
}

TEST_F(CodecStub, ARefusedContextIsNotFreed) {
    g_codec.allocate = [] { return ASTCENC_ERR_BAD_PARAM; };
    EXPECT_EQ(Decode(), AstcDecodeResult::Refused);
    EXPECT_EQ(g_codec.calls, Calls({"init", "alloc"}));
}

TEST_F(CodecStub, NoMemoryForAContextIsOutOfMemory) {
    g_codec.allocate = [] { return ASTCENC_ERR_OUT_OF_MEM; };
    EXPECT_EQ(Decode(), AstcDecodeResult::OutOfMemory);
    EXPECT_EQ(g_codec.calls, Calls({"init", "alloc"}));
}

TEST_F(CodecStub, AThrowingAllocationIsOutOfMemory) {
    g_codec.allocate = []() -> astcenc_error { throw std::bad_alloc(); };
    EXPECT_EQ(Decode(), AstcDecodeResult::OutOfMemory);
}

TEST_F(CodecStub, AFailedDecompressionFreesTheContext) {
    // Also with the code that means too short a payload there.
    for (astcenc_error error : {ASTCENC_ERR_BAD_PARAM, ASTCENC_ERR_OUT_OF_MEM}) {
        g_codec.calls.clear();
        g_codec.decompress = [error] { return error; };
        EXPECT_EQ(Decode(), AstcDecodeResult::Refused);
        EXPECT_EQ(g_codec.calls, Calls({"init", "alloc", "decompress", "free"}));
    }
}

TEST_F(CodecStub, AThrowingDecompressionFreesTheContext) {
    g_codec.decompress = []() -> astcenc_error { throw std::bad_alloc(); };
    EXPECT_EQ(Decode(), AstcDecodeResult::OutOfMemory);
    EXPECT_EQ(g_codec.calls, Calls({"init", "alloc", "decompress", "free"}));
}

}  // namespace
