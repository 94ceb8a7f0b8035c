// Kernels for rows of pixels against the scalar ones.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numeric>
#include <vector>

#include "core/pixel_kernels.h"
#include "kernel_levels.h"
#include "test_files.h"
#include "test_noise.h"

namespace koru {

/// A kernel, the scalar one, and bytes of a pixel on either side.
struct RowPair {
    PixelRow* reference;
    PixelRow* row;
    std::size_t sourceBytes;
    std::size_t targetBytes;
};

/// Both give the same for the first `pixelCount` pixels and leave the bytes around them alone. The
/// source's memory ends with the pixels.
inline void Test_ExpectSameRow(const RowPair& rows, const Bytes& source, std::size_t pixelCount,
                               std::size_t misalignment = 0) {
    const std::size_t sourceSize = pixelCount * rows.sourceBytes;
    const std::size_t targetSize = pixelCount * rows.targetBytes;
    ASSERT_LE(sourceSize, source.size());
    const auto memory = std::make_unique<std::uint8_t[]>(misalignment + sourceSize);
    std::uint8_t* const exact = memory.get() + misalignment;
    std::copy_n(source.begin(), sourceSize, exact);

    // Two targets that hold different bytes before: every byte has to be written.
    GuardedBytes expected(targetSize, 0, 0xA5), actual(targetSize, misalignment, 0x5A);
    rows.reference(expected.Data(), exact, pixelCount);
    rows.row(actual.Data(), exact, pixelCount);
    ASSERT_TRUE(std::ranges::equal(expected.Bytes(), actual.Bytes()))
        << pixelCount << " pixels, " << misalignment << " bytes from an even address";
    ASSERT_TRUE(expected.GuardsIntact());
    ASSERT_TRUE(actual.GuardsIntact()) << pixelCount << " pixels";
}

/// Every count about which a kernel may do something special, at several addresses.
inline void Test_ExpectSameRows(const RowPair& rows) {
    std::vector<std::size_t> counts(101);
    std::iota(counts.begin(), counts.end(), std::size_t{0});
    counts.insert(counts.end(), {127, 128, 129, 255, 256, 257, 1000, 4099});
    const auto source = Test_MakeNoise(counts.back() * rows.sourceBytes, 1);
    for (const std::size_t count : counts) {
        for (const std::size_t misalignment : {0u, 1u, 2u, 3u, 7u, 15u, 17u}) {
            ASSERT_NO_FATAL_FAILURE(Test_ExpectSameRow(rows, source, count, misalignment));
        }
    }
}

}  // namespace koru
