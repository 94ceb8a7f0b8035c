// A library that needs another one, which is planted.
#include <korutex.h>

extern "C" __declspec(dllexport) void Needy_UseOther() { KORU_Delete_Image(nullptr); }
