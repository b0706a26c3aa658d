#include "RowHistory.h"
#include "RunPreview.h"
#include "Session.h"
#include "SideNames.h"
#include "commands.h"
#include "commands/rows.h"
#include "conflicts/rows_today.h"
#include "conflicts/why.h"
#include "nearest.h"
#include "replication/row_dates.h"
#include "replication/row_sql.h"
#include "result_text.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <objbase.h>

using namespace quinmark;
using nlohmann::ordered_json;

namespace {

/// A GUID as databases and records have it, whatever its braces and letters; any other key as it is.
std::string usualForm(const std::string& key)
{
    GUID guid;
    wchar_t text[std::size(L"{0F8FAD5B-D9CB-469F-A165-708677289501}")];
    const std::wstring braced = toWide(key.starts_with('{') ? key : "{" + key + "}");
    return SUCCEEDED(IIDFromString(braced.c_str(), &guid)) && StringFromGUID2(guid, text, std::size(text)) > 0
               ? toUtf8(text)
               : key;
}

const char* actionWord(NextRun next)
{
    switch (next) {
    case NextRun::LeavesIt:
        return "leaves";
    case NextRun::OverwritesDestination:
        return "overwrites_destination";
    case NextRun::DeletesAtDestination:
        return "deletes_at_destination";
    case NextRun::InsertsIntoDestination:
        return "inserts_into_destination";
    case NextRun::OverwritesSource:
        return "overwrites_source";
    case NextRun::InsertsIntoSource:
        return "inserts_into_source";
    case NextRun::ReportsIt:
        return "reports";
    case NextRun::Fails:
        return "fails";
    case NextRun::PassesTheTable:
        return "passes_table";
    case NextRun::Unknown:
        break;
    }
    return "unknown";
}

/// All that is known of one row.
class Explanation
{
public:
    Explanation(const Configuration& configuration, Databases& databases, const std::string& table,
                const std::string& key)
        : configuration_(configuration),
          databases_(databases),
          names_(configuration),
          row_{.table = knownTable(table), .key = key},
          configured_(configuredTable(configuration, row_.table)),
          table_{toWide(row_.table), toWide(configured_ ? configured_->keyColumn() : "unid")}
    {
        row_.key = storedKey(key);
        row_.numericKey = hasNumericKey(table_.sTable);
        for (ConflictedRow& recorded : recordedRows(databases))
            if (sameName(recorded.table, row_.table) && sameName(recorded.key, row_.key))
                row_.records = std::move(recorded.records);
        lookAtRowToday(configuration, databases, row_);
        history_ = rowHistory(configuration, table_, row_);
        if (!exists() && history_.empty())
            throw HostError(kUsage,
                            fmt::format("neither side has a row \"{}\" of {}, and nothing is recorded of one", row_.key,
                                        row_.table),
                            fmt::format("Give the row's value of the column {}; `quinrep verify` lists the rows that "
                                        "differ.",
                                        toUtf8(table_.sKey)));
    }

    ordered_json toJson() const
    {
        const std::optional<DATE> last = lastRun();
        return {{"table", row_.table},
                {"key", row_.key},
                {"key_info", describeRow(databases_, row_.table, com::textVariant(toWide(row_.key)))},
                {"method", configured_ ? ordered_json(methodName(configured_->method)) : ordered_json()},
                {"last_run", last ? ordered_json(isoDate(*last)) : ordered_json()},
                {"source", sideJson(names_.source, row_.source.row, row_.destination.row, last)},
                {"destination", sideJson(names_.destination, row_.destination.row, row_.source.row, last)},
                {"columns", columns()},
                {"rules", rules()},
                {"conflict", row_.records.empty() ? ordered_json() : ordered_json(row_.latest().id)},
                {"next_run", {{"action", actionWord(row_.next)}, {"text", nextRun()}, {"stops", stops()}}},
                {"history", history_}};
    }

private:
    bool exists() const { return row_.source.row.exists || row_.destination.row.exists; }

