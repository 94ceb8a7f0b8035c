#include "pvr_names.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <span>

#include "pvr/pvr_header.h"

namespace koru_host {
namespace {

struct NameRow {
    std::uint32_t number;
    const char* name;
};

constexpr auto kLegacyNames = std::to_array<NameRow>({
    {0x00, "ARGB4444"},
    {0x01, "ARGB1555"},
    {0x02, "RGB565"},
    {0x03, "RGB555"},
    {0x04, "RGB888"},
    {0x05, "ARGB8888"},
    {0x06, "ARGB8332"},
    {0x07, "I8"},
    {0x08, "AI88"},
    {0x09, "1 bpp"},
    {0x0A, "VY1UY0"},
    {0x0B, "Y1VY0U"},
    {0x0C, "PVRTC 2 bpp"},
    {0x0D, "PVRTC 4 bpp"},
    {0x10, "RGBA4444"},
    {0x11, "RGBA5551"},
    {0x12, "RGBA8888"},
    {0x13, "RGB565"},
    {0x14, "RGB555"},
    {0x15, "RGB888"},
    {0x16, "I8"},
    {0x17, "AI88"},
    {0x18, "PVRTC 2 bpp"},
    {0x19, "PVRTC 4 bpp"},
    {0x1A, "BGRA8888"},
    {0x1B, "A8"},
    {0x1C, "PVRTC-II 4 bpp"},
    {0x1D, "PVRTC-II 2 bpp"},
    {0x20, "DXT1"},
    {0x21, "DXT2"},
    {0x22, "DXT3"},
    {0x23, "DXT4"},
    {0x24, "DXT5"},
    {0x36, "ETC1"},
    {0x37, "ETC, explicit alpha"},
    {0x38, "ETC, interpolated alpha"},
});

constexpr auto kNumberNames = std::to_array<NameRow>({
    {0, "PVRTC 2 bpp RGB"},
    {1, "PVRTC 2 bpp RGBA"},
    {2, "PVRTC 4 bpp RGB"},
    {3, "PVRTC 4 bpp RGBA"},
    {4, "PVRTC-II 2 bpp"},
    {5, "PVRTC-II 4 bpp"},
    {6, "ETC1"},
    {7, "DXT1"},
    {8, "DXT2"},
    {9, "DXT3"},
    {10, "DXT4"},
    {11, "DXT5"},
    {12, "BC4"},
    {13, "BC5"},
    {14, "BC6"},
    {15, "BC7"},
    {16, "UYVY"},
    {17, "YUY2"},
    {18, "1 bpp"},
    {19, "RGB9E5"},
    {20, "RGBG8888"},
    {21, "GRGB8888"},
    {22, "ETC2 RGB"},
    {23, "ETC2 RGBA"},
    {24, "ETC2 RGB A1"},
    {25, "EAC R11"},
    {26, "EAC RG11"},
    {27, "ASTC 4x4"},
    {28, "ASTC 5x4"},
    {29, "ASTC 5x5"},
    {30, "ASTC 6x5"},
    {31, "ASTC 6x6"},
    {32, "ASTC 8x5"},
    {33, "ASTC 8x6"},
    {34, "ASTC 8x8"},
    {35, "ASTC 10x5"},
    {36, "ASTC 10x6"},
    {37, "ASTC 10x8"},
    {38, "ASTC 10x10"},
    {39, "ASTC 12x10"},
    {40, "ASTC 12x12"},
});

constexpr auto kColorSpaceNames = std::to_array<NameRow>({{0, "linear"}, {1, "sRGB"}});

constexpr auto kChannelTypeNames = std::to_array<NameRow>({
    {0, "unsigned byte, normalized"},
    {1, "signed byte, normalized"},
    {2, "unsigned byte"},
    {3, "signed byte"},
    {4, "unsigned short, normalized"},
    {5, "signed short, normalized"},
    {6, "unsigned short"},
    {7, "signed short"},
    {8, "unsigned int, normalized"},
    {9, "signed int, normalized"},
    {10, "unsigned int"},
    {11, "signed int"},
    {12, "float"},
});

constexpr auto kMetadataNames = std::to_array<NameRow>({
    {0, "atlas coordinates"},
    {1, "bump map"},
    {2, "cube map order"},
    {3, "orientation"},
    {4, "border"},
    {5, "padding"},
});

std::string Name_Find(std::span<const NameRow> rows, std::uint32_t number) {
    for (const NameRow& row : rows) {
        if (row.number == number) return row.name;
    }
    return {};
}

std::string Name_FindOrNumber(std::span<const NameRow> rows, std::uint32_t number) {
    const std::string name = Name_Find(rows, number);
    return name.empty() ? std::to_string(number) : name;
}

std::string Name_Append(const std::string& number, const std::string& name) {
    return name.empty() ? number : number + " (" + name + ')';
}

std::string Name_FormatHex(const char* format, std::uint32_t number) {
    std::array<char, 16> text{};
    (void)std::snprintf(text.data(), text.size(), format, static_cast<unsigned>(number));
    return text.data();
}

/// Behind the last that is not 0.
std::size_t Name_CountUsed(const std::array<std::uint8_t, 4>& bytes) {
    std::size_t count = bytes.size();
    while (count > 0 && bytes.at(count - 1) == 0) --count;
    return count;
}

}  // namespace

std::string Pvr_GetLegacyTypeName(std::uint32_t pixelType) {
    return Name_Find(kLegacyNames, pixelType);
}

std::string Pvr_GetNumberName(std::uint32_t formatNumber) {
    return Name_Find(kNumberNames, formatNumber);
}

std::string Pvr_GetFormatName(const PvrFacts& facts) {
    if (facts.isLegacy) {
        return Name_Append(Name_FormatHex("0x%02X", facts.pixelType),
                           Pvr_GetLegacyTypeName(facts.pixelType));
    }
    if (facts.isPacked) return Pvr_GetChannelNames(facts) + ' ' + Pvr_GetChannelWidths(facts);
    return Name_Append(std::to_string(facts.formatNumber), Pvr_GetNumberName(facts.formatNumber));
}

std::string Pvr_GetChannelNames(const PvrFacts& facts) {
    std::string names;
    for (std::size_t i = 0; i < Name_CountUsed(facts.channelNames); ++i) {
        const std::uint8_t name = facts.channelNames.at(i);
        const bool isPlain = name > ' ' && name < 0x7F && name != '\\';
        names +=
            isPlain ? std::string(1, static_cast<char>(name)) : Name_FormatHex("\\x%02X", name);
    }
    return names;
}

std::string Pvr_GetChannelWidths(const PvrFacts& facts) {
    const std::size_t count =
        std::max(Name_CountUsed(facts.channelNames), Name_CountUsed(facts.channelWidths));
    std::string widths;
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) widths += ',';
        widths += std::to_string(facts.channelWidths.at(i));
    }
    return widths;
}

std::string Pvr_GetColorSpaceName(std::uint32_t colorSpace) {
    return Name_FindOrNumber(kColorSpaceNames, colorSpace);
}

std::string Pvr_GetChannelTypeName(std::uint32_t channelType) {
    return Name_FindOrNumber(kChannelTypeNames, channelType);
}

std::string Pvr_GetMetadataName(const PvrMetadata& metadata) {
    // Keys mean something only together with the format's own FourCC.
    const bool isOwn = metadata.fourCC == koru::kPvrV3Magic;
    return Name_Append(std::to_string(metadata.key),
                       isOwn ? Name_Find(kMetadataNames, metadata.key) : "");
}

std::string Pvr_GetWayName(const PvrFacts& facts) {
    switch (facts.way.way) {
        case koru::PvrWay::Packed:
            return facts.way.componentCount != 0 ? "packed pixels" : "";
        case koru::PvrWay::Pvrtc:
            return "PVRTC blocks";
        case koru::PvrWay::Etc:
            return "ETC blocks";
        case koru::PvrWay::S3tc:
            return "S3TC blocks";
        case koru::PvrWay::None:
            break;
    }
    return {};
}

}  // namespace koru_host
