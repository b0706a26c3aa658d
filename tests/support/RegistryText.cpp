#include "RegistryText.h"

#include <algorithm>
#include <cwchar>
#include <span>

namespace {

std::wstring valueText(DWORD type, std::span<const BYTE> data)
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
    std::vector<BYTE> data(4096);
    for (DWORD index = 0;; ++index) {
        wchar_t name[512];
        DWORD nameLength = 0;
        DWORD type = 0;
        DWORD size = 0;
        const auto read = [&] {
            nameLength = static_cast<DWORD>(std::size(name));
            size = static_cast<DWORD>(data.size());
            return RegEnumValueW(key, index, name, &nameLength, nullptr, &type, data.data(), &size);
        };
        LSTATUS status = read();
        if (status == ERROR_MORE_DATA) {
            data.resize(size);
            status = read();
        }
        if (status != ERROR_SUCCESS)
            return;
        lines.push_back(path + (nameLength > 0 ? L" " : L"") + std::wstring(name, nameLength) + L" = " +
                        valueText(type, {data.data(), size}));
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
