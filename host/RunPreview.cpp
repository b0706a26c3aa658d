#include "RunPreview.h"

#include "ConflictPreview.h"
#include "DependentTable.h"
#include "Failure.h"
#include "History.h"
#include "RowDecision.h"
#include "TableContent.h"
#include "WaitingRows.h"
#include "WrittenColumns.h"
#include "com/convert.h"
#include "commands/rows.h"
#include "replication/row_dates.h"
#include "replication/row_queries.h"
#include "result_text.h"
#include "text.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>
#include <utility>

using namespace quinmark;
using nlohmann::ordered_json;

namespace {

constexpr SideAliases kAliases{L"src", L"dest", L"src_mod_date", L"dest_mod_date"};

constexpr char kWaits[] = "These rows wait for a decision and would be deleted or overwritten. Decide them first, with "
                          "`quinrep review` or `quinrep conflicts`.";
constexpr char kApostrophe[] = "The key of these rows holds an apostrophe, which would end the statement: change the "
                               "key on both sides.";
constexpr char kNoDate[] = "These rows have no mod_date, and one side alone has them, which ends the table in an error "
                           "(94, Invalid use of Null): give them a mod_date.";
constexpr char kNoKey[] = "A row without a key ends the table in an error (94, Invalid use of Null): give it a key.";
constexpr char kUnsupported[] = "These rows have a value in a column of a type that cannot be copied: a message box "
                                "opens, and then the statement fails.";
constexpr char kUnwritable[] = "These rows cannot be written: {}. `quinrep check` says what to do.";
constexpr char kNoCopy[] =
    "The rows of {} would be deleted, and the source's not copied: {}. `quinrep check` says what "
    "to do.";
constexpr char kNoDependents[] = "With each of these rows, its rows of {} would be deleted at the destination, and the "
                                 "source's not copied: {}. `quinrep check` says what to do.";
constexpr char kPassedOver[] =
    "These rows were changed after the last run with these two databases, whose interval ended at {0}, and before the "
    "next one begins, at {1}: something else has moved last_timestamp of the control record. A run would take them for "
    "old: it would not copy them, or would overwrite or delete them without a conflict. Set it back: "
    "update replication_control set last_timestamp = '{0}' where unique_key = {2}. Several laptops need control "
    "records "
    "of their own: set local to \"destination\" for each (see the document \"For administrators\", \"Several "
    "laptops\").";
constexpr char kAttend[] = " Run with --attended while somebody sits at the screen.";

long long countRows(clsConn& conn, const std::wstring& table)
{
    ado::Recordset rs = openForwardOnly(conn, L"select count(*) from " + table);
    const long long rows = com::toInt32(rs.field(0).value());
    rs.close();
    return rows;
}

/// Describes what two-way replication does with a row that it announces.
std::string notice(NextRun action)
{
    const auto then = [action] {
        switch (action) {
        case NextRun::OverwritesDestination:
            return "overwrites the destination's row with the source's, which is newer";
        case NextRun::OverwritesSource:
            return "overwrites the source's row with the destination's, which is newer";
        case NextRun::InsertsIntoDestination:
            return "copies the row to the destination, also if it was deleted there";
        case NextRun::InsertsIntoSource:
            return "copies the row to the source, also if it was deleted there";
        default:
            return "leaves the row as it is";
        }
    };
    return std::string(
               "Two-way replication shows a message box for each of these rows, waits until somebody closes it, "
               "and then ") +
           then() + ". To have it otherwise, change the row on the other side first." + kAttend;
}

bool exceeds(long long part, long long whole, double percent)
{
    return whole > 0 && 100.0 * static_cast<double>(part) > percent * static_cast<double>(whole);
}

/// Where the last run with these two databases left last_timestamp, if something else has moved it on since; otherwise
/// where it is. Dates that come in two ways are compared by their seconds.
DATE ownLastTimestamp(const Configuration& configuration, DATE last)
{
    const std::optional<DATE> left = lastTimestampLeft(configuration, History::read(configuration));
    return left && *left < last && secondsApart(*left, last) > 0 ? *left : last;
}

/// Fills the preview of one of the tables that a configured one copies.
class TablePreviewer
{
public:
    TablePreviewer(const Configuration& configuration, Databases& databases, const TableConfiguration& table,
                   const KeyedTable& copied, const WaitingRows& waiting, const ForeignKeyPreview* keys,
                   DATE dLastReplicate, DATE ownLast)
        : databases_(databases),
          configured_(table),
          waiting_(waiting),
          keys_(keys),
          plan_(planOf(table.method, table.deletes)),
          table_(copied),
          prefixes_{toWide(configuration.source.prefix), toWide(configuration.destination.prefix)},
          dLastReplicate_(dLastReplicate),
          ownLast_(ownLast),
          passedOver_(fmt::format(kPassedOver, isoDate(ownLast), isoDate(dLastReplicate),
                                  static_cast<int>(configuration.site))),
          site_(siteOf(configuration)),
          stops_(databases, toUtf8(copied.sTable))
    {
        preview_.name = toUtf8(copied.sTable);
        preview_.method = table.method;
    }

