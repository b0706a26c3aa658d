#include "Failure.h"
#include "commands.h"
#include "explain_text.h"
#include "result_text.h"

#include <algorithm>
#include <fmt/format.h>
#include <functional>
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

/// A value in a table: a dash for what is not known.
std::string cellText(const ordered_json& value)
{
    return value.is_null() ? "-" : resultText(value);
}

/// The name of a value as people say it.
std::string heading(const std::string& name)
{
    static const std::map<std::string, std::string> kWords = {{"table_name", "table"},
                                                              {"unid", "id"},
                                                              {"key_info", "row"},
                                                              {"count_name", "counter"},
                                                              {"count_value", "value"}};
    const auto word = kWords.find(name);
    return word != kWords.end() ? word->second : std::regex_replace(name, std::regex("_"), " ");
}

/// Rows as a table with a heading: texts to the left, numbers to the right.
std::string grid(const ordered_json& rows, const std::vector<const char*>& columns)
{
    std::vector<size_t> widths;
    for (const char* column : columns) {
        size_t widest = width(heading(column));
        for (const ordered_json& row : rows)
            widest = std::max(widest, width(cellText(row[column])));
        widths.push_back(widest);
    }
    std::string lines;
    const auto add = [&](const auto& cell, const auto& rightAligned) {
        std::string line;
        for (size_t index = 0; index < columns.size(); ++index)
            line += "  " + padded(cell(columns[index]), widths[index], rightAligned(columns[index]));
        lines += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    };
    const auto isNumber = [&](const char* column) {
        return std::ranges::any_of(rows, [&](const ordered_json& row) { return row[column].is_number(); });
    };
    add(heading, isNumber);
    for (const ordered_json& row : rows)
        add([&](const char* column) { return cellText(row[column]); }, isNumber);
    return lines;
}

std::string firstLine(const ordered_json& text)
{
    const std::string lines = resultText(text);
    return lines.substr(0, lines.find_first_of("\r\n"));
}

constexpr char kCut[] = " ...";

/// The begin of a text, as much of it as a table can show.
std::string shortened(const std::string& text)
{
    constexpr size_t kWidest = 60;
    size_t end = 0;
    for (size_t shown = 0; end < text.size(); ++end)
        if ((text[end] & 0xC0) != 0x80 && ++shown > kWidest)
            break;
    return end == text.size() ? text : text.substr(0, end) + kCut;
}

/// The further lines below the first.
std::string indented(const std::string& lines)
{
    return std::regex_replace(lines, std::regex("\r?\n"), "\n     ");
}

std::string written(const ordered_json& result)
{
    const std::string file = resultText(result["file"]);
    const std::string check =
        file == "quinrep.toml" ? "`quinrep check`" : fmt::format("`quinrep -c \"{}\" check`", file);
    if (result["tables"].empty())
        return fmt::format("{} written; fill in the databases and tables, then try {}\n", file, check);
    return grid(result["tables"], {"table", "method", "reason"}) +
           (result["left_out"].empty() ? "" : "Not listed:\n" + grid(result["left_out"], {"table", "reason"})) +
           fmt::format("{} written with {} tables. Read it, then try {}.\n", file, result["tables"].size(), check);
}

std::string checks(const ordered_json& result)
{
    std::string lines;
    for (const ordered_json& check : result["checks"]) {
        lines += fmt::format("{} {}\n",
                             !check["ok"].get<bool>()       ? "BAD "
                             : check["warning"].get<bool>() ? "WARN"
                                                            : "ok  ",
                             resultText(check["check"]));
        for (const char* detail : {"finding", "todo"})
            if (!resultText(check[detail]).empty())
                lines += "     " + indented(resultText(check[detail])) + "\n";
    }
    return lines;
}

std::string scheduled(const ordered_json& result)
{
    return fmt::format("In a command prompt (cmd) with the rights of an administrator:\n\n    {}\n\n{}",
                       resultText(result["schtasks"]),
                       resultText(result["schtasks"]).find(" /RP *") == std::string::npos
                           ? ""
                           : fmt::format("It asks for the password of {}. ", resultText(result["account"]))) +
           "Look before at:\n" + checks(result);
}

/// A row by its key and, where it has one, its description.
std::string rowText(const ordered_json& key, const ordered_json& description)
{
    const std::string text = resultText(description);
    return text.empty() ? resultText(key) : resultText(key) + "  " + text;
}

