#include "RegistryText.h"

#include <algorithm>
#include <cwchar>

namespace {

std::wstring valueText(DWORD type, const std::vector<BYTE>& data)
{
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
        std::wstring text(reinterpret_cast<const wchar_t*>(data.data()), data.size() / sizeof(wchar_t));
        return text.substr(0, text.find(L'\0'));
    }
    std::wstring text = std::to_wstring(type) + L":";
    for (const BYTE byte : data) {
        wchar_t hex[4];
        swprintf(hex, std::size(hex), L"%02x", byte);
        text += hex;
    }
    return text;
}

void collectValues(HKEY key, const std::wstring& path, std::vector<std::wstring>& lines)
{
    for (DWORD index = 0;; ++index) {
        wchar_t name[512];
        DWORD nameLength = static_cast<DWORD>(std::size(name));
        DWORD type = 0;
        DWORD size = 0;
        if (RegEnumValueW(key, index, name, &nameLength, nullptr, &type, nullptr, &size) != ERROR_SUCCESS)
            return;
        std::vector<BYTE> data(size);
        RegQueryValueExW(key, name, nullptr, nullptr, data.data(), &size);
        lines.push_back(path + (nameLength > 0 ? L" " : L"") + std::wstring(name, nameLength) + L" = " +
                        valueText(type, data));
    }
}

void collect(HKEY key, const std::wstring& path, std::vector<std::wstring>& lines)
{
    collectValues(key, path, lines);
    for (DWORD index = 0;; ++index) {
        wchar_t name[256];
        DWORD length = static_cast<DWORD>(std::size(name));
        if (RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            return;
        const std::wstring child = path.empty() ? name : path + L"\\" + name;
        lines.push_back(child);
        HKEY opened = nullptr;
        if (RegOpenKeyExW(key, name, REG_OPTION_OPEN_LINK, KEY_READ, &opened) != ERROR_SUCCESS)
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
