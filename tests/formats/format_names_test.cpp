#include "formats/format_names.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <string>
#include <vector>

namespace koru {
namespace {

using Names = std::map<std::uint32_t, std::string>;
using Words = std::vector<std::string>;

const Words kAstcFootprints{"4x4", "5x4",  "5x5",  "6x5",  "6x6",   "8x5",   "8x6",
                            "8x8", "10x5", "10x6", "10x8", "10x10", "12x10", "12x12"};
const Words kAstc3dFootprints{"3x3x3", "4x3x3", "4x4x3", "4x4x4", "5x4x4",
                              "5x5x4", "5x5x5", "6x5x5", "6x6x5", "6x6x6"};

/// One name after the other, from the number `first` on: before + word + after.
void Add(Names& names, std::uint32_t first, const std::string& before, const Words& words,
         const std::string& after = {}) {
    for (const std::string& word : words) {
        std::string& name = names[first++];
        EXPECT_EQ(name, "") << "has a name already, as has " << word;
        name.append(before).append(word).append(after);
    }
}

Names GetGlNames() {
    Names names;
    Add(names, 0x0501, "GL_", {"INVALID_VALUE"});
    Add(names, 0x1401, "GL_", {"UNSIGNED_BYTE", "SHORT", "UNSIGNED_SHORT"});
    Add(names, 0x1902, "GL_",
        {"DEPTH_COMPONENT", "RED", "GREEN", "BLUE", "ALPHA", "RGB", "RGBA", "LUMINANCE",
         "LUMINANCE_ALPHA"});
    Add(names, 0x2A10, "GL_", {"R3_G3_B2"});
    Add(names, 0x8040, "GL_", {"LUMINANCE8"});
    Add(names, 0x804F, "GL_RGB", {"4", "5", "8", "10", "12", "16"});
    Add(names, 0x8055, "GL_", {"RGBA2", "RGBA4", "RGB5_A1", "RGBA8", "RGB10_A2"});
    Add(names, 0x805A, "GL_", {"RGBA12", "RGBA16"});
    Add(names, 0x80E0, "GL_", {"BGR", "BGRA"});
    Add(names, 0x81A5, "GL_DEPTH_COMPONENT", {"16", "24", "32"});
    Add(names, 0x8227, "GL_", {"RG"});
    Add(names, 0x8229, "GL_", {"R8", "R16", "RG8", "RG16", "R16F", "R32F", "RG16F", "RG32F"});
    Add(names, 0x8231, "GL_R", {"8I", "8UI", "16I", "16UI", "32I", "32UI"});
    Add(names, 0x8237, "GL_RG", {"8I", "8UI", "16I", "16UI", "32I", "32UI"});
    Add(names, 0x83F0, "GL_COMPRESSED_", {"RGB", "RGBA"}, "_S3TC_DXT1_EXT");
    Add(names, 0x83F2, "GL_COMPRESSED_RGBA_S3TC_", {"DXT3_EXT", "DXT5_EXT"});
    Add(names, 0x87EE, "GL_", {"ATC_RGBA_INTERPOLATED_ALPHA_AMD"});
    Add(names, 0x8814, "GL_", {"RGBA32F", "RGB32F"});
    Add(names, 0x881A, "GL_", {"RGBA16F", "RGB16F"});
    Add(names, 0x88F0, "GL_", {"DEPTH24_STENCIL8"});
    Add(names, 0x8A54, "GL_COMPRESSED_SRGB_PVRTC_", {"2", "4"}, "BPPV1_EXT");
    Add(names, 0x8A56, "GL_COMPRESSED_SRGB_ALPHA_PVRTC_", {"2", "4"}, "BPPV1_EXT");
    for (const std::uint32_t bits : {4u, 8u}) {
        Add(names, bits == 4 ? 0x8B90 : 0x8B95, "GL_PALETTE" + std::to_string(bits) + "_",
            {"RGB8", "RGBA8", "R5_G6_B5", "RGBA4", "RGB5_A1"}, "_OES");
    }
    Add(names, 0x8C00, "GL_COMPRESSED_",
        {"RGB_PVRTC_4BPPV1", "RGB_PVRTC_2BPPV1", "RGBA_PVRTC_4BPPV1", "RGBA_PVRTC_2BPPV1"}, "_IMG");
    Add(names, 0x8C3A, "GL_", {"R11F_G11F_B10F"});
    Add(names, 0x8C3D, "GL_", {"RGB9_E5"});
    Add(names, 0x8C40, "GL_SRGB", {"", "8", "_ALPHA", "8_ALPHA8"});
    Add(names, 0x8C48, "GL_COMPRESSED_SRGB", {"", "_ALPHA"});
    Add(names, 0x8C4C, "GL_COMPRESSED_SRGB",
        {"_S3TC_DXT1", "_ALPHA_S3TC_DXT1", "_ALPHA_S3TC_DXT3", "_ALPHA_S3TC_DXT5"}, "_EXT");
    Add(names, 0x8C70, "GL_COMPRESSED_", {"LUMINANCE", "SIGNED_LUMINANCE"}, "_LATC1_EXT");
    Add(names, 0x8C72, "GL_COMPRESSED_", {"LUMINANCE", "SIGNED_LUMINANCE"}, "_ALPHA_LATC2_EXT");
    Add(names, 0x8C92, "GL_ATC_", {"RGB", "RGBA_EXPLICIT_ALPHA"}, "_AMD");
    Add(names, 0x8CAC, "GL_", {"DEPTH_COMPONENT32F", "DEPTH32F_STENCIL8"});
    Add(names, 0x8D46, "GL_STENCIL_INDEX", {"1", "4", "8", "16"});
    Add(names, 0x8D62, "GL_", {"RGB565"});
    Add(names, 0x8D64, "GL_", {"ETC1_RGB8_OES"});
    Add(names, 0x8D70, "GL_", {"RGBA32UI", "RGB32UI"});
    Add(names, 0x8D76, "GL_", {"RGBA16UI", "RGB16UI"});
    Add(names, 0x8D7C, "GL_", {"RGBA8UI", "RGB8UI"});
    Add(names, 0x8D82, "GL_", {"RGBA32I", "RGB32I"});
    Add(names, 0x8D88, "GL_", {"RGBA16I", "RGB16I"});
    Add(names, 0x8D8E, "GL_", {"RGBA8I", "RGB8I"});
    Add(names, 0x8D98, "GL_", {"RGB", "RGBA", "BGR", "BGRA"}, "_INTEGER");
    Add(names, 0x8DAB, "GL_", {"DEPTH_COMPONENT32F", "DEPTH32F_STENCIL8"}, "_NV");
    Add(names, 0x8DBB, "GL_COMPRESSED_",
        {"RED_RGTC1", "SIGNED_RED_RGTC1", "RG_RGTC2", "SIGNED_RG_RGTC2"});
    Add(names, 0x8E8C, "GL_COMPRESSED_",
        {"RGBA_BPTC_UNORM", "SRGB_ALPHA_BPTC_UNORM", "RGB_BPTC_SIGNED_FLOAT",
         "RGB_BPTC_UNSIGNED_FLOAT"});
    Add(names, 0x8F94, "GL_", {"R8", "RG8", "RGB8", "RGBA8"}, "_SNORM");
    Add(names, 0x8F98, "GL_", {"R16", "RG16", "RGB16", "RGBA16"}, "_SNORM");
    Add(names, 0x8FBD, "GL_", {"SR8", "SRG8"}, "_EXT");
    Add(names, 0x906F, "GL_", {"RGB10_A2UI"});
    Add(names, 0x9137, "GL_COMPRESSED_RGBA_PVRTC_", {"2", "4"}, "BPPV2_IMG");
    Add(names, 0x9270, "GL_COMPRESSED_", {"R11", "SIGNED_R11", "RG11", "SIGNED_RG11"}, "_EAC");
    Add(names, 0x9274, "GL_COMPRESSED_",
        {"RGB8_ETC2", "SRGB8_ETC2", "RGB8_PUNCHTHROUGH_ALPHA1_ETC2",
         "SRGB8_PUNCHTHROUGH_ALPHA1_ETC2", "RGBA8_ETC2_EAC", "SRGB8_ALPHA8_ETC2_EAC"});
    Add(names, 0x93B0, "GL_COMPRESSED_RGBA_ASTC_", kAstcFootprints, "_KHR");
    Add(names, 0x93C0, "GL_COMPRESSED_RGBA_ASTC_", kAstc3dFootprints, "_OES");
    Add(names, 0x93D0, "GL_COMPRESSED_SRGB8_ALPHA8_ASTC_", kAstcFootprints, "_KHR");
    Add(names, 0x93E0, "GL_COMPRESSED_SRGB8_ALPHA8_ASTC_", kAstc3dFootprints, "_OES");
    Add(names, 0x93F0, "GL_COMPRESSED_SRGB_ALPHA_PVRTC_", {"2", "4"}, "BPPV2_IMG");
    return names;
}

Names GetVkNames() {
    const Words ofBytes{"UNORM", "SNORM", "USCALED", "SSCALED", "UINT", "SINT", "SRGB"};
    const Words of16Bits{"UNORM", "SNORM", "USCALED", "SSCALED", "UINT", "SINT", "SFLOAT"};
    const Words of10Bits{"UNORM", "SNORM", "USCALED", "SSCALED", "UINT", "SINT"};
    const Words ofWords{"UINT", "SINT", "SFLOAT"};
    Names names;
    Add(names, 0, "VK_FORMAT_", {"UNDEFINED"});
    Add(names, 1, "VK_FORMAT_", {"R4G4_UNORM_PACK8"});
    Add(names, 2, "VK_FORMAT_",
        {"R4G4B4A4", "B4G4R4A4", "R5G6B5", "B5G6R5", "R5G5B5A1", "B5G5R5A1", "A1R5G5B5"},
        "_UNORM_PACK16");
    Add(names, 9, "VK_FORMAT_R8_", ofBytes);
    Add(names, 16, "VK_FORMAT_R8G8_", ofBytes);
    Add(names, 23, "VK_FORMAT_R8G8B8_", ofBytes);
    Add(names, 30, "VK_FORMAT_B8G8R8_", ofBytes);
    Add(names, 37, "VK_FORMAT_R8G8B8A8_", ofBytes);
    Add(names, 44, "VK_FORMAT_B8G8R8A8_", ofBytes);
    Add(names, 51, "VK_FORMAT_A8B8G8R8_", ofBytes, "_PACK32");
    Add(names, 58, "VK_FORMAT_A2R10G10B10_", of10Bits, "_PACK32");
    Add(names, 64, "VK_FORMAT_A2B10G10R10_", of10Bits, "_PACK32");
    Add(names, 70, "VK_FORMAT_R16_", of16Bits);
    Add(names, 77, "VK_FORMAT_R16G16_", of16Bits);
    Add(names, 84, "VK_FORMAT_R16G16B16_", of16Bits);
    Add(names, 91, "VK_FORMAT_R16G16B16A16_", of16Bits);
    Add(names, 98, "VK_FORMAT_R32_", ofWords);
    Add(names, 101, "VK_FORMAT_R32G32_", ofWords);
    Add(names, 104, "VK_FORMAT_R32G32B32_", ofWords);
    Add(names, 107, "VK_FORMAT_R32G32B32A32_", ofWords);
    Add(names, 110, "VK_FORMAT_R64_", ofWords);
    Add(names, 113, "VK_FORMAT_R64G64_", ofWords);
    Add(names, 116, "VK_FORMAT_R64G64B64_", ofWords);
    Add(names, 119, "VK_FORMAT_R64G64B64A64_", ofWords);
    Add(names, 122, "VK_FORMAT_", {"B10G11R11_UFLOAT_PACK32", "E5B9G9R9_UFLOAT_PACK32"});
    Add(names, 124, "VK_FORMAT_",
        {"D16_UNORM", "X8_D24_UNORM_PACK32", "D32_SFLOAT", "S8_UINT", "D16_UNORM_S8_UINT",
         "D24_UNORM_S8_UINT", "D32_SFLOAT_S8_UINT"});
    Add(names, 131, "VK_FORMAT_BC1_", {"RGB_UNORM", "RGB_SRGB", "RGBA_UNORM", "RGBA_SRGB"},
        "_BLOCK");
    Add(names, 135, "VK_FORMAT_BC2_", {"UNORM", "SRGB"}, "_BLOCK");
    Add(names, 137, "VK_FORMAT_BC3_", {"UNORM", "SRGB"}, "_BLOCK");
    Add(names, 139, "VK_FORMAT_BC4_", {"UNORM", "SNORM"}, "_BLOCK");
    Add(names, 141, "VK_FORMAT_BC5_", {"UNORM", "SNORM"}, "_BLOCK");
    Add(names, 143, "VK_FORMAT_BC6H_", {"UFLOAT", "SFLOAT"}, "_BLOCK");
    Add(names, 145, "VK_FORMAT_BC7_", {"UNORM", "SRGB"}, "_BLOCK");
    Add(names, 147, "VK_FORMAT_ETC2_R8G8B8_", {"UNORM", "SRGB"}, "_BLOCK");
    Add(names, 149, "VK_FORMAT_ETC2_R8G8B8A1_", {"UNORM", "SRGB"}, "_BLOCK");
    Add(names, 151, "VK_FORMAT_ETC2_R8G8B8A8_", {"UNORM", "SRGB"}, "_BLOCK");
    Add(names, 153, "VK_FORMAT_EAC_R11_", {"UNORM", "SNORM"}, "_BLOCK");
    Add(names, 155, "VK_FORMAT_EAC_R11G11_", {"UNORM", "SNORM"}, "_BLOCK");
    for (std::uint32_t i = 0; i < kAstcFootprints.size(); ++i) {
        Add(names, 157 + 2 * i, "VK_FORMAT_ASTC_" + kAstcFootprints[i] + "_", {"UNORM", "SRGB"},
            "_BLOCK");
    }
    const Words pvrtc{"PVRTC1_2BPP", "PVRTC1_4BPP", "PVRTC2_2BPP", "PVRTC2_4BPP"};
    Add(names, 1000054000, "VK_FORMAT_", pvrtc, "_UNORM_BLOCK_IMG");
    Add(names, 1000054004, "VK_FORMAT_", pvrtc, "_SRGB_BLOCK_IMG");
    return names;
}

std::string GetOrEmpty(const Names& names, std::uint32_t code) {
    const auto found = names.find(code);
    return found != names.end() ? found->second : std::string();
}

TEST(FormatNames, EveryGlCodeHasItsNameOrNone) {
    const Names names = GetGlNames();
    ASSERT_EQ(names.size(), 207u);
    for (std::uint32_t code = 0; code < 0x10000; ++code) {
        EXPECT_EQ(Gl_GetName(code), GetOrEmpty(names, code)) << std::hex << code;
    }
}

TEST(FormatNames, EveryVkFormatHasItsNameOrNone) {
    const Names names = GetVkNames();
    ASSERT_EQ(names.size(), 193u);
    for (std::uint32_t number = 0; number <= 0x400; ++number) {
        EXPECT_EQ(Vk_GetName(number), GetOrEmpty(names, number)) << number;
    }
    for (std::uint32_t number = 1000053990; number <= 1000054020; ++number) {
        EXPECT_EQ(Vk_GetName(number), GetOrEmpty(names, number)) << number;
    }
}

TEST(FormatNames, LargeCodesHaveNone) {
    for (const std::uint32_t code : {0x10025u, 0x18058u, 0x80000025u, 0xFFFF8058u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Gl_GetName(code), "") << std::hex << code;
        EXPECT_EQ(Vk_GetName(code), "") << std::hex << code;
    }
}

}  // namespace
}  // namespace koru