/// Why a run does not begin, with the rows.
std::string stopped(const ordered_json& stops)
{
    std::string lines;
    for (const ordered_json& stop : stops) {
        lines += fmt::format("{}: {}\n", stopHeading(stop), indented(resultText(stop["text"])));
        const ordered_json& rows = stop["rows"];
        for (size_t index = 0; index < std::min(rows.size(), kShownRows); ++index)
            lines += "    " + rowText(rows[index]["key"], rows[index]["key_info"]) + "\n";
        if (const std::string unshown = unshownRows(rows); !unshown.empty())
            lines += "    " + unshown + "\n";
    }
    return lines;
}

std::string changes(const ordered_json& result)
{
    return grid(result["tables"], {"table", "method", "destination_rows", "updates", "adds", "deletes",
                                   "source_updates", "source_adds", "conflicts"});
}

/// The rows that the destination loses.
std::string deletedRows(const char* heading, const ordered_json& rows)
{
    std::string lines = rows.empty() ? "" : fmt::format("{}:\n", heading);
    for (size_t index = 0; index < std::min(rows.size(), kShownRows); ++index)
        lines += fmt::format("    {} {}\n", resultText(rows[index]["table"]),
                             rowText(rows[index]["key"], rows[index]["key_info"]));
    const std::string unshown = unshownRows(rows);
    return unshown.empty() ? lines : lines + "    " + unshown + "\n";
}

std::string preview(const ordered_json& result)
{
    return changes(result) + deletedRows("The destination would lose", result["deleted_rows"]) +
           (result["stops"].empty() ? "" : "A run would stop:\n" + stopped(result["stops"]));
}

std::string quoted(const ordered_json& value)
{
    return fmt::format("'{}'", resultText(value));
}

/// A column's value that a side has.
std::string shownValue(const ordered_json& value)
{
    return value.is_null() ? "Null" : quoted(value);
}

std::string verification(const ordered_json& result)
{
    std::string lines = grid(result["tables"], {"table", "source_rows", "destination_rows", "differing"});
    for (const ordered_json& table : result["tables"]) {
        for (const ordered_json& row : table["rows"]) {
            lines +=
                fmt::format("{} {}: {}\n", resultText(table["table"]), resultText(row["key"]), resultText(row["what"]));
            for (const ordered_json& column : row.value("columns", ordered_json::array()))
                lines += fmt::format("    {}: source {}, destination {}\n", resultText(column["column"]),
                                     shownValue(column["source"]), shownValue(column["destination"]));
        }
        const size_t unlisted = table["differing"].get<size_t>() - table["rows"].size();
        if (unlisted > 0)
            lines += fmt::format("{}: {} more (--all lists them)\n", resultText(table["table"]), unlisted);
    }
    return lines;
}

/// An error that was cleared before the run, and what belongs to it.
std::string cleared(const ordered_json& error)
{
    const std::string time = resultText(error["recorded_at"]);
    std::string lines = fmt::format("Cleared: {} (recorded {})\n", resultText(error["text"]),
                                    time.empty() ? "at a time that is not known" : time);
    for (const ordered_json& conflict : error["conflicts"])
        lines += fmt::format("    {} {}: {}\n", resultText(conflict["table_name"]), resultText(conflict["conflict"]),
                             rowText(conflict["key"], conflict["key_info"]));
    return lines;
}

std::string waitingAfterRun(const ordered_json& result)
{
    const ordered_json& waiting = result["conflicts_waiting"];
    if (waiting.is_null())
        return "How many conflicts wait is not known.\n";
    return waiting == 0
               ? ""
               : fmt::format("Conflicts that wait: {}, new: {}. Look at them with `quinrep review` or `quinrep "
                             "conflicts list`.\n",
                             waiting.get<long>(), result["conflicts_new"].get<long>());
}

std::string failure(const ordered_json& result)
{
    const std::string notDone = tablesNotDone(result["tables"]);
    return (notDone.empty() ? "" : "Not done: " + notDone + "\n") + "FAILED: " + errorText(result["error"]) + "\n" +
           (resultText(result["recorded"]).empty() ? "The control record could not be told.\n" : "");
}

/// A value of a result that may not be there.
std::string textOf(const ordered_json& result, const char* name)
{
    return resultText(result.value(name, ordered_json()));
}

