#include "review/html.h"

#include "html_page.h"
#include "review/difference.h"

#include <fmt/format.h>

using nlohmann::ordered_json;

namespace {

std::string columnValue(std::string_view begin, std::string_view own, std::string_view end)
{
    if (begin.empty() && own.empty() && end.empty())
        return "<p class=\"soft\">(empty)</p>";
    const std::string marked = own.empty() ? "" : "<mark>" + escapeHtml(own) + "</mark>";
    return "<div class=\"value\" tabindex=\"0\">" + escapeHtml(begin) + marked + escapeHtml(end) + "</div>";
}

std::string plainText(const ordered_json& value)
{
    return value.is_string() ? value.get<std::string>() : std::string();
}

} // namespace

std::string rowName(const ConflictedRow& row)
{
    return row.latest().keyInfo.empty() ? row.table + " " + row.key : row.latest().keyInfo;
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

std::string columnLines(const ordered_json& columns, bool sourceExists, bool destinationExists)
{
    constexpr char kNoRow[] = "<p class=\"soft\">(no row)</p>";
    std::string lines;
    for (const ordered_json& column : columns) {
        const std::string source = plainText(column["source"]);
        const std::string destination = plainText(column["destination"]);
        const std::string only = sourceExists ? source : destination;
        // There is nothing to compare with a row that is not there.
        const Difference parts =
            sourceExists && destinationExists ? findDifference(source, destination) : Difference{only, "", "", ""};
        lines += fmt::format("<tr><th scope=\"row\">{}</th><td>{}</td><td>{}</td></tr>\n",
                             escapeHtml(plainText(column["column"])),
                             sourceExists ? columnValue(parts.begin, parts.left, parts.end) : kNoRow,
                             destinationExists ? columnValue(parts.begin, parts.right, parts.end) : kNoRow);
    }
    return lines;
}
