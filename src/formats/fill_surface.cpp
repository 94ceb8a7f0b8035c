#include "formats/fill_surface.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>
#include <span>
#include <utility>

#include "core/bytes.h"
#include "core/image.h"
#include "formats/expand_target.h"

namespace koru {
namespace {

/// A piece and what becomes of it stay in a core's own caches, and its memory in the heap.
constexpr std::uint64_t kPieceBytes = 64u << 10;

constexpr std::uint64_t DivideUp(std::uint64_t value, std::uint64_t divisor) noexcept {
    return value / divisor + (value % divisor != 0 ? 1 : 0);
}

constexpr std::uint32_t Limit32(std::uint64_t value) noexcept {
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(value, std::numeric_limits<std::uint32_t>::max()));
}

/// The bytes that a conversion reads.
using SourceBytes = std::span<const std::uint8_t>;

/// Source bytes that lie in memory.
class MemorySource {
  public:
    explicit MemorySource(const PackedPixels& packed) noexcept
        : bytes_(packed.data, packed.readable) {}

    [[nodiscard]] std::uint32_t GetRowStep() const noexcept { return 1; }
    [[nodiscard]] bool Prepare(std::uint64_t /*partBytes*/) noexcept { return true; }
    [[nodiscard]] std::optional<SourceBytes> Read(std::uint64_t begin,
                                                  std::uint64_t /*end*/) const noexcept {
        return bytes_.subspan(
            static_cast<std::size_t>(std::min<std::uint64_t>(begin, bytes_.size())));
    }

  private:
    SourceBytes bytes_;
};

/// Source bytes that are decoded when they are wanted.
class DecodedSource {
  public:
    explicit DecodedSource(RowDecoder& decoder) noexcept : decoder_(decoder) {}

    [[nodiscard]] std::uint32_t GetRowStep() const noexcept { return decoder_.rowStep; }

    /// Memory for parts of so many bytes, each beginning at a multiple of that.
    [[nodiscard]] bool Prepare(std::uint64_t partBytes) noexcept {
        const std::uint64_t stepBytes = std::uint64_t{decoder_.rowBytes} * decoder_.rowStep;
        // Parts that begin inside a step reach into one more at either end. Pixels below a byte
        // take no part at all.
        const bool isAligned = partBytes != 0 && partBytes % stepBytes == 0;
        const std::uint64_t more = isAligned ? 0 : 2;
        const std::uint64_t rows = (DivideUp(partBytes, stepBytes) + more) * decoder_.rowStep;
        const auto bytes = Size_Mul32(Limit32(std::min<std::uint64_t>(rows, decoder_.rowCount)),
                                      decoder_.rowBytes);
        if (bytes) rows_ = ByteBuffer::Allocate(*bytes);
        return static_cast<bool>(rows_);
    }

    /// The bytes from `begin` to `end` and maybe more, as far as there are; nothing if decoding
    /// fails.
    [[nodiscard]] std::optional<SourceBytes> Read(std::uint64_t begin, std::uint64_t end) noexcept {
        if (begin >= std::uint64_t{decoder_.rowBytes} * decoder_.rowCount) return SourceBytes();
        const std::uint64_t step = decoder_.rowStep;
        const std::uint64_t first = begin / decoder_.rowBytes / step * step;
        const std::uint64_t last = std::min<std::uint64_t>(
            DivideUp(DivideUp(end, decoder_.rowBytes), step) * step, decoder_.rowCount);
        if (first >= last) return SourceBytes();
        if (!decoder_.DecodeRows(static_cast<std::uint32_t>(first),
                                 static_cast<std::uint32_t>(last - first), rows_.Data())) {
            return std::nullopt;
        }
        return SourceBytes(rows_.Data(), (last - first) * decoder_.rowBytes)
            .subspan(static_cast<std::size_t>(begin - first * decoder_.rowBytes));
    }

