#include "Requirements.h"

#include "com/error.h"

#include <windows.h>

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
