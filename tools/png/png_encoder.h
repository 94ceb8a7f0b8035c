// Encodes 8-bit pixels as PNG; shared by the programs of this tree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace koru_host {

/// Rows of R, G, B (, A) bytes, top row first; borrowed.
struct PictureView {
    const std::uint8_t* pixels = nullptr;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t channels = 0;  ///< 3 or 4
    std::size_t stride = 0;      ///< bytes from row to row
};

/// Takes the next bytes of a file; reports failure by throwing.
using ByteSink = std::function<void(std::span<const std::uint8_t>)>;

/// Encodes the picture and hands the whole file to `sink`. Not for several threads at once.
/// Throws std::length_error for a picture beyond the encoder's limits, std::bad_alloc, and what
/// `sink` throws; nothing leaks in any of these cases.
void Png_Encode(const PictureView& picture, const ByteSink& sink);

}  // namespace koru_host
