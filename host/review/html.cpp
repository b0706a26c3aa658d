#include "review/html.h"

#include "com/convert.h"
#include "html_page.h"
#include "review/marked_text.h"
#include "text.h"

#include <fmt/format.h>

using nlohmann::ordered_json;

namespace {

constexpr char kNoRow[] = "<p class=\"soft\">(no row)</p>";

/// `html` is the value's text.
std::string valueCell(const ordered_json& value, const std::string& html)
{
    if (!html.empty())
        return "<div class=\"value\">" + html + "</div>";
    return value.is_null() ? "<p class=\"soft\">(no value)</p>" : "<p class=\"soft\">(empty)</p>";
}

std::string plainText(const ordered_json& value)
{
    return value.is_string() ? value.get<std::string>() : std::string();
}

std::string cell(const std::string& side, const std::string& content, const char* more = "")
{
    return fmt::format("<td role=\"cell\" data-side=\"{}\"{}>{}</td>", escapeHtml(capitalized(side)), more, content);
}

std::string cells(const ordered_json& column, bool sourceExists, bool destinationExists, const SideNames& names)
{
    const ordered_json& source = column["source"];
    const ordered_json& destination = column["destination"];
    const bool both = sourceExists && destinationExists;
    // There is nothing to compare with a row that is not there.
    const auto [left, right] = both ? markDifferences(plainText(source), plainText(destination))
                                    : MarkedTexts{escapeHtml(plainText(source)), escapeHtml(plainText(destination))};
    if (both && source == destination)
        return cell("both sides", valueCell(source, left), " colspan=\"2\" class=\"same\"");
    return cell(names.source, sourceExists ? valueCell(source, left) : kNoRow) +
           cell(names.destination, destinationExists ? valueCell(destination, right) : kNoRow);
}

} // namespace

std::string shownDate(const std::optional<DATE>& date)
{
    return date ? toUtf8(com::dateText(*date)) : "none";
}

std::string rowName(const ConflictedRow& row)
{
    return row.latest().keyInfo.empty() ? row.table + " " + row.key : row.latest().keyInfo;
}

std::string capitalized(std::string text)
{
    if (!text.empty() && text.front() >= 'a' && text.front() <= 'z')
        text.front() = static_cast<char>(text.front() - 'a' + 'A');
    return text;
}

std::string hiddenField(const std::string& name, const std::string& value)
{
    return fmt::format("<input type=\"hidden\" name=\"{}\" value=\"{}\">", name, escapeHtml(value));
}

std::string messageBox(const char* kind, const char* role, const std::vector<std::string>& texts)
{
    if (texts.empty())
        return {};
    std::string body;
    for (const std::string& text : texts)
        body += "<p>" + escapeHtml(text) + "</p>";
    return fmt::format("<div class=\"card {}\" role=\"{}\">{}</div>\n", kind, role, body);
}

std::string effectText(const std::string& text, bool losesRow)
{
    return losesRow ? "<span class=\"loss\"><span aria-hidden=\"true\">⚠ </span>" + escapeHtml(text) + "</span>"
                    : escapeHtml(text);
}

// Roles are said because a narrow window shows the parts of a table as blocks, which takes their roles from them.
std::string sidesTable(const SideNames& names, const std::string& when, const std::string& bodies)
{
    const auto head = [&](const std::string& text) {
        return "<th scope=\"col\" role=\"columnheader\">" + escapeHtml(text) + "</th>";
    };
    return "<table class=\"sides\" role=\"table\"><thead role=\"rowgroup\"><tr role=\"row\">" + head("Column") +
           head(capitalized(names.source) + when) + head(capitalized(names.destination) + when) + "</tr></thead>\n" +
           bodies + "</table>\n";
}

std::string columnLines(const ordered_json& columns, bool sourceExists, bool destinationExists, const SideNames& names)
{
    std::string lines;
    for (const ordered_json& column : columns)
        lines +=
            fmt::format("<tr role=\"row\"><th scope=\"row\" role=\"rowheader\">{}</th>{}</tr>\n",
                        escapeHtml(plainText(column["column"])), cells(column, sourceExists, destinationExists, names));
    return lines;
}
