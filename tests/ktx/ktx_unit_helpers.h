// The KTX state at its start, and sources over test bytes.
#pragma once

#include <gtest/gtest.h>

#include "core/source_buffer.h"
#include "ktx/ktx_state.h"
#include "ktx_builder.h"

namespace koru {

inline SourceBuffer Test_Borrow(const Bytes& bytes) {
    return Source_Borrow(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

/// Every test begins as a process does.
class KtxStateTest : public testing::Test {
  protected:
    KtxStateTest() {
        State_Release(g_ktxState);
        Surface_Clear(g_ktxState.surface);
        g_ktxState.surface.reservedB = 0;
        g_ktxVersion = KtxVersion::None;
        g_ktxCompressed = false;
    }
    const DecodeSurface& surface_ = g_ktxState.surface;
};

}  // namespace koru