  private:
    RowDecoder& decoder_;
    ByteBuffer rows_;
};

/// What becomes of a source.
struct Conversion {
    std::uint32_t sourceSize = 0;  ///< Bytes that count.
    std::uint32_t bitsPerPixel = 0;
    const ChannelLayout& layout;
    ExpandMember member{};
    bool isCopy = false;  ///< Expansion changes nothing.
};

/// How many rows make a piece.
std::uint32_t CountPieceRows(const DecodeSurface& surface, std::uint64_t sourceStride,
                             std::uint32_t rowStep) noexcept {
    const std::uint64_t rowBytes = std::max<std::uint64_t>({sourceStride, surface.stride, 1});
    const std::uint64_t rows = kPieceBytes / rowBytes / rowStep * rowStep;
    return static_cast<std::uint32_t>(
        std::clamp<std::uint64_t>(rows, rowStep, std::max(surface.height, rowStep)));
}

/// Expands rows that lie at `begin` of the source; those that it does not reach become black.
void ExpandPiece(const ExpandTarget& target, SourceBytes piece, std::uint64_t begin,
                 const Conversion& conversion) noexcept {
    const PackedPixels packed{
        .data = piece.data(),
        .size = begin < conversion.sourceSize
                    ? static_cast<std::uint32_t>(conversion.sourceSize - begin)
                    : 0,
        .readable = Limit32(piece.size()),
        .bitsPerPixel = conversion.bitsPerPixel};
    const std::uint64_t reached = Expand_ConvertRows(target, packed, conversion.layout,
                                                     conversion.member, MissingAlpha::Opaque);
    Pixels_FillBlack({target.pixels + reached, static_cast<std::size_t>(target.dataSize - reached)},
                     target.bytesPerPixel);
}

template <typename Source>
int FillInPieces(DecodeSurface& surface, Source source, const Conversion& conversion) noexcept {
    const std::uint64_t pixelBytes =
        Expand_GetPixelBytes(conversion.bitsPerPixel, conversion.member);
    const std::uint64_t sourceRowBytes = surface.width * pixelBytes;
    const std::uint64_t sourceStride =
        sourceRowBytes + Expand_GetRowPadding(surface.width, pixelBytes);
    const std::uint32_t pieceRows = CountPieceRows(surface, sourceStride, source.GetRowStep());
    const FinishedPixels finished{.data = nullptr,
                                  .bytesPerPixel = Surface_GetTargetBytes(surface)};
    const bool finishes = finished.bytesPerPixel != surface.bytesPerPixel;
    const bool expands = !finishes || !conversion.isCopy;

    if (!source.Prepare(pieceRows * sourceStride)) return 0;
    ByteBuffer expanded;
    if (finishes && expands) {
        const auto bytes = Size_Mul32(pieceRows, surface.stride);
        if (bytes) expanded = ByteBuffer::Allocate(*bytes);
        if (!expanded) return 0;
    }
    if (!Surface_AllocatePixels(surface)) return 0;

    std::uint8_t* target = surface.pixels.Data();
    for (std::uint32_t row = 0; row < surface.height;) {
        const std::uint32_t rows = std::min(pieceRows, surface.height - row);
        const std::uint64_t begin = row * sourceStride;
        const auto piece = source.Read(begin, begin + (rows - 1) * sourceStride + sourceRowBytes);
        if (!piece) {
            surface.pixels.Reset();
            return 0;
        }
        const std::size_t pixelCount = std::size_t{rows} * surface.width;
        const std::uint8_t* own = piece->data();
        if (expands) {
            const ExpandTarget rowsTarget{.pixels = finishes ? expanded.Data() : target,
                                          .width = surface.width,
                                          .height = rows,
                                          .bitsPerPixel = surface.bitsPerPixel,
                                          .bytesPerPixel = surface.bytesPerPixel,
                                          .dataSize = rows * surface.stride};
            ExpandPiece(rowsTarget, *piece, begin, conversion);
            own = rowsTarget.pixels;
        }
        if (finishes) {
            Image_FinishPixels({.data = target, .bytesPerPixel = finished.bytesPerPixel},
                               {.data = own,
                                .bytesPerPixel = surface.bytesPerPixel,
                                .hasAlpha = surface.bitsPerPixel == 32},
                               pixelCount);
        }
        target += pixelCount * finished.bytesPerPixel;
        row += rows;
    }
    return 1;
}

}  // namespace

