#include "conflicts/rows_today.h"

#include "HostError.h"
#include "RunPreview.h"
#include "RunStop.h"
#include "com/convert.h"
#include "commands/rows.h"
#include "replication/row_queries.h"
#include "replication/row_sql.h"
#include "text.h"

#include <algorithm>
#include <map>
#include <span>

using namespace quinmark;
using nlohmann::ordered_json;

namespace {

/// Rows that one query asks for.
constexpr size_t kRowsOfAQuery = 200;

std::string upper(const std::string& text)
{
    return toUtf8(com::upperCase(toWide(text)));
}

CopyToday copyOf(const ado::Recordset& rs)
{
    CopyToday copy{.row = {.exists = true}};
    for (long index = 0, count = rs.fieldCount(); index < count; ++index) {
        const ado::Field field = rs.field(index);
        const _variant_t value = field.value();
        const std::wstring name = field.name();
        copy.columns[toUtf8(name)] = columnValue(value);
        copy.texts[toUtf8(name)] = value.vt == VT_NULL ? ordered_json() : ordered_json(toUtf8(com::toText(value)));
        if (com::upperCase(name) == L"MOD_DATE")
            copy.row.modified = optionalDate(value);
    }
    return copy;
}

std::set<std::string> dateColumns(const ado::Recordset& rs)
{
    std::set<std::string> names;
    for (long index = 0, count = rs.fieldCount(); index < count; ++index)
        if (const ado::Field field = rs.field(index); literalForm(field.type()) == LiteralForm::Date)
            names.insert(toUtf8(field.name()));
    return names;
}

/// A value as conflict reporting compares it: Null is the empty text.
std::string comparedText(const ordered_json& value)
{
    return value.is_string() ? value.get<std::string>() : std::string();
}

bool holds(const CopyToday& copy, const ordered_json& recorded, const std::string& column)
{
    return copy.row.exists == !recorded.is_null() &&
           comparedText(copy.texts.value(column, ordered_json())) == comparedText(recorded);
}

/// The rows of one table that are looked at together.
class TableToday
{
public:
    TableToday(const Configuration& configuration, Databases& databases, const std::string& table)
        : databases_(databases),
          table_{toWide(table), L"unid"},
          site_(siteOf(configuration))
    {
        const TableConfiguration* configured = configuredTable(configuration, table);
        if (!configured)
            return;
        configured_ = true;
        plan_ = planOf(configured->method, configured->deletes);
        table_.sKey = toWide(configured->keyColumn());
    }

    void lookAt(std::vector<ConflictedRow*> rows, const std::optional<DATE>& lastReplicate)
    {
        for (size_t begin = 0; begin < rows.size(); begin += kRowsOfAQuery) {
            const auto some = std::span(rows).subspan(begin, std::min(kRowsOfAQuery, rows.size() - begin));
            read(databases_.source(), some, &ConflictedRow::source);
            read(databases_.destination(), some, &ConflictedRow::destination);
        }
        for (ConflictedRow* row : rows) {
            row->otherKey = com::upperCase(table_.sKey) != L"UNID";
            row->state = stateOf(*row);
            decide(*row, lastReplicate);
        }
    }

private:
    void read(clsConn& side, std::span<ConflictedRow* const> rows, CopyToday ConflictedRow::*copy) const
    {
        std::vector<std::string> keys;
        std::map<std::string, ConflictedRow*> byKey;
        for (ConflictedRow* row : rows) {
            keys.push_back(row->key);
            byKey[upper(row->key)] = row;
        }
        ado::Recordset rs = openForwardOnly(side, L"select * from " + table_.sTable + L" where " + table_.sKey +
                                                      L" in " + idList(keys));
        const std::set<std::string> dates = dateColumns(rs);
        for (ConflictedRow* row : rows)
            row->dateColumns.insert(dates.begin(), dates.end());
        for (; !rs.eof(); rs.moveNext())
            if (const auto row = byKey.find(upper(toUtf8(com::concatText(rs.value(table_.sKey))))); row != byKey.end())
                row->second->*copy = copyOf(rs);
        rs.close();
    }

    RowState stateOf(const ConflictedRow& row) const
    {
        if (!row.source.row.exists && !row.destination.row.exists)
            return RowState::Gone;
        return agree(row) ? RowState::Equal : RowState::Waits;
    }

