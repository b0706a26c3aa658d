#include "result_text.h"

#include <fmt/format.h>

using nlohmann::ordered_json;

std::string resultText(const ordered_json& value)
{
    return value.is_string() ? value.get<std::string>() : value.is_null() ? "" : value.dump();
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
