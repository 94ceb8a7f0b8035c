#include "pvr/pvr_decoder.h"

#include <optional>
#include <utility>

#include "blocks/payload.h"
#include "core/byte_buffer.h"
#include "core/bytes.h"
#include "formats/gl_formats.h"
#include "pvr/pvr_contents.h"
#include "pvr/pvr_state.h"
#include "pvr/pvrtc_decoder.h"

namespace koru {
namespace {

int DecodePvrtc(const PayloadTarget& target, const LevelEntry& level, bool is2Bpp) noexcept {
    const auto neededBytes = Pvrtc_GetPayloadBytes(is2Bpp, target.width, target.height);
    if (!neededBytes || level.byteSize < *neededBytes) return 1;
    const auto size = Size_GetPacked(target.width, target.height, kRgbaBytes);
    if (!size) return 0;
    ByteBuffer decoded = ByteBuffer::Allocate(size->dataSize);
    if (!decoded) return 0;
    PvrtcDecompress({level.data.Data(), level.byteSize}, is2Bpp,
                    static_cast<std::int32_t>(target.width),
                    static_cast<std::int32_t>(target.height), 0, decoded.Data());
    return Payload_TakeDecoded(target, std::move(decoded), size->dataSize, kRgbaBytes);
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

/// Copies the payload at the source's offset into the entry; one of no bytes leaves it empty.
int ReadPayload(SourceBuffer& source, const PvrContents& contents, LevelEntry& level) noexcept {
    if (contents.payloadBytes == 0) return 1;
    return LevelEntry_ReadPayload(level, source, contents.payloadBytes, contents.width,
                                  contents.height);
}

int DecodeContents(SourceBuffer& source, const std::optional<PvrContents>& contents) noexcept {
    LevelTable& levels = g_pvrState.levels;
    if (LevelTable_CreateSingleLevel(levels) == 0 || !contents) return 0;
    LevelEntry& level = levels.entries[0];
    if (ReadPayload(source, *contents, level) == 0) return 0;
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
