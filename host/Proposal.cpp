#include "Proposal.h"

#include "WrittenColumns.h"
#include "commands/rows.h"

#include <algorithm>
#include <fmt/format.h>

using namespace quinmark;
using nlohmann::ordered_json;

namespace {

/// The tables of a connection's own schema.
std::vector<std::string> tablesOf(clsConn& conn)
{
    const std::wstring tables = L"select TABLE_NAME as name from INFORMATION_SCHEMA.TABLES where TABLE_TYPE = 'BASE "
                                L"TABLE' and TABLE_SCHEMA = ";
    const std::wstring order = L" order by TABLE_NAME";
    std::vector<std::string> names;
    for (const ordered_json& row :
         catalogRows(conn, tables + L"schema_name()" + order, tables + L"current_schema" + order))
        names.push_back(row["name"]);
    return names;
}

/// The tables by which replication itself is controlled.
bool isControlTable(const std::string& name)
{
    const std::wstring upper = com::upperCase(toWide(name));
    return upper == L"CONTROL" || upper.starts_with(L"REPLICATION_");
}

/// How the columns of the two sides differ, in words.
std::string columnDifference(const std::vector<std::wstring>& source, const std::vector<std::wstring>& destination)
{
    if (source == destination)
        return {};
    std::vector<std::string> parts;
    const auto lacking = [&](const char* side, const std::vector<std::wstring>& all,
                             const std::vector<std::wstring>& its) {
        std::vector<std::string> names;
        for (const std::wstring& column : all)
            if (std::ranges::find(its, column) == its.end())
                names.push_back(toUtf8(column));
        if (!names.empty())
            parts.push_back(fmt::format("the {} lacks {}", side, joinedNames(names)));
    };
    lacking("destination", source, destination);
    lacking("source", destination, source);
    return parts.empty() ? "the columns stand in another order" : joinedNames(parts);
}

/// Looks at both databases and proposes.
class Proposer
{
public:
    Proposer(Proposal& proposal, Databases& databases)
        : proposal_(proposal),
          configuration_(proposal.configuration),
          databases_(databases)
    {
    }

    void propose()
    {
        proposePrefixes(configuration_, databases_);
        findTables();
        const std::vector<ForeignKey> atDestination = foreignKeysOf(databases_.destination());
        keys_ = foreignKeysOf(databases_.source());
        keys_.insert(keys_.end(), atDestination.begin(), atDestination.end());
        for (const std::string& table : common_)
            add(proposeTable(table));
        putInOrder();
        warnOfParents();
        warnOfDeletions(atDestination);
    }

private:
    void findTables()
    {
        const std::vector<std::string> source = tablesOf(databases_.source());
        const std::vector<std::string> destination = tablesOf(databases_.destination());
        const auto isIn = [](const std::vector<std::string>& names, const std::string& table) {
            return std::ranges::any_of(names, [&](const std::string& name) { return isSameName(name, table); });
        };
        static constexpr char kOneSide[] = "the {} does not have it, or the login may not read it there";
        for (const std::string& table : source)
            if (isControlTable(table))
                continue;
            else if (isIn(destination, table))
                common_.push_back(isPlainName(databases_.local(), toWide(table)) ? table : "[" + table + "]");
            else
                add(leftOut(table, fmt::format(kOneSide, "destination")));
        for (const std::string& table : destination)
            if (!isControlTable(table) && !isIn(source, table))
                add(leftOut(table, fmt::format(kOneSide, "source")));
    }

    void add(ProposedTable table)
    {
        (table.isLeftOut ? proposal_.leftOut : proposal_.tables).push_back(std::move(table));
    }

    bool has(const std::string& table) const
    {
        return std::ranges::any_of(common_, [&](const std::string& name) { return isSameName(name, table); });
    }

    ProposedTable proposeTable(const std::string& table)
    try {
        const TableFacts facts = factsOf(table);
        ProposedTable result = proposeMethod(facts);
        if (result.isLeftOut)
            return result;
        return proposeKnown(facts).value_or(std::move(result));
    }
    catch (const com::Error& error) {
        if (!databases_.answer())
            throw;
        return leftOut(table, "it cannot be read by both prefixes: " + trimmed(toUtf8(error.description)));
    }

    /// The tables of which the component knows more than of others.
    std::optional<ProposedTable> proposeKnown(const TableFacts& facts)
    {
        for (const auto& [parent, dependent] :
             {std::pair("chart_option", "chart_option_setting"), std::pair("computer_type", "computer_type_setting")})
        {
            if (!isSameName(facts.name, parent) && !isSameName(facts.name, dependent))
                continue;
            if (!areCopiedTogether(parent, dependent))
                return std::nullopt;
            if (isSameName(facts.name, dependent))
                return leftOut(facts.name, fmt::format("its rows come with those of {}", parent));
            if (isSameName(parent, "computer_type"))
                return proposed(parent, COMPUTER_TYPE, fmt::format("copied whole, with {}", dependent));
            ProposedTable table = proposed(facts.name, ONE_WAY_ALLOW_DELETES,
                                           fmt::format("row by row, each with its rows of {}", dependent));
            table.table.dependent = dependent;
            return table;
        }
        if (!isSameName(facts.name, "dentist_company") || !facts.noRows.empty() ||
            !hasColumn(databases_.source(), L"dentist_company", L"dc_id"))
            return std::nullopt;
        ProposedTable table = proposed(facts.name, ONE_WAY_WITH_PK_FIELD,
                                       "by its number: only so are comments detached before a company is deleted. It "
                                       "has no description, so a run ends in an error at its first conflict");
        table.table.key = "dc_id";
        table.table.deletes = DELETE_WITH_UPDATES;
        return table;
    }