/// `heading` stands before the tables.
std::string runText(const ordered_json& result, const std::string& heading)
{
    if (result.contains("stops"))
        return "Nothing was written. The run stopped before it began:\n" + stopped(result["stops"]);
    if (!result.contains("tables"))
        return "FAILED: " + errorText(result["error"]) + "\n";
    std::string lines = result.contains("cleared") ? cleared(result["cleared"]) : "";
    if (!result["passed"].empty())
        lines += "Gone on in spite of:\n" + stopped(result["passed"]);
    lines += heading + grid(result["tables"], {"table", "method", "adds", "updates", "deletes", "source_adds",
                                               "source_updates", "conflicts", "errors"});
    lines += deletedRows("To be deleted at the destination, by the look before the run", result["deleted_rows"]);
    if (result.contains("error"))
        lines += failure(result);
    else if (!resultText(result["recorded"]).empty())
        lines += "Recorded: " + resultText(result["recorded"]) + "\n";
    lines += waitingAfterRun(result);
    if (result.value("holds_next_run", false))
        lines += "No run begins until somebody has looked, and runs with `quinrep run --ready --reset-error`.\n";
    return lines;
}

std::string run(const ordered_json& result)
{
    return runText(result, fmt::format("Interval: {} to {}\n", textOf(result, "from"), textOf(result, "to")));
}

