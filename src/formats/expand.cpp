#include "formats/expand.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

#include "core/bytes.h"
#include "formats/expand_rows.h"
#include "formats/gl_codes.h"

namespace koru {
namespace {

struct Channels {
    std::uint8_t r = 0, g = 0, b = 0, a = 255;
};

constexpr std::uint8_t Low8(std::uint32_t value) noexcept {
    return static_cast<std::uint8_t>(value);
}

/// A field of `Bits` bits at `Shift`, scaled to 0..255 by a truncating division.
template <unsigned Shift, unsigned Bits>
constexpr std::uint8_t ScaleField(std::uint32_t pixel) noexcept {
    constexpr std::uint32_t kFull = (1u << Bits) - 1u;
    return Low8((pixel >> Shift & kFull) * 255u / kFull);
}

/// An unsigned float of 5 exponent and `MantissaBits` mantissa bits, times 255, truncated; the low
/// 8 bits of that. Infinity and NaN count as 0, and so does every denormal (below 1/255).
/// Layout: GL_EXT_packed_float.
template <unsigned MantissaBits>
constexpr std::uint8_t ScaleSmallFloat(std::uint32_t bits) noexcept {
    const std::uint32_t exponent = bits >> MantissaBits;
    if (exponent == 0 || exponent >= 31) return 0;
    const std::uint32_t one = 1u << MantissaBits;
    const std::uint32_t scaled = (one + (bits & (one - 1u))) * 255u;
    // value = scaled * 2^(exponent - 15 - MantissaBits)
    constexpr std::uint32_t kUnitExponent = 15 + MantissaBits;
    // Quirk: no clamping, so 2.0 stores 254; pictures of such files look as they always did.
    return exponent >= kUnitExponent ? Low8(scaled << (exponent - kUnitExponent))
                                     : Low8(scaled >> (kUnitExponent - exponent));
}

/// A channel by its mask. Quirk: in 32 bits that wrap, so a channel of more than 8 bits keeps its
/// lowest bits only; pictures of such files look as they always did.
constexpr std::uint8_t ScaleMasked(std::uint32_t pixel, const ChannelLayout& layout,
                                   std::size_t channel) noexcept {
    const std::uint32_t full = layout.maxValues[channel];
    if (full == 0) return 0;
    const std::uint32_t value =
        (pixel >> layout.shifts[channel]) << Layout_GetScaleShift(layout.bitCounts[channel]) & full;
    return Low8(value * 255u / full);  // the product wraps by definition
}

// Converters: bytes a pixel has, whether it brings alpha, and its channels. `Convert` reads
// kBytes bytes.

struct ConvertGrey {
    static constexpr unsigned kBytes = 1;
    static constexpr bool kHasAlpha = false;
    Channels operator()(const std::uint8_t* p) const noexcept { return {p[0], p[0], p[0], 255}; }
};

struct ConvertRgb565 {
    static constexpr unsigned kBytes = 2;
    static constexpr bool kHasAlpha = true;
    Channels operator()(const std::uint8_t* p) const noexcept {
        const std::uint32_t v = Bytes_LoadLeAt<2>(p);
        return {ScaleField<11, 5>(v), ScaleField<5, 6>(v), ScaleField<0, 5>(v), 255};
    }
};

template <bool WithAlphaBit>
struct ConvertRgb5 {
    static constexpr unsigned kBytes = 2;
    static constexpr bool kHasAlpha = true;
    Channels operator()(const std::uint8_t* p) const noexcept {
        const std::uint32_t v = Bytes_LoadLeAt<2>(p);
        return {ScaleField<10, 5>(v), ScaleField<5, 5>(v), ScaleField<0, 5>(v),
                WithAlphaBit ? ScaleField<15, 1>(v) : std::uint8_t{255}};
    }
};

/// Quirk: red in bits 8..11 and alpha on top, as in 0xARGB; hosts know the colors this gives.
struct ConvertRgba4 {
    static constexpr unsigned kBytes = 2;
    static constexpr bool kHasAlpha = true;
    Channels operator()(const std::uint8_t* p) const noexcept {
        const std::uint32_t v = Bytes_LoadLeAt<2>(p);
        return {ScaleField<8, 4>(v), ScaleField<4, 4>(v), ScaleField<0, 4>(v),
                ScaleField<12, 4>(v)};
    }
};

/// 16-bit pixels of a format that has no conversion. Quirk: they repeat the channels of the pixel
/// before, and before any pixel those are opaque black; blank instead of refused.
struct ConvertNone16 {
    static constexpr unsigned kBytes = 2;
    static constexpr bool kHasAlpha = true;
    Channels operator()(const std::uint8_t*) const noexcept { return {}; }
};

struct ConvertRgb8 {
    static constexpr unsigned kBytes = 3;
    static constexpr bool kHasAlpha = false;
    Channels operator()(const std::uint8_t* p) const noexcept { return {p[0], p[1], p[2], 255}; }
};

struct ConvertRgba8 {
    static constexpr unsigned kBytes = 4;
    static constexpr bool kHasAlpha = true;
    Channels operator()(const std::uint8_t* p) const noexcept { return {p[0], p[1], p[2], p[3]}; }
};

struct ConvertMasked {
    static constexpr unsigned kBytes = 4;
    static constexpr bool kHasAlpha = true;
    const ChannelLayout& layout;
    bool alphaByMask;
    Channels operator()(const std::uint8_t* p) const noexcept {
        const std::uint32_t v = Bytes_LoadLeAt<4>(p);
        return {ScaleMasked(v, layout, 0), ScaleMasked(v, layout, 1), ScaleMasked(v, layout, 2),
                alphaByMask ? ScaleMasked(v, layout, 3) : std::uint8_t{255}};
    }
};

struct ConvertSmallFloats {
    static constexpr unsigned kBytes = 4;
    static constexpr bool kHasAlpha = true;
    const ChannelLayout& layout;
    Channels operator()(const std::uint8_t* p) const noexcept {
        const std::uint32_t v = Bytes_LoadLeAt<4>(p);
        const auto field = [&](std::size_t channel) {
            return (v & layout.masks[channel]) >> layout.shifts[channel];
        };
        return {ScaleSmallFloat<6>(field(0)), ScaleSmallFloat<6>(field(1)),
                ScaleSmallFloat<5>(field(2)), 255};
    }
};

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

template <unsigned TargetBytes, bool WithAlpha>
void StorePixel(std::uint8_t* target, const Channels& color) noexcept {
    target[0] = color.r;
    target[1] = color.g;
    target[2] = color.b;
    if constexpr (TargetBytes == 4 && WithAlpha) target[3] = color.a;
}

template <unsigned TargetBytes, bool WithAlpha, typename Convert>
std::uint64_t ConvertRows(const ExpandTarget& surface, const PackedPixels& source,
                          std::uint64_t rowPadding, const Convert& convert) noexcept {
    constexpr unsigned kBytes = Convert::kBytes;
    return WalkRows(surface, source, kBytes, rowPadding, [&](const RowSpan& row) {
        std::uint8_t* target = surface.pixels + row.target;
        const std::uint64_t readable =
            row.source < source.readable ? source.readable - row.source : 0;
        const std::uint64_t wholeCount = std::min(row.pixelCount, readable / kBytes);
        const std::uint8_t* pixel = source.data + (wholeCount != 0 ? row.source : 0);
        for (std::uint64_t i = 0; i < wholeCount; ++i, pixel += kBytes, target += TargetBytes) {
            StorePixel<TargetBytes, WithAlpha>(target, convert(pixel));
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
