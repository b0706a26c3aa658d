#include "replication/clsReplicateTable.h"

#include "com/convert.h"
#include "com/error.h"
#include "control/RaiseError.h"
#include "replication/method_plan.h"

using namespace quinmark;

namespace {

HRESULT runMethod(short iReplicationMethod, _clsReplicateTable& routines)
{
    const MethodPlan plan = planOf(iReplicationMethod);
    VARIANT_BOOL deletes = com::toVariantBool(plan.deletes);
    switch (plan.engine) {
    case Engine::FullCopy:
        return routines.replicateOneWayDeleteAll();
    case Engine::ComputerType:
        return routines.replicateComputerType();
    case Engine::OneWay:
        return plan.byKeyField ? routines.replicateOneWayWithPKField() : routines.replicateOneWay(&deletes);
    case Engine::TwoWay:
        return routines.replicateTableTwoWay(&deletes);
    case Engine::None:
        break;
    }
    Common::RaiseError(L"clsReplicateTable.go", Common::kOwnError, L"Invalid replication method");
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
    // The message names the dependent table of the previous configuration: hosts expect this text.
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
