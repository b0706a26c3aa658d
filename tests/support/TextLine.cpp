#include "TextLine.h"

#include <windows.h>

namespace {

constexpr char kEscapes[][2] = {{'t', '\t'}, {'n', '\n'}, {'r', '\r'}, {'\\', '\\'}};

std::wstring wide(const std::string& text)
{
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring result(static_cast<size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), result.data(), size);
    return result;
}

char unescaped(char code)
{
    for (const auto& [letter, character] : kEscapes) {
        if (letter == code)
            return character;
    }
    return code;
}

std::string escaped(const std::string& text)
{
    std::string result;
    for (const char character : text) {
        char code = '\0';
        for (const auto& [letter, special] : kEscapes) {
            if (special == character)
                code = letter;
        }
        result += code == '\0' ? std::string(1, character) : std::string{'\\', code};
    }
    return result;
}

} // namespace

std::string toUtf8(const std::wstring& text)
{
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, result.data(), size, nullptr, nullptr);
    return result;
}

std::vector<std::wstring> splitLine(const std::string& line)
{
    std::vector<std::string> fields(1);
    for (size_t at = 0; at < line.size(); ++at) {
        if (line[at] == '\t')
            fields.emplace_back();
        else if (line[at] == '\\' && at + 1 < line.size())
            fields.back() += unescaped(line[++at]);
        else if (line[at] != '\r' || at + 1 < line.size())
            fields.back() += line[at];
    }
    std::vector<std::wstring> result;
    for (const std::string& field : fields)
        result.push_back(wide(field));
    return result;
}

std::string joinLine(const std::vector<std::wstring>& fields)
{
    std::string line;
    for (const std::wstring& field : fields) {
        if (&field != &fields.front())
            line += '\t';
        line += escaped(toUtf8(field));
    }
    return line;
}
