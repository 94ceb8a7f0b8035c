// The channel widths that PVR version 3 gives packed pixels with.
#pragma once

#include <array>

#include "pvr_builder.h"

inline constexpr std::array<PvrChannelWidths, 8> kPvrPackedWidths{{{8, 8, 8, 8},
                                                                   {8, 8, 8, 0},
                                                                   {10, 10, 10, 2},
                                                                   {11, 11, 10, 0},
                                                                   {4, 4, 4, 4},
                                                                   {5, 6, 5, 0},
                                                                   {5, 5, 5, 0},
                                                                   {5, 5, 5, 1}}};
