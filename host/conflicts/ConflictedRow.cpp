#include "conflicts/ConflictedRow.h"

#include "HostError.h"
#include "RunPreview.h"
#include "com/convert.h"
#include "commands/rows.h"
#include "conflicts/rows_today.h"
#include "nearest.h"
#include "text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <fmt/format.h>
#include <iomanip>
#include <map>
#include <sstream>
#include <windows.h>

using namespace quinmark;
using nlohmann::ordered_json;

namespace {

struct Kind
{
    long kind;
    const char* word;
    const char* name;
    /// With places for the names of source and destination.
    const char* nameForPeople;
};

constexpr std::array kKinds{
    Kind{CHANGED_ON_BOTH, "changed_on_both", "changed on both sides", "changed on both sides"},
    Kind{NEW_ON_source, "new_on_source", "new on the source", "new at {0}"},
    Kind{NEW_ON_DEST, "new_on_destination", "new on the destination", "new at {1}"},
    Kind{CHANGED_ON_DEST, "changed_on_destination", "changed on the destination", "changed at {1}"},
    Kind{DELETED_ON_SOURCE, "deleted_on_source", "deleted on the source", "deleted at {0}"},
};

const Kind* kindOf(long kind)
{
    const auto* found = std::ranges::find(kKinds, kind, &Kind::kind);
    return found == kKinds.end() ? nullptr : found;
}

std::wstring lower(const std::string& text)
{
    std::wstring wide = toWide(text);
    CharLowerBuffW(wide.data(), static_cast<DWORD>(wide.size()));
    return wide;
}

ordered_json dateJson(const std::optional<DATE>& date)
{
    return date ? columnValue(_variant_t(*date, VT_DATE)) : ordered_json();
}

/// A date as 2026-11-21; empty for none, which is before every day.
std::string dayOf(const std::optional<DATE>& date)
{
    return date ? isoDate(*date).substr(0, std::string_view("2026-11-21").size()) : std::string();
}

/// All conflicts by the rows that they are about, in the order of the query: latest first.
std::vector<ConflictedRow> groupedConflicts(clsConn& local)
{
    std::vector<ConflictedRow> rows;
    std::map<std::pair<std::string, std::string>, size_t> places;
    const auto add = [&](const auto& id, const auto& tableName, const auto& kind, const auto& number, const auto& guid,
                         const auto& keyInfo, const auto& found, const auto& source, const auto& destination) {
        const std::string table = toUtf8(com::concatText(tableName.value()));
        const std::string guidText = toUtf8(com::concatText(guid.value()));
        const std::string key = guidText.empty() ? toUtf8(com::concatText(number.value())) : guidText;
        const auto [place, isNew] = places.try_emplace(
            {toUtf8(com::upperCase(toWide(table))), toUtf8(com::upperCase(toWide(key)))}, rows.size());
        if (isNew)
            rows.push_back({.table = table, .key = key, .numericKey = guidText.empty()});
        const _variant_t type = kind.value();
        rows[place->second].records.push_back({.id = toUtf8(com::concatText(id.value())),
                                               .kind = type.vt == VT_NULL ? 0 : com::toInt32(type),
                                               .keyInfo = toUtf8(com::concatText(keyInfo.value())),
                                               .found = optionalDate(found.value()),
                                               .sourceDate = optionalDate(source.value()),
                                               .destinationDate = optionalDate(destination.value())});
    };
    ado::forEachRow(
        openForwardOnly(local, L"select unid, table_name, conflict_type, patient_id, guid, key_info, "
                               L"last_replicate_date, source_mod_date, destination_mod_date from replication_conflict "
                               L"order by last_replicate_date desc, unid"),
        add, L"unid", L"table_name", L"conflict_type", L"patient_id", L"guid", L"key_info", L"last_replicate_date",
        L"source_mod_date", L"destination_mod_date");
    std::ranges::sort(rows, {}, [](const ConflictedRow& row) {
        return std::tuple(com::upperCase(toWide(row.table)), row.latest().keyInfo, row.key);
    });
    return rows;
}

bool hasId(const ConflictedRow& row, const std::string& id)
{
    return std::ranges::any_of(row.records, [&](const ConflictRecord& record) {
        return sameName(record.id, id) || sameName(record.id, "{" + id + "}");
    });
}

void requireKnown(const Configuration& configuration, const std::vector<ConflictedRow>& rows,
                  const ConflictFilter& filter)
{
    for (const std::string& id : filter.ids)
        if (std::ranges::none_of(rows, [&](const ConflictedRow& row) { return hasId(row, id); }))
            throw HostError(kUsage, "there is no conflict \"" + id + "\"", "`quinrep conflicts list` shows the ids.");
    std::vector<std::string> tables;
    std::ranges::transform(rows, std::back_inserter(tables), &ConflictedRow::table);
    filter.requireTable(configuration, tables);
    filter.requireDay();
}

bool isMeant(const ConflictedRow& row, const ConflictFilter& filter)
{
    const ConflictRecord& latest = row.latest();
    const bool named =
        filter.ids.empty() || std::ranges::any_of(filter.ids, [&](const std::string& id) { return hasId(row, id); });
    return named && filter.fits(row.table, latest.kind, latest.keyInfo, dayOf(latest.found));
}

} // namespace

