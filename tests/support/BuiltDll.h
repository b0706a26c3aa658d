#pragma once

#include "Folders.h"
#include "QuinmarkRepDLL.h"
#include "com/error.h"

#include <filesystem>
#include <unknwn.h>
#include <wrl/client.h>

/// The DLL that was built beside the test program.
inline std::filesystem::path builtDll()
{
    return builtFile(L"QuinmarkRepDLL.dll");
}

/// A DLL loaded by its path, not by its registration, for as long as this lives.
class LoadedDll
{
public:
    explicit LoadedDll(const std::filesystem::path& path = builtDll()) : module_(LoadLibraryW(path.c_str()))
    {
        if (!module_)
            com::check(HRESULT_FROM_WIN32(GetLastError()));
    }
    ~LoadedDll() { FreeLibrary(module_); }
    LoadedDll(const LoadedDll&) = delete;
    LoadedDll& operator=(const LoadedDll&) = delete;

    HMODULE module() const { return module_; }

    /// DllCanUnloadNow, DllRegisterServer or DllUnregisterServer.
    HRESULT call(const char* exported) const
    {
        using Export = HRESULT(STDAPICALLTYPE*)();
        return reinterpret_cast<Export>(reinterpret_cast<void*>(GetProcAddress(module_, exported)))();
    }

    HRESULT classObject(REFCLSID clsid, REFIID interfaceId, void** object) const
    {
        using Export = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
        const auto get =
            reinterpret_cast<Export>(reinterpret_cast<void*>(GetProcAddress(module_, "DllGetClassObject")));
        return get(clsid, interfaceId, object);
    }

    /// A new entry object.
    Microsoft::WRL::ComPtr<_Factory> createFactory() const
    {
        Microsoft::WRL::ComPtr<IClassFactory> classFactory;
        Microsoft::WRL::ComPtr<_Factory> factory;
        com::check(classObject(CLSID_Factory, IID_PPV_ARGS(&classFactory)));
        com::check(classFactory->CreateInstance(nullptr, IID_PPV_ARGS(&factory)));
        return factory;
    }

private:
    HMODULE module_;
};
