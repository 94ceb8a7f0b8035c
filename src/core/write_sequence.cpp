#include "core/write_sequence.h"

#include "core/file_access.h"

namespace koru {

int Write_ToFile(const KORU_Char* path, KORU_Image* image, WriteImage write) {
    if (path == nullptr || image == nullptr || image->pixels == nullptr) return 0;
    if (image->width == 0 || image->height == 0 || write == nullptr) return 0;
    const FileHandle file = File_Open(path, FileMode::Write);
    return file != nullptr ? write(file.get(), *image) : 0;
}

}  // namespace koru
