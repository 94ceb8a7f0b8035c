// Files that are broken on purpose: values that lie, random changes, and what must still hold.
#pragma once

#include <gtest/gtest.h>
#include <korutex.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <random>

#include "ktx_builder.h"
#include "load_expectations.h"
#include "test_files.h"

/// Values that lie about counts and places.
inline constexpr std::array<std::uint32_t, 10> kHostileValues{
    0, 1, 2, 3, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFC, 0xFFFFFFFD, 0xFFFFFFFE, 0xFFFFFFFF,
};

/// Whether the file loads. What it then shows is not looked at.
inline void Test_ExpectOutcome(TestMemoryLoader load, const Bytes& file, bool loads) {
    for (const std::uint32_t flags : {0u, 3u}) {
        const auto image = Test_Load(load, file, flags);
        EXPECT_EQ(image != nullptr, loads) << "flags " << flags;
        if (image != nullptr) Test_ExpectSoundRecord(*image, flags);
    }
}

/// Whether it loads is not looked at.
inline void Test_ExpectSoundIfLoaded(TestMemoryLoader load, const Bytes& file,
                                     std::uint32_t flags) {
    const auto image = Test_Load(load, file, flags);
    if (image == nullptr) return;
    Test_ExpectSoundRecord(*image, flags);
    // Every byte can be read.
    if (image->pixels != nullptr) {
        EXPECT_EQ(Test_GetPixels(*image).size(), image->dataSize);
    }
}

/// The file with up to six changes, mostly in its first `headBytes`, and sometimes cut.
inline Bytes Test_ChangeAtRandom(Bytes file, std::mt19937& random, std::size_t headBytes) {
    const auto pick = [&](std::size_t below) { return static_cast<std::size_t>(random() % below); };
    const std::size_t changes = 1 + pick(6);
    for (std::size_t i = 0; i < changes; ++i) {
        // Bytes, words of small and of large values.
        const std::size_t most = file.size() - 3;
        const std::size_t at = pick(pick(4) == 0 ? most : std::min(most, headBytes));
        switch (pick(4)) {
            case 0:
                file[at] = static_cast<std::uint8_t>(random());
                break;
            case 1:
                file[at] = 0;
                break;
            case 2:
                Test_PokeLe(file, at / 4 * 4, pick(300), 4);
                break;
            default:
                Test_PokeLe(file, at / 4 * 4, random(), 4);
                break;
        }
    }
    if (pick(4) == 0) file.resize(pick(file.size()) + 1);
    return file;
}
