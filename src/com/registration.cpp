#include "com/registration.h"

#include "com/boundary.h"
#include "com/convert.h"
#include "com/module.h"

using Microsoft::WRL::ComPtr;

namespace com {
namespace {

void checkRegistry(LSTATUS status)
{
    check(HRESULT_FROM_WIN32(static_cast<DWORD>(status)));
}

void removeKey(const std::wstring& path)
{
    const LSTATUS status = RegDeleteTreeW(HKEY_CLASSES_ROOT, path.c_str());
    if (status != ERROR_FILE_NOT_FOUND)
        checkRegistry(status);
}

void removeClass(const ClassEntry& entry)
{
    removeKey(L"CLSID\\" + guidText(*entry.clsid));
    removeKey(entry.progId);
}

ComPtr<ITypeLib> ownTypeLibrary()
{
    ComPtr<ITypeLib> library;
    check(LoadTypeLibEx(modulePath().c_str(), REGKIND_NONE, &library));
    return library;
}

void registerTypeLibrary()
{
    check(RegisterTypeLib(ownTypeLibrary().Get(), modulePath().data(), nullptr));
}

/// The interfaces' keys. The platform removes them with the type library, but not when it wrote only half of it.
void removeInterfaces()
{
    const ComPtr<ITypeLib> library = ownTypeLibrary();
    const UINT count = library->GetTypeInfoCount();
    for (UINT index = 0; index < count; ++index) {
        ComPtr<ITypeInfo> info;
        TYPEATTR* attributes = nullptr;
        check(library->GetTypeInfo(index, &info));
        check(info->GetTypeAttr(&attributes));
        const std::wstring interfaceId = attributes->typekind == TKIND_DISPATCH ? guidText(attributes->guid) : L"";
        info->ReleaseTypeAttr(attributes);
        if (!interfaceId.empty())
            removeKey(L"Interface\\" + interfaceId);
    }
}

void removeTypeLibrary(const Server& server)
{
    BSTR path = nullptr;
    const HRESULT found = QueryPathOfRegTypeLib(*server.typeLibraryId, server.typeLibraryMajor, server.typeLibraryMinor,
                                                LOCALE_NEUTRAL, &path);
    SysFreeString(path);
    if (SUCCEEDED(found))
        check(UnRegisterTypeLib(*server.typeLibraryId, server.typeLibraryMajor, server.typeLibraryMinor, LOCALE_NEUTRAL,
                                SYS_WIN32));
    removeInterfaces();
}

/// The classes go first: a type library that stays does less harm than a class that cannot be loaded.
void removeAll(const Server& server)
{
    for (const ClassEntry& entry : server.classes)
        removeClass(entry);
    if (server.typeLibraryId)
        removeTypeLibrary(server);
}

void writeAll(const Server& server)
{
    for (const ClassEntry& entry : server.classes) {
        for (const RegistryKey& key : classKeys(entry, modulePath()))
            writeKey(HKEY_CLASSES_ROOT, key);
        if (server.typeLibraryId)
            writeKey(HKEY_CLASSES_ROOT,
                     {L"CLSID\\" + guidText(*entry.clsid) + L"\\TypeLib", {{L"", guidText(*server.typeLibraryId)}}});
    }
    if (server.typeLibraryId)
        registerTypeLibrary();
}

} // namespace

std::wstring guidText(const GUID& guid)
{
    wchar_t text[39];
    StringFromGUID2(guid, text, static_cast<int>(std::size(text)));
    return text;
}

std::vector<RegistryKey> classKeys(const ClassEntry& entry, const std::wstring& modulePath)
{
    const std::wstring clsid = guidText(*entry.clsid);
    const std::wstring root = L"CLSID\\" + clsid;
    return {
        {root, {{L"", entry.progId}}},
        {root + L"\\InprocServer32", {{L"", modulePath}, {L"ThreadingModel", L"Apartment"}}},
        {root + L"\\ProgID", {{L"", entry.progId}}},
        {entry.progId, {{L"", entry.progId}}},
        {std::wstring(entry.progId) + L"\\CLSID", {{L"", clsid}}},
    };
}

void writeKey(HKEY root, const RegistryKey& key)
{
    for (const auto& [name, text] : key.values) {
        const size_t bytes = (text.size() + 1) * sizeof(wchar_t);
        checkRegistry(
            RegSetKeyValueW(root, key.path.c_str(), name.c_str(), REG_SZ, text.c_str(), static_cast<DWORD>(bytes)));
    }
}

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
