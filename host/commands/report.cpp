#include "commands/report.h"

#include "History.h"
#include "HostError.h"
#include "SideNames.h"
#include "commands/report_chart.h"
#include "files.h"
#include "html_page.h"
#include "html_table.h"
#include "random.h"
#include "result_text.h"
#include "text.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <iostream>
#include <vector>

using nlohmann::ordered_json;

namespace {

std::string textOf(const ordered_json& object, const char* name)
{
    return resultText(object.value(name, ordered_json()));
}

std::string rowsWait(long long count)
{
    return counted(count, "row waits for a decision", "rows wait for a decision");
}

std::string folded(const std::string& summary, const std::string& content)
{
    return fmt::format("<details class=\"card\"><summary>{}</summary>\n{}</details>\n", escapeHtml(summary), content);
}

/// Rows by their descriptions and, in small, their keys and perhaps their tables.
std::string rowList(const ordered_json& rows)
{
    std::string html = "<ul>\n";
    for (size_t index = 0; index < std::min(rows.size(), kShownRows); ++index) {
        std::string small = textOf(rows[index], "table");
        small += (small.empty() ? "" : " ") + textOf(rows[index], "key");
        html += fmt::format("<li>{} <span class=\"soft\">{}</span></li>\n", escapeHtml(textOf(rows[index], "key_info")),
                            escapeHtml(small));
    }
    const std::string unshown = unshownRows(rows);
    return html + (unshown.empty() ? "" : "<li>" + escapeHtml(unshown) + "</li>\n") + "</ul>\n";
}

/// Reasons for which a run did not begin, or went on in spite of, with their rows.
std::string stops(const ordered_json& stops, const SideNames& names)
{
    std::string html;
    for (const ordered_json& stop : stops) {
        const std::string heading = stopHeading(stop);
        html +=
            fmt::format("<section class=\"card\"><h2>{}</h2><p>{}</p>{}</section>\n",
                        escapeHtml(textOf(stop, "table").empty() ? capitalized(heading) : heading),
                        escapeHtml(names.in(textOf(stop, "text"))), stop["rows"].empty() ? "" : rowList(stop["rows"]));
    }
    return html;
}

/// The error of a run: the advice first, and the words of component and server in small. Advice that stands for none is
/// for who reads those words.
std::vector<std::string> errorParagraphs(const ordered_json& error)
{
    ordered_json told = error;
    const std::string todo = textOf(error, "todo");
    const bool advised = !todo.empty() && todo != kLookIntoLog;
    if (advised)
        told["todo"] = "";
    return {advised ? escapeHtml(todo) : "The reason, for the person who looks after the databases:",
            fmt::format("<small>{}</small>", escapeHtml(errorText(told)))};
}

/// The columns of a table's counters on one side.
struct SideColumns
{
    std::string side;
    std::array<const char*, 3> counters;
};

constexpr std::array<const char*, 3> kCounterWords = {"added", "changed", "deleted"};

bool isZero(const ordered_json& value)
{
    return value == 0;
}

bool isTrouble(const char* counter)
{
    return counter == std::string("conflicts") || counter == std::string("errors");
}

/// The page of one run. It has something to tell first: how the run ended, and what waits.
class Report
{
public:
    Report(const ordered_json& result, const ordered_json& runs, const Configuration* configuration)
        : result_(result),
          tables_(result.contains("stops") ? ordered_json::array() : result.value("tables", ordered_json::array())),
          runs_(runs)
    {
        if (!configuration)
            return;
        names_ = SideNames(*configuration);
        sides_ = {{names_.destination, {"adds", "updates", "deletes"}},
                  {names_.source, {"source_adds", "source_updates", "source_deletes"}}};
    }

    std::string page() const
    {
        return htmlPage(title(), randomHex(16),
                        fmt::format("<header class=\"verdict {}\"><h1>{}</h1>{}</header>\n<main class=\"report\">\n{}"
                                    "{}{}{}{}{}</main>\n",
                                    isGood() ? "good" : "bad", escapeHtml(title()), facts(), ending(), waiting(),
                                    done(), details(), runsChart(runs_), passed()));
    }

private:
    /// Nothing where it is not known.
    std::optional<long long> waitingCount() const
    {
        const ordered_json waiting = result_.value("conflicts_waiting", ordered_json());
        return waiting.is_number() ? std::optional(waiting.get<long long>()) : std::nullopt;
    }