std::string copied(const ordered_json& result)
{
    if (result.contains("stops"))
        return (result.contains("todo") ? resultText(result["todo"]) + "\n" : "") +
               "Nothing was written. The copy stopped before it began:\n" + stopped(result["stops"]);
    return runText(result, result.contains("error")
                               ? std::string()
                               : fmt::format("Copied as of {}. The next run takes what has changed since.\n",
                                             textOf(result, "to")));
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

/// A counter of both sides together; null when that of one is not known.
ordered_json onBothSides(const ordered_json& run, const std::string& counter)
{
    const ordered_json& destination = run[counter];
    const ordered_json& source = run["source_" + counter];
    if (destination.is_null() || source.is_null())
        return nullptr;
    return destination.get<long long>() + source.get<long long>();
}

/// A run of the history as a row for a person, by this machine's clock.
ordered_json historyRow(const ordered_json& run)
{
    const ordered_json& took = run["took_ms"];
    return {{"began", localTime(run["began"])},
            {"took", took.is_null() ? ordered_json()
                                    : ordered_json(durationText(std::chrono::milliseconds(took.get<long long>())))},
            {"outcome", run["outcome"]},
            {"added", onBothSides(run, "adds")},
            {"changed", onBothSides(run, "updates")},
            {"deleted", onBothSides(run, "deletes")},
            {"new conflicts", run["conflicts_new"]},
            {"waiting", run["conflicts_waiting"]},
            {"error", shortened(firstLine(run["error"]))}};
}

std::string runs(const ordered_json& result)
{
    ordered_json rows = ordered_json::array();
    for (const ordered_json& run : result["runs"])
        rows.push_back(historyRow(run));
    if (rows.empty())
        return "no runs\n";
    const bool cut =
        std::ranges::any_of(rows, [](const ordered_json& row) { return resultText(row["error"]).ends_with(kCut); });
    return grid(rows,
                {"began", "took", "outcome", "added", "changed", "deleted", "new conflicts", "waiting", "error"}) +
           (cut ? "`quinrep history --json` has the errors in full.\n" : "");
}

/// The tables of which a run counted something, and those counters.
std::string countedTables(const ordered_json& tables)
{
    std::vector<const char*> columns = {"table"};
    for (const char* counter : {"adds", "updates", "deletes", "conflicts", "errors"})
        if (std::ranges::any_of(tables, [&](const ordered_json& table) { return table[counter] != 0; }))
            columns.push_back(counter);
    if (columns.size() == 1)
        return "Counters of the last run: all are 0\n";
    ordered_json rows = ordered_json::array();
    for (ordered_json row : tables) {
        bool counted = false;
        for (const char* column : columns) {
            counted = counted || (row[column].is_number() && row[column] != 0);
            if (row[column] == 0)
                row[column] = "";
        }
        if (counted)
            rows.push_back(std::move(row));
    }
    return list("Counters of the last run", rows, columns);
}

std::string lastRun(const ordered_json& run)
{
    if (run.is_null())
        return "Last run: none that the history knows\n";
    const ordered_json row = historyRow(run);
    std::string text = fmt::format("Last run: {}, {}", resultText(row["began"]), resultText(row["outcome"]));
    if (!row["took"].is_null())
        text += fmt::format(" after {}", resultText(row["took"]));
    if (!row["added"].is_null() && !row["changed"].is_null() && !row["deleted"].is_null())
        text += fmt::format("; added {}, changed {}, deleted {}", resultText(row["added"]), resultText(row["changed"]),
                            resultText(row["deleted"]));
    return text + "\n";
}

std::string status(const ordered_json& result)
{
    std::string lines = result["findings"].empty() ? "All is in order.\n" : "";
    for (const ordered_json& finding : result["findings"])
        lines += "! " + indented(resultText(finding["text"])) + "\n";
    if (!result["conflicts"].empty())
        lines += list("Conflicts waiting", result["conflicts"], {"table_name", "waiting"});
    const ordered_json& control = result["control"];
    const std::string error = firstLine(control["error_message"]);
    lines += lastRun(result["last_run"]);
    lines += fmt::format("In error: {}\nReady for a run: {}\nLast run's interval ended: {}\nNext attempt: {}\n",
                         answer(control["error_f"]) + (error.empty() ? "" : ", " + error), answer(control["ready_f"]),
                         resultText(control["last_timestamp"]), resultText(control["next_timestamp"]));
    lines += countedTables(result["tables"]);
    lines += result["discrepancies"].empty() ? "" : "Last discrepancies in the log:\n";
    for (const ordered_json& line : result["discrepancies"])
        lines += "  " + resultText(line) + "\n";
    return lines;
}

/// One side's value of a conflict's column.
std::string sideValue(const ordered_json& value)
{
    return value.is_null() ? "no row" : quoted(value);
}

std::string todaysValue(const ordered_json& value, const ordered_json& hasRow)
{
    return hasRow == false ? "no row" : shownValue(value);
}

std::string changedAt(const std::string& side, const ordered_json& date, bool lacksRow)
{
    return fmt::format("    changed at {} when it was found: {}\n", side,
                       lacksRow         ? "it has no such row"
                       : date.is_null() ? "not known"
                                        : resultText(date));
}

bool lacks(const ordered_json& conflict, const char* side)
{
    return !conflict["columns"].empty() && conflict["columns"].front()[side].is_null();
}

std::string sidesLine(const ordered_json& column, const SideNames& names, const std::string& source,
                      const std::string& destination)
{
    return fmt::format("    {}: {} {}, {} {}\n", resultText(column["column"]), names.source, source, names.destination,
                       destination);
}

std::string conflict(const ordered_json& result, const SideNames& names)
{
    const ordered_json& conflict = result["conflict"];
    std::string lines =
        fmt::format("{} {}, {}: {}\n    {}; found {} by the run of {}\n", resultText(conflict["unid"]),
                    resultText(conflict["table_name"]), resultText(conflict["conflict"]),
                    resultText(conflict["key_info"]), resultText(conflict["state"]),
                    conflict["found"] == 1 ? "once," : fmt::format("{} times, last", resultText(conflict["found"])),
                    cellText(conflict["last_found"]));
    lines += changedAt(names.source, conflict["source_mod_date"], lacks(conflict, "source")) +
             changedAt(names.destination, conflict["destination_mod_date"], lacks(conflict, "destination"));
    for (const ordered_json& column : conflict["columns"])
        lines += sidesLine(column, names, sideValue(column["source"]), sideValue(column["destination"]));
    if (conflict["changed_since"] == true)
        lines += "    The row is no longer as it was found. Today:\n";
    for (const ordered_json& column : conflict["today"])
        if (conflict["changed_since"] == true)
            lines += sidesLine(column, names, todaysValue(column["source"], conflict["source_has_it"]),
                               todaysValue(column["destination"], conflict["destination_has_it"]));
    for (const ordered_json& choice : conflict["choices"])
        lines += fmt::format("  --use {}: {}\n", resultText(choice["use"]), resultText(choice["explanation"]));
    return lines + "  dismiss: takes the conflict off the list and changes no row. " +
           resultText(conflict["next_run"]) + "\n";
}

/// The effects of a decision in numbers.
std::string counts(const ordered_json& counts)
{
    std::string text;
    for (const auto& [name, count] : counts.items())
        if (count != 0)
            text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count.get<long>(), name);
    return text;
}

