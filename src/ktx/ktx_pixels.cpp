#include "ktx/ktx_pixels.h"

#include "blocks/payload.h"
#include "formats/gl_formats.h"
#include "ktx/ktx_state.h"
#include "ktx/ktx_way.h"

namespace koru {
namespace {

int DecodeEtc(const PayloadTarget& target, const KtxContents& contents,
              LevelEntry& level) noexcept {
    // Quirk: without payload a KTX 1.1 image keeps its component count and a KTX 2.0 image loses
    // it; the sticky alpha flag follows.
    if (contents.version == KtxVersion::Ktx20 && !level.data) return Payload_MakeBlank(target, 0);
    return Payload_DecodeEtc(target, level, contents.glInternalFormat, EtcComponents::OfFormat);
}

}  // namespace

int Ktx_DecodePixels(const KtxContents& contents, LevelEntry& level) noexcept {
    const PayloadTarget target{.surface = g_ktxState.surface,
                               .width = contents.width,
                               .height = contents.height,
                               .orientation = contents.orientation,
                               .member = ExpandMember::Ktx};
    const KtxPixelWay way = Ktx_ChooseWay(contents.glInternalFormat, contents.isCompressed);
    switch (way.way) {
        case KtxWay::S3tc:
            return Payload_DecodeS3tc(target, level, way.s3tcMode, way.componentCount);
        case KtxWay::Etc:
            return DecodeEtc(target, contents, level);
        case KtxWay::Astc:
            return Payload_DecodeAstc(
                target, level,
                {contents.formatSize.blockWidth, contents.formatSize.blockHeight,
                 contents.formatSize.blockDepth});
        case KtxWay::Packed:
            return Payload_ExpandPacked(target, level, way.componentCount,
                                        Gl_GetBitsPerPixel(contents.glInternalFormat),
                                        Gl_GetChannelLayout(contents.glInternalFormat));
        case KtxWay::None:
            break;
    }
    return 1;
}

}  // namespace koru
