#include "module_state.h"

#include <atomic>
#include <stdexcept>

// The linker's name for the first byte of this DLL.
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace koru_wic {
namespace {

constinit std::atomic<long> g_useCount{0};

}  // namespace

void Module_AddUse() noexcept { ++g_useCount; }
void Module_RemoveUse() noexcept { --g_useCount; }
bool Module_IsInUse() noexcept { return g_useCount != 0; }

std::wstring Module_GetPath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const auto room = static_cast<DWORD>(path.size());
        const DWORD count =
            GetModuleFileNameW(reinterpret_cast<HMODULE>(&__ImageBase), path.data(), room);
        if (count == 0) throw std::runtime_error("the module has no path");
        if (count < room) {
            path.resize(count);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

}  // namespace koru_wic
