#include "Failure.h"
#include "commands.h"
#include "result_text.h"

#include <algorithm>
#include <fmt/format.h>
#include <map>
#include <regex>

using nlohmann::ordered_json;

namespace {

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
            widest = std::max(widest, width(resultText(row[column])));
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
        add([&](const char* column) { return resultText(row[column]); }, isNumber);
    return lines;
}

/// The further lines below the first.
std::string indented(const std::string& lines)
{
    return std::regex_replace(lines, std::regex("\r?\n"), "\n     ");
}

std::string checks(const ordered_json& result)
{
    std::string lines;
    for (const ordered_json& check : result["checks"]) {
        lines += fmt::format("{} {}\n", check["ok"].get<bool>() ? "ok  " : "BAD ", resultText(check["check"]));
        for (const char* detail : {"finding", "todo"})
            if (!resultText(check[detail]).empty())
                lines += "     " + indented(resultText(check[detail])) + "\n";
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
            lines +=
                fmt::format("{} {}: {}\n", resultText(table["table"]), resultText(row["key"]), resultText(row["what"]));
            for (const ordered_json& column : row.value("columns", ordered_json::array()))
                lines += fmt::format("    {}: source '{}', destination '{}'\n", resultText(column["column"]),
                                     resultText(column["source"]), resultText(column["destination"]));
        }
    return lines;
}

std::string guard(const ordered_json& tables)
{
    std::string lines = "Nothing was written: the run would delete too many rows.\n";
    for (const ordered_json& table : tables)
        lines += fmt::format("  {}: {} of {} rows, allowed are {} %\n", resultText(table["table"]),
                             resultText(table["deletes"]), resultText(table["destination_rows"]),
                             resultText(table["max_delete"]));
    return lines + "Go on with --force if that is meant.\n";
}

std::string run(const ordered_json& result)
{
    if (result.contains("guard"))
        return guard(result["guard"]);
    if (!result.contains("tables"))
        return "FAILED: " + errorText(result["error"]) + "\n";
    const std::string lines =
        fmt::format("Interval: {} to {}\n", resultText(result["from"]), resultText(result["to"])) +
        grid(result["tables"],
             {"table", "method", "adds", "updates", "deletes", "source_adds", "source_updates", "conflicts", "errors"});
    const std::string notDone = tablesNotDone(result["tables"]);
    if (result.contains("error"))
        return lines + (notDone.empty() ? "" : "Not done: " + notDone + "\n") +
               "FAILED: " + errorText(result["error"]) + "\n" +
               (resultText(result["recorded"]).empty() ? "The control record could not be told.\n" : "");
    return resultText(result["recorded"]).empty() ? lines
                                                  : lines + "Recorded: " + resultText(result["recorded"]) + "\n";
}

std::string answer(const ordered_json& flag)
{
    return flag == true ? "yes" : "no";
}

/// Rows below a heading, or a word that there are none.
std::string list(const char* heading, const ordered_json& rows, const std::vector<const char*>& columns)
{
    return rows.empty() ? fmt::format("{}: none\n", heading) : fmt::format("{}:\n", heading) + grid(rows, columns);
}

std::string status(const ordered_json& result)
{
    const ordered_json& control = result["control"];
    const std::string error = resultText(control["error_message"]);
    std::string lines =
        fmt::format("Ready for a run: {}\nIn error: {}\nLast run's interval ended: {}\n"
                    "Next attempt: {}\n",
                    answer(control["ready_f"]), answer(control["error_f"]) + (error.empty() ? "" : ", " + error),
                    resultText(control["last_timestamp"]), resultText(control["next_timestamp"]));
    lines += list("Counters of the last run", result["counts"], {"count_name", "count_value"});
    lines += list("Conflicts waiting", result["conflicts"], {"table_name", "waiting"});
    lines += result["log"].empty() ? "Last errors in the log: none\n" : "Last errors in the log:\n";
    for (const ordered_json& line : result["log"])
        lines += "  " + resultText(line) + "\n";
    return lines;
}

std::string conflict(const ordered_json& result)
{
    const ordered_json& conflict = result["conflict"];
    std::string lines = fmt::format("{} {}, {}: {}\n", resultText(conflict["unid"]), resultText(conflict["table_name"]),
                                    resultText(conflict["conflict"]), resultText(conflict["key_info"]));
    for (const ordered_json& column : conflict["columns"])
        lines += fmt::format("    {}: source '{}', destination '{}'\n", resultText(column["column"]),
                             resultText(column["source"]), resultText(column["destination"]));
    return lines;
}

std::string resolved(const ordered_json& result)
{
    std::string lines;
    for (const ordered_json& entry : result["resolved"])
        lines += fmt::format("{} {}: {}\n", resultText(entry["unid"]), resultText(entry["key_info"]),
                             !resultText(entry["refused"]).empty() ? "refused, " + resultText(entry["refused"])
                             : entry["settled"].get<bool>()        ? std::string("settled")
                                                                   : std::string("stays"));
    return lines.empty() ? "no conflicts\n" : lines;
}

std::string reviewed(const ordered_json& result)
{
    return result["resolved"].empty() ? "" : resolved(result);
}

std::string waiting(const ordered_json& result)
{
    const ordered_json& conflicts = result["conflicts"];
    return conflicts.empty() ? "no conflicts\n" : grid(conflicts, {"unid", "table_name", "conflict", "key_info"});
}

} // namespace

std::string humanText(const std::string& command, const ordered_json& result)
{
    static const std::map<std::string, std::string (*)(const ordered_json&)> kTexts = {
        {"check", checks}, {"preview", preview}, {"verify", verification}, {"run", run},         {"status", status},
        {"list", waiting}, {"show", conflict},   {"resolve", resolved},    {"review", reviewed},
    };
    return kTexts.at(command)(result);
}
