#include "conflicts/DecisionLog.h"

#include "HostError.h"
#include "files.h"
#include "text.h"

#include <filesystem>
#include <fstream>
#include <lmcons.h>

using nlohmann::ordered_json;

namespace {

std::string windowsUser()
{
    wchar_t name[UNLEN + 1] = L"";
    DWORD length = UNLEN + 1;
    GetUserNameW(name, &length);
    return toUtf8(name);
}

/// The object of a line, or of one that lacks its end.
ordered_json decisionOf(const std::string& line)
{
    ordered_json decision = ordered_json::parse(line, nullptr, false);
    return decision.is_discarded() ? ordered_json::parse(line + R"(,"outcome":"broken off"})", nullptr, false)
                                   : decision;
}

} // namespace

DecisionLog::DecisionLog(const Configuration& configuration)
    : path_(path(configuration)),
      file_(CreateFileW(toWide(path_).c_str(), FILE_READ_DATA | FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                        FILE_ATTRIBUTE_NORMAL, nullptr))
{
    if (file_ == INVALID_HANDLE_VALUE)
        throw HostError(kUsage, "the decision log " + path_ + " cannot be written, so nothing is decided",
                        GetLastError() == ERROR_SHARING_VIOLATION
                            ? "Somebody else is deciding; try again when that has ended."
                            : kNameAnotherLog);
    // A line that was broken off ends here.
    LARGE_INTEGER size{};
    char last = '\n';
    DWORD count = 0;
    OVERLAPPED atLast{};
    GetFileSizeEx(file_, &size);
    atLast.Offset = static_cast<DWORD>(size.QuadPart - 1);
    atLast.OffsetHigh = static_cast<DWORD>((size.QuadPart - 1) >> 32);
    if (size.QuadPart > 0 && ReadFile(file_, &last, 1, &count, &atLast) && last != '\n')
        write("\n");
}

DecisionLog::~DecisionLog()
{
    CloseHandle(file_);
}

void DecisionLog::begin(const ordered_json& decision)
{
    ordered_json line = {{"time", utcNow()}, {"user", windowsUser()}};
    line.update(decision);
    std::string text = line.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
    text.pop_back(); // the brace, which comes with the outcome
    write(text);
}

void DecisionLog::end(const std::string& outcome)
{
    write(",\"outcome\":" + ordered_json(outcome).dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "}\n");
}

ordered_json DecisionLog::read(const Configuration& configuration)
{
    ordered_json decisions = ordered_json::array();
    const std::wstring name = toWide(path(configuration));
    std::ifstream file(name.c_str(), std::ios::binary);
    if (!file && std::filesystem::exists(name))
        throw HostError(kFailed, "the decision log " + path(configuration) + " cannot be read",
                        "Look whether it is a file, and whether you may read it.");
    for (std::string line; std::getline(file, line);)
        if (ordered_json decision = decisionOf(line); decision.is_object())
            decisions.push_back(std::move(decision));
    return decisions;
}

std::string DecisionLog::path(const Configuration& configuration)
{
    return besideLog(configuration, ".decisions.jsonl");
}

void DecisionLog::write(const std::string& text)
{
    DWORD written = 0;
    if (!WriteFile(file_, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) || written != text.size())
        throw HostError(kFailed, "the decision log " + path_ + " cannot be written",
                        "Look whether its disk is full. The decision that it could not take was not carried out, or "
                        "its outcome is missing there.");
}
