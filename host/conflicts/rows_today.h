#pragma once

#include "conflicts/ConflictedRow.h"

/// Reads both sides' copies of the rows as they are today, by few queries for each table, and fills in their state and
/// what the next run does with them. A table that cannot be read leaves its rows unknown.
void lookAtRowsToday(const Configuration& configuration, Databases& databases, std::vector<ConflictedRow>& rows);

/// Whether what was recorded of the row (recordedColumns) is what both sides hold today.
bool isStillAsRecorded(const ConflictedRow& row, const nlohmann::ordered_json& columns);