    bool hasFailed() const { return result_.contains("error"); }
    bool hasStopped() const { return result_.contains("stops"); }
    bool hasBegun() const { return result_.contains("from"); }
    bool isGood() const
    {
        return hasBegun() && !hasFailed() && textOf(result_, "recorded").empty() && waitingCount() == 0;
    }

    std::string title() const
    {
        if (!hasBegun())
            return "The run did not begin";
        if (hasFailed())
            return "The run failed";
        if (!waitingCount())
            return "The run went through; it is not known whether rows wait";
        return waitingCount() == 0 ? "The run went through" : "The run went through; " + rowsWait(*waitingCount());
    }

    /// Which run it is.
    std::string facts() const
    {
        if (!result_.contains("about"))
            return {};
        const ordered_json& about = result_["about"];
        std::string html = "<dl>";
        const auto add = [&](const std::string& name, const std::string& value) {
            html += fmt::format("<div><dt>{}</dt><dd>{}</dd></div>", escapeHtml(capitalized(name)), escapeHtml(value));
        };
        add("began", localTime(about["began"]).substr(0, 16));
        add("took", durationText(std::chrono::milliseconds(about["took_ms"].get<long long>())));
        add("computer", textOf(about, "machine"));
        for (const auto& [name, side] : {std::pair("destination", 0), std::pair("source", 1)})
            add("database of " + sides_[static_cast<size_t>(side)].side, textOf(about, name));
        if (hasBegun())
            add("changes since", textOf(result_, "from"));
        return html + "</dl>";
    }

    std::string ending() const
    {
        if (hasFailed()) {
            std::vector<std::string> paragraphs = errorParagraphs(result_["error"]);
            if (const std::string names = tablesNotDone(tables_); !names.empty())
                paragraphs.push_back("Not done: " + escapeHtml(names));
            if (hasBegun())
                paragraphs.emplace_back("What was copied before stays copied; a later run does the rest.");
            return card("trouble", paragraphs);
        }
        if (hasStopped())
            return (result_.contains("todo") ? card("trouble", {escapeHtml(names_.in(textOf(result_, "todo")))}) : "") +
                   card("trouble", {"Nothing was written: the run stopped before it began."}) +
                   stops(result_["stops"], names_);
        return isGood() ? card("notice", {"Everything was done, and nothing waits for a decision."}) : "";
    }

    /// What a person has to decide.
    std::string waiting() const
    {
        if (!hasBegun())
            return {};
        std::vector<std::string> paragraphs;
        if (!waitingCount())
            paragraphs.emplace_back("It is not known how many rows wait for a decision.");
        else if (*waitingCount() > 0)
            paragraphs.push_back(
                fmt::format("{}; new: {}. A row that waits is left as it is on both sides until somebody decides, with "
                            "<code>quinrep review</code>.",
                            rowsWait(*waitingCount()), textOf(result_, "conflicts_new")));
        if (result_.value("holds_next_run", false))
            paragraphs.emplace_back("No run begins until somebody has looked, and runs with <code>quinrep run --ready "
                                    "--reset-error</code>.");
        if (const std::string recorded = textOf(result_, "recorded"); !recorded.empty() && !hasFailed())
            paragraphs.push_back(fmt::format("<small>Recorded: {}</small>", escapeHtml(recorded)));
        return paragraphs.empty() ? "" : card("trouble", paragraphs);
    }

    /// The sum of a counter; nothing where it is not known for a table.
    std::optional<long long> total(const char* counter) const
    {
        long long sum = 0;
        for (const ordered_json& table : tables_) {
            if (!table[counter].is_number())
                return std::nullopt;
            sum += table[counter].get<long long>();
        }
        return sum;
    }

    bool isUsed(const char* counter) const
    {
        return std::ranges::any_of(tables_, [&](const ordered_json& table) { return !isZero(table[counter]); });
    }

    bool isUsed(const SideColumns& side) const
    {
        return std::ranges::any_of(side.counters, [this](const char* counter) { return isUsed(counter); });
    }

    /// Whether a table has anything to tell.
    bool isTold(const ordered_json& table) const
    {
        const auto told = [&](const char* counter) { return !isZero(table[counter]); };
        return std::ranges::any_of(sides_,
                                   [&](const SideColumns& side) { return std::ranges::any_of(side.counters, told); }) ||
               told("conflicts") || told("errors");
    }

