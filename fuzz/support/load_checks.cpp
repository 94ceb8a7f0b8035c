#include "load_checks.h"

#include <cstddef>
#include <cstring>
#include <tuple>

#include "astc/astc_reader.h"
#include "fuzz_check.h"
#include "ktx/ktx_state.h"
#include "pvr/pvr_state.h"
#include "size_peek.h"

namespace {

/// Every byte counts, so that no read can be left out.
void ReadPixels(const KORU_Image& image) {
    [[maybe_unused]] static volatile unsigned sink;
    unsigned sum = 0;
    for (std::uint32_t i = 0; i < image.dataSize; ++i) sum = sum * 31u + image.pixels[i];
    sink = sum;
}

/// Whether RGB pixels are the RGBA ones without alpha.
bool IsWithoutAlpha(const KORU_Image& rgb, const KORU_Image& rgba) {
    const std::size_t pixelCount = std::size_t{rgb.width} * rgb.height;
    for (std::size_t i = 0; i < pixelCount; ++i) {
        if (std::memcmp(rgb.pixels + i * 3, rgba.pixels + i * 4, 3) != 0) return false;
    }
    return true;
}

}  // namespace

void Fuzz_CheckRecord(const KORU_Image& image, std::uint32_t flags) {
    const bool isHeaderOnly = (flags & KORU_FLAG_HEADER_ONLY) != 0;
    const std::uint32_t channels = !isHeaderOnly && (flags & KORU_FLAG_RGBA) != 0 ? 4 : 3;
    Fuzz_Require(image.width != 0 && image.height != 0, "a record has pixels");
    Fuzz_Require(image.bytesPerPixel == channels && image.bitsPerPixel == channels * 8 &&
                     image.bitsPerChannel == 8,
                 "the layout follows from the flags");
    Fuzz_Require(image.stride == std::uint64_t{image.width} * channels, "rows are packed");
    Fuzz_Require(image.dataSize == std::uint64_t{image.stride} * image.height,
                 "dataSize == stride * height");
    Fuzz_Require(image.rowPadding == 0 && image.reservedA == 0 && image.reservedB == 0 &&
                     image.reservedC == 100 && image.reservedD == 0,
                 "the other fields have their fixed values");
    Fuzz_Require((image.pixels == nullptr) == isHeaderOnly,
                 "pixels come unless only the header is wanted");
    if (image.pixels != nullptr) ReadPixels(image);
}

FuzzImagePtr Fuzz_Load(FuzzLoad load, std::span<const std::uint8_t> file, std::uint32_t flags) {
    FuzzImagePtr image(load(file.data(), static_cast<std::uint32_t>(file.size()), flags));
    if (image != nullptr) Fuzz_CheckRecord(*image, flags);
    return image;
}

void Fuzz_LoadInEveryLayout(FuzzLoad load, std::span<const std::uint8_t> file) {
    const auto rgb = Fuzz_Load(load, file, 0);
    const auto header = Fuzz_Load(load, file, KORU_FLAG_HEADER_ONLY);
    const auto rgba = Fuzz_Load(load, file, KORU_FLAG_RGBA);
    const auto both = Fuzz_Load(load, file, KORU_FLAG_HEADER_ONLY | KORU_FLAG_RGBA);
    Fuzz_Require(Fuzz_IsSame(header.get(), both.get()), "the RGBA flag changes no header");
    Fuzz_Require((rgb == nullptr) == (header == nullptr), "a header loads where RGB does");
    if (rgb == nullptr || rgba == nullptr) return;
    Fuzz_Require(rgb->width == header->width && rgb->height == header->height &&
                     rgb->width == rgba->width && rgb->height == rgba->height,
                 "the size is the same in every layout");
    Fuzz_Require(IsWithoutAlpha(*rgb, *rgba), "RGB is RGBA without alpha");
}

void Fuzz_LoadKtx(std::span<const std::uint8_t> file) {
    const auto unwrapped = Fuzz_Unwrap(file);
    if (!unwrapped || Fuzz_MayBeHugeKtx(unwrapped->file)) return;
    Fuzz_ForgetEarlierLoads();
    if (Fuzz_IsAstcInKtx(unwrapped->file)) {
        Fuzz_Load(KORU_Load_KTX_From_Memory, file, file.size() & 3);
    } else {
        Fuzz_LoadInEveryLayout(KORU_Load_KTX_From_Memory, file);
    }
}

bool Fuzz_IsSame(const KORU_Image* one, const KORU_Image* other) {
    if (one == nullptr || other == nullptr) return one == other;
    const auto fields = [](const KORU_Image& image) {
        return std::tie(image.width, image.height, image.bitsPerPixel, image.bytesPerPixel,
                        image.bitsPerChannel, image.dataSize, image.stride, image.rowPadding,
                        image.reservedA, image.reservedB, image.reservedC, image.reservedD);
    };
    if (fields(*one) != fields(*other)) return false;
    if (one->pixels == nullptr || other->pixels == nullptr) return one->pixels == other->pixels;
    return std::memcmp(one->pixels, other->pixels, one->dataSize) == 0;
}

void Fuzz_ForgetEarlierLoads() {
    for (koru::FormatState* state : {&koru::g_astcState, &koru::g_ktxState, &koru::g_pvrState}) {
        koru::State_Release(*state);
        state->surface = {};
    }
    koru::g_ktxVersion = koru::KtxVersion::None;
    koru::g_ktxCompressed = false;
    koru::LegacyCompressedFlag = false;
}
