// The four doors of a COM server.
#include <windows.h>

#include "class_factory.h"
#include "module_state.h"
#include "registration.h"
#include "texture_library.h"

STDAPI DllGetClassObject(REFCLSID classId, REFIID id, LPVOID* object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    koru_wic::ServedClass served;
    if (!koru_wic::Class_Find(classId, served)) return CLASS_E_CLASSNOTAVAILABLE;
    return koru_wic::Com_Create<koru_wic::ClassFactory>(id, object, served);
}

// COM asks from outside DllMain, so the library may go here, and with it what it keeps of the last
// loads.
STDAPI DllCanUnloadNow() {
    if (koru_wic::Module_IsInUse()) return S_FALSE;
    koru_wic::Library_UnloadIfUnused();
    return S_OK;
}

STDAPI DllRegisterServer() {
    return koru_wic::Com_Guard([] { return koru_wic::Registration_Add(); });
}

STDAPI DllUnregisterServer() {
    return koru_wic::Com_Guard([] { return koru_wic::Registration_Remove(); });
}
