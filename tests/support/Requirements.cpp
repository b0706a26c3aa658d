#include "Requirements.h"

#include <windows.h>

std::wstring setting(const wchar_t* name)
{
    wchar_t text[256] = L"";
    GetEnvironmentVariableW(name, text, static_cast<DWORD>(std::size(text)));
    return text;
}

void skipWithout(const wchar_t* what, const wchar_t* requirement)
{
    if (setting(requirement) == L"1")
        FAIL() << "needs " << what;
    GTEST_SKIP() << "needs " << what;
}