    /// Whether both tables are alike on both sides and nothing is in the way of the statements that copy them together.
    bool areCopiedTogether(const std::string& parent, const std::string& dependent)
    {
        if (!has(parent) || !has(dependent))
            return false;
        const TableFacts first = factsOf(parent);
        const TableFacts second = factsOf(dependent);
        if (!first.difference.empty() || !second.difference.empty() || !second.noCopy.empty())
            return false;
        const bool copiedWhole = isSameName(parent, "computer_type");
        if (copiedWhole && (!first.noCopy.empty() || !second.referrers.empty() ||
                            std::ranges::any_of(first.referrers, [&](const std::string& referrer) {
                                return !isSameName(referrer, dependent);
                            })))
            return false;
        return (copiedWhole || first.noRows.empty()) && destinationReaches(dependent);
    }

    /// Whether the destination's connection, too, knows a table by both prefixes.
    bool destinationReaches(const std::string& table)
    try {
        for (const SideConfiguration* side : {&configuration_.source, &configuration_.destination})
            columnNames(databases_.destination(), toWide(side->prefix + table));
        return true;
    }
    catch (const com::Error&) {
        return false;
    }

    TableFacts factsOf(const std::string& table)
    {
        const std::wstring name = toWide(table);
        const std::vector<std::wstring> source = columnNames(databases_.source(), name);
        TableFacts facts;
        facts.name = table;
        facts.difference = columnDifference(source, columnNames(databases_.destination(), name));
        facts.hasKey = containsName(source, L"unid");
        facts.hasDate = containsName(source, L"mod_date");
        if (!facts.difference.empty() || !facts.hasKey || !facts.hasDate)
            return facts;
        for (const SideConfiguration* side : {&configuration_.source, &configuration_.destination})
            columnNames(databases_.local(), toWide(side->prefix) + name);
        facts.isDescribed = !keyInfoSql(name, com::textVariant(L"0")).empty();
        facts.noRows = unwritable(name);
        for (const UnwritableColumn& column : serverFilledColumns(databases_.destination(), "destination", name))
            facts.noCopy = column.text;
        if (!facts.isDescribed)
            facts.sourceRows = rowsAtSource(name);
        for (const ForeignKey& key : keys_)
            if (isSameName(key.parent, table) && !isSameName(key.child, table) &&
                std::ranges::find(facts.referrers, key.child) == facts.referrers.end())
                facts.referrers.push_back(key.child);
        return facts;
    }

    std::string unwritable(const std::wstring& table)
    {
        const std::vector<UnwritableColumn> columns = unwritableColumns(databases_.destination(), "destination", table);
        if (!columns.empty())
            return columns.front().text;
        const std::vector<std::wstring> unsupported = unsupportedColumns(databases_.source(), table);
        return unsupported.empty()
                   ? ""
                   : "column " + toUtf8(unsupported.front()) + " is of a type that is only copied whole";
    }

    long long rowsAtSource(const std::wstring& table)
    {
        ado::Recordset rs = openForwardOnly(databases_.source(), L"select count(*) from " + table);
        const long long rows = com::toInt32(rs.field(0).value());
        rs.close();
        return rows;
    }

    void putInOrder()
    {
        std::vector<std::string> names;
        for (const ProposedTable& table : proposal_.tables)
            names.push_back(table.table.name);
        std::vector<ProposedTable> ordered;
        for (const std::vector<std::string>& group : parentsFirst(names, keys_))
            for (const std::string& name : group) {
                ordered.push_back(*std::ranges::find_if(
                    proposal_.tables, [&](const ProposedTable& table) { return table.table.name == name; }));
                if (group.size() > 1)
                    ordered.back().reasons.push_back(
                        joinedNames(group) +
                        " refer to each other by foreign keys: no order suits them all, and a new row "
                        "that refers to a new row of a later table ends the run in an error");
            }
        proposal_.tables = std::move(ordered);
    }

    /// A row can be written only where the rows are that it refers to.
    void warnOfParents()
    {
        for (ProposedTable& table : proposal_.tables) {
            std::vector<std::string> parents;
            for (const ForeignKey& key : keys_)
                if (isSameName(key.child, table.table.name) && isOut(key.parent) &&
                    std::ranges::find(parents, key.parent) == parents.end())
                    parents.push_back(key.parent);
            if (!parents.empty())
                table.reasons.push_back("it refers to " + joinedNames(parents) +
                                        " by a foreign key, which is not replicated: a row whose own the destination "
                                        "lacks ends the run in an error");
        }
    }

    void warnOfDeletions(const std::vector<ForeignKey>& keys)
    {
        for (ProposedTable& table : proposal_.tables)
            for (const ForeignKey& key : keys)
                if (const std::string effect = deletionEffect(key);
                    !effect.empty() && isSameName(key.parent, table.table.name))
                    table.reasons.push_back(effect + "; a run that would do so stops first");
    }

    bool isOut(const std::string& table) const
    {
        return std::ranges::none_of(proposal_.tables, [&](const ProposedTable& proposed) {
            return isSameName(proposed.table.name, table) || isSameName(proposed.table.dependent, table) ||
                   (proposed.table.method == COMPUTER_TYPE && isSameName("computer_type_setting", table));
        });
    }

    Proposal& proposal_;
    Configuration& configuration_;
    Databases& databases_;
    std::vector<std::string> common_;
    std::vector<ForeignKey> keys_;
};

} // namespace

Proposal proposeConfiguration(Configuration configuration, Databases& databases)
{
    Proposal proposal;
    proposal.configuration = std::move(configuration);
    Proposer(proposal, databases).propose();
    return proposal;
}
