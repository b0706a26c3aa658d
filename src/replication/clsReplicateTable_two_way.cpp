#include "com/convert.h"
#include "control/RaiseError.h"
#include "control/log.h"
#include "control/pairing.h"
#include "control/settings.h"
#include "db/forward_only.h"
#include "db/sql_literals.h"
#include "replication/clsReplicateTable.h"
#include "replication/logged_sql.h"
#include "replication/row_dates.h"
#include "replication/row_queries.h"
#include "replication/row_sql.h"
#include "replication/table_report.h"

using namespace quinmark;

namespace {

constexpr SideAliases kTwoWayAliases{L"nrv", L"zt", L"nrv_mod_date", L"zt_mod_date"};

/// One direction of a copy: where rows are read, how they are written, and what is said of rows that may not be new.
struct Direction
{
    std::shared_ptr<clsConn> (*from)();
    long (*execute)(const std::wstring& sSql, bool bReturnCount);
    const wchar_t* sFromName;
};

constexpr Direction kToDestination{Utils::getConnSource, executeOnDestination, L"Nrv"};
constexpr Direction kToSource{Utils::getConnDest, executeOnSource, L"ZT"};

void updateRow(const KeyedTable& table, const _variant_t& vKey, const Direction& direction)
{
    ado::Recordset row = openForwardOnly(*direction.from(), selectRow(table, vKey));
    direction.execute(Utils::getUpdateSql(row, table.sTable, keyCondition(table, vKey)), false);
    row.close();
}

void copyChangedRows(const KeyedTable& table, const Prefixes& prefixes, DATE dLastReplicate)
{
    const auto copy = [&](const ado::Field& sourceDate, const ado::Field& destinationDate, const ado::Field& key) {
        const DATE dSource = com::toDate(sourceDate.value());
        const DATE dDestination = com::toDate(destinationDate.value());
        if (dSource > dLastReplicate && dDestination > dLastReplicate)
            Utils::showMessage(L"replication conflict");
        const _variant_t vKey = key.value();
        switch (decideTwoWayRow(secondsApart(dSource, dDestination) == 0, dSource > dDestination)) {
        case TwoWayRow::Leave:
            break;
        case TwoWayRow::UpdateDestination:
            updateRow(table, vKey, kToDestination);
            break;
        case TwoWayRow::UpdateSource:
            updateRow(table, vKey, kToSource);
            break;
        }
    };
    ado::forEachRow(
        openForwardOnly(*Utils::getConnLocal(), selectChangedRows(table, prefixes, dLastReplicate, kTwoWayAliases)),
        copy, kTwoWayAliases.sSourceDate, kTwoWayAliases.sDestinationDate, table.sKey);
}

/// A row that should have been replicated before was deleted on the other side, or is in conflict. It is announced,
/// and copied all the same.
void announceOldRow(const KeyedTable& table, const Direction& direction, bool bDeletes)
{
    const std::wstring sName = direction.sFromName;
    Utils::showMessage(bDeletes ? L"TODO: delete from " + sName
                                : L"replication conflict - new row on " + sName + L" " + table.sTable +
                                      L" table before last Replicate date");
}

/// One pass over the rows that only one side has. `read` is the table as rows are selected from it: with its database
/// prefix from the source, without one from the destination.
struct MissingRows
{
    Direction direction;
    std::wstring sHasPrefix;
    std::wstring sLacksPrefix;
    KeyedTable read;
};

void copyMissingRows(const KeyedTable& table, const MissingRows& rows, DATE dLastReplicate, bool bDeletes)
{
    const auto copy = [&](const ado::Field& date, const ado::Field& key) {
        if (modifiedSince(com::toDate(date.value()), dLastReplicate) == Modified::BeforeLastRun)
            announceOldRow(table, rows.direction, bDeletes);
        ado::Recordset row = openForwardOnly(*rows.direction.from(), selectRow(rows.read, key.value()));
        rows.direction.execute(Utils::getInsertSql(row, table.sTable), false);
        row.close();
    };
    ado::forEachRow(
        openForwardOnly(*Utils::getConnLocal(), selectMissingRows(table, rows.sHasPrefix, rows.sLacksPrefix)), copy,
        L"mod_date", table.sKey);
}

} // namespace

void clsReplicateTable::replicateTableTwoWay(bool bDeletes)
try {
    const KeyedTable table{sTable_, L"unid"};
    const Prefixes prefixes = settings().prefixes();
    const auto& [sSourceDB, sDestinationDB] = prefixes;
    copyChangedRows(table, prefixes, dLastReplicate_);
    copyMissingRows(table, {kToDestination, sSourceDB, sDestinationDB, {sSourceDB + sTable_, table.sKey}},
                    dLastReplicate_, bDeletes);
    copyMissingRows(table, {kToSource, sDestinationDB, sSourceDB, table}, dLastReplicate_, bDeletes);

    writeCounts(settings().iReplicationUniqueId, sTable_,
                {{L" updates", counters_.lCntSourceUpdate},
                 {L" adds", counters_.lCntSourceAdd},
                 {L" deletes", counters_.lCntSourceDelete},
                 {L" updates", counters_.lCntDestUpdate},
                 {L" adds", counters_.lCntDestAdd},
                 {L" deletes", counters_.lCntDestDelete},
                 {L" errors", counters_.lCntError}});
    Utils::WriteLog(LOG_STAT, summaryText(sTable_, {{L"Adds to source: ", counters_.lCntSourceAdd},
                                                    {L"Updates to source: ", counters_.lCntSourceUpdate},
                                                    {L"Deletes to source: ", counters_.lCntSourceDelete},
                                                    {L"Adds to destination: ", counters_.lCntDestAdd},
                                                    {L"Updates to destination: ", counters_.lCntDestUpdate},
                                                    {L"Deletes to destination: ", counters_.lCntDestDelete},
                                                    {L"Errors: ", counters_.lCntError}}));
}
catch (...) {
    Common::reraise(L"clsReplicateTable.replicateTable(" + sTable_ + L")");
}
