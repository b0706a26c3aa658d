#pragma once

#include "Configuration.h"
#include "conflicts/ConflictedRow.h"
#include "replication/row_queries.h"

#include <nlohmann/json.hpp>

/// What the component's log, the conflicts that wait and the decision log tell of a row, in order of time by this
/// machine's clock: time (null where the log's is not in the user's form), from, text, and an entry of the log whole.
/// `table` is the row's table with its key column.
nlohmann::ordered_json rowHistory(const Configuration& configuration, const quinmark::KeyedTable& table,
                                  const ConflictedRow& row);
