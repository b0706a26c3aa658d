#include "result_text.h"

#include <fmt/format.h>
#include <regex>

using nlohmann::ordered_json;

std::string resultText(const ordered_json& value)
{
    static const std::regex kDate("(\\d{4}-\\d\\d-\\d\\d)T(\\d\\d:\\d\\d:\\d\\d)(Z?)");
    if (!value.is_string())
        return value.is_null() ? "" : value.dump();
    const std::string text = value;
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