    TablePreview take()
    {
        try {
            compare();
        }
        catch (const com::Error& error) {
            // An error of the table would end the run too; a lost server is not the table's.
            if (!databases_.answer())
                throw;
            stops_.add(StopReason::WillFail, "The table cannot be compared: " + errorText(errorJson(error)));
        }
        preview_.deletedRows = listRows(databases_, preview_.name, deleted_);
        preview_.stops = stops_.take();
        return std::move(preview_);
    }

private:
    void compare()
    {
        if (keys_)
            keys_->preview(configured_, stops_);
        switch (plan_.engine) {
        case Engine::FullCopy:
        case Engine::ComputerType:
            previewFullCopy();
            break;
        case Engine::OneWay:
        case Engine::TwoWay:
            previewRows();
            break;
        case Engine::None:
            break;
        }
        judgeShares();
    }

    /// All rows are replaced: those that are the same afterwards are no change.
    void previewFullCopy()
    {
        for (const UnwritableColumn& column :
             serverFilledColumns(databases_.destination(), "destination", table_.sTable))
            stops_.add(StopReason::WillFail, fmt::format(kNoCopy, preview_.name, column.text));
        const bool hasKey = hasColumn(databases_.source(), table_.sTable, table_.sKey) &&
                            hasColumn(databases_.destination(), table_.sTable, table_.sKey);
        const TableContent source = readContent(databases_.source(), table_, hasKey);
        const TableContent destination = readContent(databases_.destination(), table_, hasKey);
        preview_.destinationRows = static_cast<long long>(destination.size());
        forEachDifference(source, destination, [&](const std::wstring& key, Difference difference, bool) {
            const _variant_t value = com::textVariant(key);
            switch (difference) {
            case Difference::LeftOnly:
                ++preview_.destinationAdds;
                break;
            case Difference::RightOnly:
                losesRow(value);
                break;
            case Difference::Different:
                overwritesRow(preview_.destinationUpdates, value);
                break;
            }
        });
    }

    void previewRows()
    {
        preview_.destinationRows = countRows(databases_.destination(), table_.sTable);
        sourceUnsupported_ = unsupportedColumns(databases_.source(), table_.sTable);
        destinationUnwritable_ = unwritableColumns(databases_.destination(), "destination", table_.sTable);
        findDependentObstacle();
        if (plan_.engine == Engine::TwoWay) {
            sourceRows_ = countRows(databases_.source(), table_.sTable);
            destinationUnsupported_ = unsupportedColumns(databases_.destination(), table_.sTable);
            sourceUnwritable_ = unwritableColumns(databases_.source(), "source", table_.sTable);
        }
        const auto& [sourceDB, destinationDB] = prefixes_;
        if (plan_.copiesRows) {
            forEachRow(selectChangedRows(table_, prefixes_, ownLast_, kAliases), kAliases.sSourceDate,
                       kAliases.sDestinationDate);
            forEachRow(selectMissingRows(table_, sourceDB, destinationDB), L"mod_date", nullptr);
        }
        if (plan_.looksForDeletedRows)
            forEachRow(selectMissingRows(table_, destinationDB, sourceDB), nullptr, L"mod_date");
    }

