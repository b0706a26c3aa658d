#include "text.h"

#include <windows.h>

namespace {

std::wstring decoded(std::string_view text, UINT codePage)
{
    const int size = static_cast<int>(text.size());
    const int length = MultiByteToWideChar(codePage, 0, text.data(), size, nullptr, 0);
    std::wstring wide(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(codePage, 0, text.data(), size, wide.data(), length);
    return wide;
}

} // namespace

std::string toUtf8(std::wstring_view text)
{
    const int wideLength = static_cast<int>(text.size());
    const int length = WideCharToMultiByte(CP_UTF8, 0, text.data(), wideLength, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), wideLength, utf8.data(), length, nullptr, nullptr);
    return utf8;
}

std::wstring toWide(std::string_view text)
{
    return decoded(text, CP_UTF8);
}

std::string capitalized(std::string text)
{
    if (!text.empty() && text.front() >= 'a' && text.front() <= 'z')
        text.front() = static_cast<char>(text.front() - 'a' + 'A');
    return text;
}

std::string counted(long long count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

bool isUtf8(std::string_view text)
{
    return text.empty() || MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                                               static_cast<int>(text.size()), nullptr, 0) > 0;
}

std::wstring fromAnsi(std::string_view text)
{
    return decoded(text, CP_ACP);
}

std::wstring fromConsole(std::string_view text)
{
    return decoded(text, CP_OEMCP);
}

std::string trimmed(std::string text)
{
    text.erase(text.find_last_not_of(" \t\r\n") + 1);
    return text;
}
