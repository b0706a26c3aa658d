#include "Requirements.h"

#include "Folders.h"
#include "QuinmarkRepDLL.h"
#include "com/error.h"
#include "com/registration.h"

#include <windows.h>

namespace {

/// Windows shows the windows of an interactive session; Wine needs a display to show any.
bool hasDisplay()
{
    if (isWine())
        return !setting(L"DISPLAY").empty();
    USEROBJECTFLAGS station{};
    return GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &station, sizeof station, nullptr) &&
           (station.dwFlags & WSF_VISIBLE);
}

} // namespace

std::wstring setting(const wchar_t* name)
{
    wchar_t text[256] = L"";
    GetEnvironmentVariableW(name, text, static_cast<DWORD>(std::size(text)));
    return text;
}

std::wstring missingDatabaseSetting()
{
    for (const wchar_t* name : {L"QUINMARK_OFFICE_DSN", L"QUINMARK_LAPTOP_DSN", L"QUINMARK_PASSWORD",
                                L"QUINMARK_OFFICE_PREFIX", L"QUINMARK_LAPTOP_PREFIX"})
        if (setting(name).empty())
            return name;
    return {};
}

bool isWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

std::filesystem::path registeredDll()
{
    wchar_t path[MAX_PATH] = L"";
    DWORD bytes = sizeof path;
    RegGetValueW(HKEY_CLASSES_ROOT, (L"CLSID\\" + com::guidText(CLSID_Factory) + L"\\InprocServer32").c_str(), nullptr,
                 RRF_RT_REG_SZ, nullptr, path, &bytes);
    return path;
}

bool isRegistered()
{
    std::error_code missing;
    return std::filesystem::equivalent(registeredDll(), builtFile(L"QuinmarkRepDLL.dll"), missing);
}

void skipWithout(const wchar_t* what, const wchar_t* requirement)
{
    if (setting(requirement) == L"1")
        FAIL() << "needs " << what;
    GTEST_SKIP() << "needs " << what;
}

bool tryOrSkip(const wchar_t* what, const std::function<void()>& setUp)
{
    const auto skip = [what](const com::Error& error) {
        GTEST_SKIP() << "the server lacks " << what << ": " << error.description;
    };
    try {
        setUp();
        return true;
    }
    catch (const com::Error& error) {
        skip(error);
        return false;
    }
}

void skipWithoutDisplay()
{
    if (!hasDisplay())
        skipWithout(L"a display", L"QUINMARK_REQUIRE_DISPLAY");
}

void skipWithoutRegistration()
{
    if (!isRegistered())
        skipWithout(L"the component registered, from the program's folder", L"QUINMARK_REQUIRE_REGISTRATION");
}
