#include "RegistryText.h"

#include <algorithm>

namespace {

constexpr DWORD kLongest = 2048;

void collect(HKEY key, const std::wstring& path, std::vector<std::wstring>& lines)
{
    wchar_t name[kLongest];
    wchar_t text[kLongest];
    for (DWORD index = 0;; ++index) {
        DWORD length = kLongest;
        DWORD bytes = sizeof text - sizeof(wchar_t);
        DWORD type = REG_NONE;
        if (RegEnumValueW(key, index, name, &length, nullptr, &type, reinterpret_cast<BYTE*>(text), &bytes) !=
            ERROR_SUCCESS)
            break;
        text[bytes / sizeof(wchar_t)] = L'\0';
        lines.push_back(path + (length > 0 ? L" " : L"") + name + L" = " +
                        (type == REG_SZ ? text : L"a value of type " + std::to_wstring(type)));
    }
    for (DWORD index = 0;; ++index) {
        DWORD length = kLongest;
        if (RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            return;
        const std::wstring child = path.empty() ? name : path + L"\\" + name;
        lines.push_back(child);
        HKEY opened = nullptr;
        if (RegOpenKeyExW(key, name, 0, KEY_READ, &opened) != ERROR_SUCCESS)
            continue;
        collect(opened, child, lines);
        RegCloseKey(opened);
    }
}

} // namespace

std::vector<std::wstring> registryText(HKEY root)
{
    std::vector<std::wstring> lines;
    collect(root, L"", lines);
    std::sort(lines.begin(), lines.end());
    return lines;
}
