#pragma once

#include "QuinmarkRepDLL.h"

namespace quinmark {

/// The passes of each replication method. The component's routines take them from this table, and so does a look ahead
/// of a run. No I/O, no texts.

enum class Engine
{
    /// No such method.
    None,
    FullCopy,
    /// A full copy of computer_type with computer_type_setting.
    ComputerType,
    OneWay,
    TwoWay,
};

struct MethodPlan
{
    Engine engine = Engine::None;
    /// Rows are matched by the configured key field, and have no dependent rows; else by `unid`.
    bool byKeyField = false;
    /// Row by row: whether rows that both sides have, and rows that only the source has, are looked at.
    bool copiesRows = false;
    /// The same for rows that only the destination has.
    bool looksForDeletedRows = false;
    /// Whether an old row that one side lacks counts as deleted. One-way: OFFICES deletes the destination's. Two-way:
    /// it is announced as a deletion, not as a conflict.
    bool deletes = false;
};

/// `iReplicationMethod` is an enumReplicationMethod. `eReplicateDeletes`, an enumReplicateDeletes, matters to
/// ONE_WAY_WITH_PK_FIELD only; with UNKNOWN that does nothing.
constexpr MethodPlan planOf(long iReplicationMethod, long eReplicateDeletes = UNKNOWN)
{
    switch (iReplicationMethod) {
    case ONE_WAY_DELETE_ALL:
        return {.engine = Engine::FullCopy};
    case COMPUTER_TYPE:
        return {.engine = Engine::ComputerType};
    case ONE_WAY:
    case ONE_WAY_ALLOW_DELETES:
        return {.engine = Engine::OneWay,
                .copiesRows = true,
                .looksForDeletedRows = true,
                .deletes = iReplicationMethod == ONE_WAY_ALLOW_DELETES};
    case TWO_WAY:
    case TWO_WAY_NO_DELETES:
        return {.engine = Engine::TwoWay,
                .copiesRows = true,
                .looksForDeletedRows = true,
                .deletes = iReplicationMethod == TWO_WAY};
    case ONE_WAY_WITH_PK_FIELD:
        return {.engine = Engine::OneWay,
                .byKeyField = true,
                .copiesRows = eReplicateDeletes != ONLY_DELETES && eReplicateDeletes != UNKNOWN,
                .looksForDeletedRows = eReplicateDeletes == DELETE_WITH_UPDATES || eReplicateDeletes == ONLY_DELETES,
                .deletes = true};
    default:
        return {};
    }
}

} // namespace quinmark
