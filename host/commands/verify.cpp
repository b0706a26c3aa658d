#include "Session.h"
#include "commands.h"
#include "commands/rows.h"
#include "replication/row_queries.h"

#include <cstdint>
#include <map>

using nlohmann::ordered_json;

namespace {

/// Rows listed in full for each table; all of them are counted.
constexpr size_t kListedRows = 100;

/// The kept form of a row: enough to see whether two rows are the same, at 8 bytes each.
std::uint64_t fingerprint(const ado::Recordset& rs, long count)
{
    constexpr std::uint64_t kOffset = 14695981039346656037U;
    constexpr std::uint64_t kPrime = 1099511628211U;
    std::uint64_t hash = kOffset;
    const auto add = [&](std::uint64_t unit) { hash = (hash ^ unit) * kPrime; };
    for (long index = 0; index < count; ++index) {
        const _variant_t value = rs.field(index).value();
        add(value.vt == VT_NULL ? 0x20000U : 0x10000U);
        for (const wchar_t unit : com::concatText(value))
            add(unit);
    }
    return hash;
}

/// What stands for the key of a row in a table without one, as a full copy may have: all of its values.
std::wstring wholeRow(const ado::Recordset& rs, long count)
{
    std::wstring values;
    for (long index = 0; index < count; ++index)
        values += (index == 0 ? L"" : L", ") + com::concatText(rs.field(index).value());
    return values;
}

struct Row
{
    std::uint64_t fingerprint = 0;
    /// Whether a query for the key finds this row.
    bool found = false;
};

using Rows = std::map<std::wstring, Row>;

/// The rows by their keys. Where a key comes again, each further row has its number behind it.
Rows readRows(clsConn& conn, const KeyedTable& table, bool hasKey)
{
    Rows rows;
    ado::Recordset rs = openForwardOnly(conn, L"select * from " + table.sTable);
    const long count = rs.fieldCount();
    for (; !rs.eof(); rs.moveNext()) {
        const std::wstring key = hasKey ? com::concatText(rs.value(table.sKey)) : wholeRow(rs, count);
        const std::uint64_t print = fingerprint(rs, count);
        bool added = rows.emplace(key, Row{print, hasKey}).second;
        for (int copy = 2; !added; ++copy)
            added = rows.emplace(key + L" (" + std::to_wstring(copy) + L")", Row{print, false}).second;
    }
    rs.close();
    return rows;
}

/// The columns in which two rows differ; null stands apart from the empty text.
ordered_json differingColumns(Databases& databases, const KeyedTable& table, const std::wstring& key)
{
    const std::wstring sql = selectRow(table, com::textVariant(key));
    ado::Recordset source = openForwardOnly(databases.source(), sql);
    ado::Recordset destination = openForwardOnly(databases.destination(), sql);
    ordered_json columns = ordered_json::array();
    const long count = source.eof() || destination.eof() ? 0 : source.fieldCount();
    for (long index = 0; index < count; ++index) {
        ordered_json here = jsonValue(source.field(index).value());
        ordered_json there = jsonValue(destination.field(index).value());
        if (here != there)
            columns.push_back({{"column", toUtf8(source.field(index).name())},
                               {"source", std::move(here)},
                               {"destination", std::move(there)}});
    }
    source.close();
    destination.close();
    return columns;
}

/// Counts and lists what differs in one table.
class Comparison
{
public:
    Comparison(Databases& databases, const TableConfiguration& table)
        : databases_(databases),
          table_{toWide(table.name), toWide(table.keyColumn())}
    {
    }

    ordered_json run()
    {
        const bool hasKey = containsName(columnNames(databases_.source(), table_.sTable), table_.sKey) &&
                            containsName(columnNames(databases_.destination(), table_.sTable), table_.sKey);
        const Rows source = readRows(databases_.source(), table_, hasKey);
        const Rows destination = readRows(databases_.destination(), table_, hasKey);
        for (const auto& [key, row] : source) {
            const auto other = destination.find(key);
            if (other == destination.end())
                note(key, "source only");
            else if (other->second.fingerprint != row.fingerprint)
                noteDifferent(key, row.found && other->second.found);
        }
        for (const auto& [key, row] : destination)
            if (!source.count(key))
                note(key, "destination only");
        return {{"table", toUtf8(table_.sTable)},
                {"source_rows", source.size()},
                {"destination_rows", destination.size()},
                {"differing", differing_},
                {"rows", std::move(rows_)}};
    }

    size_t differing() const { return differing_; }

private:
    /// Whether the row is listed, and not only counted.
    bool note(const std::wstring& key, const char* what)
    {
        ++differing_;
        if (rows_.size() >= kListedRows)
            return false;
        rows_.push_back({{"key", toUtf8(key)}, {"what", what}});
        return true;
    }

    void noteDifferent(const std::wstring& key, bool found)
    {
        if (note(key, "different"))
            rows_.back()["columns"] =
                found ? differingColumns(databases_, table_, key) : ordered_json(ordered_json::array());
    }

    Databases& databases_;
    KeyedTable table_;
    size_t differing_ = 0;
    ordered_json rows_ = ordered_json::array();
};

} // namespace

Outcome verifyCommand(const Configuration& configuration)
{
    Databases databases(configuration);
    Outcome outcome{{{"tables", ordered_json::array()}}};
    for (const TableConfiguration& table : configuration.tables) {
        Comparison comparison(databases, table);
        outcome.result["tables"].push_back(comparison.run());
        if (comparison.differing() > 0)
            outcome.exitCode = kRecorded;
    }
    return outcome;
}
