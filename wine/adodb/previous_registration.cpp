#include "previous_registration.h"

#include "com/module.h"
#include "com/registration.h"
#include "sql_tokens.h"

#include <string>

namespace adodb {

namespace {

// Each value is named by a class id and holds the former server's path.
constexpr wchar_t kSavedKey[] = L"Software\\QuinmarkRepDLL\\AdodbPrevious";

std::wstring readText(HKEY root, const std::wstring& key, const std::wstring& name)
{
    wchar_t text[1024] = {};
    DWORD bytes = sizeof text;
    return RegGetValueW(root, key.c_str(), name.c_str(), RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, nullptr,
                        text, &bytes) == ERROR_SUCCESS
               ? text
               : L"";
}

} // namespace

void savePreviousRegistration(std::span<const com::ClassEntry> classes)
{
    for (const com::ClassEntry& entry : classes) {
        const std::wstring clsid = com::guidText(*entry.clsid);
        const std::wstring server = readText(HKEY_CLASSES_ROOT, L"CLSID\\" + clsid + L"\\InprocServer32", L"");
        if (!server.empty() && !equalsIgnoringCase(server, com::modulePath()))
            com::writeKey(HKEY_CURRENT_USER, {kSavedKey, {{clsid, server}}});
    }
}

void restorePreviousRegistration(std::span<const com::ClassEntry> classes)
{
    for (const com::ClassEntry& entry : classes) {
        const std::wstring server = readText(HKEY_CURRENT_USER, kSavedKey, com::guidText(*entry.clsid));
        if (server.empty())
            continue;
        for (const com::RegistryKey& key : com::classKeys(entry, server))
            com::writeKey(HKEY_CLASSES_ROOT, key);
    }
    RegDeleteTreeW(HKEY_CURRENT_USER, kSavedKey);
}

} // namespace adodb
