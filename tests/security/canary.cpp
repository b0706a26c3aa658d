// A library that nobody should load: it writes its own path to the file that QUINMARK_CANARY names.
#include <windows.h>

#include <string>

namespace {

void tell(HINSTANCE module)
{
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), MAX_PATH));
    std::wstring file(MAX_PATH, L'\0');
    file.resize(GetEnvironmentVariableW(L"QUINMARK_CANARY", file.data(), MAX_PATH));
    const HANDLE handle = CreateFileW(file.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_ALWAYS, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return;
    path += L"\r\n";
    DWORD written = 0;
    WriteFile(handle, path.data(), static_cast<DWORD>(path.size() * sizeof(wchar_t)), &written, nullptr);
    CloseHandle(handle);
}

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*)
{
    if (reason == DLL_PROCESS_ATTACH)
        tell(module);
    return TRUE;
}
