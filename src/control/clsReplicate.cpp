#include "control/clsReplicate.h"

#include "QuinmarkRepDLL.h"
#include "com/convert.h"
#include "com/dispatch.h"
#include "com/enumerate.h"
#include "com/error.h"
#include "control/RaiseError.h"
#include "control/checks.h"
#include "control/log.h"
#include "control/pairing.h"
#include "control/settings.h"
#include "db/forward_only.h"
#include "db/sql_literals.h"

using namespace quinmark;

namespace {

constexpr wchar_t kDropPatientKey[] = L"IF OBJECT_ID('dbo.FK_patient_dentist', 'F') IS NOT NULL alter table patient "
                                      L"drop constraint FK_patient_dentist";
constexpr wchar_t kAddPatientKey[] = L"alter table patient ADD CONSTRAINT FK_patient_dentist FOREIGN KEY "
                                     L"(dc_id, dentist_id) REFERENCES dentist(dc_id, dentist_id) ON DELETE NO ACTION";

std::wstring whereSite()
{
    return L" where unique_key = " + std::to_wstring(settings().iReplicationUniqueId);
}

ado::Recordset query(const std::wstring& sSql)
{
    return openForwardOnly(*Utils::getConnLocal(), sSql);
}

void execute(const std::wstring& sSql)
{
    Utils::getConnLocal()->execute(sSql, false);
}

void logAndExecute(const std::wstring& sSql)
{
    Utils::WriteLog(LOG_DEBUG, sSql);
    execute(sSql);
}

/// Runs an update of the site's control record on behalf of `sSource`; raises when there is not exactly one.
void updateControlRecord(const wchar_t* sSource, const std::wstring& sSql)
{
    const long lRows = Utils::getConnLocal()->execute(sSql + whereSite(), true);
    if (lRows != 1)
        Common::RaiseError(sSource, Common::kOwnError,
                           L"Replication control error - updated " + std::to_wstring(lRows) + L" row(s)");
}

bool flag(const _variant_t& value)
{
    return value.vt != VT_NULL && com::toBool(value);
}

} // namespace

void clsReplicate::SetReady()
try {
    execute(L"update replication_control set ready_f = 1");
}
catch (...) {
    failStep(L"clsReplicate.SetReady");
}

void clsReplicate::initNextRun(short iFreq, const std::wstring& sPgmVersion)
try {
    iFreq_ = iFreq;
    if (com::upperCase(sPgmVersion) != L"LAPTOP")
        Utils::checkProgramVersion(sPgmVersion);
    Utils::checkVersions();
    reloadErrorReady();
    getReplicationDates();
    if (!bReady_ || bError_)
        updateNextTimestamp();
}
catch (...) {
    failStep(L"clsReplicate.initNextRun");
}

void clsReplicate::go(const _variant_t& col)
try {
    execute(L"delete from replication_counts" + whereSite());
    logAndExecute(kDropPatientKey);
    com::forEach(col, [this](const _variant_t& element) { runTable(element); });
    logAndExecute(kAddPatientKey);
    if (settings().iReplicationUniqueId == OFFICES) {
        updateLastReplicateDate();
        updateNextTimestamp();
    }
    execute(L"update replication_control set ready_f = 0" + whereSite());
    reloadErrorReady();
}
catch (...) {
    sErrorMessage_ = com::currentError().description;
    Common::reraise(L"clsReplicate.go");
}

void clsReplicate::reloadErrorReady()
try {
    ado::Recordset rs = query(L"select ready_f, error_f, error_message from replication_control" + whereSite());
    if (rs.eof()) {
        rs.close();
        Common::RaiseError(L"clsReplicate.reloadErrorReady", Common::kOwnError,
                           L"Replication control error - control record missing");
    }
    bError_ = flag(rs.value(L"error_f"));
    sErrorMessage_ = bError_ ? com::toText(rs.value(L"error_message")) : std::wstring();
    bReady_ = flag(rs.value(L"ready_f"));
    rs.close();
}
catch (...) {
    Common::reraise(L"clsReplicate.reloadErrorReady");
}

void clsReplicate::getReplicationDates()
try {
    ado::Recordset control = query(L"select * from replication_control" + whereSite());
    if (control.eof())
        Common::RaiseError(L"clsReplicate.getReplicationDates", Common::kOwnError,
                           L"Last Replicate Date record missing from control table");
    const _variant_t last = control.value(L"last_timestamp");
    if (!com::isDate(last))
        Common::RaiseError(L"clsReplicate.getReplicationDates", Common::kOwnError,
                           L"Replication Control Error - Last Replication Date not a valid date");
    dLastReplicate_ = com::toDate(last);
    control.close();

    ado::Recordset clock = query(L"select top 1 getdate() from control");
    dNextReplicate_ = com::toDate(clock.field(0).value());
    clock.close();
}
catch (...) {
    Common::reraise(L"clsReplicate.getReplicationDates");
}

void clsReplicate::updateLastReplicateDate()
try {
    updateControlRecord(L"clsReplicate.updateLastReplicateDate",
                        L"update replication_control set last_timestamp = " + Common::SqlDate(dNextReplicate_));
    dLastReplicate_ = dNextReplicate_;
}
catch (...) {
    Common::reraise(L"clsReplicate.updateLastReplicateDate");
}

void clsReplicate::updateNextTimestamp()
try {
    updateControlRecord(L"clsReplicate.updateNextTimestamp",
                        L"update replication_control set next_timestamp = dateadd(s," + std::to_wstring(iFreq_) +
                            L",getdate())");
}
catch (...) {
    Common::reraise(L"clsReplicate.updateNextTimestamp");
}

void clsReplicate::runTable(const _variant_t& element)
{
    _variant_t ignored;
    com::checkCall(com::objectOf<_clsReplicateTable>(element)->go(&dLastReplicate_, &dNextReplicate_, &ignored));
}

void clsReplicate::failStep(const wchar_t* sSource)
{
    const com::Error error = com::currentError();
    sErrorMessage_ = std::wstring(sSource) + L": " + std::to_wstring(error.number) + L": " + error.description;
    bError_ = true;
    Common::RaiseError(sSource, error.number, error.description);
}
