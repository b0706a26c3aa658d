#include "replication/OneWay.h"

#include "com/convert.h"
#include "conflicts/report_conflict.h"
#include "control/error_state.h"
#include "control/pairing.h"
#include "db/forward_only.h"
#include "db/sql_literals.h"
#include "replication/dump.h"
#include "replication/logged_sql.h"
#include "replication/row_dates.h"
#include "replication/row_sql.h"

namespace quinmark {
namespace {

constexpr SideAliases kOneWayAliases{L"src", L"dest", L"src_mod_date", L"dest_mod_date"};

} // namespace

OneWay::OneWay(OneWayPlan plan, DATE dLastReplicate, DATE dNextReplicate, Counters& counters)
    : plan_(std::move(plan)),
      dLastReplicate_(dLastReplicate),
      dNextReplicate_(dNextReplicate),
      counters_(counters)
{
    counters_ = {.lCntConflict = counters.lCntConflict};
    // Asked for when the counters are reset, since either can fail.
    // cppcheck-suppress useInitializationList
    sDestDatabaseName_ = Utils::getConnDest()->getConn().defaultDatabase();
    sSourceDatabaseName_ = Utils::getConnSource()->getConn().defaultDatabase();
}

void OneWay::run()
{
    if (plan_.method.copiesRows) {
        replicateCommonRows();
        replicateSourceOnlyRows();
    }
    if (plan_.method.looksForDeletedRows)
        replicateDestinationOnlyRows();
}

void OneWay::replicateCommonRows()
{
    const auto handle = [this](const ado::Field& sourceDate, const ado::Field& destinationDate, const ado::Field& key) {
        dSrcModDate_ = com::toDate(sourceDate.value());
        dDestModDate_ = com::toDate(destinationDate.value());
        handleCommonRow(key.value());
    };
    ado::forEachRow(queryOnLocal(selectChangedRows(plan_.table, plan_.prefixes, dLastReplicate_, kOneWayAliases)),
                    handle, kOneWayAliases.sSourceDate, kOneWayAliases.sDestinationDate, plan_.table.sKey);
}

void OneWay::replicateSourceOnlyRows()
{
    const Prefixes& prefixes = plan_.prefixes;
    forEachMissingRow(prefixes.sSourceDB, prefixes.sDestinationDB, dSrcModDate_, &OneWay::handleSourceOnlyRow);
}

void OneWay::replicateDestinationOnlyRows()
{
    const Prefixes& prefixes = plan_.prefixes;
    forEachMissingRow(prefixes.sDestinationDB, prefixes.sSourceDB, dDestModDate_, &OneWay::handleDestinationOnlyRow);
}

void OneWay::forEachMissingRow(const std::wstring& sHasPrefix, const std::wstring& sLacksPrefix, DATE& dModDate,
                               void (OneWay::*handle)(const _variant_t& vKey))
{
    const auto handleRow = [&](const ado::Field& date, const ado::Field& key) {
        dModDate = com::toDate(date.value());
        (this->*handle)(key.value());
    };
    ado::forEachRow(queryOnLocal(selectMissingRows(plan_.table, sHasPrefix, sLacksPrefix)), handleRow, L"mod_date",
                    plan_.table.sKey);
}

void OneWay::handleCommonRow(const _variant_t& vKey)
{
    switch (decideCommonRow(plan_.site, compareDates(dSrcModDate_, dDestModDate_, dLastReplicate_))) {
    case CommonRow::LeaveEqualDates:
    case CommonRow::LeaveDestinationNewer:
        break;
    case CommonRow::Update:
        updateDestination(vKey);
        break;
    case CommonRow::ReportChangedOnBoth:
        reportChangedOnBoth(vKey);
        break;
    case CommonRow::ReportChangedOnDestination:
        reportChangedOnDestination(vKey);
        break;
    }
}

void OneWay::handleSourceOnlyRow(const _variant_t& vKey)
{
    switch (decideSourceOnlyRow(plan_.site, modifiedSince(dSrcModDate_, dLastReplicate_))) {
    case SourceOnlyRow::Leave:
        break;
    case SourceOnlyRow::Insert:
        insertIntoDestination(vKey);
        break;
    case SourceOnlyRow::ReportDeletedInDestination:
        reportOneSided(vKey, NEW_ON_source, Utils::getConnSource,
                       L"Deleted in destination(" + sDestDatabaseName_ +
                           L") - Destination deletes will not replicate properly");
        break;
    }
}

void OneWay::handleDestinationOnlyRow(const _variant_t& vKey)
{
    const std::wstring sNew = L"New in destination(" + sDestDatabaseName_ + L")";
    const std::wstring sDeleted = L"Deleted from source(" + sSourceDatabaseName_ + L")";
    switch (decideDestinationOnlyRow(plan_.site, modifiedSince(dDestModDate_, dLastReplicate_), plan_.method.deletes)) {
    case DestinationOnlyRow::Leave:
        break;
    case DestinationOnlyRow::Delete:
        deleteFromDestination(vKey);
        break;
    case DestinationOnlyRow::ReportNew:
        reportOneSided(vKey, NEW_ON_DEST, Utils::getConnDest, sNew + L" - Destination adds are not allowed");
        break;
    case DestinationOnlyRow::ReportNewOrDeletedFromSource:
        reportOneSided(vKey, NEW_ON_DEST, Utils::getConnDest, sNew + L" -OR- " + sDeleted);
        break;
    case DestinationOnlyRow::ReportDeletedFromSource:
        reportOneSided(vKey, DELETED_ON_SOURCE, Utils::getConnDest, sDeleted);
        break;
    }
}

void OneWay::updateDestination(const _variant_t& vKey)
{
    ado::Recordset row = queryOnSource(selectRow(plan_.table, vKey));
    executeOnDestination(Utils::getUpdateSql(row, plan_.table.sTable, keyCondition(plan_.table, vKey)));
    row.close();
    ++counters_.lCntDestUpdate;
    rewriteDependents(vKey);
}

void OneWay::insertIntoDestination(const _variant_t& vKey)
{
    ado::Recordset row = queryOnSource(selectRow(plan_.table, vKey));
    executeOnDestination(Utils::getInsertSql(row, plan_.table.sTable));
    row.close();
    rewriteDependents(vKey);
    ++counters_.lCntDestAdd;
}

void OneWay::deleteFromDestination(const _variant_t& vKey)
{
    if (plan_.clearsCommentCompanies)
        executeOnDestination(L"update chart_comment_info set dc_id = null where dc_id = " + Common::SqlQuoteOnly(vKey));
    executeOnDestination(deleteRow(plan_.table, vKey), true);
    rewriteDependents(vKey);
    ++counters_.lCntDestDelete;
}

void OneWay::rewriteDependents(const _variant_t& vKey)
{
    if (!plan_.sDependentTable.empty())
        executeOnDestination(Utils::getDependentSql(plan_.sDependentTable, vKey, plan_.prefixes.sSourceDB));
}

bool OneWay::report(const _variant_t& vKey, enumConflictType eConflictType)
{
    const bool recorded =
        reportConflict({plan_.table.sTable, dNextReplicate_}, vKey, eConflictType, dSrcModDate_, dDestModDate_);
    if (recorded)
        ++counters_.lCntConflict;
    return recorded;
}

void OneWay::reportChangedOnBoth(const _variant_t& vKey)
{
    if (!report(vKey, CHANGED_ON_BOTH))
        return;
    Utils::dumpDifferences(plan_.table.sTable, selectRow(plan_.table, vKey));
    if (plan_.site != Site::Offices)
        return;
    ++counters_.lCntError;
    Utils::setError(true, changesNotAllowed());
}

void OneWay::reportChangedOnDestination(const _variant_t& vKey)
{
    if (!report(vKey, CHANGED_ON_DEST))
        return;
    ++counters_.lCntError;
    Utils::setError(true, changesNotAllowed());
}

void OneWay::reportOneSided(const _variant_t& vKey, enumConflictType eConflictType, Side side,
                            const std::wstring& sMessage)
{
    if (!report(vKey, eConflictType))
        return;
    ++counters_.lCntError;
    dumpRow(side, vKey);
    Utils::setError(true, sMessage);
}

void OneWay::dumpRow(Side side, const _variant_t& vKey)
{
    ado::Recordset row = openForwardOnly(*side(), selectDumpedRow(plan_.table, vKey));
    Utils::dumpDelete(plan_.table.sTable, row);
    row.close();
}

std::wstring OneWay::changesNotAllowed() const
{
    return L"Changed on both databases - Destination(" + sDestDatabaseName_ + L") changes are not allowed";
}

} // namespace quinmark
