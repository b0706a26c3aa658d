#include "com/boundary.h"
#include "com/convert.h"
#include "com/module.h"
#include "com/server.h"

#include <utility>
#include <vector>

using Microsoft::WRL::ComPtr;

namespace com {
namespace {

void checkRegistry(LSTATUS status)
{
    check(HRESULT_FROM_WIN32(static_cast<DWORD>(status)));
}

std::wstring guidText(const GUID& guid)
{
    wchar_t text[39];
    StringFromGUID2(guid, text, static_cast<int>(std::size(text)));
    return text;
}

/// One key below HKEY_CLASSES_ROOT with its values; an empty value name is the key's default value.
struct RegistryKey
{
    std::wstring path;
    std::vector<std::pair<std::wstring, std::wstring>> values;
};

/// Everything that makes a class known, parents before children.
std::vector<RegistryKey> classKeys(const Server& server, const ClassEntry& entry)
{
    const std::wstring clsid = guidText(*entry.clsid);
    const std::wstring root = L"CLSID\\" + clsid;
    std::vector<RegistryKey> keys = {
        {root, {{L"", entry.progId}}},
        {root + L"\\InprocServer32", {{L"", modulePath()}, {L"ThreadingModel", L"Apartment"}}},
        {root + L"\\ProgID", {{L"", entry.progId}}},
        {entry.progId, {{L"", entry.progId}}},
        {std::wstring(entry.progId) + L"\\CLSID", {{L"", clsid}}},
    };
    if (server.typeLibraryId)
        keys.push_back({root + L"\\TypeLib", {{L"", guidText(*server.typeLibraryId)}}});
    return keys;
}

void writeKey(const RegistryKey& key)
{
    for (const auto& [name, text] : key.values)
        checkRegistry(RegSetKeyValueW(HKEY_CLASSES_ROOT, key.path.c_str(), name.c_str(), REG_SZ, text.c_str(),
                                      static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))));
}

void removeClass(const ClassEntry& entry)
{
    for (const std::wstring& path : {L"CLSID\\" + guidText(*entry.clsid), std::wstring(entry.progId)}) {
        const LSTATUS status = RegDeleteTreeW(HKEY_CLASSES_ROOT, path.c_str());
        if (status != ERROR_FILE_NOT_FOUND)
            checkRegistry(status);
    }
}

void registerTypeLibrary()
{
    const std::wstring path = modulePath();
    ComPtr<ITypeLib> library;
    check(LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library));
    check(RegisterTypeLib(library.Get(), const_cast<wchar_t*>(path.c_str()), nullptr));
}

HRESULT removeTypeLibrary(const Server& server)
{
    BSTR path = nullptr;
    const HRESULT found = QueryPathOfRegTypeLib(*server.typeLibraryId, server.typeLibraryMajor, server.typeLibraryMinor,
                                                LOCALE_NEUTRAL, &path);
    if (FAILED(found))
        return S_OK;
    SysFreeString(path);
    return UnRegisterTypeLib(*server.typeLibraryId, server.typeLibraryMajor, server.typeLibraryMinor, LOCALE_NEUTRAL,
                             SYS_WIN32);
}

/// The classes go in any case: a type library that stays does less harm than a class that cannot be loaded.
void removeAll(const Server& server)
{
    const HRESULT library = server.typeLibraryId ? removeTypeLibrary(server) : S_OK;
    for (const ClassEntry& entry : server.classes)
        removeClass(entry);
    check(library);
}

void writeAll(const Server& server)
{
    for (const ClassEntry& entry : server.classes)
        for (const RegistryKey& key : classKeys(server, entry))
            writeKey(key);
    if (server.typeLibraryId)
        registerTypeLibrary();
}

} // namespace

HRESULT registerServer(const Server& server) noexcept
{
    const HRESULT result = comBoundary([&] { writeAll(server); });
    if (FAILED(result))
        unregisterServer(server);
    return result;
}

HRESULT unregisterServer(const Server& server) noexcept
{
    return comBoundary([&] { removeAll(server); });
}

} // namespace com
