#include "replication/clsReplicateTable.h"

#include "com/convert.h"
#include "com/error.h"
#include "control/RaiseError.h"

namespace {

HRESULT runMethod(short iReplicationMethod, _clsReplicateTable& routines)
{
    VARIANT_BOOL with = VARIANT_TRUE;
    VARIANT_BOOL without = VARIANT_FALSE;
    switch (iReplicationMethod) {
    case ONE_WAY_DELETE_ALL:
        return routines.replicateOneWayDeleteAll();
    case ONE_WAY:
        return routines.replicateOneWay(&without);
    case ONE_WAY_ALLOW_DELETES:
        return routines.replicateOneWay(&with);
    case TWO_WAY:
        return routines.replicateTableTwoWay(&with);
    case TWO_WAY_NO_DELETES:
        return routines.replicateTableTwoWay(&without);
    case COMPUTER_TYPE:
        return routines.replicateComputerType();
    case ONE_WAY_WITH_PK_FIELD:
        return routines.replicateOneWayWithPKField();
    default:
        Common::RaiseError(L"clsReplicateTable.go", Common::kOwnError, L"Invalid replication method");
    }
}

} // namespace

void clsReplicateTable::init(long iReplicationMethod, const std::wstring& sTable, const std::wstring& sDependentTable,
                             const std::wstring& sPKField, long eReplicateDeletes)
try {
    iReplicationMethod_ = com::toInt16(_variant_t(iReplicationMethod));
    sTable_ = sTable;
    sPKField_ = sPKField;
    eReplicateDeletes_ = eReplicateDeletes;
    const bool mayDepend = sTable == L"computer_type" || iReplicationMethod_ == ONE_WAY_ALLOW_DELETES;
    // The message names the dependent table as it stood before; hosts have always seen it that way.
    if (!mayDepend && !sDependentTable.empty())
        Common::RaiseError(L"clsReplicateTable.init", Common::kOwnError,
                           L"Dependent table only allowed on ONE_WAY_ALLOW_DELETES (" + sTable_ + L"," +
                               sDependentTable_ + L")");
    sDependentTable_ = sDependentTable;
}
catch (...) {
    Common::reraise(L"clsReplicateTable.init");
}

void clsReplicateTable::go(DATE dLastReplicate, DATE dNextReplicate, _clsReplicateTable& routines)
try {
    dLastReplicate_ = dLastReplicate;
    dNextReplicate_ = dNextReplicate;
    com::checkCall(runMethod(iReplicationMethod_, routines));
}
catch (...) {
    Common::reraise(L"clsReplicateTable.go");
}