std::string planned(const ordered_json& result)
{
    std::string lines;
    for (const ordered_json& row : result["planned"])
        lines += fmt::format("{} {} {}: {}\n", resultText(row["unid"]), resultText(row["table_name"]),
                             rowText(row["key"], row["key_info"]), resultText(row["would"]));
    return lines.empty() ? "no conflicts, or none that fits the filters\n"
                         : fmt::format("{}Nothing was done. It would be: {}\n", lines, counts(result["counts"]));
}

std::string outcomeText(const ordered_json& entry)
{
    if (!resultText(entry["refused"]).empty())
        return "stays, " + resultText(entry["refused"]);
    if (!entry["settled"].get<bool>())
        return "stays";
    return entry["choice"] == "dismissed" ? "dismissed" : "settled";
}

std::string resolved(const ordered_json& result)
{
    if (result.contains("planned"))
        return planned(result);
    std::string lines;
    for (const ordered_json& entry : result["resolved"])
        lines += fmt::format("{} {} {}: {}\n", resultText(entry["unid"]), resultText(entry["table_name"]),
                             rowText(entry["key"], entry["key_info"]), outcomeText(entry));
    return lines.empty() ? "no conflicts, or none that fits the filters\n" : lines;
}

std::string reviewed(const ordered_json& result)
{
    return result["resolved"].empty() ? "" : resolved(result);
}

std::string waiting(const ordered_json& result)
{
    const ordered_json& conflicts = result["conflicts"];
    return conflicts.empty()
               ? "no conflicts, or none that fits the filters\n"
               : grid(conflicts, {"unid", "table_name", "conflict", "key_info", "found", "last_found", "state"});
}

/// A choice of the decision log: the copy that was taken is named by its side.
std::string choiceText(const std::string& choice, const SideNames& names)
{
    return choice == "source"        ? names.source + "'s row"
           : choice == "destination" ? names.destination + "'s row"
                                     : choice;
}

std::string decisions(const ordered_json& result, const SideNames& names)
{
    std::string lines;
    for (const ordered_json& decision : result["decisions"]) {
        const std::string reason = resultText(decision["reason"]);
        lines += fmt::format("{} {} {} {}: {}{}, {}\n", resultText(decision["time"]), resultText(decision["user"]),
                             resultText(decision["table"]), rowText(decision["key"], decision["key_info"]),
                             choiceText(resultText(decision["choice"]), names),
                             reason.empty() ? reason : fmt::format(" ({})", reason), resultText(decision["outcome"]));
        for (const auto& [column, value] : decision["lost_row"].items())
            lines += fmt::format("    {}: {}\n", column, shownValue(value));
    }
    return lines.empty() ? "no decisions\n" : lines;
}

/// The texts about conflicts, wherever they stand in a result, with the names of the sides.
ordered_json named(ordered_json result, const SideNames& names)
{
    if (result.is_object() && result.contains("conflict_type"))
        result["conflict"] = kindName(result["conflict_type"].get<long>(), names);
    for (auto& [name, value] : result.items())
        if (value.is_structured() && name != "lost_row") // whose names are those of columns
            value = named(std::move(value), names);
        else if (value.is_string() &&
                 (name == "next_run" || name == "explanation" || name == "would" || name == "refused"))
            value = names.in(value);
    return result;
}

} // namespace

std::string humanText(const std::string& command, const ordered_json& result, const SideNames& names)
{
    using Text = std::function<std::string(const ordered_json&)>;
    const Text show = [&](const ordered_json& shown) { return conflict(shown, names); };
    const Text log = [&](const ordered_json& logged) { return decisions(logged, names); };
    const std::map<std::string, Text> texts = {
        {"check", checks}, {"preview", preview},    {"verify", verification},
        {"run", run},      {"status", status},      {"list", waiting},
        {"show", show},    {"resolve", resolved},   {"dismiss", resolved},
        {"log", log},      {"review", reviewed},    {"copy", copied},
        {"init", written}, {"schedule", scheduled}, {"explain", explainText},
        {"history", runs},
    };
    return texts.at(command)(named(result, names));
}
