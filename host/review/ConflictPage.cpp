#include "review/ConflictPage.h"
#include "conflicts/rows_today.h"
#include "conflicts/why.h"

#include "com/convert.h"
#include "html_page.h"
#include "review/Decision.h"
#include "review/html.h"
#include "text.h"

#include <algorithm>
#include <fmt/format.h>

using nlohmann::ordered_json;

namespace {

std::string option(const std::string& value, const std::string& text, const std::string& chosen)
{
    const bool isChosen = com::upperCase(toWide(value)) == com::upperCase(toWide(chosen));
    return fmt::format("<option value=\"{}\"{}>{}</option>", escapeHtml(value), isChosen ? " selected" : "",
                       escapeHtml(text));
}

std::string fact(const char* label, const std::string& text)
{
    return fmt::format("<div><dt>{}</dt><dd>{}</dd></div>", label, escapeHtml(text));
}

std::string shownDate(const std::optional<DATE>& date)
{
    return date ? toUtf8(com::dateText(*date)) : "none";
}

std::string foundOften(const ConflictedRow& row)
{
    return row.records.size() == 1 ? "once" : fmt::format("{} times", row.records.size());
}

std::string dates(const ConflictedRow& row)
{
    const ConflictRecord& latest = row.latest();
    std::string facts =
        fact("Changed at the source",
             row.sourceLackedIt() ? "the source has no such row" : shownDate(latest.sourceDate)) +
        fact("Changed at the destination",
             row.destinationLackedIt() ? "the destination has no such row" : shownDate(latest.destinationDate));
    if (row.records.size() == 1)
        return facts + fact("Found by the run of", shownDate(latest.found));
    return facts + fact("First found by the run of", shownDate(row.records.back().found)) +
           fact("Last found by the run of", shownDate(latest.found)) + fact("Found", foundOften(row));
}

/// The rule by which the next run treats the row as it is today.
std::string why(const ConflictedRow& row, const Configuration& configuration)
{
    const std::string text = whyText(row, SideNames(configuration));
    return text.empty() ? text
                        : fmt::format("<p class=\"soft\"><strong>In the next run:</strong> {}</p>\n", escapeHtml(text));
}

std::string columnTable(const ConflictedRow& row, const ordered_json& columns)
{
    if (columns.empty())
        return "<p>No differing columns were recorded.</p>\n";
    return "<table class=\"sides\"><thead><tr><th scope=\"col\">Column</th><th scope=\"col\">Source</th>"
           "<th scope=\"col\">Destination</th></tr></thead>\n<tbody>\n" +
           columnLines(columns, !row.sourceLackedIt(), !row.destinationLackedIt()) + "</tbody></table>\n";
}

const char* caption(enumResolution use)
{
    switch (use) {
    case USE_SOURCE:
        return "Use <u>s</u>ource";
    case USE_DESTINATION:
        return "Use <u>d</u>estination";
    default:
        return "<u>L</u>ater";
    }
}

std::string choiceButton(const Choice& choice)
{
    const std::string name = useName(choice.use);
    return fmt::format("<div><button name=\"use\" value=\"{0}\" accesskey=\"{1}\" aria-describedby=\"why-{0}\"{2}>{3}"
                       "</button><p class=\"soft\" id=\"why-{0}\">{4}</p></div>\n",
                       name, name.front(), choice.possible ? "" : " disabled", caption(choice.use),
                       escapeHtml(choice.explanation));
}

} // namespace

ConflictPage::ConflictPage(const Configuration& configuration, const std::string& root, const ConflictList& list,
                           const ReviewView& view)
    : configuration_(configuration),
      root_(root),
      list_(list),
      view_(view)
{
    for (size_t index = 0; index < list.rows.size(); ++index)
        if (std::ranges::find(list.rows[index].records, view.id, &ConflictRecord::id) != list.rows[index].records.end())
            selected_ = index;
}

std::string ConflictPage::html(const std::string& messages, const ordered_json& columns) const
{
    std::string body = heading() + "<main>\n" + messages + filterForm();
    if (list_.waiting == 0)
        body += "<p class=\"card\">No conflicts wait.</p>\n";
    else if (list_.rows.empty())
        body += "<p class=\"card\">No conflict fits the filter.</p>\n";
    else
        body += "<div class=\"columns\">\n" + listForm() + detail(columns) + "</div>\n";
    return body + "</main>\n";
}

std::string ConflictPage::heading() const
{
    return fmt::format("<header><h1>Conflicts {}</h1><p class=\"soft\">{} waiting in {}</p>"
                       "<form method=\"post\" action=\"{}quit\"><button>End the review</button></form></header>\n",
                       configuration_.site == LAPTOP ? "at the laptop" : "at the offices", list_.waiting,
                       escapeHtml(configuration_.local().dsn), root_);
}

