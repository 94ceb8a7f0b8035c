// A look at a file's header: loads whose record would be large say nothing new and take long.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "core/byte_buffer.h"

/// Pixels that a record of a target may have.
inline constexpr std::uint64_t kFuzzMostPixels = std::uint64_t{1} << 20;

/// Whether the file claims more pixels than that, though not more than a record can have, and the
/// reader might make one of them from little data: blank images are as large as they say.
[[nodiscard]] bool Fuzz_MayBeHugeAstc(std::span<const std::uint8_t> file);
[[nodiscard]] bool Fuzz_MayBeHugeKtx(std::span<const std::uint8_t> file);
[[nodiscard]] bool Fuzz_MayBeHugePvr(std::span<const std::uint8_t> file);

/// Whether the image of a KTX file goes through the ASTC codec, which takes milliseconds.
[[nodiscard]] bool Fuzz_IsAstcInKtx(std::span<const std::uint8_t> file);

/// A file without its wrappers; the bytes are the given file's or `owned`.
struct FuzzUnwrapped {
    koru::ByteBuffer owned;
    std::span<const std::uint8_t> file;
};

/// Takes the wrappers off that a reader would open; nothing if they claim too much memory.
[[nodiscard]] std::optional<FuzzUnwrapped> Fuzz_Unwrap(std::span<const std::uint8_t> file);
