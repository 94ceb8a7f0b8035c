#include "blocks/payload.h"

#include <optional>
#include <utility>

#include "blocks/block_texels.h"
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

// Decoders by rows. Rows of blocks are decoded independently, so those above tell where a piece
// begins.

class S3tcRows final : public RowDecoder {
  public:
    S3tcRows(const PayloadTarget& target, const LevelEntry& level, S3tcMode mode,
             std::uint32_t componentCount) noexcept
        : blocks_(LevelEntry_GetBytes(level).data()),
          width_(target.width),
          mode_(mode),
          componentCount_(componentCount) {
        rowBytes = target.width * componentCount;
        rowCount = target.height;
        rowStep = kBlockSide;
    }

    bool DecodeRows(std::uint32_t firstRow, std::uint32_t count,
                    std::uint8_t* target) noexcept override {
        const std::uint32_t offset = *S3tc_GetPayloadBytes(mode_, width_, firstRow);
        S3tc_DecodeImage(target, blocks_ + offset, mode_, 0, width_, count,
                         static_cast<std::int32_t>(componentCount_));
        return true;
    }

  private:
    const std::uint8_t* blocks_;
    std::uint32_t width_;
    S3tcMode mode_;
    std::uint32_t componentCount_;
};

class EtcRows final : public RowDecoder {
  public:
    EtcRows(const LevelEntry& level, std::uint32_t glInternalFormat,
            std::uint32_t pixelBytes) noexcept
        : blocks_(LevelEntry_GetBytes(level).data()),
          width_(level.levelWidth),
          glInternalFormat_(glInternalFormat) {
        rowBytes = level.levelWidth * pixelBytes;
        rowCount = level.levelHeight;
        rowStep = kBlockSide;
    }

    bool DecodeRows(std::uint32_t firstRow, std::uint32_t count,
                    std::uint8_t* target) noexcept override {
        const std::uint32_t offset = *Etc_GetPayloadBytes(glInternalFormat_, width_, firstRow);
        Etc_DecodePixels(target, blocks_ + offset, glInternalFormat_, width_, count);
        return true;
    }

  private:
    const std::uint8_t* blocks_;
    std::uint32_t width_;
    std::uint32_t glInternalFormat_;
};

bool IsTooShort(const LevelEntry& level, std::optional<std::uint32_t> neededBytes) noexcept {
    return !neededBytes || level.byteSize < *neededBytes;
}

}  // namespace

int Payload_TakeRows(const PayloadTarget& target, RowDecoder& decoder, std::uint32_t decodedSize,
                     std::uint32_t componentCount) noexcept {
    if (!PrepareSurface(target, componentCount)) return 0;
    return Surface_FillFromRows(target.surface, decoder, decodedSize, 8 * componentCount,
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
    const auto bytes = LevelEntry_GetBytes(level);
    const PackedPixels packed{.data = bytes.data(),
                              .size = level.byteSize,
                              .readable = level.byteSize,
                              .bitsPerPixel = bitsPerPixel};
    if (!Surface_WantsCopy(target.surface, packed, layout, target.member))
        return Surface_FillFromMemory(target.surface, packed, layout, target.member);
    return Expand_TakePixels(target.surface, LevelEntry_TakeData(level), packed.size, bitsPerPixel,
                             layout, target.member);
}

int Payload_DecodeS3tc(const PayloadTarget& target, const LevelEntry& level, S3tcMode mode,
                       std::uint32_t componentCount) noexcept {
    if (IsTooShort(level, S3tc_GetPayloadBytes(mode, target.width, target.height))) return 1;
    // Four bytes a pixel count as decoded, whatever the component count.
    const auto rgbaSize = Size_GetPacked(target.width, target.height, kRgbaBytes);
    if (!rgbaSize) return 0;
    S3tcRows rows(target, level, mode, componentCount);
    return Payload_TakeRows(target, rows, rgbaSize->dataSize, componentCount);
}

int Payload_DecodeEtc(const PayloadTarget& target, const LevelEntry& level,
                      std::uint32_t glInternalFormat, EtcComponents components) noexcept {
    if (level.data && IsTooShort(level, Etc_GetPayloadBytes(glInternalFormat, level.levelWidth,
                                                            level.levelHeight))) {
        return 1;
    }
    EtcPixels pixels;
    if (Etc_PreparePixels(glInternalFormat, level.levelWidth, level.levelHeight, true, pixels) !=
        kEtcSuccess) {
        return 0;
    }
    const auto componentCount = static_cast<std::uint32_t>(Gl_GetComponentCount(
        components == EtcComponents::OfFormat ? pixels.format : pixels.internalFormat));
    // Quirk: 16-bit samples count as 8-bit components. R11 comes out as the grey of its raw bytes
    // where it has a component count, and as opaque black where it has none, as RG11 always does.
    const auto size = Size_GetPacked(level.levelWidth, level.levelHeight, componentCount);
    if (!size) return 0;
    EtcRows rows(level, glInternalFormat, pixels.pixelBytes);
    return Payload_TakeRows(target, rows, size->dataSize, componentCount);
}

int Payload_DecodeAstc(const PayloadTarget& target, const LevelEntry& level,
                       const AstcFootprint& footprint) noexcept {
    const auto size = Size_GetPacked(target.width, target.height, kRgbaBytes);
    if (!size) return 0;
    // Quirk: memory for an RGBA image must be there, though none is made; keeps which loads fail.
    if (!ByteBuffer::Allocate(size->dataSize)) return 0;
    AstcRows rows(LevelEntry_GetBytes(level), target.width, target.height, footprint);
    const int result = Payload_TakeRows(target, rows, size->dataSize, kRgbaBytes);
    return result == 0 && rows.IsRefused() ? Payload_MakeBlank(target, kRgbaBytes) : result;
}

}  // namespace koru
