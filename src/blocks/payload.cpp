#include "blocks/payload.h"

#include <optional>
#include <utility>

#include "blocks/etc_decoder.h"
#include "blocks/payload_size.h"
#include "core/bytes.h"
#include "formats/gl_formats.h"

namespace koru {
namespace {

/// Bytes in memory order; no conversion by format.
constexpr ChannelLayout kPlainLayout = Layout_FromMasks(kRgbaByteMasks, 0);

/// Lays the surface out; its pixels are then still to come.
bool PrepareSurface(const PayloadTarget& target, std::uint32_t componentCount) noexcept {
    DecodeSurface& surface = target.surface;
    if (componentCount == kRgbaBytes) surface.reservedB = 1;
    const std::uint32_t bytesPerPixel = surface.reservedB != 0 ? kRgbaBytes : kRgbBytes;
    if (!Surface_SetLayout(surface, target.width, target.height, bytesPerPixel)) return false;
    surface.reservedD = 0;
    // Quirk: rows are never turned; pictures of such files lie as they always did.
    surface.reservedE = target.orientation;
    return true;
}

bool IsTooShort(const LevelEntry& level, std::optional<std::uint32_t> neededBytes) noexcept {
    return !neededBytes || level.byteSize < *neededBytes;
}

}  // namespace

int Payload_TakeDecoded(const PayloadTarget& target, ByteBuffer decoded, std::uint32_t decodedSize,
                        std::uint32_t componentCount) noexcept {
    if (!PrepareSurface(target, componentCount)) return 0;
    return Expand_TakePixels(target.surface, std::move(decoded), decodedSize, 8 * componentCount,
                             kPlainLayout, target.member);
}

int Payload_MakeBlank(const PayloadTarget& target, std::uint32_t componentCount) noexcept {
    if (!PrepareSurface(target, componentCount)) return 0;
    return Surface_AllocateBlack(target.surface) ? 1 : 0;
}

int Payload_ExpandPacked(const PayloadTarget& target, LevelEntry& level,
                         std::uint32_t componentCount, std::uint32_t bitsPerPixel,
                         const ChannelLayout& layout) noexcept {
    const auto neededBytes = Payload_GetPackedBytes(target.width, target.height, componentCount);
    if (neededBytes == 0u || IsTooShort(level, neededBytes)) return 1;
    if (!PrepareSurface(target, componentCount)) return 0;
    const std::uint32_t byteSize = level.byteSize;
    return Expand_TakePixels(target.surface, LevelEntry_TakeData(level), byteSize, bitsPerPixel,
                             layout, target.member);
}

int Payload_DecodeS3tc(const PayloadTarget& target, const LevelEntry& level, S3tcMode mode,
                       std::uint32_t componentCount) noexcept {
    if (IsTooShort(level, S3tc_GetPayloadBytes(mode, target.width, target.height))) return 1;
    const auto rgbaSize = Size_GetPacked(target.width, target.height, kRgbaBytes);
    const auto size = Size_GetPacked(target.width, target.height, componentCount);
    if (!rgbaSize || !size) return 0;
    ByteBuffer decoded = ByteBuffer::Allocate(size->dataSize);
    if (!decoded) return 0;
    S3tc_DecodeImage(decoded.Data(), level.data.Data(), mode, 0, target.width, target.height,
                     static_cast<std::int32_t>(componentCount));
    // Four bytes a pixel count as decoded, whatever the component count.
    return Payload_TakeDecoded(target, std::move(decoded), rgbaSize->dataSize, componentCount);
}

int Payload_DecodeEtc(const PayloadTarget& target, const LevelEntry& level,
                      std::uint32_t glInternalFormat, EtcComponents components) noexcept {
    if (level.data && IsTooShort(level, Etc_GetPayloadBytes(glInternalFormat, level.levelWidth,
                                                            level.levelHeight))) {
        return 1;
    }
    ByteBuffer decoded;
    std::uint32_t format = 0;
    std::uint32_t internalFormat = 0;
    std::uint32_t type = 0;
    if (Etc_DecodeImage(level.data.Data(), glInternalFormat, level.levelWidth, level.levelHeight,
                        decoded, format, internalFormat, type, 0, 1) != kEtcSuccess) {
        return 0;
    }
    const auto componentCount = static_cast<std::uint32_t>(
        Gl_GetComponentCount(components == EtcComponents::OfFormat ? format : internalFormat));
    // Quirk: 16-bit samples count as 8-bit components. R11 comes out as the grey of its raw bytes
    // where it has a component count, and as opaque black where it has none, as RG11 always does.
    const auto size = Size_GetPacked(level.levelWidth, level.levelHeight, componentCount);
    if (!size) return 0;
    return Payload_TakeDecoded(target, std::move(decoded), size->dataSize, componentCount);
}

int Payload_DecodeAstc(const PayloadTarget& target, const LevelEntry& level,
                       const AstcFootprint& footprint) noexcept {
    const auto size = Size_GetPacked(target.width, target.height, kRgbaBytes);
    if (!size) return 0;
    ByteBuffer decoded = ByteBuffer::Allocate(size->dataSize);
    if (!decoded) return 0;
    switch (Astc_DecodeBlocks({level.data.Data(), level.byteSize}, target.width, target.height,
                              footprint, decoded.Data())) {
        case AstcDecodeResult::Decoded:
            return Payload_TakeDecoded(target, std::move(decoded), size->dataSize, kRgbaBytes);
        case AstcDecodeResult::Refused:
            decoded.Reset();
            return Payload_MakeBlank(target, kRgbaBytes);
        case AstcDecodeResult::OutOfMemory:
            break;
    }
    return 0;
}

}  // namespace koru
