// The formats that are measured: their containers, their kernels, their loads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string_view>

#include "core/byte_buffer.h"
#include "core/image.h"

namespace koru_bench {

enum class Container { Ktx, Pvr, Astc };

struct Format {
    std::string_view name;
    std::string_view texture;  ///< How the names of its pictures in the build tree end.
    Container container = Container::Ktx;
    std::uint32_t code = 0;  ///< Of the container: a GL internal format, a PVR number.
    std::uint32_t blockWidth = 1, blockHeight = 1, blockBytes = 0;
    std::uint32_t pixelBytes = 0;  ///< That the kernel writes.
    /// Decodes a square image into a buffer of side * side * pixelBytes; loads do the same work.
    void (*decode)(const Format& format, std::span<const std::uint8_t> payload, std::uint32_t side,
                   koru::ByteBuffer& pixels) = nullptr;
    std::uint32_t filePixelBytes = 0;  ///< That readers ask of a file, where blocks have fewer.
};

std::span<const Format> Formats_GetAll();

/// By a name that exists.
const Format& Formats_Get(std::string_view name);

std::size_t Format_GetPayloadBytes(const Format& format, std::uint32_t side);
std::uint32_t Format_GetPixelBytes(const Format& format, std::uint32_t side);

/// Of a record in RGBA.
constexpr std::size_t Format_GetRecordBytes(std::uint32_t side) {
    return std::size_t{side} * side * 4;
}

/// Loads a file through the public functions; null if that fails.
koru::ImageHandle Format_LoadFromMemory(const Format& format, std::span<const std::uint8_t> file,
                                        std::uint32_t flags);
koru::ImageHandle Format_LoadFromFile(const Format& format, const std::filesystem::path& path,
                                      std::uint32_t flags);

/// Makes the next load behave as the first one of a process.
void Formats_ForgetLoads();

}  // namespace koru_bench