    /// Dependent rows are copied by statements that name no columns.
    void findDependentObstacle()
    {
        if (plan_.engine != Engine::OneWay || plan_.byKeyField || !isKnownDependent(configured_.dependent))
            return;
        try {
            const std::wstring dependent = toWide(configured_.dependent);
            for (clsConn* side : {&databases_.source(), &databases_.destination()})
                columnNames(*side, dependent);
            const std::vector<UnwritableColumn> filled =
                serverFilledColumns(databases_.destination(), "destination", dependent);
            if (!filled.empty())
                dependentObstacle_ = fmt::format(kNoDependents, configured_.dependent, filled.front().text);
        }
        catch (const com::Error& error) {
            if (!databases_.answer())
                throw;
            dependentObstacle_ = fmt::format(kNoDependents, configured_.dependent, trimmed(toUtf8(error.description)));
        }
    }

    void rewritesDependents(const _variant_t& key)
    {
        if (!dependentObstacle_.empty())
            stops_.addRow(StopReason::WillFail, dependentObstacle_, key);
    }

    /// Looks at each row of a comparison. A side that lacks the rows has no column for its date.
    void forEachRow(const std::wstring& sql, const wchar_t* sourceDate, const wchar_t* destinationDate)
    {
        ado::Recordset rs = openForwardOnly(databases_.local(), sql);
        const ado::Field key = rs.field(table_.sKey);
        const auto copy = [&rs](const wchar_t* date) {
            return date ? RowCopy{true, optionalDate(rs.value(date))} : RowCopy();
        };
        for (; !rs.eof(); rs.moveNext())
            previewRow(copy(sourceDate), copy(destinationDate), key.value());
        rs.close();
    }

    void previewRow(const RowCopy& source, const RowCopy& destination, const _variant_t& key)
    {
        const RowDecision decision = decide(source, destination, key);
        if (decision.announced)
            stops_.addRow(StopReason::MessageBoxes, notice(decision.action), key);
        if (decision.action == NextRun::LeavesIt)
            return;
        if (key.vt == VT_NULL)
            return stops_.addRow(StopReason::WillFail, kNoKey, key);
        if (!isSafeKey(key))
            return stops_.addRow(StopReason::WillFail, kApostrophe, key);
        switch (decision.action) {
        case NextRun::OverwritesDestination:
            overwritesRow(preview_.destinationUpdates, key);
            findUncopied(databases_.source(), sourceUnsupported_, destinationUnwritable_, key);
            rewritesDependents(key);
            break;
        case NextRun::InsertsIntoDestination:
            ++preview_.destinationAdds;
            findUncopied(databases_.source(), sourceUnsupported_, destinationUnwritable_, key);
            rewritesDependents(key);
            break;
        case NextRun::DeletesAtDestination:
            losesRow(key);
            rewritesDependents(key);
            break;
        case NextRun::OverwritesSource:
            overwritesRow(preview_.sourceUpdates, key);
            findUncopied(databases_.destination(), destinationUnsupported_, sourceUnwritable_, key);
            break;
        case NextRun::InsertsIntoSource:
            ++preview_.sourceAdds;
            findUncopied(databases_.destination(), destinationUnsupported_, sourceUnwritable_, key);
            break;
        case NextRun::ReportsIt:
            previewReport(decision.conflict, key);
            break;
        case NextRun::Fails:
            stops_.addRow(StopReason::WillFail, kNoDate, key);
            break;
        default:
            break;
        }
    }

    RowDecision decide(const RowCopy& source, const RowCopy& destination, const _variant_t& key)
    {
        const RowDecision sinceOwnLast = decideListedRow(plan_, site_, source, destination, ownLast_);
        if (ownLast_ == dLastReplicate_)
            return sinceOwnLast;
        // The rows are listed since the earlier date: the run's own query need not list them.
        const RowDecision decision = decideRow(plan_, site_, source, destination, dLastReplicate_);
        if (decision.rule != sinceOwnLast.rule)
            stops_.addRow(StopReason::Interval, passedOver_, key);
        return decision;
    }

