#include "Proposal.h"

#include "HostError.h"
#include "WrittenColumns.h"
#include "commands/rows.h"

#include <algorithm>
#include <fmt/format.h>

using namespace quinmark;
using nlohmann::ordered_json;

namespace {

/// A table of more rows takes too long to be copied whole every evening.
constexpr long long kSmall = 10'000;

std::string joined(const std::vector<std::string>& names)
{
    return fmt::format("{}", fmt::join(names, ", "));
}

ProposedTable leftOut(const std::string& name, std::string reason)
{
    ProposedTable out;
    out.table.name = name;
    out.isLeftOut = true;
    out.reasons = {std::move(reason)};
    return out;
}

ProposedTable proposed(const std::string& name, enumReplicationMethod method, std::string reason)
{
    ProposedTable table;
    table.table.name = name;
    table.table.method = method;
    table.reasons = {std::move(reason)};
    return table;
}

/// Why a table cannot be copied whole; empty when it can.
std::string whyNotWhole(const TableFacts& facts)
{
    if (!facts.noCopy.empty())
        return facts.noCopy;
    return facts.referrers.empty() ? "" : "foreign keys of " + joined(facts.referrers) + " refer to it";
}

std::vector<std::string> tablesOf(clsConn& conn, const std::string& schema)
{
    std::vector<std::string> names;
    for (const ordered_json& row :
         jsonRows(conn, L"select TABLE_NAME as name from INFORMATION_SCHEMA.TABLES where TABLE_TYPE = 'BASE TABLE' and "
                        L"TABLE_SCHEMA = " +
                            Common::SqlQuote(toWide(schema), false, false) + L" order by TABLE_NAME"))
        names.push_back(row["name"]);
    return names;
}

/// The tables by which replication itself is controlled.
bool isControlTable(const std::string& name)
{
    const std::wstring upper = com::upperCase(toWide(name));
    return upper == L"CONTROL" || upper.starts_with(L"REPLICATION_");
}

/// A connection's server and schema; the server is empty where only SQL Server would tell it.
struct Place
{
    std::string server;
    std::string schema;
};

Place placeOf(clsConn& conn)
{
    const ordered_json rows = catalogRows(
        conn, L"select cast(serverproperty('ServerName') as varchar(128)) as server, schema_name() as in_schema",
        L"select '' as server, current_schema as in_schema");
    return {rows.at(0)["server"], rows.at(0)["in_schema"]};
}

bool isOrdinaryName(const std::string& name)
{
    return !name.empty() && name.find_first_of("0123456789") != 0 &&
           std::ranges::all_of(name, [](unsigned char c) { return std::isalnum(c) || c == '_'; });
}

std::string bracketed(const std::string& name)
{
    return isOrdinaryName(name) ? name : "[" + name + "]";
}

/// The name under which a server knows another one; empty when it does not.
std::string linkedServer(clsConn& local, const std::string& server)
{
    for (const ordered_json& row : jsonRows(local, L"select name from sys.servers where is_linked = 1 order by name")) {
        std::string name = row["name"];
        try {
            const ordered_json found =
                jsonRows(local, L"select server from openquery(" + toWide(bracketed(name)) +
                                    L", 'select cast(serverproperty(''ServerName'') as varchar(128)) as server')");
            if (found.at(0)["server"] == server)
                return name;
        }
        catch (const com::Error&) {
            // A linked server that does not answer is not the one.
            continue;
        }
    }
    return {};
}

/// The prefix by which the local connection reaches a side's tables.
std::string prefixOf(clsConn& local, clsConn& side, const Place& place, const char* name)
{
    if (place.server.empty())
        return bracketed(place.schema) + ".";
    std::string prefix = bracketed(toUtf8(side.getConn().defaultDatabase())) + "." + bracketed(place.schema) + ".";
    const std::string localServer = placeOf(local).server;
    if (place.server == localServer)
        return prefix;
    const std::string linked = linkedServer(local, place.server);
    if (linked.empty())
        throw HostError(
            kNotReady,
            fmt::format("the local database is on {}, which has no linked server for {}", localServer, place.server),
            fmt::format("Make a linked server (docs/sql-server.md, Prefixes), or name the {0}'s prefix "
                        "with --{0}-prefix, such as OFFICESRV.{1}",
                        name, prefix));
    return bracketed(linked) + "." + prefix;
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
            parts.push_back(fmt::format("the {} lacks {}", side, joined(names)));
    };
    lacking("destination", source, destination);
    lacking("source", destination, source);
    return parts.empty() ? "the columns stand in another order" : joined(parts);
}

