#pragma once

#include <oaidl.h>
#include <span>
#include <wrl/client.h>

/// An in-process server: the table of its creatable classes, and the four exports made from it.
namespace com {

struct ClassEntry
{
    const CLSID* clsid;
    const wchar_t* progId;
    Microsoft::WRL::ComPtr<IUnknown> (*create)();
};

struct Server
{
    std::span<const ClassEntry> classes;
    /// The type library in the module's resources; null for a server that has none.
    const GUID* typeLibraryId;
    unsigned short typeLibraryMajor;
    unsigned short typeLibraryMinor;
};

/// DllGetClassObject for the server's classes; CLASS_E_CLASSNOTAVAILABLE for any other.
HRESULT getClassObject(const Server& server, REFCLSID clsid, REFIID interfaceId, void** object) noexcept;

/// DllCanUnloadNow.
HRESULT canUnloadNow() noexcept;

/// DllRegisterServer: writes every class (ProgID, path, threading model) and the type library. When a later step fails,
/// it removes the entries that it has written.
HRESULT registerServer(const Server& server) noexcept;

/// DllUnregisterServer: removes exactly what `registerServer` wrote; what is gone already is no error.
HRESULT unregisterServer(const Server& server) noexcept;

} // namespace com
