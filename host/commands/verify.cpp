#include "DependentTable.h"
#include "Session.h"
#include "TableContent.h"
#include "commands.h"
#include "commands/rows.h"

#include <algorithm>

using namespace quinmark;
using nlohmann::ordered_json;

namespace {

/// Rows listed in full for each table unless all are wanted; all of them are counted.
constexpr size_t kListedRows = 100;

/// The columns in which two rows differ; null stands apart from the empty text.
ordered_json differingColumns(Databases& databases, const KeyedTable& table, const std::wstring& key)
{
    const std::wstring sql = selectRow(table, com::textVariant(key));
    ado::Recordset source = openForwardOnly(databases.source(), sql);
    ado::Recordset destination = openForwardOnly(databases.destination(), sql);
    ordered_json columns = ordered_json::array();
    const long count = source.eof() || destination.eof() ? 0 : source.fieldCount();
    for (long index = 0; index < count; ++index) {
        ordered_json here = columnValue(source.field(index).value());
        ordered_json there = columnValue(destination.field(index).value());
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
    Comparison(Databases& databases, const KeyedTable& table, bool listsAll)
        : databases_(databases),
          table_(table),
          listsAll_(listsAll)
    {
    }

    ordered_json run()
    {
        const bool hasKey = hasColumn(databases_.source(), table_.sTable, table_.sKey) &&
                            hasColumn(databases_.destination(), table_.sTable, table_.sKey);
        const TableContent source = readContent(databases_.source(), table_, hasKey);
        const TableContent destination = readContent(databases_.destination(), table_, hasKey);
        forEachDifference(source, destination, [this](const std::wstring& key, Difference difference, bool found) {
            if (difference == Difference::Different)
                noteDifferent(key, found);
            else
                note(key, difference == Difference::LeftOnly ? "source only" : "destination only");
        });
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
        if (!listsAll_ && rows_.size() >= kListedRows)
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
    bool listsAll_;
    size_t differing_ = 0;
    ordered_json rows_ = ordered_json::array();
};

/// Everything that replication copies with a configured table. A dependent table may be listed itself too.
std::vector<KeyedTable> comparedTables(const Configuration& configuration, const TableConfiguration& table)
{
    std::vector<KeyedTable> tables = tablesCopiedBy(table);
    const bool isListed = std::ranges::any_of(configuration.tables, [&](const TableConfiguration& listed) {
        return isSameName(listed.name, table.dependent);
    });
    if (table.method != COMPUTER_TYPE && !isListed && isKnownDependent(table.dependent))
        tables.push_back({toWide(table.dependent), L"unid"});
    return tables;
}

} // namespace

Outcome verifyCommand(const Configuration& configuration, const VerifyOptions& options)
{
    std::vector<TableConfiguration> tables = configuration.tables;
    if (!options.tables.empty()) {
        tables.clear();
        for (const std::string& name : options.tables)
            tables.push_back(tableNamed(configuration, name));
    }
    Databases databases(configuration);
    Outcome outcome{{{"tables", ordered_json::array()}}};
    for (const TableConfiguration& table : tables)
        for (const KeyedTable& compared : comparedTables(configuration, table)) {
            Comparison comparison(databases, compared, options.allRows);
            whileDoing("comparing table " + toUtf8(compared.sTable) + " in full",
                       [&] { outcome.result["tables"].push_back(comparison.run()); });
            if (comparison.differing() > 0)
                outcome.exitCode = kRecorded;
        }
    return outcome;
}
