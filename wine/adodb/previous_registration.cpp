#include "previous_registration.h"

#include "com/error.h"
#include "com/module.h"
#include "sql_tokens.h"
#include "value_conversion.h"

#include <string>

namespace adodb {

namespace {

// Each value is named by a class id and holds the former server's path.
constexpr wchar_t kSavedKey[] = L"Software\\QuinmarkRepDLL\\AdodbPrevious";

std::wstring classKey(const com::ClassEntry& entry)
{
    return L"CLSID\\" + guidText(*entry.clsid);
}

std::wstring readText(HKEY root, const std::wstring& key, const std::wstring& name)
{
    wchar_t text[1024] = {};
    DWORD bytes = sizeof text;
    return RegGetValueW(root, key.c_str(), name.c_str(), RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, nullptr,
                        text, &bytes) == ERROR_SUCCESS
               ? text
               : L"";
}

void writeText(HKEY root, const std::wstring& key, const std::wstring& name, const std::wstring& text)
{
    const DWORD bytes = static_cast<DWORD>(text.size() + 1) * sizeof(wchar_t);
    const LSTATUS status = RegSetKeyValueW(root, key.c_str(), name.c_str(), REG_SZ, text.c_str(), bytes);
    com::check(HRESULT_FROM_WIN32(static_cast<DWORD>(status)));
}

} // namespace

void savePreviousRegistration(std::span<const com::ClassEntry> classes)
{
    for (const com::ClassEntry& entry : classes) {
        const std::wstring server = readText(HKEY_CLASSES_ROOT, classKey(entry) + L"\\InprocServer32", L"");
        if (!server.empty() && !equalsIgnoringCase(server, com::modulePath()))
            writeText(HKEY_CURRENT_USER, kSavedKey, guidText(*entry.clsid), server);
    }
}

void restorePreviousRegistration(std::span<const com::ClassEntry> classes)
{
    for (const com::ClassEntry& entry : classes) {
        const std::wstring clsid = guidText(*entry.clsid);
        const std::wstring server = readText(HKEY_CURRENT_USER, kSavedKey, clsid);
        if (server.empty())
            continue;
        const std::wstring key = classKey(entry);
        writeText(HKEY_CLASSES_ROOT, key, L"", entry.progId);
        writeText(HKEY_CLASSES_ROOT, key + L"\\InprocServer32", L"", server);
        writeText(HKEY_CLASSES_ROOT, key + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
        writeText(HKEY_CLASSES_ROOT, key + L"\\ProgID", L"", entry.progId);
        writeText(HKEY_CLASSES_ROOT, entry.progId, L"", entry.progId);
        writeText(HKEY_CLASSES_ROOT, std::wstring(entry.progId) + L"\\CLSID", L"", clsid);
    }
    RegDeleteTreeW(HKEY_CURRENT_USER, kSavedKey);
}

} // namespace adodb
