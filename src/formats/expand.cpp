#include "formats/expand.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

#include "core/pixel_kernels.h"
#include "formats/expand_converters.h"
#include "formats/expand_kernels.h"
#include "formats/expand_target.h"
#include "formats/gl_codes.h"

namespace koru {
namespace {

/// Where a row begins, in bytes of source and target, and how many pixels of it are converted.
struct RowSpan {
    std::uint64_t source = 0;
    std::uint64_t target = 0;
    std::uint64_t pixelCount = 0;
};

/// How many steps from `first` lie below `limit`.
constexpr std::uint64_t CountBelow(std::uint64_t first, std::uint64_t step,
                                   std::uint64_t limit) noexcept {
    if (first >= limit) return 0;
    return step == 0 ? std::numeric_limits<std::uint64_t>::max() : (limit - first - 1) / step + 1;
}

/// Walks the rows; `convertRow` gets each one that has pixels. A row ends before the first pixel
/// whose third byte lies behind the target, or whose second (16 bits) or third (24 and more) lies
/// behind the source. Quirk: a grey byte and the fourth byte of a pixel are not tested.
/// Gives the bytes of the target that were reached, from its start.
template <typename ConvertRow>
std::uint64_t WalkRows(const ExpandTarget& surface, const PackedPixels& source,
                       std::uint64_t pixelBytes, std::uint64_t rowPadding,
                       ConvertRow&& convertRow) noexcept {
    const std::uint64_t testedByte = std::min<std::uint64_t>(pixelBytes, 3) - (pixelBytes != 0);
    RowSpan row;
    for (std::uint32_t y = 0; y < surface.height; ++y) {
        row.pixelCount =
            std::min(std::uint64_t{surface.width},
                     CountBelow(row.target + 2, surface.bytesPerPixel, surface.dataSize));
        if (pixelBytes >= 2) {
            row.pixelCount = std::min(row.pixelCount,
                                      CountBelow(row.source + testedByte, pixelBytes, source.size));
        }
        // Offsets only grow: after an empty row every later one is empty too.
        if (row.pixelCount == 0) break;
        convertRow(row);
        row.source += row.pixelCount * pixelBytes + rowPadding;
        row.target += row.pixelCount * surface.bytesPerPixel;
    }
    return row.target;
}

// The kernels that do what a converter does; none for what files do not hold.

ExpandRows FindRows(const ConvertGrey&) noexcept { return ExpandKernels_Get().grey; }
ExpandRows FindRows(const ConvertRgb565&) noexcept { return ExpandKernels_Get().rgb565; }
ExpandRows FindRows(const ConvertRgb5<false>&) noexcept { return ExpandKernels_Get().rgb5; }
ExpandRows FindRows(const ConvertRgb5<true>&) noexcept { return ExpandKernels_Get().rgb5A1; }
ExpandRows FindRows(const ConvertRgba4&) noexcept { return ExpandKernels_Get().rgba4; }
ExpandRows FindRows(const ConvertNone16&) noexcept { return {}; }

ExpandRows FindRows(const ConvertRgb8&) noexcept {
    const PixelKernels& kernels = PixelKernels_Get();
    return {.toRgb = kernels.rgbToRgb, .toRgba = kernels.rgbToRgba};
}

ExpandRows FindRows(const ConvertRgba8&) noexcept {
    const PixelKernels& kernels = PixelKernels_Get();
    return {.toRgb = kernels.rgbaToRgb, .toRgba = kernels.rgbaToRgba};
}

/// Whether channels lie as in the layout that a kernel knows.
bool HasLayout(const ChannelLayout& layout, const ChannelLayout& known) noexcept {
    return layout.masks == known.masks && layout.shifts == known.shifts &&
           layout.bitCounts == known.bitCounts && layout.maxValues == known.maxValues;
}

ExpandRows FindRows(const ConvertMasked& convert) noexcept {
    const ConvertMasked& known = convert.alphaByMask ? kConvertRgb10A2 : kConvertRgb9E5;
    if (!HasLayout(convert.layout, known.layout)) return {};
    return convert.alphaByMask ? ExpandKernels_Get().rgb10A2 : ExpandKernels_Get().rgb9E5;
}

ExpandRows FindRows(const ConvertSmallFloats& convert) noexcept {
    if (!HasLayout(convert.layout, kConvertR11G11B10.layout)) return {};
    return ExpandKernels_Get().r11G11B10;
}

template <unsigned TargetBytes, bool WithAlpha, typename Convert>
PixelRow* FindRow(const Convert& convert) noexcept {
    if constexpr (TargetBytes == 3) return FindRows(convert).toRgb;
    return WithAlpha ? FindRows(convert).toRgba : nullptr;
}

template <unsigned TargetBytes, bool WithAlpha, typename Convert>
std::uint64_t ConvertRows(const ExpandTarget& surface, const PackedPixels& source,
                          std::uint64_t rowPadding, const Convert& convert) noexcept {
    constexpr unsigned kBytes = Convert::kBytes;
    PixelRow* const kernel = FindRow<TargetBytes, WithAlpha>(convert);
    return WalkRows(surface, source, kBytes, rowPadding, [&](const RowSpan& row) {
        std::uint8_t* target = surface.pixels + row.target;
        const std::uint64_t readable =
            row.source < source.readable ? source.readable - row.source : 0;
        const std::uint64_t wholeCount = std::min(row.pixelCount, readable / kBytes);
        if (wholeCount != 0) {
            const std::uint8_t* pixels = source.data + row.source;
            const auto count = static_cast<std::size_t>(wholeCount);
            if (kernel != nullptr) {
                kernel(target, pixels, count);
            } else {
                ConvertRun<TargetBytes, WithAlpha>(target, pixels, count, convert);
            }
            target += count * TargetBytes;
        }
        // Pixels that reach past the memory: what is missing reads as 0.
        for (std::uint64_t i = wholeCount; i < row.pixelCount; ++i, target += TargetBytes) {
            std::array<std::uint8_t, kBytes> cut{};
            for (std::uint64_t byte = 0; byte < kBytes; ++byte) {
                const std::uint64_t offset = i * kBytes + byte;
                if (offset < readable) cut[byte] = source.data[row.source + offset];
            }
            StorePixel<TargetBytes, WithAlpha>(target, convert(cut.data()));
        }
    });
}

template <typename Convert>
std::uint64_t ExpandWith(const ExpandTarget& surface, const PackedPixels& source,
                         std::uint64_t rowPadding, const Convert& convert,
                         MissingAlpha missingAlpha) noexcept {
    if (surface.bytesPerPixel == 3) {
        return ConvertRows<3, false>(surface, source, rowPadding, convert);
    }
    const bool storesAlpha =
        Convert::kHasAlpha ? surface.bitsPerPixel == 32 : missingAlpha == MissingAlpha::Opaque;
    return storesAlpha ? ConvertRows<4, true>(surface, source, rowPadding, convert)
                       : ConvertRows<4, false>(surface, source, rowPadding, convert);
}

std::uint64_t Expand16(const ExpandTarget& surface, const PackedPixels& source,
                       std::uint64_t rowPadding, const ChannelLayout& layout,
                       MissingAlpha missingAlpha) noexcept {
    switch (layout.glFormat) {
        case GL_RGB565:
            return ExpandWith(surface, source, rowPadding, ConvertRgb565{}, missingAlpha);
        case GL_RGB5:
            return ExpandWith(surface, source, rowPadding, ConvertRgb5<false>{}, missingAlpha);
        case GL_RGB5_A1:
            return ExpandWith(surface, source, rowPadding, ConvertRgb5<true>{}, missingAlpha);
        case GL_RGBA4:
            return ExpandWith(surface, source, rowPadding, ConvertRgba4{}, missingAlpha);
        default:
            return ExpandWith(surface, source, rowPadding, ConvertNone16{}, missingAlpha);
    }
}

/// Whether 32-bit pixels of this format are copied byte by byte.
constexpr bool IsRaw32(std::uint32_t glFormat, ExpandMember member) noexcept {
    switch (glFormat) {
        case GL_RGB10_A2:
        case GL_RGB10_A2UI:
        case GL_RGB9_E5:
            return false;
        case GL_R11F_G11F_B10F:
            return member != ExpandMember::Ktx;
        default:
            return true;
    }
}

std::uint64_t Expand32(const ExpandTarget& surface, const PackedPixels& source,
                       std::uint64_t rowPadding, const ChannelLayout& layout, ExpandMember member,
                       MissingAlpha missingAlpha) noexcept {
    if (IsRaw32(layout.glFormat, member)) {
        return ExpandWith(surface, source, rowPadding, ConvertRgba8{}, missingAlpha);
    }
    if (layout.glFormat == GL_R11F_G11F_B10F) {
        return ExpandWith(surface, source, rowPadding, ConvertSmallFloats{.layout = layout},
                          missingAlpha);
    }
    // Quirk: the shared exponent of GL_RGB9_E5 is ignored; pictures look as they always did.
    return ExpandWith(surface, source, rowPadding,
                      ConvertMasked{.layout = layout, .alphaByMask = layout.glFormat != GL_RGB9_E5},
                      missingAlpha);
}

/// Source widths without a conversion, as 16-bit formats without one.
std::uint64_t ExpandUnknownWidth(const ExpandTarget& surface, const PackedPixels& source,
                                 std::uint64_t pixelBytes, std::uint64_t rowPadding,
                                 MissingAlpha missingAlpha) noexcept {
    const bool storesAlpha = surface.bytesPerPixel == 4 && missingAlpha == MissingAlpha::Opaque;
    const auto store = storesAlpha ? StorePixel<4, true> : StorePixel<3, false>;
    return WalkRows(surface, source, pixelBytes, rowPadding, [&](const RowSpan& row) {
        std::uint8_t* target = surface.pixels + row.target;
        for (std::uint64_t i = 0; i < row.pixelCount; ++i, target += surface.bytesPerPixel) {
            store(target, Channels{});
        }
    });
}

int ExpandAs(ExpandMember member, DecodeSurface& surface, const PackedPixels& source,
             const ChannelLayout& layout) noexcept {
    if (!surface.pixels || source.data == nullptr ||
        Expand_IsRefused(source.size, source.bitsPerPixel, member)) {
        return 0;
    }
    Expand_ConvertRows(Expand_GetTarget(surface), source, layout, member, MissingAlpha::Kept);
    return 1;
}

}  // namespace

ExpandTarget Expand_GetTarget(DecodeSurface& surface) noexcept {
    return {.pixels = surface.pixels.Data(),
            .width = surface.width,
            .height = surface.height,
            .bitsPerPixel = surface.bitsPerPixel,
            .bytesPerPixel = surface.bytesPerPixel,
            .dataSize = surface.dataSize};
}

std::uint64_t Expand_ConvertRows(const ExpandTarget& target, const PackedPixels& source,
                                 const ChannelLayout& layout, ExpandMember member,
                                 MissingAlpha missingAlpha) noexcept {
    const std::uint64_t pixelBytes = Expand_GetPixelBytes(source.bitsPerPixel, member);
    const std::uint64_t rowPadding = Expand_GetRowPadding(target.width, pixelBytes);
    switch (pixelBytes) {
        case 1:
            return ExpandWith(target, source, rowPadding, ConvertGrey{}, missingAlpha);
        case 2:
            return Expand16(target, source, rowPadding, layout, missingAlpha);
        case 3:
            return ExpandWith(target, source, rowPadding, ConvertRgb8{}, missingAlpha);
        case 4:
            return Expand32(target, source, rowPadding, layout, member, missingAlpha);
        default:
            return ExpandUnknownWidth(target, source, pixelBytes, rowPadding, missingAlpha);
    }
}

PackedPixels Packed_FromBuffer(const ByteBuffer& buffer, std::uint32_t size,
                               std::uint32_t bitsPerPixel) noexcept {
    const std::uint64_t readable = std::uint64_t{buffer.Size()} + ByteBuffer::kSlackBytes;
    return {.data = buffer.Data(),
            .size = size,
            .readable = static_cast<std::uint32_t>(
                std::min<std::uint64_t>(readable, std::numeric_limits<std::uint32_t>::max())),
            .bitsPerPixel = bitsPerPixel};
}

int ExpandPackedPixels(DecodeSurface& surface, const PackedPixels& source,
                       const ChannelLayout& layout) noexcept {
    return ExpandAs(ExpandMember::Ktx, surface, source, layout);
}

int ExpandPackedPixelsPvr(DecodeSurface& surface, const PackedPixels& source,
                          const ChannelLayout& layout) noexcept {
    return ExpandAs(ExpandMember::Pvr, surface, source, layout);
}

int ExpandPackedPixelsAstc(DecodeSurface& surface, const PackedPixels& source,
                           const ChannelLayout& layout) noexcept {
    return ExpandAs(ExpandMember::Astc, surface, source, layout);
}

bool Expand_IsCopy(const DecodeSurface& surface, const PackedPixels& source,
                   const ChannelLayout& layout, ExpandMember member) noexcept {
    const std::uint64_t pixelBytes = Expand_GetPixelBytes(source.bitsPerPixel, member);
    if (pixelBytes != surface.bytesPerPixel || source.size < surface.dataSize) return false;
    if (Expand_GetRowPadding(surface.width, pixelBytes) != 0) return false;
    if (pixelBytes == 3) return true;
    return pixelBytes == 4 && surface.bitsPerPixel == 32 && IsRaw32(layout.glFormat, member);
}

}  // namespace koru