    void losesRow(const _variant_t& key)
    {
        ++preview_.destinationDeletes;
        deleted_.push_back(key);
        protectRow(key);
    }

    void overwritesRow(long long& counter, const _variant_t& key)
    {
        ++counter;
        (&counter == &preview_.sourceUpdates ? sourceOverwritten_ : overwritten_).push_back(key);
        protectRow(key);
    }

    void protectRow(const _variant_t& key)
    {
        if (waiting_.contains(preview_.name, key))
            stops_.addRow(StopReason::WaitingConflict, kWaits, key);
    }

    /// A value of a type that has no literal opens a message box and leaves a hole in the statement; a column that
    /// cannot be written ends it whatever its value.
    void findUncopied(clsConn& from, const std::vector<std::wstring>& unsupported,
                      const std::vector<UnwritableColumn>& unwritable, const _variant_t& key)
    {
        for (const UnwritableColumn& column : unwritable)
            stops_.addRow(StopReason::WillFail, fmt::format(kUnwritable, column.text), key);
        if (unsupported.empty())
            return;
        ado::Recordset rs = openForwardOnly(from, selectRow(table_, key));
        for (const std::wstring& column : unsupported) {
            if (rs.eof() || rs.value(column).vt == VT_NULL)
                continue;
            stops_.addRow(StopReason::MessageBoxes, std::string(kUnsupported) + kAttend, key);
            stops_.addRow(StopReason::WillFail, kUnsupported, key);
        }
        rs.close();
    }

    void previewReport(enumConflictType kind, const _variant_t& key)
    {
        const ConflictPreview found = previewConflict(databases_, configured_.name, key, kind, dLastReplicate_);
        if (found.recorded)
            ++preview_.conflicts;
        if (!found.failure.empty())
            stops_.addRow(StopReason::WillFail, found.failure, key);
    }

    void judgeShares()
    {
        constexpr char kDeleted[] = "{} of {} rows of the {} would be deleted, {} may be. If that is meant, run with "
                                    "--force{}.";
        constexpr char kOverwritten[] = "{} of {} rows of the {} would be overwritten, {} may be. Look whether the "
                                        "direction and the clocks are right; if that is meant, run with --force{}.";
        const auto judge = [this](StopReason reason, const char* text, const std::vector<_variant_t>& keys,
                                  const char* side, long long rows, double percent, const char* limit) {
            const auto part = static_cast<long long>(keys.size());
            if (!exceeds(part, rows, percent))
                return;
            const std::string told =
                fmt::format(fmt::runtime(text), part, rows, side, percent > 0 ? fmt::format("{} %", percent) : "none",
                            percent > 0 ? fmt::format(" or raise {} for the table", limit) : "");
            for (const _variant_t& key : keys)
                stops_.addRow(reason, told, key);
        };
        judge(StopReason::Deletes, kDeleted, deleted_, "destination", preview_.destinationRows, configured_.maxDelete,
              "max_delete");
        judge(StopReason::Updates, kOverwritten, overwritten_, "destination", preview_.destinationRows,
              configured_.maxUpdate, "max_update");
        judge(StopReason::Updates, kOverwritten, sourceOverwritten_, "source", sourceRows_, configured_.maxUpdate,
              "max_update");
    }

    Databases& databases_;
    const TableConfiguration& configured_;
    const WaitingRows& waiting_;
    const ForeignKeyPreview* keys_;
    MethodPlan plan_;
    KeyedTable table_;
    Prefixes prefixes_;
    DATE dLastReplicate_;
    DATE ownLast_;
    std::string passedOver_;
    Site site_;
    TablePreview preview_;
    TableStops stops_;
    std::vector<std::wstring> sourceUnsupported_;
    std::vector<std::wstring> destinationUnsupported_;
    std::vector<UnwritableColumn> sourceUnwritable_;
    std::vector<UnwritableColumn> destinationUnwritable_;
    /// Why the rows of the dependent table cannot be copied; empty when they can.
    std::string dependentObstacle_;
    long long sourceRows_ = 0;
    /// The keys of the rows that are counted, to be listed where they are too many.
    std::vector<_variant_t> deleted_;
    std::vector<_variant_t> overwritten_;
    std::vector<_variant_t> sourceOverwritten_;
};

} // namespace

