#pragma once

#include "RowRule.h"
#include "replication/method_plan.h"
#include "replication/row_policy.h"

#include <oaidl.h>
#include <optional>

/// One side's copy of a row.
struct RowCopy
{
    bool exists = false;
    /// Its mod_date; nothing for Null.
    std::optional<DATE> modified = {};
};

/// A run's action on a row, and the rule that decided it.
struct RowDecision
{
    RowRule rule = RowRule::OnNeitherSide;
    NextRun action = NextRun::LeavesIt;
    /// The kind of a reported conflict.
    enumConflictType conflict = CHANGED_ON_BOTH;
    /// Whether two-way replication shows a message box first.
    bool announced = false;
};

/// The method's action on a row, by the component's own decision tables. What a full copy does depends on more than the
/// dates: its action is Unknown.
RowDecision decideRow(const quinmark::MethodPlan& plan, quinmark::Site site, const RowCopy& source,
                      const RowCopy& destination, DATE dLastReplicate);

/// The same for a row that the comparison queries have listed.
RowDecision decideListedRow(const quinmark::MethodPlan& plan, quinmark::Site site, const RowCopy& source,
                            const RowCopy& destination, DATE dLastReplicate);
