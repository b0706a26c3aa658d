#include "passwords.h"

#include "HostError.h"
#include "text.h"

#include <fstream>
#include <iostream>
#include <optional>
#include <string_view>
#include <windows.h>

#include <wincred.h>

namespace {

/// The mark that some editors put before UTF-8.
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

[[noreturn]] void fail(const std::string& source, const std::string& reason, const std::string& todo)
{
    throw HostError(kUsage, "there is no password from \"" + source + "\": " + reason, todo);
}

constexpr char kPutIntoFile[] =
    "Write the password into the file's first line; the account that runs quinrep must be able to read it.";

std::wstring fromEnvironment(const std::string& source, const std::string& name)
{
    const std::wstring wideName = toWide(name);
    std::wstring value(GetEnvironmentVariableW(wideName.c_str(), nullptr, 0), L'\0');
    if (value.empty())
        fail(source, "the environment variable is not set",
             "Set it in this command prompt (set " + name + "=...), or name another source.");
    value.resize(GetEnvironmentVariableW(wideName.c_str(), value.data(), static_cast<DWORD>(value.size())));
    return value;
}

std::wstring fromFile(const std::string& source, const std::string& path)
{
    std::ifstream file(toWide(path).c_str());
    std::string line;
    if (!std::getline(file, line))
        fail(source, "the file cannot be read or is empty", kPutIntoFile);
    if (line.starts_with(kByteOrderMark))
        line.erase(0, kByteOrderMark.size());
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    if (line.empty())
        fail(source, "its first line is empty", kPutIntoFile);
    if (!isUtf8(line))
        fail(source, "the file is not in UTF-8", "Save it in UTF-8 with the editor that wrote it.");
    return toWide(line);
}

std::wstring fromCredentials(const std::string& source, const std::string& name)
{
    CREDENTIALW* credential = nullptr;
    if (!CredReadW(toWide(name).c_str(), CRED_TYPE_GENERIC, 0, &credential))
        fail(source, "there is no generic credential of that name",
             "Store it, as the account that runs quinrep: cmdkey /generic:" + name +
                 " /user:quinmarkapp_user /pass\n  It asks for the password. Or name another source, such as "
                 "\"file:PATH\".");
    std::wstring password(reinterpret_cast<const wchar_t*>(credential->CredentialBlob),
                          credential->CredentialBlobSize / sizeof(wchar_t));
    CredFree(credential);
    return password;
}

/// Where standard input is a console, it shows nothing of what is typed for as long as this lives.
class WithoutEcho
{
public:
    WithoutEcho() : isConsole_(GetConsoleMode(input(), &mode_) != 0)
    {
        if (isConsole_)
            SetConsoleMode(input(), (mode_ | ENABLE_LINE_INPUT) & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    }
    ~WithoutEcho()
    {
        if (isConsole_)
            SetConsoleMode(input(), mode_);
    }
    WithoutEcho(const WithoutEcho&) = delete;
    WithoutEcho& operator=(const WithoutEcho&) = delete;

    bool isConsole() const { return isConsole_; }

    static HANDLE input() { return GetStdHandle(STD_INPUT_HANDLE); }

private:
    DWORD mode_ = 0;
    bool isConsole_;
};

/// A line that is typed.
std::optional<std::wstring> typedLine()
{
    constexpr DWORD kLongest = 512;
    std::wstring line(kLongest, L'\0');
    DWORD length = 0;
    const BOOL read = ReadConsoleW(WithoutEcho::input(), line.data(), kLongest, &length, nullptr);
    line.resize(read ? length : 0);
    const size_t end = line.find_first_of(L"\r\n");
    if (end == std::wstring::npos)
        return std::nullopt;
    return line.substr(0, end);
}

/// A line of what is piped in.
std::optional<std::wstring> pipedLine()
{
    std::string line;
    if (!std::getline(std::cin, line))
        return std::nullopt;
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return toWide(line);
}

std::wstring fromPrompt(const std::string& source, const std::string& what)
{
    const WithoutEcho hidden; // before the prompt, since somebody may type at once
    std::cerr << "Password for " << what << ": " << std::flush;
    const std::optional<std::wstring> line = hidden.isConsole() ? typedLine() : pipedLine();
    std::cerr << std::endl;
    if (!line)
        fail(source, "nothing was entered", "Type it when it is asked for.");
    return *line;
}

} // namespace

std::wstring resolvePassword(const std::string& source, const std::string& what)
{
    const size_t colon = source.find(':');
    const std::string kind = source.substr(0, colon);
    const std::string name = colon == std::string::npos ? "" : source.substr(colon + 1);
    if (kind == "env")
        return fromEnvironment(source, name);
    if (kind == "file")
        return fromFile(source, name);
    if (kind == "credential")
        return fromCredentials(source, name);
    if (source == "prompt")
        return fromPrompt(source, what);
    throw HostError(kUsage, std::string("a password comes from ") + kPasswordSources);
}

bool isPasswordSource(const std::string& source)
{
    for (const char* kind : {"env:", "file:", "credential:"})
        if (source.starts_with(kind) && source.size() > std::char_traits<char>::length(kind))
            return true;
    return source == "prompt";
}

std::string passwordVariable(const std::string& source)
{
    constexpr std::string_view kVariable = "env:";
    return source.starts_with(kVariable) ? source.substr(kVariable.size()) : "";
}

void resolvePasswords(Configuration& configuration)
{
    for (SideConfiguration* side : {&configuration.source, &configuration.destination})
        if (side->secret.empty())
            side->secret = resolvePassword(side->password, side->dsn);
}
