// The one sequence that every load of every format runs.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/format_state.h"
#include "core/image.h"
#include "core/source_buffer.h"
#include "korutex.h"

namespace koru {

/// What the sequence needs to know of a container format.
struct ContainerFormat {
    FormatState& state;
    std::string_view memoryName;  ///< ASCII; the source's name when it is memory.
    /// Reads the container at the source's offset and decodes its first image into the state's
    /// surface. Non-zero for success. `name` is never null.
    int (*parse)(SourceBuffer& source, const KORU_Char* name);
};

/// Reads a whole file into `source`, notes its path in the format's name buffer, parses it and
/// releases the bytes. Gives the parser's result; 0 if the path is null, or if the file cannot be
/// opened or read, is empty or has 4 GiB or more.
[[nodiscard]] int Load_ParseFile(const ContainerFormat& format, SourceBuffer& source,
                                 const KORU_Char* path);

/// The loads of the public interface. Null on any failure.
[[nodiscard]] ImageHandle Load_FromFile(const ContainerFormat& format, const KORU_Char* path,
                                        std::uint32_t flags);
[[nodiscard]] ImageHandle Load_FromMemory(const ContainerFormat& format, const std::uint8_t* data,
                                          std::uint32_t size, std::uint32_t flags);

}  // namespace koru