int Surface_FillFromRows(DecodeSurface& surface, RowDecoder& decoder, std::uint32_t sourceSize,
                         std::uint32_t bitsPerPixel, const ChannelLayout& layout,
                         ExpandMember member) noexcept {
    const std::uint64_t decodedBytes = std::uint64_t{decoder.rowBytes} * decoder.rowCount;
    if (decodedBytes == 0 || Expand_IsRefused(sourceSize, bitsPerPixel, member))
        return Surface_AllocateBlack(surface) ? 1 : 0;
    if (surface.wantedForm == RecordForm::HeaderOnly) {
        if (!Surface_AllocatePixels(surface)) return 0;
        if (decoder.CanDecode()) return 1;
        surface.pixels.Reset();
        return 0;
    }

    const PackedPixels packed{.data = nullptr,
                              .size = sourceSize,
                              .readable = Limit32(decodedBytes),
                              .bitsPerPixel = bitsPerPixel};
    if (decodedBytes == surface.dataSize && Surface_WantsCopy(surface, packed, layout, member)) {
        if (!Surface_AllocatePixels(surface)) return 0;
        if (decoder.DecodeRows(0, decoder.rowCount, surface.pixels.Data())) return 1;
        surface.pixels.Reset();
        return 0;
    }
    return FillInPieces(surface, DecodedSource(decoder),
                        {.sourceSize = sourceSize,
                         .bitsPerPixel = bitsPerPixel,
                         .layout = layout,
                         .member = member,
                         .isCopy = decodedBytes >= surface.dataSize &&
                                   Expand_IsCopy(surface, packed, layout, member)});
}

int Surface_FillFromMemory(DecodeSurface& surface, const PackedPixels& source,
                           const ChannelLayout& layout, ExpandMember member) noexcept {
    if (source.data == nullptr || Expand_IsRefused(source.size, source.bitsPerPixel, member))
        return Surface_AllocateBlack(surface) ? 1 : 0;
    if (surface.wantedForm == RecordForm::HeaderOnly)
        return Surface_AllocatePixels(surface) ? 1 : 0;
    return FillInPieces(surface, MemorySource(source),
                        {.sourceSize = source.size,
                         .bitsPerPixel = source.bitsPerPixel,
                         .layout = layout,
                         .member = member,
                         .isCopy = source.readable >= surface.dataSize &&
                                   Expand_IsCopy(surface, source, layout, member)});
}

bool Surface_WantsCopy(const DecodeSurface& surface, const PackedPixels& source,
                       const ChannelLayout& layout, ExpandMember member) noexcept {
    return Surface_GetTargetBytes(surface) == surface.bytesPerPixel &&
           source.readable >= surface.dataSize && Expand_IsCopy(surface, source, layout, member);
}

int Expand_TakePixels(DecodeSurface& surface, ByteBuffer source, std::uint32_t sourceSize,
                      std::uint32_t bitsPerPixel, const ChannelLayout& layout,
                      ExpandMember member) noexcept {
    const PackedPixels packed = Packed_FromBuffer(source, sourceSize, bitsPerPixel);
    if (source.Size() >= surface.dataSize && Surface_WantsCopy(surface, packed, layout, member)) {
        source.Shrink(surface.dataSize);
        surface.pixels = std::move(source);
        surface.isFinished = surface.wantedForm != RecordForm::Unknown;
        return 1;
    }
    return Surface_FillFromMemory(surface, packed, layout, member);
}

}  // namespace koru
