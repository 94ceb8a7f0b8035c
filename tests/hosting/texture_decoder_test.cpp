// What hosts get of the library through tools/hosting. All tests share the library's static state.
#include "texture_decoder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string_view>

#include "koru_image_ptr.h"
#include "ktx_builder.h"
#include "pvr_builder.h"

namespace {

using koru_host::LibraryDoors;

const LibraryDoors kDoors{KORU_Load_ASTC_From_Memory, KORU_Load_KTX_From_Memory,
                          KORU_Load_PVR_From_Memory, KORU_Delete_Image};

constexpr PvrChannelWidths kFourBytes{8, 8, 8, 8};

KoruImagePtr Decode(const Bytes& bytes) {
    return KoruImagePtr(koru_host::Texture_Decode(kDoors, bytes));
}

Bytes MakePvr(std::string_view names) {
    return PvrV3Builder().Packed(names, kFourBytes).Size(1, 1).Data({10, 20, 30, 40}).Build();
}

/// A footprint that ASTC does not have, with room for its one block: transparent black.
Bytes MakeBlankAstc(std::uint8_t width, std::uint8_t height) {
    Bytes file{0x13, 0xAB, 0xA1, 0x5C, 255, 255, 1, width, 0, 0, height, 0, 0, 1, 0, 0};
    file.resize(file.size() + 16);
    return file;
}

TEST(TextureDecode, TellsContainersByTheirBytesAndGivesRgba) {
    const auto pvr = Decode(MakePvr("rgba"));
    ASSERT_NE(pvr, nullptr);
    EXPECT_EQ(Test_GetPixels(*pvr), (Bytes{10, 20, 30, 40}));

    const auto astc = Decode(MakeBlankAstc(2, 1));
    ASSERT_NE(astc, nullptr);
    EXPECT_EQ(Test_GetPixels(*astc), Bytes(8));
}

TEST(TextureDecode, GivesNothingForOtherFiles) {
    const Bytes png{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 0, 0, 0, 13};
    EXPECT_EQ(Decode(png), nullptr);
    EXPECT_EQ(Decode({}), nullptr);
    EXPECT_EQ(Decode({'P', 'V', 'R'}), nullptr);
    EXPECT_EQ(Decode({'P', 'V', 'R', 3}), nullptr);
}

TEST(TextureDecode, GivesNothingForAnImageWithoutPixels) {
    static bool s_wasDeleted = false;
    const LibraryDoors doors{
        [](const std::uint8_t*, std::uint32_t, std::uint32_t) { return new KORU_Image{}; }, nullptr,
        nullptr,
        [](KORU_Image* image) {
            s_wasDeleted = true;
            delete image;
        }};
    EXPECT_EQ(koru_host::Texture_Decode(doors, MakeBlankAstc(1, 1)), nullptr);
    EXPECT_TRUE(s_wasDeleted);
}

TEST(TextureDecode, RefusesFourGibibytesWithoutLookingBehindTheMagic) {
    const Bytes file = MakeBlankAstc(1, 1);
    const LibraryDoors doors{[](const std::uint8_t*, std::uint32_t, std::uint32_t) -> KORU_Image* {
                                 ADD_FAILURE() << "the library was called";
                                 return nullptr;
                             },
                             nullptr, nullptr, KORU_Delete_Image};
    const std::span<const std::uint8_t> claimed(file.data(), std::size_t{1} << 32);
    EXPECT_EQ(koru_host::Texture_Decode(doors, claimed), nullptr);
}

TEST(TextureDecode, PictureOfThreeChannelsDoesNotDependOnEarlierLoads) {
    const Bytes file = MakePvr({"rgb\0", 4});
    const Bytes expected{10, 20, 30, 255};
    const auto before = Decode(file);
    ASSERT_NE(before, nullptr);
    EXPECT_EQ(Test_GetPixels(*before), expected);

    ASSERT_NE(Decode(MakePvr("rgba")), nullptr);
    // The library itself now shows the fourth byte.
    const KoruImagePtr raw(KORU_Load_PVR_From_Memory(
        file.data(), static_cast<std::uint32_t>(file.size()), KORU_FLAG_RGBA));
    ASSERT_NE(raw, nullptr);
    EXPECT_EQ(Test_GetPixels(*raw), (Bytes{10, 20, 30, 40}));

    const auto after = Decode(file);
    ASSERT_NE(after, nullptr);
    EXPECT_EQ(Test_GetPixels(*after), expected);
}

TEST(TextureStrayAlpha, OfPackedPvrPixelsWithFewerThanFourNamesAlone) {
    const auto mayHave = [](const Bytes& bytes) {
        return koru_host::Texture_MayHaveStrayAlpha(bytes);
    };
    for (const std::string_view names : {"rgba", "bgra", "rgbx"}) {
        EXPECT_FALSE(mayHave(MakePvr(names))) << names;
    }
    for (const std::string_view names : {"rgb\0", "bgr\0", "r\0\0\0", "l\0\0\0"}) {
        EXPECT_TRUE(mayHave(MakePvr({names.data(), 4}))) << names;
    }
    constexpr std::uint32_t kEtc1 = 6, kLegacyRgba = 0x12, kLegacyRgb = 0x15, kLegacyPvrtc4 = 0x19;
    EXPECT_FALSE(mayHave(PvrV3Builder().Compressed(kEtc1).Build()));
    EXPECT_FALSE(mayHave(PvrLegacyBuilder().Type(kLegacyRgba).Build()));
    EXPECT_TRUE(mayHave(PvrLegacyBuilder().Type(kLegacyRgb).Build()));
    EXPECT_FALSE(mayHave(PvrLegacyBuilder().Type(kLegacyPvrtc4).Build()));
    EXPECT_FALSE(mayHave(MakeBlankAstc(1, 1)));

    Bytes cut = MakePvr({"rgb\0", 4});
    cut.resize(kTestPvrHeaderBytes - 1);
    EXPECT_FALSE(mayHave(cut));
}

TEST(TextureDropPayload, LoadsSomethingTinyOfTheSameContainerWithoutPixels) {
    static std::size_t s_loadCount = 0;
    static std::size_t s_deleteCount = 0;
    const auto load = [](const std::uint8_t* data, std::uint32_t size, std::uint32_t flags) {
        EXPECT_EQ(flags, KORU_FLAG_HEADER_ONLY);
        EXPECT_LT(size, 100u);
        ++s_loadCount;
        switch (koru_host::Container_Identify({data, size})) {
            case koru_host::Container::Astc:
                return KORU_Load_ASTC_From_Memory(data, size, flags);
            case koru_host::Container::Ktx1:
                return KORU_Load_KTX_From_Memory(data, size, flags);
            default:
                return KORU_Load_PVR_From_Memory(data, size, flags);
        }
    };
    const auto release = [](KORU_Image* image) {
        ++s_deleteCount;
        KORU_Delete_Image(image);
    };
    const LibraryDoors doors{load, load, load, release};
    const Bytes ktx = Ktx1Builder().Build();
    koru_host::Texture_DropPayload(doors, MakeBlankAstc(1, 1));
    koru_host::Texture_DropPayload(doors, ktx);
    koru_host::Texture_DropPayload(doors, MakePvr("rgba"));
    EXPECT_EQ(s_loadCount, 3u);
    // All three are files that load.
    EXPECT_EQ(s_deleteCount, 3u);

    koru_host::Texture_DropPayload(doors, Bytes{1, 2, 3});
    EXPECT_EQ(s_loadCount, 3u);
}

TEST(TextureReadSize, IsThatOfThePictureWithoutItsPixels) {
    const auto size = koru_host::Texture_ReadSize(kDoors, MakeBlankAstc(3, 2));
    EXPECT_EQ(size.width, 3u);
    EXPECT_EQ(size.height, 2u);
}

TEST(TextureReadSize, IsZeroForWhatDoesNotLoad) {
    for (const Bytes& bytes : {Bytes{}, Bytes{0x13, 0xAB, 0xA1, 0x5C}, Bytes{1, 2, 3}}) {
        const auto size = koru_host::Texture_ReadSize(kDoors, bytes);
        EXPECT_EQ(size.width, 0u);
        EXPECT_EQ(size.height, 0u);
    }
}

}  // namespace
