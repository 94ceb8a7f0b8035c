#include "pvr/pvr_writer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "core/bytes.h"
#include "core/file_access.h"
#include "core/row_alignment.h"

namespace koru {

int Pvr_WriteImage(std::FILE* file, KORU_Image& image) noexcept {
    constexpr std::array<std::uint8_t, 52> kHeaderArea{};
    if (!File_Write(file, kHeaderArea)) return 0;
    // A record that cannot be aligned is written as it is.
    static_cast<void>(AlignRgbRows(image));
    if (!File_WriteLe32(file, image.dataSize)) return 0;
    return File_Write(file, {image.pixels, image.dataSize}) ? 1 : 0;
}

}  // namespace koru
