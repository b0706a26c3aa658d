#include "result_text.h"

#include <ctime>
#include <fmt/format.h>
#include <iomanip>
#include <optional>
#include <regex>
#include <sstream>
#include <windows.h>

using nlohmann::ordered_json;

namespace {

/// Of a FILETIME.
constexpr long long kUnitsPerSecond = 10'000'000;

long long unitsOf(const FILETIME& time)
{
    return (static_cast<long long>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

std::optional<std::string> localText(const SYSTEMTIME& utc)
{
    SYSTEMTIME local{};
    if (!SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local))
        return std::nullopt;
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", local.wYear, local.wMonth, local.wDay, local.wHour,
                       local.wMinute, local.wSecond);
}

/// The time of a text such as 2026-11-21T20:30:05Z.
std::optional<SYSTEMTIME> utcTime(const ordered_json& utc)
{
    std::tm time{};
    std::istringstream text(utc.is_string() ? utc.get<std::string>() : "");
    if (!(text >> std::get_time(&time, "%Y-%m-%dT%H:%M:%SZ")))
        return std::nullopt;
    const auto word = [](int number) { return static_cast<WORD>(number); };
    return SYSTEMTIME{.wYear = word(time.tm_year + 1900),
                      .wMonth = word(time.tm_mon + 1),
                      .wDayOfWeek = 0,
                      .wDay = word(time.tm_mday),
                      .wHour = word(time.tm_hour),
                      .wMinute = word(time.tm_min),
                      .wSecond = word(time.tm_sec),
                      .wMilliseconds = 0};
}

} // namespace

std::string resultText(const ordered_json& value)
{
    static const std::regex kDate("(\\d{4}-\\d\\d-\\d\\d)T(\\d\\d:\\d\\d:\\d\\d)(Z?)");
    if (!value.is_string())
        return value.is_null() ? "" : value.dump();
    std::string text = value;
    std::smatch date;
    if (!std::regex_match(text, date, kDate))
        return text;
    return fmt::format("{} {}{}", date[1].str(), date[2].str(), date[3].length() > 0 ? " UTC" : "");
}

std::string unshownRows(const ordered_json& rows)
{
    return rows.size() <= kShownRows
               ? ""
               : fmt::format("and {} more; `quinrep preview --json` lists all", rows.size() - kShownRows);
}

std::string stopHeading(const ordered_json& stop)
{
    return stop["reason"] == "hook" ? "the command before the run" : resultText(stop["table"]);
}

std::string tablesNotDone(const ordered_json& tables)
{
    std::string names;
    for (const ordered_json& table : tables)
        if (!table.value("done", true))
            names += (names.empty() ? "" : ", ") + resultText(table["table"]);
    return names;
}

std::string errorText(const ordered_json& error)
{
    std::string text = error["text"];
    if (error.contains("number"))
        text = fmt::format("{} ({}) {}: {}", error["number"].get<long>(), error["hex"].get<std::string>(),
                           error["source"].get<std::string>(), text);
    const std::string todo = error["todo"];
    return todo.empty() ? text : text + "\n  " + todo;
}

std::string localTime(const ordered_json& utc)
{
    const std::optional<SYSTEMTIME> time = utcTime(utc);
    return time ? localText(*time).value_or(resultText(utc)) : resultText(utc);
}

std::string localTimeIn(std::chrono::seconds wait)
{
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const long long then = unitsOf(now) + wait.count() * kUnitsPerSecond;
    const FILETIME units{static_cast<DWORD>(then), static_cast<DWORD>(then >> 32)};
    SYSTEMTIME utc{};
    return FileTimeToSystemTime(&units, &utc) ? localText(utc).value_or("") : "";
}

std::optional<long long> secondsOf(const ordered_json& utc)
{
    const std::optional<SYSTEMTIME> time = utcTime(utc);
    FILETIME units{};
    if (!time || !SystemTimeToFileTime(&*time, &units))
        return std::nullopt;
    return unitsOf(units) / kUnitsPerSecond;
}

std::string durationText(std::chrono::milliseconds duration)
{
    const long long seconds = (duration.count() + 500) / 1000;
    if (duration.count() < 9950)
        return fmt::format("{:.1f} s", static_cast<double>(duration.count()) / 1000);
    if (seconds < 60)
        return fmt::format("{} s", seconds);
    if (seconds < 3600)
        return fmt::format("{} min {} s", seconds / 60, seconds % 60);
    return fmt::format("{} h {} min", seconds / 3600, seconds / 60 % 60);
}
