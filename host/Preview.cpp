#include "Preview.h"

#include "HostError.h"
#include "com/convert.h"
#include "commands/rows.h"
#include "conflicts/report_conflict.h"
#include "control/settings.h"
#include "db/forward_only.h"
#include "replication/method_plan.h"
#include "replication/row_dates.h"
#include "replication/row_queries.h"
#include "text.h"

#include <algorithm>
#include <functional>

namespace {

constexpr SideAliases kAliases{L"src", L"dest", L"src_mod_date", L"dest_mod_date"};

long long countRows(clsConn& conn, const std::wstring& table)
{
    ado::Recordset rs = openForwardOnly(conn, L"select count(*) from " + table);
    const long long rows = com::toInt32(rs.field(0).value());
    rs.close();
    return rows;
}

/// One table under the eyes of the preview.
class Look
{
public:
    Look(const Configuration& configuration, Databases& databases, const TableConfiguration& table, DATE dLastReplicate)
        : databases_(databases),
          configured_(table),
          plan_(planOf(table.method, table.deletes)),
          table_{toWide(table.name), toWide(table.keyColumn())},
          dLastReplicate_(dLastReplicate),
          site_(configuration.site == OFFICES ? Site::Offices : Site::Laptop)
    {
        // The component's statements name both sides by the prefixes of this thread's settings.
        settings().sSourceDB = toWide(configuration.source.prefix);
        settings().sDestinationDB = toWide(configuration.destination.prefix);
        preview_.name = table.name;
        preview_.method = table.method;
    }

    TablePreview take()
    {
        if (configured_.method == COMPUTER_TYPE)
            table_.sTable = L"computer_type";
        preview_.destinationRows = countRows(databases_.destination(), table_.sTable);
        switch (configured_.method) {
        case ONE_WAY_DELETE_ALL:
        case COMPUTER_TYPE:
            lookAtFullCopy();
            break;
        case TWO_WAY:
        case TWO_WAY_NO_DELETES:
            lookAtTwoWay();
            break;
        default:
            lookAtOneWay();
        }
        return preview_;
    }

private:
    using DatesAndKey = std::function<void(const ado::Recordset&, const _variant_t&)>;

    void forEachRow(const std::wstring& sql, const DatesAndKey& visit)
    {
        ado::Recordset rs = openForwardOnly(databases_.local(), sql);
        const ado::Field key = rs.field(table_.sKey);
        for (; !rs.eof(); rs.moveNext())
            visit(rs, key.value());
        rs.close();
    }

    std::wstring onlyInSource() const
    {
        return selectMissingRows(table_, settings().sSourceDB, settings().sDestinationDB);
    }

    std::wstring onlyInDestination() const
    {
        return selectMissingRows(table_, settings().sDestinationDB, settings().sSourceDB);
    }

    void lookAtFullCopy()
    {
        preview_.destinationAdds = countRows(databases_.source(), table_.sTable);
        if (preview_.destinationAdds == 0)
            preview_.destinationDeletes = preview_.destinationRows;
        else if (hasKey())
            forEachRow(onlyInDestination(),
                       [&](const ado::Recordset&, const _variant_t&) { ++preview_.destinationDeletes; });
        else
            preview_.destinationDeletes = std::max(0LL, preview_.destinationRows - preview_.destinationAdds);
        if (configured_.method == COMPUTER_TYPE)
            lookAtComputerTypeSettings();
    }

    /// A full copy needs no key: without one, only the numbers of rows can be compared.
    bool hasKey() { return containsName(columnNames(databases_.destination(), table_.sTable), table_.sKey); }

    /// The settings are emptied and copied with the types: what they would lose counts with what the types would.
    void lookAtComputerTypeSettings()
    {
        const long long rows = countRows(databases_.destination(), L"computer_type_setting");
        preview_.destinationRows += rows;
        preview_.destinationDeletes += std::max(0LL, rows - countRows(databases_.source(), L"computer_type_setting"));
    }

    void lookAtOneWay()
    {
        if (plan_.copiesRows) {
            forEachRow(selectChangedRows(table_, dLastReplicate_, kAliases),
                       [&](const ado::Recordset& rs, const _variant_t& key) { lookAtCommonRow(rs, key); });
            forEachRow(onlyInSource(),
                       [&](const ado::Recordset& rs, const _variant_t& key) { lookAtSourceRow(rs, key); });
        }
        if (plan_.looksForDeletedRows)
            forEachRow(onlyInDestination(),
                       [&](const ado::Recordset& rs, const _variant_t& key) { lookAtDestinationRow(rs, key); });
    }