    /// The table's name as the configuration has it, else as it was given, where a database has such a table.
    std::string knownTable(const std::string& name)
    {
        for (const TableConfiguration& table : configuration_.tables)
            if (sameName(table.name, name))
                return table.name;
        for (clsConn* side : {&databases_.source(), &databases_.destination()})
            if (isPlainName(name) && canRead(*side, L"select * from " + toWide(name) + L" where 1 = 0"))
                return name;
        std::vector<std::string> known;
        std::ranges::transform(configuration_.tables, std::back_inserter(known), &TableConfiguration::name);
        throw HostError(kUsage,
                        "there is no table \"" + name + "\" in the configuration or the databases" +
                            didYouMean(name, known),
                        fmt::format("The configuration has {}.", fmt::join(known, ", ")));
    }

    bool canRead(clsConn& side, const std::wstring& sql)
    try {
        openForwardOnly(side, sql).close();
        return true;
    }
    catch (const com::Error&) {
        if (!databases_.answer())
            throw;
        return false;
    }

    /// The key as the side that has the row tells it.
    std::string storedKey(const std::string& key)
    {
        const std::wstring sql =
            L"select " + table_.sKey + L" from " + table_.sTable + L" where " + table_.sKey + L" in " + idList({key});
        for (clsConn* side : {&databases_.source(), &databases_.destination()}) {
            if (!hasColumn(*side, table_.sTable, table_.sKey))
                throw HostError(
                    kUsage,
                    fmt::format("{} has no column {}, by which a row could be named", row_.table, toUtf8(table_.sKey)),
                    "`quinrep verify` compares such a table by whole rows.");
            if (!canRead(*side, sql))
                throw HostError(kUsage, fmt::format("\"{}\" is no key of {}", key, row_.table),
                                fmt::format("Give a value of the column {}.", toUtf8(table_.sKey)));
            ado::Recordset rs = openForwardOnly(*side, sql);
            std::string stored = rs.eof() ? std::string() : toUtf8(com::concatText(rs.field(0).value()));
            rs.close();
            if (!stored.empty())
                return stored;
        }
        return usualForm(key);
    }

    std::optional<DATE> lastRun() const
    try {
        return lastReplicateDate(configuration_, databases_);
    }
    catch (const HostError&) {
        return std::nullopt;
    }

    static ordered_json sideJson(const std::string& name, const RowCopy& copy, const RowCopy& other,
                                 const std::optional<DATE>& last)
    {
        ordered_json since;
        if (copy.modified && last)
            since =
                other.exists ? *copy.modified > *last : modifiedSince(*copy.modified, *last) == Modified::SinceLastRun;
        return {{"name", name},
                {"has_it", copy.exists},
                {"mod_date", copy.modified ? ordered_json(isoDate(*copy.modified)) : ordered_json()},
                {"since_last_run", since}};
    }

    /// Both copies, the columns that differ first.
    ordered_json columns() const
    {
        ordered_json columns = ordered_json::array();
        const CopyToday& names = row_.source.row.exists ? row_.source : row_.destination;
        for (const bool differing : {true, false})
            for (const auto& column : names.columns.items()) {
                const ordered_json source = row_.source.columns.value(column.key(), ordered_json());
                const ordered_json destination = row_.destination.columns.value(column.key(), ordered_json());
                const bool differs = row_.source.row.exists != row_.destination.row.exists || source != destination;
                if (differs == differing)
                    columns.push_back({{"column", column.key()},
                                       {"source", source},
                                       {"destination", destination},
                                       {"differs", differs}});
            }
        return columns;
    }

    ordered_json rules() const
    {
        ordered_json rules = ordered_json::array();
        for (const AppliedRule& rule : appliedRules(row_, names_))
            rules.push_back({{"id", rule.id.empty() ? ordered_json() : ordered_json(rule.id)}, {"words", rule.words}});
        return rules;
    }

