#include "texture_decoder.h"

#include <array>
#include <limits>

#include "pvr/pvr_header.h"
#include "pvr/pvr_way.h"

namespace koru_host {
namespace {

// Whole textures of one pixel. Those of KTX and PVR have three channels, so that they leave no
// alpha to later loads; that of ASTC has a footprint for which no codec is set up, which takes
// long.
constexpr std::array<std::uint8_t, 32> kTinyAstc{0x13, 0xAB, 0xA1, 0x5C, 255, 255, 1, 1,
                                                 0,    0,    1,    0,    0,   1,   0, 0};
constexpr std::array<std::uint8_t, 72> kTinyKtx{
    0xAB, 0x4B, 0x54, 0x58, 0x20, 0x31, 0x31, 0xBB, 0x0D, 0x0A, 0x1A, 0x0A,  // KTX 1.1
    1,    2,    3,    4,    0x01, 0x14, 0,    0,    1,    0,    0,    0,     // GL_UNSIGNED_BYTE
    0x07, 0x19, 0,    0,    0x51, 0x80, 0,    0,    0x07, 0x19, 0,    0,     // GL_RGB8
    1,    0,    0,    0,    1,    0,    0,    0,    0,    0,    0,    0,     // 1 x 1
    0,    0,    0,    0,    1,    0,    0,    0,    1,    0,    0,    0,     // 1 face, 1 level
    0,    0,    0,    0,    4,    0,    0,    0};
constexpr std::array<std::uint8_t, 60> kTinyPvr{
    'P', 'V', 'R', 3, 0, 0, 0, 0, 6, 0, 0, 0, 0, 0, 0, 0,  // ETC1
    0,   0,   0,   0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0,  // 1 x 1
    1,   0,   0,   0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0};

std::span<const std::uint8_t> Texture_ChooseTiny(Container container) noexcept {
    switch (container) {
        case Container::Astc:
            return kTinyAstc;
        case Container::Ktx1:
        case Container::Ktx2:
        case Container::WrappedKtx:
            return kTinyKtx;
        case Container::Pvr3:
        case Container::PvrLegacy:
            return kTinyPvr;
        case Container::Png:
        case Container::Unknown:
            break;
    }
    return {};
}

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

void Texture_DropPayload(const LibraryDoors& doors, std::span<const std::uint8_t> bytes) noexcept {
    // Each load lets go of what the one before it left.
    KORU_Image* const image =
        Texture_Load(doors, Texture_ChooseTiny(Container_Identify(bytes)), KORU_FLAG_HEADER_ONLY);
    if (image != nullptr) doors.deleteImage(image);
}

}  // namespace koru_host
