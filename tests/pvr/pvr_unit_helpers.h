// The PVR state at its start, and sources over test bytes.
#pragma once

#include <gtest/gtest.h>

#include "core/source_buffer.h"
#include "pvr/pvr_state.h"
#include "pvr_builder.h"

namespace koru {

inline SourceBuffer Test_BorrowPvr(const Bytes& bytes) {
    return Source_Borrow(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

/// As a process begins.
inline void Test_ResetPvrState() {
    State_Release(g_pvrState);
    Surface_Clear(g_pvrState.surface);
    g_pvrState.surface.reservedB = 0;
    LegacyCompressedFlag = false;
}

class PvrStateTest : public testing::Test {
  protected:
    PvrStateTest() { Test_ResetPvrState(); }
    ~PvrStateTest() override { Test_ResetPvrState(); }
    const DecodeSurface& surface_ = g_pvrState.surface;
};

/// A decoder's success that gives no record.
inline bool Test_IsEmpty(const DecodeSurface& surface) {
    return !surface.pixels && surface.width == 0 && surface.height == 0;
}

}  // namespace koru
