#include "commands/report.h"

#include "html_page.h"
#include "random.h"
#include "result_text.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>

using nlohmann::ordered_json;

namespace {

struct ReportColumn
{
    const char* name;
    const char* heading;
    bool alarming; // when it is not 0
};

constexpr ReportColumn kRunColumns[] = {{"table", "Table", false},
                                        {"method", "Method", false},
                                        {"adds", "Added", false},
                                        {"updates", "Updated", false},
                                        {"deletes", "Deleted", false},
                                        {"source_adds", "Added at the source", false},
                                        {"source_updates", "Updated at the source", false},
                                        {"conflicts", "Conflicts", true},
                                        {"errors", "Errors", true}};
std::string textOf(const ordered_json& object, const char* name)
{
    return resultText(object.value(name, ordered_json()));
}

bool isNumber(const ordered_json& row, const char* name)
{
    return row.contains(name) && row[name].is_number();
}

std::string cell(const ordered_json& row, const ReportColumn& column)
{
    const bool number = isNumber(row, column.name);
    const char* kind = !number ? "" : column.alarming && row[column.name] != 0 ? "number alarm" : "number";
    return fmt::format("<td class=\"{}\">{}</td>", kind,
                       escapeHtml(row.value(column.name, ordered_json()).is_null() ? "-" : textOf(row, column.name)));
}

template <size_t Count>
std::string grid(const ordered_json& rows, const ReportColumn (&columns)[Count])
{
    std::string html = "<div class=\"card wide\"><table><thead><tr>";
    for (const ReportColumn& column : columns)
        html += fmt::format("<th scope=\"col\"{}>{}</th>",
                            !rows.empty() && isNumber(rows.front(), column.name) ? " class=\"number\"" : "",
                            column.heading);
    html += "</tr></thead>\n<tbody>\n";
    for (const ordered_json& row : rows) {
        html += "<tr>";
        for (const ReportColumn& column : columns)
            html += cell(row, column);
        html += "</tr>\n";
    }
    return html + "</tbody></table></div>\n";
}

long long total(const ordered_json& tables, const char* counter)
{
    long long sum = 0;
    for (const ordered_json& table : tables)
        sum += table[counter].get<long long>();
    return sum;
}

std::string message(const char* kind, const std::string& text)
{
    return fmt::format("<p class=\"card {}\">{}</p>\n", kind, escapeHtml(text));
}

/// Reasons for which a run did not begin, or went on in spite of, with their rows.
std::string stops(const ordered_json& stops)
{
    std::string html;
    for (const ordered_json& stop : stops) {
        html += fmt::format("<section class=\"card\"><h2>{}</h2><p>{}</p><ul>\n", escapeHtml(textOf(stop, "table")),
                            escapeHtml(textOf(stop, "text")));
        const ordered_json& rows = stop["rows"];
        for (size_t index = 0; index < std::min(rows.size(), kShownRows); ++index)
            html += fmt::format("<li>{} <span class=\"soft\">{}</span></li>\n",
                                escapeHtml(textOf(rows[index], "key_info")), escapeHtml(textOf(rows[index], "key")));
        const std::string unshown = unshownRows(rows);
        html += (unshown.empty() ? "" : "<li>" + escapeHtml(unshown) + "</li>\n") + "</ul></section>\n";
    }
    return html;
}

/// How the run ended, most important first.
std::string messages(const ordered_json& result, const ordered_json& tables)
{
    std::string html;
    if (result.contains("error"))
        html += message("trouble", "The run failed: " + errorText(result["error"]));
    if (const std::string names = tablesNotDone(tables); !names.empty())
        html += message("trouble", "Not done: " + names);
    if (const std::string recorded = textOf(result, "recorded"); !recorded.empty())
        html += message("trouble", "Recorded: " + recorded);
    const long long conflicts = total(tables, "conflicts");
    const long long errors = total(tables, "errors");
    if (conflicts > 0 || errors > 0)
        html += message("trouble", fmt::format("Conflicts: {}, errors: {}.", conflicts, errors));
    if (const ordered_json waiting = result.value("conflicts_waiting", ordered_json(0)); waiting != 0)
        html += message("trouble", fmt::format("Conflicts that wait: {}, new: {}. Look at them with quinrep review.",
                                               waiting.is_null() ? "not known" : textOf(result, "conflicts_waiting"),
                                               waiting.is_null() ? "not known" : textOf(result, "conflicts_new")));
    if (result.contains("passed") && !result["passed"].empty())
        html += message("trouble", "The run was made to go on in spite of these findings:") + stops(result["passed"]);
    return html.empty() ? message("notice", "Everything was done, without conflicts or errors.") : html;
}

std::string stoppedBody(const ordered_json& result)
{
    return "<main>" + message("trouble", "Nothing was written: the run stopped before it began.") +
           stops(result["stops"]) + "</main>\n";
}

std::string runBody(const ordered_json& result)
{
    if (!result.contains("tables"))
        return "<main>" + messages(result, ordered_json::array()) + "</main>\n";
    const ordered_json& tables = result["tables"];
    return fmt::format("<main><dl><div><dt>Changes from</dt><dd>{}</dd></div><div><dt>to</dt><dd>{}</dd></div></dl>\n",
                       escapeHtml(textOf(result, "from")), escapeHtml(textOf(result, "to"))) +
           messages(result, tables) + grid(tables, kRunColumns) + "</main>\n";
}

} // namespace

std::string reportPage(const ordered_json& result, const ordered_json&, const Configuration*)
{
    const std::string heading = "<header><h1>Replication run</h1></header>\n";
    return htmlPage("Replication run", randomHex(16),
                    heading + (result.contains("stops") ? stoppedBody(result) : runBody(result)));
}

bool writeReport(const std::string& path, const ordered_json& result, const Configuration* configuration)
{
    std::ofstream file(std::filesystem::path(std::u8string(path.begin(), path.end())), std::ios::binary);
    return static_cast<bool>((file << reportPage(result, ordered_json::array(), configuration)).flush());
}
