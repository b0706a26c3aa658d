#pragma once

#include "SideNames.h"
#include "conflicts/decisions.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// On a page dates have the user's own form, which the component's records have too.
inline constexpr Values kShownValues = &CopyToday::texts;
std::string shownDate(const std::optional<DATE>& date);

/// A row's name for people.
std::string rowName(const ConflictedRow& row);

/// "1 row", "2 rows".
std::string rowCount(size_t count);

std::string hiddenField(const std::string& name, const std::string& value);

/// A box with one text or a list of them; empty for none. `kind` is a class of the style sheet.
std::string messageBox(const char* kind, const char* role, const std::vector<std::string>& texts);

/// A text about something that is lost begins with a sign; others are as they are.
std::string effectText(const std::string& text, bool losesRow);

/// A table of both sides' values; `when` follows the sides' names in its head, `bodies` are its bodies.
std::string sidesTable(const SideNames& names, const std::string& when, const std::string& bodies);

/// The lines of such a table, differences marked. A value that is the same on both sides stands once. A side without
/// the row has no values.
std::string columnLines(const nlohmann::ordered_json& columns, bool sourceExists, bool destinationExists,
                        const SideNames& names);
