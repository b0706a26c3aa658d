#pragma once

#include "replication/method_plan.h"
#include "replication/row_policy.h"

#include <oaidl.h>
#include <optional>

/// The action of a run on one row.
enum class RowAction
{
    Leave,
    UpdateDestination,
    InsertIntoDestination,
    DeleteAtDestination,
    UpdateSource,
    InsertIntoSource,
    ReportConflict,
    /// The run ends in an error: one side alone has the row, and without a date.
    Fail,
};

/// One side's copy of a row.
struct RowCopy
{
    bool exists = false;
    /// Its mod_date; nothing for Null.
    std::optional<DATE> modified = {};
};

struct RowDecision
{
    RowAction action = RowAction::Leave;
    /// The kind of a reported conflict.
    enumConflictType conflict = CHANGED_ON_BOTH;
    /// Whether two-way replication shows a message box first.
    bool announced = false;
};

/// The method's action on a row that its comparison queries list, by the component's own decision tables. Full copies
/// compare no rows: for them nothing is decided.
RowDecision decideRow(const quinmark::MethodPlan& plan, quinmark::Site site, const RowCopy& source,
                      const RowCopy& destination, DATE dLastReplicate);

/// Whether the comparison queries list the row: one that both sides have is passed over unless its dates differ and one
/// of them is later than the last run.
bool isListed(const RowCopy& source, const RowCopy& destination, DATE dLastReplicate);
