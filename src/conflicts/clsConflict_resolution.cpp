#include "conflicts/clsConflict.h"
#include "conflicts/resolution_policy.h"
#include "control/RaiseError.h"
#include "control/pairing.h"
#include "control/settings.h"
#include "db/forward_only.h"
#include "db/sql_literals.h"
#include "replication/row_queries.h"
#include "replication/row_sql.h"

using namespace quinmark;

bool clsConflict::resolve()
try {
    switch (decideResolution(settings().iReplicationUniqueId, iResolutionType, iConflictType)) {
    case ResolutionStep::Keep:
        return true;
    case ResolutionStep::CopyFromSource:
        copyFromSource();
        break;
    case ResolutionStep::DeleteAtDestination:
        deleteAtDestination();
        break;
    case ResolutionStep::AcceptDestination:
        break;
    case ResolutionStep::RefuseToReplicateBack:
        sErrorMessage_ = L"Cannot replicate back to Norvale";
        return false;
    case ResolutionStep::RefuseUnknown:
        sErrorMessage_ = L"Invalid resolution type";
        return false;
    }
    removeRows();
    return true;
}
catch (...) {
    Common::reraise(L"clsConflict.resolve");
}

// The row is addressed by vGuid alone, so a conflict of a table that is keyed by number finds none.
void clsConflict::copyFromSource() const
{
    const KeyedTable table{sTable, L"unid"};
    ado::Recordset row = openForwardOnly(*Utils::getConnSource(), selectRow(table, vGuid));
    const std::wstring sUpdate = Utils::getUpdateSql(row, sTable, keyCondition(table, vGuid));
    Utils::getConnDest()->execute(sUpdate, false);
    row.close();
}

void clsConflict::deleteAtDestination() const
{
    Utils::getConnDest()->execute(L"Delete from " + sTable + L" where " + keyCondition({sTable, L"unid"}, vGuid),
                                  false);
}

void clsConflict::removeRows() const
{
    const std::wstring sId = Common::SqlQuoteOnly(vConflictId_);
    Utils::getConnLocal()->execute(L"Delete from replication_conflict where unid = " + sId +
                                       L";Delete from replication_conflict_data where conflict_id = " + sId,
                                   false);
}
