// Packed pixels to a surface, and the surface to a record: the ways that take buffers over must
// give what the plain ones define, and so must every set of kernels.
//
// Input: member 1, bits per pixel 1, format 1, layout 1, flags 1, width 1, height 1, size that
// counts 2, pixels.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "byte_reader.h"
#include "core/image.h"
#include "core/kernel_level.h"
#include "core/row_alignment.h"
#include "formats/expand.h"
#include "formats/gl_codes.h"
#include "formats/gl_formats.h"
#include "fuzz_check.h"
#include "load_checks.h"

namespace {

using Expand = int (*)(koru::DecodeSurface&, const koru::PackedPixels&, const koru::ChannelLayout&);

struct Member {
    koru::ExpandMember member;
    Expand expand;
};
constexpr Member kMembers[] = {{koru::ExpandMember::Ktx, koru::ExpandPackedPixels},
                               {koru::ExpandMember::Pvr, koru::ExpandPackedPixelsPvr},
                               {koru::ExpandMember::Astc, koru::ExpandPackedPixelsAstc}};

constexpr std::uint32_t kFormats[] = {
    0,
    koru::GL_RGB565,
    koru::GL_RGB5,
    koru::GL_RGB5_A1,
    koru::GL_RGBA4,
    koru::GL_RGB10_A2,
    koru::GL_RGB10_A2UI,
    koru::GL_RGB9_E5,
    koru::GL_R11F_G11F_B10F,
    koru::GL_RGBA8,
};

/// What the input describes.
struct Case {
    Member member{};
    std::uint32_t bitsPerPixel = 0;
    koru::ChannelLayout layout;
    std::uint32_t bytesPerPixel = 3;
    std::uint32_t flags = 0;
    std::uint32_t width = 0, height = 0;
    std::uint32_t countingBytes = 0;
    std::span<const std::uint8_t> pixels;

