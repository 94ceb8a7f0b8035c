#include "pack_ktx20.h"

#include <array>
#include <string>

#include "pack_bytes.h"
#include "pack_descriptor.h"

namespace koru_ktxpack {
namespace {

constexpr std::array<std::uint8_t, 12> kIdentifier{0xAB, 0x4B, 0x54, 0x58, 0x20, 0x32,
                                                   0x30, 0xBB, 0x0D, 0x0A, 0x1A, 0x0A};
constexpr std::size_t kHeaderBytes = 80;
constexpr std::size_t kIndexEntryBytes = 24;

struct Range {
    std::size_t offset = 0;
    std::size_t bytes = 0;
};

/// Where the next level can begin: at a multiple of both its blocks and 4 bytes.
std::size_t Level_FindBegin(std::size_t offset, std::size_t blockBytes) {
    while (offset % blockBytes != 0 || offset % 4 != 0) ++offset;
    return offset;
}

Bytes Texture_MakeMetadata(const PackedTexture& texture) {
    const std::string orientation{texture.runsRight ? 'r' : 'l', texture.runsDown ? 'd' : 'u'};
    Bytes metadata;
    // Keys must be in order.
    Bytes_AppendKeyAndValue(metadata, "KTXorientation", orientation);
    Bytes_AppendKeyAndValue(metadata, "KTXwriter", "korutex ktxpack");
    return metadata;
}

}  // namespace

Bytes Ktx20_MakeFile(const PackedTexture& texture) {
    const Bytes descriptor = Descriptor_Make(*texture.format);
    const Bytes metadata = Texture_MakeMetadata(texture);
    const Range descriptorRange{kHeaderBytes + kIndexEntryBytes * texture.levels.size(),
                                descriptor.size()};
    const Range metadataRange{descriptorRange.offset + descriptorRange.bytes, metadata.size()};

    // Levels lie in the file with the smallest first; their index has the largest first.
    std::vector<Range> levelRanges(texture.levels.size());
    std::size_t end = metadataRange.offset + metadataRange.bytes;
    for (std::size_t level = texture.levels.size(); level-- > 0;) {
        const std::vector<Bytes>& images = texture.levels[level];
        const std::size_t begin = Level_FindBegin(end, texture.format->blockBytes);
        levelRanges[level] = {begin, images[0].size() * images.size()};
        end = begin + levelRanges[level].bytes;
    }

    Bytes file(kIdentifier.begin(), kIdentifier.end());
    Bytes_Append32(file, texture.format->vk.format);
    Bytes_Append32(file, texture.format->gl.typeSize);
    Bytes_Append32(file, texture.width);
    Bytes_Append32(file, texture.height);
    Bytes_Append32(file, 0);  // depth, of 3D textures only
    Bytes_Append32(file, texture.shape.layerCount);
    Bytes_Append32(file, texture.shape.faceCount);
    Bytes_Append32(file, texture.levels.size());
    Bytes_Append32(file, 0);  // no supercompression
    Bytes_Append32(file, descriptorRange.offset);
    Bytes_Append32(file, descriptorRange.bytes);
    Bytes_Append32(file, metadataRange.offset);
    Bytes_Append32(file, metadataRange.bytes);
    Bytes_Append64(file, 0);  // data of supercompression
    Bytes_Append64(file, 0);
    for (const Range& range : levelRanges) {
        Bytes_Append64(file, range.offset);
        Bytes_Append64(file, range.bytes);
        Bytes_Append64(file, range.bytes);  // uncompressed
    }
    Bytes_Append(file, descriptor);
    Bytes_Append(file, metadata);
    for (std::size_t level = texture.levels.size(); level-- > 0;) {
        file.resize(levelRanges[level].offset);
        for (const Bytes& image : texture.levels[level]) Bytes_Append(file, image);
    }
    return file;
}

}  // namespace koru_ktxpack