    std::string nextRun() const
    {
        if (!configured_)
            return notConfigured();
        if (!exists())
            return "There is nothing for the next run to do.";
        if (row_.next == NextRun::ReportsIt && row_.records.empty())
            return "The next run reports the row and leaves it as it is.";
        return nextRunText(row_.next, names_) + dependents();
    }

    bool hasDependents(const TableConfiguration& table) const
    {
        return !Utils::getDependentSql(toWide(table.dependent), com::textVariant(L""), L"").empty();
    }

    std::string notConfigured() const
    {
        for (const TableConfiguration& table : configuration_.tables)
            if (sameName(table.dependent, row_.table) && hasDependents(table))
                return fmt::format("The configuration lists the table as a dependent one of {0}: a run that copies or "
                                   "deletes a row of {0} replaces the rows that depend on it. `quinrep explain {0} "
                                   "KEY` tells of that row.",
                                   table.name);
        return "The configuration does not list the table. " + nextRunText(row_.next, names_);
    }

    std::string dependents() const
    {
        switch (row_.next) {
        case NextRun::OverwritesDestination:
        case NextRun::InsertsIntoDestination:
        case NextRun::DeletesAtDestination:
            break;
        default:
            return {};
        }
        return hasDependents(*configured_)
                   ? fmt::format(" The rows of {} that depend on it are deleted at {} and copied from {} again.",
                                 configured_->dependent, names_.destination, names_.source)
                   : std::string();
    }

    /// Why a run would not begin as things are, the reasons of this row first.
    ordered_json stops() const
    {
        ordered_json stops = ordered_json::array();
        if (!configured_)
            return stops;
        try {
            const RunPreview preview(configuration_, databases_);
            ordered_json others = ordered_json::array();
            for (const ordered_json& stop : preview.stops(false, false)) {
                const bool ofThisRow = sameName(stop["table"], row_.table) &&
                                       std::ranges::any_of(stop["rows"], [&](const ordered_json& row) {
                                           return sameName(row["key"], row_.key);
                                       });
                (ofThisRow ? stops : others)
                    .push_back({{"reason", stop["reason"]},
                                {"table", stop["table"]},
                                {"rows", stop["rows"].size()},
                                {"this_row", ofThisRow},
                                {"text", names_.in(stop["text"])}});
            }
            stops.insert(stops.end(), others.begin(), others.end());
        }
        catch (const HostError& error) {
            stops.push_back(siteStop("no_interval", std::string(error.what()) + ". " + error.todo()));
        }
        for (const ordered_json& control :
             jsonRows(databases_.local(), L"select ready_f, error_f, error_message from replication_control where "
                                          L"unique_key = " +
                                              siteKey(configuration_.site)))
        {
            if (control["ready_f"] != true)
                stops.push_back(siteStop("not_ready", "The site is not marked ready: only a run with --ready begins."));
            if (control["error_f"] == true)
                stops.push_back(siteStop("in_error", errorText(resultText(control["error_message"]))));
        }
        return stops;
    }

    std::string errorText(const std::string& recorded) const
    {
        return fmt::format("The site is in error: {}. {}nly a run with --reset-error begins.", recorded,
                           configuration_.onConflicts == OnConflicts::Continue
                               ? "Unless the last run recorded that for conflicts alone, o"
                               : "O");
    }

    static ordered_json siteStop(const char* reason, const std::string& text)
    {
        return {{"reason", reason}, {"table", nullptr}, {"rows", 0}, {"this_row", false}, {"text", text}};
    }

    const Configuration& configuration_;
    Databases& databases_;
    SideNames names_;
    ConflictedRow row_;
    const TableConfiguration* configured_;
    KeyedTable table_;
    ordered_json history_;
};

} // namespace

Outcome explainCommand(const Configuration& configuration, const std::string& table, const std::string& key)
{
    Databases databases(configuration);
    return {{{"row", Explanation(configuration, databases, table, key).toJson()}}};
}
