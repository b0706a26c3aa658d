#include "review/ConflictPage.h"

#include "Page.h"
#include "review/HttpRequest.h"
#include "review/difference.h"
#include "text.h"

#include <fmt/format.h>
#include <map>
#include <windows.h>

using nlohmann::ordered_json;

namespace {

std::string textOf(const ordered_json& value)
{
    return value.is_string() ? value.get<std::string>() : value.is_null() ? "" : value.dump();
}

std::string escaped(const ordered_json& value)
{
    return escapeHtml(textOf(value));
}

std::wstring lower(const std::string& text)
{
    std::wstring wide = toWide(text);
    CharLowerBuffW(wide.data(), static_cast<DWORD>(wide.size()));
    return wide;
}

bool contains(const ordered_json& conflict, const std::wstring& lowerText)
{
    for (const char* field : {"table_name", "conflict", "key_info"})
        if (lower(textOf(conflict[field])).find(lowerText) != std::wstring::npos)
            return true;
    return false;
}

std::string keyDescription(const ordered_json& conflict)
{
    const std::string description = escaped(conflict["key_info"]);
    return description.empty() ? "(no key description)" : description;
}

std::string value(std::string_view begin, std::string_view own, std::string_view end)
{
    if (begin.empty() && own.empty() && end.empty())
        return "<p class=\"soft\">(empty)</p>";
    const std::string marked = own.empty() ? "" : "<mark>" + escapeHtml(own) + "</mark>";
    return "<div class=\"value\" tabindex=\"0\">" + escapeHtml(begin) + marked + escapeHtml(end) + "</div>";
}

std::string columnRows(const ordered_json& columns)
{
    std::string rows;
    for (const ordered_json& column : columns) {
        const std::string source = textOf(column["source"]);
        const std::string destination = textOf(column["destination"]);
        const Difference parts = findDifference(source, destination);
        rows += fmt::format("<tr><th scope=\"row\">{}</th><td>{}</td><td>{}</td></tr>\n", escaped(column["column"]),
                            value(parts.begin, parts.left, parts.end), value(parts.begin, parts.right, parts.end));
    }
    return rows;
}

std::string date(const char* label, const ordered_json& value)
{
    const std::string text = escaped(value);
    return fmt::format("<div><dt>{}</dt><dd>{}</dd></div>", label, text.empty() ? "none" : text);
}

const char* caption(const std::string& use)
{
    return use == "source" ? "Use <u>s</u>ource" : use == "destination" ? "Use <u>d</u>estination" : "<u>L</u>ater";
}

std::string choiceButton(const ordered_json& choice)
{
    const std::string name = choice["use"];
    return fmt::format("<div><button name=\"use\" value=\"{0}\" accesskey=\"{1}\" aria-describedby=\"why-{0}\"{2}>{3}"
                       "</button><p class=\"soft\" id=\"why-{0}\">{4}</p></div>\n",
                       name, name.front(), choice["possible"].get<bool>() ? "" : " disabled", caption(name),
                       escaped(choice["explanation"]));
}

std::string hiddenField(const char* name, const std::string& value)
{
    return fmt::format("<input type=\"hidden\" name=\"{}\" value=\"{}\">", name, escapeHtml(value));
}

std::string message(const char* kind, const char* role, const std::string& text)
{
    return text.empty() ? "" : fmt::format("<p class=\"card {}\" role=\"{}\">{}</p>\n", kind, role, escapeHtml(text));
}

} // namespace

std::string ReviewView::query() const
{
    return fmt::format("?table={}&text={}&id={}", encodeUrl(table), encodeUrl(text), encodeUrl(id));
}

ordered_json filterConflicts(const ordered_json& conflicts, const ReviewView& view)
{
    const std::wstring text = lower(view.text);
    ordered_json shown = ordered_json::array();
    for (const ordered_json& conflict : conflicts)
        if ((view.table.empty() || textOf(conflict["table_name"]) == view.table) && contains(conflict, text))
            shown.push_back(conflict);
    return shown;
}

ConflictPage::ConflictPage(const Configuration& configuration, const std::string& root, const ordered_json& conflicts,
                           const ReviewView& view)
    : configuration_(configuration),
      root_(root),
      conflicts_(conflicts),
      view_(view),
      shown_(filterConflicts(conflicts, view))
{
}

size_t ConflictPage::selectedIndex() const
{
    for (size_t index = 0; index < shown_.size(); ++index)
        if (textOf(shown_[index]["unid"]) == view_.id)
            return index;
    return 0;
}

std::string ConflictPage::selectedId() const
{
    return shown_.empty() ? "" : textOf(shown_[selectedIndex()]["unid"]);
}