    void lookAtCommonRow(const ado::Recordset& rs, const _variant_t& key)
    {
        const CommonDates dates = compareDates(com::toDate(rs.value(kAliases.sSourceDate)),
                                               com::toDate(rs.value(kAliases.sDestinationDate)), dLastReplicate_);
        switch (decideCommonRow(site_, dates)) {
        case CommonRow::Leave:
            break;
        case CommonRow::Update:
            ++preview_.destinationUpdates;
            break;
        case CommonRow::ReportChangedOnBoth:
        case CommonRow::ReportChangedOnDestination:
            countConflict(key);
            break;
        }
    }

    void lookAtSourceRow(const ado::Recordset& rs, const _variant_t& key)
    {
        switch (decideSourceOnlyRow(site_, modified(rs))) {
        case SourceOnlyRow::Leave:
            break;
        case SourceOnlyRow::Insert:
            ++preview_.destinationAdds;
            break;
        case SourceOnlyRow::ReportDeletedInDestination:
            countConflict(key);
            break;
        }
    }

    void lookAtDestinationRow(const ado::Recordset& rs, const _variant_t& key)
    {
        switch (decideDestinationOnlyRow(site_, modified(rs), plan_.deletes)) {
        case DestinationOnlyRow::Leave:
            break;
        case DestinationOnlyRow::Delete:
            ++preview_.destinationDeletes;
            break;
        case DestinationOnlyRow::ReportNew:
        case DestinationOnlyRow::ReportNewOrDeletedFromSource:
        case DestinationOnlyRow::ReportDeletedFromSource:
            countConflict(key);
            break;
        }
    }

    Modified modified(const ado::Recordset& rs) const
    {
        return modifiedSince(com::toDate(rs.value(L"mod_date")), dLastReplicate_);
    }

    /// A conflict is recorded only where the copies differ in more than their date.
    void countConflict(const _variant_t& key)
    {
        const std::wstring sql = selectRow({table_.sTable, L"unid"}, key);
        ado::Recordset source = openForwardOnly(databases_.source(), sql);
        ado::Recordset destination = openForwardOnly(databases_.destination(), sql);
        if (getConflictData(table_.sTable, source, destination)->count() > 0)
            ++preview_.conflicts;
        source.close();
        destination.close();
    }

    void lookAtTwoWay()
    {
        forEachRow(selectChangedRows(table_, dLastReplicate_, kAliases),
                   [&](const ado::Recordset& rs, const _variant_t&) { lookAtTwoWayRow(rs); });
        forEachRow(onlyInSource(), [&](const ado::Recordset&, const _variant_t&) { ++preview_.destinationAdds; });
        forEachRow(onlyInDestination(), [&](const ado::Recordset&, const _variant_t&) { ++preview_.sourceAdds; });
    }

    void lookAtTwoWayRow(const ado::Recordset& rs)
    {
        const DATE source = com::toDate(rs.value(kAliases.sSourceDate));
        const DATE destination = com::toDate(rs.value(kAliases.sDestinationDate));
        switch (decideTwoWayRow(secondsApart(source, destination) == 0, source > destination)) {
        case TwoWayRow::Leave:
            break;
        case TwoWayRow::UpdateDestination:
            ++preview_.destinationUpdates;
            break;
        case TwoWayRow::UpdateSource:
            ++preview_.sourceUpdates;
            break;
        }
    }

    Databases& databases_;
    const TableConfiguration& configured_;
    MethodPlan plan_;
    KeyedTable table_;
    DATE dLastReplicate_;
    Site site_;
    TablePreview preview_;
};

} // namespace

TablePreview previewTable(const Configuration& configuration, Databases& databases, const TableConfiguration& table,
                          DATE dLastReplicate)
{
    return Look(configuration, databases, table, dLastReplicate).take();
}

DATE lastReplicateDate(const Configuration& configuration, Databases& databases)
{
    ado::Recordset rs =
        openForwardOnly(databases.local(), L"select last_timestamp from replication_control where unique_key = " +
                                               siteKey(configuration.site));
    if (rs.eof())
        throw missingControlRecord();
    const _variant_t last = rs.field(0).value();
    rs.close();
    if (!com::isDate(last))
        throw HostError(kNotReady, "last_timestamp of the site's control record is no date", kSetLastTimestamp);
    return com::toDate(last);
}
