#include "commands.h"

#include <algorithm>
#include <fmt/format.h>

using nlohmann::ordered_json;

namespace {

std::string text(const ordered_json& value)
{
    return value.is_string() ? value.get<std::string>() : value.is_null() ? "" : value.dump();
}

/// Characters, not bytes.
size_t width(const std::string& utf8)
{
    return static_cast<size_t>(
        std::count_if(utf8.begin(), utf8.end(), [](char unit) { return (unit & 0xC0) != 0x80; }));
}

std::string padded(const std::string& cell, size_t columns, bool right)
{
    const std::string blanks(columns > width(cell) ? columns - width(cell) : 0, ' ');
    return right ? blanks + cell : cell + blanks;
}

/// Rows as a table with a heading: texts to the left, numbers to the right.
std::string grid(const ordered_json& rows, const std::vector<const char*>& columns)
{
    std::vector<size_t> widths;
    for (const char* column : columns) {
        size_t widest = width(column);
        for (const ordered_json& row : rows)
            widest = std::max(widest, width(text(row[column])));
        widths.push_back(widest);
    }
    std::string lines;
    const auto add = [&](const auto& cell, const auto& rightAligned) {
        std::string line;
        for (size_t index = 0; index < columns.size(); ++index)
            line += "  " + padded(cell(columns[index]), widths[index], rightAligned(columns[index]));
        lines += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    };
    const auto isNumber = [&](const char* column) { return !rows.empty() && rows.front()[column].is_number(); };
    add([](const char* column) { return std::string(column); }, isNumber);
    for (const ordered_json& row : rows)
        add([&](const char* column) { return text(row[column]); }, isNumber);
    return lines;
}

std::string checks(const ordered_json& result)
{
    std::string lines;
    for (const ordered_json& check : result["checks"]) {
        lines += fmt::format("{} {}\n", check["ok"].get<bool>() ? "ok  " : "BAD ", text(check["check"]));
        for (const char* detail : {"finding", "todo"})
            if (!text(check[detail]).empty())
                lines += "     " + text(check[detail]) + "\n";
    }
    return lines;
}

std::string preview(const ordered_json& result)
{
    return grid(result["tables"], {"table", "method", "destination_rows", "updates", "adds", "deletes",
                                   "source_updates", "source_adds", "conflicts"});
}

std::string verification(const ordered_json& result)
{
    std::string lines = grid(result["tables"], {"table", "source_rows", "destination_rows", "differing"});
    for (const ordered_json& table : result["tables"])
        for (const ordered_json& row : table["rows"]) {
            lines += fmt::format("{} {}: {}\n", text(table["table"]), text(row["key"]), text(row["what"]));
            for (const ordered_json& column : row.value("columns", ordered_json::array()))
                lines += fmt::format("    {}: source '{}', destination '{}'\n", text(column["column"]),
                                     text(column["source"]), text(column["destination"]));
        }
    return lines;
}

std::string guard(const ordered_json& tables)
{
    std::string lines = "Nothing was written: the run would delete too many rows.\n";
    for (const ordered_json& table : tables)
        lines += fmt::format("  {}: {} of {} rows, allowed are {} %\n", text(table["table"]), text(table["deletes"]),
                             text(table["destination_rows"]), text(table["max_delete"]));
    return lines + "Go on with --force if that is meant.\n";
}

std::string failure(const ordered_json& error)
{
    std::string line = text(error["text"]);
    if (error.contains("number"))
        line = fmt::format("{} ({}) {}: {}", text(error["number"]), text(error["hex"]), text(error["source"]), line);
    return "FAILED: " + line + "\n" + (text(error["todo"]).empty() ? "" : "  " + text(error["todo"]) + "\n");
}

std::string notDone(const ordered_json& tables)
{
    std::string names;
    for (const ordered_json& table : tables)
        if (!table["done"].get<bool>())
            names += (names.empty() ? "Not done: " : ", ") + text(table["table"]);
    return names.empty() ? names : names + "\n";
}

std::string run(const ordered_json& result)
{
    if (result.contains("guard"))
        return guard(result["guard"]);
    if (!result.contains("tables"))
        return failure(result["error"]);
    const std::string lines = fmt::format("Interval: {} to {}\n", text(result["from"]), text(result["to"])) +
                              grid(result["tables"], {"table", "method", "adds", "updates", "deletes", "source_adds",
                                                      "source_updates", "conflicts", "errors"});
    if (result.contains("error"))
        return lines + notDone(result["tables"]) + failure(result["error"]) +
               (text(result["recorded"]).empty() ? "The control record could not be told.\n" : "");
    return text(result["recorded"]).empty() ? lines : lines + "Recorded: " + text(result["recorded"]) + "\n";
}

std::string status(const ordered_json& result)
{
    const ordered_json& control = result["control"];
    std::string lines = fmt::format("ready {}, in error {} {}\nlast run's interval ended {}, next attempt {}\n",
                                    text(control["ready_f"]), text(control["error_f"]), text(control["error_message"]),
                                    text(control["last_timestamp"]), text(control["next_timestamp"]));
    lines += "Counters of the last run:\n" + grid(result["counts"], {"count_name", "count_value"});
    lines += "Conflicts waiting:\n" + grid(result["conflicts"], {"table_name", "waiting"});
    for (const ordered_json& line : result["log"])
        lines += text(line) + "\n";
    return lines;
}

std::string conflict(const ordered_json& result)
{
    const ordered_json& conflict = result["conflict"];
    std::string lines = fmt::format("{} {}, {}: {}\n", text(conflict["unid"]), text(conflict["table_name"]),
                                    text(conflict["conflict"]), text(conflict["key_info"]));
    for (const ordered_json& column : conflict["columns"])
        lines += fmt::format("    {}: source '{}', destination '{}'\n", text(column["column"]), text(column["source"]),
                             text(column["destination"]));
    return lines;
}

std::string resolved(const ordered_json& result)
{
    std::string lines;
    for (const ordered_json& entry : result["resolved"])
        lines += fmt::format("{} {}: {}\n", text(entry["unid"]), text(entry["key_info"]),
                             !text(entry["refused"]).empty() ? "refused, " + text(entry["refused"])
                             : entry["settled"].get<bool>()  ? std::string("settled")
                                                             : std::string("stays"));
    return lines.empty() ? "no conflicts\n" : lines;
}

} // namespace

std::string humanText(const std::string& command, const ordered_json& result)
{
    if (command == "check")
        return checks(result);
    if (command == "preview")
        return preview(result);
    if (command == "verify")
        return verification(result);
    if (command == "run")
        return run(result);
    if (command == "status")
        return status(result);
    if (command == "list")
        return grid(result["conflicts"], {"unid", "table_name", "conflict", "key_info"});
    if (command == "review" && result["resolved"].empty())
        return {};
    return command == "show" ? conflict(result) : resolved(result);
}
