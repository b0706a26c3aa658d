#pragma once

#include <string>

// The parts of the tables on all pages. In a narrow window the cells of a row stand below each other, each with its
// column's name. Roles are said because the parts of a table that are shown as blocks lose their own.

/// `kind` is a class of the style sheet; the other arguments are parts of the table.
std::string htmlTable(const std::string& kind, const std::string& headings, const std::string& bodies);
/// A table with one body, which scrolls sideways where a wide window is too narrow for it.
std::string wideTable(const std::string& headings, const std::string& rows);
std::string tableBody(const std::string& rows);
std::string tableRow(const std::string& cells, const char* kind = "");

/// `more` are further attributes, each with a blank in front; `html` is what the cell shows.
std::string columnHeading(const std::string& name, const char* more = "");
std::string rowHeading(const std::string& html, const char* more = " scope=\"row\"");
std::string tableCell(const std::string& columnName, const std::string& html, const char* more = "");

/// The attribute of a heading or a cell of numbers.
inline constexpr char kNumber[] = " class=\"number\"";
