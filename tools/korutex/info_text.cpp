#include "info_text.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "host_paths.h"
#include "ktx_inspection.h"
#include "pvr_names.h"
#include "utf_text.h"

namespace koru_host {
namespace {

std::string Info_FormatSize(const FileInfo& info) {
    const auto join = [](std::uint32_t width, std::uint32_t height, std::uint32_t depth) {
        const std::string size = std::to_string(width) + " x " + std::to_string(height);
        return depth > 1 ? size + " x " + std::to_string(depth) : size;
    };
    if (info.astc) return join(info.astc->width, info.astc->height, info.astc->depth);
    if (const KtxFacts* ktx = info.GetKtx()) return join(ktx->width, ktx->height, ktx->depth);
    if (const PvrFacts* pvr = info.GetPvr()) return join(pvr->width, pvr->height, pvr->depth);
    if (const PngFacts* png = info.GetPng()) return join(png->width, png->height, 1);
    return {};
}

/// The format's name, and behind it what else the header says of the pixels.
std::string Info_FormatFormat(const KtxFacts& ktx) {
    std::string format = Ktx_GetFormatName(ktx);
    if (Ktx_IsVersion20(ktx)) {
        return Ktx_HasGlFormat(ktx) ? format + " (as " + Ktx_GetGlName(ktx.glInternalFormat) + ')'
                                    : format;
    }
    if (ktx.glType == 0 && ktx.glFormat == 0) return format;
    return format + " (glType " + Ktx_GetGlName(ktx.glType) + ", glFormat " +
           Ktx_GetGlName(ktx.glFormat) + ')';
}

std::string Info_FormatCount(std::uint64_t count) {
    return count > 1 ? std::to_string(count) : std::string();
}

/// Only the first image of several is shown.
std::string Info_FormatImageCount(std::uint32_t count) {
    return count > 1 ? std::to_string(count) + ", the first is shown" : std::string();
}

std::string Info_FormatRecord(const KORU_Image& record) {
    return std::string(record.bytesPerPixel == 4 ? "RGBA" : "RGB") + ", " +
           std::to_string(record.bitsPerChannel) + " bits per channel, stride " +
           std::to_string(record.stride) + ", " + std::to_string(record.dataSize) + " bytes";
}

/// Caption and value; lines without a value are left out.
void Info_AppendLine(std::string& text, std::string_view caption, const std::string& value) {
    constexpr std::size_t kCaptionWidth = 11;
    if (value.empty()) return;
    text += "  ";
    text += caption;
    text.append(kCaptionWidth - caption.size(), ' ');
    text += value + '\n';
}

void Info_AppendKtx(std::string& text, const KtxFacts& ktx) {
    Info_AppendLine(text, "format", Info_FormatFormat(ktx));
    Info_AppendLine(text, "data", Ktx_GetWayName(ktx));
    Info_AppendLine(text, "scheme",
                    ktx.supercompression != 0 ? Ktx_GetSchemeName(ktx.supercompression) : "");
    Info_AppendLine(text, "levels", Info_FormatCount(ktx.levels));
    Info_AppendLine(text, "faces", Info_FormatImageCount(ktx.faces));
    Info_AppendLine(text, "layers", Info_FormatImageCount(ktx.layers));
    Info_AppendLine(text, "direction", Text_MakePrintable(ktx.orientation));
}

void Info_AppendWrapper(std::string& text, const WrapperInspection& wrapper) {
    for (const WrapperLayer& layer : wrapper.layers) {
        std::string value =
            std::to_string(layer.chunks) + (layer.chunks == 1 ? " chunk" : " chunks");
        if (layer.joinedBytes > 0) value += ", " + std::to_string(layer.joinedBytes) + " bytes";
        Info_AppendLine(text, "wrapper", value);
    }
    if (wrapper.inner != Container::Unknown && wrapper.inner != Container::WrappedKtx) {
        Info_AppendLine(text, "inside", Container_GetName(wrapper.inner));
    }
}

std::string Info_FormatFlags(std::uint32_t flags) {
    std::array<char, 16> text{};
    (void)std::snprintf(text.data(), text.size(), "0x%X", static_cast<unsigned>(flags));
    return text.data();
}

std::string Info_FormatMetadata(const PvrFacts& pvr) {
    if (pvr.metadataSize == 0) return {};
    std::string text = std::to_string(pvr.metadataSize) + " bytes";
    if (pvr.metadata) text += ", the first key is " + Pvr_GetMetadataName(*pvr.metadata);
    return text;
}

void Info_AppendPvr(std::string& text, const PvrFacts& pvr) {
    Info_AppendLine(text, "format", Pvr_GetFormatName(pvr));
    if (!pvr.isLegacy) {
        Info_AppendLine(text, "channels", Pvr_GetChannelTypeName(pvr.channelType));
        Info_AppendLine(text, "colors", Pvr_GetColorSpaceName(pvr.colorSpace));
    }
    Info_AppendLine(text, "data", Pvr_GetWayName(pvr));
    Info_AppendLine(text, "payload", std::to_string(pvr.payloadBytes) + " bytes");
    Info_AppendLine(text, "levels", Info_FormatCount(pvr.GetLevelCount()));
    Info_AppendLine(text, "faces", Info_FormatImageCount(pvr.faces));
    Info_AppendLine(text, "surfaces", Info_FormatImageCount(pvr.surfaces));
    Info_AppendLine(text, "flags", pvr.flags != 0 ? Info_FormatFlags(pvr.flags) : "");
    Info_AppendLine(text, "metadata", Info_FormatMetadata(pvr));
    Info_AppendLine(text, "direction", pvr.isUpsideDown ? "rows run upwards" : "");
}

}  // namespace

std::string Info_FormatText(const FileInfo& info) {
    std::string text = Paths_ToPrintable(info.path) + '\n';
    Info_AppendLine(text, "container", Container_GetName(info.GetContainer()));
    if (info.GetWrapper() != nullptr) Info_AppendWrapper(text, *info.GetWrapper());
    Info_AppendLine(text, "size", Info_FormatSize(info));
    if (info.astc) {
        Info_AppendLine(text, "blocks", "ASTC " + Container_GetFootprint(*info.astc));
    }
    if (const KtxFacts* ktx = info.GetKtx()) Info_AppendKtx(text, *ktx);
    if (const PvrFacts* pvr = info.GetPvr()) Info_AppendPvr(text, *pvr);
    if (const PngFacts* png = info.GetPng()) {
        Info_AppendLine(text, "channels", std::to_string(png->bitsPerChannel) + " bits");
    }
    if (info.record) Info_AppendLine(text, "record", Info_FormatRecord(*info.record));
    if (info.file) Info_AppendLine(text, "file", std::to_string(info.file->fileBytes) + " bytes");
    Info_AppendLine(text, "loads", info.record ? "yes" : "no");
    return text;
}

}  // namespace koru_host