    [[nodiscard]] koru::DecodeSurface MakeSurface() const {
        koru::DecodeSurface surface;
        Fuzz_Require(koru::Surface_SetLayout(surface, width, height, bytesPerPixel),
                     "a small image has a layout");
        return surface;
    }
    [[nodiscard]] koru::ByteBuffer CopyPixels() const {
        auto copy = koru::ByteBuffer::Allocate(static_cast<std::uint32_t>(pixels.size()));
        std::copy(pixels.begin(), pixels.end(), copy.Data());
        return copy;
    }
};

Case ReadCase(ByteReader input) {
    Case it;
    it.member = input.Pick(kMembers);
    // Whole bytes most of the time; 0 to 8 of them.
    const unsigned bits = input.Byte();
    it.bitsPerPixel = bits < 0xF0 ? bits % 9 * 8 : bits;
    koru::Gl_SetChannelMasks(it.layout, input.Pick(kFormats));
    const unsigned layout = input.Byte();
    it.bytesPerPixel = 3 + layout % 2;
    koru::Layout_Derive(it.layout);
    it.flags = input.Byte();
    it.width = input.Byte();
    it.height = input.Byte();
    it.countingBytes = input.Le16();
    it.pixels = input.Rest();
    // Half of the sources count exactly what they hold.
    if ((layout & 2) != 0) it.countingBytes = static_cast<std::uint32_t>(it.pixels.size());
    return it;
}

bool HoldSame(const koru::DecodeSurface& one, const koru::DecodeSurface& other) {
    return one.dataSize == other.dataSize && one.pixels && other.pixels &&
           std::memcmp(one.pixels.Data(), other.pixels.Data(), one.dataSize) == 0;
}

/// Opaque black pixels, then the plain expansion, from memory of exactly the pixels' size.
koru::DecodeSurface ExpandPlainly(const Case& it) {
    koru::DecodeSurface surface = it.MakeSurface();
    Fuzz_Require(koru::Surface_AllocateBlack(surface), "a small image finds memory");
    const auto exact = std::make_unique<std::uint8_t[]>(it.pixels.size());
    std::copy(it.pixels.begin(), it.pixels.end(), exact.get());
    it.member.expand(surface,
                     {.data = it.pixels.empty() ? nullptr : exact.get(),
                      .size = it.countingBytes,
                      .readable = static_cast<std::uint32_t>(it.pixels.size()),
                      .bitsPerPixel = it.bitsPerPixel},
                     it.layout);
    return surface;
}

koru::DecodeSurface ExpandTaking(const Case& it) {
    koru::DecodeSurface surface = it.MakeSurface();
    Fuzz_Require(koru::Expand_TakePixels(surface, it.CopyPixels(), it.countingBytes,
                                         it.bitsPerPixel, it.layout, it.member.member) == 1,
                 "a small image finds memory");
    return surface;
}

/// Expanding and finishing with every set of kernels that the machine runs.
void CheckKernels(const Case& it) {
    const koru::KernelLevel best = koru::KernelLevel_Get();
    koru::DecodeSurface reference;
    koru::ImageHandle referenceImage;
    for (const koru::KernelLevel level : koru::KernelLevel_GetRunnable()) {
        koru::KernelLevel_Force(level);
        koru::DecodeSurface surface = ExpandPlainly(it);
        koru::ImageHandle image = koru::Image_FromSurface(surface, it.flags);
        if (level == koru::KernelLevel::Scalar) {
            reference = std::move(surface);
            referenceImage = std::move(image);
            continue;
        }
        Fuzz_Require(HoldSame(reference, surface), "kernels expand as the scalar ones do");
        Fuzz_Require(Fuzz_IsSame(referenceImage.get(), image.get()),
                     "kernels finish as the scalar ones do");
    }
    koru::KernelLevel_Force(best);
}

/// The rows by their definition: three bytes a pixel, zeros up to a multiple of 4.
std::vector<std::uint8_t> AlignByDefinition(const KORU_Image& image) {
    std::vector<std::uint8_t> rows;
    for (std::uint32_t y = 0; y < image.height; ++y) {
        const std::uint8_t* row = image.pixels + std::size_t{y} * image.width * 3;
        rows.insert(rows.end(), row, row + std::size_t{image.width} * 3);
        while (rows.size() % 4 != 0) rows.push_back(0);
    }
    return rows;
}

void CheckFinishing(const koru::DecodeSurface& defined, koru::DecodeSurface& taken,
                    std::uint32_t flags) {
    const koru::ImageHandle copy = koru::Image_FromSurface(defined, flags);
    const koru::ImageHandle moved = koru::Image_TakeSurface(taken, flags);
    Fuzz_Require(Fuzz_IsSame(copy.get(), moved.get()), "taking a surface equals copying it");
    if (copy == nullptr) return;
    Fuzz_CheckRecord(*copy, flags);

    const KORU_Image before = *copy;
    const bool canBeAligned = before.pixels != nullptr && before.bitsPerPixel == 24;
    const auto rows = canBeAligned ? AlignByDefinition(*copy) : std::vector<std::uint8_t>();
    Fuzz_Require(koru::AlignRgbRows(*copy) == (canBeAligned ? 1 : 0), "RGB rows can be aligned");
    if (!canBeAligned) return;
    Fuzz_Require(copy->dataSize == rows.size() && copy->stride == rows.size() / copy->height &&
                     copy->rowPadding == copy->stride - copy->width * 3 &&
                     std::memcmp(copy->pixels, rows.data(), rows.size()) == 0,
                 "aligned rows are the rows and zeros");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Case it = ReadCase(ByteReader(data, size));
    if (it.width == 0 || it.height == 0) return 0;
    CheckKernels(it);
    const koru::DecodeSurface defined = ExpandPlainly(it);
    koru::DecodeSurface taken = ExpandTaking(it);
    Fuzz_Require(HoldSame(defined, taken), "taking pixels equals expanding them");
    CheckFinishing(defined, taken, it.flags);
    return 0;
}
