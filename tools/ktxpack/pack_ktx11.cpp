#include "pack_ktx11.h"

#include <array>
#include <string>

#include "pack_bytes.h"

namespace koru_ktxpack {
namespace {

constexpr std::array<std::uint8_t, 12> kIdentifier{0xAB, 0x4B, 0x54, 0x58, 0x20, 0x31,
                                                   0x31, 0xBB, 0x0D, 0x0A, 0x1A, 0x0A};
constexpr std::uint32_t kEndianness = 0x04030201;

}  // namespace

Bytes Ktx11_MakeFile(const PackedTexture& texture) {
    Bytes metadata;
    const std::string orientation = std::string("S=") + (texture.runsRight ? 'r' : 'l') +
                                    ",T=" + (texture.runsDown ? 'd' : 'u');
    Bytes_AppendKeyAndValue(metadata, "KTXorientation", orientation);

    Bytes file(kIdentifier.begin(), kIdentifier.end());
    const GlDescription& gl = texture.format->gl;
    Bytes_Append32(file, kEndianness);
    Bytes_Append32(file, gl.type);
    Bytes_Append32(file, gl.typeSize);
    Bytes_Append32(file, gl.format);
    Bytes_Append32(file, gl.internalFormat);
    Bytes_Append32(file, gl.baseInternalFormat);
    Bytes_Append32(file, texture.width);
    Bytes_Append32(file, texture.height);
    Bytes_Append32(file, 0);  // depth, of 3D textures only
    Bytes_Append32(file, texture.shape.layerCount);
    Bytes_Append32(file, texture.shape.faceCount);
    Bytes_Append32(file, texture.levels.size());
    Bytes_Append32(file, metadata.size());
    Bytes_Append(file, metadata);

    // The size of a level is that of one face when there are faces but no layers.
    const bool countsOneFace = texture.shape.faceCount > 1 && texture.shape.layerCount == 0;
    for (const std::vector<Bytes>& images : texture.levels) {
        Bytes_Append32(file, images[0].size() * (countsOneFace ? 1 : images.size()));
        for (const Bytes& image : images) {
            Bytes_Append(file, image);
            if (countsOneFace) Bytes_PadTo(file, 4);
        }
        Bytes_PadTo(file, 4);
    }
    return file;
}

}  // namespace koru_ktxpack
