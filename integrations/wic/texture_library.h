// korutex_64.dll, from this DLL's own folder and nowhere else, one call at a time.
#pragma once

#include <memory>

#include "texture_decoder.h"

namespace koru_wic {

/// The right to call the library, for as long as this lives: the library has static state, and all
/// objects of the process share it. The first one loads it.
class LibraryCall {
  public:
    LibraryCall();
    ~LibraryCall();
    LibraryCall(const LibraryCall&) = delete;
    LibraryCall& operator=(const LibraryCall&) = delete;

    /// Null when there is no korutex_64.dll in the folder, or none with the functions.
    [[nodiscard]] const koru_host::LibraryDoors* GetDoors() const noexcept { return doors_; }

  private:
    const koru_host::LibraryDoors* doors_;
};

/// Gives back one of the library's records. The caller holds no LibraryCall.
struct RecordDeleter {
    void operator()(KORU_Image* image) const noexcept;
};
using RecordHandle = std::unique_ptr<KORU_Image, RecordDeleter>;

/// Unloads the library if no object is left that could hold a record. A later call loads it again.
/// Not for DllMain: unloading one library while another goes is forbidden there.
void Library_UnloadIfUnused() noexcept;

}  // namespace koru_wic
