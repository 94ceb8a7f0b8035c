// A library of the right name that tells of itself: that it was loaded, which at a wrong place it
// must not be; and whether its calls overlap. Every file is a white pixel to it.
#include <korutex.h>
#include <windows.h>

#include <atomic>
#include <cstdlib>

namespace {

std::atomic<int> g_callCount{0};

/// A call, long enough to meet others.
struct WatchedCall {
    WatchedCall() {
        if (++g_callCount != 1) SetEnvironmentVariableW(L"KORUTEX_OVERLAPPED", L"1");
        Sleep(1);
    }
    ~WatchedCall() { --g_callCount; }
};

KORU_Image* Load() {
    const WatchedCall call;
    auto* const image = static_cast<KORU_Image*>(std::calloc(1, sizeof(KORU_Image)));
    auto* const pixels = static_cast<std::uint8_t*>(std::malloc(4));
    if (image == nullptr || pixels == nullptr) std::abort();
    for (int i = 0; i < 4; ++i) pixels[i] = 255;
    *image = {1, 1, 32, 4, 8, 4, 4, 0, 0, 0, 100, 0, pixels};
    return image;
}

}  // namespace

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) SetEnvironmentVariableW(L"KORUTEX_PLANTED", L"1");
    return TRUE;
}

KORU_Image* KORU_Load_ASTC_From_Memory(const std::uint8_t*, std::uint32_t, std::uint32_t) {
    return Load();
}
KORU_Image* KORU_Load_KTX_From_Memory(const std::uint8_t*, std::uint32_t, std::uint32_t) {
    return Load();
}
KORU_Image* KORU_Load_PVR_From_Memory(const std::uint8_t*, std::uint32_t, std::uint32_t) {
    return Load();
}

void KORU_Delete_Image(KORU_Image* image) {
    const WatchedCall call;
    std::free(image->pixels);
    std::free(image);
}
