// What the bytes of a PVR file say of it: facts for people, the rule by which the library refuses
// it, and what its picture does not show. The parsing is the library's own.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "pvr/pvr_way.h"

namespace koru_host {

/// The first rule that a file breaks, in the order in which the library meets them. It is that of
/// a first load: what earlier loads leave in the library changes none.
enum class PvrRefusal {
    None,  ///< Or none that is known here.
    HeaderCut,
    NoData,  ///< The header gives a size of 0 for all of it.
    Size,
    MetadataCut,
    DataCut,
    NoDecoder,
    NoChannels,  ///< Channel names that stand for no number of channels.
    TooShort,
    TooLarge,
};

/// What is odd about the picture of a file that loads.
enum class PvrOddity {
    Empty,           ///< ETC without payload.
    NoConversion,    ///< EAC, and channel widths that are not known: black.
    PixelsMissing,   ///< The payload ends before the picture does.
    NotPowersOfTwo,  ///< PVRTC of a size that it does not have.
    Sheared,         ///< Decoded rows of 3 bytes a pixel that are read as if they were padded.
    PackedRows,      ///< Packed pixels: the same, unless the file pads its rows.
    NoAlpha,         ///< DXT1 with transparent pixels.
    FloatBytes,      ///< 11-bit floats that are shown as bytes.
    WideChannels,    ///< Channels of more than 8 bits, cut instead of scaled.
    Swapped,         ///< B, G, R taken for R, G, B.
    UnusedIsAlpha,   ///< The x of rgbx taken for alpha.
    UpsideDown,
};

/// Of the first metadata entry.
struct PvrMetadata {
    std::uint32_t fourCC = 0;
    std::uint32_t key = 0;

    [[nodiscard]] bool IsOrientation() const noexcept;
};

struct PvrFacts {
    bool isLegacy = false;

    // The header's own numbers.
    std::uint32_t width = 0, height = 0;
    std::uint32_t depth = 1;     ///< Version 3
    std::uint32_t surfaces = 0;  ///< Legacy: faces and slices are surfaces.
    std::uint32_t faces = 1;     ///< Version 3
    std::uint32_t mipMapCount = 0;
    std::uint32_t flags = 0;
    std::uint32_t pixelType = 0;                  ///< Legacy
    bool isPacked = false;                        ///< Version 3: channels instead of a number.
    std::uint32_t formatNumber = 0;               ///< Version 3, compressed
    std::array<std::uint8_t, 4> channelNames{};   ///< Version 3, packed
    std::array<std::uint8_t, 4> channelWidths{};  ///< Version 3, packed
    std::uint32_t colorSpace = 0;                 ///< Version 3
    std::uint32_t channelType = 0;                ///< Version 3
    std::uint32_t metadataSize = 0;               ///< Version 3

    std::optional<PvrMetadata> metadata;  ///< Version 3
    bool isUpsideDown = false;            ///< Says that its rows run upwards.
    koru::PvrPixelWay way;

    std::uint64_t payloadBytes = 0;  ///< Legacy: as the header says. Version 3: all there is.
    std::uint64_t presentBytes = 0;  ///< As far as the file goes.
    std::uint64_t neededBytes = 0;   ///< 0 if unknown.

    /// Legacy headers do not count the largest one.
    [[nodiscard]] std::uint64_t GetLevelCount() const noexcept {
        return std::uint64_t{mipMapCount} + (isLegacy ? 1 : 0);
    }
};

struct PvrInspection {
    std::optional<PvrFacts> facts;  ///< Nothing if the header is cut.
    PvrRefusal refusal = PvrRefusal::None;
    std::vector<PvrOddity> oddities;  ///< For a file that is not refused.
};

/// `bytes` are the whole file, below 4 GiB.
PvrInspection Pvr_Inspect(std::span<const std::uint8_t> bytes);

}  // namespace koru_host