RunPreview::RunPreview(const Configuration& configuration, Databases& databases)
{
    requireOwnPrefixes(configuration, databases);
    const DATE last = lastReplicateDate(configuration, databases);
    const DATE ownLast = ownLastTimestamp(configuration, last);
    const WaitingRows waiting(databases.local());
    std::optional<ForeignKeyPreview> keys;
    if (std::ranges::any_of(configuration.tables, &TableConfiguration::isCopiedWhole))
        keys.emplace(configuration, databases);
    for (size_t index = 0; index < configuration.tables.size(); ++index) {
        const TableConfiguration& table = configuration.tables[index];
        // Looks at the keys of all tables that the configured one copies.
        const ForeignKeyPreview* unseenKeys = table.isCopiedWhole() ? &*keys : nullptr;
        for (const KeyedTable& copied : tablesCopiedBy(table))
            whileDoing("comparing table " + toUtf8(copied.sTable), [&] {
                tables_.push_back(TablePreviewer(configuration, databases, table, copied, waiting,
                                                 std::exchange(unseenKeys, nullptr), last, ownLast)
                                      .take());
                tables_.back().configured = index;
            });
    }
    previewDeletedRows(configuration, databases, keys);
}

/// Only when all tables are previewed is it known which rows that refer to a deleted one the run deletes by itself.
void RunPreview::previewDeletedRows(const Configuration& configuration, Databases& databases,
                                    std::optional<ForeignKeyPreview>& keys)
{
    ForeignKeyPreview::DeletedKeys deleted(configuration.tables.size());
    for (const TablePreview& table : tables_)
        if (!configuration.tables[table.configured].isCopiedWhole())
            for (const ordered_json& row : table.deletedRows)
                deleted[table.configured].insert(toWide(row["key"].get<std::string>()));
    for (TablePreview& table : tables_)
        if (!deleted[table.configured].empty())
            whileDoing("looking for rows that refer to those of table " + table.name, [&] {
                if (!keys)
                    keys.emplace(configuration, databases);
                TableStops stops(databases, table.name);
                keys->previewDeletedRows(table.configured, deleted, stops);
                std::ranges::move(stops.take(), std::back_inserter(table.stops));
            });
}

ordered_json RunPreview::stops(bool force, bool attended) const
{
    return stopsThat(false, force, attended);
}

ordered_json RunPreview::passed(bool force, bool attended) const
{
    return stopsThat(true, force, attended);
}

ordered_json RunPreview::stopsThat(bool arePassed, bool force, bool attended) const
{
    ordered_json stops = ordered_json::array();
    for (const TablePreview& table : tables_)
        for (const RunStop& stop : table.stops)
            if (isPassed(stop.reason, force, attended) == arePassed)
                stops.push_back(stop.toJson());
    return stops;
}

ordered_json RunPreview::tables() const
{
    ordered_json tables = ordered_json::array();
    for (const TablePreview& preview : tables_)
        tables.push_back({{"table", preview.name},
                          {"method", methodName(preview.method)},
                          {"destination_rows", preview.destinationRows},
                          {"updates", preview.destinationUpdates},
                          {"adds", preview.destinationAdds},
                          {"deletes", preview.destinationDeletes},
                          {"source_updates", preview.sourceUpdates},
                          {"source_adds", preview.sourceAdds},
                          {"conflicts", preview.conflicts}});
    return tables;
}

ordered_json RunPreview::deletedRows() const
{
    ordered_json rows = ordered_json::array();
    for (const TablePreview& preview : tables_)
        for (ordered_json row : preview.deletedRows) {
            row["table"] = preview.name;
            rows.push_back(std::move(row));
        }
    return rows;
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

Site siteOf(const Configuration& configuration)
{
    return configuration.site == OFFICES ? Site::Offices : Site::Laptop;
}
