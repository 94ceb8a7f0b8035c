// What the fuzz targets of block decoders do around the step from a payload to a surface.
#pragma once

#include <cstdint>

#include "blocks/payload.h"
#include "fuzz_check.h"

/// A target in the state that `way` picks: the sticky flag, the member, the orientation.
inline koru::PayloadTarget Fuzz_MakeTarget(koru::DecodeSurface& surface, std::uint32_t width,
                                           std::uint32_t height, unsigned way) {
    surface.reservedB = way & 1;
    return {.surface = surface,
            .width = width,
            .height = height,
            .orientation = way,
            .member = (way & 2) != 0 ? koru::ExpandMember::Pvr : koru::ExpandMember::Ktx};
}

/// A surface with pixels has all of them.
inline void Fuzz_CheckSurface(const koru::PayloadTarget& target, int result) {
    const koru::DecodeSurface& surface = target.surface;
    if (!surface.pixels) return;
    Fuzz_Require(result == 1, "a filled surface is a success");
    Fuzz_Require(surface.pixels.Size() == surface.dataSize &&
                     surface.dataSize == target.width * target.height * surface.bytesPerPixel,
                 "the surface holds the image");
}
