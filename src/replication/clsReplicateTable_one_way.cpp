#include "com/convert.h"
#include "com/error.h"
#include "control/RaiseError.h"
#include "control/error_state.h"
#include "control/log.h"
#include "control/settings.h"
#include "replication/OneWay.h"
#include "replication/table_report.h"

using namespace quinmark;

namespace {

/// The end of a failed one-way routine: the run is marked failed, and the table is named in source and description.
[[noreturn]] void failRoutine(const std::wstring& sRoutine, const std::wstring& sTable)
{
    const com::Error error = com::currentError();
    Utils::setError(true, sRoutine + L": " + error.description);
    const std::wstring sSource = sRoutine + L"(" + sTable + L")";
    Common::RaiseError(sSource, error.number, sSource + L": " + error.description);
}

Site currentSite()
{
    return settings().iReplicationUniqueId == OFFICES ? Site::Offices : Site::Laptop;
}

} // namespace

void clsReplicateTable::replicateOneWay(bool bAllowDeletes)
try {
    replicateByPlan({.table = {sTable_, L"unid"},
                     .prefixes = settings().prefixes(),
                     .site = currentSite(),
                     .sDependentTable = sDependentTable_,
                     .clearsCommentCompanies = false,
                     .method = planOf(bAllowDeletes ? ONE_WAY_ALLOW_DELETES : ONE_WAY)},
                    sTable_);
}
catch (...) {
    failRoutine(L"clsReplicateTable.replicateOneWay", sTable_);
}

void clsReplicateTable::replicateOneWayWithPKField()
try {
    if (sPKField_.empty())
        return Utils::setError(true, L"PKField not set for replicateOneWayWithPKField()");
    if (eReplicateDeletes_ == UNKNOWN)
        return Utils::setError(true, L"enumReplicatDeletes not set for replicateOneWayWithPKField()");
    replicateByPlan({.table = {sTable_, sPKField_},
                     .prefixes = settings().prefixes(),
                     .site = currentSite(),
                     .sDependentTable = L"",
                     .clearsCommentCompanies = com::upperCase(sTable_) == L"DENTIST_COMPANY",
                     .method = planOf(ONE_WAY_WITH_PK_FIELD, eReplicateDeletes_)},
                    sTable_ + L" with PKField: " + sPKField_ + L" and delete method: " +
                        std::to_wstring(eReplicateDeletes_));
}
catch (...) {
    failRoutine(L"clsReplicateTable.replicateOneWayWithPKField", sTable_);
}

void clsReplicateTable::replicateByPlan(const OneWayPlan& plan, const std::wstring& sTitle)
{
    OneWay(plan, dLastReplicate_, dNextReplicate_, counters_).run();
    writeCounts(settings().iReplicationUniqueId, sTable_,
                {{L" updates", counters_.lCntDestUpdate},
                 {L" adds", counters_.lCntDestAdd},
                 {L" deletes", counters_.lCntDestDelete},
                 {L" conflicts", counters_.lCntConflict},
                 {L" errors", counters_.lCntError}});
    Utils::WriteLog(LOG_STAT, summaryText(sTitle, {{L"Adds to destination: ", counters_.lCntDestAdd},
                                                   {L"Updates to destination: ", counters_.lCntDestUpdate},
                                                   {L"Deletes to destination: ", counters_.lCntDestDelete},
                                                   {L"Conflicts: ", counters_.lCntConflict},
                                                   {L"Errors: ", counters_.lCntError}}));
}