    /// What the run did, by side and by table.
    std::string done() const
    {
        if (!hasBegun())
            return {};
        std::string sums;
        for (const SideColumns& side : sides_) {
            if (!isUsed(side) && &side != &sides_.front())
                continue;
            sums += fmt::format("<div><dt>At {}</dt><dd>", escapeHtml(side.side));
            for (size_t index = 0; index < side.counters.size(); ++index) {
                const std::optional<long long> sum = total(side.counters[index]);
                sums += fmt::format("{}<b class=\"sum\">{}</b> {}", index == 0 ? "" : ", ",
                                    sum ? std::to_string(*sum) : "-", kCounterWords[index]);
            }
            sums += "</dd></div>";
        }
        return fmt::format("<section class=\"card did\"><h2>What the run did</h2><dl class=\"sums\">{}</dl>\n{}"
                           "</section>\n",
                           sums, changedTables());
    }

    /// Only with the columns that have something to tell.
    std::string changedTables() const
    {
        std::vector<std::pair<const char*, std::string>> columns;
        for (const SideColumns& side : sides_)
            for (size_t index = 0; index < side.counters.size(); ++index)
                columns.emplace_back(side.counters[index],
                                     capitalized(kCounterWords[index]) + std::string(" at ") + side.side);
        columns.emplace_back("conflicts", "Conflicts");
        columns.emplace_back("errors", "Errors");
        std::erase_if(columns, [this](const auto& column) { return !isUsed(column.first); });
        if (columns.empty())
            return {};
        std::string headings = columnHeading("Table");
        for (const auto& [counter, name] : columns)
            headings += columnHeading(name, kNumber);
        std::string rows;
        for (const ordered_json& table : tables_) {
            std::string cells = rowHeading(escapeHtml(textOf(table, "table")));
            for (const auto& [counter, name] : columns)
                cells += number(counter, name, table[counter]);
            rows += isTold(table) ? tableRow(cells) : "";
        }
        return wideTable(headings, rows);
    }

    static std::string number(const char* counter, const std::string& name, const ordered_json& value)
    {
        const std::string text = value.is_null() ? "-" : isZero(value) ? "" : resultText(value);
        return tableCell(name, text, isTrouble(counter) && !isZero(value) ? " class=\"number alarm\"" : kNumber);
    }

    /// What only some readers want to know.
    std::string details() const
    {
        std::string unchanged;
        long long count = 0;
        for (const ordered_json& table : tables_)
            if (hasBegun() && table.value("done", true) && !isTold(table)) {
                unchanged += (count == 0 ? "" : ", ") + textOf(table, "table");
                ++count;
            }
        std::string html = count == 0 ? ""
                                      : folded(counted(count, "table", "tables") + " without changes",
                                               "<p>" + escapeHtml(unchanged) + "</p>\n");
        if (const ordered_json rows = result_.value("deleted_rows", ordered_json::array());
            !rows.empty() && !hasStopped())
            html += folded(counted(static_cast<long long>(rows.size()), "row", "rows") + " to be deleted at " +
                               sides_.front().side + ", by the look before the run",
                           rowList(rows));
        if (result_.contains("cleared"))
            html += folded("An error of an earlier run was cleared first",
                           "<p>" + escapeHtml(textOf(result_["cleared"], "text")) + "</p>\n");
        return html;
    }

    std::string passed() const
    {
        const ordered_json passed = result_.value("passed", ordered_json::array());
        return passed.empty()
                   ? ""
                   : card("trouble", {"The run was made to go on in spite of these findings:"}) + stops(passed, names_);
    }

    const ordered_json& result_;
    const ordered_json tables_;
    const ordered_json& runs_;
    /// The destination's, then the source's; empty where no configuration was read.
    SideNames names_;
    std::vector<SideColumns> sides_;
};

} // namespace

std::string reportPage(const ordered_json& result, const ordered_json& runs, const Configuration* configuration)
{
    return Report(result, runs, configuration).page();
}

void requireReport(const std::string& path)
{
    requireReplaceable("the report", path, "Name a file in a folder that exists and may be written to.");
}

bool writeReport(const std::string& path, const ordered_json& result, const Configuration* configuration)
{
    ordered_json runs = ordered_json::array();
    try {
        if (configuration)
            runs = History::read(*configuration);
    }
    catch (const HostError&) {
        runs = ordered_json::array(); // the report says what it can without them
    }
    if (replaceFile(path, reportPage(result, runs, configuration)))
        return true;
    std::cerr << "quinrep: the report " << path << " cannot be written; a page that is there is of an earlier run"
              << std::endl;
    return false;
}
