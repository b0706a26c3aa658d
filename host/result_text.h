#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// Rows of a stop that a person is shown; with --json there are all.
inline constexpr size_t kShownRows = 100;

/// How many rows of a stop are not shown, and where they are; empty when all are.
std::string unshownRows(const nlohmann::ordered_json& rows);

/// A value of a result for a person: a date with a blank between day and time, any other text as it stands, nothing for
/// null.
std::string resultText(const nlohmann::ordered_json& value);

/// The names of the tables that a run did not do, with commas between them.
std::string tablesNotDone(const nlohmann::ordered_json& tables);

/// An error of a result in words: number in decimal and hexadecimal and source where it has them, its text, and on a
/// line of its own what to do.
std::string errorText(const nlohmann::ordered_json& error);