/// Looks at both databases and proposes.
class Proposer
{
public:
    Proposer(Proposal& proposal, Databases& databases)
        : proposal_(proposal),
          configuration_(proposal.configuration),
          databases_(databases),
          sourcePlace_(placeOf(databases.source())),
          destinationPlace_(placeOf(databases.destination()))
    {
    }

    void propose()
    {
        proposePrefixes();
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
    void proposePrefixes()
    {
        const auto propose = [&](SideConfiguration& side, clsConn& conn, const Place& place, const char* name) {
            if (side.prefix.empty())
                side.prefix = prefixOf(databases_.local(), conn, place, name);
            try {
                columnNames(databases_.local(), toWide(side.prefix) + L"control");
            }
            catch (const com::Error& error) {
                throw HostError(kNotReady,
                                fmt::format("the local database does not reach {}control: {}", side.prefix,
                                            trimmed(toUtf8(error.description))),
                                fmt::format("Both databases need the control tables (docs/sql-server.md). If the {0} "
                                            "has them, name its prefix with --{0}-prefix; to another server it needs a "
                                            "linked server there.",
                                            name));
            }
        };
        propose(configuration_.source, databases_.source(), sourcePlace_, "source");
        propose(configuration_.destination, databases_.destination(), destinationPlace_, "destination");
        if (isSameName(configuration_.source.prefix, configuration_.destination.prefix))
            throw HostError(kUsage,
                            fmt::format("both data sources lead to one database, {}", configuration_.source.prefix),
                            "Give each its own default database, and name the office's with --source-dsn.");
        requireOwnPrefixes(configuration_, databases_);
    }

    void findTables()
    {
        const std::vector<std::string> source = tablesOf(databases_.source(), sourcePlace_.schema);
        const std::vector<std::string> destination = tablesOf(databases_.destination(), destinationPlace_.schema);
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
                        joined(group) + " refer to each other by foreign keys: no order suits them all, and a new row "
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
                table.reasons.push_back("it refers to " + joined(parents) +
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
    Place sourcePlace_;
    Place destinationPlace_;
    std::vector<std::string> common_;
    std::vector<ForeignKey> keys_;
};

} // namespace

ProposedTable proposeMethod(const TableFacts& facts)
{
    if (!facts.difference.empty())
        return leftOut(facts.name, "both sides need the same columns in the same order: " + facts.difference);
    if (!facts.hasKey || !facts.hasDate)
        return leftOut(facts.name, fmt::format("it has no column {}; method \"full_copy\" needs none{}",
                                               !facts.hasKey ? "unid" : "mod_date",
                                               facts.hasDate ? ", and \"by_key\" takes another key" : ""));
    const std::string notWhole = whyNotWhole(facts);
    if (!facts.noRows.empty())
        return notWhole.empty() ? proposed(facts.name, ONE_WAY_DELETE_ALL, "copied whole: " + facts.noRows)
                                : leftOut(facts.name, facts.noRows + ", and it cannot be copied whole: " + notWhole);
    if (facts.isDescribed)
        return proposed(facts.name, ONE_WAY_ALLOW_DELETES, "row by row; it has a description for conflicts");
    if (facts.sourceRows <= kSmall && notWhole.empty())
        return proposed(facts.name, ONE_WAY_DELETE_ALL,
                        fmt::format("copied whole: it has no description, without which a conflict ends the run in an "
                                    "error; it is small ({} rows), and no table refers to it",
                                    facts.sourceRows));
    return proposed(facts.name, ONE_WAY_ALLOW_DELETES,
                    fmt::format("row by row. It has no description, so a run ends in an error at its first conflict; "
                                "it cannot be copied whole: {}",
                                notWhole.empty() ? fmt::format("it has {} rows", facts.sourceRows) : notWhole));
}

Proposal proposeConfiguration(Configuration configuration, Databases& databases)
{
    Proposal proposal;
    proposal.configuration = std::move(configuration);
    Proposer(proposal, databases).propose();
    return proposal;
}