    /// As conflict reporting compares two copies: by position and as text, but for the columns that it skips.
    bool agree(const ConflictedRow& row) const
    {
        if (!row.source.row.exists || !row.destination.row.exists)
            return false;
        const auto& source = row.source.texts.get_ref<const ordered_json::object_t&>();
        const auto& destination = row.destination.texts.get_ref<const ordered_json::object_t&>();
        return std::ranges::equal(source, destination, [this](const auto& left, const auto& right) {
            return Utils::isSkipField(table_.sTable, toWide(left.first), true) ||
                   comparedText(left.second) == comparedText(right.second);
        });
    }

    void decide(ConflictedRow& row, const std::optional<DATE>& lastReplicate) const
    {
        row.next = configured_ ? NextRun::Unknown : NextRun::PassesTheTable;
        if (!configured_ || !lastReplicate)
            return;
        row.decision = decideRow(plan_, site_, row.source.row, row.destination.row, *lastReplicate);
        row.next = row.decision->rule == RowRule::FullCopy ? nextOfFullCopy(row) : row.decision->action;
        if (row.next == NextRun::ReportsIt && agree(row))
            row.next = NextRun::LeavesIt;
    }

    static NextRun nextOfFullCopy(const ConflictedRow& row)
    {
        if (!row.destination.row.exists)
            return row.source.row.exists ? NextRun::InsertsIntoDestination : NextRun::LeavesIt;
        if (!row.source.row.exists)
            return NextRun::DeletesAtDestination;
        // A text tells no fractions of a second.
        return row.source.texts == row.destination.texts && row.source.row.modified == row.destination.row.modified
                   ? NextRun::LeavesIt
                   : NextRun::OverwritesDestination;
    }

    Databases& databases_;
    KeyedTable table_;
    Site site_;
    bool configured_ = false;
    MethodPlan plan_;
};

std::optional<DATE> lastReplicate(const Configuration& configuration, Databases& databases)
{
    try {
        return lastReplicateDate(configuration, databases);
    }
    catch (const HostError&) {
        return std::nullopt;
    }
}

} // namespace

void lookAtRowsToday(const Configuration& configuration, Databases& databases, std::span<ConflictedRow> rows)
{
    const std::optional<DATE> last = lastReplicate(configuration, databases);
    std::map<std::string, std::vector<ConflictedRow*>> tables;
    for (ConflictedRow& row : rows)
        // The name comes from a record that others may have written.
        if (isPlainName(row.table) && isSafeKey(com::textVariant(toWide(row.key))))
            tables[upper(row.table)].push_back(&row);
    for (const auto& [name, ofTable] : tables) {
        try {
            TableToday(configuration, databases, ofTable.front()->table).lookAt(ofTable, last);
        }
        catch (const com::Error&) {
            // Conflicts of a table that is gone are still to be listed and dismissed.
            if (!databases.answer())
                throw;
        }
    }
}

void lookAtRowToday(const Configuration& configuration, Databases& databases, ConflictedRow& row)
{
    TableToday(configuration, databases, row.table).lookAt({&row}, lastReplicate(configuration, databases));
}

const TableConfiguration* configuredTable(const Configuration& configuration, const std::string& table)
{
    const auto replicates = [name = upper(table)](const TableConfiguration& entry) {
        return entry.method == COMPUTER_TYPE ? name == "COMPUTER_TYPE" || name == "COMPUTER_TYPE_SETTING"
                                             : upper(entry.name) == name;
    };
    const auto found = std::ranges::find_if(configuration.tables, replicates);
    return found == configuration.tables.end() ? nullptr : &*found;
}

bool isPlainName(const std::string& name)
{
    return !name.empty() &&
           std::ranges::all_of(name, [](unsigned char c) { return c == '_' || c >= 0x80 || std::isalnum(c) != 0; });
}

bool isStillAsRecorded(const ConflictedRow& row, const ordered_json& columns)
{
    const auto recorded = [&](const std::string& name) {
        return std::ranges::any_of(columns, [&](const ordered_json& column) { return column["column"] == name; });
    };
    for (const ordered_json& column : columns) {
        const std::string name = column["column"];
        if (!holds(row.source, column["source"], name) || !holds(row.destination, column["destination"], name))
            return false;
    }
    if (!row.source.row.exists || !row.destination.row.exists)
        return true;
    // Other columns were equal.
    return std::ranges::all_of(row.destination.texts.items(), [&](const auto& column) {
        return recorded(column.key()) || Utils::isSkipField(toWide(row.table), toWide(column.key()), true) ||
               holds(row.source, ordered_json(comparedText(column.value())), column.key());
    });
}
