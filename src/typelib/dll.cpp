#include "QuinmarkRepDLL.h"
#include "com/module.h"
#include "com/object.h"
#include "com/server.h"
#include "control/FactoryFace.h"
#include "control/settings.h"
#include "version.h"

using namespace quinmark;

namespace {

Microsoft::WRL::ComPtr<IUnknown> createFactory()
{
    return Microsoft::WRL::ComPtr<_Factory>(com::makeObject<FactoryFace>());
}

constexpr com::ClassEntry kClasses[] = {{&CLSID_Factory, L"QuinmarkRepDLL.Factory", createFactory}};
constexpr com::Server kServer{kClasses, &LIBID_QuinmarkRepDLL, kVersionMajor, kVersionMinor};

} // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID interfaceId, void** object)
{
    return com::getClassObject(kServer, clsid, interfaceId, object);
}

STDAPI DllCanUnloadNow()
{
    return com::canUnloadNow();
}

STDAPI DllRegisterServer()
{
    return com::registerServer(kServer);
}

STDAPI DllUnregisterServer()
{
    return com::unregisterServer(kServer);
}

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*)
{
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        return attachComponent(module);
    case DLL_THREAD_DETACH:
        detachThreadSettings();
        break;
    case DLL_PROCESS_DETACH:
        detachSettings();
        break;
    default:
        break;
    }
    return TRUE;
}
