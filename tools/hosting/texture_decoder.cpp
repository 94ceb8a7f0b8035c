#include "texture_decoder.h"

#include <limits>

#include "pvr/pvr_header.h"
#include "pvr/pvr_way.h"

namespace koru_host {
namespace {

LibraryDoors::Load* Texture_ChooseDoor(const LibraryDoors& doors, Container container) noexcept {
    switch (container) {
        case Container::Astc:
            return doors.loadAstc;
        case Container::Ktx1:
        case Container::Ktx2:
        case Container::WrappedKtx:
            return doors.loadKtx;
        case Container::Pvr3:
        case Container::PvrLegacy:
            return doors.loadPvr;
        case Container::Png:
        case Container::Unknown:
            break;
    }
    return nullptr;
}

KORU_Image* Texture_Load(const LibraryDoors& doors, std::span<const std::uint8_t> bytes,
                         std::uint32_t flags) noexcept {
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max()) return nullptr;
    LibraryDoors::Load* const load = Texture_ChooseDoor(doors, Container_Identify(bytes));
    if (load == nullptr) return nullptr;
    return load(bytes.data(), static_cast<std::uint32_t>(bytes.size()), flags);
}

koru::PvrPixelWay Texture_ChoosePvrWay(
    Container container, std::span<const std::uint8_t, koru::kPvrHeaderBytes> raw) noexcept {
    if (container == Container::Pvr3) return koru::Pvr_ChooseV3Way(koru::Pvr_LoadV3Header(raw));
    const std::uint32_t pixelType = koru::Pvr_LoadLegacyHeader(raw).GetPixelType();
    const bool isCompressed = koru::Pvr_ClassifyLegacy(pixelType).value_or(true);
    return koru::Pvr_ChooseLegacyWay(pixelType, isCompressed);
}

}  // namespace

bool Texture_MayHaveStrayAlpha(std::span<const std::uint8_t> bytes) noexcept {
    const Container container = Container_Identify(bytes);
    if (container != Container::Pvr3 && container != Container::PvrLegacy) return false;
    if (bytes.size() < koru::kPvrHeaderBytes) return false;
    const koru::PvrPixelWay way =
        Texture_ChoosePvrWay(container, bytes.first<koru::kPvrHeaderBytes>());
    return way.way == koru::PvrWay::Packed && way.componentCount < 4;
}

void Texture_MakeOpaque(KORU_Image& image) noexcept {
    for (std::size_t i = 3; i < image.dataSize; i += 4) image.pixels[i] = 255;
}

KORU_Image* Texture_Decode(const LibraryDoors& doors,
                           std::span<const std::uint8_t> bytes) noexcept {
    KORU_Image* const image = Texture_Load(doors, bytes, KORU_FLAG_RGBA);
    if (image == nullptr) return nullptr;
    if (image->pixels == nullptr) {  // An image without pixels is no picture.
        doors.deleteImage(image);
        return nullptr;
    }
    if (Texture_MayHaveStrayAlpha(bytes)) Texture_MakeOpaque(*image);
    return image;
}

TextureSize Texture_ReadSize(const LibraryDoors& doors,
                             std::span<const std::uint8_t> bytes) noexcept {
    KORU_Image* const image = Texture_Load(doors, bytes, KORU_FLAG_HEADER_ONLY);
    if (image == nullptr) return {0, 0};
    const TextureSize size{image->width, image->height};
    doors.deleteImage(image);
    return size;
}

}  // namespace koru_host
