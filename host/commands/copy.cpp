#include "ForeignKeys.h"
#include "Session.h"
#include "commands.h"
#include "commands/rows.h"

#include <algorithm>

namespace {

bool isAmong(const std::vector<TableConfiguration>& tables, const std::string& name)
{
    return std::ranges::any_of(tables, [&](const TableConfiguration& table) { return isSameName(table.name, name); });
}

/// The table as the first copy takes it. No row of the destination may be lost: it is for tables that are empty there,
/// or alike.
TableConfiguration copied(TableConfiguration table)
{
    if (table.method != COMPUTER_TYPE)
        table.method = ONE_WAY_DELETE_ALL;
    table.dependent.clear();
    table.deletes = UNKNOWN;
    table.maxDelete = 0;
    table.maxUpdate = 0;
    return table;
}

std::vector<TableConfiguration> copiedTables(const Configuration& configuration)
{
    std::vector<TableConfiguration> tables;
    for (const TableConfiguration& table : configuration.tables) {
        tables.push_back(copied(table));
        if (table.dependent.empty() || table.method == COMPUTER_TYPE ||
            isAmong(configuration.tables, table.dependent) || isAmong(tables, table.dependent))
            continue;
        TableConfiguration dependent;
        dependent.name = table.dependent;
        tables.push_back(copied(dependent));
    }
    return tables;
}

/// The tables in an order that the foreign keys allow, as far as there is one.
std::vector<TableConfiguration> inOrder(const std::vector<TableConfiguration>& tables,
                                        const std::vector<ForeignKey>& keys)
{
    std::vector<std::string> names;
    for (const TableConfiguration& table : tables)
        names.push_back(table.name);
    std::vector<TableConfiguration> ordered;
    for (const std::vector<std::string>& group : parentsFirst(names, keys))
        for (const std::string& name : group)
            ordered.push_back(*std::ranges::find(tables, name, &TableConfiguration::name));
    return ordered;
}

} // namespace

Outcome copyCommand(const Configuration& configuration, RunOptions options)
{
    Configuration copy = configuration;
    {
        Databases databases(configuration);
        copy.tables = inOrder(copiedTables(configuration), foreignKeysOf(databases.destination()));
    }
    options.firstCopy = true;
    return runCommand(copy, options);
}
