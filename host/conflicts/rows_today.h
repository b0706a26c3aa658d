#pragma once

#include "conflicts/ConflictedRow.h"

#include <span>

/// Reads both sides' copies of the rows as they are today, by few queries for each table, and fills in their state and
/// what the next run does with them. A table that cannot be read leaves its rows unknown.
void lookAtRowsToday(const Configuration& configuration, Databases& databases, std::span<ConflictedRow> rows);

/// The same for one row, whatever its table and key. Raises com::Error when it cannot be read.
void lookAtRowToday(const Configuration& configuration, Databases& databases, ConflictedRow& row);

/// The entry of the configuration that replicates a table: its own, or the one whose method copies computer_type and
/// its settings; null when there is none.
const TableConfiguration* configuredTable(const Configuration& configuration, const std::string& table);

/// Whether a name that nobody has looked at can stand in a statement.
bool isPlainName(const std::string& name);

/// Whether what was recorded of the row (recordedColumns) is what both sides hold today.
bool isStillAsRecorded(const ConflictedRow& row, const nlohmann::ordered_json& columns);