std::vector<std::string> ConflictedRow::ids() const
{
    std::vector<std::string> ids;
    std::ranges::transform(records, std::back_inserter(ids), &ConflictRecord::id);
    return ids;
}

bool ConflictedRow::sourceLackedIt() const
{
    return latest().kind == NEW_ON_DEST || latest().kind == DELETED_ON_SOURCE;
}

bool ConflictedRow::destinationLackedIt() const
{
    return latest().kind == NEW_ON_source;
}

ordered_json ConflictedRow::toJson() const
{
    const ConflictRecord& last = latest();
    return {{"unid", last.id},
            {"ids", ids()},
            {"table_name", table},
            {"key", key},
            {"key_info", last.keyInfo},
            {"conflict_type", last.kind},
            {"conflict", kindName(last.kind)},
            {"found", records.size()},
            {"first_found", dateJson(records.back().found)},
            {"last_found", dateJson(last.found)},
            {"source_mod_date", sourceLackedIt() ? ordered_json() : dateJson(last.sourceDate)},
            {"destination_mod_date", destinationLackedIt() ? ordered_json() : dateJson(last.destinationDate)},
            {"state", stateName(state)},
            {"next_run", nextRunText(next)}};
}

bool ConflictFilter::fits(const std::string& tableName, long conflictKind, const std::string& keyInfo,
                          const std::string& day) const
{
    const std::wstring text = lower(contains);
    const auto has = [&](const std::string& where) { return lower(where).find(text) != std::wstring::npos; };
    return (table.empty() || sameName(tableName, table)) && (kind.empty() || kind == kindWord(conflictKind)) &&
           (before.empty() || day < before) &&
           (has(tableName) || has(kindName(conflictKind)) || has(kindName(conflictKind, names)) || has(keyInfo));
}

void ConflictFilter::requireTable(const Configuration& configuration, const std::vector<std::string>& tables) const
{
    std::vector<std::string> known = tableNames(configuration);
    std::ranges::copy(tables, std::back_inserter(known));
    if (!table.empty() &&
        std::ranges::none_of(known, [this](const std::string& name) { return sameName(name, table); }))
        throw HostError(kUsage,
                        "there is no table \"" + table + "\" in the configuration or the conflicts" +
                            didYouMean(table, known),
                        "`quinrep conflicts list` shows the tables.");
}

void ConflictFilter::requireDay() const
{
    if (before.empty())
        return;
    std::tm time{};
    std::istringstream stream(before);
    using namespace std::chrono;
    if (!(stream >> std::get_time(&time, "%Y-%m-%d")) || stream.peek() != std::istringstream::traits_type::eof() ||
        before.size() != std::string_view("2026-11-21").size() ||
        !year_month_day(year(time.tm_year + 1900), month(static_cast<unsigned>(time.tm_mon + 1)),
                        std::chrono::day(static_cast<unsigned>(time.tm_mday)))
             .ok())
        throw HostError(kUsage, "\"" + before + "\" is no day", "Give it as 2026-11-21.");
}

bool sameName(const std::string& left, const std::string& right)
{
    return com::upperCase(toWide(left)) == com::upperCase(toWide(right));
}

const char* kindWord(long kind)
{
    const Kind* known = kindOf(kind);
    return known ? known->word : "unknown";
}

const char* kindName(long kind)
{
    const Kind* known = kindOf(kind);
    return known ? known->name : "unknown";
}

std::string kindName(long kind, const SideNames& names)
{
    const Kind* known = kindOf(kind);
    return known ? fmt::format(fmt::runtime(known->nameForPeople), names.source, names.destination) : kindName(kind);
}

long kindOfWord(const std::string& word)
{
    const auto* found = std::ranges::find(kKinds, word, &Kind::word);
    return found == kKinds.end() ? 0 : found->kind;
}

