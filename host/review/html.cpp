#include "review/html.h"

#include "com/convert.h"
#include "html_page.h"
#include "html_table.h"
#include "review/marked_text.h"
#include "text.h"

#include <algorithm>
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

std::string cells(const ordered_json& column, bool sourceExists, bool destinationExists, const SideNames& names)
{
    const ordered_json& source = column["source"];
    const ordered_json& destination = column["destination"];
    const bool both = sourceExists && destinationExists;
    // There is nothing to compare with a row that is not there.
    const auto [left, right] = both ? markDifferences(plainText(source), plainText(destination))
                                    : MarkedTexts{escapeHtml(plainText(source)), escapeHtml(plainText(destination))};
    if (both && source == destination)
        return tableCell("Both sides", valueCell(source, left), " colspan=\"2\" class=\"same\"");
    return tableCell(capitalized(names.source), sourceExists ? valueCell(source, left) : kNoRow) +
           tableCell(capitalized(names.destination), destinationExists ? valueCell(destination, right) : kNoRow);
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

std::string rowCount(size_t count)
{
    return counted(static_cast<long long>(count), "row", "rows");
}

std::string hiddenField(const std::string& name, const std::string& value)
{
    return fmt::format("<input type=\"hidden\" name=\"{}\" value=\"{}\">", name, escapeHtml(value));
}

std::string messageBox(const char* kind, const char* role, const std::vector<std::string>& texts)
{
    if (texts.empty())
        return {};
    std::vector<std::string> paragraphs;
    std::ranges::transform(texts, std::back_inserter(paragraphs), escapeHtml);
    return card(kind, paragraphs, fmt::format(" role=\"{}\"", role));
}

std::string effectText(const std::string& text, bool losesRow)
{
    return losesRow ? "<span class=\"loss\"><span aria-hidden=\"true\">⚠ </span>" + escapeHtml(text) + "</span>"
                    : escapeHtml(text);
}

std::string sidesTable(const SideNames& names, const std::string& when, const std::string& bodies)
{
    return htmlTable("sides",
                     columnHeading("Column") + columnHeading(capitalized(names.source) + when) +
                         columnHeading(capitalized(names.destination) + when),
                     bodies);
}

std::string columnLines(const ordered_json& columns, bool sourceExists, bool destinationExists, const SideNames& names)
{
    std::string lines;
    for (const ordered_json& column : columns)
        lines += tableRow(rowHeading(escapeHtml(plainText(column["column"]))) +
                          cells(column, sourceExists, destinationExists, names));
    return lines;
}
