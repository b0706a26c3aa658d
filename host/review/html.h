#pragma once

#include "conflicts/ConflictedRow.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// A row's name for people.
std::string rowName(const ConflictedRow& row);

std::string hiddenField(const std::string& name, const std::string& value);

/// A box with one text or a list of them; empty for none. `kind` is a class of the style sheet.
std::string messageBox(const char* kind, const char* role, const std::vector<std::string>& texts);

/// The lines of a table for columns with source and destination, their differences marked. A side without the row has
/// no values.
std::string columnLines(const nlohmann::ordered_json& columns, bool sourceExists, bool destinationExists);
