// A library of the right name at a wrong place. Whoever loads it runs it.
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) SetEnvironmentVariableW(L"KORUTEX_PLANTED", L"1");
    return TRUE;
}

#define REFUSE(name) \
    extern "C" __declspec(dllexport) void* name() { return nullptr; }
REFUSE(KORU_Load_ASTC_From_Memory)
REFUSE(KORU_Load_KTX_From_Memory)
REFUSE(KORU_Load_PVR_From_Memory)
REFUSE(KORU_Delete_Image)
