#include "html_table.h"

#include "html_page.h"

#include <fmt/format.h>

std::string htmlTable(const std::string& kind, const std::string& headings, const std::string& bodies)
{
    return fmt::format("<table class=\"{}\" role=\"table\"><thead role=\"rowgroup\">{}</thead>\n{}</table>\n", kind,
                       tableRow(headings), bodies);
}

std::string wideTable(const std::string& headings, const std::string& rows)
{
    return "<div class=\"wide\">" + htmlTable("", headings, tableBody(rows)) + "</div>\n";
}

std::string tableBody(const std::string& rows)
{
    return "<tbody role=\"rowgroup\">\n" + rows + "</tbody>\n";
}

std::string tableRow(const std::string& cells, const char* kind)
{
    return fmt::format("<tr role=\"row\" class=\"{}\">{}</tr>\n", kind, cells);
}

std::string columnHeading(const std::string& name, const char* more)
{
    return fmt::format("<th scope=\"col\" role=\"columnheader\"{}>{}</th>", more, escapeHtml(name));
}

std::string rowHeading(const std::string& html, const char* more)
{
    return fmt::format("<th role=\"rowheader\"{}>{}</th>", more, html);
}

std::string tableCell(const std::string& columnName, const std::string& html, const char* more)
{
    return fmt::format("<td role=\"cell\" data-column=\"{}\"{}>{}</td>", escapeHtml(columnName), more, html);
}
