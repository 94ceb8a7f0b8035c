#include "texture_library.h"

#include <mutex>
#include <string>
#include <string_view>

#include "module_state.h"

namespace koru_wic {
namespace {

constexpr std::wstring_view kLibraryName = L"korutex_64.dll";

constinit SlimLock g_libraryLock;
// Both under the lock; the handle is null while the library is not loaded.
constinit HMODULE g_library = nullptr;
constinit koru_host::LibraryDoors g_doors;

/// Longer paths are taken with this prefix only, unless the program asks for more.
std::wstring Path_AllowLength(const std::wstring& path) {
    if (path.size() < MAX_PATH || path.starts_with(L"\\\\?\\")) return path;
    if (path.starts_with(L"\\\\")) return L"\\\\?\\UNC" + path.substr(1);
    return L"\\\\?\\" + path;
}

std::wstring Library_GetPath() {
    std::wstring path = Module_GetPath();
    path.erase(path.find_last_of(L"\\/") + 1);
    return Path_AllowLength(path.append(kLibraryName));
}

template <typename Function>
bool Library_Find(HMODULE library, const char* name, Function*& function) noexcept {
    // By way of a plain function: the compiler takes any other change of type for a mistake.
    function =
        reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(GetProcAddress(library, name)));
    return function != nullptr;
}

bool Library_FindDoors(HMODULE library, koru_host::LibraryDoors& doors) noexcept {
    return Library_Find(library, "KORU_Load_ASTC_From_Memory", doors.loadAstc) &&
           Library_Find(library, "KORU_Load_KTX_From_Memory", doors.loadKtx) &&
           Library_Find(library, "KORU_Load_PVR_From_Memory", doors.loadPvr) &&
           Library_Find(library, "KORU_Delete_Image", doors.deleteImage);
}

/// Under the lock.
const koru_host::LibraryDoors* Library_Load() {
    if (g_library != nullptr) return &g_doors;
    // Neither the current folder nor PATH, for what the library needs itself either.
    const HMODULE library =
        LoadLibraryExW(Library_GetPath().c_str(), nullptr,
                       LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (library == nullptr) return nullptr;
    if (!Library_FindDoors(library, g_doors)) {
        FreeLibrary(library);
        return nullptr;
    }
    g_library = library;
    return &g_doors;
}

}  // namespace

LibraryCall::LibraryCall() {
    std::unique_lock guard(g_libraryLock);
    doors_ = Library_Load();
    guard.release();  // locked until the end of this object
}

LibraryCall::~LibraryCall() { g_libraryLock.unlock(); }

void RecordDeleter::operator()(KORU_Image* image) const noexcept {
    // A record keeps the library loaded.
    const std::lock_guard guard(g_libraryLock);
    g_doors.deleteImage(image);
}

void Library_UnloadIfUnused() noexcept {
    const std::lock_guard guard(g_libraryLock);
    if (g_library == nullptr || Module_IsInUse()) return;
    FreeLibrary(g_library);
    g_library = nullptr;
}

}  // namespace koru_wic
