// Stands in the place of schtasks, where the command prompt finds it first: prints its arguments, one a line.
#include <windows.h>

#include <cstdio>
#include <shellapi.h>

int main()
{
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int index = 1; index < count; ++index) {
        char text[4096];
        WideCharToMultiByte(CP_UTF8, 0, arguments[index], -1, text, sizeof text, nullptr, nullptr);
        std::puts(text);
    }
    return 0;
}
