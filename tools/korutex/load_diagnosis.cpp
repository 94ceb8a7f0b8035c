#include "load_diagnosis.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace koru_host {
namespace {

constexpr std::uint64_t kAstcBlockBytes = 16;
constexpr std::uint64_t kMaxPixelBytes = 0xFFFFFFFF;

using Footprint = std::array<std::uint32_t, 3>;
constexpr auto kAstcFootprints = std::to_array<Footprint>(
    {{4, 4, 1},   {5, 4, 1},   {5, 5, 1},  {6, 5, 1},  {6, 6, 1},  {8, 5, 1},
     {8, 6, 1},   {8, 8, 1},   {10, 5, 1}, {10, 6, 1}, {10, 8, 1}, {10, 10, 1},
     {12, 10, 1}, {12, 12, 1}, {3, 3, 3},  {4, 3, 3},  {4, 4, 3},  {4, 4, 4},
     {5, 4, 4},   {5, 5, 4},   {5, 5, 5},  {6, 5, 5},  {6, 6, 5},  {6, 6, 6}});

/// Of one layer of blocks, which is all that an image of depth 1 has. The axes of an image have
/// 24 bits, so 64 bits hold the product.
std::uint64_t Astc_CountBlockBytes(const AstcSizes& sizes) {
    const auto countBlocks = [](std::uint64_t texels, std::uint64_t blockTexels) {
        return (texels + blockTexels - 1) / blockTexels;
    };
    return countBlocks(sizes.width, sizes.blockWidth) *
           countBlocks(sizes.height, sizes.blockHeight) * kAstcBlockBytes;
}

/// Empty when the header gives no reason.
std::string Astc_ExplainFailure(const TextureFile& file) {
    const auto sizes = Container_ReadAstcSizes(file.head);
    if (!sizes) return "its header is cut off";
    if (sizes->width == 0 || sizes->height == 0) {
        return "its size is " + std::to_string(sizes->width) + " x " +
               std::to_string(sizes->height);
    }
    if (sizes->depth != 1) {
        return "its depth is " + std::to_string(sizes->depth) + ", only images of depth 1 are read";
    }
    const std::uint64_t heldBytes = file.fileBytes - kAstcHeaderBytes;
    const std::uint64_t neededBytes = Astc_CountBlockBytes(*sizes);
    if (heldBytes < neededBytes) {
        return "holds " + std::to_string(heldBytes) + " bytes of blocks, needs " +
               std::to_string(neededBytes);
    }
    if (std::uint64_t{sizes->width} * sizes->height * 4 > kMaxPixelBytes) {
        return "its pixels take 4 GiB or more";
    }
    return {};
}

std::string Diagnosis_FindReason(const TextureFile& file) {
    switch (file.container) {
        case Container::Astc:
            return Astc_ExplainFailure(file);
        case Container::Ktx1:
        case Container::Ktx2:
        case Container::WrappedKtx:
            return "this version reads no KTX files";
        case Container::Pvr3:
        case Container::PvrLegacy:
            return "this version reads no PVR files";
        case Container::Unknown:
            break;
    }
    return {};
}

}  // namespace

std::string Diagnosis_ExplainFailure(const TextureFile& file) {
    const std::string reason = Diagnosis_FindReason(file);
    return reason.empty() ? "cannot be decoded" : "cannot be decoded: " + reason;
}

std::string Diagnosis_FindWarning(const TextureFile& file) {
    if (file.container != Container::Astc) return {};
    const auto sizes = Container_ReadAstcSizes(file.head);
    if (!sizes) return {};
    const Footprint footprint{sizes->blockWidth, sizes->blockHeight, sizes->blockDepth};
    if (std::ranges::find(kAstcFootprints, footprint) != kAstcFootprints.end()) return {};
    // The library gives transparent black for such a file instead of a failure.
    return "ASTC has no " + Container_GetFootprint(*sizes) + " blocks; the picture is empty";
}

}  // namespace koru_host
