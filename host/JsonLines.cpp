#include "JsonLines.h"

#include "HostError.h"
#include "text.h"

#include <filesystem>
#include <fstream>
#include <vector>

using nlohmann::ordered_json;

namespace {

std::string dumped(const ordered_json& value)
{
    return value.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

/// The members of an object, without its braces.
std::string membersOf(const ordered_json& object)
{
    const std::string text = dumped(object);
    return text.substr(1, text.size() - 2);
}

/// The commas between the members of a line's object.
std::vector<size_t> commasOf(const std::string& line)
{
    std::vector<size_t> commas;
    int depth = 0;
    bool quoted = false;
    for (size_t at = 0; at < line.size(); ++at) {
        const char c = line[at];
        if (quoted && c == '\\')
            ++at;
        else if (c == '"')
            quoted = !quoted;
        else if (!quoted && (c == '{' || c == '['))
            ++depth;
        else if (!quoted && (c == '}' || c == ']'))
            --depth;
        else if (!quoted && c == ',' && depth == 1)
            commas.push_back(at);
    }
    return commas;
}

/// The object of a line; of one that was broken off the members that are whole.
ordered_json objectOf(const std::string& line)
{
    ordered_json object = ordered_json::parse(line, nullptr, false);
    if (!object.is_discarded())
        return object;
    std::vector<size_t> ends = commasOf(line);
    for (ends.push_back(line.size()); object.is_discarded() && !ends.empty(); ends.pop_back())
        object = ordered_json::parse(line.substr(0, ends.back()) + "}", nullptr, false);
    return object;
}

} // namespace

JsonLines::JsonLines(const std::string& path)
    : file_(CreateFileW(toWide(path).c_str(), FILE_READ_DATA | FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                        FILE_ATTRIBUTE_NORMAL, nullptr))
{
    if (!isOpen()) {
        reason_ = GetLastError();
        return;
    }
    const unsigned long long length = size();
    char last = '\n';
    DWORD count = 0;
    OVERLAPPED atLast{};
    atLast.Offset = static_cast<DWORD>(length - 1);
    atLast.OffsetHigh = static_cast<DWORD>((length - 1) >> 32);
    if (length > 0 && ReadFile(file_, &last, 1, &count, &atLast) && last != '\n')
        write("\n");
}

JsonLines::~JsonLines()
{
    if (isOpen())
        CloseHandle(file_);
}

unsigned long long JsonLines::size() const
{
    LARGE_INTEGER size{};
    GetFileSizeEx(file_, &size);
    return static_cast<unsigned long long>(size.QuadPart);
}

bool JsonLines::begin(const ordered_json& members)
{
    return write("{" + membersOf(members));
}

bool JsonLines::add(const ordered_json& members)
{
    return write("," + membersOf(members));
}

bool JsonLines::end(const ordered_json& members)
{
    return write("," + membersOf(members) + "}\n");
}

ordered_json JsonLines::read(const std::string& path, const std::string& what)
{
    ordered_json objects = ordered_json::array();
    std::ifstream file(toWide(path).c_str(), std::ios::binary);
    if (!file && std::filesystem::exists(toWide(path)))
        throw HostError(kFailed, what + " " + path + " cannot be read",
                        "Look whether it is a file, and whether you may read it.");
    for (std::string line; std::getline(file, line);)
        if (ordered_json object = objectOf(line); object.is_object())
            objects.push_back(std::move(object));
    return objects;
}

bool JsonLines::write(const std::string& text)
{
    DWORD written = 0;
    return WriteFile(file_, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) && written == text.size();
}
