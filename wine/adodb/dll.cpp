#include "command.h"
#include "connection.h"
#include "parameter.h"
#include "recordset.h"

#include "com/boundary.h"
#include "com/server.h"
#include "previous_registration.h"

#include <array>

namespace {

using Microsoft::WRL::ComPtr;

template <class Class>
ComPtr<IUnknown> create()
{
    return com::makeObject<Class>();
}

// ADO's own class ids.
constexpr CLSID adoClass(unsigned long number)
{
    return {number, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x6D, 0x2E, 0xA4}};
}

constexpr CLSID kConnection = adoClass(0x514);
constexpr CLSID kCommand = adoClass(0x507);
constexpr CLSID kRecordset = adoClass(0x535);
constexpr CLSID kParameter = adoClass(0x50B);

constexpr std::array kClasses{
    com::ClassEntry{&kConnection, L"ADODB.Connection", create<adodb::Connection>},
    com::ClassEntry{&kCommand, L"ADODB.Command", create<adodb::Command>},
    com::ClassEntry{&kRecordset, L"ADODB.Recordset", create<adodb::Recordset>},
    com::ClassEntry{&kParameter, L"ADODB.Parameter", create<adodb::Parameter>},
};

const com::Server kServer{kClasses, nullptr, 0, 0};

void requireWine()
{
    if (!GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version"))
        throw com::Error{HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED), L"adodb",
                         L"These classes stand in for ADO under Wine only; Windows has ADO itself."};
}

} // namespace

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*)
{
    if (reason == DLL_PROCESS_ATTACH) {
        DisableThreadLibraryCalls(module);
        com::setModule(module, L"adodb");
    }
    return TRUE;
}

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
    return com::comBoundary([] {
        requireWine();
        adodb::savePreviousRegistration(kClasses);
        com::check(com::registerServer(kServer));
    });
}

STDAPI DllUnregisterServer()
{
    return com::comBoundary([] {
        requireWine();
        com::check(com::unregisterServer(kServer));
        adodb::restorePreviousRegistration(kClasses);
    });
}