const std::vector<std::string>& kindWords()
{
    static const std::vector<std::string> kWords = [] {
        std::vector<std::string> words;
        std::ranges::transform(kKinds, std::back_inserter(words), &Kind::word);
        return words;
    }();
    return kWords;
}

std::vector<ConflictedRow> recordedRows(Databases& databases)
{
    return groupedConflicts(databases.local());
}

std::vector<ConflictedRow> conflictedRows(const Configuration& configuration, Databases& databases,
                                          const ConflictFilter& filter)
{
    std::vector<ConflictedRow> rows = recordedRows(databases);
    filterRows(configuration, rows, filter);
    lookAtRowsToday(configuration, databases, rows);
    return rows;
}

void filterRows(const Configuration& configuration, std::vector<ConflictedRow>& rows, const ConflictFilter& filter)
{
    requireKnown(configuration, rows, filter);
    std::erase_if(rows, [&](const ConflictedRow& row) { return !isMeant(row, filter); });
}

ordered_json conflictsWithIds(const Configuration& configuration, Databases& databases,
                              const std::vector<std::string>& ids)
{
    ordered_json conflicts = ordered_json::array();
    for (const ConflictedRow& row : conflictedRows(configuration, databases, {}))
        if (std::ranges::any_of(ids, [&](const std::string& id) { return hasId(row, id); }))
            conflicts.push_back(row.toJson());
    return conflicts;
}

ordered_json recordedColumns(clsConn& local, const ConflictedRow& row)
{
    // The value columns have names of the database's own choice: they are read by their place.
    ado::Recordset rs = openForwardOnly(local, L"select * from replication_conflict_data where conflict_id in " +
                                                   idList({row.latest().id}));
    ordered_json columns = ordered_json::array();
    const auto value = [&rs](long index, bool lacked) {
        return lacked ? ordered_json() : ordered_json(toUtf8(com::concatText(rs.field(index).value())));
    };
    for (; !rs.eof(); rs.moveNext())
        columns.push_back({{"column", toUtf8(com::concatText(rs.field(1).value()))},
                           {"source", value(2, row.sourceLackedIt())},
                           {"destination", value(3, row.destinationLackedIt())}});
    rs.close();
    return columns;
}

ordered_json shownColumns(const ConflictedRow& row, ordered_json columns)
{
    for (ordered_json& column : columns)
        for (const char* side : {"source", "destination"}) {
            if (!column[side].is_string() || !row.dateColumns.contains(column["column"]))
                continue;
            const _variant_t recorded = com::textVariant(toWide(column[side].get<std::string>()));
            if (com::isDate(recorded))
                column[side] = columnValue(_variant_t(com::toDate(recorded), VT_DATE));
        }
    return columns;
}

std::string nextRunText(NextRun next, const SideNames& names)
{
    switch (next) {
    case NextRun::LeavesIt:
        return "The next run leaves the row as it is.";
    case NextRun::OverwritesDestination:
        return fmt::format("The next run overwrites {}'s row with {}'s.", names.destination, names.source);
    case NextRun::DeletesAtDestination:
        return fmt::format("The next run deletes the row at {}.", names.destination);
    case NextRun::InsertsIntoDestination:
        return fmt::format("The next run copies the row to {}.", names.destination);
    case NextRun::OverwritesSource:
        return fmt::format("The next run overwrites {}'s row with {}'s.", names.source, names.destination);
    case NextRun::InsertsIntoSource:
        return fmt::format("The next run copies the row to {}.", names.source);
    case NextRun::ReportsIt:
        return "The next run reports the row again and leaves it as it is.";
    case NextRun::Fails:
        return "The next run ends in an error at this row, since it has no mod_date.";
    case NextRun::PassesTheTable:
        return "No run of this configuration touches the table.";
    case NextRun::Unknown:
        break;
    }
    return "It is not known what the next run does with the row: a side, or the control record, cannot be read.";
}

const char* stateName(RowState state)
{
    switch (state) {
    case RowState::Waits:
        return "waits";
    case RowState::Equal:
        return "both sides are equal now";
    case RowState::Gone:
        return "the row is on neither side";
    case RowState::Unknown:
        break;
    }
    return "the row cannot be read";
}

std::wstring idList(const std::vector<std::string>& ids)
{
    std::wstring list;
    for (const std::string& id : ids)
        list += (list.empty() ? L"(" : L", ") + Common::SqlQuote(toWide(id), false, false);
    return list + L")";
}
