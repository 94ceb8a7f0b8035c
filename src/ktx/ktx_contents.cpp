#include "ktx/ktx_contents.h"

#include "core/bytes.h"
#include "formats/vk_formats.h"

namespace koru {
namespace {

/// Reads the first pair of the key/value data at the source's offset and steps over all of it;
/// false if the source ends within the pair.
/// Quirk: later pairs are not read, so an orientation counts only where it is the first.
bool ReadFirstPair(SourceBuffer& source, std::uint32_t keyValueBytes,
                   std::optional<KtxPair>& pair) noexcept {
    if (keyValueBytes == 0) return true;
    const std::uint64_t start = source.offset;
    pair = Ktx_ReadPair(source);
    Source_Seek(source, start + keyValueBytes);
    return pair.has_value();
}

/// Steps over a data format descriptor; false if the source ends within its size.
/// Quirk: it is expected where the level index ends, and the key/value data where it ends; the
/// offsets of the header are not read.
bool SkipDescriptor(SourceBuffer& source) noexcept {
    const auto totalSize = Source_Take<4>(source);
    if (!totalSize) return false;
    const std::uint32_t byteCount = Bytes_LoadLe32<0>(*totalSize);
    if (byteCount > 3) Source_Seek(source, std::uint64_t{source.offset} + byteCount - 4);
    return true;
}

}  // namespace

std::optional<KtxContents> Ktx_ReadContents11(SourceBuffer& source, const Ktx11Header& header,
                                              bool isCompressed) noexcept {
    KtxContents contents{.version = KtxVersion::Ktx11,
                         .glInternalFormat = header.glInternalFormat,
                         .isCompressed = isCompressed,
                         .formatSize = Gl_GetFormatSize(header.glInternalFormat),
                         .width = header.pixelWidth,
                         .height = header.pixelHeight};
    if (!ReadFirstPair(source, header.bytesOfKeyValueData, contents.pair)) return std::nullopt;
    if (contents.pair) {
        contents.orientation = Ktx_GetOrientation11(*contents.pair).value_or(contents.orientation);
    }
    const auto level = Ktx_FindLevel11(source, header);
    if (!level) return std::nullopt;
    contents.level = *level;
    return contents;
}

std::optional<KtxContents> Ktx_ReadContents20(SourceBuffer& source,
                                              const Ktx20Header& header) noexcept {
    const GlFormatSize formatSize = Vk_GetFormatSize(header.vkFormat);
    KtxContents contents{.version = KtxVersion::Ktx20,
                         .glInternalFormat = Vk_ToGlInternalFormat(header.vkFormat),
                         .isCompressed = (formatSize.flags & kGlCompressed) != 0,
                         .formatSize = formatSize,
                         .width = header.pixelWidth,
                         .height = header.pixelHeight};
    const auto level = Ktx_FindLevel20(source, header);
    if (!level) return std::nullopt;
    contents.level = *level;
    if (!SkipDescriptor(source)) return std::nullopt;
    if (!ReadFirstPair(source, header.kvdByteLength, contents.pair)) return std::nullopt;
    if (contents.pair) {
        contents.orientation = Ktx_GetOrientation20(*contents.pair).value_or(contents.orientation);
    }
    // The supercompression global data comes next; no scheme is read, so nothing of it is.
    return contents;
}

}  // namespace koru