std::string ConflictPage::filterForm() const
{
    const ConflictFilter& filter = view_.filter;
    std::map<std::string, size_t> tables = list_.tables;
    if (!filter.table.empty() && list_.rows.empty())
        tables.try_emplace(filter.table, 0);
    std::string tableOptions = option("", "All tables", filter.table);
    for (const auto& [table, count] : tables)
        tableOptions += option(table, fmt::format("{} ({})", table, count), filter.table);
    std::string kindOptions = option("", "All kinds", filter.kind);
    for (const std::string& word : kindWords())
        kindOptions += option(word, kindName(kindOfWord(word)), filter.kind);
    return fmt::format(
        "<form class=\"card filter\" method=\"get\" action=\"{0}\" role=\"search\">"
        "<label>Table<select name=\"table\">{1}</select></label><label>Kind<select name=\"kind\">{2}</select></label>"
        "<label>Description, table or kind contains<input type=\"search\" name=\"text\" value=\"{3}\"></label>"
        "<label>Last found before<input type=\"date\" name=\"before\" value=\"{4}\"></label>"
        "<button>Show</button><p class=\"soft\">{5} shown{6}</p></form>\n",
        root_, tableOptions, kindOptions, escapeHtml(filter.contains), escapeHtml(filter.before), list_.rows.size(),
        view_.isFiltered() ? fmt::format(" · <a href=\"{}\">Show all</a>", root_) : "");
}

std::string ConflictPage::listForm() const
{
    std::string items;
    std::string table;
    for (const ConflictedRow& row : list_.rows) {
        if (&row == &list_.rows.front() || row.table != table) {
            items += table.empty() ? "" : "</ul>\n";
            table = row.table;
            items += "<h3>" + escapeHtml(table) + "</h3>\n<ul>\n";
        }
        items += listItem(row);
    }
    return fmt::format("<form class=\"card\" method=\"post\" action=\"{}resolve\">{}\n"
                       "<nav aria-label=\"Conflicts by table\">\n{}</ul>\n</nav>\n{}</form>\n",
                       root_, showing(selected()->latest().id).hiddenFields(), items, forSeveral());
}

std::string ConflictPage::listItem(const ConflictedRow& row) const
{
    const std::string& id = row.latest().id;
    const std::string name = escapeHtml(rowName(row));
    const std::string state =
        row.state == RowState::Waits ? "" : fmt::format("<strong>{}</strong>", stateName(row.state));
    return fmt::format("<li><input type=\"checkbox\" name=\"id\" value=\"{}\" aria-label=\"Check {}\">"
                       "<a href=\"{}\"{}>{}<small>{}, found {}{}</small></a></li>\n",
                       escapeHtml(id), name, escapeHtml(root_ + showing(id).query()),
                       &row == selected() ? " aria-current=\"true\"" : "", name, kindName(row.latest().kind),
                       foundOften(row), state);
}

/// The choices of this form are confirmed before anything is done.
std::string ConflictPage::forSeveral() const
{
    constexpr char kUseButtons[] = "<button name=\"use\" value=\"source\">Use source…</button>"
                                   "<button name=\"use\" value=\"destination\">Use destination…</button>";
    return fmt::format("<fieldset><legend>For all checked rows</legend><label><input type=\"checkbox\" name=\"all\" "
                       "value=\"yes\">Apply to all {} shown</label>\n{}<button name=\"use\" value=\"dismiss\">Dismiss…"
                       "</button></fieldset>\n",
                       list_.rows.size(), configuration_.site == LAPTOP ? kUseButtons : "");
}

std::string ConflictPage::detail(const ordered_json& columns) const
{
    const ConflictedRow& row = *selected();
    return fmt::format("<section class=\"card\" aria-labelledby=\"selected\"><h2 id=\"selected\">{}</h2>"
                       "<p class=\"soft\">{} {}: {}{}</p>\n<dl>{}</dl>\n",
                       escapeHtml(rowName(row)), escapeHtml(row.table), escapeHtml(row.key),
                       kindName(row.latest().kind),
                       row.state == RowState::Waits ? "" : fmt::format(" · <strong>{}</strong>", stateName(row.state)),
                       dates(row)) +
           why(row, configuration_) + columnTable(row, shownColumns(row, columns)) +
           (row.state != RowState::Waits || isStillAsRecorded(row, columns)
                ? ""
                : "<p class=\"soft\">The row is not as it was found. What is there today is shown before it is "
                  "overwritten or deleted.</p>\n") +
           choices() + dismissal() + "</section>\n";
}

std::string ConflictPage::decisionForm(const std::string& controls) const
{
    const ConflictedRow& row = *selected();
    const size_t next = (selected_ + 1) % list_.rows.size();
    return fmt::format("<form method=\"post\" action=\"{}resolve\">{}{}{}{}\n{}</form>\n", root_,
                       showing(row.latest().id).hiddenFields(), hiddenField("id", row.latest().id),
                       hiddenField("next", list_.rows[next].latest().id), hiddenField("seen", fingerprint(row)),
                       controls);
}

std::string ConflictPage::choices() const
{
    std::string buttons;
    for (const enumResolution use : {USE_SOURCE, USE_DESTINATION, WORK_LATER})
        buttons += choiceButton(describeChoice(configuration_.site, use, *selected()));
    return decisionForm("<div class=\"choices\">" + buttons + "</div>");
}

std::string ConflictPage::dismissal() const
{
    return decisionForm(
        fmt::format("<fieldset><legend>Dismiss</legend><p class=\"soft\" id=\"why-dismiss\">{}</p><label>Reason<input "
                    "name=\"reason\" required maxlength=\"500\"></label><button name=\"use\" value=\"dismiss\" "
                    "aria-describedby=\"why-dismiss\">Dismiss</button></fieldset>",
                    escapeHtml(describeDismissal(*selected()))));
}
