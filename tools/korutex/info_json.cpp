#include "info_json.h"

#include <cstdint>
#include <string>
#include <utility>

#include "host_paths.h"
#include "ktx_inspection.h"
#include "pvr_names.h"

namespace koru_host {
namespace {

using Json = nlohmann::ordered_json;

/// Empty texts are null.
Json Json_FromText(const std::string& text) { return text.empty() ? Json() : Json(text); }

void Info_FillJson(Json& object, const AstcSizes& astc) {
    object["width"] = astc.width;
    object["height"] = astc.height;
    object["depth"] = astc.depth;
    object["blockFootprint"] = Container_GetFootprint(astc);
    object["way"] = "ASTC " + Container_GetFootprint(astc) + " blocks";
}

/// Numbers are the header's own: 0 where it has no depth, say.
void Info_FillJson(Json& object, const KtxFacts& ktx) {
    object["width"] = ktx.width;
    object["height"] = ktx.height;
    object["depth"] = ktx.depth;
    object["levels"] = ktx.levels;
    object["faces"] = ktx.faces;
    object["layers"] = ktx.layers;
    if (ktx.way.way == koru::KtxWay::Astc) {
        object["blockFootprint"] =
            std::to_string(ktx.blockWidth) + 'x' + std::to_string(ktx.blockHeight);
    }
    object["format"] = Ktx_GetFormatName(ktx);
    if (Ktx_IsVersion20(ktx)) {
        object["vkFormat"] = ktx.vkFormat;
        object["supercompression"] = Ktx_GetSchemeName(ktx.supercompression);
    } else {
        object["glType"] = ktx.glType;
        object["glFormat"] = ktx.glFormat;
    }
    if (Ktx_HasGlFormat(ktx)) object["glInternalFormat"] = ktx.glInternalFormat;
    object["typeSize"] = ktx.typeSize;
    object["way"] = Json_FromText(Ktx_GetWayName(ktx));
    object["orientation"] = Json_FromText(ktx.orientation);
}

/// Numbers are the header's own here, too; "levels" counts the largest one in both generations.
void Info_FillJson(Json& object, const PvrFacts& pvr) {
    object["width"] = pvr.width;
    object["height"] = pvr.height;
    object["levels"] = pvr.GetLevelCount();
    object["layers"] = pvr.surfaces;
    object["format"] = Pvr_GetFormatName(pvr);
    object["way"] = Json_FromText(Pvr_GetWayName(pvr));
    if (pvr.isUpsideDown) object["orientation"] = "up";

    Json details;
    for (const char* key :
         {"flags", "mipMapCount", "dataSize", "pixelType", "formatNumber", "name", "channelNames",
          "channelWidths", "channelType", "colorSpace", "metadataSize", "metadataKey"}) {
        details[key] = nullptr;
    }
    details["flags"] = pvr.flags;
    details["mipMapCount"] = pvr.mipMapCount;
    details["dataSize"] = pvr.payloadBytes;
    if (pvr.isLegacy) {
        details["pixelType"] = pvr.pixelType;
        details["name"] = Json_FromText(Pvr_GetLegacyTypeName(pvr.pixelType));
    } else {
        object["depth"] = pvr.depth;
        object["faces"] = pvr.faces;
        if (pvr.isPacked) {
            details["channelNames"] = Pvr_GetChannelNames(pvr);
            details["channelWidths"] = pvr.channelWidths;
        } else {
            details["formatNumber"] = pvr.formatNumber;
            details["name"] = Json_FromText(Pvr_GetNumberName(pvr.formatNumber));
        }
        details["channelType"] = Pvr_GetChannelTypeName(pvr.channelType);
        details["colorSpace"] = Pvr_GetColorSpaceName(pvr.colorSpace);
        details["metadataSize"] = pvr.metadataSize;
        if (pvr.metadata) details["metadataKey"] = pvr.metadata->key;
    }
    object["pvr"] = std::move(details);
}

/// An array, the outermost wrapper first.
Json Json_FromWrapper(const WrapperInspection& wrapper) {
    Json layers = Json::array();
    for (const WrapperLayer& layer : wrapper.layers) {
        layers.push_back({{"chunks", layer.chunks}, {"joinedBytes", layer.joinedBytes}});
    }
    return layers;
}

}  // namespace

Json Info_FormatJson(const FileInfo& info) {
    Json object;
    object["file"] = Paths_ToText(info.path);
    for (const char* key :
         {"container", "fileBytes",      "width",       "height",   "depth",
          "levels",    "faces",          "layers",      "format",   "glInternalFormat",
          "glType",    "glFormat",       "vkFormat",    "typeSize", "supercompression",
          "way",       "blockFootprint", "orientation", "pvr",      "wrappers",
          "inside"}) {
        object[key] = nullptr;
    }
    object["loads"] = info.record.has_value();
    object["record"] = nullptr;
    object["error"] = Json_FromText(info.error);
    object["warning"] = nullptr;

    if (info.GetContainer() != Container::Unknown) {
        object["container"] = Container_GetName(info.GetContainer());
    }
    if (info.file) object["fileBytes"] = info.file->fileBytes;
    if (info.astc) {
        Info_FillJson(object, *info.astc);
    } else if (const KtxFacts* ktx = info.GetKtx()) {
        Info_FillJson(object, *ktx);
    } else if (const PvrFacts* pvr = info.GetPvr()) {
        Info_FillJson(object, *pvr);
    } else if (const PngFacts* png = info.GetPng()) {
        object["width"] = png->width;
        object["height"] = png->height;
    }
    if (const WrapperInspection* wrapper = info.GetWrapper()) {
        object["wrappers"] = Json_FromWrapper(*wrapper);
        if (wrapper->inner != Container::Unknown) {
            object["inside"] = Container_GetName(wrapper->inner);
        }
    }
    if (info.record) {
        object["record"] = {{"width", info.record->width},
                            {"height", info.record->height},
                            {"bitsPerPixel", info.record->bitsPerPixel},
                            {"bytesPerPixel", info.record->bytesPerPixel},
                            {"bitsPerChannel", info.record->bitsPerChannel},
                            {"stride", info.record->stride},
                            {"dataSize", info.record->dataSize}};
    }
    std::string joined;
    for (const std::string& warning : info.warnings) {
        joined += (joined.empty() ? "" : "; ") + warning;
    }
    object["warning"] = Json_FromText(joined);
    return object;
}

}  // namespace koru_host
