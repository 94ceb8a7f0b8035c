#include "pvr/pvr_header.h"

#include "core/bytes.h"

namespace koru {

PvrLegacyHeader Pvr_LoadLegacyHeader(std::span<const std::uint8_t, kPvrHeaderBytes> raw) noexcept {
    return {.headerSize = Bytes_LoadLe32<0>(raw),
            .height = Bytes_LoadLe32<4>(raw),
            .width = Bytes_LoadLe32<8>(raw),
            .mipMapCount = Bytes_LoadLe32<12>(raw),
            .flags = Bytes_LoadLe32<16>(raw),
            .dataSize = Bytes_LoadLe32<20>(raw),
            .bitCount = Bytes_LoadLe32<24>(raw),
            .magic = Bytes_LoadLe32<44>(raw),
            .surfaceCount = Bytes_LoadLe32<48>(raw)};
}

PvrV3Header Pvr_LoadV3Header(std::span<const std::uint8_t, kPvrHeaderBytes> raw) noexcept {
    return {.flags = Bytes_LoadLe32<4>(raw),
            .pixelFormat = Bytes_LoadLe32<8>(raw),
            .channelNames = {raw[8], raw[9], raw[10], raw[11]},
            .channelWidths = {raw[12], raw[13], raw[14], raw[15]},
            .colorSpace = Bytes_LoadLe32<16>(raw),
            .channelType = Bytes_LoadLe32<20>(raw),
            .height = Bytes_LoadLe32<24>(raw),
            .width = Bytes_LoadLe32<28>(raw),
            .depth = Bytes_LoadLe32<32>(raw),
            .surfaceCount = Bytes_LoadLe32<36>(raw),
            .faceCount = Bytes_LoadLe32<40>(raw),
            .mipMapCount = Bytes_LoadLe32<44>(raw),
            .metadataSize = Bytes_LoadLe32<48>(raw)};
}

PvrHeaderFault Pvr_FindFault(const PvrLegacyHeader& header) noexcept {
    if (header.magic != kPvrLegacyMagic) return PvrHeaderFault::Magic;
    if (header.dataSize == 0) return PvrHeaderFault::DataSize;
    if (header.width == 0) return PvrHeaderFault::Width;
    if (header.height == 0) return PvrHeaderFault::Height;
    return PvrHeaderFault::None;
}

}  // namespace koru
