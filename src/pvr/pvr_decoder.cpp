#include "pvr/pvr_decoder.h"

#include <bit>
#include <optional>
#include <span>

#include "blocks/payload.h"
#include "core/bytes.h"
#include "formats/gl_formats.h"
#include "pvr/pvr_contents.h"
#include "pvr/pvr_state.h"
#include "pvr/pvrtc_block.h"
#include "pvr/pvrtc_decoder.h"

namespace koru {
namespace {

/// Only images whose sizes are powers of two can be had in pieces.
class PvrtcRows final : public RowDecoder {
  public:
    PvrtcRows(std::span<const std::uint8_t> payload, bool is2Bpp, std::uint32_t width,
              std::uint32_t height) noexcept
        : payload_(payload), is2Bpp_(is2Bpp), width_(width) {
        const bool hasStrips = std::has_single_bit(width) && std::has_single_bit(height);
        rowBytes = width * kRgbaBytes;
        rowCount = height;
        rowStep = hasStrips ? kStripRows : height;
    }

    bool DecodeRows(std::uint32_t firstRow, std::uint32_t count,
                    std::uint8_t* target) noexcept override {
        if (count == rowCount) {
            PvrtcDecompress(payload_, is2Bpp_, static_cast<std::int32_t>(width_),
                            static_cast<std::int32_t>(count), 0, target);
        } else {
            Pvrtc_DecodeRows(payload_, is2Bpp_, width_, rowCount, firstRow, count, target);
        }
        return true;
    }

  private:
    /// Each strip unpacks one row of blocks more than it has.
    static constexpr std::uint32_t kStripRows = 4 * kPvrtcBlockHeight;

    std::span<const std::uint8_t> payload_;
    bool is2Bpp_;
    std::uint32_t width_;
};

int DecodePvrtc(const PayloadTarget& target, const LevelEntry& level, bool is2Bpp) noexcept {
    const auto neededBytes = Pvrtc_GetPayloadBytes(is2Bpp, target.width, target.height);
    if (!neededBytes || level.byteSize < *neededBytes) return 1;
    const auto size = Size_GetPacked(target.width, target.height, kRgbaBytes);
    if (!size) return 0;
    PvrtcRows rows(LevelEntry_GetBytes(level), is2Bpp, target.width, target.height);
    return Payload_TakeRows(target, rows, size->dataSize, kRgbaBytes);
}

int DecodePixels(const PvrContents& contents, LevelEntry& level) noexcept {
    const PayloadTarget target{.surface = g_pvrState.surface,
                               .width = contents.width,
                               .height = contents.height,
                               .orientation = contents.orientation,
                               .member = ExpandMember::Pvr};
    const PvrPixelWay& way = contents.way;
    switch (way.way) {
        case PvrWay::Packed:
            return Payload_ExpandPacked(target, level, way.componentCount, way.bitsPerPixel,
                                        Gl_GetChannelLayout(way.glFormat));
        case PvrWay::Pvrtc:
            return DecodePvrtc(target, level, way.is2Bpp);
        case PvrWay::Etc:
            if (!level.data) return Payload_MakeBlank(target, 0);
            return Payload_DecodeEtc(target, level, way.glFormat, EtcComponents::OfInternalFormat);
        case PvrWay::S3tc:
            return Payload_DecodeS3tc(target, level, way.s3tcMode, way.componentCount);
        case PvrWay::None:
            break;
    }
    return 1;
}

/// Puts the payload at the source's offset into the entry; one of no bytes leaves it empty.
int ReadPayload(SourceBuffer& source, const PvrContents& contents) noexcept {
    if (contents.payloadBytes == 0) return 1;
    return State_ReadPayload(g_pvrState, source, contents.payloadBytes, contents.width,
                             contents.height);
}

int DecodeContents(SourceBuffer& source, const std::optional<PvrContents>& contents) noexcept {
    LevelTable& levels = g_pvrState.levels;
    if (LevelTable_CreateSingleLevel(levels) == 0 || !contents) return 0;
    LevelEntry& level = levels.entries[0];
    if (ReadPayload(source, *contents) == 0) return 0;
    // Only version-3 headers may say so: nothing to decode, and no failure.
    if (contents->width == 0 || contents->height == 0) return 1;
    return DecodePixels(*contents, level);
}

}  // namespace

int PvrDecodeLegacy(SourceBuffer& source, const KORU_Char* name,
                    const PvrLegacyHeader& header) noexcept {
    if (name == nullptr) return 0;
    return DecodeContents(source, Pvr_GetLegacyContents(header, LegacyCompressedFlag));
}

int PvrDecodeV3(SourceBuffer& source, const KORU_Char* name, const PvrV3Header& header) noexcept {
    if (name == nullptr) return 0;
    return DecodeContents(source, Pvr_ReadV3Contents(source, header));
}

}  // namespace koru
