// Loads the library at run time, uses every format and unloads it. What it held is freed then: the
// leak checker of the asan build and valgrind watch.
#include <korutex.h>
#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <cstdio>

#include "astc_builder.h"

namespace {

#if defined(_WIN32)
using Library = HMODULE;
Library Open(const char* path) { return LoadLibraryA(path); }
void* Find(Library library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(library, name));
}
bool Close(Library library) { return FreeLibrary(library) != 0; }
#else
using Library = void*;
Library Open(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }
void* Find(Library library, const char* name) { return dlsym(library, name); }
bool Close(Library library) { return dlclose(library) == 0; }
#endif

using LoadMemory = KORU_Image* (*)(const std::uint8_t*, std::uint32_t, std::uint32_t);
using DeleteImage = void (*)(KORU_Image*);

bool UseLibrary(const char* path) {
    const Library library = Open(path);
    if (library == nullptr) return false;
    const auto deleteImage = reinterpret_cast<DeleteImage>(Find(library, "KORU_Delete_Image"));
    const auto file = AstcBuilder().Size(64, 64).Solid({1, 2, 3, 4}, 256).Build();
    bool astcLoaded = false;
    for (const char* name :
         {"KORU_Load_ASTC_From_Memory", "KORU_Load_KTX_From_Memory", "KORU_Load_PVR_From_Memory"}) {
        const auto load = reinterpret_cast<LoadMemory>(Find(library, name));
        if (load == nullptr || deleteImage == nullptr) return false;
        KORU_Image* image = load(file.data(), static_cast<std::uint32_t>(file.size()), 2);
        astcLoaded = astcLoaded || image != nullptr;
        deleteImage(image);
    }
    return Close(library) && astcLoaded;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    // Twice: a library that left something behind would meet it again.
    for (int round = 0; argumentCount == 2 && round < 2; ++round) {
        if (!UseLibrary(arguments[1])) {
            std::fprintf(stderr, "round %d failed\n", round);
            return 1;
        }
    }
    return argumentCount == 2 ? 0 : 2;
}