std::string ConflictPage::nextId() const
{
    return textOf(shown_[(selectedIndex() + 1) % shown_.size()]["unid"]);
}

std::string ConflictPage::address(const std::string& id) const
{
    return escapeHtml(root_ + ReviewView{view_.table, view_.text, id}.query());
}

std::string ConflictPage::html(const std::string& notice, const std::string& trouble,
                               const ordered_json& conflict) const
{
    std::string body = heading() + "<main>\n" + message("notice", "status", notice) +
                       message("trouble", "alert", trouble) + filterForm();
    if (conflicts_.empty())
        body += "<p class=\"card\">No conflicts wait.</p>\n";
    else if (shown_.empty())
        body += "<p class=\"card\">No conflict fits the filter.</p>\n";
    else
        body += "<div class=\"columns\">\n" + list() + detail(conflict) + "</div>\n";
    return body + "</main>\n";
}

std::string ConflictPage::heading() const
{
    const SideConfiguration& local = configuration_.local();
    return fmt::format("<header><h1>Conflicts {}</h1><p class=\"soft\">{} waiting in {}</p>"
                       "<form method=\"post\" action=\"{}quit\"><button>End the review</button></form></header>\n",
                       configuration_.site == LAPTOP ? "at the laptop" : "at the offices", conflicts_.size(),
                       escapeHtml(local.dsn), root_);
}

std::string ConflictPage::filterForm() const
{
    std::map<std::string, size_t> counts;
    for (const ordered_json& conflict : conflicts_)
        ++counts[textOf(conflict["table_name"])];
    std::string options = "<option value=\"\">All tables</option>";
    for (const auto& [table, count] : counts)
        options += fmt::format("<option value=\"{0}\"{1}>{0} ({2})</option>", escapeHtml(table),
                               table == view_.table ? " selected" : "", count);
    return fmt::format("<form class=\"card filter\" method=\"get\" action=\"{}\" role=\"search\">"
                       "<label>Table<select name=\"table\">{}</select></label>"
                       "<label>Key or kind contains<input type=\"search\" name=\"text\" value=\"{}\"></label>"
                       "<button>Show</button><p class=\"soft\">{} shown</p></form>\n",
                       root_, options, escapeHtml(view_.text), shown_.size());
}

std::string ConflictPage::list() const
{
    std::string items = "<nav class=\"card\" aria-label=\"Conflicts by table\">\n";
    std::string table;
    const std::string selected = selectedId();
    for (const ordered_json& conflict : shown_) {
        if (&conflict == &shown_.front() || textOf(conflict["table_name"]) != table) {
            items += table.empty() ? "" : "</ul>\n";
            table = textOf(conflict["table_name"]);
            items += "<h3>" + escapeHtml(table) + "</h3>\n<ul>\n";
        }
        const std::string id = textOf(conflict["unid"]);
        items += fmt::format("<li><a href=\"{}\"{}>{}<small>{}</small></a></li>\n", address(id),
                             id == selected ? " aria-current=\"true\"" : "", keyDescription(conflict),
                             escaped(conflict["conflict"]));
    }
    return items + "</ul>\n</nav>\n";
}

std::string ConflictPage::detail(const ordered_json& conflict) const
{
    const ordered_json& columns = conflict["columns"];
    std::string html =
        fmt::format("<section class=\"card\" aria-labelledby=\"selected\"><h2 id=\"selected\">{}</h2>"
                    "<p class=\"soft\">{}, {} · {}</p>\n<dl>{}{}{}</dl>\n",
                    keyDescription(conflict), escaped(conflict["table_name"]), escaped(conflict["conflict"]),
                    escaped(conflict["unid"]), date("Changed at the source", conflict["source_mod_date"]),
                    date("Changed at the destination", conflict["destination_mod_date"]),
                    date("Found by the run of", conflict["last_found"]));
    html += columns.empty()
                ? "<p>No differing columns were recorded.</p>\n"
                : "<table class=\"sides\"><thead><tr><th scope=\"col\">Column</th><th scope=\"col\">Source</th>"
                  "<th scope=\"col\">Destination</th></tr></thead>\n<tbody>\n" +
                      columnRows(columns) + "</tbody></table>\n";
    return html + choices(conflict) + "</section>\n";
}

std::string ConflictPage::choices(const ordered_json& conflict) const
{
    std::string buttons;
    for (const ordered_json& choice : conflict["choices"])
        buttons += choiceButton(choice);
    return fmt::format("<form method=\"post\" action=\"{}resolve\">{}{}{}{}\n<div class=\"choices\">{}</div></form>\n",
                       root_, hiddenField("id", textOf(conflict["unid"])), hiddenField("next", nextId()),
                       hiddenField("table", view_.table), hiddenField("text", view_.text), buttons);
}
